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
#include "screens/mainscreencontroller.h"
#include "screens/screens.h"
#include "screens/screenshots.h"
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

// A copy of the container for a screenshot run, whose states change settings and figures.
QString copyContainer(const QString &from, const QString &to)
{
    QDirIterator it(from, QDir::Files | QDir::Hidden | QDir::NoDotAndDotDot, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        const QString target = to + QLatin1Char('/') + QDir(from).relativeFilePath(path);
        QDir().mkpath(QFileInfo(target).absolutePath());
        if (!QFile::copy(path, target))
            return QStringLiteral("cannot copy %1").arg(path);
    }
    return QString();
}

QIcon iconFor(const QString &alternate)
{
    const QString name = LinuxAlternateIcons::themeIconName(alternate);
    return QIcon::fromTheme(name, QIcon(QStringLiteral(":/icons/%1.svg").arg(name)));
}

// Opens a history view over the main screen and prints the milliseconds until a frame shows it
// with its rows (its list no longer busy), then quits.
void timeView(QQuickWindow &window, const QString &view)
{
    auto *clock = new QElapsedTimer;
    clock->start();
    const QVariant spec =
        QVariantList{view == QLatin1StringView("day") ? QStringLiteral("DayViewController")
                                                      : QStringLiteral("MultiCyclesController"),
                     QString()};
    QMetaObject::invokeMethod(&window, "openScreenWith", Q_ARG(QVariant, spec), Q_ARG(QVariant, false));
    auto ready = std::make_shared<bool>(false);
    QObject::connect(&window, &QQuickWindow::frameSwapped, &window, [&window, clock, view, ready] {
        if (*ready) { // this frame was drawn with the rows
            std::printf("%lld\n", static_cast<long long>(clock->elapsed()));
            std::fflush(stdout);
            QTimer::singleShot(0, qApp, &QCoreApplication::quit);
            return;
        }
        QQuickItem *pages = nullptr;
        QList<QQuickItem *> items{window.contentItem()};
        while (!items.isEmpty() && !pages) {
            QQuickItem *item = items.takeFirst();
            if (item->objectName() == QLatin1StringView("pages"))
                pages = item;
            items += item->childItems();
        }
        QObject *top = pages ? pages->property("currentItem").value<QObject *>() : nullptr;
        QObject *controller = top ? top->property("controller").value<QObject *>() : nullptr;
        if (controller && view == QLatin1StringView("day"))
            controller = controller->property("activeController").value<QObject *>();
        *ready = controller && !controller->property("busy").toBool();
        window.update(); // another frame: the one with the rows, or a later look
    });
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
    const QCommandLineOption screenshot(QStringLiteral("screenshot"),
                                        QStringLiteral("Write pictures of the screens to DIR and exit."),
                                        QStringLiteral("DIR"));
    const QCommandLineOption size(QStringLiteral("size"),
                                  QStringLiteral("Window size for --screenshot (default 420x820)."),
                                  QStringLiteral("WxH"), QStringLiteral("420x820"));
    const QCommandLineOption action(QStringLiteral("action"),
                                    QStringLiteral("Run a quick action: history, theme or dataplan."),
                                    QStringLiteral("NAME"));
    const QCommandLineOption firstFrame(
        QStringLiteral("first-frame"), QStringLiteral("Print the milliseconds to the first frame and exit."));
    const QCommandLineOption firstFrameOf(
        QStringLiteral("first-frame-of"),
        QStringLiteral("Once the main screen is up, open a history view (day or periods) and print the "
                       "milliseconds to its first frame with its rows, then exit."),
        QStringLiteral("VIEW"));
    const QCommandLineOption dumpMain(
        QStringLiteral("dump-main"),
        QStringLiteral("With --screenshot: print the main screen's texts instead of pictures."));
    const QCommandLineOption service(
        QStringLiteral("gapplication-service"),
        QStringLiteral("Started by the session bus: answer the desktop's search and show no window until "
                       "activated; leave after a while without either."));
    parser.addOptions({screenshot, size, action, firstFrame, firstFrameOf, dumpMain, service});
    parser.process(app);

    const bool pictures = parser.isSet(screenshot);
    QSize windowSize(420, 820);
    if (pictures) {
        const QStringList wh = parser.value(size).split(QLatin1Char('x'));
        bool okW = false, okH = false;
        if (wh.size() == 2)
            windowSize = QSize(wh[0].toInt(&okW), wh[1].toInt(&okH));
        if (!okW || !okH || windowSize.width() < 200 || windowSize.height() < 300 ||
            windowSize.width() > 4000 || windowSize.height() > 4000)
            fail(QStringLiteral("--size wants WIDTHxHEIGHT between 200x300 and 4000x4000, not %1")
                     .arg(parser.value(size)),
                 2);
    }

    // One app per session: a second start hands its request to the first and exits.
    ApplicationInstance instance;
    const QString timedView = parser.value(firstFrameOf);
    if (!timedView.isEmpty() && timedView != QLatin1StringView("day") &&
        timedView != QLatin1StringView("periods"))
        fail(QStringLiteral("--first-frame-of takes day or periods, not \"%1\"").arg(timedView), 2);
    const bool onDemand = parser.isSet(service) && !pictures;
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
    if (!pictures && !parser.isSet(firstFrame) && timedView.isEmpty()) {
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

    QTemporaryDir copy;
    if (pictures) {
        if (!copy.isValid())
            fail(QStringLiteral("cannot make a temporary folder: %1").arg(copy.errorString()));
        const QString error = copyContainer(container, copy.path());
        if (!error.isEmpty())
            fail(error);
        container = copy.path();
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
        pictures ? nullptr : DesktopModule::load(shared.containerURL(), shared.clock(), &moduleErrors);
    if (desktop) {
        interfaces.setModemLinks([d = desktop.get()] { return d->modemDataLinks(); });
        WidgetHelper::setCenter(desktop->widgetCenter(shared));
    } else if (!pictures) {
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
    // A picture run keeps its pictures (the shared screenshot too) in its own folder.
    LinuxDesktopShell shell(pictures ? parser.value(screenshot) : QString());
    SystemdUserManager systemd;
    Screens screens(delegate, {&icons, pictures ? nullptr : &mail, &shell, &systemd});
    screens.main()->setStillFrames(pictures);
    delegate.completeLaunch();
    // The figures as stored, so the first frame shows them; activation then takes a fresh sample.
    delegate.figures().readActivePlanValuesNow();
    screens.main()->reloadValues();

    // Glyphs rasterised once into a texture: cheaper to draw each frame than distance-field text,
    // which matters with software OpenGL while a theme animates.
    QQuickWindow::setTextRenderType(QQuickWindow::NativeTextRendering);
    QQmlApplicationEngine engine;
    engine.addImportPath(QStringLiteral("qrc:/qt/qml"));
    engine.setInitialProperties(
        {{QStringLiteral("screens"), QVariant::fromValue(&screens)}, {QStringLiteral("visible"), !onDemand}});
    engine.load(QUrl(QStringLiteral("qrc:/qt/qml/Tallymo/Main.qml")));
    if (engine.rootObjects().isEmpty())
        fail(QStringLiteral("the main screen could not be loaded"));
    auto *window = qobject_cast<QQuickWindow *>(engine.rootObjects().constFirst());
    if (pictures)
        window->resize(windowSize);
    else if (!onDemand)
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
                screens.main()->enterBackground();
            }
        }
        state = next;
        screens.main()->applicationStateChanged();
    };
    if (!pictures) {
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
        screens.main()->becameVisible();
        if (parser.isSet(firstFrame)) {
            std::printf("%lld\n", static_cast<long long>(sinceStart.elapsed()));
            QTimer::singleShot(0, &app, &QCoreApplication::quit);
        }
        if (!timedView.isEmpty())
            QTimer::singleShot(0, window, [&] { timeView(*window, timedView); });
    });
    if (parser.isSet(action))
        QTimer::singleShot(0, window, [&] {
            delegate.performQuickAction(ApplicationInstance::shortcutTypeForAction(parser.value(action)),
                                        nullptr);
        });

    std::unique_ptr<ScreenshotRun> run;
    int status = 0;
    if (pictures) {
        const bool particles = window->rendererInterface()->graphicsApi() != QSGRendererInterface::Software;
        if (!particles)
            std::fprintf(stderr, "tallymo-app: the software renderer cannot draw particles: no picture of "
                                 "\"Winter Wonderland\" (run under a display with OpenGL, e.g. xvfb-run)\n");
        if (parser.isSet(dumpMain)) {
            QObject::connect(window, &QQuickWindow::frameSwapped, window, [&] {
                static bool printed = false;
                if (std::exchange(printed, true))
                    return;
                for (const char *name :
                     {"lDays", "lPercent", "lUsedStaticText", "lCellUsage", "lWifiUsage", "lForecast"}) {
                    const QObject *item = window->findChild<QObject *>(QLatin1StringView(name));
                    std::printf("%s=%s\n", name,
                                item ? qPrintable(item->property("text").toString()) : "(missing)");
                }
                QTimer::singleShot(0, &app, &QCoreApplication::quit);
            });
            return app.exec();
        }
        run = std::make_unique<ScreenshotRun>(screens, *window, parser.value(screenshot), particles);
        QObject::connect(window, &QQuickWindow::frameSwapped, window, [&] {
            static bool started = false;
            if (started)
                return;
            started = true;
            run->start([&](const QStringList &files, const QString &error) {
                for (const QString &f : files)
                    std::printf("%s\n", qPrintable(f));
                if (!error.isEmpty()) {
                    std::fprintf(stderr, "tallymo-app: %s\n", qPrintable(error));
                    status = 1;
                }
                QCoreApplication::quit();
            });
        });
    }
    const int loop = app.exec();
    WidgetHelper::setCenter(nullptr);
    delegate.setServices({});
    return status ? status : loop;
}
