#include "core/localtime.h"
#include "core/settingskeys.h"
#include "day/dayviewcontroller.h"
#include "history/chartdata.h"
#include "plans/billingcycle.h"
#include "services/usagemonitor.h"
#include "testsupport.h"

#include <QAbstractItemModelTester>
#include <QtTest>

namespace {

// A monthly plan "P" (bill day 1) with some usage, and the monitor the screens work with.
struct Screens
{
    explicit Screens(int type = 0, int n = 0) : shared(container.openPlan()), monitor(*shared)
    {
        shared->setForPlan(QString(), Keys::PREF_BILLTYPE, type);
        shared->setForPlan(QString(), Keys::PREF_BILLDAY, 1);
        shared->setForPlan(QString(), Keys::PREF_NDAYS_N, n);
        shared->setForPlan(QString(), Keys::PREF_30DAY_START, QDateTime(QDate(2026, 1, 1), QTime()));
        shared->userPref().setValue(Keys::PREF_WEEK_START, 1); // global
    }
    void add(const QList<Event> &events)
    {
        auto ctx = monitor.plans().storeForPlan(QStringLiteral("P"));
        onQueue(*ctx, [&] {
            for (const Event &e : events)
                ctx->insertEvent(e);
            return ctx->save();
        });
    }
    TestContainer container; // now: Tuesday 10 March 2026, 14:25
    std::unique_ptr<SharedCode> shared;
    UsageMonitor monitor;
};

QDateTime at(int month, int day, int hour)
{
    return QDateTime(QDate(2026, month, day), QTime(hour, 0));
}

} // namespace

class TestHistory : public QObject
{
    Q_OBJECT

private slots:
    void init() { qputenv("TZ", "UTC"); } // each test that needs another zone sets it for itself

    // The chart's sums by local hour and by local day equal the sums of the records themselves: for
    // any range, after inserts and deletions, across clock changes and in zones offset by half an hour
    // (plain range sums are pinned in tst_usagestore).
    void rolledUpAnswersEqualTheRecords_data()
    {
        QTest::addColumn<QByteArray>("zone");
        // Every form of TZ the C library reads: a name, ":name", a path to the zone file.
        for (const char *zone : {"Europe/Berlin", "America/New_York", ":Australia/Lord_Howe", "Asia/Kolkata",
                                 "America/Havana", "/usr/share/zoneinfo/Europe/Berlin"})
            QTest::newRow(zone) << QByteArray(zone);
    }
    void rolledUpAnswersEqualTheRecords()
    {
        QFETCH(QByteArray, zone);
        ZoneScope tz(zone);
        QTemporaryDir dir;
        StoreContext ctx(QStringLiteral("P"), dir.filePath(QStringLiteral("rolled.sqlite")));
        QRandomGenerator rng(uint(qHash(zone)));
        // March and April 2026: the spring change in the north, the autumn change on Lord Howe.
        const qint64 from = QDateTime(QDate(2026, 3, 1), QTime(0, 0), QTimeZone::utc()).toMSecsSinceEpoch();
        const qint64 span = qint64(62) * 86400000;
        const auto moment = [&] {
            qint64 ms = from + qint64(rng.bounded(quint64(span)));
            if (rng.bounded(8) == 0) // on a whole or half UTC hour
                ms -= ms % 1800000;
            return QDateTime::fromMSecsSinceEpoch(ms);
        };
        const auto range = [&] { return std::minmax({moment(), moment()}); };
        QList<Event> kept;
        // A day's key is its first moment (Qt's own reckoning, not the store's).
        const auto keyOf = [](const QDateTime &t, History::Bucket b) {
            return b == History::Bucket::Hour ? LocalTime::hourStart(t) : t.toLocalTime().date().startOfDay();
        };
        const auto compareRange = [&](const QDateTime &a, const QDateTime &b) {
            QMap<QDateTime, ChartData> byBucket[2];
            for (const Event &e : std::as_const(kept)) {
                if (e.timeStamp < a || e.timeStamp >= b)
                    continue;
                for (auto bucket : {History::Bucket::Hour, History::Bucket::Day}) {
                    ChartData &d = byBucket[int(bucket)][keyOf(e.timeStamp, bucket)];
                    d.sumCell += e.cellIn + e.cellOut;
                    d.sumWifi += e.wifiIn + e.wifiOut;
                }
            }
            for (auto bucket : {History::Bucket::Hour, History::Bucket::Day}) {
                const ChartBuckets got = History::bucketSums(ctx, a, b, bucket),
                                   &want = byBucket[int(bucket)];
                QCOMPARE(got.keys(), want.keys());
                for (auto it = got.begin(); it != got.end(); ++it)
                    QCOMPARE(std::pair(it->sumCell, it->sumWifi),
                             std::pair(want[it.key()].sumCell, want[it.key()].sumWifi));
            }
        };
        ctx.performAndWait([&] {
            for (int round = 0; round < 4; ++round) {
                for (int i = 0; i < 1500; ++i) {
                    const Event e{moment(), double(rng.bounded(1u << 30)), double(rng.bounded(1u << 20)),
                                  double(rng.bounded(1u << 30)), double(rng.bounded(1u << 20))};
                    ctx.insertEvent(e);
                    kept.append(e);
                }
                QVERIFY(ctx.save());
                const std::pair<QDateTime, QDateTime> cut = range();
                ctx.deleteEvents(cut.first, cut.second); // a reset: a range cut anywhere
                QVERIFY(ctx.save());
                kept.removeIf(
                    [&](const Event &e) { return e.timeStamp >= cut.first && e.timeStamp < cut.second; });
                for (int r = 0; r < 12; ++r)
                    std::apply(compareRange, range());
            }
            // Whole local days and periods, the days of the clock changes among them.
            for (QDate d(2026, 3, 1); d < QDate(2026, 5, 1); d = d.addDays(1))
                compareRange(d.startOfDay(), d.addDays(1).startOfDay());
            compareRange(QDate(2026, 3, 1).startOfDay(), QDate(2026, 4, 1).startOfDay());
            compareRange(QDateTime::fromMSecsSinceEpoch(from), QDateTime::fromMSecsSinceEpoch(from + span));
            QCOMPARE(ctx.store()->check(false).wrongHours, QList<QDateTime>());
        });
    }

