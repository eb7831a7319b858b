// The command line and background service: wires the Linux services into the core and runs a command.
#include "cli/cli.h"
#include "core/dispatchqueue.h"
#include "core/localtime.h"
#include "core/privatefiles.h"
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
#include <cstring>
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

// The hourly totals' first build as a progress line on stderr, written again at each new percent.
void showTotalsBuildProgress()
{
    UsageStore::setBuildProgress([last = -1](const QString &path, double done) mutable {
        const int percent = int(done * 100);
        if (percent == last)
            return;
        last = percent;
        std::fprintf(stderr, "\rtallymo: building the hourly totals of %s: %d%%%s", qPrintable(path), percent,
                     percent >= 100 ? "\n" : "");
    });
}

// What the commands are given, each part made when a command first asks for it: the shared
// instance and its monitor, then the desktop services for the commands that notify. The members
// end in the reverse of their order here: the desktop services before the monitor, the monitor
// before the shared instance, the shared instance before the interfaces it reads.
class CommandServices
{
public:
    explicit CommandServices(const Clock *replayClock) : m_replayClock(replayClock) {}

    // Hands the commands these services and the desktop's background service and watch session.
    void attachTo(Cli::Environment &env);
    // After the command: the settings written, the queued updates delivered, the desktop services
    // let go of and closed.
    void finish();

private:
    Cli::Services &services();
    Cli::Services &desktopServices();
    bool startBackgroundService(DesktopServices::BackgroundHandlers handlers);

    const Clock *m_replayClock;
    LinuxNetworkInterfaces m_interfaces = LinuxNetworkInterfaces::fromEnvironment();
    std::optional<SockDiagConnections> m_connections;
    std::unique_ptr<SharedCode> m_shared;
    std::unique_ptr<UsageMonitor> m_monitor;
    std::unique_ptr<DesktopServices> m_desktop;
    TimedBackgroundTasks m_tasks;
    std::optional<Cli::Services> m_services;
    bool m_desktopLoaded = false;
};

void CommandServices::attachTo(Cli::Environment &env)
{
    env.services = [this]() -> Cli::Services & { return services(); };
    env.clock = m_replayClock ? m_replayClock : &Clock::system();
    env.desktopServices = [this]() -> Cli::Services & { return desktopServices(); };
    env.startBackgroundService = [this](DesktopServices::BackgroundHandlers handlers) {
        return startBackgroundService(std::move(handlers));
    };
    env.pushToBackgroundService = [this] { return m_desktop && m_desktop->pushToBackgroundService(); };
    env.watchNetworkChanges = [this](std::function<void()> changed) {
        // While the service follows NetworkManager's changes, its view is current: it shares it
        // with the one-shot samples, which then need not ask themselves.
        const bool listening = m_desktop && m_desktop->watchNetworkChanges(std::move(changed));
        m_interfaces.shareManagedLinks(listening);
        return listening;
    };
    env.startWatchCompanion = [this](bool follow, bool complication, auto report, QString *error) {
        return m_desktop && m_desktop->startWatchCompanion(follow, complication, std::move(report), error);
    };
}

Cli::Services &CommandServices::services()
{
    if (!m_services) {
        SharedCode::Services s{Paths::container(), &m_interfaces};
        s.connections = &m_connections.emplace();
        if (m_replayClock)
            s.clock = m_replayClock;
        m_shared = std::make_unique<SharedCode>(s);
        Cli::checkSettings(*m_shared); // never go on with defaults over the user's file
        m_monitor = std::make_unique<UsageMonitor>(*m_shared);
        m_monitor->plans().setUpNewInstall();
        m_services.emplace(Cli::Services{*m_shared, *m_monitor});
    }
    return *m_services;
}

Cli::Services &CommandServices::desktopServices()
{
    Cli::Services &s = services();
    if (!m_desktopLoaded) {
        m_desktopLoaded = true;
        m_desktop = loadDesktopServices(*m_shared);
        if (m_desktop)
            WidgetHelper::setCenter(m_desktop->widgetCenter(*m_shared));
        m_monitor->setServices(UsageMonitor::Services::from(m_desktop.get(), &m_tasks));
    }
    return s;
}

bool CommandServices::startBackgroundService(DesktopServices::BackgroundHandlers handlers)
{
    if (!m_desktop)
        return false;
    UsageMonitor::Services withPush = m_monitor->services();
    withPush.push =
        m_desktop->push(handlers.onPush, [this] { m_monitor->pushSubscription().distributorChanged(); });
    m_monitor->setServices(withPush);
    return m_desktop->registerBackgroundService(std::move(handlers));
}

void CommandServices::finish()
{
    if (m_shared)
        m_shared->userPref().synchronize();
    QCoreApplication::sendPostedEvents(); // badge and screen updates queued for the main thread
    WidgetHelper::setCenter(nullptr);
    if (m_monitor)
        m_monitor->setServices({});
    m_desktop.reset();
    m_interfaces.shareManagedLinks(false);
}

} // namespace

int main(int argc, char **argv)
{
    PrivateFiles::beginPrivateProcess(false);
    if (argc < 2 || std::strcmp(argv[1], "daemon") != 0)
        LocalTime::readSystemZoneOnce();
    // A command waits for its stores and the service does nothing between two checks: the
    // stores' work runs on the main thread, without a second thread's start, stack, malloc arena
    // and hand-offs.
    DispatchQueue::setRunOnCreatingThread(true);
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("tallymo"));
    QCoreApplication::setApplicationVersion(QStringLiteral(TALLYMO_VERSION));

    // A store from before the hourly totals builds them on its first open: a progress line on a
    // terminal, nothing in scripts.
    if (::isatty(STDERR_FILENO))
        showTotalsBuildProgress();
    QString clockError;
    const std::unique_ptr<Clock> replayClock = clockFromEnvironment(&clockError);
    if (!clockError.isEmpty()) {
        std::fprintf(stderr, "tallymo: %s\n", qPrintable(clockError));
        return 2;
    }
    CommandServices commandServices(replayClock.get());
    Cli::Environment env;
    commandServices.attachTo(env);
    env.onTerminationRequest = UnixSignals::onTermination;
    XdgMail mail;
    env.mail = &mail;
    const int status = Cli::run(app.arguments().mid(1), env);
    commandServices.finish();
    return status;
}
