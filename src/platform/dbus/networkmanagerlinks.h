#pragma once

#include "core/networkinterfaces.h"

#include <QDBusConnection>

#include <optional>

// NetworkManager's view of the links, read from the system bus as any client reads it: each
// device's interface (a modem's IP interface), its metered verdict, its active connection's name
// and identifier, and whether it serves a hotspot. Every call shares one deadline, so a hung
// NetworkManager costs a sample at most `budgetMs`; nothing when it is not on the bus or does not
// answer in time.
namespace NetworkManagerLinks {

std::optional<QList<ManagedLink>> read(const QDBusConnection &bus, int budgetMs = 100);

} // namespace NetworkManagerLinks
