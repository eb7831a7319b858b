// Plans: creating, switching and removing them, and the two corrections of the current period.
#include "core/dispatchqueue.h"
#include "core/settingskeys.h"
#include "datausageappdelegate.h"
#include "logging.h"

#include <QFile>

void DataUsageAppDelegate::removeAPlan(const QString &plan)
{
    if (plan.isEmpty() || plan == m_shared.activePlanID())
        return;
    removeSQLFileForPlan(plan); // the store first, then the settings
    SettingsDomain &pref = m_shared.userPref();
    QVariantMap plans = pref.dictionaryForKey(Keys::PREF_ALL_PLANS);
    plans.remove(plan);
    pref.setValue(Keys::PREF_ALL_PLANS, plans);
}

void DataUsageAppDelegate::removeSQLFileForPlan(const QString &plan)
{
    QFile::remove(m_shared.sqliteURLForPlan(plan));
}

void DataUsageAppDelegate::switchPlan(const QString &plan, std::function<void()> done)
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
        doComputeValuesOnly();
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

void DataUsageAppDelegate::resetCurrent()
{
    const std::shared_ptr<StoreContext> context = m_shared.activeStore();
    if (!context)
        return;
    const CurrentValues v = values();
    StoreContext *c = context.get();
    c->perform([c, v] {
        c->deleteEvents(v.monthStartDate, v.monthEndDate);
        c->save();
    });
}

void DataUsageAppDelegate::addUsageToCurrent(double bytes)
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

void DataUsageAppDelegate::showHistoryForPlan(const QString &plan, QObject *presenter, bool animated)
{
    if (!presentHistory) {
        qCWarning(lcApp) << "no screen can show the history of plan" << plan;
        return;
    }
    presentHistory(plan, presenter, animated);
}
