#include "replayclock.h"

std::unique_ptr<Clock> clockFromEnvironment(QString *error)
{
    const QString now = qEnvironmentVariable("TALLYMO_NOW");
    if (now.isEmpty())
        return nullptr;
    const QDateTime start = QDateTime::fromString(now, Qt::ISODateWithMs);
    if (!start.isValid()) {
        *error = QStringLiteral("TALLYMO_NOW is not an ISO 8601 date and time: %1").arg(now);
        return nullptr;
    }
    return std::make_unique<RunningClock>(start.toLocalTime());
}
