// The current period's figures of the active plan.
#include "core/dispatchqueue.h"
#include "core/settingskeys.h"
#include "datausageappdelegate.h"
#include "desktop/widgetstats.h"
#include "plans/billingcycle.h"
#include "plans/colorscheme.h"
#include "plans/datacap.h"

#include <cmath>

CurrentValues DataUsageAppDelegate::values() const
{
    QMutexLocker locker(&m_valuesMutex);
    return m_values;
}

void DataUsageAppDelegate::computeCurrentValues(StoreContext *context)
{
    computeCurrentValues(context, false);
}

void DataUsageAppDelegate::computeCurrentValues(StoreContext *context, bool inBackground)
{
    readCurrentValues(context);
    postNewValues();
    m_alerts.computeThresholdLevel(values().monthPercent);
    if (!inBackground) {
        m_alerts.scheduleEndBillAlert(values().monthEndDate);
    } else if (m_schedulesRemindersInBackground) {
        const QDateTime end = values().monthEndDate;
        QMutexLocker locker(&m_valuesMutex);
        const bool due = end.isValid() && end != m_remindersScheduledFor;
        m_remindersScheduledFor = end;
        locker.unlock();
        if (due)
            m_alerts.scheduleEndBillAlert(end);
    }
    showBadge();
}

CurrentValues DataUsageAppDelegate::readCurrentValues(StoreContext *context, const QString &plan)
{
    // The store, the period and the cap all of the context's plan: when the active plan changed
    // meanwhile, these are not the current figures and are not kept as such.
    const QString id = plan.isNull() ? context->name() : plan;
    const bool active = id == m_shared.activePlanID();
    const Period period = BillingCycle::computeStartEndDates(m_shared, m_shared.clock().now(), id);
    const std::optional<UsageSums> sums = context->sum(period.start, period.end);
    const double cap = DataCap::effectiveDataCap(m_shared, context, id);
    QMutexLocker locker(&m_valuesMutex);
    CurrentValues v = active ? m_values : CurrentValues();
    v.monthStartDate = period.start;
    v.monthEndDate = period.end;
    // A failed read keeps the previous figures rather than showing no usage.
    if (sums) {
        v.monthCellIn = sums->cellIn;
        v.monthCellOut = sums->cellOut;
        v.monthCell = sums->cellOut + sums->cellIn;
        v.monthWifiIn = sums->wifiIn;
        v.monthWifiOut = sums->wifiOut;
        v.monthWifi = sums->wifiIn + sums->wifiOut;
    }
    v.monthPercent = cap > 0 ? v.monthCell * 100 / cap : 0;
    if (active)
        m_values = v;
    return v;
}

CurrentValues DataUsageAppDelegate::readActivePlanValuesNow()
{
    const std::shared_ptr<StoreContext> context = m_shared.activeStore();
    if (context)
        context->performAndWait([&] { readCurrentValues(context.get()); });
    return values();
}

void DataUsageAppDelegate::doComputeValuesOnly()
{
    const std::shared_ptr<StoreContext> context = m_shared.activeStore();
    if (!context)
        return;
    StoreContext *c = context.get();
    m_work.onStore(*context, [this, c] { computeCurrentValues(c); });
}

void DataUsageAppDelegate::postNewValues()
{
    m_work.onMain([this] {
        if (m_root) {
            m_root->reloadValues(); // the main screen refreshes the widget and the watch
            return;
        }
        // No main screen in this process: do what it would after reloading its values.
        refreshWidget();
        m_watch.sendContext(mainScreenRecord());
    });
}

qint64 DataUsageAppDelegate::badgeNumber()
{
    if (!m_alerts.isPushOn() || !m_shared.userPref().boolForKey(Keys::PREF_V7_BADGE))
        return 0;
    return roundedPercent(values().monthPercent);
}

void DataUsageAppDelegate::showBadge()
{
    m_work.onMain([this] {
        if (m_services.badge)
            m_services.badge->setBadgeNumber(badgeNumber());
    });
}

void DataUsageAppDelegate::refreshWidget()
{
    WidgetHelper::reload();
}

std::pair<qint64, QString> DataUsageAppDelegate::timeLeft(const CurrentValues &v, const QString &plan) const
{
    qint64 count;
    if (BillingCycle::isDailyCycleForPlan(m_shared, plan))
        count = 24 - m_shared.clock().now().toLocalTime().time().hour();
    else
        count = BillingCycle::wholeDaysBetween(m_shared.todayAtZeroHour(), v.monthEndDate);
    return {count, BillingCycle::timeUnitSingularOrPlural(m_shared, count, plan)};
}

double DataUsageAppDelegate::forecastRatio(const CurrentValues &v) const
{
    const double length = double(v.monthStartDate.msecsTo(v.monthEndDate));
    const double left = double(m_shared.clock().now().msecsTo(v.monthEndDate));
    const double timeLeft = length > 0 ? left * 100 / length : 0;
    return DataCap::forecastRatio(timeLeft, 100 - v.monthPercent);
}

QVariantMap DataUsageAppDelegate::mainScreenRecord() const
{
    const CurrentValues v = values();
    const double ratio = forecastRatio(v);
    return {{WStats::PERCENT, v.monthPercent},
            {WStats::COLOR, ColorScheme::colorForRatio(m_shared, ratio)},
            {WStats::FORECAST, DataCap::forecastText(ratio)},
            {WStats::USED, v.monthCell},
            {WStats::DAYS, timeLeft(v).first}};
}
