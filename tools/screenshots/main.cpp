// Drives the app's window from outside, on the data in $TALLYMO_CONTAINER: pictures of every screen
// state (on a copy of the data, since the states change settings), the main screen's texts, or the
// milliseconds a history view takes to its first frame with its rows.
#include "core/settingskeys.h"
#include "core/sharedcode.h"
#include "day/dayviewcontroller.h"
#include "platform/dbus/systemdusermanager.h"
#include "platform/linux/desktopicons.h"
#include "platform/linux/desktopshell.h"
#include "platform/linux/linuxnetworkinterfaces.h"
#include "platform/linux/paths.h"
#include "platform/linux/replayclock.h"
#include "platform/linux/sockdiag.h"
#include "screens/alertscontrollers.h"
#include "screens/appwindow.h"
#include "screens/mainscreencontroller.h"
#include "screens/navigator.h"
#include "screens/plancontrollers.h"
#include "screens/planeditors.h"
#include "screens/translations.h"
#include "screenshotrun.h"
#include "services/backgroundtasks.h"
#include "services/usagemonitor.h"

#include <QCommandLineParser>
#include <QDir>
#include <QDirIterator>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QPalette>
#include <QQmlApplicationEngine>
#include <QQmlExtensionPlugin>
#include <QQuickWindow>
#include <QSGRendererInterface>
#include <QTemporaryDir>
#include <QTimer>

#include <cstdio>

Q_IMPORT_QML_PLUGIN(TallymoPlugin)

