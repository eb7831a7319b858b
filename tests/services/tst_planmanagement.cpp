#include "core/settingskeys.h"
#include "history/historycontrollers.h"
#include "screens/plancontrollers.h"
#include "screens/selectplancontroller.h"
#include "services/usagemonitor.h"
#include "testsupport.h"

#include <QtTest>

namespace {

const QDateTime ever(QDate(2000, 1, 1), QTime(), Qt::UTC), never(QDate(2100, 1, 1), QTime(), Qt::UTC);

struct Plans
{
    Plans() : shared(container.open()), monitor(*shared)
    {
        monitor.plans().setUpNewInstall();
        first = shared->activePlanID();
        QVariantMap plan = monitor.plans().makeNewPlan();
        second = plan.value(Keys::PREF_PLAN_ID).toString();
        monitor.plans().addPlan(plan);
    }
    ~Plans()
    {
        // Work the monitor queued on the store must not outlive it.
        if (auto context = shared->activeStore())
            context->performAndWait([] {});
    }

    double cellIn(const QString &plan)
    {
        auto context = monitor.plans().storeForPlan(plan);
        return onQueue(*context, [&] { return context->sum(ever, never)->cellIn; });
    }

    TestContainer container;
    std::unique_ptr<SharedCode> shared;
    UsageMonitor monitor;
    QString first, second;
};

} // namespace

