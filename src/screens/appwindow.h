#pragma once

#include <QString>

class Navigator;
class QQmlApplicationEngine;
class QQuickWindow;

// The app's window (the main screen and the screens over it) for a navigator, loaded into `engine`;
// null with the reason in `error` when it could not be loaded.
QQuickWindow *loadAppWindow(QQmlApplicationEngine &engine, Navigator &navigator, bool visible,
                            QString *error);

// The figures as stored, on the main screen before its first frame (a fresh sample comes later).
void showStoredFigures(Navigator &navigator);
