// The app: wires the Linux services into the delegate, shows the main screen, and runs the
// lifecycle from the window system's application state.
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
#include <QDir>
#include <QDirIterator>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QIcon>
#include <QQmlApplicationEngine>
#include <QQmlExtensionPlugin>
#include <QQuickItem>
#include <QQuickWindow>
#include <QSGRendererInterface>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <QTimer>

#include <cstdio>

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

} // namespace

int main(int argc, char **argv)
{
    QElapsedTimer sinceStart;
    sinceStart.start();
    QGuiApplication app(argc, argv);
    QGuiApplication::setApplicationName(QStringLiteral("tallymo"));
    QGuiApplication::setApplicationDisplayName(QStringLiteral("Tallymo"));
    QGuiApplication::setApplicationVersion(QStringLiteral(TALLYMO_VERSION));
    QGuiApplication::setDesktopFileName(QStringLiteral("org.tallymo.Tallymo"));
    Translations::install();

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

    // One app per session: a second start hands its request to the first and exits.
    ApplicationInstance instance;
    const bool onDemand = parser.isSet(service);
    QString clockError;
    const std::unique_ptr<Clock> replayClock = clockFromEnvironment(&clockError);
    if (!clockError.isEmpty())
        fail(clockError, 2);

    QString container = Paths::container();
    // The desktop's search reads the item the app made last; it is on the bus before the name is.
    SearchableIndex searchIndex(container);
    const Clock &clock = replayClock ? *replayClock : Clock::system();
    // The shared code is made after the search is on the bus; until then the search has no record.
    SharedCode *sharedForSearch = nullptr;
    DesktopSearch search(searchIndex, clock, [&sharedForSearch] {
        return sharedForSearch ? WidgetRecord::current(*sharedForSearch) : QVariantMap();
    });
    std::function<void(const UserActivity &)> openFromSearch;
    SearchProviders searchProviders(search, [&](const UserActivity &activity) {
        if (openFromSearch)
            openFromSearch(activity);
    });
    if (!parser.isSet(firstFrame)) {
        QString why;
        if (!searchProviders.registerOn(QDBusConnection::sessionBus(), &why) && onDemand)
            fail(why);
        switch (instance.registerOrForward(parser.value(action), &why, !onDemand)) {
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
    }

    LinuxNetworkInterfaces interfaces = LinuxNetworkInterfaces::fromEnvironment();
    SockDiagConnections connections;
    SharedCode::Services s{container, &interfaces};
    s.connections = &connections;
    s.clock = &clock;
    SharedCode shared(s);
    if (const QString error = shared.userPref().loadError(); !error.isEmpty())
        fail(error); // never go on with defaults over the user's file
    sharedForSearch = &shared;
    const auto forgetShared = qScopeGuard([&] { sharedForSearch = nullptr; });
    UsageMonitor delegate(shared);
    TimedBackgroundTasks tasks;
    QString moduleErrors;
    std::unique_ptr<DesktopServices> desktop =
        DesktopModule::load(shared.containerURL(), shared.clock(), &moduleErrors);
    if (desktop) {
        interfaces.setModemLinks([d = desktop.get()] { return d->modemDataLinks(); });
        WidgetHelper::setCenter(desktop->widgetCenter(shared));
    } else {
        std::fprintf(stderr, "tallymo-app: desktop services unavailable (no notifications or badge):%s\n",
                     qPrintable(moduleErrors));
    }
    delegate.setServices(UsageMonitor::Services::from(desktop.get(), &tasks));

    LinuxAlternateIcons icons;
    icons.changed = [](const QString &name) { QGuiApplication::setWindowIcon(iconFor(name)); };
    QGuiApplication::setWindowIcon(iconFor(icons.alternateIconName()));

    delegate.setApplicationState(UsageMonitor::Inactive);
    delegate.prepareLaunch();
    XdgMail mail;
    LinuxDesktopShell shell;
    SystemdUserManager systemd;
    Navigator navigator(delegate, {&icons, &mail, &shell, &systemd});
    delegate.completeLaunch();
    // The figures as stored, so the first frame shows them; activation then takes a fresh sample.
    showStoredFigures(navigator);

    QQmlApplicationEngine engine;
    QString error;
    QQuickWindow *window = loadAppWindow(engine, navigator, !onDemand, &error);
    if (!window)
        fail(error);
    if (!onDemand)
        window->requestActivate(); // where no window manager gives it the focus (kiosks, phones)

    // The lifecycle follows the window system: active, inactive, hidden (the background).
    int state = UsageMonitor::Inactive;
    auto follow = [&](Qt::ApplicationState qt) {
        const int next = qt == Qt::ApplicationActive     ? UsageMonitor::Active
                         : qt == Qt::ApplicationInactive ? UsageMonitor::Inactive
                                                         : UsageMonitor::Background;
        if (next == state)
            return;
        if (next == UsageMonitor::Active) {
            if (state == UsageMonitor::Background)
                delegate.enterForeground();
            delegate.windowActivated();
        } else {
            if (state == UsageMonitor::Active)
                delegate.windowDeactivated();
            if (next == UsageMonitor::Background) {
                delegate.enterBackground();
                navigator.main()->enterBackground();
            }
        }
        state = next;
        navigator.main()->applicationStateChanged();
    };
    {
        QObject::connect(&app, &QGuiApplication::applicationStateChanged, &app, follow);
        QObject::connect(window, &QWindow::visibilityChanged, &app, [&](QWindow::Visibility v) {
            if (v == QWindow::Hidden || v == QWindow::Minimized)
                follow(Qt::ApplicationHidden);
            else if (window->isActive())
                follow(Qt::ApplicationActive);
        });
        // Quitting from the foreground passes through the background first, as a phone's app does.
        QObject::connect(&app, &QGuiApplication::aboutToQuit, &app, [&] {
            follow(Qt::ApplicationHidden);
            delegate.shutDown();
        });
        UnixSignals::onTermination([] { QCoreApplication::quit(); });
    }
    const auto show = [window] {
        window->show();
        window->raise();
        window->requestActivate();
    };
    QObject::connect(&instance, &ApplicationInstance::activated, window, show);
    openFromSearch = [&](const UserActivity &activity) {
        if (delegate.search().openResult(activity))
            show();
    };
    // Started for the desktop's search only: gone after ten seconds without a query or a window.
    QTimer idle;
    if (onDemand) {
        idle.setSingleShot(true);
        idle.setInterval(10000);
        QObject::connect(&idle, &QTimer::timeout, &app, [window] {
            if (!window->isVisible())
                QCoreApplication::quit();
        });
        QObject::connect(&searchProviders, &SearchProviders::used, &idle, qOverload<>(&QTimer::start));
        idle.start();
    }
    QObject::connect(&instance, &ApplicationInstance::actionActivated, window, [&](const QString &name) {
        window->show();
        window->requestActivate();
        delegate.performQuickAction(ApplicationInstance::shortcutTypeForAction(name), nullptr);
    });

    // The main screen is on show once the window is.
    QObject::connect(window, &QQuickWindow::frameSwapped, window, [&] {
        static bool first = true;
        if (!first)
            return;
        first = false;
        navigator.main()->becameVisible();
        if (parser.isSet(firstFrame)) {
            std::printf("%lld\n", static_cast<long long>(sinceStart.elapsed()));
            QTimer::singleShot(0, &app, &QCoreApplication::quit);
        }
    });
    if (parser.isSet(action))
        QTimer::singleShot(0, window, [&] {
            delegate.performQuickAction(ApplicationInstance::shortcutTypeForAction(parser.value(action)),
                                        nullptr);
        });

    const int loop = app.exec();
    WidgetHelper::setCenter(nullptr);
    delegate.setServices({});
    return loop;
}