namespace {

[[noreturn]] void fail(const QString &message, int status = 1)
{
    std::fprintf(stderr, "tallymo-screenshots: %s\n", qPrintable(message));
    std::exit(status);
}

QSize parseSize(const QString &text)
{
    const QStringList wh = text.split(QLatin1Char('x'));
    bool okW = false, okH = false;
    const QSize size = wh.size() == 2 ? QSize(wh[0].toInt(&okW), wh[1].toInt(&okH)) : QSize();
    if (!okW || !okH || size.width() < 200 || size.height() < 300 || size.width() > 4000 ||
        size.height() > 4000)
        fail(QStringLiteral("--size wants WIDTHxHEIGHT between 200x300 and 4000x4000, not %1").arg(text), 2);
    return size;
}

// A copy of the container, whose files the pictured states change.
void copyContainer(const QString &from, const QString &to)
{
    QDirIterator it(from, QDir::Files | QDir::Hidden | QDir::NoDotAndDotDot, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        const QString target = to + QLatin1Char('/') + QDir(from).relativeFilePath(path);
        QDir().mkpath(QFileInfo(target).absolutePath());
        if (!QFile::copy(path, target))
            fail(QStringLiteral("cannot copy %1").arg(path));
    }
}

// The app as it starts, without its desktop services: no notifications, no mail, no single instance.
struct App
{
    App(const QString &container, const Clock &clock, const QString &picturesFolder)
        : interfaces(LinuxNetworkInterfaces::fromEnvironment()), shared(services(container, clock)),
          monitor(shared), shell(picturesFolder), navigator(monitor, {&icons, nullptr, &shell, &systemd})
    {
        if (const QString error = shared.userPref().loadError(); !error.isEmpty())
            fail(error);
        monitor.setServices(UsageMonitor::Services::from(nullptr, &tasks));
        navigator.main()->setStillFrames(true);
        monitor.setApplicationState(UsageMonitor::Inactive);
        monitor.prepareLaunch();
        monitor.completeLaunch();
        showStoredFigures(navigator);
    }
    ~App() { monitor.setServices({}); }

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
    LinuxAlternateIcons icons;
    LinuxDesktopShell shell;
    SystemdUserManager systemd;
    Navigator navigator;
};

// A dark desktop's palette, as a dark GTK or Plasma theme hands it to Qt.
QPalette darkPalette()
{
    QPalette p;
    const QColor window(0x24, 0x24, 0x24), base(0x1e, 0x1e, 0x1e), text(0xee, 0xee, 0xee);
    p.setColor(QPalette::Window, window);
    p.setColor(QPalette::WindowText, text);
    p.setColor(QPalette::Base, base);
    p.setColor(QPalette::AlternateBase, window);
    p.setColor(QPalette::Text, text);
    p.setColor(QPalette::Button, QColor(0x35, 0x35, 0x35));
    p.setColor(QPalette::ButtonText, text);
    p.setColor(QPalette::Highlight, QColor(0x35, 0x84, 0xe4));
    p.setColor(QPalette::HighlightedText, Qt::white);
    p.setColor(QPalette::PlaceholderText, QColor(0x90, 0x90, 0x90));
    return p;
}

// Prints the main screen's texts once its first frame is drawn.
void dumpMain(QQuickWindow &window)
{
    for (const char *name :
         {"lDays", "lPercent", "lUsedStaticText", "lCellUsage", "lWifiUsage", "lForecast"}) {
        const QObject *item = window.findChild<QObject *>(QLatin1StringView(name));
        std::printf("%s=%s\n", name, item ? qPrintable(item->property("text").toString()) : "(missing)");
    }
}

// Opens a history view over the main screen and prints the milliseconds until a frame shows it
// with its rows (its list no longer busy), then quits.
void timeView(QQuickWindow &window, Navigator &navigator, const QString &view)
{
    auto *clock = new QElapsedTimer;
    clock->start();
    const bool day = view == QLatin1StringView("day");
    QPointer<QObject> opened = navigator.open(day ? Navigator::Day : Navigator::Periods, QString(), false);
    auto ready = std::make_shared<bool>(false);
    QObject::connect(&window, &QQuickWindow::frameSwapped, &window, [&window, clock, opened, day, ready] {
        if (*ready) { // this frame was drawn with the rows
            std::printf("%lld\n", static_cast<long long>(clock->elapsed()));
            std::fflush(stdout);
            QTimer::singleShot(0, qApp, &QCoreApplication::quit);
            return;
        }
        QObject *rows = opened;
        if (day && rows)
            rows = static_cast<DayViewController *>(rows)->activeController();
        *ready = rows && !rows->property("busy").toBool();
        window.update(); // another frame: the one with the rows, or a later look
    });
}

// Edits as a user makes them on the screens, the pages closing as the back button closes them: the
// first plan other than the active one deleted, a new plan saved, the active plan's cap (9 GB) and
// label ("Work SIM"), and the second alert at 60 %. Prints "edited" when done; the app then stays open.
void makeEdits(Navigator &navigator)
{
    SharedCode &shared = navigator.monitor().shared();
    const QString active = shared.activePlanID();
    QString other;
    for (const QString &id : shared.userPref().dictionaryForKey(Keys::PREF_ALL_PLANS).keys())
        if (id != active && other.isEmpty())
            other = id;
    // Plans first: removing one writes the settings at once, which must not be what writes the rest.
    if (!other.isEmpty())
        if (auto *plan = qobject_cast<PlanController *>(navigator.open(Navigator::Plan, other, false)))
            plan->confirmDelete();
    navigator.closeAll();
    navigator.open(Navigator::Settings, QString(), false); // each editor over it, as the user gets there
    if (auto *plan = qobject_cast<PlanController *>(navigator.open(Navigator::Plan, QString(), false)))
        plan->save();
    navigator.back();
    if (auto *cap = qobject_cast<CapController *>(navigator.open(Navigator::Cap, active, false))) {
        cap->setUnitIndex(int(AmountEntry::GB));
        cap->setText(QStringLiteral("9"));
    }
    navigator.back();
    if (auto *label = qobject_cast<LabelController *>(navigator.open(Navigator::Label, active, false)))
        label->setText(QStringLiteral("Work SIM"));
    navigator.back();
    if (auto *alert = qobject_cast<ThresholdController *>(
            navigator.open(Navigator::Threshold, QStringLiteral("1"), false)))
        alert->chooseRow(int((60 - alert->minlevel()) / 5));
    navigator.closeAll();
    std::printf("edited\n");
    std::fflush(stdout);
}

struct Options
{
    QSize windowSize;
    bool dumpMain = false;
    bool edits = false;
    bool sheets = false;
    QString timedView; // day or periods
    QString folder;    // for pictures
};

Options parseOptions(const QGuiApplication &app)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Pictures of Tallymo's screens from the data in "
                                                    "$TALLYMO_CONTAINER (or the user's own)."));
    parser.addHelpOption();
    parser.addPositionalArgument(QStringLiteral("DIR"), QStringLiteral("Where to write the pictures."));
    const QCommandLineOption size(QStringLiteral("size"), QStringLiteral("Window size (default 420x820)."),
                                  QStringLiteral("WxH"), QStringLiteral("420x820"));
    const QCommandLineOption dump(QStringLiteral("dump-main"),
                                  QStringLiteral("Print the main screen's texts instead of pictures."));
    const QCommandLineOption timed(
        QStringLiteral("first-frame-of"),
        QStringLiteral("Open a history view (day or periods) and print the milliseconds "
                       "to its first frame with its rows, instead of pictures."),
        QStringLiteral("VIEW"));
    const QCommandLineOption dark(QStringLiteral("dark"),
                                  QStringLiteral("Picture the screens on a dark desktop."));
    const QCommandLineOption edits(
        QStringLiteral("edits"),
        QStringLiteral("Make a fixed set of plan and alert edits through the screens on "
                       "the data itself, print \"edited\" and stay open."));
    const QCommandLineOption sheets(
        QStringLiteral("sheets"),
        QStringLiteral("Also put the pictures side by side, named, on contact sheets (sheet-N.png) to look "
                       "over many at once."));
    parser.addOptions({size, dump, timed, dark, edits, sheets});
    parser.process(app);
    Options o{parseSize(parser.value(size)), parser.isSet(dump),  parser.isSet(edits),
              parser.isSet(sheets),          parser.value(timed), QString()};
    if (parser.isSet(dark))
        QGuiApplication::setPalette(darkPalette());
    if (!o.timedView.isEmpty() && o.timedView != QLatin1StringView("day") &&
        o.timedView != QLatin1StringView("periods"))
        fail(QStringLiteral("--first-frame-of takes day or periods, not \"%1\"").arg(o.timedView), 2);
    if (!o.dumpMain && !o.edits && o.timedView.isEmpty()) {
        if (parser.positionalArguments().size() != 1)
            fail(QStringLiteral("name the folder for the pictures (see --help)"), 2);
        o.folder = parser.positionalArguments().constFirst();
    }
    return o;
}

