#pragma once

#include <QObject>
#include <QSize>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <functional>
#include <vector>

class QQuickWindow;
class Screens;

// Pictures of the app's screens from real data: main.png first (the screen as it would show now),
// then each state the theme and setup screens can be in. The states change settings, so the run
// works on a copy of the data container (made by the caller).
class ScreenshotRun : public QObject
{
    Q_OBJECT
public:
    ScreenshotRun(Screens &screens, QQuickWindow &window, QString folder, bool canDrawParticles);
    // Takes every picture, then calls `done` with the files written (or the first error).
    void start(std::function<void(const QStringList &files, const QString &error)> done);

private:
    struct Shot
    {
        QString file;
        std::function<void()> prepare;
        int settleMs = 60;
    };
    void addSettingsShots();
    void addHistoryShots();
    void next();
    void setSetting(const QString &key, const QVariant &value);
    void invoke(const char *function, const QVariant &argument = QVariant());
    void showForecast(double ratio);
    void recompute();

    Screens &m_screens;
    QQuickWindow &m_window;
    QString m_folder;
    std::vector<Shot> m_shots;
    size_t m_at = 0;
    QString m_otherPlan;
    QStringList m_written;
    std::function<void(const QStringList &, const QString &)> m_done;
};
