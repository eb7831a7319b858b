// The app: wires the Linux services into the usage monitor, shows the main screen, and runs the
// lifecycle from the window system's application state.
#include "core/privatefiles.h"
#include "core/sharedcode.h"
#include "desktop/widgetstats.h"
#include "platform/dbus/applicationinstance.h"
#include "platform/dbus/searchproviders.h"
#include "platform/dbus/systemdusermanager.h"
#include "platform/linux/desktopicons.h"
#include "platform/linux/desktopmodule.h"
#include "platform/linux/desktopshell.h"
#include "platform/linux/linuxnetworkinterfaces.h"
#include "platform/linux/paths.h"
#include "platform/linux/replayclock.h"
#include "platform/linux/sockdiag.h"
#include "platform/linux/unixsignals.h"
#include "platform/linux/xdgmail.h"
#include "screens/appwindow.h"
#include "screens/mainscreencontroller.h"
#include "screens/navigator.h"
#include "screens/translations.h"
#include "services/backgroundtasks.h"
#include "services/usagemonitor.h"

#include <QCommandLineParser>
#include <QDBusConnection>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QIcon>
#include <QQmlApplicationEngine>
#include <QQmlExtensionPlugin>
#include <QQuickWindow>
#include <QScopeGuard>
#include <QTimer>

#include <cstdio>
#include <optional>

Q_IMPORT_QML_PLUGIN(TallymoPlugin)

namespace {

[[noreturn]] void fail(const QString &message, int status = 1)
{
    std::fprintf(stderr, "tallymo-app: %s\n", qPrintable(message));
    std::exit(status);
}

QIcon iconFor(const QString &alternate)
{
    const QString name = LinuxAlternateIcons::themeIconName(alternate);
    return QIcon::fromTheme(name, QIcon(QStringLiteral(":/icons/%1.svg").arg(name)));
}

struct Options
{
    QString action;  // a quick action to run once the window is up
    bool firstFrame; // print the milliseconds to the first frame and leave
    bool onDemand;   // started by the session bus for the desktop's search
};

Options parseOptions(const QGuiApplication &app)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Tallymo: how much of your data plan is used, and whether it lasts."));
    parser.addHelpOption();
    parser.addVersionOption();
    const QCommandLineOption action(QStringLiteral("action"),
                                    QStringLiteral("Run a quick action: history, theme or dataplan."),
                                    QStringLiteral("NAME"));
    const QCommandLineOption firstFrame(
        QStringLiteral("first-frame"), QStringLiteral("Print the milliseconds to the first frame and exit."));
    const QCommandLineOption service(
        QStringLiteral("gapplication-service"),
        QStringLiteral("Started by the session bus: answer the desktop's search and show no window until "
                       "activated; leave after a while without either."));
    parser.addOptions({action, firstFrame, service});
    parser.process(app);
    return {parser.value(action), parser.isSet(firstFrame), parser.isSet(service)};
}

// One app per session: a second start hands its request to the first. The exit status when this
// start is the second one; nothing when it goes on.
std::optional<int> becomeTheInstance(ApplicationInstance &instance, SearchProviders &search, const Options &o)
{
    if (o.firstFrame)
        return std::nullopt;
    QString why;
    if (!search.registerOn(QDBusConnection::sessionBus(), &why) && o.onDemand)
        fail(why);
    switch (instance.registerOrForward(o.action, &why, !o.onDemand)) {
    case ApplicationInstance::Outcome::Forwarded:
        if (!why.isEmpty())
            fail(QStringLiteral("the running Tallymo did not answer: %1").arg(why));
        return 0;
    case ApplicationInstance::Outcome::NoBus:
        std::fprintf(stderr, "tallymo-app: no session bus (%s); running without single-instance\n",
                     qPrintable(why));
        break;
    case ApplicationInstance::Outcome::First:
        break;
    }
    return std::nullopt;
}

// The lifecycle follows the window system: active, inactive, hidden (the background).
class Lifecycle
{
public:
    Lifecycle(UsageMonitor &monitor, MainScreenController &main) : m_monitor(monitor), m_main(main) {}

