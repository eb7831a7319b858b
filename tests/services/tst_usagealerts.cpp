#include "core/settingskeys.h"
#include "screens/alertscontrollers.h"
#include "services/usagemonitor.h"
#include "testsupport.h"

#include <QtTest>

namespace {

constexpr double MB = 1048576.0;

// A monitor over a fresh container: plan "P", monthly from the 1st, a 100 MB cap, the default
// thresholds, now 10 March 2026 14:25 UTC.
struct World
{
    explicit World(const QDateTime &now = QDateTime(QDate(2026, 3, 10), QTime(14, 25)))
        : container(now), shared(container.open()),
          monitor(*shared, UsageMonitor::Services{&center, &badge, &refresh})
    {
        monitor.plans().setUpNewInstall();
        shared->setForPlan(QString(), Keys::PREF_THRES_MONTHLY, 100 * MB);
        context = shared->activeStore();
    }

    // Adds usage now and recomputes; returns the monitor's percentage.
    double use(double bytes, bool inBackground = true)
    {
        context->performAndWait([&] {
            if (bytes > 0)
                context->insertEvent(Event{shared->nowAtHour(), bytes / 2, bytes / 2}); // in and out
            context->save();
            const qint64 before = monitor.alerts().currentThresholdLevel();
            monitor.computeCurrentValues(context.get(), inBackground);
            monitor.alerts().applyUsageAlertRule(before, inBackground,
                                                 monitor.figures().values().monthPercent);
        });
        QCoreApplication::sendPostedEvents();
        return monitor.figures().values().monthPercent;
    }

    TestContainer container;
    RecordingCenter center;
    FakeBadge badge;
    FakeRefresh refresh;
    std::unique_ptr<SharedCode> shared;
    UsageMonitor monitor;
    std::shared_ptr<StoreContext> context;
};

// The cap and the usage, whether refresh and the badge setting are on, and the figures expected.
struct BadgeCase
{
    double capMB, usedMB, percent;
    bool refreshOn, badgeOn;
    qint64 badge;
};

using Levels = QList<std::pair<double, qint64>>; // percent, level

} // namespace

Q_DECLARE_METATYPE(BadgeCase)

