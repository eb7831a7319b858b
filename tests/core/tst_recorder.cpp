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
};

LinkCounters link(const char *name, double in, double out)
{
    return LinkCounters{QString::fromLatin1(name), in, out};
}

} // namespace

Q_DECLARE_METATYPE(QList<Step>)

class TestRecorder : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { qputenv("TZ", "UTC"); }

    void samples_data()
    {
        QTest::addColumn<QList<Step>>("steps");
        QTest::addColumn<QStringList>("wifi");

        QTest::newRow("first sample only remembers; sent delta clamps at 0")
            << QList<Step>{{{link("pdp_ip0", 1000, 500)}}, {{link("pdp_ip0", 1500, 450)}, {}, {500, 0, 0, 0}}}
            << QStringList();
        QTest::newRow("received counter went down: whole counters are usage")
            << QList<Step>{{{link("pdp_ip0", 1000, 500)}},
                           {{link("pdp_ip0", 1500, 450)}, {}, {500, 0, 0, 0}},
                           {{link("pdp_ip0", 200, 900)}, {}, {200, 900, 0, 0}}}
            << QStringList();
        QTest::newRow("sent counter down alone is not a restart")
            << QList<Step>{{{link("pdp_ip0", 1000, 500)}}, {{link("pdp_ip0", 1100, 100)}, {}, {100, 0, 0, 0}}}
            << QStringList();
        QTest::newRow("equal received counter still records the sent bytes")
            << QList<Step>{{{link("pdp_ip0", 1000, 500)}}, {{link("pdp_ip0", 1000, 510)}, {}, {0, 10, 0, 0}}}
            << QStringList();
        QTest::newRow("all deltas zero: no event")
            << QList<Step>{{{link("pdp_ip0", 1000, 500)}}, {{link("pdp_ip0", 1000, 500)}}} << QStringList();
        QTest::newRow("a counter at 0 is no previous value")
            << QList<Step>{{{link("pdp_ip0", 0, 0)}},
                           {{link("pdp_ip0", 70, 30)}},
                           {{link("pdp_ip0", 90, 40)}, {}, {20, 10, 0, 0}}}
            << QStringList();
        QTest::newRow("two samples in one hour make two events")
            << QList<Step>{{{link("pdp_ip0", 10, 10)}},
                           {{link("pdp_ip0", 20, 10)}, {}, {10, 0, 0, 0}},
                           {{link("pdp_ip0", 25, 10)}, {}, {5, 0, 0, 0}}}
            << QStringList();
        QTest::newRow("Wi-Fi counted on the detected interface")
            << QList<Step>{{{link("wlan0", 100, 100), link("eth0", 5, 5)}},
                           {{link("wlan0", 300, 150), link("eth0", 900, 900)}, {}, {0, 0, 200, 50}}}
            << QStringList{QStringLiteral("wlan0")};
        QTest::newRow("tethering first sight gives no delta, then counts when on")
            << QList<Step>{{{link("pdp_ip0", 1000, 500), link("pdp_ip1", 50, 50)}, true},
                           {{link("pdp_ip0", 1000, 500), link("pdp_ip1", 150, 70)}, true, {100, 20, 0, 0}}}
            << QStringList();
        QTest::newRow("tethering off: tracked but not added; on: counts from then on")
            << QList<Step>{{{link("pdp_ip0", 1000, 500), link("pdp_ip1", 50, 50)}, false},
                           {{link("pdp_ip0", 1000, 500), link("pdp_ip1", 150, 70)}, false},
                           {{link("pdp_ip0", 1010, 500), link("pdp_ip1", 160, 90)}, true, {20, 20, 0, 0}}}
            << QStringList();
        QTest::newRow("pdp_ip10 is tethering, not the primary interface")
            << QList<Step>{{{link("pdp_ip10", 100, 100)}, true},
                           {{link("pdp_ip10", 50, 300)}, true, {50, 300, 0, 0}}}
            << QStringList();
        QTest::newRow("counters past 32 bits are exact")
            << QList<Step>{{{link("pdp_ip0", 4294967000.0, 1)}},
                           {{link("pdp_ip0", 9000000000123.0, 1)},
                            {},
                            {9000000000123.0 - 4294967000.0, 0, 0, 0}}}
            << QStringList();
    }

    void samples()
    {
        QFETCH(QList<Step>, steps);
        QFETCH(QStringList, wifi);
        TestContainer c;
        c.interfaces.wifi = wifi;
        auto shared = c.openPlan();
        auto context = shared->activeStore();

        QList<QList<double>> expected;
        for (const Step &step : steps) {
            if (step.tether)
                shared->setForPlan(QString(), Keys::PREF_TRACK_TETHER, *step.tether);
            c.interfaces.counters = step.counters;
            const SampleResult r = onQueue(*context, [&] { return shared->sampleUsage(context.get(), {}); });
            QVERIFY(r.locked);
            QCOMPARE(r.event.has_value(), !step.event.isEmpty());
            if (!step.event.isEmpty())
                expected.append(step.event);
        }
        const QList<Event> events = onQueue(
            *context, [&] { return context->events(QDateTime(), QDateTime(QDate(2100, 1, 1), QTime())); });
        QList<QList<double>> stored;
        for (const Event &e : events) {
            stored.append({e.cellIn, e.cellOut, e.wifiIn, e.wifiOut});
            QCOMPARE(e.timeStamp, QDateTime(QDate(2026, 3, 10), QTime(14, 0)));
            QCOMPARE(e.latitude, kUnknownCoordinate);
        }
        QCOMPARE(stored, expected);

        // What the last sample saw is what the next one (in any process) starts from.
        SettingsDomain reread(shared->userPref().filePath());
        const QList<LinkCounters> &last = steps.last().counters;
        for (const LinkCounters &l : last) {
            if (l.name == QLatin1StringView("pdp_ip0")) {
                QCOMPARE(reread.doubleForKey(Keys::PREF_prevCellIn), l.received);
                QCOMPARE(reread.doubleForKey(Keys::PREF_prevCellOut), l.sent);
            } else if (l.name.startsWith(QLatin1StringView("pdp_ip"))) {
                QCOMPARE(reread.dictionaryForKey(Keys::PREF_TRACK_TETHER_DB).value(l.name).toList(),
                         (QVariantList{l.received, l.sent}));
            }
        }
        QVERIFY(reread.dateForKey(Keys::PREF_UsageLastSave).isValid());
    }

    // Cellular links come and go, miss a sample, are made again (a new index) or the machine
    // restarts (a new boot id), with tethering on so that every link counts: the store holds
    // exactly what each link moved between two samples that saw the same link, plus the whole
    // counters of a link made again; a name never seen before counts from its second sample.
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
        struct Seen
        {
            QString identity;
            qint64 in = 0, out = 0;
        };
        QMap<QString, Link> links;
        for (const char *name : {"wwan0", "wwan1", "rmnet_data0", "rmnet_data1", "wlan0"})
            links.insert(QString::fromLatin1(name), Link{});
        QHash<QString, Seen> seen;
        int nextIndex = 1, boot = 1;
        qint64 cellular = 0, wifi = 0;
        for (int step = 0; step < 150; ++step) {
            if (rng.bounded(25) == 0) { // a restart: every counter starts again
                c.interfaces.boot = QStringLiteral("boot-%1").arg(++boot);
                for (Link &l : links)
                    l = Link{l.index, 0, 0, l.present};
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
                counters.append(LinkCounters{it.key(), double(it->in), double(it->out)});
                c.interfaces.indexes.insert(it.key(), it->index);
                const QString identity = c.interfaces.boot + QLatin1Char('/') + QString::number(it->index);
                const auto before = seen.constFind(it.key());
                const qint64 moved = before == seen.cend() ? 0
                                     : before->identity != identity || it->in < before->in
                                         ? it->in + it->out
                                         : it->in - before->in + std::max<qint64>(it->out - before->out, 0);
                (it.key() == QLatin1StringView("wlan0") ? wifi : cellular) += moved;
                seen.insert(it.key(), Seen{identity, it->in, it->out});
            }
            c.interfaces.counters = counters;
            QVERIFY(onQueue(*context, [&] { return shared->sampleUsage(context.get(), {}); }).locked);
        }
        const auto sums = onQueue(*context, [&] {
            return context->sum(QDateTime(QDate(2000, 1, 1), QTime()), QDateTime(QDate(2100, 1, 1), QTime()));
        });
        QCOMPARE(qint64(sums->cellIn + sums->cellOut), cellular);
        QCOMPARE(qint64(sums->wifiIn + sums->wifiOut), wifi);
    }

    void resultExcludesTethering()
    {
        TestContainer c;
        auto shared = c.openPlan();
        shared->setForPlan(QString(), Keys::PREF_TRACK_TETHER, true);
        auto context = shared->activeStore();
        c.interfaces.counters = QList<LinkCounters>{link("pdp_ip0", 10, 10), link("pdp_ip1", 10, 10)};
        onQueue(*context, [&] { return shared->sampleUsage(context.get(), {}); });
        c.interfaces.counters = QList<LinkCounters>{link("pdp_ip0", 20, 15), link("pdp_ip1", 110, 10)};
        const SampleResult r = onQueue(*context, [&] {
            return shared->sampleUsage(context.get(), {45.5, 7.25});
        });
        QCOMPARE(r.usage.cell, 15.0);
        QCOMPARE(r.event->cellIn, 110.0);
        QCOMPARE(r.event->latitude, 45.5);
        QCOMPARE(r.event->longitude, 7.25);
    }

    // Another holder of the lock: the sample is skipped and nothing moves.
    void busyLockSkipsTheSample()
    {
        TestContainer c;
        auto shared = c.openPlan();
        auto context = shared->activeStore();
        c.interfaces.counters = QList<LinkCounters>{link("pdp_ip0", 10, 10)};
        const int fd = ::open(QFile::encodeName(shared->flockPath()).constData(), O_RDWR | O_CREAT, 0666);
        QVERIFY(fd >= 0);
        QCOMPARE(::flock(fd, LOCK_EX | LOCK_NB), 0);
        const SampleResult busy = onQueue(*context, [&] { return shared->sampleUsage(context.get(), {}); });
        QVERIFY(!busy.locked);
        QVERIFY(shared->userPref().value(Keys::PREF_prevCellIn).isNull());
        QVERIFY(shared->userPref().value(Keys::PREF_UsageLastSave).isNull());
        ::close(fd);
        const SampleResult free = onQueue(*context, [&] { return shared->sampleUsage(context.get(), {}); });
        QVERIFY(free.locked);
        QCOMPARE(shared->userPref().doubleForKey(Keys::PREF_prevCellIn), 10.0);
    }

    // Two processes' worth of SharedCode on one container take turns: each starts from the
    // counters the other saved, so nothing is counted twice.
    void samplersShareThePreviousValues()
    {
        TestContainer c;
        auto a = c.openPlan();
        a->userPref().synchronize();
        auto b = c.open();
        auto ca = a->activeStore();
        auto cb = b->activeStore();
        double in = 1000;
        for (int i = 0; i < 6; ++i) {
            c.interfaces.counters = QList<LinkCounters>{link("pdp_ip0", in, 0)};
            SharedCode &s = i % 2 ? *b : *a;
            StoreContext &ctx = i % 2 ? *cb : *ca;
            onQueue(ctx, [&] { return s.sampleUsage(&ctx, {}); });
            in += 100;
        }
        const auto sums = onQueue(*ca, [&] {
            return ca->sum(QDateTime(QDate(2000, 1, 1), QTime()), QDateTime(QDate(2100, 1, 1), QTime()));
        });
        QCOMPARE(sums->cellIn, 500.0);
    }

    void unreadableCountersChangeNothing()
    {
        TestContainer c;
        auto shared = c.openPlan();
        shared->userPref().setValue(Keys::PREF_prevCellIn, 5.0);
        auto context = shared->activeStore();
        c.interfaces.counters = std::nullopt;
        const SampleResult r = onQueue(*context, [&] { return shared->sampleUsage(context.get(), {}); });
        QVERIFY(r.locked);
        QVERIFY(!r.countersRead);
        QVERIFY(!r.event);
        QCOMPARE(shared->userPref().doubleForKey(Keys::PREF_prevCellIn), 5.0);
        QVERIFY(shared->userPref().value(Keys::PREF_TRACK_TETHER_DB).isNull());
    }
};

QTEST_GUILESS_MAIN(TestRecorder)
#include "tst_recorder.moc"
