#pragma once

#include "services/applicationservices.h"

#include <QStringList>
#include <QVariantMap>

#include <functional>

class Clock;
class SharedCode;
class UsageMonitor;
class MailComposer;

namespace Cli {

struct Services
{
    SharedCode &shared;
    UsageMonitor &monitor;
};

// What the program hands the commands. `services` creates the shared instance (running the
// settings migration) and applies the first-install defaults on its first call, which commands
// make only after their arguments were found good.
struct Environment
{
    std::function<Services &()> services;
    // The same with the desktop services attached (notifications, badge, refresh status), for
    // commands that notify; the others need not connect to the session bus.
    std::function<Services &()> desktopServices;
    // Installs the handler run on the first SIGTERM/SIGINT (a second one ends the process).
    std::function<void(std::function<void()>)> onTerminationRequest;
    // The background service is starting: claims its name on the session bus and takes
    // wake-ups from it (a silent push, a plain wake-up).
    std::function<bool(DesktopServices::BackgroundHandlers handlers)> startBackgroundService;
    // Asks the running background service for a silent push; false when none runs.
    std::function<bool()> pushToBackgroundService;
    // Runs the function whenever what a link counts as may have changed (NetworkManager's signals);
    // false when nothing can be listened to.
    std::function<bool(std::function<void()>)> watchNetworkChanges;
    // A terminal companion of the watch session (see DesktopServices::startWatchCompanion).
    std::function<bool(bool follow, bool complication,
                       std::function<void(const QString &kind, const QVariantMap &record)> report,
                       QString *error)>
        startWatchCompanion;
    // The user's mail program, for an export sent by mail.
    MailComposer *mail = nullptr;
    // The clock the services use (a replayed one in tests), for commands that work on a container
    // of their own and must not open the user's.
    const Clock *clock = nullptr;
};

// `tallymo refresh` when the fetch found no new data (0 is new data, 1 a failure).
inline constexpr int kExitNoData = 10;

// Stops the command (status 1, one line) when the settings file cannot be used.
void checkSettings(SharedCode &shared);
// Writes the settings; on failure says so in one line and returns 1 (else 0).
int synchronized(SharedCode &shared);

// Runs `tallymo <args>`; returns the exit status (2 for bad arguments).
int run(const QStringList &args, Environment &env);

// Text out, as UTF-8.
void print(const QString &text);
void printError(const QString &text);

// The commands.
int sample(const QStringList &args, Environment &env);
int period(const QStringList &args, Environment &env);
int defaults(const QStringList &args, Environment &env);
int plans(const QStringList &args, Environment &env);
int daemon(const QStringList &args, Environment &env);
int status(const QStringList &args, Environment &env);
int intent(const QStringList &args, Environment &env);
int refresh(const QStringList &args, Environment &env);
int alerts(const QStringList &args, Environment &env);
int push(const QStringList &args, Environment &env);
int exportUsage(const QStringList &args, Environment &env);
int history(const QStringList &args, Environment &env);
int watch(const QStringList &args, Environment &env);
int map(const QStringList &args, Environment &env);
int net(const QStringList &args, Environment &env);
int setup(const QStringList &args, Environment &env);
int demo(const QStringList &args, Environment &env);
int store(const QStringList &args, Environment &env);
int networks(const QStringList &args, Environment &env);
int metrics(const QStringList &args, Environment &env);

} // namespace Cli
