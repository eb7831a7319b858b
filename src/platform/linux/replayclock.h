#pragma once

#include "core/clock.h"

#include <memory>

// TALLYMO_NOW replays another moment: the clock starts there and runs (for tests and demos).
// Null when it is not set; null with *error when it is not an ISO 8601 date and time.
std::unique_ptr<Clock> clockFromEnvironment(QString *error);