// The pictures side by side on sheets 1920 pixels wide (six narrow or three wide ones a row), each
// named under it; returns the sheets written.
QStringList makeSheets(const QStringList &files, const QString &folder)
{
    QStringList sheets;
    const QImage first(files.value(0));
    if (first.isNull())
        return sheets;
    const bool narrow = first.width() <= 600 * first.devicePixelRatio();
    const int columns = narrow ? 6 : 3, rows = narrow ? 2 : 3, cell = 1920 / columns, caption = 22;
    const int pictureHeight = first.height() * cell / first.width();
    for (qsizetype at = 0; at < files.size(); at += columns * rows) {
        QImage sheet(1920, rows * (pictureHeight + caption), QImage::Format_RGB32);
        sheet.fill(QColor(0x80, 0x80, 0x80));
        QPainter painter(&sheet);
        painter.setRenderHint(QPainter::SmoothPixmapTransform);
        QFont font = painter.font();
        font.setPixelSize(14);
        painter.setFont(font);
        for (int i = 0; i < columns * rows && at + i < files.size(); ++i) {
            const QRect place((i % columns) * cell, (i / columns) * (pictureHeight + caption), cell,
                              pictureHeight);
            painter.drawImage(place.adjusted(2, 2, -2, 0), QImage(files[at + i]));
            painter.setPen(Qt::white);
            painter.drawText(QRect(place.left(), place.bottom(), cell, caption), Qt::AlignCenter,
                             QFileInfo(files[at + i]).fileName());
        }
        painter.end();
        const QString name = QDir(folder).filePath(QStringLiteral("sheet-%1.png").arg(sheets.size() + 1));
        if (sheet.save(name))
            sheets.append(name);
    }
    return sheets;
}

