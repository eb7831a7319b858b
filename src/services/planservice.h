#pragma once

#include "planstores.h"
#include "queuedwork.h"

#include <QDateTime>
#include <QObject>
#include <QVariantMap>

#include <functional>

class LocationTracker;
class UsageFigures;

// The plans: the first one of a new installation, adding, switching and removing plans, the two
// corrections of the current period, and the stores of plans other than the active one.
class PlanService : public QObject, public PlanStores
{
    Q_OBJECT
public:
    PlanService(SharedCode &shared, const LocationTracker &location, const UsageFigures &figures,
                QObject *parent = nullptr);

    SharedCode &shared() const override { return m_shared; }
    // The active plan's shared store context, or (kept until dropped) another plan's.
    std::shared_ptr<StoreContext> storeForPlan(const QString &plan) override;
    std::shared_ptr<StoreContext> otherPlanStore() const { return m_otherPlanStore; }
    void dropOtherPlanStore() { m_otherPlanStore.reset(); }

    // First-install defaults: a "Default" plan made active and the four alert thresholds. Does
    // nothing once there is an active plan.
    void setUpNewInstall();
    QVariantMap makeNewPlan() const;
    void addPlan(const QVariantMap &plan);
    // Never the active plan; the store file goes first, then the settings.
    void removePlan(const QString &plan);
    // A last sample into the active plan, then (on the main queue) the switch; `done` after it.
    void switchPlan(const QString &plan, std::function<void()> done = nullptr);
    // Deletes the active plan's usage of the current period (as last computed).
    void resetCurrentPeriod();
    // A cellular record of that many bytes, stamped now; nothing for 0 or less.
    void addUsageToCurrent(double bytes);
    // Asks whoever shows screens for the plan's day history over the presenter.
    void showHistoryForPlan(const QString &plan, QObject *presenter, bool animated);

signals:
    // Another plan is active now (the figures are to be computed again).
    void activePlanChanged();
    void historyRequested(const QString &plan, QObject *presenter, bool animated);

private:
    SharedCode &m_shared;
    const LocationTracker &m_location;
    const UsageFigures &m_figures;
    std::shared_ptr<StoreContext> m_otherPlanStore;
    QueuedWork m_work; // last: ends before the members its blocks use
};
