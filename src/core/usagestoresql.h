#pragma once

// What the usage store's files share: its prepared statements, the hour arithmetic its SQL and its
// C++ agree on, and small helpers over sqlite3 statements. Only usagestore*.cpp include this.
#include "usagestore.h"

#include <cmath>
#include <sqlite3.h>

namespace StoreSql {

enum Slot {
    SumSlot,
    NetSumSlot,
    HourlySlot,
    EventsSlot,
    RangeSlot,
    InsertEventSlot,
    InsertNetSlot,
    DeleteSlot,
    StreamSlot,
    PlaceSlot,
    AddressSlot,
    RollupSumSlot,
    HourTotalsSlot,
    UpsertHourSlot,
    ClearHoursSlot,
    FillHoursSlot,
    BeginSlot,
    BeginImmediateSlot,
    CommitSlot,
    RollbackSlot,
    SlotCount
};
static_assert(SlotCount <= 20, "one prepared statement each");

// The start of a record's UTC hour, in seconds: floor(timeStamp / 3600) * 3600 (CAST cuts towards
// zero, so moments before 1970 step one hour down). The same division as hourOf below.
#define HOUR_OF                                                                                              \
    "((CAST(timeStamp / 3600 AS INTEGER) - (timeStamp < 0 AND timeStamp / 3600 != CAST(timeStamp / 3600 AS " \
    "INTEGER))) * 3600)"

// The hourly totals' table, as the schema makes it and as it is built again from the records.
#define EVENT_HOUR_TABLE                                                                                     \
    "CREATE TABLE EventHour ("                                                                               \
    " hour INTEGER PRIMARY KEY,"                                                                             \
    " records INTEGER NOT NULL,"                                                                             \
    " cellIn REAL NOT NULL, cellOut REAL NOT NULL, wifiIn REAL NOT NULL, wifiOut REAL NOT NULL);"

// The start of the UTC day an hour lies in, for an hour in whole seconds (SQLite's % keeps the
// dividend's sign, so hours before 1970 are brought into [0, 86400) first).
#define DAY_OF(hour) "(" hour " - ((" hour " % 86400) + 86400) % 86400)"

// The daily totals: the sums of each UTC day's hourly totals, kept by triggers on EventHour, so
// every change of an hour (by this program or any other that writes the file) moves its day too.
// A sum over months reads tens of rows instead of hundreds.
#define EVENT_DAY_TABLE                                                                                      \
    "CREATE TABLE EventDay ("                                                                                \
    " day INTEGER PRIMARY KEY,"                                                                              \
    " cellIn REAL NOT NULL, cellOut REAL NOT NULL, wifiIn REAL NOT NULL, wifiOut REAL NOT NULL);"
#define EVENT_DAY_FILL                                                                                       \
    "INSERT INTO EventDay(day, cellIn, cellOut, wifiIn, wifiOut) SELECT " DAY_OF(                            \
        "hour") " AS d, total(cellIn), total(cellOut), total(wifiIn), total(wifiOut) FROM EventHour GROUP "  \
                "BY d;"
#define EVENT_DAY_ADD(row)                                                                                   \
    "INSERT INTO EventDay(day, cellIn, cellOut, wifiIn, wifiOut) VALUES (" DAY_OF(                           \
        row ".hour") ", " row ".cellIn, " row ".cellOut, " row ".wifiIn, " row                               \
                     ".wifiOut) ON CONFLICT(day) DO UPDATE SET "                                             \
                     "cellIn = cellIn + excluded.cellIn, cellOut = cellOut + excluded.cellOut, "             \
                     "wifiIn = wifiIn + excluded.wifiIn, wifiOut = wifiOut + excluded.wifiOut;"
#define EVENT_DAY_SUBTRACT(row)                                                                              \
    "UPDATE EventDay SET cellIn = cellIn - " row ".cellIn, cellOut = cellOut - " row ".cellOut, "            \
    "wifiIn = wifiIn - " row ".wifiIn, wifiOut = wifiOut - " row                                             \
    ".wifiOut WHERE day = " DAY_OF(row ".hour") ";"
#define EVENT_DAY_TRIGGERS                                                                                   \
    "CREATE TRIGGER EventDayAdd AFTER INSERT ON EventHour BEGIN " EVENT_DAY_ADD(                             \
        "new") " END;"                                                                                       \
               "CREATE TRIGGER EventDayChange AFTER UPDATE ON EventHour BEGIN " EVENT_DAY_SUBTRACT("old")    \
                   EVENT_DAY_ADD("new") " END;"                                                              \
                                        "CREATE TRIGGER EventDayRemove AFTER DELETE ON EventHour "           \
                                        "BEGIN " EVENT_DAY_SUBTRACT("old") " END;"
#define DROP_EVENT_DAY_TRIGGERS                                                                              \
    "DROP TRIGGER IF EXISTS EventDayAdd; DROP TRIGGER IF EXISTS EventDayChange;"                             \
    "DROP TRIGGER IF EXISTS EventDayRemove;"

inline constexpr double kDay = 86400;

inline double dayOf(double seconds)
{
    return std::floor(seconds / kDay) * kDay;
}

inline double dayAfter(double seconds)
{
    return std::ceil(seconds / kDay) * kDay;
}

inline double hourOf(double seconds)
{
    return std::floor(seconds / double(UsageStore::kHour)) * double(UsageStore::kHour);
}

inline double hourAfter(double seconds)
{
    return std::ceil(seconds / double(UsageStore::kHour)) * double(UsageStore::kHour);
}

// Resets a statement when the scope ends, so a failed step never leaves it busy.
struct Reset
{
    sqlite3_stmt *s;
    ~Reset()
    {
        if (s) {
            sqlite3_reset(s);
            sqlite3_clear_bindings(s);
        }
    }
};

inline void bindRange(sqlite3_stmt *s, double start, double end)
{
    sqlite3_bind_double(s, 1, start);
    sqlite3_bind_double(s, 2, end);
}

inline void bindRange(sqlite3_stmt *s, const QDateTime &start, const QDateTime &end)
{
    bindRange(s, UsageStore::toSeconds(start), UsageStore::toSeconds(end));
}

inline UsageSums &operator+=(UsageSums &a, const UsageSums &b)
{
    a.cellIn += b.cellIn;
    a.cellOut += b.cellOut;
    a.wifiIn += b.wifiIn;
    a.wifiOut += b.wifiOut;
    return a;
}

inline bool operator==(const UsageSums &a, const UsageSums &b)
{
    return a.cellIn == b.cellIn && a.cellOut == b.cellOut && a.wifiIn == b.wifiIn && a.wifiOut == b.wifiOut;
}

inline UsageSums sumsAt(sqlite3_stmt *s, int first)
{
    return UsageSums{sqlite3_column_double(s, first), sqlite3_column_double(s, first + 1),
                     sqlite3_column_double(s, first + 2), sqlite3_column_double(s, first + 3)};
}

} // namespace StoreSql
