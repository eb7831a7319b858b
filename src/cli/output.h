#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QJsonValue>
#include <QString>
#include <QVariant>

namespace Cli {

// ISO 8601 with the local offset: 2026-11-01T00:00:00+01:00.
QString isoWithOffset(const QDateTime &t);

// Settings values as JSON; dates become ISO 8601 strings with their offset.
QJsonValue toJson(const QVariant &v);
QByteArray jsonText(const QJsonValue &v, bool indented = true);

// One value as the command line prints it: text as it is, numbers in full, containers as JSON.
QString formatValue(const QVariant &v);

} // namespace Cli
