#include "core/counterbook.h"
#include "core/settingskeys.h"
#include "testsupport.h"

#include <QtTest>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace {

struct Step
{
    QList<LinkCounters> counters;
    std::optional<bool> tether = std::nullopt; // plan setting before the sample
    // The event the sample must store: cellIn, cellOut, wifiIn, wifiOut; none when empty.
    QList<double> event = {};
    QHash<QString, int> indexes = {}; // the links' kernel indexes, when the step sets them
};

LinkCounters link(const char *name, quint64 in, quint64 out)
{
    return LinkCounters{QString::fromLatin1(name), in, out};
}

QHash<QString, int> at(const char *name, int index)
{
    return {{QString::fromLatin1(name), index}};
}

constexpr quint64 kMiB = 1024 * 1024;
constexpr quint64 k32 = quint64(1) << 32;

} // namespace

Q_DECLARE_METATYPE(QList<Step>)

class TestRecorder : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { qputenv("TZ", "UTC"); }

    void samples_data()
    {
        QTest::addColumn<QList<Step>>("steps"); // the Wi-Fi links are wlan0 and wlan1
        QTest::newRow("first sample only remembers; each direction counts on its own") << QList<Step>{
            {{link("pdp_ip0", 1000, 500)}}, {{link("pdp_ip0", 1500, 450)}, {}, {500, 450, 0, 0}}};
        QTest::newRow("received counter reset: the sent counter still counts its growth")
            << QList<Step>{{{link("pdp_ip0", 1000, 500)}},
                           {{link("pdp_ip0", 1500, 600)}, {}, {500, 100, 0, 0}},
                           {{link("pdp_ip0", 200, 900)}, {}, {200, 300, 0, 0}}};
        QTest::newRow("all deltas zero: no event")
            << QList<Step>{{{link("pdp_ip0", 1000, 500)}}, {{link("pdp_ip0", 1000, 500)}}};
        QTest::newRow("counters read at 0 are a value; a send-only link") << QList<Step>{
            {{link("wwan0", 0, 0)}}, {{link("wwan0", 0, 41 * kMiB)}, {}, {0, 41 * kMiB, 0, 0}}};
        // A link that comes up between samples, and restarts: linkChurnNeverInventsUsage.
        QTest::newRow("a renamed link keeps counting, and back; made again under its name it started at 0")
            << QList<Step>{{{link("wwan0", 1000, 1000)}, {}, {}, at("wwan0", 5)},
                           {{link("wwan1", 7000, 7000)}, {}, {6000, 6000, 0, 0}, at("wwan1", 5)},
                           {{link("wwan0", 10000, 10000)}, {}, {3000, 3000, 0, 0}, at("wwan0", 5)},
                           {{link("wwan0", 300, 200)}, {}, {300, 200, 0, 0}, at("wwan0", 6)}};
        QTest::newRow("the received counter wraps at 2^32") << QList<Step>{
            {{link("wwan0", k32 - 296, 5000)}}, {{link("wwan0", 2704, 5000)}, {}, {3000, 0, 0, 0}}};
        // A link once past 2^32 stays 64-bit: a counter that comes down, from either side of 2^32,
        // was reset, not wrapped.
        QTest::newRow("a 64-bit link's counters are reset, never wrapped")
            << QList<Step>{{{link("wwan0", 100, k32 + 1)}},
                           {{link("wwan0", k32 - 296, k32 + 2)}, {}, {k32 - 396, 1, 0, 0}},
                           {{link("wwan0", 2704, 5)}, {}, {2704, 5, 0, 0}}};
        QTest::newRow("counters past 2^53 are exact")
            << QList<Step>{{{link("wwan0", (quint64(1) << 53) + 1, 1)}},
                           {{link("wwan0", (quint64(1) << 53) + 5001, 1)}, {}, {5000, 0, 0, 0}}};
        QTest::newRow("every Wi-Fi link is the second figure; a virtual link is not counted") << QList<Step>{
            {{link("wlan0", 100, 100), link("wlan1", 5, 5), link("eth0", 5, 5)}},
            {{link("wlan0", 300, 150), link("wlan1", 905, 5), link("eth0", 900, 900)}, {}, {0, 0, 1100, 50}}};
        QTest::newRow("a second cellular link is mobile data too, tethering or not")
            << QList<Step>{{{link("pdp_ip0", 1000, 500)}, false},
                           {{link("pdp_ip0", 1000, 500), link("pdp_ip1", 50, 50)}, false, {50, 50, 0, 0}},
                           {{link("pdp_ip0", 1010, 500), link("pdp_ip1", 150, 70)}, true, {110, 20, 0, 0}}};
        // A hotspot this machine serves (wlp1s0): what it sent its clients came in over the mobile
        // link, and what it received from them went out over it. The plan counts those bytes only
        // with tethering on, never below zero; the home Wi-Fi beside them (wlp2s0) stays the second figure.
        const auto served = [](bool tether, quint64 in, quint64 out, const QList<double> &event) {
            return QList<Step>{
                {{link("wwan0", 10, 10), link("wlp1s0", 0, 0), link("wlp2s0", 0, 0)}, tether},
                {{link("wwan0", 1010, 310), link("wlp1s0", in, out), link("wlp2s0", 40, 4)}, tether, event}};
        };
        QTest::newRow("served hotspot, tethering off") << served(false, 100, 700, {300, 200, 40, 4});
        QTest::newRow("served hotspot, tethering on") << served(true, 100, 700, {1000, 300, 40, 4});
        QTest::newRow("served hotspot, never below zero") << served(false, 900, 5000, {0, 0, 40, 4});
    }

    void samples()
    {
        QFETCH(QList<Step>, steps);
        TestContainer c;
        c.interfaces.wifi = QStringList{"wlan0", "wlan1"};
        c.interfaces.kinds = {{"wlp1s0", LinkKind::WiFi}, {"wlp2s0", LinkKind::WiFi}};
        c.interfaces.managed =
            QList<ManagedLink>{{"wlp1s0", "Hotspot", {}, 4, true}, {"wlp2s0", "Home", {}, 4, false}};
        auto shared = c.openPlan();
        auto context = shared->activeStore();

        QList<QList<double>> expected;
        for (const Step &step : steps) {
            if (step.tether)
                shared->setForPlan(QString(), Keys::PREF_TRACK_TETHER, *step.tether);
            c.interfaces.counters = step.counters;
            c.interfaces.indexes.insert(step.indexes);
            const SampleResult r = onQueue(*context, [&] {
                return shared->sampleUsage(context.get(), {45.5, 7.25});
            });
            QVERIFY(r.locked);
            QCOMPARE(r.event.has_value(), !step.event.isEmpty());
            if (!step.event.isEmpty()) {
                expected.append(step.event);
                QCOMPARE(r.usage.cell, step.event[0] + step.event[1]);
                QCOMPARE(r.usage.wifi, step.event[2] + step.event[3]);
            }
        }
        const QList<Event> events = onQueue(
            *context, [&] { return context->events(QDateTime(), QDateTime(QDate(2100, 1, 1), QTime())); });
        QList<QList<double>> stored;
        for (const Event &e : events) {
            stored.append({e.cellIn, e.cellOut, e.wifiIn, e.wifiOut});
            QCOMPARE(e.timeStamp, QDateTime(QDate(2026, 3, 10), QTime(14, 0)));
            QCOMPARE((std::pair{e.latitude, e.longitude}), (std::pair{45.5, 7.25}));
        }
        QCOMPARE(stored, expected);

        // What the last sample saw is what the next one, in any process, starts from: another
        // process's first sample, then this one's after the other counted a change.
        auto other = c.open();
        auto otherContext = other->activeStore();
        const auto sampleIn = [](SharedCode &s, StoreContext &ctx) {
            return onQueue(ctx, [&] { return s.sampleUsage(&ctx, {}); });
        };
        const SampleResult again = sampleIn(*other, *otherContext);
        QVERIFY(again.locked);
        QVERIFY(!again.event);
        QVERIFY(SettingsDomain(shared->userPref().filePath()).dateForKey(Keys::PREF_UsageLastSave).isValid());
        for (LinkCounters &l : *c.interfaces.counters)
            l.received += 100;
        sampleIn(*other, *otherContext);
        QVERIFY(!sampleIn(*shared, *context).event);
    }

    // Settings from before the counters were kept per link: the links whose identity still holds go
    // on from their saved counters, and the old keys go.
    void earlierBaselinesAreTakenOver()
    {
        TestContainer c;
        c.interfaces.wifi = QStringList{QStringLiteral("wlan0")};
        c.interfaces.indexes = {{"wwan0", 3}, {"wwan1", 4}, {"wlan0", 2}, {"wwan2", 8}};
        auto shared = c.openPlan();
        shared->setForPlan(QString(), Keys::PREF_TRACK_TETHER, true);
        SettingsDomain &pref = shared->userPref();
        pref.setValue(Keys::PREF_INTERFACE_NAME, QStringLiteral("wlan0"));
        pref.setValue(Keys::PREF_CELL_PRIMARY, QStringLiteral("wwan0"));
        pref.setValue(Keys::PREF_prevCellIn, 1000.0);
        pref.setValue(Keys::PREF_prevCellOut, 100.0);
        pref.setValue(Keys::PREF_prevWifiIn, 50.0);
        pref.setValue(Keys::PREF_prevWifiOut, 5.0);
        pref.setValue(Keys::PREF_TRACK_TETHER_DB,
                      QVariantMap{{"wwan1", QVariantList{10.0, 0.0}}, {"wwan2", QVariantList{7.0, 7.0}}});
        // wwan2 was made again since (it had index 6): its old counters are not its own.
        pref.setValue(Keys::PREF_LINK_IDS, QVariantMap{{"wwan0", "boot-1/3"},
                                                       {"wwan1", "boot-1/4"},
                                                       {"wlan0", "boot-1/2"},
                                                       {"wwan2", "boot-1/6"}});
        c.interfaces.counters = QList<LinkCounters>{link("wwan0", 1500, 150), link("wwan1", 30, 0),
                                                    link("wlan0", 80, 5), link("wwan2", 900, 900)};
        auto context = shared->activeStore();
        const SampleResult r = onQueue(*context, [&] { return shared->sampleUsage(context.get(), {}); });
        QVERIFY(r.event);
        QCOMPARE((QList<double>{r.event->cellIn, r.event->cellOut, r.event->wifiIn, r.event->wifiOut}),
                 (QList<double>{520, 50, 30, 0}));
        for (const Keys::Key &key :
             {Keys::PREF_LINK_IDS, Keys::PREF_TRACK_TETHER_DB, Keys::PREF_prevCellIn, Keys::PREF_prevWifiIn})
            QVERIFY2(pref.value(key).isNull(), key.name.data());
    }

    // Cellular links come and go, miss samples, are made again (a new index) or the machine
    // restarts (a new boot id), with tethering on so that every link counts: the store holds
    // exactly what each link moved since the first sample of its boot, and nothing twice.
    void linkChurnNeverInventsUsage_data()
    {
        QTest::addColumn<quint32>("seed");
        for (quint32 seed : {1u, 2u, 3u, 4u, 5u})
            QTest::addRow("seed %u", seed) << seed;
    }

    void linkChurnNeverInventsUsage()
    {
        QFETCH(quint32, seed);
        QRandomGenerator rng(seed);
        TestContainer c;
        c.interfaces.wifi = QStringList{QStringLiteral("wlan0")};
        auto shared = c.openPlan();
        shared->setForPlan(QString(), Keys::PREF_TRACK_TETHER, true);
        auto context = shared->activeStore();
        struct Link
        {
            int index = 0;
            qint64 in = 0, out = 0;
            bool present = false;
        };
        QMap<QString, Link> links;
        for (const char *name : {"wwan0", "wwan1", "rmnet_data0", "rmnet_data1", "wlan0"})
            links.insert(QString::fromLatin1(name), Link{});
        QHash<int, std::pair<qint64, qint64>> seen; // per index, in this boot
        bool firstOfBoot = true;
        int nextIndex = 1, boot = 1;
        qint64 cellular = 0, wifi = 0;
        for (int step = 0; step < 150; ++step) {
            if (rng.bounded(25) == 0) { // a restart: every counter starts again
                c.interfaces.boot = QStringLiteral("boot-%1").arg(++boot);
                for (Link &l : links)
                    l = Link{l.index, 0, 0, l.present};
                seen.clear();
                firstOfBoot = true;
            }
            for (Link &l : links) {
                const quint32 r = rng.bounded(100);
                if (!l.present && r < 40)
                    l = Link{l.index ? l.index : nextIndex++, l.in, l.out, true}; // back, or new
                else if (l.present && r < 8)
                    l.present = false;
                else if (l.present && r < 14)
                    l = Link{nextIndex++, 0, 0, true}; // made again
                l.in += rng.bounded(1, 5000000);
                l.out += rng.bounded(0, 800000);
            }
            QList<LinkCounters> counters;
            for (auto it = links.cbegin(); it != links.cend(); ++it) {
                if (!it->present)
                    continue;
                counters.append(LinkCounters{it.key(), quint64(it->in), quint64(it->out)});
                c.interfaces.indexes.insert(it.key(), it->index);
                const auto before = seen.constFind(it->index);
                const qint64 moved = firstOfBoot ? 0
                                     : before == seen.cend()
                                         ? it->in + it->out
                                         : it->in - before->first + it->out - before->second;
                (it.key() == QLatin1StringView("wlan0") ? wifi : cellular) += moved;
                seen.insert(it->index, {it->in, it->out});
            }
            firstOfBoot = false;
            c.interfaces.counters = counters;
            QVERIFY(onQueue(*context, [&] { return shared->sampleUsage(context.get(), {}); }).locked);
        }
        const auto sums = onQueue(*context, [&] {
            return context->sum(QDateTime(QDate(2000, 1, 1), QTime()), QDateTime(QDate(2100, 1, 1), QTime()));
        });
        QCOMPARE(qint64(sums->cellIn + sums->cellOut), cellular);
        QCOMPARE(qint64(sums->wifiIn + sums->wifiOut), wifi);
    }

    // A sample that cannot go on, because another holds the lock or the counters cannot be read,
    // stores nothing and leaves the saved counters as they were.
    void skippedSampleChangesNothing_data()
    {
        QTest::addColumn<bool>("busy");
        QTest::newRow("the lock is held") << true;
        QTest::newRow("counters unreadable") << false;
    }

    void skippedSampleChangesNothing()
    {
        QFETCH(bool, busy);
        TestContainer c;
        auto shared = c.openPlan();
        const QVariantMap book{{QStringLiteral("boot"), QStringLiteral("boot-1")}};
        shared->userPref().setValue(Keys::PREF_LINK_COUNTERS, book);
        auto context = shared->activeStore();
        c.interfaces.counters = QList<LinkCounters>{link("pdp_ip0", 10, 10)};
        if (!busy)
            c.interfaces.counters = std::nullopt;
        const int fd = ::open(QFile::encodeName(shared->flockPath()).constData(), O_RDWR | O_CREAT, 0666);
        QVERIFY(fd >= 0);
        if (busy)
            QCOMPARE(::flock(fd, LOCK_EX | LOCK_NB), 0);
        const SampleResult r = onQueue(*context, [&] { return shared->sampleUsage(context.get(), {}); });
        QCOMPARE(r.locked, !busy);
        QCOMPARE(r.countersRead, false);
        QVERIFY(!r.event);
        QCOMPARE(shared->userPref().value(Keys::PREF_LINK_COUNTERS).toMap(), book);
        ::close(fd);
        if (busy) { // the lock free again: the sample goes on
            QVERIFY(shared->userPref().value(Keys::PREF_UsageLastSave).isNull());
            const SampleResult free =
                onQueue(*context, [&] { return shared->sampleUsage(context.get(), {}); });
            QVERIFY(free.locked);
            QVERIFY(shared->userPref().value(Keys::PREF_LINK_COUNTERS).toMap() != book);
        }
    }
};

QTEST_GUILESS_MAIN(TestRecorder)
#include "tst_recorder.moc"
