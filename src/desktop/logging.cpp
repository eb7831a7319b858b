#include "logging.h"

Q_LOGGING_CATEGORY(lcSharing, "tallymo.sharing", QtWarningMsg)
