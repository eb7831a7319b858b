// The companion watch face: a round face and its complication strip, fed by the watch session on
// the session bus.
#include "watchface.h"

#include <QCommandLineParser>
#include <QGuiApplication>
#include <QImage>
#include <QJsonDocument>
#include <QJsonObject>
#include <QQmlApplicationEngine>
#include <QQuickWindow>
#include <QTimer>
#include <QTranslator>

#include <cstdio>
#include <optional>
#include <sys/stat.h>

namespace {

// What the command line asks for besides the face itself.
struct WatchOptions
{
    bool dump = false;
    std::optional<QString> screenshot; // the file to write the picture to
    std::optional<QString> size;       // WIDTHxHEIGHT as it was given
};

// Reads the command line; help, version and a bad option end the program here.
WatchOptions readCommandLine(const QGuiApplication &app)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Tallymo's watch face: the data plan at a glance."));
    parser.addHelpOption();
    parser.addVersionOption();
    const QCommandLineOption screenshot(QStringLiteral("screenshot"),
                                        QStringLiteral("Write a picture of the face once it has its figures "
                                                       "(or knows it cannot have them) to FILE and exit."),
                                        QStringLiteral("FILE"));
    const QCommandLineOption dump(QStringLiteral("dump"),
                                  QStringLiteral("Print what the face shows, as a JSON line, each time a new "
                                                 "look is on screen."));
    const QCommandLineOption size(QStringLiteral("size"),
                                  QStringLiteral("Window size, WIDTHxHEIGHT (at least the face's 300x380)."),
                                  QStringLiteral("WxH"));
    parser.addOptions({screenshot, dump, size});
    parser.process(app);

    WatchOptions options;
    options.dump = parser.isSet(dump);
    if (parser.isSet(screenshot))
        options.screenshot = parser.value(screenshot);
    if (parser.isSet(size))
        options.size = parser.value(size);
    return options;
}

// Gives the window the size asked for; false, having said why, when it is not one from 300x380 to
// 4000x4000.
bool resizeWindow(QQuickWindow *window, const QString &size)
{
    const QStringList wh = size.split(QLatin1Char('x'));
    bool okW = false, okH = false;
    const QSize wanted = wh.size() == 2 ? QSize(wh[0].toInt(&okW), wh[1].toInt(&okH)) : QSize();
    if (!okW || !okH || wanted.width() < 300 || wanted.height() < 380 || wanted.width() > 4000 ||
        wanted.height() > 4000) {
        std::fprintf(stderr, "tallymo-watch: --size wants WIDTHxHEIGHT from 300x380 to 4000x4000, not %s\n",
                     qPrintable(size));
        return false;
    }
    window->resize(wanted);
    return true;
}

// A new look is on screen: printed as a JSON line with --dump; with --screenshot pictured, after
// which the program ends (status 1 in *status when the picture cannot be written).
void reportLook(const WatchFace &face, QQuickWindow *window, const WatchOptions &options, int *status)
{
    if (options.dump) {
        std::printf("%s\n", QJsonDocument(QJsonObject::fromVariantMap(face.shown()))
                                .toJson(QJsonDocument::Compact)
                                .constData());
        std::fflush(stdout);
    }
    if (options.screenshot) {
        const QString &file = *options.screenshot;
        if (!window->grabWindow().save(file)) {
            std::fprintf(stderr, "tallymo-watch: cannot write %s\n", qPrintable(file));
            *status = 1;
        }
        QTimer::singleShot(0, QCoreApplication::instance(), &QCoreApplication::quit);
    }
}

} // namespace

int main(int argc, char **argv)
{
    ::umask(077); // its pictures show the user's usage: theirs alone
    QGuiApplication app(argc, argv);
    QGuiApplication::setApplicationName(QStringLiteral("tallymo-watch"));
    QGuiApplication::setApplicationDisplayName(QStringLiteral("Tallymo Watch"));
    QGuiApplication::setApplicationVersion(QStringLiteral(TALLYMO_VERSION));
    QGuiApplication::setDesktopFileName(QStringLiteral("org.tallymo.Tallymo.Watch"));

    QTranslator translator; // English is the source; another language when there is a file for it
    if (translator.load(QLocale(), QStringLiteral("tallymo"), QStringLiteral("_"), QStringLiteral(":/i18n")))
        QCoreApplication::installTranslator(&translator);

    const WatchOptions options = readCommandLine(app);
    WatchFace face(QDBusConnection::sessionBus());
    QQmlApplicationEngine engine;
    engine.setInitialProperties({{QStringLiteral("face"), QVariant::fromValue(&face)}});
    engine.load(QUrl(QStringLiteral("qrc:/qt/qml/TallymoWatch/Face.qml")));
    if (engine.rootObjects().isEmpty()) {
        std::fprintf(stderr, "tallymo-watch: the face could not be loaded\n");
        return 1;
    }
    auto *window = qobject_cast<QQuickWindow *>(engine.rootObjects().constFirst());
    if (options.size && !resizeWindow(window, *options.size))
        return 2;

    // A new look is reported (and pictured) with the first frame that shows it.
    bool pending = false;
    QObject::connect(&face, &WatchFace::changed, window, [&] {
        pending = face.state() != QLatin1StringView("connecting");
        window->update();
    });
    int status = 0;
    QObject::connect(window, &QQuickWindow::frameSwapped, window, [&] {
        if (std::exchange(pending, false))
            reportLook(face, window, options, &status);
    });
    face.start();
    const int loop = app.exec();
    return status ? status : loop;
}
