#include "backgroundtasks.h"

#include <QTimer>

TimedBackgroundTasks::TimedBackgroundTasks(int expiryMs, QObject *parent)
    : QObject(parent), m_expiryMs(expiryMs)
{}

TimedBackgroundTasks::~TimedBackgroundTasks()
{
    qDeleteAll(m_tasks);
}

int TimedBackgroundTasks::beginBackgroundTask(std::function<void()> expiry)
{
    const int task = ++m_next;
    auto *timer = new QTimer;
    timer->setSingleShot(true);
    connect(timer, &QTimer::timeout, this, [this, task, expiry = std::move(expiry)] {
        if (expiry)
            expiry(); // the handler normally ends the task itself
        endBackgroundTask(task);
    });
    m_tasks.insert(task, timer);
    timer->start(m_expiryMs);
    return task;
}

void TimedBackgroundTasks::endBackgroundTask(int task)
{
    QTimer *timer = m_tasks.take(task);
    if (!timer)
        return;
    timer->stop();
    timer->deleteLater();
}

void TimedBackgroundTasks::setMinimumBackgroundFetchInterval()
{
    // The service's timer already runs at its configured interval, its minimum.
}

void TimedBackgroundTasks::registerForRemoteNotifications()
{
    // Silent pushes arrive over the session bus; there is nothing to register with.
}
