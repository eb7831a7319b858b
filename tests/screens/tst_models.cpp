// The lists the screens show as models with named roles, and the main screen's figures as
// properties: checked with QAbstractItemModelTester on real stores, and signals counted.
#include "connections/netviewcontroller.h"
#include "core/settingskeys.h"
#include "day/dayviewcontroller.h"
#include "screens/alertscontrollers.h"
#include "screens/plancontrollers.h"
#include "screens/selectplancontroller.h"
#include "screens/usagefigurescontroller.h"
#include "services/usagemonitor.h"
#include "testsupport.h"

#include <QAbstractItemModelTester>
#include <QSemaphore>
#include <QSignalSpy>
#include <QtTest>

namespace {

struct Plan
{
    Plan() : shared(container.openPlan()), monitor(*shared)
    {
        shared->setForPlan(QString(), Keys::PREF_PLAN_LABEL, QStringLiteral("Phone"));
        shared->setForPlan(QString(), Keys::PREF_THRES_MONTHLY, 1000.0);
        shared->setForPlan(QString(), Keys::PREF_BILLDAY, 1);
        for (int i = 1; i <= 4; ++i)
            shared->userPref().setValue(Keys::alert(i), 25.0 * i);
        auto ctx = monitor.plans().storeForPlan(QStringLiteral("P"));
        onQueue(*ctx, [&] {
            for (int day = 1; day <= 9; day += 4)
                ctx->insertEvent(Event{QDateTime(QDate(2026, 3, day), QTime(9, 0)), 100.0 * day, 1, 50, 2});
            ctx->insertNetevent(
                Netevent{QDateTime(QDate(2026, 3, 9), QTime(9, 0)), QStringLiteral("198.18.0.9"), 70});
            ctx->insertNetevent(
                Netevent{QDateTime(QDate(2026, 3, 9), QTime(9, 0)), QStringLiteral("198.18.0.1"), 90});
            return ctx->save();
        });
    }
    // A model's rows, each as role → value.
    static QList<QVariantMap> rows(const QAbstractItemModel &model)
    {
        QList<QVariantMap> result;
        const QHash<int, QByteArray> roles = model.roleNames();
        for (int r = 0; r < model.rowCount(); ++r) {
            QVariantMap row;
            for (auto it = roles.cbegin(); it != roles.cend(); ++it)
                row.insert(QString::fromLatin1(it.value()), model.data(model.index(r, 0), it.key()));
            result.append(row);
        }
        return result;
    }
    TestContainer container; // now: 10 March 2026, 14:25
    std::unique_ptr<SharedCode> shared;
    UsageMonitor monitor;
};

} // namespace

