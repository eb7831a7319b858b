#pragma once

#include <QStringList>
#include <QVariantMap>

namespace PlanOrder {

// The plans' identifiers ordered by label in the user's language, ignoring case, with digit runs
// compared by value (Plan 2 before Plan 10). `plans` is the plan dictionary (PREF_ALL_PLANS).
QStringList byLabel(const QVariantMap &plans);

} // namespace PlanOrder
