#include "core/settingskeys.h"
#include "history/chartdata.h"
#include "plans/billingcycle.h"
#include "testsupport.h"

#include <QtTest>

class TestHistory : public QObject
{
    Q_OBJECT

private slots:
    void scale_data()
    {
        QTest::addColumn<QList<double>>("values");
        QTest::addColumn<QList<double>>("fractions");
        const double none = -1;
        QTest::newRow("two values") << QList<double>{100, 1000} << QList<double>{0, 1};
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
        QCOMPARE(r.wifiNonZeroMinimum, std::numeric_limits<double>::max()); // no Wi-Fi at all
        QCOMPARE(History::widthPercent(0, r.wifiNonZeroMinimum, r.wifiMaximum), -1.0);
    }

    void rowLayout()
    {
        const double w = 375, c = w / 2;
        const History::RowLayout smallest = History::rowLayout(w, 0, -1);
        QCOMPARE(smallest.cellBarWidth, 15.0);
        QCOMPARE(smallest.cellBarX + smallest.cellBarWidth, c - 26);
        QCOMPARE(smallest.wifiBarWidth, 0.0);
        QCOMPARE(smallest.cellAmountX, c - 100);
        const History::RowLayout largest = History::rowLayout(w, 1, 1);
        QCOMPARE(largest.cellBarWidth, c - 36);
        QCOMPARE(largest.wifiBarX, c + 26);
        QCOMPARE(largest.wifiAmountX, w - 74);
        QCOMPARE(largest.cellAmountX, 6.0);
    }

    // A 25-hour day: both 02:00 hours are rows of their own; the day's end is not part of it.
    void hoursOfADaylightSavingDay()
    {
        ZoneScope tz("Europe/Berlin");
        TestContainer c;
        StoreContext ctx(QStringLiteral("P"), c.dir.filePath(QStringLiteral("P.sqlite")));
        const QDateTime firstTwo = QDateTime::fromString(QStringLiteral("2024-10-27T00:00:00Z"), Qt::ISODate);
        const QDateTime secondTwo = firstTwo.addSecs(3600);
        const QDateTime day = QDate(2024, 10, 27).startOfDay(), next = QDate(2024, 10, 28).startOfDay();
        const ChartBuckets hours = onQueue(ctx, [&] {
            ctx.insertEvent(Event{firstTwo, 100, 1, 10});
            ctx.insertEvent(Event{firstTwo, 100, 1, 10});
            ctx.insertEvent(Event{secondTwo, 7});
            ctx.insertEvent(Event{day, 1});
            ctx.insertEvent(Event{next, 999});
            ctx.save();
            return History::bucketSums(ctx, day, next, History::Bucket::Hour);
        });
        QCOMPARE(hours.size(), 3);
        QCOMPARE(hours.value(firstTwo).sumCell, 202.0);
        QCOMPARE(hours.value(firstTwo).sumWifi, 20.0);
        QCOMPARE(hours.value(secondTwo).sumCell, 7.0);
        const ChartBuckets days =
            onQueue(ctx, [&] { return History::bucketSums(ctx, day, next, History::Bucket::Day); });
        QCOMPARE(days.keys(), QList<QDateTime>{day});
        QCOMPARE(days.value(day).sumCell, 210.0);
        QCOMPARE(DayChildHelper::reverseSortArrayUsingCompare(hours.keys()).first(), secondTwo);
    }

    void periodsWalk_data()
    {
        QTest::addColumn<int>("type");
        QTest::addColumn<int>("n");
        QTest::addColumn<QDate>("first");
        QTest::addColumn<int>("rows");
        QTest::newRow("first record in the current period") << 0 << 0 << QDate(2026, 3, 2) << 1;
        QTest::newRow("monthly looks back 12") << 0 << 0 << QDate(2020, 1, 1) << 12;
        QTest::newRow("2-day periods look back 30") << 4 << 2 << QDate(2026, 1, 1) << 30;
        QTest::newRow("3-day periods look back 12") << 4 << 3 << QDate(2026, 1, 1) << 12;
    }

    void periodsWalk()
    {
        QFETCH(int, type);
        QFETCH(int, n);
        QFETCH(QDate, first);
        QFETCH(int, rows);
        qputenv("TZ", "UTC");
        TestContainer c; // now: 10 March 2026
        auto shared = c.openPlan();
        shared->setForPlan(QString(), Keys::PREF_BILLTYPE, type);
        shared->setForPlan(QString(), Keys::PREF_BILLDAY, 1);
        shared->setForPlan(QString(), Keys::PREF_NDAYS_N, n);
        shared->setForPlan(QString(), Keys::PREF_30DAY_START, QDateTime(QDate(2020, 1, 1), QTime()));
        auto ctx = shared->mocForActive();
        const QList<History::PeriodRow> got = onQueue(*ctx, [&] {
            // One event a day from `first` to now, and a trickle-free empty stretch is skipped.
            for (QDate d = first; d <= QDate(2026, 3, 10); d = d.addDays(1))
                ctx->insertEvent(Event{d.startOfDay(), 1000, 0, 0, 0});
            ctx->save();
            return History::periods(*shared, *ctx, QString());
        });
        QCOMPARE(got.size(), rows);
        QVERIFY(rows == 1 || got.first().start > got.last().start); // newest first
        QVERIFY(got.first().data.sumCell > 0);
    }
};

QTEST_GUILESS_MAIN(TestHistory)
#include "tst_history.moc"