    void scale_data()
    {
        QTest::addColumn<QList<double>>("values");
        QTest::addColumn<QList<double>>("fractions");
        const double none = -1;
        QTest::newRow("one value above the trickle") << QList<double>{100, 51} << QList<double>{0.8, none};
        QTest::newRow("only trickles") << QList<double>{51, 10, 0} << QList<double>{none, none, none};
        QTest::newRow("middle") << QList<double>{100, 550, 1000} << QList<double>{0, 0.5, 1};
    }

    void scale()
    {
        QFETCH(QList<double>, values);
        QFETCH(QList<double>, fractions);
        ChartBuckets buckets;
        for (int i = 0; i < values.size(); ++i)
            buckets.insert(QDateTime::fromSecsSinceEpoch(3600 * i), ChartData{values[i], 0});
        const ChartRanges r = History::findRanges(buckets);
        QList<double> got;
        for (double v : values)
            got.append(History::widthPercent(v, r.cellNonZeroMinimum, r.cellMaximum));
        QCOMPARE(got, fractions);
        QCOMPARE(History::widthPercent(0, r.wifiNonZeroMinimum, r.wifiMaximum), -1.0); // no Wi-Fi at all
    }

    // The day screen's hour rows on the days the clocks change: every hour that happened is a row
    // with its own usage, the repeated hour twice (two distinct keys), the skipped one not at all;
    // the day's end is not part of it.
    void hourRowsOnClockChanges_data()
    {
        QTest::addColumn<QByteArray>("zone");
        QTest::addColumn<QDate>("date");
        QTest::addColumn<int>("hours");
        QTest::newRow("Berlin, autumn") << QByteArray("Europe/Berlin") << QDate(2026, 10, 25) << 25;
        QTest::newRow("Berlin, spring") << QByteArray("Europe/Berlin") << QDate(2026, 3, 29) << 23;
        QTest::newRow("New York, spring") << QByteArray("America/New_York") << QDate(2026, 3, 8) << 23;
        QTest::newRow("New York, autumn") << QByteArray("America/New_York") << QDate(2026, 11, 1) << 25;
    }
    void hourRowsOnClockChanges()
    {
        QFETCH(QByteArray, zone);
        QFETCH(QDate, date);
        QFETCH(int, hours);
        ZoneScope tz(zone);
        Screens s;
        QList<Event> events;
        const QDateTime start = date.startOfDay(), end = date.addDays(1).startOfDay();
        for (QDateTime t = start; t < end; t = t.addSecs(3600))
            events.append(Event{t, 1000, 0, 500});
        events.append(Event{end, 7}); // the next day
        s.add(events);
        DayViewController day(s.monitor.plans(), s.monitor.hostNames(), QStringLiteral("P"));
        day.reloadWithDate(start);
        auto *list = static_cast<TimeChartViewController *>(day.child(0));
        QAbstractItemModelTester tester(list->rows(), QAbstractItemModelTester::FailureReportingMode::QtTest);
        QTRY_VERIFY(list && !list->busy());
        QCOMPARE(list->rows()->rowCount(), hours);
        QCOMPARE(int(list->dataForChart().size()), hours); // distinct keys
        for (const ChartData &d : list->dataForChart())
            QCOMPARE(d.description(), QStringLiteral("c:1000.0 w:500.0"));
        QCOMPARE(list->keysForChart().first(), end.addSecs(-3600));
        QCOMPARE(list->keysForChart().last(), start);
    }

