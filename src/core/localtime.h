#pragma once

#include <QDateTime>

// Days and hours in the local time zone (TZ honoured).
namespace LocalTime {

// The first moment of a local day; where 00:00 happens twice, the first.
QDateTime dayStart(const QDate &day);
// The first moment of the local day of a moment.
QDateTime midnightOf(const QDateTime &date);
// The start of the local hour of a moment: the local minutes and seconds cut off the instant itself,
// exact in the repeated hour of a daylight-saving fall-back and in zones offset by part of an hour.
QDateTime hourStart(const QDateTime &date);

} // namespace LocalTime
