#pragma once

#include "core/sharedcode.h"

#include <QVariantMap>

#include <memory>

// The application's delegate: owns what lives for the whole process beside the shared logic.
class DataUsageAppDelegate
{
public:
    explicit DataUsageAppDelegate(SharedCode &shared);

    SharedCode &shared() const { return m_shared; }

    // First-install defaults: a "Default" plan made active and the four alert thresholds. Does
    // nothing once there is an active plan.
    void setupUserDefaultsForNewInstall();

    // A new plan dictionary with the defaults; not stored.
    QVariantMap makeNewPlan() const;
    // Stores the plan under its PREF_PLAN_ID.
    void addAPlan(const QVariantMap &plan);

    // The active plan's context, or the cached context of one other plan.
    std::shared_ptr<StoreContext> mocForPlan(const QString &plan);
    std::shared_ptr<StoreContext> tempMOC() const { return m_tempMOC; }
    void dropTempMOC() { m_tempMOC.reset(); }

    static QString applicationLibraryDirectory();

private:
    SharedCode &m_shared;
    std::shared_ptr<StoreContext> m_tempMOC;
};
