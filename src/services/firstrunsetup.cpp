#include "firstrunsetup.h"

#include "core/settingskeys.h"
#include "core/storecontext.h"
#include "usagemonitor.h"

namespace FirstRunSetup {

void resetWithExistingUsage(UsageMonitor &delegate, double existingBytes)
{
    const std::shared_ptr<StoreContext> context = delegate.shared().activeStore();
    if (!context)
        return;
    StoreContext *c = context.get();
    // The period as the settings now have it: the reset deletes exactly that period's usage.
    delegate.figures().readActivePlanValuesNow();
    delegate.plans().resetCurrentPeriod();
    if (existingBytes > 0)
        delegate.plans().addUsageToCurrent(existingBytes);
    c->performAndWait([&] { delegate.computeCurrentValues(c); });
}

bool markShown(UsageMonitor &delegate, QString *error)
{
    SettingsDomain &pref = delegate.shared().userPref();
    pref.setValue(Keys::PREF_SHOWED_SETUP, true);
    if (pref.synchronize())
        return true;
    if (error)
        *error = pref.lastError();
    return false;
}

} // namespace FirstRunSetup
