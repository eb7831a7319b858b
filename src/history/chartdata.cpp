#include "chartdata.h"
#include "core/localtime.h"

#include "core/sharedcode.h"
#include "core/storecontext.h"
#include "plans/billingcycle.h"

#include <QHash>

#include <algorithm>
#include <optional>

QString ChartData::description() const
{
    return QString::asprintf("c:%.1f w:%.1f", sumCell, sumWifi);
}

namespace History {

ChartRanges findRanges(const ChartBuckets &buckets)
{
    ChartRanges r;
    for (const ChartData &d : buckets) {
        r.cellMaximum = std::max(r.cellMaximum, d.sumCell);
        r.wifiMaximum = std::max(r.wifiMaximum, d.sumWifi);
        if (d.sumCell > kTrickleBytes)
            r.cellNonZeroMinimum = std::min(r.cellNonZeroMinimum, d.sumCell);
        if (d.sumWifi > kTrickleBytes)
            r.wifiNonZeroMinimum = std::min(r.wifiNonZeroMinimum, d.sumWifi);
    }
    return r;
}

double widthPercent(double v, double min, double max)
{
    if (min > max)
        return -1;
    if (min == max)
        return v < min ? -1 : 0.8;
    return v < min ? -1 : (v - min) / (max - min);
}

RowLayout rowLayout(double w, double p, double q)
{
    const double c = w / 2;
    const double pp = std::max(p, 0.0), qq = std::max(q, 0.0);
    RowLayout l;
    l.cellAmountX = (c - 100) + pp * (106 - c);
    l.wifiAmountX = (c + 32) + qq * (w - 74 - (c + 32));
    l.cellBarWidth = p < 0 ? 0 : 15 + pp * (c - 51);
    l.cellBarX = (c - 26) - l.cellBarWidth;
    l.wifiBarX = c + 26;
    l.wifiBarWidth = q < 0 ? 0 : 15 + qq * (c - 51);
    return l;
}

namespace {

constexpr qint64 kHourMs = UsageStore::kHour * 1000;
constexpr qint64 kDayMs = 86400000;

// The bucket of a moment: the hour's own start (exact in a repeated hour), or the start of its day.
QDateTime bucketKey(Bucket bucket, const QDateTime &t)
{
    return bucket == Bucket::Hour ? LocalTime::hourStart(t) : LocalTime::midnightOf(t);
}

// Adds the sums to the bucket of `key`.
void addSums(ChartBuckets &buckets, const QDateTime &key, const UsageSums &sums)
{
    ChartData &d = buckets[key];
    d.sumCell += sums.cellIn + sums.cellOut;
    d.sumWifi += sums.wifiIn + sums.wifiOut;
}

// Adds the records of [a, b), hour by hour, to their buckets.
void addRecords(ChartBuckets &buckets, StoreContext &context, Bucket bucket, const QDateTime &a,
                const QDateTime &b)
{
    for (const HourSums &h : context.hourlySums(a, b))
        addSums(buckets, bucketKey(bucket, h.timeStamp), h.sums);
}

// The local time of a UTC moment (ms), with the zone's offset then in *offset.
qint64 localMSecs(qint64 ms, int *offset)
{
    *offset = LocalTime::offsetAt(ms);
    return ms + qint64(*offset) * 1000;
}

// The bucket that holds every moment of a UTC hour; nothing when a local hour or day cuts it.
std::optional<QDateTime> wholeHourBucket(const QDateTime &hour, Bucket bucket,
                                         QHash<qint64, QDateTime> &dayKeys)
{
    const qint64 ms = hour.toMSecsSinceEpoch();
    int offsetFirst = 0, offsetLast = 0;
    const qint64 localFirst = localMSecs(ms, &offsetFirst);
    const qint64 localLast = localMSecs(ms + kHourMs - 1, &offsetLast); // records are kept to the ms
    // One offset across the hour: local time runs on evenly, so one bucket at both ends means
    // one bucket throughout.
    if (offsetFirst != offsetLast)
        return std::nullopt;
    if (bucket == Bucket::Hour) {
        // Whole when the local hour starts with the UTC hour, which is then its own start.
        if (localFirst % kHourMs != 0)
            return std::nullopt;
        return hour;
    }
    const qint64 dayNumber = localFirst / kDayMs;
    if (dayNumber != localLast / kDayMs)
        return std::nullopt;
    auto it = dayKeys.find(dayNumber);
    if (it == dayKeys.end())
        it = dayKeys.insert(dayNumber, bucketKey(bucket, hour));
    return *it;
}

// Adds the hours starting in [first, last): from their totals when one bucket holds the whole
// hour, else from their records.
void addHours(ChartBuckets &buckets, StoreContext &context, Bucket bucket, const QDateTime &first,
              const QDateTime &last)
{
    LocalTime::refresh();             // once for the hundreds of hours below
    QHash<qint64, QDateTime> dayKeys; // local day number → its key, made once per day
    const std::optional<QList<HourTotal>> totals = context.hourTotals(first, last);
    if (!totals) { // the totals cannot be read: the records answer
        addRecords(buckets, context, bucket, first, last);
        return;
    }
    for (const HourTotal &h : *totals) {
        if (const std::optional<QDateTime> key = wholeHourBucket(h.hour, bucket, dayKeys))
            addSums(buckets, *key, h.sums);
        else
            addRecords(buckets, context, bucket, h.hour, h.hour.addMSecs(kHourMs));
    }
}

} // namespace

ChartBuckets bucketSums(StoreContext &context, const QDateTime &start, const QDateTime &end, Bucket bucket)
{
    ChartBuckets buckets;
    // A UTC hour whose every moment falls in one bucket is read from its totals; the hours at the
    // ends of the range and those a local hour or day cuts (zones offset by part of an hour, the
    // hour of a clock change) from their records.
    const qint64 from = start.toMSecsSinceEpoch(), to = end.toMSecsSinceEpoch();
    const QDateTime first = QDateTime::fromMSecsSinceEpoch((from + kHourMs - 1) / kHourMs * kHourMs);
    const QDateTime last = QDateTime::fromMSecsSinceEpoch(to / kHourMs * kHourMs);
    UsageStore::ReadTransaction snapshot(context.store());
    if (from < 0 || !(first < last)) {
        addRecords(buckets, context, bucket, start, end);
        return buckets;
    }
    addRecords(buckets, context, bucket, start, first);
    addHours(buckets, context, bucket, first, last);
    addRecords(buckets, context, bucket, last, end);
    return buckets;
}

std::optional<ChartData> computeUsage(StoreContext &context, const QDateTime &start, const QDateTime &end)
{
    const std::optional<UsageSums> s = context.sum(start, end);
    if (!s)
        return std::nullopt;
    const ChartData d{s->cellIn + s->cellOut, s->wifiIn + s->wifiOut};
    if (!(d.sumCell > 0) && !(d.sumWifi > 0))
        return std::nullopt;
    return d;
}

QList<PeriodRow> periods(SharedCode &shared, StoreContext &context, const QString &plan)
{
    QList<PeriodRow> rows;
    const std::optional<TimeStampRange> range = context.timeStampRange();
    if (!range)
        return rows;
    const int steps = BillingCycle::dataPlanTypeForPlan(shared, plan) == BillingCycle::NDays &&
                              BillingCycle::nForCycleForPlan(shared, plan) < 3
                          ? 30
                          : 12;
    QDateTime d = shared.clock().now();
    UsageStore::ReadTransaction snapshot(context.store());
    for (int i = 0; i < steps; ++i) {
        const Period p = BillingCycle::computeStartEndDates(shared, d, plan);
        if (range->minDate > p.end)
            break;
        d = BillingCycle::dateByAddingUnit(CalendarUnit::Day, -1, p.start);
        if (const std::optional<ChartData> data = computeUsage(context, p.start, p.end))
            rows.append(PeriodRow{p.start, p.end, *data});
    }
    return rows;
}

} // namespace History

QList<QDateTime> HistoryFormat::reverseSortArrayUsingCompare(QList<QDateTime> dates)
{
    std::sort(dates.begin(), dates.end(), std::greater<>());
    return dates;
}
