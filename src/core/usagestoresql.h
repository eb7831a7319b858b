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
    SlotCount
};
static_assert(SlotCount <= 16, "one prepared statement each");

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
