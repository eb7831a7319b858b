#include "app/datausageappdelegate.h"
#include "app/selectplancontroller.h"
#include "core/settingskeys.h"
#include "testsupport.h"

#include <QtTest>

namespace {

QDateTime ever()
{
    return QDateTime(QDate(2000, 1, 1), QTime());
}
QDateTime never()
{
    return QDateTime(QDate(2100, 1, 1), QTime());
}

struct Plans
{
    Plans() : shared(container.open()), delegate(*shared)
    {
        delegate.setupUserDefaultsForNewInstall();
        first = shared->activePlanID();
        QVariantMap plan = delegate.makeNewPlan();
        second = plan.value(Keys::PREF_PLAN_ID).toString();
        delegate.addAPlan(plan);
    }

    double cellIn(const QString &plan)
    {
        auto context = delegate.mocForPlan(plan);
        return onQueue(*context, [&] { return context->sum(ever(), never())->cellIn; });
    }

    TestContainer container;
    std::unique_ptr<SharedCode> shared;
    DataUsageAppDelegate delegate;
    QString first, second;
};

} // namespace

class TestPlanManagement : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { qputenv("TZ", "UTC"); }

    void removing()
    {
        Plans p;
        p.cellIn(p.second); // creates its store file
        const QString file = p.shared->sqliteURLForPlan(p.second);
        QVERIFY(QFile::exists(file));
        p.delegate.removeAPlan(p.first); // the active plan: refused
        QCOMPARE(p.shared->userPref().dictionaryForKey(Keys::PREF_ALL_PLANS).size(), 2);
        p.delegate.removeAPlan(p.second);
        QVERIFY(!QFile::exists(file));
        QCOMPARE(p.shared->userPref().dictionaryForKey(Keys::PREF_ALL_PLANS).keys(), QStringList{p.first});
    }

    // Traffic up to the switch is charged to the plan that was active; afterwards to the new one.
    void switching()
    {
        Plans p;
        auto sample = [&](double in) {
            p.container.interfaces.counters = QList<LinkCounters>{{QStringLiteral("pdp_ip0"), in, 0}};
            auto context = p.shared->mocForActive();
            onQueue(*context, [&] { return p.shared->saveUsageGasp(context.get(), {}); });
        };
        sample(1000);
        sample(1500);
        p.container.interfaces.counters = QList<LinkCounters>{{QStringLiteral("pdp_ip0"), 1800, 0}};
        bool done = false;
        p.delegate.switchPlan(p.second, [&] { done = true; });
        QTRY_VERIFY(done);
        QCOMPARE(p.shared->activePlanID(), p.second);
        sample(2000);
        QCOMPARE(p.cellIn(p.first), 800.0);
        QCOMPARE(p.cellIn(p.second), 200.0);
        bool again = false;
        p.delegate.switchPlan(p.second, [&] { again = true; }); // already active: nothing to do
        QVERIFY(again);
    }

    void planList()
    {
        Plans p;
        p.shared->setForPlan(p.first, Keys::PREF_PLAN_LABEL, QStringLiteral("b"));
        p.shared->setForPlan(p.second, Keys::PREF_PLAN_LABEL, QStringLiteral("A"));
        for (const char *label : {"a10", "a9"}) {
            QVariantMap plan = p.delegate.makeNewPlan();
            plan.insert(Keys::PREF_PLAN_LABEL, QString::fromLatin1(label));
            p.delegate.addAPlan(plan);
        }
        SelectPlanController list(p.delegate);
        QCOMPARE(list.labels(), (QStringList{"A", "a9", "a10", "b"}));
        QCOMPARE(list.checkedRow(), 3);
        QSignalSpy back(&list, &SelectPlanController::goBack),
            switched(&list, &SelectPlanController::switched);
        list.tapRow(3);
        QCOMPARE(back.size(), 1);
        list.tapRow(0);
        QTRY_COMPARE(switched.size(), 1);
        QCOMPARE(p.shared->activePlanID(), p.second);
        QCOMPARE(list.checkedRow(), 0);
    }

    void correctingTheCurrentPeriod()
    {
        Plans p; // now: 10 March 2026 14:25, a monthly period from the 1st
        auto context = p.shared->mocForActive();
        onQueue(*context, [&] {
            context->insertEvent(Event{QDateTime(QDate(2026, 2, 27), QTime()), 7});
            context->insertEvent(Event{QDateTime(QDate(2026, 3, 2), QTime()), 9});
            context->save();
            return p.delegate.readCurrentValues(context.get());
        });
        p.delegate.addUsageToCurrent(0);
        p.delegate.addUsageToCurrent(-5);
        p.delegate.addUsageToCurrent(100);
        const QList<Event> added =
            onQueue(*context, [&] { return context->events(p.container.clock.now(), never()); });
        QCOMPARE(added.size(), 1);
        QCOMPARE(added[0].cellIn, 100.0);
        QCOMPARE(added[0].latitude, kUnknownCoordinate);
        p.delegate.resetCurrent();
        QCOMPARE(p.cellIn(p.first), 7.0); // earlier periods stay
    }
};

QTEST_GUILESS_MAIN(TestPlanManagement)
#include "tst_planmanagement.moc"
