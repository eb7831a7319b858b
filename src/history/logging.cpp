#include "logging.h"

Q_LOGGING_CATEGORY(lcHistory, "tallymo.history", QtWarningMsg)
