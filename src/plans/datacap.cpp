// The data cap with rollover, the forecast and the number texts.
#include "datacap.h"
#include "billingcycle.h"
#include "core/settingskeys.h"
#include "core/sharedcode.h"
#include "logging.h"

#include <QCoreApplication>

#include <cmath>

namespace {
constexpr double kMB = 1048576.0;
} // namespace

double DataCap::baseDataCapForPlan(const SharedCode &shared, const QString &plan)
{
    return shared.doubleForPlan(plan, Keys::PREF_THRES_MONTHLY);
}

bool DataCap::isRolloverForPlan(const SharedCode &shared, const QString &plan)
{
    return shared.boolForPlan(plan, Keys::PREF_ROLLOVER_ON);
}

double DataCap::effectiveDataCap(SharedCode &shared, StoreContext *context, const QString &plan)
{
    const double base = baseDataCapForPlan(shared, plan);
    if (!isRolloverForPlan(shared, plan))
        return base;
    if (!context)
        return base + shared.doubleForPlan(plan, Keys::PREF_ROLLOVER_AMOUNT);
    const QVariant ts = shared.getForPlan(plan, Keys::PREF_ROLLOVER_TIMESTAMP);
    const Period current = BillingCycle::computeStartEndDates(shared, shared.clock().now(), plan);
    if (ts.typeId() == QMetaType::QDateTime && current.contains(ts.toDateTime()))
        return base + shared.doubleForPlan(plan, Keys::PREF_ROLLOVER_AMOUNT);
    initRollover(shared, context, plan);
    return base + shared.doubleForPlan(plan, Keys::PREF_ROLLOVER_AMOUNT);
}

void DataCap::initRollover(SharedCode &shared, StoreContext *context, const QString &plan)
{
    const QDateTime now = shared.clock().now();
    const QDateTime start = BillingCycle::computeStartEndDates(shared, now, plan).start;
    const Period previous = BillingCycle::computeStartEndDates(
        shared, BillingCycle::dateByAddingUnit(CalendarUnit::Day, -1, start), plan);
    double used = 0;
    if (context) {
        if (const std::optional<UsageSums> sums = context->sum(previous.start, previous.end))
            used = sums->cellIn + sums->cellOut;
    }
    const double left = std::max(baseDataCapForPlan(shared, plan) - used, 0.0) + 0.0; // + 0.0 turns -0 into 0
    const double mb = std::floor(left / kMB);
    const bool inGB = mb > 10000;
    shared.setForPlan(plan, Keys::PREF_ROLLOVER_TIMESTAMP, now);
    shared.setForPlan(plan, Keys::PREF_ROLLOVER_AMOUNT, mb * kMB);
    shared.setForPlan(plan, Keys::PREF_ROLLOVER_DISPLAY,
                      QVariantList{stringTwoDecimal(inGB ? mb / 1024 : mb), qint64(inGB ? 1 : 0)});
    qCDebug(lcPlans, "rollover of %s recomputed: %.0f MB left of the previous period", qPrintable(plan), mb);
}

double DataCap::forecastRatio(double timeLeft, double dataLeft)
{
    if (dataLeft <= 0)
        return 1.0;
    const double s = timeLeft - dataLeft;
    if (s <= 0)
        return 0.0;
    if (timeLeft == 0)
        return 1.0;
    return s / timeLeft;
}

QString DataCap::forecastText(double q)
{
    if (std::isnan(q) || q <= 0)
        return QStringLiteral("safe");
    if (q >= 1)
        return QStringLiteral("over");
    return q < 0.5 ? QStringLiteral("caution") : QStringLiteral("danger");
}

QString DataCap::forecastIconCode(const QString &text)
{
    if (text == QLatin1StringView("caution"))
        return QStringLiteral("2");
    if (text == QLatin1StringView("danger"))
        return QStringLiteral("3");
    if (text == QLatin1StringView("over"))
        return QStringLiteral("4");
    return QStringLiteral("1");
}

QString DataCap::stringTwoDecimal(double x)
{
    if (std::isnan(x))
        return QStringLiteral("NaN");
    if (std::isinf(x))
        return x > 0 ? QStringLiteral("+Infinity") : QStringLiteral("-Infinity");
    // Three fraction digits at most, ties to even, as a decimal formatter rounds.
    const double rounded = std::fabs(x) < 1e15 ? std::nearbyint(x * 1000) / 1000 : std::nearbyint(x);
    QString text = QString::number(rounded + 0.0, 'f', 3);
    while (text.endsWith(QLatin1Char('0')))
        text.chop(1);
    if (text.endsWith(QLatin1Char('.')))
        text.chop(1);
    return text == QLatin1StringView("-0") ? QStringLiteral("0") : text;
}

qint64 DataCap::roundedPercent(double percent)
{
    const double r = std::nearbyint(percent);
    return std::isfinite(r) ? qint64(r) : 0;
}
