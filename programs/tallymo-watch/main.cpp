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

int main(int argc, char **argv)
{
    QGuiApplication app(argc, argv);
    QGuiApplication::setApplicationName(QStringLiteral("tallymo-watch"));
    QGuiApplication::setApplicationDisplayName(QStringLiteral("Tallymo Watch"));
    QGuiApplication::setApplicationVersion(QStringLiteral(TALLYMO_VERSION));
    QGuiApplication::setDesktopFileName(QStringLiteral("org.tallymo.Tallymo.Watch"));

    QTranslator translator; // English is the source; another language when there is a file for it
    if (translator.load(QLocale(), QStringLiteral("tallymo"), QStringLiteral("_"), QStringLiteral(":/i18n")))
        QCoreApplication::installTranslator(&translator);

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
    parser.addOptions({screenshot, dump});
    parser.process(app);

    WatchFace face(QDBusConnection::sessionBus());
    QQmlApplicationEngine engine;
    engine.setInitialProperties({{QStringLiteral("face"), QVariant::fromValue(&face)}});
    engine.load(QUrl(QStringLiteral("qrc:/watch/Face.qml")));
    if (engine.rootObjects().isEmpty()) {
        std::fprintf(stderr, "tallymo-watch: the face could not be loaded\n");
        return 1;
    }
    auto *window = qobject_cast<QQuickWindow *>(engine.rootObjects().constFirst());

    // A new look is reported (and pictured) with the first frame that shows it.
    bool pending = false;
    QObject::connect(&face, &WatchFace::changed, window, [&] {
        pending = face.state() != QLatin1StringView("connecting");
        window->update();
    });
    int status = 0;
    QObject::connect(window, &QQuickWindow::frameSwapped, window, [&] {
        if (!std::exchange(pending, false))
            return;
        if (parser.isSet(dump)) {
            std::printf("%s\n", QJsonDocument(QJsonObject::fromVariantMap(face.shown()))
                                    .toJson(QJsonDocument::Compact)
                                    .constData());
            std::fflush(stdout);
        }
        if (parser.isSet(screenshot)) {
            const QString file = parser.value(screenshot);
            if (!window->grabWindow().save(file)) {
                std::fprintf(stderr, "tallymo-watch: cannot write %s\n", qPrintable(file));
                status = 1;
            }
            QTimer::singleShot(0, &app, &QCoreApplication::quit);
        }
    });
    face.start();
    const int loop = app.exec();
    return status ? status : loop;
}
