#include "appwindow.h"

#include "mainscreencontroller.h"
#include "navigator.h"
#include "services/usagemonitor.h"

#include <QGuiApplication>
#include <QQmlApplicationEngine>
#include <QQuickWindow>
#include <QScreen>

#include <algorithm>

namespace {

// Where there is no vertical blank to wait for (software OpenGL; an X server without a compositor
// that paces frames), Qt answers a window's request for its next frame after 5 ms. The snow's
// particles ask for one after every frame, so they were drawn 200 times a second, three in four
// alike, on a display that shows 60. The next frame comes no sooner than the display's refresh.
void paceFramesToTheDisplay()
{
    if (qEnvironmentVariableIsSet("QT_QPA_UPDATE_IDLE_TIME"))
        return;
    const QScreen *screen = QGuiApplication::primaryScreen();
    const double hertz = screen && screen->refreshRate() >= 20 ? screen->refreshRate() : 60;
    qputenv("QT_QPA_UPDATE_IDLE_TIME", QByteArray::number(std::clamp(int(1000 / hertz), 1, 50)));
}

} // namespace

QQuickWindow *loadAppWindow(QQmlApplicationEngine &engine, Navigator &navigator, bool visible, QString *error)
{
    // Glyphs rasterised once into a texture: cheaper to draw each frame than distance-field text,
    // which matters with software OpenGL while a theme animates.
    QQuickWindow::setTextRenderType(QQuickWindow::NativeTextRendering);
    paceFramesToTheDisplay();
    engine.addImportPath(QStringLiteral("qrc:/qt/qml"));
    engine.setInitialProperties({{QStringLiteral("navigator"), QVariant::fromValue(&navigator)},
                                 {QStringLiteral("visible"), visible}});
    engine.load(QUrl(QStringLiteral("qrc:/qt/qml/Tallymo/Main.qml")));
    auto *window = engine.rootObjects().isEmpty()
                       ? nullptr
                       : qobject_cast<QQuickWindow *>(engine.rootObjects().constFirst());
    if (!window && error)
        *error = QStringLiteral("the main screen could not be loaded");
    return window;
}

void showStoredFigures(Navigator &navigator)
{
    navigator.monitor().figures().readActivePlanValuesNow();
    navigator.main()->reloadValues();
}
