#include "paths.h"

#include <QStandardPaths>

namespace Paths {

QString container()
{
    const QString configured = qEnvironmentVariable("TALLYMO_CONTAINER");
    if (!configured.isEmpty())
        return configured;
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + QStringLiteral("/tallymo");
}

} // namespace Paths
