#pragma once

#include "screens/desktopshell.h"

#include <QDBusConnection>

// The user's systemd instance on the session bus (org.freedesktop.systemd1): background refresh is
// on when tallymo.service or tallymo-refresh.timer is enabled; turning it on enables and starts
// tallymo.service.
class SystemdUserManager : public UserServiceManager
{
public:
    explicit SystemdUserManager(QDBusConnection bus = QDBusConnection::sessionBus());
    State backgroundRefresh() override;
    bool enableBackgroundRefresh(QString *error) override;

    static constexpr QLatin1StringView kService{"tallymo.service"};
    static constexpr QLatin1StringView kTimer{"tallymo-refresh.timer"};

private:
    QDBusConnection m_bus;
};
