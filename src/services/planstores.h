#pragma once

#include <QString>

#include <memory>

class SharedCode;
class StoreContext;

// What the history screens and the day's pages need of the application: the shared helpers and a
// plan's store context (the active plan's shared one; another plan's kept for the screens).
class PlanStores
{
public:
    virtual ~PlanStores() = default;
    virtual SharedCode &shared() const = 0;
    virtual std::shared_ptr<StoreContext> storeForPlan(const QString &plan) = 0;
};
