#include "logging.h"

Q_LOGGING_CATEGORY(lcPlans, "tallymo.plans", QtWarningMsg)
