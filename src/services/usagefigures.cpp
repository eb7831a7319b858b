// The current period's figures of the active plan and what is derived from them.
#include "usagefigures.h"

#include "core/settingskeys.h"
#include "core/storecontext.h"
#include "desktop/widgetstats.h"
#include "plans/billingcycle.h"
#include "plans/colorscheme.h"
#include "plans/datacap.h"

CurrentValues UsageFigures::values() const
{
    QMutexLocker locker(&m_mutex);
    return m_values;
}

void UsageFigures::forgetPeriod()
{
    QMutexLocker locker(&m_mutex);
    m_values.monthStartDate = QDateTime();
    m_values.monthEndDate = QDateTime();
}

SampleResult UsageFigures::lastSample() const
{
    QMutexLocker locker(&m_mutex);
    return m_lastSample;
}

void UsageFigures::setLastSample(const SampleResult &sample)
{
    QMutexLocker locker(&m_mutex);
    m_lastSample = sample;
}

bool UsageFigures::periodEndChanged(const QDateTime &end)
{
    QMutexLocker locker(&m_mutex);
    const bool changed = end.isValid() && end != m_periodEndSeen;
    m_periodEndSeen = end;
    return changed;
}

CurrentValues UsageFigures::readCurrentValues(StoreContext *context, const QString &plan)
{
    // The store, the period and the cap all of the context's plan: when the active plan changed
    // meanwhile, these are not the current figures and are not kept as such.
    const QString id = plan.isNull() ? context->name() : plan;
    const bool active = id == m_shared.activePlanID();
    const Period period = BillingCycle::computeStartEndDates(m_shared, m_shared.clock().now(), id);
    const std::optional<UsageSums> sums = context->sum(period.start, period.end);
    const double cap = DataCap::effectiveDataCap(m_shared, context, id);
    QMutexLocker locker(&m_mutex);
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

CurrentValues UsageFigures::readActivePlanValuesNow()
{
    const std::shared_ptr<StoreContext> context = m_shared.activeStore();
    if (context)
        context->performAndWait([&] { readCurrentValues(context.get()); });
    return values();
}

std::pair<qint64, QString> UsageFigures::timeLeft(const CurrentValues &v, const QString &plan) const
{
    qint64 count;
    if (BillingCycle::isDailyCycleForPlan(m_shared, plan))
        count = 24 - m_shared.clock().now().toLocalTime().time().hour();
    else
        count = BillingCycle::wholeDaysBetween(m_shared.todayAtZeroHour(), v.monthEndDate);
    return {count, BillingCycle::timeUnitSingularOrPlural(m_shared, count, plan)};
}

double UsageFigures::forecastRatio(const CurrentValues &v) const
{
    const double length = double(v.monthStartDate.msecsTo(v.monthEndDate));
    const double left = double(m_shared.clock().now().msecsTo(v.monthEndDate));
    const double timeLeft = length > 0 ? left * 100 / length : 0;
    return DataCap::forecastRatio(timeLeft, 100 - v.monthPercent);
}

QVariantMap UsageFigures::mainScreenRecord() const
{
    const CurrentValues v = values();
    const double ratio = forecastRatio(v);
    return {{WStats::PERCENT, v.monthPercent},
            {WStats::COLOR, ColorScheme::colorForRatio(m_shared, ratio)},
            {WStats::FORECAST, DataCap::forecastText(ratio)},
            {WStats::USED, v.monthCell},
            {WStats::DAYS, timeLeft(v).first}};
}
