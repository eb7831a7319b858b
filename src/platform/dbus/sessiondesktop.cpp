#include "sessiondesktop.h"

#include <QDBusError>
#include <QLoggingCategory>

Q_LOGGING_CATEGORY(lcDesktop, "tallymo.platform.desktop", QtWarningMsg)

SessionDesktop::SessionDesktop(const QString &container, const Clock &clock)
    : m_bus(QDBusConnection::sessionBus()), m_notifications(container, m_bus, clock), m_badge(m_bus),
      m_refreshStatus(m_bus, LinuxBackgroundRefresh::defaultSystemdUserDir())
{
    if (!m_bus.isConnected())
        qCWarning(lcDesktop, "no session bus (%s): no notifications, badge or background service name",
                  qPrintable(m_bus.lastError().message()));
    m_notifications.deliverDue();
}

SessionDesktop::~SessionDesktop()
{
    SessionBus::flush(m_bus);
}

bool SessionDesktop::registerBackgroundService()
{
    if (!m_bus.isConnected()) return false;
    if (m_bus.registerService(LinuxBackgroundRefresh::kServiceName)) return true;
    qCWarning(lcDesktop, "%s is already owned on the session bus; carrying on without it",
              LinuxBackgroundRefresh::kServiceName.data());
    return false;
}

DesktopServices *tallymo_desktop_services(const QString &container, const Clock &clock)
{
    return new SessionDesktop(container, clock);
}
