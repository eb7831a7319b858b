#include "appwindow.h"

#include "mainscreencontroller.h"
#include "navigator.h"
#include "services/usagemonitor.h"

#include <QQmlApplicationEngine>
#include <QQuickWindow>

QQuickWindow *loadAppWindow(QQmlApplicationEngine &engine, Navigator &navigator, bool visible, QString *error)
{
    // Glyphs rasterised once into a texture: cheaper to draw each frame than distance-field text,
    // which matters with software OpenGL while a theme animates.
    QQuickWindow::setTextRenderType(QQuickWindow::NativeTextRendering);
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
