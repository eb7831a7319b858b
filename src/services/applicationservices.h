#pragma once

#include <QDate>
#include <QString>
#include <QStringList>

#include <functional>

// The platform services the usage monitor talks to. Each has a Linux implementation
// under platform/ and a double in the tests; a missing service (nullptr) does nothing.

struct NotificationRequest
{
    enum class Trigger { Now, AfterSeconds, AtCalendarHour };

    QString identifier;
    QString title;
    QString body;
    Trigger trigger = Trigger::Now;
    double seconds = 0; // AfterSeconds
    QDate date;         // AtCalendarHour: that day at `hour`:00, local time
    int hour = 0;
};

class UserNotificationCenter
{
public:
    virtual ~UserNotificationCenter() = default;
    // A request replaces a pending or shown one with the same identifier.
    virtual void addRequest(const NotificationRequest &request) = 0;
    virtual void removePendingRequests(const QStringList &identifiers) = 0;
    virtual void removeAllDeliveredNotifications() = 0;
    virtual void requestAuthorization(std::function<void(bool granted)> answer) = 0;
};

class IconBadge
{
public:
    virtual ~IconBadge() = default;
    // 0 clears the badge.
    virtual void setBadgeNumber(qint64 number) = 0;
};

class BackgroundRefreshStatus
{
public:
    virtual ~BackgroundRefreshStatus() = default;
    // Whether usage is refreshed while no window is open.
    virtual bool isAvailable() = 0;
};

// A single-button ("OK") alert, as a value the user interface presents.
// A choice offered by an alert.
struct AlertAction
{
    Q_GADGET
    Q_PROPERTY(QString title MEMBER title)
    Q_PROPERTY(Style style MEMBER style)

public:
    enum Style { Default, Cancel, Destructive };
    Q_ENUM(Style)
    QString title;
    Style style = Default;
    bool operator==(const AlertAction &) const = default;
};

struct AlertValue
{
    Q_GADGET
    Q_PROPERTY(QString title MEMBER title)
    Q_PROPERTY(QString message MEMBER message)
    Q_PROPERTY(QString button MEMBER button)

public:
    QString title;
    QString message;
    QString button;
    QList<AlertAction> actions; // a choice; without, the one button
    bool operator==(const AlertValue &) const = default;
    // For a view: title, message, actions [{title, style}] (the one button as the only action).
    QVariantMap toMap() const;
};

// The main screen as the monitor sees it.
class RootController
{
public:
    virtual ~RootController() = default;
    virtual void reloadValues() = 0;
    // Whether the root screen presents something (an alert or another screen) right now.
    virtual bool isPresenting() const = 0;
    virtual void presentAlert(const AlertValue &alert) = 0;
    // A quick action for the root screen: the history, the themes or the plan list.
    virtual void handleShortcuts(const QString &type) = 0;
};

// What a background fetch or push tells the platform it found.
enum class FetchResult { NewData = 0, NoData = 1, Failed = 2 };
using CompletionHandler = std::function<void(FetchResult)>;

// The platform's application object: background tasks, fetch scheduling, remote notifications.
class PlatformApplication
{
public:
    static constexpr int kInvalidTask = 0;
    virtual ~PlatformApplication() = default;
    // A task keeps the process alive until it is ended or its time runs out, when `expiry` runs.
    virtual int beginBackgroundTask(std::function<void()> expiry) = 0;
    virtual void endBackgroundTask(int task) = 0;
    // Ask for background fetches as often as allowed.
    virtual void setMinimumBackgroundFetchInterval() = 0;
    virtual void registerForRemoteNotifications() = 0;
};

// The cloud push subscription: silent pushes that wake the service.
class PushSubscriptions
{
public:
    virtual ~PushSubscriptions() = default;
    // Saves (or replaces) the subscription; `done` gets an empty text or the error.
    virtual void save(const QString &identifier, std::function<void(const QString &error)> done) = 0;
    virtual void fetchAll(std::function<void(const QStringList &identifiers, const QString &error)> done) = 0;
    virtual void remove(const QStringList &identifiers) = 0;
};

class LocationService;
class SharedCode;
class WatchSession;
class WidgetCenter;
class HostNameResolver;

// The desktop's services as one bundle, for programs that load them only when a command needs
// them (connecting to the session bus and loading its libraries costs every short command).
class DesktopServices
{
public:
    virtual ~DesktopServices() = default;
    virtual UserNotificationCenter *notifications() = 0;
    virtual IconBadge *badge() = 0;
    virtual BackgroundRefreshStatus *refreshStatus() = 0;
    virtual LocationService *location() = 0;
    // The push subscription; `onPush` runs for each message, `onAccountChanged` when the push
    // provider changed (a distributor appeared).
    virtual PushSubscriptions *push(std::function<void()> onPush, std::function<void()> onAccountChanged) = 0;
    // What the background service answers from outside.
    struct BackgroundHandlers
    {
        std::function<void()> onPush; // a silent push
        std::function<void()> onWake; // a plain request to sample now
        // The usage intent: `reply` gets the answer as bus values, possibly from a store's queue.
        std::function<void(std::function<void(const QVariantMap &)> reply)> onShowUsage;
    };
    // The background service announces itself (so the refresh status reads as available) and
    // takes the calls of `handlers`.
    virtual bool registerBackgroundService(BackgroundHandlers handlers) = 0;
    // Asks a running background service for a silent push; false when none runs.
    virtual bool pushToBackgroundService() = 0;
    virtual WatchSession *watch() = 0;
    virtual HostNameResolver *hostNames() = 0;
    // Runs `changed` (on this thread) whenever what a link counts as may have changed: the
    // connection manager's devices, connections or metered verdicts. False when nothing can be
    // listened to.
    virtual bool watchNetworkChanges(std::function<void()> changed) = 0;
    // Widget reloads; the record is computed from the shared code's active plan.
    virtual WidgetCenter *widgetCenter(SharedCode &shared) = 0;
    // A terminal companion of the watch session: registers, asks once (`report` gets "reply" and
    // the record) and, when following, reports "applicationContext" and "complicationData" pushes
    // until the event loop ends. False with `error` when the session cannot be reached.
    virtual bool
    startWatchCompanion(bool follow, bool complication,
                        std::function<void(const QString &kind, const QVariantMap &record)> report,
                        QString *error) = 0;
};
