#pragma once

#include <QObject>
#include <QSize>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <functional>
#include <vector>

#include "screens/navigator.h"

#include <QPointer>

class QQuickWindow;
class DayViewController;
class SetupController;
class TimeChartViewController;

// Pictures of the app's screens from real data: main.png first (the screen as it would show now),
// then each state the theme and setup screens can be in. The states change settings, so the run
// works on a copy of the data container (made by the caller).
class ScreenshotRun : public QObject
{
    Q_OBJECT
public:
    ScreenshotRun(Navigator &navigator, QQuickWindow &window, QString folder, bool canDrawParticles);
    // Takes every picture, then calls `done` with the files written (or the first error).
    void start(std::function<void(const QStringList &files, const QString &error)> done);

private:
    struct Shot
    {
        QString file;
        std::function<void()> prepare;
        int settleMs = 60;
    };
    // A screen and its plan: "active", "other" or none.
    using Opened = std::pair<Navigator::Screen, const char *>;
    std::function<void()> openStack(std::vector<Opened> screens,
                                    std::function<void(const QString &other)> before = nullptr);
    void addSettingsShots();
    void addEditorStateShots();
    void addHistoryShots();
    void next();
    void setSetting(const QString &key, const QVariant &value);
    // Only the main screen, then `screen` over it.
    QObject *openAlone(Navigator::Screen screen, const QString &argument = QString());
    void showForecast(double ratio);
    void showMain();

    Navigator &m_navigator;
    QQuickWindow &m_window;
    QString m_folder;
    std::vector<Shot> m_shots;
    size_t m_at = 0;
    QString m_otherPlan;
    QPointer<SetupController> m_setup;
    QPointer<DayViewController> m_day;
    QPointer<TimeChartViewController> m_period;
    QStringList m_written;
    std::function<void(const QStringList &, const QString &)> m_done;
};
