#include "localtime.h"

namespace LocalTime {

// Qt names the first moment of a day: where clocks go back across midnight (01:00 to 00:00), the
// first of its two 00:00s (checked for America/Havana and Atlantic/Azores).
QDateTime dayStart(const QDate &day)
{
    return day.startOfDay();
}

QDateTime midnightOf(const QDateTime &date)
{
    return dayStart(date.toLocalTime().date());
}

QDateTime hourStart(const QDateTime &date)
{
    const QDateTime local = date.toLocalTime();
    const QTime t = local.time();
    return local.addMSecs(-qint64(t.minute() * 60000 + t.second() * 1000 + t.msec()));
}

} // namespace LocalTime
