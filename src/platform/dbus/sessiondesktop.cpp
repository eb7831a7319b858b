#include "sessiondesktop.h"

#include "modemmanagerlinks.h"

#include "backgroundserviceobject.h"

#include <QDBusConnectionInterface>
#include <QDBusError>
#include <QDBusMessage>
#include <QLoggingCategory>

Q_LOGGING_CATEGORY(lcDesktop, "tallymo.platform.desktop", QtWarningMsg)

SessionDesktop::SessionDesktop(const QString &container, const Clock &clock)
    : m_bus(QDBusConnection::sessionBus()), m_notifications(container, m_bus, clock), m_badge(m_bus),
      m_refreshStatus(m_bus, LinuxBackgroundRefresh::defaultSystemdUserDir()),
      m_location(qEnvironmentVariable("TALLYMO_NMEA")), m_push(m_bus, LinuxBackgroundRefresh::kServiceName),
      m_watch(m_bus)
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

bool SessionDesktop::registerBackgroundService(BackgroundHandlers handlers)
{
    if (!m_bus.isConnected())
        return false;
    // The object first: a call that activated this service is delivered once the name is owned.
    m_backgroundObject = std::make_unique<BackgroundServiceObject>(std::move(handlers));
    m_bus.registerObject(BackgroundServiceObject::kPath, m_backgroundObject.get(),
                         QDBusConnection::ExportAllSlots);
    if (m_bus.registerService(LinuxBackgroundRefresh::kServiceName))
        return true;
    qCWarning(lcDesktop, "%s is already owned on the session bus; carrying on without it",
              LinuxBackgroundRefresh::kServiceName.data());
    return false;
}

PushSubscriptions *SessionDesktop::push(std::function<void()> onPush, std::function<void()> onAccountChanged)
{
    m_push.onMessage = std::move(onPush);
    m_push.onDistributorChanged = std::move(onAccountChanged);
    return &m_push;
}

bool SessionDesktop::pushToBackgroundService()
{
    if (!m_bus.isConnected() || !m_bus.interface() ||
        !m_bus.interface()->isServiceRegistered(LinuxBackgroundRefresh::kServiceName))
        return false;
    const QDBusMessage reply = m_bus.call(
        QDBusMessage::createMethodCall(LinuxBackgroundRefresh::kServiceName, BackgroundServiceObject::kPath,
                                       BackgroundServiceObject::kInterface, QStringLiteral("Push")),
        QDBus::Block, 5000);
    return reply.type() == QDBusMessage::ReplyMessage;
}

WidgetCenter *SessionDesktop::widgetCenter(SharedCode &shared)
{
    if (!m_widgetCenter)
        m_widgetCenter = std::make_unique<DBusWidgetCenter>(m_bus, shared);
    return m_widgetCenter.get();
}

bool SessionDesktop::startWatchCompanion(bool follow, bool complication,
                                         std::function<void(const QString &, const QVariantMap &)> report,
                                         QString *error)
{
    m_companion = std::make_unique<WatchCompanion>(m_bus, std::move(report));
    return m_companion->start(follow, complication, error);
}

DesktopServices *tallymo_desktop_services(const QString &container, const Clock &clock)
{
    return new SessionDesktop(container, clock);
}

bool SessionDesktop::watchNetworkChanges(std::function<void()> changed)
{
    m_networkWatch = std::make_unique<NetworkManagerWatch>(QDBusConnection::systemBus(), std::move(changed));
    return m_networkWatch->listening();
}

void tallymo_modem_data_links(QStringList *links)
{
    *links = ModemManagerLinks::connected(QDBusConnection::systemBus());
}
