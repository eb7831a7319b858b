#pragma once

#include "freedesktopnotifications.h"
#include "lazyservices.h"
#include "networkmanagerwatch.h"
#include "services/applicationservices.h"
#include "sessionservices.h"
#include "unifiedpush.h"
#include "watchcompanion.h"
#include "watchsessionservice.h"

#include <memory>

class Clock;

// The desktop services on the session bus. Pending notifications that fell due while no Tallymo
// process ran are delivered on creation; whatever was sent reaches the bus before destruction.
class SessionDesktop : public DesktopServices
{
public:
    SessionDesktop(const QString &container, const Clock &clock);
    ~SessionDesktop() override;

    UserNotificationCenter *notifications() override { return &m_notifications; }
    IconBadge *badge() override { return &m_badge; }
    BackgroundRefreshStatus *refreshStatus() override { return &m_refreshStatus; }
    LocationService *location() override { return &m_location; }
    PushSubscriptions *push(std::function<void()> onPush, std::function<void()> onAccountChanged) override;
    bool registerBackgroundService(BackgroundHandlers handlers) override;
    bool pushToBackgroundService() override;
    WatchSession *watch() override { return &m_watch; }
    HostNameResolver *hostNames() override { return &m_hostNames; }
    bool watchNetworkChanges(std::function<void()> changed) override;
    WidgetCenter *widgetCenter(SharedCode &shared) override;
    bool startWatchCompanion(bool follow, bool complication,
                             std::function<void(const QString &, const QVariantMap &)> report,
                             QString *error) override;

private:
    QDBusConnection m_bus;
    FreedesktopNotifications m_notifications;
    LauncherEntryBadge m_badge;
    LinuxBackgroundRefresh m_refreshStatus;
    LazyLocation m_location;
    UnifiedPushSubscriptions m_push;
    std::unique_ptr<QObject> m_backgroundObject;
    DBusWatchSession m_watch;
    LazyHostNames m_hostNames;
    std::unique_ptr<DBusWidgetCenter> m_widgetCenter;
    std::unique_ptr<WatchCompanion> m_companion;
    std::unique_ptr<NetworkManagerWatch> m_networkWatch;
};

// The entry point of the loadable desktop module.
extern "C" Q_DECL_EXPORT DesktopServices *tallymo_desktop_services(const QString &container,
                                                                   const Clock &clock);
// The data links of the modems connected now (see ModemManagerLinks), for the interfaces of any
// program: asked only while a PPP link is present.
extern "C" Q_DECL_EXPORT void tallymo_modem_data_links(QStringList *links);
