#include "core/propertylist.h"
#include "core/settingskeys.h"
#include "services/usagemonitor.h"
#include "testsupport.h"

#include <QtTest>

class TestPlanSettings : public QObject
{
    Q_OBJECT

    static void writeDomain(const QString &container, const QVariantMap &values)
    {
        QFile f(container + QStringLiteral("/group.zr.qxnext.plist"));
        QVERIFY(f.open(QIODevice::WriteOnly));
        f.write(PropertyList::toXml(values));
    }

private slots:
    void initTestCase() { qputenv("TZ", "UTC"); }

    void planScopedReadAndWrite()
    {
        TestContainer c;
        auto shared = c.open();
        QVERIFY(shared->processPlanID(QString()).isNull());
        QVERIFY(shared->getForPlan(QString(), Keys::PREF_BILLDAY).isNull());
        shared->setForPlan(QStringLiteral("NEW"), Keys::PREF_BILLDAY, 12);
        QCOMPARE(
            shared->userPref().dictionaryForKey(Keys::PREF_ALL_PLANS).value(QStringLiteral("NEW")).toMap(),
            (QVariantMap{{Keys::PREF_BILLDAY, 12}}));
        shared->userPref().setValue(Keys::PREF_ACTIVE_PLAN, QStringLiteral("NEW"));
        QCOMPARE(shared->integerForPlan(QString(), Keys::PREF_BILLDAY), 12);
        QVERIFY(shared->getForPlan(QStringLiteral("OTHER"), Keys::PREF_BILLDAY).isNull());
        shared->setForPlan(QString(), Keys::PREF_BILLDAY, QVariant());
        QVERIFY(shared->getForPlan(QString(), Keys::PREF_BILLDAY).isNull());
    }

    void newInstallDefaultsAndStores()
    {
        TestContainer c;
        auto shared = c.open();
        UsageMonitor monitor(*shared);
        monitor.plans().setUpNewInstall();
        const QString id = shared->activePlanID();
        QCOMPARE(id.size(), 36);
        QCOMPARE(id, id.toUpper());
        QCOMPARE(shared->getForPlan(QString(), Keys::PREF_PLAN_LABEL).toString(), QStringLiteral("Default"));
        QCOMPARE(shared->getForPlan(QString(), Keys::PREF_PLAN_DBNAME).toString(),
                 id + QStringLiteral(".sqlite"));
        QCOMPARE(shared->doubleForPlan(QString(), Keys::PREF_THRES_MONTHLY), 2147483648.0);
        QCOMPARE(shared->userPref().doubleForKey(Keys::PREF_ALERT3), 90.0);
        monitor.plans().setUpNewInstall(); // once there is an active plan: nothing
        QCOMPARE(shared->userPref().dictionaryForKey(Keys::PREF_ALL_PLANS).size(), 1);
        QCOMPARE(monitor.plans().makeNewPlan().value(Keys::PREF_PLAN_LABEL).toString(),
                 QStringLiteral("Plan"));

        // Store contexts are cached per plan; the active one is the shared one.
        QVariantMap other = monitor.plans().makeNewPlan();
        monitor.plans().addPlan(other);
        const QString active = shared->activePlanID(), otherId = other.value(Keys::PREF_PLAN_ID).toString();
        QVERIFY(!shared->makeStoreForPlan(QString()));
        QVERIFY(!monitor.plans().storeForPlan(QString()));
        auto a = shared->activeStore();
        QCOMPARE(a->name(), active);
        QCOMPARE(shared->activeStore(), a);
        QCOMPARE(monitor.plans().storeForPlan(active), a);
        auto o = monitor.plans().storeForPlan(otherId);
        QCOMPARE(o->name(), otherId);
        QCOMPARE(o->path(), c.dir.filePath(otherId + QStringLiteral(".sqlite")));
        QCOMPARE(monitor.plans().storeForPlan(otherId), o);
        shared->userPref().setValue(Keys::PREF_ACTIVE_PLAN, otherId);
        QCOMPARE(shared->activeStore()->name(), otherId);
        QVERIFY(shared->activeStore() != o); // the active context is the shared one, not the cache
    }

    void migration_data()
    {
        QTest::addColumn<QVariantMap>("old");
        QTest::addColumn<bool>("migrates");
        const QDateTime anchor(QDate(2025, 5, 3), QTime());
        QTest::newRow("single-plan layout")
            << QVariantMap{{Keys::PREF_BILLDAY, 15},        {Keys::PREF_BILLTYPE, 4},
                           {Keys::PREF_NDAYS_N, 10},        {Keys::PREF_30DAY_START, anchor},
                           {Keys::PREF_THRES_MONTHLY, 5e9}, {Keys::PREF_ROLLOVER_ON, true},
                           {Keys::PREF_TRACK_TETHER, true}}
            << true;
        QTest::newRow("no bill day: nothing to migrate") << QVariantMap{{Keys::PREF_BILLTYPE, 4}} << false;
        QTest::newRow("plans already there")
            << QVariantMap{{Keys::PREF_BILLDAY, 15}, {Keys::PREF_ALL_PLANS, QVariantMap()}} << false;
    }

    void migration()
    {
        QFETCH(QVariantMap, old);
        QFETCH(bool, migrates);
        TestContainer c;
        writeDomain(c.dir.path(), old);
        {
            auto shared = c.open();
            QVERIFY(shared->userPref().boolForKey(Keys::PREF_PLAN_MIGRATE_CHECK));
            QCOMPARE(!shared->activePlanID().isNull(), migrates);
            if (migrates) {
                QCOMPARE(shared->getForPlan(QString(), Keys::PREF_PLAN_DBNAME).toString(),
                         QStringLiteral("QXNData7.sqlite"));
                QCOMPARE(shared->getForPlan(QString(), Keys::PREF_PLAN_LABEL).toString(),
                         QStringLiteral("Default"));
                QCOMPARE(shared->getForPlan(QString(), Keys::PREF_PLAN_ID).toString(),
                         shared->activePlanID());
                for (const Keys::Key &k :
                     {Keys::PREF_BILLDAY, Keys::PREF_BILLTYPE, Keys::PREF_NDAYS_N, Keys::PREF_30DAY_START,
                      Keys::PREF_THRES_MONTHLY, Keys::PREF_ROLLOVER_ON, Keys::PREF_TRACK_TETHER})
                    QCOMPARE(shared->getForPlan(QString(), k), old.value(k));
                QVERIFY(!shared->getForPlan(QString(), Keys::PREF_DATA_DISPLAY_CAP).isValid());
                QCOMPARE(shared->userPref().integerForKey(Keys::PREF_BILLDAY), 15); // left in place
            }
        }
        // A later start never migrates again, even once the old keys would qualify.
        SettingsDomain d(c.dir.filePath(QStringLiteral("group.zr.qxnext.plist")));
        d.setValue(Keys::PREF_BILLDAY, 3);
        d.removeValue(Keys::PREF_ALL_PLANS);
        d.removeValue(Keys::PREF_ACTIVE_PLAN);
        QVERIFY(d.synchronize());
        auto again = c.open();
        QVERIFY(again->activePlanID().isNull());
    }
};

QTEST_GUILESS_MAIN(TestPlanSettings)
#include "tst_plansettings.moc"
