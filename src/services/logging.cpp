#include "logging.h"

Q_LOGGING_CATEGORY(lcApp, "tallymo.app", QtWarningMsg)