    void follow(Qt::ApplicationState qt)
    {
        const int next = qt == Qt::ApplicationActive     ? UsageMonitor::Active
                         : qt == Qt::ApplicationInactive ? UsageMonitor::Inactive
                                                         : UsageMonitor::Background;
        if (next == m_state)
            return;
        if (next == UsageMonitor::Active) {
            if (m_state == UsageMonitor::Background)
                m_monitor.enterForeground();
            m_monitor.windowActivated();
        } else {
            if (m_state == UsageMonitor::Active)
                m_monitor.windowDeactivated();
            if (next == UsageMonitor::Background) {
                m_monitor.enterBackground();
                m_main.enterBackground();
            }
        }
        m_state = next;
        m_main.applicationStateChanged();
    }

    void connect(QGuiApplication &app, QQuickWindow &window)
    {
        QObject::connect(&app, &QGuiApplication::applicationStateChanged, &app,
                         [this](Qt::ApplicationState s) { follow(s); });
        QObject::connect(&window, &QWindow::visibilityChanged, &app, [this, &window](QWindow::Visibility v) {
            if (v == QWindow::Hidden || v == QWindow::Minimized)
                follow(Qt::ApplicationHidden);
            else if (window.isActive())
                follow(Qt::ApplicationActive);
        });
        // Quitting from the foreground passes through the background first.
        QObject::connect(&app, &QGuiApplication::aboutToQuit, &app, [this] {
            follow(Qt::ApplicationHidden);
            m_monitor.shutDown();
        });
        UnixSignals::onTermination([] { QCoreApplication::quit(); });
    }

private:
    UsageMonitor &m_monitor;
    MainScreenController &m_main;
    int m_state = UsageMonitor::Inactive;
};

// The window comes up for a second start, a search result or a quick action from the desktop.
void showOnRequest(ApplicationInstance &instance, QQuickWindow *window, UsageMonitor &monitor,
                   std::function<void(const UserActivity &)> &openFromSearch)
{
    const auto show = [window] {
        window->show();
        window->raise();
        window->requestActivate();
    };
    QObject::connect(&instance, &ApplicationInstance::activated, window, show);
    openFromSearch = [&monitor, show](const UserActivity &activity) {
        if (monitor.search().openResult(activity))
            show();
    };
    QObject::connect(
        &instance, &ApplicationInstance::actionActivated, window, [window, &monitor](const QString &name) {
            window->show();
            window->requestActivate();
            monitor.performQuickAction(ApplicationInstance::shortcutTypeForAction(name), nullptr);
        });
}

// Started for the desktop's search only: gone after ten seconds without a query or a window.
void quitWhenIdle(QTimer &idle, SearchProviders &search, QQuickWindow *window)
{
    idle.setSingleShot(true);
    idle.setInterval(10000);
    QObject::connect(&idle, &QTimer::timeout, qApp, [window] {
        if (!window->isVisible())
            QCoreApplication::quit();
    });
    QObject::connect(&search, &SearchProviders::used, &idle, qOverload<>(&QTimer::start));
    idle.start();
}

// The notifications and badge, where the desktop module loads.
std::unique_ptr<DesktopServices> loadDesktop(SharedCode &shared)
{
    QString errors;
    std::unique_ptr<DesktopServices> desktop =
        DesktopModule::load(shared.containerURL(), shared.clock(), &errors);
    if (desktop) {
        WidgetHelper::setCenter(desktop->widgetCenter(shared));
    } else {
        std::fprintf(stderr, "tallymo-app: desktop services unavailable (no notifications or badge):%s\n",
                     qPrintable(errors));
    }
    return desktop;
}

// The usage monitor with the Linux services behind it and the navigator of the app's screens,
// launched as far as the first frame: the figures as stored are on the main screen.
struct Core
{
    Core(const QString &container, const Clock &clock)
        : interfaces(LinuxNetworkInterfaces::fromEnvironment()), shared(services(container, clock)),
          monitor(shared)
    {
        if (const QString error = shared.userPref().loadError(); !error.isEmpty())
            fail(error); // never go on with defaults over the user's file
        desktop = loadDesktop(shared);
        monitor.setServices(UsageMonitor::Services::from(desktop.get(), &tasks));
        icons.changed = [](const QString &name) { QGuiApplication::setWindowIcon(iconFor(name)); };
        QGuiApplication::setWindowIcon(iconFor(icons.alternateIconName()));
        monitor.setApplicationState(UsageMonitor::Inactive);
        monitor.prepareLaunch();
        navigator =
            std::make_unique<Navigator>(monitor, Navigator::Platform{&icons, &mail, &shell, &systemd});
        monitor.completeLaunch();
        // Activation then takes a fresh sample.
        showStoredFigures(*navigator);
    }
    ~Core()
    {
        navigator.reset();
        WidgetHelper::setCenter(nullptr);
        monitor.setServices({});
    }
    SharedCode::Services services(const QString &container, const Clock &clock)
    {
        SharedCode::Services s{container, &interfaces};
        s.connections = &connections;
        s.clock = &clock;
        return s;
    }

