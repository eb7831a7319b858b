#include "localtime.h"

#include <QMutex>

#include <cstdlib>
#include <ctime>

namespace LocalTime {

namespace {

constexpr qint64 kHourMs = 3600 * 1000;
constexpr qint64 kDayMs = 24 * kHourMs;

qint64 floorDiv(qint64 a, qint64 b)
{
    return a / b - (a % b != 0 && (a < 0) != (b < 0));
}

// The local wall-clock time of a moment, as ms since the epoch of a UTC clock showing it.
qint64 wallClock(qint64 msecs)
{
    return msecs + qint64(offsetAt(msecs)) * 1000;
}

// The first moment in [low, high] whose wall clock, cut to `unit`, is at least `key`; the wall
// clock must be below it at `low` and at least it at `high`. Clock changes fall on whole seconds.
qint64 firstMomentAtLeast(qint64 low, qint64 high, qint64 key, qint64 unit)
{
    qint64 lo = floorDiv(low, 1000), hi = floorDiv(high + 999, 1000);
    while (hi - lo > 1) {
        const qint64 mid = lo + (hi - lo) / 2;
        if (floorDiv(wallClock(mid * 1000), unit) >= key)
            hi = mid;
        else
            lo = mid;
    }
    return hi * 1000;
}

} // namespace

void refresh()
{
    // With TZ unset the C library looks at the zone file again at every tzset() (a stat each
    // time: hundreds for one answer over months of days). A changed TZ is read at once, the
    // system's zone file at most once a second.
    static QMutex mutex;
    static QByteArray lastTz;
    static bool hadTz = false;
    static qint64 lastRead = 0;
    timespec now{};
    ::clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
    const qint64 ms = qint64(now.tv_sec) * 1000 + now.tv_nsec / 1000000;
    const char *tz = std::getenv("TZ");
    QMutexLocker locker(&mutex);
    if (lastRead != 0 && ms - lastRead < 1000 && hadTz == (tz != nullptr) && (!tz || lastTz == tz))
        return;
    ::tzset();
    lastRead = ms;
    hadTz = tz != nullptr;
    lastTz = tz ? QByteArray(tz) : QByteArray();
}

void readSystemZoneOnce()
{
    // The same file the C library reads with TZ unset, and Qt's system zone takes it as unset.
    ::setenv("TZ", ":/etc/localtime", 0);
}

int offsetAt(qint64 msecs)
{
    const time_t t = time_t(floorDiv(msecs, 1000));
    struct tm local = {};
    if (!::localtime_r(&t, &local))
        return 0;
    return int(local.tm_gmtoff);
}

QDateTime dayStart(const QDate &day)
{
    refresh();
    const qint64 key = day.toJulianDay() - QDate(1970, 1, 1).toJulianDay();
    const qint64 midnight = key * kDayMs; // the day's midnight on a UTC clock
    // Nearly always: midnight at the offset in force then, with the moment before it on the day before.
    const qint64 guess = midnight - qint64(offsetAt(midnight - qint64(offsetAt(midnight)) * 1000)) * 1000;
    if (wallClock(guess) == midnight && floorDiv(wallClock(guess - 1), kDayMs) < key)
        return QDateTime::fromMSecsSinceEpoch(guess);
    // Offsets lie within a day of UTC.
    return QDateTime::fromMSecsSinceEpoch(
        firstMomentAtLeast(midnight - kDayMs, midnight + kDayMs, key, kDayMs));
}

QDateTime midnightOf(const QDateTime &date)
{
    refresh();
    return dayStart(QDate::fromJulianDay(floorDiv(wallClock(date.toMSecsSinceEpoch()), kDayMs) +
                                         QDate(1970, 1, 1).toJulianDay()));
}

QDateTime hourStart(const QDateTime &date)
{
    refresh();
    const qint64 ms = date.toMSecsSinceEpoch();
    const qint64 wall = wallClock(ms);
    const qint64 key = floorDiv(wall, kHourMs);
    const qint64 cut = ms - (wall - key * kHourMs);
    if (floorDiv(wallClock(cut), kHourMs) == key)
        return QDateTime::fromMSecsSinceEpoch(cut);
    // The cut went back across a gap the clocks skipped: the hour began where the gap ended.
    return QDateTime::fromMSecsSinceEpoch(firstMomentAtLeast(cut, ms, key, kHourMs));
}

} // namespace LocalTime
