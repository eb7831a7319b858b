#include "connections/netviewcontroller.h"
#include "core/settingskeys.h"
#include "day/dayviewcontroller.h"
#include "services/usagemonitor.h"
#include "testsupport.h"

#include <QtTest>

namespace {

struct FakeConnections : ConnectionSource
{
    std::optional<ConnectionTable> tcp = ConnectionTable(), udp;
    std::optional<ConnectionTable> proto(int p) override { return p == 6 ? tcp : udp; }
};

struct FakeResolver : HostNameResolver
{
    QHash<QString, QString> names; // absent: no name
    QStringList asked;
    QList<std::function<void()>> answers; // held until the test lets them through
    void lookup(const QString &address, std::function<void(const QString &)> done) override
    {
        asked.append(address);
        answers.append([this, address, done] { done(names.value(address, address)); });
    }
    void answerAll()
    {
        for (const auto &a : std::exchange(answers, {}))
            a();
    }
};

struct Net
{
    explicit Net(FakeConnections *source = nullptr)
        : shared((container.connections = source, container.openPlan())), monitor(*shared)
    {
        UsageMonitor::Services s;
        s.hostNames = &resolver;
        monitor.setServices(s);
    }
    QList<Netevent> sample()
    {
        auto ctx = shared->activeStore();
        return onQueue(*ctx, [&] {
            shared->networks(ctx.get());
            ctx->save();
            return ctx->addressSums(QDateTime(QDate(2000, 1, 1), QTime()),
                                    QDateTime(QDate(2100, 1, 1), QTime()));
        });
    }
    TestContainer container; // now: 10 March 2026, 14:25
    FakeResolver resolver;
    std::unique_ptr<SharedCode> shared;
    UsageMonitor monitor;
};

QDateTime at(int hour)
{
    return QDateTime(QDate(2026, 3, 10), QTime(hour, 0));
}

} // namespace

