#pragma once

#include "services/applicationservices.h"

#include <QDBusConnection>
#include <QDateTime>
#include <QFileSystemWatcher>
#include <QJsonObject>
#include <QObject>
#include <QTimer>

class Clock;

// Notifications through org.freedesktop.Notifications. Requests due later are kept in the
// container (notifications.json), so they survive a restart and are delivered once, under a lock,
// by whichever Tallymo process is running when they fall due. Identifiers map to the server's ids
// (replaces_id) so a new request replaces what an earlier one with that identifier showed.
// A running process picks up requests that other processes add (it watches the container), and a
// reminder for a calendar hour that was missed by more than its day is dropped, not shown late.
class FreedesktopNotifications : public QObject, public UserNotificationCenter
{
    Q_OBJECT

public:
    FreedesktopNotifications(const QString &container, QDBusConnection bus, const Clock &clock,
                             QObject *parent = nullptr);

    void addRequest(const NotificationRequest &request) override;
    void removePendingRequests(const QStringList &identifiers) override;
    void removeAllDeliveredNotifications() override;
    void requestAuthorization(std::function<void(bool granted)> answer) override;

    // Shows every pending request that has fallen due; arms a timer for the next one.
    void deliverDue();
    // The next pending moment, if any.
    QDateTime nextDue() const;

private:
    class State;
    quint32 notify(QJsonObject &shown, const QString &identifier, const QString &title, const QString &body);
    void armTimer(const QDateTime &next);

    const QString m_statePath;
    const QString m_lockPath;
    QDBusConnection m_bus;
    const Clock &m_clock;
    QTimer m_timer;
    QFileSystemWatcher m_watcher;
    bool m_warnedNoServer = false;
};
