#include "desktop/searchitem.h"
#include "desktop/widgetstats.h"
#include "services/usagemonitor.h"
#include "testsupport.h"

#include <QtTest>

class TestSearch : public QObject
{
    Q_OBJECT

private slots:
    void matching_data()
    {
        QTest::addColumn<QStringList>("terms");
        QTest::addColumn<bool>("item");
        QTest::addColumn<bool>("intent");
        QTest::newRow("keyword") << QStringList{"overage"} << true << false;
        QTest::newRow("keyword with a dash") << QStringList{"wi-fi"} << true << false;
        QTest::newRow("prefix, other case") << QStringList{"WI"} << true << false;
        QTest::newRow("title words") << QStringList{"usage", "stat"} << true << false;
        QTest::newRow("keyword and title word") << QStringList{"mobile", "current"} << true << false;
        QTest::newRow("one term matches nothing") << QStringList{"mobile", "banana"} << false << false;
        QTest::newRow("inside a word is no prefix") << QStringList{"verage"} << false << false;
        QTest::newRow("no terms") << QStringList{} << false << false;
        QTest::newRow("the phrase") << QStringList{"call", "tallymo"} << false << true;
        QTest::newRow("the app's name") << QStringList{"tally"} << true << true;
    }
    void matching()
    {
        QFETCH(QStringList, terms);
        QFETCH(bool, item);
        QCOMPARE(SearchItem::make(QDateTime(QDate(2026, 3, 10), QTime(14, 25))).matches(terms), item);
        QFETCH(bool, intent);
        QCOMPARE((DonatedIntent{QStringLiteral("Call Tallymo"), {}}.matches(terms)), intent);
    }

    // Leaving the foreground makes the one item again; it is found until 365 days have passed. A
    // result reads the usage once for all, and tells it in a line.
    void madeAtResignationAndExpires()
    {
        TestContainer c;
        auto shared = c.openPlan();
        UsageMonitor monitor(*shared);
        SearchableIndex index(shared->containerURL());
        QVERIFY(index.items().isEmpty());
        monitor.windowDeactivated();
        c.clock.set(c.clock.now().addSecs(3600));
        monitor.windowDeactivated();
        QCOMPARE(index.items().size(), 1);
        QCOMPARE(index.items().first().expirationDate, c.clock.now().addDays(365));

        int reads = 0;
        QVariantMap record = WidgetRecord::notSetUp(c.clock.now());
        DesktopSearch search(index, c.clock, [&] {
            ++reads;
            return record;
        });
        const QStringList overage{QStringLiteral("overage")};
        QCOMPARE(search.resultsFor(overage), QStringList{"SEARCH_UNIQ_ID"});
        const auto metas = search.resultMetas({"SEARCH_UNIQ_ID", "SHOW_USAGE_INTENT", "unknown"});
        QCOMPARE(metas.size(), 2);
        QCOMPARE(reads, 1); // the usage is read once for all results
        QCOMPARE(metas[0].description,
                 QStringLiteral("Not set up yet: open Tallymo to set up your data plan."));
        record = {{WStats::PERCENT, 41.6},
                  {WStats::DAYS, 1},
                  {WStats::TIMEUNIT, "day"},
                  {WStats::FORECAST, "danger"}};
        QCOMPARE(search.resultMetas({"SEARCH_UNIQ_ID"}).value(0).description,
                 QStringLiteral("42% used · 1 day left · forecast: danger"));
        QCOMPARE(DesktopSearch::termsOf(QStringLiteral("  usage \t stat ")), (QStringList{"usage", "stat"}));
        QVERIFY(search.activityFor(QStringLiteral("SEARCH_UNIQ_ID")));
        QVERIFY(!search.activityFor(QStringLiteral("unknown")));

        c.clock.set(c.clock.now().addSecs(SearchItem::kLifetimeSeconds - 1));
        QCOMPARE(search.resultsFor(overage), QStringList{"SEARCH_UNIQ_ID"});
        c.clock.set(c.clock.now().addSecs(1));
        QCOMPARE(search.resultsFor(overage), QStringList());
    }

    // A damaged index reads as empty and is replaced whole by the next item; one that cannot be
    // written says why.
    void damagedOrUnwritableIndex()
    {
        QTemporaryDir dir;
        SearchableIndex index(dir.path());
        QFile damaged(index.path());
        QVERIFY(damaged.open(QIODevice::WriteOnly) && damaged.write("{\"items\": [") > 0);
        damaged.close();
        QVERIFY(index.items().isEmpty());
        const SearchItem item = SearchItem::make(QDateTime(QDate(2026, 3, 10), QTime(14, 25)));
        QVERIFY(index.publish(item, {QStringLiteral("Call Tallymo"), QDateTime::currentDateTime()}));
        QCOMPARE(index.items().size(), 1);
        QCOMPARE(index.items().first().keywords, SearchItem::searchKeywords());

        QString error;
        QVERIFY(!SearchableIndex(dir.filePath(QStringLiteral("missing"))).publish(item, {}, &error));
        QVERIFY(!error.isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestSearch)
#include "tst_search.moc"
