#include "logging.h"

Q_LOGGING_CATEGORY(lcCore, "tallymo.core", QtWarningMsg)
