#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QTimer>

#include <functional>

// NetworkManager's signals that change what a link counts as: a device added or removed, a
// device's state, active connection or metered verdict changing, a connection renamed, and
// NetworkManager itself coming or going. A burst of them (a hotspot joined is several) is told
// once, a moment after the first.
class NetworkManagerWatch : public QObject
{
    Q_OBJECT

public:
    NetworkManagerWatch(const QDBusConnection &bus, std::function<void()> changed, int settleMs = 200);
    // Whether the signals are listened to (false without a system bus).
    bool listening() const { return m_listening; }

private slots:
    void deviceChanged();
    void propertiesChanged(const QString &interface, const QVariantMap &changed,
                           const QStringList &invalidated);

private:
    QDBusConnection m_bus;
    std::function<void()> m_changed;
    QTimer m_settle;
    bool m_listening = false;
};
