#pragma once

#include "clock.h"
#include "connections.h"
#include "linkclassifier.h"
#include "location.h"
#include "networkinterfaces.h"
#include "settingsdomain.h"
#include "storecontext.h"

#include <QHash>
#include <QMutex>

#include <array>
#include <atomic>
#include <memory>
#include <optional>

class CounterBook;
class QTimer;
struct LinkReading;

struct Coordinate
{
    double latitude = kUnknownCoordinate;
    double longitude = kUnknownCoordinate;
};

// The result of one sample: primary cellular bytes (tethering excluded) and Wi-Fi bytes.
struct qxDataUsage
{
    double cell = 0;
    double wifi = 0;
};

// What one locked sample did, for callers that report it.
struct SampleResult
{
    bool locked = false;       // the sample got the lock
    bool countersRead = false; // the interface counters could be read
    qxDataUsage usage;
    std::optional<Event> event; // the record stored, when any delta was positive
    // Why the sample could not be taken or kept (the lock file, the settings or the store could not
    // be written); empty when nothing went wrong.
    QString failure;
};

// A billing period: the half-open range [start, end).
struct Period
{
    QDateTime start;
    QDateTime end;
    bool contains(const QDateTime &t) const { return start <= t && t < end; }
};

// The shared logic of every Tallymo process: settings and plan-scoped keys, the interface counters
// and the usage recorder, the usage store contexts, and the billing periods. One instance per
// process, made by the program and handed to what needs it; creating it computes the lock path and runs the
// settings migration.
class SharedCode
{
public:
    static constexpr QLatin1StringView kSuiteName{"group.zr.qxnext"};

    struct Services
    {
        QString containerPath;
        NetworkInterfaces *interfaces = nullptr;
        const Clock *clock = &Clock::system();
        ConnectionSource *connections = nullptr; // per-connection byte totals; none: no per-address usage
        StoreContext::OpenFailureHandler onStoreOpenFailure = StoreContext::defaultOpenFailure;
    };

    explicit SharedCode(Services services);
    ~SharedCode();
    SharedCode(const SharedCode &) = delete;
    SharedCode &operator=(const SharedCode &) = delete;

    // The process's instance, installed by the program's composition root.

    // Settings domain and plan-scoped keys. A null plan means the active plan.
    SettingsDomain &userPref() { return m_settings; }
    const SettingsDomain &userPref() const { return m_settings; }
    QString activePlanID() const;
    QString processPlanID(const QString &plan) const;
    QVariant getForPlan(const QString &plan, const QString &key) const;
    void setForPlan(const QString &plan, const QString &key, const QVariant &object);
    qint64 integerForPlan(const QString &plan, const QString &key) const;
    double doubleForPlan(const QString &plan, const QString &key) const;
    bool boolForPlan(const QString &plan, const QString &key) const;
    static QString newPlanIdentifier();

    // Interfaces.
    QString savedWifiLink();
    void checkWifiLink();
    bool isTrackTetherForPlan(const QString &plan) const;

    // Usage recorder.
    QString flockPath() const { return m_flockPath; }
    SampleResult sampleUsage(StoreContext *context, Coordinate loc);

    // Store contexts.
    QString containerURL() const { return m_container; }
    QString sqliteURLForPlan(const QString &plan) const;
    std::shared_ptr<StoreContext> makeStoreForPlan(const QString &plan);
    std::shared_ptr<StoreContext> activeStore();
    std::shared_ptr<StoreContext> cachedActiveStore() const;

    // Time stamps: the start of today and of the current hour, in local time.
    QDateTime todayAtZeroHour() const;
    QDateTime nowAtHour() const;
    const Clock &clock() const { return *m_clock; }

    // The last known position when it is good enough to store with usage (accuracy 0 to 500 m).
    static Coordinate coordinateFromLocationFix(const std::optional<LocationFix> &last);

    // How each of the links present is counted now: its kind, its connection, the user's choice and
    // which figure its bytes go to.
    QList<LinkClass> classifyLinks(const QStringList &present) const;
    // The next sample in this process puts each link's bytes under the use it had at this
    // process's previous sample: what a link moved before a connection change that was just
    // announced belongs to its connection before the change.
    void attributeNextSampleToEarlierUses() { m_earlierUses = true; }
    // The links there are now, classified; nothing when the interface list cannot be read.
    std::optional<QList<LinkClass>> presentLinks() const;
    // The links as this process's last sample classified them; nothing before the first.
    std::optional<QList<LinkClass>> lastSampledLinks() const;

    // Per-address usage: one connection-table read per protocol, the growth since the previous read
    // stored as Netevent records of the current hour (into the context, unsaved). The previous
    // read is the one stored by any process in this boot; without one, only the baseline is taken.
    // On the context's queue, under the sampling lock.
    void networks(StoreContext *context);
    ConnectionSource *connections() const { return m_connections; }
    // One protocol's table, or nothing when it cannot be read.
    std::optional<ConnectionTable> proto(int protocol);

private:
    static void checkAndSetObjectForKey(const QString &key, QVariantMap &dict, const SettingsDomain &pref);
    void migratePlan();
    void writeSettingsThrough();
    QString currentWifiLink();
    SampleResult recordUsage(StoreContext *context, Coordinate loc);

    void takeOverEarlierBaselines(CounterBook &book, const QList<LinkReading> &now, const QString &boot);

    const QString m_container;
    const QString m_flockPath;
    NetworkInterfaces *const m_interfaces;
    ConnectionSource *const m_connections;
    const Clock *const m_clock;
    const StoreContext::OpenFailureHandler m_onStoreOpenFailure;
    SettingsDomain m_settings;
    // Writes every settings change through to the file shortly after it is made (coalesced), so
    // that no edit lives only in this process's memory; see writeSettingsThrough().
    std::unique_ptr<QTimer> m_writeThrough;
    std::atomic<bool> m_earlierUses{false};
    QHash<QString, LinkUse> m_lastUses; // per link identity, at this process's last sample
    mutable QMutex m_sampledMutex;
    std::optional<QList<LinkClass>> m_sampledLinks; // the last sample's classes (any thread)
    mutable QMutex m_contextMutex;
    std::shared_ptr<StoreContext> m_activeStore;
};