class TestPlanManagement : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { qputenv("TZ", "UTC"); }

    void planList()
    {
        Plans p;
        p.shared->setForPlan(p.first, Keys::PREF_PLAN_LABEL, QStringLiteral("b"));
        p.shared->setForPlan(p.second, Keys::PREF_PLAN_LABEL, QStringLiteral("A"));
        for (const char *label : {"a10", "a9"}) {
            QVariantMap plan = p.monitor.plans().makeNewPlan();
            plan.insert(Keys::PREF_PLAN_LABEL, QString::fromLatin1(label));
            p.monitor.plans().addPlan(plan);
        }
        SelectPlanController list(p.monitor);
        QCOMPARE(list.labels(), (QStringList{"A", "a9", "a10", "b"}));
        QCOMPARE(list.checkedRow(), 3);
        QSignalSpy back(&list, &SelectPlanController::goBack),
            switched(&list, &SelectPlanController::switched);
        list.tapRow(3); // the active plan: back, with no switch
        QCOMPARE(back.size(), 1);
        list.tapRow(0);
        QTRY_COMPARE(switched.size(), 1);
        QCOMPARE((std::pair{p.shared->activePlanID(), list.checkedRow()}), (std::pair{p.second, 0}));
        int done = 0; // a switch to the active plan is done at once
        p.monitor.plans().switchPlan(p.second, [&] { ++done; }); // active since the tap
        QCOMPARE(done, 1);
    }

    void planScreen_data()
    {
        QTest::addColumn<int>("type");
        QTest::addColumn<QStringList>("titles");
        QTest::addColumn<QString>("startDate");
        QTest::addColumn<Navigator::Screen>("picker");
        const QStringList all{"Label", "Plan Type", "Start Date", "Data Cap"};
        QTest::newRow("monthly") << 0 << all << "1st" << Navigator::BillDay;
        QTest::newRow("weekly") << 2 << all << "Monday" << Navigator::Weekday;
        QTest::newRow("30 days") << 1 << all << "Feb 9" << Navigator::StartDate;
        QTest::newRow("daily") << 4 << QStringList{"Label", "Plan Type", "Data Cap"} << ""
                               << Navigator::NoScreen;
    }

    void planScreen()
    {
        QFETCH(int, type);
        QFETCH(QStringList, titles);
        QFETCH(QString, startDate);
        QFETCH(Navigator::Screen, picker);
        Plans p;
        const QVariantMap before = p.shared->userPref().dictionaryForKey(Keys::PREF_ALL_PLANS);
        { // a new plan is kept only when not cancelled
            PlanController fresh(p.monitor);
            QCOMPARE((std::pair{fresh.title(), fresh.sectionCount()}),
                     (std::pair{QStringLiteral("New Plan"), 1}));
            QCOMPARE(p.shared->userPref().dictionaryForKey(Keys::PREF_ALL_PLANS).size(), 3);
            fresh.cancel();
        }
        QCOMPARE(p.shared->userPref().dictionaryForKey(Keys::PREF_ALL_PLANS), before);

        p.shared->setForPlan(p.second, Keys::PREF_BILLTYPE, type);
        p.shared->setForPlan(p.second, Keys::PREF_NDAYS_N, 1);
        p.shared->setForPlan(p.second, Keys::PREF_30DAY_START, QDateTime(QDate(2026, 2, 9), QTime()));
        p.shared->userPref().setValue(Keys::PREF_WEEK_START, 2);
        PlanController screen(p.monitor, p.second);
        QStringList got;
        for (const SettingsRow &r : screen.rows(0))
            got.append(r.title);
        QCOMPARE(got, titles);
        QCOMPARE(screen.rows(0).last().detail, QStringLiteral("2 GB"));
        if (!startDate.isEmpty())
            QCOMPARE(screen.rows(0).at(2), (SettingsRow{"Start Date", startDate, picker}));

        // Usage History asks whoever presents screens for the plan's day screen.
        QSignalSpy history(&p.monitor.plans(), &PlanService::historyRequested);
        screen.selectRow(1, 2);
        QCOMPARE(history.size(), 1);
        QCOMPARE(history[0][0].toString(), p.second);
        QCOMPARE(history[0][1].value<QObject *>(), &screen);

        // The active plan is never deleted; another one goes (its store file: test_cli).
        PlanController active(p.monitor, p.first);
        QVERIFY(!active.canDelete());
        active.confirmDelete();
        p.monitor.plans().removePlan(p.first);
        QVERIFY(screen.canDelete());
        QCOMPARE(screen.deleteQuestion().actions.first(), (AlertAction{"Delete", AlertAction::Destructive}));
        QSignalSpy back(&screen, &PlanController::goBack);
        screen.confirmDelete();
        QCOMPARE(back.size(), 1);
        QCOMPARE(p.shared->userPref().dictionaryForKey(Keys::PREF_ALL_PLANS).keys(), QStringList{p.first});
    }

    // What is typed in the add-usage field, as the field shows it, whether it can be added (and is,
    // floored to the byte, now and with no place), and what setup would add for the same text; a
    // reset of the period then takes the current period's usage only.
    void amountEntry_data()
    {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QString>("field");
        QTest::addColumn<bool>("enabled");
        QTest::addColumn<double>("bytes");
        const auto row = [](const char *name, const QString &typed, const QString &field, bool on,
                            double bytes) { QTest::newRow(name) << typed << field << on << bytes; };
        row("decimal comma", "1,5", "1.5", true, 1572864.0);
        row("second point ignored", "2.5.9", "2.5.9", true, 2621440.0);
        row("letters", "12 MB", "12...", true, 12582912.0);
        row("smallest", "0.001", "0.001", true, 1048.0);
        row("below the smallest", "0.0009", "0.0009", false, 943.0);
        row("empty", "", "", false, 0.0);
        row("infinite", QString(400, QLatin1Char('9')), QString(400, QLatin1Char('9')), false, 0.0);
    }

    void amountEntry()
    {
        QFETCH(QString, typed);
        QFETCH(QString, field);
        QFETCH(bool, enabled);
        QFETCH(double, bytes);
        Plans p; // now: 10 March 2026 14:25, a monthly period from the 1st
        auto context = p.shared->activeStore();
        onQueue(*context, [&] {
            context->insertEvent(Event{QDateTime(QDate(2026, 2, 27), QTime()), 7}); // the period before
            context->save();
            return p.monitor.figures().readCurrentValues(context.get());
        });
        AddController add(p.monitor);
        add.setText(typed);
        QCOMPARE(add.text(), field);
        QCOMPARE(add.buttonEnabled(), enabled);
        AddExistingController existing;
        existing.setText(typed);
        QCOMPARE(existing.bytes(), bytes);
        QCOMPARE(add.add().has_value(), enabled);
        QSignalSpy closed(&add, &AddController::done);
        add.confirm();
        QCOMPARE(closed.size(), int(enabled));
        QCOMPARE(p.cellIn(p.first), 7 + (enabled ? bytes : 0.0));
        const QList<Event> added =
            onQueue(*context, [&] { return context->events(p.container.clock.now(), never); });
        QCOMPARE(added.size(), int(enabled)); // now, with no place
        QVERIFY(added.isEmpty() || added[0].latitude == kUnknownCoordinate);
        p.monitor.plans().resetCurrentPeriod(); // the current period's usage goes, the earlier stays
        QCOMPARE(p.cellIn(p.first), 7.0);
    }
};

QTEST_GUILESS_MAIN(TestPlanManagement)
#include "tst_planmanagement.moc"
