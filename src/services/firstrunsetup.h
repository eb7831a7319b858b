#pragma once

#include <QString>

class UsageMonitor;

// What finishing the first-run setup does, from the app's screens and from `tallymo setup` alike.
namespace FirstRunSetup {

// Starts the active plan's current period afresh (with the bill day and cap just chosen) holding
// only the usage the user says was already spent, and posts the new figures. Waits for the store.
void resetWithExistingUsage(UsageMonitor &monitor, double existingBytes);

// Marks the setup as done and writes the settings at once. False with the reason when the settings
// could not be written (the setup then shows again next time).
bool markShown(UsageMonitor &monitor, QString *error);

} // namespace FirstRunSetup
