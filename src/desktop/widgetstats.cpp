#include "widgetstats.h"
#include "plans/colorscheme.h"

#include "core/location.h"
#include "core/privatefiles.h"
#include "core/settingskeys.h"
#include "core/sharedcode.h"
#include "logging.h"
#include "plans/billingcycle.h"
#include "plans/datacap.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonDocument>

#include <atomic>

QVariantMap WidgetStats::computeWidgetStats(SharedCode &shared, StoreContext *context)
{
    const QDateTime now = shared.clock().now();
    const QString plan = context ? context->name() : QString(); // the store's plan, not a newer one
    const Period p = BillingCycle::computeStartEndDates(shared, now, plan);
    const std::optional<UsageSums> sums = context ? context->sum(p.start, p.end) : std::nullopt;
    const double used = sums ? sums->cellIn + sums->cellOut : 0; // Wi-Fi is never counted
    const double cap = DataCap::effectiveDataCap(shared, context, plan);
    const double percent = cap > 0 ? used * 100 / cap : 0;
    const double length = double(p.start.msecsTo(p.end));
    const double timeLeft = length > 0 ? double(now.msecsTo(p.end)) * 100 / length : 0;
    const double ratio = DataCap::forecastRatio(timeLeft, 100 - percent);
    const qint64 days = BillingCycle::isDailyCycleForPlan(shared, plan)
                            ? 24 - now.toLocalTime().time().hour()
                            : BillingCycle::wholeDaysBetween(shared.todayAtZeroHour(), p.end);
    const double left = std::max(cap - used, 0.0) + 0.0; // never a negative zero
    return {{WStats::F_RATIO, ratio},
            {WStats::PERCENT, percent},
            {WStats::USED, used},
            {WStats::LEFT, left},
            {WStats::DAYS, days}};
}

bool WidgetStats::isMapTracking(const SharedCode &shared, LocationService *location)
{
    return shared.userPref().boolForKey(Keys::PREF_V7_GEO) && location &&
           location->authorizationStatus() == LocationService::Authorization::Always;
}

Coordinate WidgetStats::getCurrentCoordinateForWidget(const SharedCode &shared, LocationService *location)
{
    if (!isMapTracking(shared, location))
        return Coordinate();
    return SharedCode::coordinateFromLocationFix(
        location->lastLocation()); // the last fix only; nothing is started
}

int WidgetStats::widgetAppearance(const SharedCode &shared)
{
    return int(shared.userPref().integerForKey(Keys::PREF_THEME_WIDGET_BG));
}

namespace WidgetRecord {

bool isSetUp(const SharedCode &shared)
{
    return shared.userPref().boolForKey(Keys::PREF_SHOWED_SETUP);
}

QVariantMap notSetUp(const QDateTime &now)
{
    return {{WStats::NOT_SETUP, true}, {WStats::TIMESTAMP, now}};
}

QVariantMap fromStats(const SharedCode &shared, const QVariantMap &stats, const QDateTime &now)
{
    const double ratio = stats.value(WStats::F_RATIO).toDouble();
    const qint64 days = stats.value(WStats::DAYS).toLongLong();
    return {{WStats::TIMESTAMP, now},
            {WStats::COLOR, ColorScheme::colorForRatio(shared, ratio)},
            {WStats::FORECAST, DataCap::forecastText(ratio)},
            {WStats::PERCENT, stats.value(WStats::PERCENT)},
            {WStats::USED, stats.value(WStats::USED)},
            {WStats::LEFT, stats.value(WStats::LEFT)},
            {WStats::DAYS, days},
            {WStats::TIMEUNIT, BillingCycle::timeUnitSingularOrPlural(shared, days, QString())}};
}

QString isoText(const QDateTime &date)
{
    const QDateTime d = date.toLocalTime();
    return d.toOffsetFromUtc(d.offsetFromUtc()).toString(Qt::ISODate);
}

QVariantMap withDatesAsText(const QVariantMap &record)
{
    QVariantMap out = record;
    for (auto it = out.begin(); it != out.end(); ++it)
        if (it->typeId() == QMetaType::QDateTime)
            *it = isoText(it->toDateTime());
    return out;
}

QJsonObject toJson(const QVariantMap &record)
{
    return QJsonObject::fromVariantMap(withDatesAsText(record));
}

QString recordFilePath()
{
    return PrivateFiles::runtimeFolder() + QStringLiteral("/widget.json"); // how much data the user used
}

bool writeRecordFile(const QVariantMap &record, const QString &path)
{
    QString error;
    if (PrivateFiles::makePrivateFolder(QFileInfo(path).path(), &error) &&
        PrivateFiles::writeFile(path, QJsonDocument(toJson(record)).toJson(QJsonDocument::Compact) + '\n',
                                &error))
        return true;
    qCWarning(lcSharing, "widget record not written: %s", qPrintable(error));
    return false;
}

} // namespace WidgetRecord

namespace {
std::atomic<WidgetCenter *> g_center{nullptr};
}

void WidgetHelper::reload()
{
    if (WidgetCenter *center = g_center.load())
        center->reloadAllTimelines();
}

void WidgetHelper::setCenter(WidgetCenter *center)
{
    g_center = center;
}

QVariantMap WidgetRecord::current(SharedCode &shared)
{
    if (!isSetUp(shared))
        return notSetUp(shared.clock().now());
    shared.userPref().synchronize(); // another process may have switched plans since the last record
    const std::shared_ptr<StoreContext> context = shared.activeStore();
    if (!context)
        return notSetUp(shared.clock().now());
    QVariantMap record;
    context->performAndWait([&] {
        shared.sampleUsage(context.get(), Coordinate()); // no position: no fix of its own
        record =
            fromStats(shared, WidgetStats::computeWidgetStats(shared, context.get()), shared.clock().now());
    });
    return record;
}