class TestNetView : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { qputenv("TZ", "UTC"); }

    void perAddressUsage()
    {
        FakeConnections source;
        Net n(&source);
        source.tcp = ConnectionTable{{"a", {1000, "198.18.0.1"}},
                                     {"a1", {9, "198.18.0.9"}},
                                     {"a2", {9, "198.18.0.9"}},
                                     {"b", {500, "198.18.0.1"}},
                                     {"c", {70, "198.18.0.2"}}};
        QVERIFY(n.sample().isEmpty()); // the first ever: the baseline only
        source.tcp = ConnectionTable{{"a", {1100, "198.18.0.1"}},
                                     {"b", {550, "198.18.0.1"}},
                                     {"c", {10, "198.18.0.2"}},
                                     {"d", {40, "198.18.0.3"}}};
        source.udp = ConnectionTable{{"u", {5, "198.18.0.3"}}};
        const QList<Netevent> first = n.sample();
        // 100 + 50 for one peer (two closed connections between them); a total that went down is a
        // new baseline; new connections count whole.
        QCOMPARE(first.size(), 2);
        QCOMPARE((std::pair{first[0].ipaddress, first[0].bytes}),
                 (std::pair{QStringLiteral("198.18.0.1"), 150.0}));
        QCOMPARE((std::pair{first[1].ipaddress, first[1].bytes}),
                 (std::pair{QStringLiteral("198.18.0.3"), 45.0}));
        QCOMPARE(first[0].timeStamp, at(14));
        // UDP unreadable this time: its connection drops out of the baseline and counts whole later.
        source.udp.reset();
        n.sample();
        source.udp = ConnectionTable{{"u", {6, "198.18.0.3"}}};
        n.container.interfaces.boot = QStringLiteral("boot-2");
        n.sample(); // a baseline of another boot says nothing of these connections: only the baseline moves
        QCOMPARE(n.shared->userPref().dictionaryForKey(Keys::PREF_NET_LASTCONN).value("u").toDouble(), 6.0);
        QCOMPARE(n.sample().size(), 2);
        // A baseline of an earlier build, every key led by the boot id, still meets its
        // connections: 3 more bytes, not the 49 of two connections counted whole.
        n.shared->userPref().setValue(Keys::PREF_NET_LASTCONN,
                                      QVariantMap{{"boot-2-d", 40.0}, {"boot-2-u", 6.0}});
        source.tcp = ConnectionTable{{"d", {40, "198.18.0.3"}}};
        source.udp = ConnectionTable{{"u", {9, "198.18.0.3"}}};
        QCOMPARE(n.sample().at(1).bytes, 48.0);
    }

    // While the source's mark stands, TCP is not read again and its baseline carries over; UDP is
    // read at every sample.
    void quietTcpIsNotReadAgain()
    {
        struct Marked : FakeConnections
        {
            QByteArray mark = "m1";
            int tcpReads = 0;
            std::optional<ConnectionTable> proto(int p) override
            {
                tcpReads += p == 6;
                return FakeConnections::proto(p);
            }
            QByteArray quietMark(int p) override { return p == 6 ? mark : QByteArray(); }
        } source;
        Net n(&source);
        source.tcp = ConnectionTable{{"a", {100, "198.18.0.1"}}};
        source.udp = ConnectionTable{{"ct-1", {5, "198.18.0.3"}}};
        n.sample();
        source.tcp = ConnectionTable{{"a", {999, "198.18.0.1"}}}; // not read while the mark stands
        source.udp = ConnectionTable{{"ct-1", {8, "198.18.0.3"}}};
        QList<Netevent> got = n.sample();
        QCOMPARE(source.tcpReads, 1);
        QCOMPARE(got.size(), 1);
        QCOMPARE(got[0].bytes, 3.0);
        // The mark moved: 50 more bytes, not 150 counted whole (the baseline of "a" was kept).
        source.mark = "m2";
        source.tcp = ConnectionTable{{"a", {150, "198.18.0.1"}}};
        got = n.sample();
        QCOMPARE(source.tcpReads, 2);
        QCOMPARE((QList<double>{got[0].bytes, got[1].bytes}), (QList<double>{50.0, 3.0}));
        // Another boot: whatever the mark says, the tables are read and only the baseline is taken.
        n.container.interfaces.boot = QStringLiteral("boot-2");
        n.sample();
        QCOMPARE(source.tcpReads, 3);
    }

    void pageAndHostNames()
    {
        Net n;
        auto ctx = n.shared->activeStore();
        onQueue(*ctx, [&] {
            ctx->insertEvent(Event{at(9), 1});
            ctx->insertEvent(Event{at(10), 1});
            for (const auto &[hour, ip, bytes] :
                 QList<std::tuple<int, QString, double>>{{9, "198.18.0.9", 10},
                                                         {9, "198.18.0.1", 10},
                                                         {9, "198.18.0.5", 99},
                                                         {10, "198.18.0.9", 1}})
                ctx->insertNetevent(Netevent{at(hour), ip, bytes});
            return ctx->save();
        });
        n.resolver.names.insert("198.18.0.9", "nine.example");
        DayViewController day(n.monitor.plans(), n.monitor.hostNames(), QStringLiteral("P"));
        auto *page = qobject_cast<NetViewController *>(day.child(2));
        QTRY_VERIFY(!page->busy());
        QCOMPARE(page->hourKeys, (QList<QDateTime>{at(10), at(9)}));
        QStringList nine;
        for (const NetRow &r : page->dataForAll.value(at(9)))
            nine.append(r.ipaddress);
        QCOMPARE(nine, (QStringList{"198.18.0.5", "198.18.0.1", "198.18.0.9"})); // busiest, then by address
        QCOMPARE(page->drawRow(0, 0), QStringLiteral("198.18.0.9"));             // not looked up yet
        page->setVisibleRows({{0, 0}, {1, 2}});
        n.resolver.answerAll();
        QCOMPARE(page->pendingLookups(), 0);
        QCOMPARE(page->rowLabel(0, 0), QStringLiteral("nine.example")); // the first visible row only
        QCOMPARE(page->rowLabel(1, 2), QString());
        QCOMPARE(page->drawRow(1, 2), QStringLiteral("nine.example"));
        QCOMPARE(page->cacheForKey("198.18.0.1"),
                 std::optional<QString>("198.18.0.1")); // no name: the address
        QCOMPARE(n.resolver.asked.size(), 3);
        // Another page for the same day: cached names at once, no new lookups.
        DayViewController again(n.monitor.plans(), n.monitor.hostNames(), QStringLiteral("P"));
        auto *second = qobject_cast<NetViewController *>(again.child(2));
        QTRY_VERIFY(!second->busy());
        QCOMPARE(second->drawRow(1, 1), QStringLiteral("198.18.0.1"));
        QCOMPARE(n.resolver.asked.size(), 3);
        QCOMPARE(second->sectionCell(0).first().text, QStringLiteral("c "));
        day.reloadWithDate(at(0).addDays(1)); // a day without usage
        page = qobject_cast<NetViewController *>(day.child(2));
        QTRY_VERIFY(!page->busy());
        QVERIFY(page->hourKeys.isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestNetView)
#include "tst_netview.moc"