// Takes every picture into `folder`, prints the files written and quits (with 1 on a failure).
void takePictures(QQuickWindow &window, Navigator &navigator, const QString &folder, bool sheets,
                  std::unique_ptr<ScreenshotRun> &run, int &status)
{
    const bool particles = window.rendererInterface()->graphicsApi() != QSGRendererInterface::Software;
    if (!particles)
        std::fprintf(stderr, "tallymo-screenshots: the software renderer cannot draw particles: no picture "
                             "of \"Winter Wonderland\" (run under a display with OpenGL, e.g. xvfb-run)\n");
    run = std::make_unique<ScreenshotRun>(navigator, window, folder, particles);
    run->start([&status, folder, sheets](const QStringList &files, const QString &failure) {
        for (const QString &f : files)
            std::printf("%s\n", qPrintable(f));
        if (sheets) {
            for (const QString &f : makeSheets(files, folder))
                std::printf("%s\n", qPrintable(f));
        }
        if (!failure.isEmpty()) {
            std::fprintf(stderr, "tallymo-screenshots: %s\n", qPrintable(failure));
            status = 1;
        }
        QCoreApplication::quit();
    });
}

} // namespace

int main(int argc, char **argv)
{
    QGuiApplication app(argc, argv);
    QGuiApplication::setApplicationName(QStringLiteral("tallymo"));
    QGuiApplication::setApplicationDisplayName(QStringLiteral("Tallymo"));
    Translations::install();
    const Options options = parseOptions(app);
    QString clockError;
    const std::unique_ptr<Clock> replayClock = clockFromEnvironment(&clockError);
    if (!clockError.isEmpty())
        fail(clockError, 2);
    QString container = Paths::container();
    QTemporaryDir copy;
    if (!options.folder.isEmpty()) {
        if (!copy.isValid())
            fail(QStringLiteral("cannot make a temporary folder: %1").arg(copy.errorString()));
        copyContainer(container, copy.path());
        container = copy.path();
    }
    App tallymo(container, replayClock ? *replayClock : Clock::system(), options.folder);
    QQmlApplicationEngine engine;
    QString error;
    // Shown at the pictures' size from the start: a window that opens wide puts the history beside
    // the main screen, and narrowed it would stay over it.
    QQuickWindow *window = loadAppWindow(engine, tallymo.navigator, false, &error);
    if (!window)
        fail(error);
    window->resize(options.windowSize);
    window->show();

    std::unique_ptr<ScreenshotRun> run;
    int status = 0;
    QObject::connect(window, &QQuickWindow::frameSwapped, window, [&] {
        static bool first = true;
        if (!std::exchange(first, false))
            return;
        tallymo.navigator.main()->becameVisible();
        if (options.edits) {
            QTimer::singleShot(0, window, [&] { makeEdits(tallymo.navigator); });
        } else if (options.dumpMain) {
            dumpMain(*window);
            QTimer::singleShot(0, &app, &QCoreApplication::quit);
        } else if (!options.timedView.isEmpty()) {
            QTimer::singleShot(0, window, [&] { timeView(*window, tallymo.navigator, options.timedView); });
        } else {
            takePictures(*window, tallymo.navigator, options.folder, options.sheets, run, status);
        }
    });
    const int loop = app.exec();
    return status ? status : loop;
}
