#include "firstrunsetup.h"

#include "core/settingskeys.h"
#include "core/storecontext.h"
#include "usagemonitor.h"

namespace FirstRunSetup {

void resetWithExistingUsage(UsageMonitor &monitor, double existingBytes)
{
    const std::shared_ptr<StoreContext> context = monitor.shared().activeStore();
    if (!context)
        return;
    StoreContext *c = context.get();
    // The period as the settings now have it: the reset deletes exactly that period's usage.
    monitor.figures().readActivePlanValuesNow();
    monitor.plans().resetCurrentPeriod();
    if (existingBytes > 0)
        monitor.plans().addUsageToCurrent(existingBytes);
    c->performAndWait([&] { monitor.computeCurrentValues(c); });
}

bool markShown(UsageMonitor &monitor, QString *error)
{
    SettingsDomain &pref = monitor.shared().userPref();
    pref.setValue(Keys::PREF_SHOWED_SETUP, true);
    if (pref.synchronize())
        return true;
    if (error)
        *error = pref.lastError();
    return false;
}

} // namespace FirstRunSetup