class TestModels : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { qputenv("TZ", "UTC"); }

    // The period's days, newest first; another period chosen: at once busy, no rows and the new
    // title, and it says so; the rows follow.
    void historyRows()
    {
        Plan p;
        CycleViewController period(p.monitor.plans(), QStringLiteral("P"), p.shared->clock().now());
        QAbstractItemModelTester tester(period.rows(),
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        QTRY_VERIFY(!period.busy());
        const QList<QVariantMap> rows = Plan::rows(*period.rows());
        QVERIFY(rows.size() == 3 && period.rowCount() == 3); // 9, 5 and 1 March
        const QVariantList cell = rows.first().value("cellAmount").toList();
        QCOMPARE((QVariantList{rows.first().value("key"),
                               cell.first().value<TextRun>().text + cell.last().value<TextRun>().text,
                               rows.first().value("cellPercent"), rows.first().value("spokenLabel"),
                               rows.last().value("cellPercent")}),
                 (QVariantList{QDateTime(QDate(2026, 3, 9), QTime()), QStringLiteral("0.9 KB"), 1.0,
                               QStringLiteral("Monday, March 9"), 0.0}));

        QSemaphore gate;
        p.monitor.plans().storeForPlan(QStringLiteral("P"))->perform([&gate] { gate.acquire(); });
        QSignalSpy changed(&period, &TimeChartViewController::changed);
        const QString before = period.title();
        period.reloadWithDate(QDateTime(QDate(2026, 2, 10), QTime(12, 0)));
        QVERIFY(changed.size() == 1 && period.busy() && period.title() != before);
        QVERIFY(period.rowCount() == 0 && period.rows()->rowCount() == 0);
        gate.release();
        QTRY_VERIFY(!period.busy());
        QCOMPARE(changed.size(), 2);
    }

    void plansAndThresholds()
    {
        Plan p;
        QVariantMap other = p.monitor.plans().makeNewPlan();
        other.insert(Keys::PREF_PLAN_LABEL, QStringLiteral("Laptop"));
        p.monitor.plans().addPlan(other);
        SelectPlanController select(p.monitor);
        QAbstractItemModelTester plans(select.plans(),
                                       QAbstractItemModelTester::FailureReportingMode::QtTest);
        QStringList labels; // the active plan checked
        for (const QVariantMap &row : Plan::rows(*select.plans()))
            labels.append(row.value("label").toString() + (row.value("checked").toBool() ? "*" : ""));
        QCOMPARE(labels, (QStringList{"Laptop", "Phone*"}));

        PlanController plan(p.monitor, QStringLiteral("P"));
        QAbstractItemModelTester settings(plan.settings(),
                                          QAbstractItemModelTester::FailureReportingMode::QtTest);
        const QList<QVariantMap> planRows = Plan::rows(*plan.settings());
        QCOMPARE(planRows.size(), plan.rows(0).size() + plan.rows(1).size());
        QCOMPARE((QVariantList{planRows.last().value("section"), planRows.last().value("title"),
                               planRows.first().value("detail")}),
                 (QVariantList{1, plan.rows(1).last().title, plan.rows(0).first().detail}));

        AlertsController alerts(p.shared->userPref());
        QAbstractItemModelTester thresholds(alerts.thresholds(),
                                            QAbstractItemModelTester::FailureReportingMode::QtTest);
        QCOMPARE(Plan::rows(*alerts.thresholds()).at(2).value("detail").toString(), QStringLiteral("75%"));
        alerts.tapRow(2); // to that threshold's screen; back from it, the list reads it again
        p.shared->userPref().setValue(Keys::alert(3), 80.0);
        alerts.aboutToShow();
        QCOMPARE(Plan::rows(*alerts.thresholds()).at(2).value("detail").toString(), QStringLiteral("80%"));
    }

    void addressesPerHour()
    {
        Plan p;
        p.container.clock.set(QDateTime(QDate(2026, 3, 9), QTime(20, 0)));
        DayViewController day(p.monitor.plans(), p.monitor.hostNames(), QStringLiteral("P"));
        auto *net = qobject_cast<NetViewController *>(day.child(2));
        QAbstractItemModelTester tester(net->addresses(),
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        QTRY_VERIFY(!net->busy());
        const QList<QVariantMap> rows = Plan::rows(*net->addresses());
        QCOMPARE(rows.size(), 2); // busiest first
        QCOMPARE(
            (QVariantList{rows.at(0).value("label"), rows.at(1).value("bytes"), rows.at(1).value("hour")}),
            (QVariantList{QStringLiteral("198.18.0.1"), 70.0, rows.at(0).value("hour")}));
        // The hours read out with their AM/PM (ICU puts a narrow space before it).
        auto *hours = qobject_cast<TimeChartViewController *>(day.child(0));
        QVERIFY(hours);
        QTRY_VERIFY(!hours->busy() && hours->rowCount() == 1);
        QCOMPARE(hours->spokenLabel(0).remove(QChar(0x202F)).remove(QLatin1Char(' ')), QStringLiteral("9AM"));
    }

    // Each figure's signal fires once when a sample changes it, and not at all when it does not.
    void mainScreenSignalsOncePerChange()
    {
        Plan p;
        p.container.interfaces.counters =
            QList<LinkCounters>{LinkCounters{QStringLiteral("wwan0"), 1000, 1000}};
        UsageFiguresController screen;
        screen.setMonitor(&p.monitor);
        const auto check = [&] {
            p.monitor.checkUsage(nullptr);
            QTRY_VERIFY(!p.monitor.isCheckingUsage());
            QCoreApplication::processEvents(); // the figures reach the main queue
        };
        check(); // the first sample only remembers the counters; the figures come in
        QCOMPARE(screen.cell(), 100.0 + 500 + 900 + 3); // in and out of the three days
        QSignalSpy usage(&screen, &UsageFiguresController::usageChanged);
        QSignalSpy period(&screen, &UsageFiguresController::periodChanged);
        p.container.interfaces.counters =
            QList<LinkCounters>{LinkCounters{QStringLiteral("wwan0"), 1100, 1000}};
        check();
        QVERIFY(usage.count() == 1 && screen.cellIn() == 1500.0 + 100);
        check(); // nothing moved
        QVERIFY(usage.count() == 1 && period.isEmpty());
        screen.setMonitor(nullptr);
        QVERIFY(!p.monitor.rootController());
    }
};

QTEST_GUILESS_MAIN(TestModels)
#include "tst_models.moc"