    // The days of a period start at its first midnight and stop before the next period's.
    void dayRowsAtPeriodEdges()
    {
        Screens s;
        s.add({Event{at(3, 1, 0), 10}, Event{at(3, 31, 23).addSecs(3599), 20}, Event{at(4, 1, 0), 40},
               Event{at(2, 28, 23).addSecs(3599), 80}});
        CycleViewController cycle(s.monitor.plans(), QStringLiteral("P"), at(3, 10, 12));
        QAbstractItemModelTester tester(cycle.rows(), QAbstractItemModelTester::FailureReportingMode::QtTest);
        QTRY_VERIFY(!cycle.busy());
        QCOMPARE(cycle.keysForChart(), (QList<QDateTime>{at(3, 31, 0), at(3, 1, 0)}));
        QCOMPARE(cycle.dataForChart().value(at(3, 1, 0)).sumCell, 10.0);
        QCOMPARE(cycle.dataForChart().value(at(3, 31, 0)).sumCell, 20.0);
    }

    // The periods look back 12, 30 for periods of one or two days, however far the usage goes;
    // newest first. A row names its month, or its
    // first day with the month below unless the periods are single days.
    void periods_data()
    {
        QTest::addColumn<int>("type");
        QTest::addColumn<int>("n");
        QTest::addColumn<QDate>("first");
        QTest::addColumn<int>("rows");
        QTest::addColumn<QStringList>("labels"); // the newest row's
        QTest::newRow("first record in the current period")
            << 0 << 0 << QDate(2026, 3, 2) << 1 << QStringList{"Mar", ""};
        QTest::newRow("monthly") << 0 << 0 << QDate(2024, 11, 1) << 12 << QStringList{"Mar", ""};
        QTest::newRow("weekly, from Sunday") << 2 << 0 << QDate(2024, 11, 1) << 12 << QStringList{"8", "Mar"};
        QTest::newRow("daily") << 4 << 1 << QDate(2024, 11, 1) << 30 << QStringList{"10", ""};
        QTest::newRow("every 2 days") << 4 << 2 << QDate(2026, 1, 1) << 30 << QStringList{"10", "Mar"};
        QTest::newRow("every 3 days") << 4 << 3 << QDate(2024, 11, 1) << 12 << QStringList{"8", "Mar"};
    }
    void periods()
    {
        QFETCH(int, type);
        QFETCH(int, n);
        QFETCH(QDate, first);
        QFETCH(int, rows);
        QFETCH(QStringList, labels);
        Screens s(type, n);
        QList<Event> events;
        for (QDate d = first; d <= QDate(2026, 3, 10); d = d.addDays(1))
            events.append(Event{d.startOfDay().addSecs(6 * 3600), 1000});
        s.add(events);
        MultiCyclesController periods(s.monitor.plans(), QStringLiteral("P"));
        QAbstractItemModelTester tester(periods.rows(),
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        QTRY_VERIFY(!periods.busy());
        QCOMPARE(periods.rows()->rowCount(), rows);
        QCOMPARE((QStringList{periods.row(0).timeLabel, periods.row(0).subLabel}), labels); // the newest
        QVERIFY(rows == 1 || periods.row(0).key > periods.row(rows - 1).key);
        // A daily plan's day view goes back to the periods, the others to the period's days.
        DayViewController day(s.monitor.plans(), s.monitor.hostNames(), QStringLiteral("P"));
        QCOMPARE(qobject_cast<MultiCyclesController *>(day.cycleController()) != nullptr,
                 type == 4 && n == 1);
        QCOMPARE(day.cycleController(), day.cycleController()); // made once
    }

    void localeFormats_data() // the row's name is the locale
    {
        QTest::addColumn<bool>("clock24");
        // The hour format, the day's title, an hour's label, September as a periods row.
        QTest::addColumn<QStringList>("texts");
        QTest::newRow("en_US") << false << QStringList{"h\u202Fa", "Sunday, September 6", "2", "Sep"};
        QTest::newRow("en_GB") << true << QStringList{"HH:mm", "Sunday, 6 September", "14", "Sep"};
        QTest::newRow("de_DE") << true << QStringList{"HH:mm", "Sonntag, 6. September", "14", "Sep"};
        QTest::newRow("fr_FR") << true << QStringList{"HH:mm", "dimanche 6 septembre", "14", "sep"};
    }

    void localeFormats()
    {
        QFETCH(bool, clock24);
        QFETCH(QStringList, texts);
        QLocale::setDefault(QLocale(QString::fromLatin1(QTest::currentDataTag())));
        const QDateTime now = QDateTime(QDate(2026, 9, 6), QTime(14, 5));
        QCOMPARE(HistoryFormat::hourFormat(now), texts[0]);

        Screens s;
        s.container.clock.set(now);
        s.add({Event{now, 1000}, Event{at(8, 30, 9), 5000}});
        DayViewController day(s.monitor.plans(), s.monitor.hostNames(), QStringLiteral("P"));
        QCOMPARE(day.title(), texts[1]);
        auto *hours = static_cast<TimeChartViewController *>(day.child(0));
        QTRY_VERIFY(hours && !hours->busy());
        QCOMPARE(hours->row(0).timeLabel, texts[2]);
        QCOMPARE(hours->periodLabel(), clock24 ? QString() : QStringLiteral("PM"));
        QCOMPARE(hours->headerHeight(), clock24 ? 1.0 : 30.0);
        MultiCyclesController periods(s.monitor.plans(), QStringLiteral("P"));
        QTRY_VERIFY(!periods.busy());
        QCOMPARE(periods.rowCount(), 2);
        QCOMPARE(periods.row(0).timeLabel, texts[3]);
        QLocale::setDefault(QLocale::c());
    }

    // The day screen: the stored child, the totals line, swipes, a day without usage, a day tapped in the
    // period view, the periods' tip, and the pull that closes it.
    void dayNavigation()
    {
        Screens s;
        s.shared->userPref().setValue(Keys::PREF_DAYVIEW_TYPE, 5);
        s.add({Event{at(3, 10, 9), 1000, 0, 3000}, Event{at(3, 10, 9), 24}, Event{at(3, 2, 23), 700}});
        DayViewController day(s.monitor.plans(), s.monitor.hostNames(), QStringLiteral("P"));
        QCOMPARE(day.activeIndex(), 0);
        QTRY_VERIFY(!day.busy());
        QCOMPARE(day.usageLabel(), (StyledText{{QStringLiteral("c "), TextRun::Glyph},
                                               {QStringLiteral("1.0 "), TextRun::Number},
                                               {QStringLiteral("KB"), TextRun::Unit},
                                               {QStringLiteral("  w "), TextRun::Glyph},
                                               {QStringLiteral("2.9 "), TextRun::Number},
                                               {QStringLiteral("KB"), TextRun::Unit}}));
        day.setSegment(1);
        QCOMPARE(s.shared->userPref().integerForKey(Keys::PREF_DAYVIEW_TYPE), 1);
        QVERIFY(day.child(1)); // the map

        QVERIFY(day.swipe(DayViewController::Right));
        QVERIFY(!day.swipe(DayViewController::Right)); // still sliding
        day.slideFinished();
        QCOMPARE(day.thisDay(), at(3, 9, 0));
        QTRY_VERIFY(day.noUsage());

        auto *cycle = qobject_cast<CycleViewController *>(day.cycleController());
        QTRY_VERIFY(cycle && !cycle->busy());
        QCOMPARE((QStringList{cycle->title(), cycle->periodLabel()}), (QStringList{"Mar 1 - Mar 31", "Mar"}));
        QCOMPARE(cycle->rowCount(), 2);
        cycle->tapRow(1);
        QCOMPARE(day.thisDay(), at(3, 2, 0));
        auto *hours = static_cast<TimeChartViewController *>(day.child(0));
        QTRY_VERIFY(hours && !hours->busy());
        QCOMPARE(hours->keysForChart(), QList<QDateTime>{at(3, 2, 23)});

        // The periods view below the period view: its first rows show the tip, once.
        auto *multi = static_cast<MultiCyclesController *>(cycle->periodsController());
        QSignalSpy tip(multi, &MultiCyclesController::showTip);
        QTRY_VERIFY(multi && !multi->busy());
        QCOMPARE(tip.size(), 1);
        MultiCyclesController again(s.monitor.plans(), QStringLiteral("P"));
        QSignalSpy noTip(&again, &MultiCyclesController::showTip);
        QTRY_VERIFY(!again.busy());
        QCOMPARE(noTip.size(), 0);
        QVERIFY(HistoryFormat::dismissScrollViewGesture(true, -100.5));
        QVERIFY(!HistoryFormat::dismissScrollViewGesture(false, -300));
    }
};

QTEST_GUILESS_MAIN(TestHistory)
#include "tst_history.moc"
