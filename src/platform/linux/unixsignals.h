#pragma once

#include <functional>

// Turns SIGTERM and SIGINT into a call on the main event loop. The first signal runs the handler;
// a second one ends the process at once.
namespace UnixSignals {
void onTermination(std::function<void()> handler);
}
