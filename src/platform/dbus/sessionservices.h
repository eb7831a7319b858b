#pragma once

#include "services/applicationservices.h"

#include <QDBusConnection>
#include <QString>

// The icon badge: the launcher-entry Update signal that docks and task managers listen to.
class LauncherEntryBadge : public IconBadge
{
public:
    explicit LauncherEntryBadge(QDBusConnection bus);
    void setBadgeNumber(qint64 number) override;

private:
    QDBusConnection m_bus;
};

// Background refresh is available when the user service or refresh timer is enabled, or when a
// background service owns its name on the session bus.
class LinuxBackgroundRefresh : public BackgroundRefreshStatus
{
public:
    static constexpr QLatin1StringView kServiceName{"org.tallymo.Tallymo.Background"};

    LinuxBackgroundRefresh(QDBusConnection bus, QString systemdUserDir);
    // The user's systemd directory ($XDG_CONFIG_HOME/systemd/user).
    static QString defaultSystemdUserDir();
    bool isAvailable() override;

private:
    QDBusConnection m_bus;
    QString m_systemdUserDir;
};

namespace SessionBus {
// Waits until everything sent so far has reached the bus (signals are sent without waiting).
void flush(QDBusConnection bus);
} // namespace SessionBus
