// The command line and background service: wires the Linux services into the core and runs a command.
#include "cli/cli.h"
#include "core/sharedcode.h"
#include "core/usagestore.h"
#include "desktop/widgetstats.h"
#include "platform/linux/desktopmodule.h"
#include "platform/linux/linuxnetworkinterfaces.h"
#include "platform/linux/paths.h"
#include "platform/linux/replayclock.h"
#include "platform/linux/sockdiag.h"
#include "platform/linux/unixsignals.h"
#include "platform/linux/xdgmail.h"
#include "services/backgroundtasks.h"
#include "services/usagemonitor.h"

#include <QCoreApplication>

#include <cstdio>
#include <memory>
#include <unistd.h>

namespace {

std::unique_ptr<DesktopServices> loadDesktopServices(const SharedCode &shared)
{
    QString errors;
    std::unique_ptr<DesktopServices> services =
        DesktopModule::load(shared.containerURL(), shared.clock(), &errors);
    if (!services)
        std::fprintf(stderr, "tallymo: desktop services unavailable (no notifications or badge):%s\n",
                     qPrintable(errors));
    return services;
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("tallymo"));
    QCoreApplication::setApplicationVersion(QStringLiteral(TALLYMO_VERSION));

    // A store from before the hourly totals builds them on its first open: a progress line on a
    // terminal, nothing in scripts.
    if (::isatty(STDERR_FILENO))
        UsageStore::setBuildProgress([last = -1](const QString &path, double done) mutable {
            const int percent = int(done * 100);
            if (percent == last)
                return;
            last = percent;
            std::fprintf(stderr, "\rtallymo: building the hourly totals of %s: %d%%%s", qPrintable(path),
                         percent, percent >= 100 ? "\n" : "");
        });
    QString clockError;
    const std::unique_ptr<Clock> replayClock = clockFromEnvironment(&clockError);
    if (!clockError.isEmpty()) {
        std::fprintf(stderr, "tallymo: %s\n", qPrintable(clockError));
        return 2;
    }
    LinuxNetworkInterfaces interfaces = LinuxNetworkInterfaces::fromEnvironment();
    std::optional<SockDiagConnections> connections;
    std::unique_ptr<SharedCode> shared;
    std::unique_ptr<UsageMonitor> delegate;
    std::unique_ptr<DesktopServices> desktop;
    TimedBackgroundTasks tasks;
    std::optional<Cli::Services> services;

    Cli::Environment env;
    env.services = [&]() -> Cli::Services & {
        if (!services) {
            SharedCode::Services s{Paths::container(), &interfaces};
            s.connections = &connections.emplace();
            if (replayClock)
                s.clock = replayClock.get();
            shared = std::make_unique<SharedCode>(s);
            Cli::checkSettings(*shared); // never go on with defaults over the user's file
            delegate = std::make_unique<UsageMonitor>(*shared);
            delegate->plans().setUpNewInstall();
            services.emplace(Cli::Services{*shared, *delegate});
        }
        return *services;
    };
    bool desktopLoaded = false;
    env.desktopServices = [&]() -> Cli::Services & {
        Cli::Services &s = env.services();
        if (!desktopLoaded) {
            desktopLoaded = true;
            desktop = loadDesktopServices(*shared);
            if (desktop) // a PPP link is cellular when it is a connected modem's
                interfaces.setModemLinks([d = desktop.get()] { return d->modemDataLinks(); });
            if (desktop)
                WidgetHelper::setCenter(desktop->widgetCenter(*shared));
            delegate->setServices(UsageMonitor::Services::from(desktop.get(), &tasks));
        }
        return s;
    };
    env.onTerminationRequest = UnixSignals::onTermination;
    XdgMail mail;
    env.mail = &mail;
    env.startBackgroundService = [&](DesktopServices::BackgroundHandlers handlers) {
        if (!desktop)
            return false;
        UsageMonitor::Services services = delegate->services();
        services.push =
            desktop->push(handlers.onPush, [&] { delegate->pushSubscription().distributorChanged(); });
        delegate->setServices(services);
        return desktop->registerBackgroundService(std::move(handlers));
    };
    env.pushToBackgroundService = [&] { return desktop && desktop->pushToBackgroundService(); };
    env.startWatchCompanion = [&](bool follow, bool complication, auto report, QString *error) {
        return desktop && desktop->startWatchCompanion(follow, complication, std::move(report), error);
    };
    const int status = Cli::run(app.arguments().mid(1), env);
    if (shared)
        shared->userPref().synchronize();
    QCoreApplication::sendPostedEvents(); // badge and screen updates queued for the main thread
    WidgetHelper::setCenter(nullptr);
    if (delegate)
        delegate->setServices({});
    desktop.reset();
    return status;
}
