#pragma once

#include <QString>

namespace Paths {
// The shared data container: $TALLYMO_CONTAINER, else $XDG_DATA_HOME/tallymo.
QString container();
} // namespace Paths
