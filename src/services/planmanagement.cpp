// Plans: creating, switching and removing them, and the two corrections of the current period.
#include "core/dispatchqueue.h"
#include "core/settingskeys.h"
#include "core/storecontext.h"
#include "location.h"
#include "logging.h"
#include "planservice.h"
#include "usagefigures.h"

#include <QFile>
#include <QMetaMethod>

PlanService::PlanService(SharedCode &shared, const LocationTracker &location, const UsageFigures &figures,
                         QObject *parent)
    : QObject(parent), m_shared(shared), m_location(location), m_figures(figures)
{}

void PlanService::removePlan(const QString &plan)
{
    if (plan.isEmpty() || plan == m_shared.activePlanID())
        return;
    // The plan leaves the settings first, in the file: no process goes on using (or making again)
    // the store of a plan that is gone. Its store goes only when that is written.
    SettingsDomain &pref = m_shared.userPref();
    const QString store = m_shared.sqliteURLForPlan(plan);
    QVariantMap plans = pref.dictionaryForKey(Keys::PREF_ALL_PLANS);
    plans.remove(plan);
    pref.setValue(Keys::PREF_ALL_PLANS, plans);
    if (!pref.synchronize()) {
        qCWarning(lcApp, "plan %s not removed from the settings: %s", qPrintable(plan),
                  qPrintable(pref.lastError()));
        return;
    }
    if (!store.endsWith(QLatin1Char('/')))
        for (const QString &suffix : {QString(), QStringLiteral("-wal"), QStringLiteral("-shm")})
            QFile::remove(store + suffix);
}

void PlanService::switchPlan(const QString &plan, std::function<void()> done)
{
    if (plan == m_shared.activePlanID()) {
        if (done)
            done();
        return;
    }
    const auto makeActive = [this, plan, done = std::move(done)] {
        m_shared.userPref().setValue(Keys::PREF_ACTIVE_PLAN, plan);
        m_shared.userPref().synchronize();
        dropOtherPlanStore();
        emit activePlanChanged();
        if (done)
            done();
    };
    const std::shared_ptr<StoreContext> context = m_shared.activeStore();
    if (!context) {
        makeActive();
        return;
    }
    // The traffic up to the switch belongs to the plan that was active.
    const Coordinate loc = m_location.currentCoordinate();
    StoreContext *c = context.get();
    m_work.onStore(*c, [this, c, loc, makeActive] {
        m_shared.sampleUsage(c, loc);
        m_work.onMain(makeActive);
    });
}

void PlanService::resetCurrentPeriod()
{
    const std::shared_ptr<StoreContext> context = m_shared.activeStore();
    if (!context)
        return;
    const CurrentValues v = m_figures.values();
    const QDateTime start = v.monthStartDate, end = v.monthEndDate;
    StoreContext *c = context.get();
    c->perform([c, start, end] {
        c->deleteEvents(start, end);
        c->save();
    });
}

void PlanService::addUsageToCurrent(double bytes)
{
    const std::shared_ptr<StoreContext> context = m_shared.activeStore();
    if (!(bytes > 0) || !context)
        return;
    StoreContext *c = context.get();
    const Event event{m_shared.clock().now(), bytes, 0, 0, 0, kUnknownCoordinate, kUnknownCoordinate};
    c->perform([c, event] {
        c->insertEvent(event);
        c->save();
    });
}

void PlanService::showHistoryForPlan(const QString &plan, QObject *presenter, bool animated)
{
    if (!isSignalConnected(QMetaMethod::fromSignal(&PlanService::historyRequested))) {
        qCWarning(lcApp) << "no screen can show the history of plan" << plan;
        return;
    }
    emit historyRequested(plan, presenter, animated);
}

void PlanService::setUpNewInstall()
{
    if (!m_shared.activePlanID().isNull())
        return;
    // Decided with the file locked: processes starting at once on a new installation make one
    // first plan between them, not one each.
    SettingsDomain &pref = m_shared.userPref();
    pref.transaction([&] {
        if (!m_shared.activePlanID().isNull())
            return;
        QVariantMap plan = makeNewPlan();
        plan.insert(Keys::PREF_PLAN_LABEL, QStringLiteral("Default"));
        addPlan(plan);
        pref.setValue(Keys::PREF_ACTIVE_PLAN, plan.value(Keys::PREF_PLAN_ID));
        pref.setValue(Keys::PREF_ALERT1, 50.0);
        pref.setValue(Keys::PREF_ALERT2, 70.0);
        pref.setValue(Keys::PREF_ALERT3, 90.0);
        pref.setValue(Keys::PREF_ALERT4, 100.0);
    });
}

QVariantMap PlanService::makeNewPlan() const
{
    const QString id = SharedCode::newPlanIdentifier();
    return QVariantMap{
        {Keys::PREF_PLAN_ID, id},
        {Keys::PREF_PLAN_DBNAME, id + QStringLiteral(".sqlite")},
        {Keys::PREF_PLAN_LABEL, QStringLiteral("Plan")},
        {Keys::PREF_BILLTYPE, qint64(0)},
        {Keys::PREF_BILLDAY, qint64(1)},
        {Keys::PREF_THRES_MONTHLY, 2147483648.0},
        {Keys::PREF_DATA_DISPLAY_CAP, QVariantList{QStringLiteral("2"), qint64(1)}},
    };
}

void PlanService::addPlan(const QVariantMap &plan)
{
    SettingsDomain &pref = m_shared.userPref();
    QVariantMap plans = pref.dictionaryForKey(Keys::PREF_ALL_PLANS);
    plans.insert(plan.value(Keys::PREF_PLAN_ID).toString(), plan);
    pref.setValue(Keys::PREF_ALL_PLANS, plans);
}

std::shared_ptr<StoreContext> PlanService::storeForPlan(const QString &plan)
{
    if (plan.isEmpty())
        return nullptr;
    if (plan == m_shared.activePlanID())
        return m_shared.activeStore();
    if (m_otherPlanStore && m_otherPlanStore->name() == plan)
        return m_otherPlanStore;
    m_otherPlanStore = m_shared.makeStoreForPlan(plan);
    return m_otherPlanStore;
}