    LinuxNetworkInterfaces interfaces;
    SockDiagConnections connections;
    SharedCode shared;
    UsageMonitor monitor;
    TimedBackgroundTasks tasks;
    std::unique_ptr<DesktopServices> desktop;
    LinuxAlternateIcons icons;
    XdgMail mail;
    LinuxDesktopShell shell;
    SystemdUserManager systemd;
    std::unique_ptr<Navigator> navigator;
};

void nameTheApplication()
{
    QGuiApplication::setApplicationName(QStringLiteral("tallymo"));
    QGuiApplication::setApplicationDisplayName(QStringLiteral("Tallymo"));
    QGuiApplication::setApplicationVersion(QStringLiteral(TALLYMO_VERSION));
    QGuiApplication::setDesktopFileName(QStringLiteral("org.tallymo.Tallymo"));
    Translations::install();
}

// The main screen is on show once the window is; with --first-frame, the time to it is printed and
// the app leaves.
void onFirstFrame(QQuickWindow *window, Navigator &navigator, bool printTime, const QElapsedTimer &sinceStart)
{
    QObject::connect(window, &QQuickWindow::frameSwapped, window, [&navigator, printTime, &sinceStart] {
        static bool first = true;
        if (!std::exchange(first, false))
            return;
        navigator.main()->becameVisible();
        if (printTime) {
            std::printf("%lld\n", static_cast<long long>(sinceStart.elapsed()));
            QTimer::singleShot(0, qApp, &QCoreApplication::quit);
        }
    });
}

} // namespace

int main(int argc, char **argv)
{
    PrivateFiles::beginPrivateProcess(true);
    QElapsedTimer sinceStart;
    sinceStart.start();
    QGuiApplication app(argc, argv);
    nameTheApplication();
    const Options options = parseOptions(app);
    QString clockError;
    const std::unique_ptr<Clock> replayClock = clockFromEnvironment(&clockError);
    if (!clockError.isEmpty())
        fail(clockError, 2);
    const Clock &clock = replayClock ? *replayClock : Clock::system();

    const QString container = Paths::container();
    // The desktop's search reads the item the app made last; it is on the bus before the name is,
    // and has a record once the shared code is made.
    SearchableIndex searchIndex(container);
    SharedCode *sharedForSearch = nullptr;
    DesktopSearch search(searchIndex, clock, [&sharedForSearch] {
        return sharedForSearch ? WidgetRecord::current(*sharedForSearch) : QVariantMap();
    });
    std::function<void(const UserActivity &)> openFromSearch;
    SearchProviders searchProviders(search, [&](const UserActivity &activity) {
        if (openFromSearch)
            openFromSearch(activity);
    });
    ApplicationInstance instance;
    if (const std::optional<int> status = becomeTheInstance(instance, searchProviders, options))
        return *status;

    Core core(container, clock);
    sharedForSearch = &core.shared;
    const auto forgetShared = qScopeGuard([&] { sharedForSearch = nullptr; });
    QQmlApplicationEngine engine;
    QString error;
    QQuickWindow *window = loadAppWindow(engine, *core.navigator, !options.onDemand, &error);
    if (!window)
        fail(error);
    if (!options.onDemand)
        window->requestActivate(); // where no window manager gives it the focus (kiosks, phones)
    Lifecycle lifecycle(core.monitor, *core.navigator->main());
    lifecycle.connect(app, *window);
    showOnRequest(instance, window, core.monitor, openFromSearch);
    QTimer idle;
    if (options.onDemand)
        quitWhenIdle(idle, searchProviders, window);
    onFirstFrame(window, *core.navigator, options.firstFrame, sinceStart);
    if (!options.action.isEmpty())
        QTimer::singleShot(0, window, [&] {
            core.monitor.performQuickAction(ApplicationInstance::shortcutTypeForAction(options.action),
                                            nullptr);
        });
    return app.exec();
}
