#pragma once

#include "alertservice.h"
#include "applicationservices.h"
#include "core/sharedcode.h"
#include "hostnamelookups.h"
#include "location.h"
#include "plans/datacap.h"
#include "planservice.h"
#include "pushsubscription.h"
#include "queuedwork.h"
#include "searchpublisher.h"
#include "usagefigures.h"
#include "watchlink.h"

#include <QMutex>
#include <QVariantMap>
#include <atomic>

#include <memory>

class WatchSession;
class QObject;

// What every Tallymo process runs: the window and background states and every wake-up (the
// service's timer, a push, a visit, the window coming to the front) lead to one usage check that
// samples, recomputes the figures and hands them to the main screen, the widget, the watch, the
// badge and the alerts. Each concern lives in a service of its own, reached from here.
class UsageMonitor
{
public:
    enum ApplicationState { Active = 0, Inactive = 1, Background = 2 };

    struct Services
    {
        UserNotificationCenter *notifications = nullptr;
        IconBadge *badge = nullptr;
        BackgroundRefreshStatus *refreshStatus = nullptr;
        PlatformApplication *application = nullptr;
        PushSubscriptions *push = nullptr;
        LocationService *location = nullptr;
        WatchSession *watch = nullptr;
        HostNameResolver *hostNames = nullptr;
        // What the desktop provides (none of it without one), with the program's background tasks.
        static Services from(DesktopServices *desktop, PlatformApplication *application);
    };

    explicit UsageMonitor(SharedCode &shared);
    UsageMonitor(SharedCode &shared, Services services);
    ~UsageMonitor();

    SharedCode &shared() const { return m_shared; }
    void setServices(Services services);
    Services services() const { return m_services; }
    int applicationState() const { return m_applicationState; }
    void setApplicationState(ApplicationState state) { m_applicationState = state; }
    // The main screen, when this process shows one; alerts go there.
    RootController *rootController() const { return m_root; }
    void setRootController(RootController *root);

    // The current figures, computed again on the given (active plan's) context's queue and posted
    // to the main screen, the widget, the watch and the badge, with the alert level.
    void computeCurrentValues(StoreContext *context, bool inBackground = false);
    void doComputeValuesOnly();
    void showBadge();

    // Lifecycle: called by the platform on the main thread.
    bool prepareLaunch();
    bool completeLaunch();
    void windowActivated();
    void windowDeactivated();
    void enterForeground();
    void enterBackground();
    void shutDown();
    // The usage check every wake-up runs (a timer, a push, a visit, the window): sample, figures,
    // alert; answers `handler` when done.
    void checkUsage(CompletionHandler handler);
    // A quick action: the figures are refreshed, and then — behind that check on the active plan's
    // store queue, on the main queue — the root screen handles it if it is free. `completion` is
    // called at once: true for a known action, false (and nothing done) for another.
    void performQuickAction(const QString &type, std::function<void(bool)> completion);
    bool isCheckingUsage() const { return m_bgTaskUpdateUsage != PlatformApplication::kInvalidTask; }

    // The parts each concern lives in.
    LocationTracker &location() { return m_location; }
    WatchLink &watch() { return m_watch; }
    PushSubscription &pushSubscription() { return m_push; }
    SearchPublisher &search() { return m_search; }
    HostNameLookups &hostNames() { return m_hostNames; }
    AlertService &alerts() { return m_alerts; }
    PlanService &plans() { return m_plans; }
    UsageFigures &figures() { return m_figures; }

    // The background service is the only process that runs for long on a desktop that never opens
    // the app: it keeps the bill-cycle reminders scheduled itself, once per period.
    void setSchedulesRemindersInBackground(bool on) { m_schedulesRemindersInBackground = on; }

private:
    void postNewValues();
    void refreshWidget();
    // The badge number the figures call for: the rounded percentage, or 0.
    qint64 badgeNumber();
    void initPush();
    void initRemoteNotification();
    // The desktop's quick actions (the desktop entry's actions).
    static const QStringList &shortcutTypes();
    // The one-in-three "new data" answer from the clock (seconds since 2001 divisible by 3).
    void callCompletionHandler(const CompletionHandler &handler) const;
    void showWhatsNew();
    void cleanupPref();

    SharedCode &m_shared;
    Services m_services;
    int m_applicationState = Active;
    RootController *m_root = nullptr;
    UsageFigures m_figures;
    std::atomic<bool> m_schedulesRemindersInBackground{false};
    int m_bgTaskUpdateUsage = PlatformApplication::kInvalidTask;
    int m_backgroundTask = PlatformApplication::kInvalidTask;
    LocationTracker m_location;
    WatchLink m_watch;
    PushSubscription m_push;
    SearchPublisher m_search;
    HostNameLookups m_hostNames;
    AlertService m_alerts;
    PlanService m_plans;
    QueuedWork m_work; // last: ends before the members its blocks use
};
