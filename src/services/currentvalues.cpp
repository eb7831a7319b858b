// The figures computed again after a sample and handed to everyone who shows them.
#include "core/dispatchqueue.h"
#include "core/settingskeys.h"
#include "desktop/widgetstats.h"
#include "plans/billingcycle.h"
#include "plans/colorscheme.h"
#include "plans/datacap.h"
#include "usagefigures.h"
#include "usagemonitor.h"

#include <cmath>

void UsageMonitor::computeCurrentValues(StoreContext *context, bool inBackground)
{
    m_figures.readCurrentValues(context);
    postNewValues();
    m_alerts.computeThresholdLevel(m_figures.values().monthPercent);
    if (!inBackground) {
        m_alerts.scheduleEndBillAlert(m_figures.values().monthEndDate);
    } else if (m_schedulesRemindersInBackground) {
        const QDateTime end = m_figures.values().monthEndDate;
        if (m_figures.periodEndChanged(end))
            m_alerts.scheduleEndBillAlert(end);
    }
    showBadge();
}

void UsageMonitor::doComputeValuesOnly()
{
    const std::shared_ptr<StoreContext> context = m_shared.activeStore();
    if (!context)
        return;
    StoreContext *c = context.get();
    m_work.onStore(*context, [this, c] { computeCurrentValues(c); });
}

void UsageMonitor::postNewValues()
{
    m_work.onMain([this] {
        if (m_root) {
            m_root->reloadValues(); // the main screen refreshes the widget and the watch
            return;
        }
        // No main screen in this process: do what it would after reloading its values.
        refreshWidget();
        m_watch.sendContext(m_figures.mainScreenRecord());
    });
}

qint64 UsageMonitor::badgeNumber()
{
    if (!m_alerts.isPushOn() || !m_shared.userPref().boolForKey(Keys::PREF_V7_BADGE))
        return 0;
    return DataCap::roundedPercent(m_figures.values().monthPercent);
}

void UsageMonitor::showBadge()
{
    m_work.onMain([this] {
        if (m_services.badge)
            m_services.badge->setBadgeNumber(badgeNumber());
    });
}

void UsageMonitor::refreshWidget()
{
    WidgetHelper::reload();
}
