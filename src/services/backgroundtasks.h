#pragma once

#include "applicationservices.h"

#include <QHash>
#include <QObject>

class QTimer;

// Background tasks on timers: each one expires after a fixed time unless ended first. Lives on
// the main thread; while a task is open the program keeps running.
class TimedBackgroundTasks : public QObject, public PlatformApplication
{
    Q_OBJECT

public:
    explicit TimedBackgroundTasks(int expiryMs = 30000, QObject *parent = nullptr);
    ~TimedBackgroundTasks() override;

    int beginBackgroundTask(std::function<void()> expiry) override;
    void endBackgroundTask(int task) override;
    void setMinimumBackgroundFetchInterval() override;
    void registerForRemoteNotifications() override;

private:
    int m_expiryMs;
    int m_next = 0;
    QHash<int, QTimer *> m_tasks;
};