class TestUsageAlerts : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { qputenv("TZ", "UTC"); }

    // The figures cover the current period only, cellular in and out; the percentage of the cap, and
    // the badge, rounded half to even and cleared while refresh or its setting is off.
    void percentAndBadge_data()
    {
        QTest::addColumn<BadgeCase>("c");
        QTest::newRow("12.5 rounds to even") << BadgeCase{100, 12.5, 12.5, true, true, 12};
        QTest::newRow("13.5 rounds to even") << BadgeCase{100, 13.5, 13.5, true, true, 14};
        QTest::newRow("above the cap") << BadgeCase{100, 150, 150, true, true, 150};
        QTest::newRow("no cap") << BadgeCase{0, 150, 0, true, true, 0};
        QTest::newRow("refresh off clears") << BadgeCase{100, 50, 50, false, true, 0};
        QTest::newRow("badge setting off") << BadgeCase{100, 50, 50, true, false, 0};
    }

    void percentAndBadge()
    {
        QFETCH(BadgeCase, c);
        World w;
        FakeRoot root;
        w.monitor.setRootController(&root);
        w.shared->setForPlan(QString(), Keys::PREF_THRES_MONTHLY, c.capMB * MB);
        w.shared->userPref().setValue(Keys::PREF_V7_BADGE, c.badgeOn);
        w.refresh.available = c.refreshOn;
        w.context->performAndWait([&] { // the period's first moment (Wi-Fi only), the periods around it
            w.context->insertEvent(Event{QDateTime(QDate(2026, 3, 1), QTime()), 0, 0, 3, 4});
            w.context->insertEvent(Event{QDateTime(QDate(2026, 4, 1), QTime()), 99 * MB});
            w.context->insertEvent(Event{QDateTime(QDate(2026, 2, 28), QTime(23, 0)), 99 * MB});
        });
        QCOMPARE(w.use(c.usedMB * MB), c.percent);
        QCOMPARE(w.badge.number, c.badge);
        const CurrentValues v = w.monitor.figures().values();
        QCOMPARE(v.monthStartDate, QDateTime(QDate(2026, 3, 1), QTime()));
        QCOMPARE(v.monthEndDate, QDateTime(QDate(2026, 4, 1), QTime()));
        QCOMPARE(v.monthCell, c.usedMB * MB);
        QCOMPARE(v.monthWifi, 7.0);
        QCOMPARE(w.monitor.figures().timeLeft(v), (std::pair<qint64, QString>(22, QStringLiteral("days"))));
        QCOMPARE(root.reloads, 1); // each computation reloads the root screen
    }

    // The level is the count of thresholds reached, stopping at the first one not reached.
    void thresholdLevel_data()
    {
        QTest::addColumn<QList<double>>("thresholds");
        QTest::addColumn<Levels>("levels");
        QTest::newRow("defaults") << QList<double>{50, 70, 90, 100}
                                  << Levels{{70, 2}, {69.99, 1}, {49.9, 0}, {100, 4}, {std::nan(""), 0}};
        QTest::newRow("out of order") << QList<double>{50, 100, 90, 95} << Levels{{95, 1}};
    }

    void thresholdLevel()
    {
        QFETCH(QList<double>, thresholds);
        QFETCH(Levels, levels);
        TestContainer c;
        auto shared = c.open();
        for (int i = 0; i < 4; ++i)
            shared->userPref().setValue(QStringLiteral("PREF_ALERT%1").arg(i + 1), thresholds[i]);
        for (auto [percent, level] : levels)
            QCOMPARE(AlertService::thresholdLevelFor(percent, shared->userPref()), level);
    }

    // One alert per rise however many thresholds it crosses, none while flat, again after a fall.
    void oneAlertPerRise()
    {
        World w;
        const QList<std::pair<double, double>> steps{// bytes added (MB), expected percent
                                                     {40, 40},
                                                     {55, 95},
                                                     {-1, 95},
                                                     {1, 96}};
        for (auto [add, percent] : steps)
            QCOMPARE(w.use(add * MB), percent);
        QCOMPARE(w.center.added.size(), 1);
        QCOMPARE(w.center.added[0].identifier, QStringLiteral("qx.noti.any"));
        QCOMPARE(w.center.added[0].trigger, NotificationRequest::Trigger::Now);
        QVERIFY(w.center.added[0].body.contains(QStringLiteral("95%")));
        // The period is reset: the level falls silently, and the next rise alerts again.
        w.context->performAndWait([&] {
            w.context->deleteEvents(QDateTime(QDate(2026, 3, 1), QTime()),
                                    QDateTime(QDate(2026, 4, 1), QTime()));
            w.context->save();
        });
        w.use(0);
        QCOMPARE(w.monitor.alerts().currentThresholdLevel(), 0);
        QCOMPARE(w.center.added.size(), 1);
        w.use(69.5 * MB);
        QCOMPARE(w.center.added.size(), 2);
        QVERIFY(w.center.added[1].body.contains(QStringLiteral("70%")));
        QVERIFY(w.center.removed.isEmpty()); // background computations leave the reminders alone
    }

    // In the foreground a rise alerts on the root screen only, when setup is done and nothing is
    // presented; each computation cancels the bill-cycle reminders and schedules them again, for the
    // period's last day until 21:00 on it, then for the next period's.
    void foregroundAlertAndReminders_data()
    {
        QTest::addColumn<QDateTime>("now");
        QTest::addColumn<bool>("setupDone");
        QTest::addColumn<bool>("presenting");
        QTest::addColumn<QDate>("lastDay");
        const QDateTime now(QDate(2026, 3, 10), QTime(14, 25));
        const QDate march31(2026, 3, 31);
        QTest::newRow("shown") << now << true << false << march31;
        QTest::newRow("before setup") << now << false << false << march31;
        QTest::newRow("while presenting") << now << true << true << march31;
        QTest::newRow("20:59 on the last day")
            << QDateTime(march31, QTime(20, 59)) << true << false << march31;
        QTest::newRow("21:00 on the last day: the next cycle's")
            << QDateTime(march31, QTime(21, 0)) << true << false << QDate(2026, 4, 30);
    }

    void foregroundAlertAndReminders()
    {
        QFETCH(QDateTime, now);
        QFETCH(bool, setupDone);
        QFETCH(bool, presenting);
        const bool shown = setupDone && !presenting;
        QFETCH(QDate, lastDay);
        World w(now);
        FakeRoot root;
        root.presenting = presenting;
        w.monitor.setRootController(&root);
        w.shared->userPref().setValue(Keys::PREF_SHOWED_SETUP, setupDone);
        w.use(70.5 * MB, false);
        QCOMPARE(root.alerts.size(), shown ? 1 : 0);
        if (shown)
            QVERIFY(root.alerts[0].message.contains(QStringLiteral("70%")));
        QCOMPARE(w.center.removed, (QList<QStringList>{{QStringLiteral("qx.noti.billalert.2100"),
                                                        QStringLiteral("qx.noti.billalert.2300")}}));
        QCOMPARE(w.center.added.size(), 2); // the reminders only: no notification in the foreground
        for (int i = 0; i < 2; ++i) {       // the two it cancelled, scheduled again
            QCOMPARE(w.center.added[i].identifier, w.center.removed[0][i]);
            QCOMPARE(w.center.added[i].trigger, NotificationRequest::Trigger::AtCalendarHour);
            QCOMPARE(w.center.added[i].date, lastDay);
            QCOMPARE(w.center.added[i].hour, 21 + 2 * i);
        }
    }

    void oneTimeHints()
    {
        World w;
        FakeRoot root;
        w.monitor.setRootController(&root);
        w.monitor.alerts().showAppSwitcherTip();
        w.monitor.alerts().showAppSwitcherTip();
        QCOMPARE(w.center.added.size(), 1); // once only
        // Refresh unavailable: one alert per spell, and the tip may come again afterwards.
        w.refresh.available = false;
        w.monitor.alerts().checkRefreshStatusDidChange();
        w.monitor.alerts().checkRefreshStatusDidChange();
        QCOMPARE(root.alerts.size(), 1);
        QVERIFY(!w.shared->userPref().boolForKey(Keys::PREF_TIP_APPSWITCHER));
        w.refresh.available = true;
        w.monitor.alerts().checkRefreshStatusDidChange();
        w.refresh.available = false;
        w.monitor.alerts().checkRefreshStatusDidChange();
        QCOMPARE(root.alerts.size(), 2);
    }

    void thresholdScreen_data()
    {
        QTest::addColumn<quint32>("type");
        QTest::addColumn<QList<double>>("thresholds");
        QTest::addColumn<QStringList>("firstAndLastRow");
        QTest::addColumn<int>("rows");
        QTest::addColumn<int>("selected");
        QTest::newRow("first") << 0u << QList<double>{50, 70, 90, 100} << QStringList{"5", "70"} << 14 << 9;
        QTest::newRow("first, second at 5")
            << 0u << QList<double>{5, 5, 90, 100} << QStringList{"5", "5"} << 1 << 0;
        QTest::newRow("third") << 2u << QList<double>{50, 70, 90, 100} << QStringList{"70", "100"} << 7 << 4;
        QTest::newRow("fourth") << 3u << QList<double>{50, 70, 90, 100} << QStringList{"90", "200"} << 23
                                << 2;
    }

    void thresholdScreen()
    {
        QFETCH(quint32, type);
        QFETCH(QList<double>, thresholds);
        QFETCH(QStringList, firstAndLastRow);
        QFETCH(int, rows);
        QFETCH(int, selected);
        TestContainer c;
        auto shared = c.open();
        for (int i = 0; i < 4; ++i)
            shared->userPref().setValue(QStringLiteral("PREF_ALERT%1").arg(i + 1), thresholds[i]);
        ThresholdController screen(shared->userPref(), type);
        QCOMPARE(screen.pickerRows().size(), rows);
        QCOMPARE((QStringList{screen.pickerRows().first(), screen.pickerRows().last()}), firstAndLastRow);
        QCOMPARE(screen.selectedRow(), selected);
        screen.chooseRow(rows - 1);
        QCOMPARE(shared->userPref().doubleForKey(QStringLiteral("PREF_ALERT%1").arg(type + 1)),
                 firstAndLastRow[1].toDouble());
        QVERIFY(screen.footer().contains(firstAndLastRow[1] + QLatin1Char('%')));
    }
};

QTEST_GUILESS_MAIN(TestUsageAlerts)
#include "tst_usagealerts.moc"
