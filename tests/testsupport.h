#pragma once

#include "core/networkinterfaces.h"
#include "core/sharedcode.h"
#include "services/applicationservices.h"

#include <QHash>
#include <QTemporaryDir>

#include <memory>

// Counters a test scripts by hand.
class FakeInterfaces : public NetworkInterfaces
{
public:
    std::optional<QList<LinkCounters>> counters = QList<LinkCounters>();
    QStringList wifi;
    QStringList cellularLinks;
    QHash<QString, int> indexes; // absent: 0, unknown
    QString boot = QStringLiteral("boot-1");

    std::optional<QList<LinkCounters>> readCounters() override { return counters; }
    QStringList wifiInterfaces() override { return wifi; }
    QHash<QString, LinkKind> kinds; // besides `wifi` and `cellularLinks`; absent: virtual
    std::optional<QList<ManagedLink>> managed;
    LinkKind linkKind(const QString &name) override
    {
        return cellularLinks.contains(name) ? LinkKind::Modem
               : wifi.contains(name)        ? LinkKind::WiFi
                                            : kinds.value(name, LinkKind::Virtual);
    }
    std::optional<QList<ManagedLink>> managedLinks() override { return managed; }
    int interfaceIndex(const QString &name) override { return indexes.value(name); }
    QString bootId() override { return boot; }
};

// Doubles of the desktop services that record what the monitor asked of them.
struct RecordingCenter : UserNotificationCenter
{
    QList<NotificationRequest> added;
    QList<QStringList> removed;
    int clears = 0;
    void addRequest(const NotificationRequest &r) override { added.append(r); }
    void removePendingRequests(const QStringList &ids) override { removed.append(ids); }
    void removeAllDeliveredNotifications() override { ++clears; }
    void requestAuthorization(std::function<void(bool)> answer) override { answer(true); }
};

struct FakeBadge : IconBadge
{
    qint64 number = -1;
    void setBadgeNumber(qint64 n) override { number = n; }
};

struct FakeRefresh : BackgroundRefreshStatus
{
    bool available = true;
    bool isAvailable() override { return available; }
};

struct FakeRoot : RootController
{
    int reloads = 0;
    bool presenting = false;
    QList<AlertValue> alerts;
    void reloadValues() override { ++reloads; }
    bool isPresenting() const override { return presenting; }
    void presentAlert(const AlertValue &a) override { alerts.append(a); }
    QStringList shortcuts;
    void handleShortcuts(const QString &type) override { shortcuts.append(type); }
};

// A temporary container with a SharedCode over it, pinned to a fixed clock.
struct TestContainer
{
    explicit TestContainer(const QDateTime &now = QDateTime(QDate(2026, 3, 10), QTime(14, 25)));
    std::unique_ptr<SharedCode> open();
    // The same with an active plan "P" whose store is P.sqlite.
    std::unique_ptr<SharedCode> openPlan();

    QTemporaryDir dir;
    FakeInterfaces interfaces;
    FixedClock clock;
    ConnectionSource *connections = nullptr; // for the SharedCode opened after it is set
};

// Runs a block on the context's queue and waits for it.
template <typename F> auto onQueue(StoreContext &context, F &&f)
{
    decltype(f()) result{};
    context.performAndWait([&] { result = f(); });
    return result;
}

// Sets TZ for the life of the object.
class ZoneScope
{
public:
    explicit ZoneScope(const QByteArray &zone);
    ~ZoneScope();

private:
    QByteArray m_previous;
};

// Empty when the outside program is on PATH; otherwise the one line that names it and its Debian
// package (from scripts/programs.txt), for QFAIL.
QString missingProgram(const QString &name);
