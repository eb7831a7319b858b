#pragma once

#include "core/networkinterfaces.h"
#include "core/sharedcode.h"

#include <QTemporaryDir>

#include <memory>

// Counters a test scripts by hand.
class FakeInterfaces : public NetworkInterfaces
{
public:
    std::optional<QList<LinkCounters>> counters = QList<LinkCounters>();
    QStringList wifi;
    QStringList cellularLinks;

    std::optional<QList<LinkCounters>> readCounters() override { return counters; }
    QStringList wifiInterfaces() override { return wifi; }
    bool isCellularLink(const QString &name) override { return cellularLinks.contains(name); }
};

// A temporary container with a SharedCode over it, pinned to a fixed clock.
struct TestContainer
{
    explicit TestContainer(const QDateTime &now = QDateTime(QDate(2026, 3, 10), QTime(14, 25)));
    std::unique_ptr<SharedCode> open();

    QTemporaryDir dir;
    FakeInterfaces interfaces;
    FixedClock clock;
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
