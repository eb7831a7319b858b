#pragma once

#include <QDateTime>

// Days and hours in the local time zone. The zone is the C library's, so every form of TZ it
// accepts (a zone name, ":name", a path to a zone file, a POSIX rule) counts the same everywhere.
namespace LocalTime {

// Reads the zone again (TZ or the system's zone may have changed since).
void refresh();
// For a process that lives for moments: the system's zone is read once. With TZ unset the C library
// looks at /etc/localtime again at every local-time conversion Qt makes (150 for one history of
// periods); a process that runs for months leaves TZ unset and follows a change of zone. A TZ of
// the user's own is kept. Call before a second thread starts.
void readSystemZoneOnce();
// The local time's offset from UTC, in seconds, at a moment (ms since the epoch).
int offsetAt(qint64 msecs);

// The first moment of a local day: its first midnight where midnight happens twice; the first
// moment after the gap where clocks skip midnight; for a day the clocks skip altogether, the
// start of the next day that exists (the skipped day lasts no time at all).
QDateTime dayStart(const QDate &day);
// The first moment of the local day of a moment.
QDateTime midnightOf(const QDateTime &date);
// The start of the local hour of a moment: the local minutes and seconds cut off the instant itself,
// exact in the repeated hour of a daylight-saving fall-back and in zones offset by part of an hour;
// where the clocks skip into the hour (a 30-minute change), the first moment after the gap.
QDateTime hourStart(const QDateTime &date);

} // namespace LocalTime
