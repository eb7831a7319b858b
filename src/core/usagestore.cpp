#include "usagestore.h"

#include "privatefiles.h"

#include "logging.h"
#include "usagestoresql.h"

#include <QElapsedTimer>
#include <QFile>
#include <QMutex>
#include <QThread>

#include <algorithm>
#include <cmath>
#include <fcntl.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

using namespace StoreSql;

namespace {

QMutex g_failureMutex;
QString g_failure;

} // namespace

QString UsageStore::takeFailure()
{
    QMutexLocker locker(&g_failureMutex);
    return std::exchange(g_failure, QString());
}

void UsageStore::noteFailure(const char *doing, const QString &why)
{
    const QString line = QStringLiteral("cannot %1 the usage store %2: %3")
                             .arg(QLatin1String(doing), QString::fromUtf8(sqlite3_db_filename(m_db, "main")),
                                  why.isEmpty() ? lastError() : why);
    QMutexLocker locker(&g_failureMutex);
    if (g_failure.isEmpty())
        g_failure = line;
}

sqlite3_stmt *UsageStore::statement(int slot, const char *sql)
{
    if (!m_statements[slot] && sqlite3_prepare_v3(m_db, sql, -1, SQLITE_PREPARE_PERSISTENT,
                                                  &m_statements[slot], nullptr) != SQLITE_OK) {
        qCWarning(lcCore, "cannot prepare store query: %s", sqlite3_errmsg(m_db));
        return nullptr;
    }
    return m_statements[slot];
}

std::optional<UsageSums> UsageStore::sum(const QDateTime &start, const QDateTime &end)
{
    const double from = toSeconds(start), to = toSeconds(end);
    const double wholeFrom = hourAfter(from), wholeTo = hourOf(to);
    // One statement per part: the records before the first whole hour, the totals of the whole
    // hours and days, the records after the last.
    const auto part = [this](int slot, const char *sql,
                             std::initializer_list<double> bounds) -> std::optional<UsageSums> {
        sqlite3_stmt *s = statement(slot, sql);
        Reset reset{s};
        if (!s)
            return std::nullopt;
        int i = 0;
        for (double bound : bounds)
            sqlite3_bind_double(s, ++i, bound);
        if (sqlite3_step(s) != SQLITE_ROW) {
            qCInfo(lcCore, "usage sum failed: %s", sqlite3_errmsg(m_db));
            if (slot != RollupSumSlot) // a failure of the totals is answered from the records
                noteFailure("read");
            return std::nullopt;
        }
        return sumsAt(s, 0);
    };
    const auto records = [&](double a, double b) {
        return part(SumSlot,
                    "SELECT total(cellIn), total(cellOut), total(wifiIn), total(wifiOut) "
                    "FROM Event WHERE timeStamp >= ?1 AND timeStamp < ?2",
                    {a, b});
    };
    if (!(wholeFrom < wholeTo))
        return records(from, to);
    ReadTransaction snapshot(this);
    // The whole hours before the first whole UTC day, the whole days, the whole hours after them.
    const double firstDay = dayAfter(wholeFrom), lastDay = dayOf(wholeTo);
    const bool days = firstDay < lastDay;
    std::optional<UsageSums> sums = part(
        RollupSumSlot,
        "SELECT total(cellIn), total(cellOut), total(wifiIn), total(wifiOut) FROM ("
        "SELECT cellIn, cellOut, wifiIn, wifiOut FROM EventHour WHERE hour >= ?1 AND hour < ?2 UNION ALL "
        "SELECT cellIn, cellOut, wifiIn, wifiOut FROM EventDay WHERE day >= ?2 AND day < ?3 UNION ALL "
        "SELECT cellIn, cellOut, wifiIn, wifiOut FROM EventHour WHERE hour >= ?3 AND hour < ?4)",
        {wholeFrom, days ? firstDay : wholeTo, days ? lastDay : wholeTo, wholeTo});
    if (!sums && isDamaged()) {
        noteDamage(true); // built again when the snapshot ends; this answer comes from the records
        return records(from, to);
    }
    const std::optional<UsageSums> head = records(from, wholeFrom), tail = records(wholeTo, to);
    if (!sums || !head || !tail)
        return std::nullopt;
    // Whole numbers below 2^53 add up exactly in any order: the same answer as one sum of records.
    *sums += *head;
    *sums += *tail;
    return sums;
}

std::optional<QList<HourTotal>> UsageStore::hourTotals(const QDateTime &start, const QDateTime &end)
{
    sqlite3_stmt *s =
        statement(HourTotalsSlot, "SELECT hour, records, cellIn, cellOut, wifiIn, wifiOut "
                                  "FROM EventHour WHERE hour >= ?1 AND hour < ?2 ORDER BY hour");
    Reset reset{s};
    QList<HourTotal> rows;
    if (!s)
        return std::nullopt;
    bindRange(s, start, end);
    int rc;
    while ((rc = sqlite3_step(s)) == SQLITE_ROW)
        rows.append(
            HourTotal{fromSeconds(sqlite3_column_double(s, 0)), sqlite3_column_int64(s, 1), sumsAt(s, 2)});
    if (rc != SQLITE_DONE) {
        qCInfo(lcCore, "hourly totals failed: %s", sqlite3_errmsg(m_db));
        noteDamage(true);
        return std::nullopt;
    }
    return rows;
}

std::optional<double> UsageStore::sumNetBytes(const QDateTime &start, const QDateTime &end)
{
    sqlite3_stmt *s =
        statement(NetSumSlot, "SELECT total(bytes) FROM Netevent WHERE timeStamp >= ?1 AND timeStamp < ?2");
    Reset reset{s};
    if (!s)
        return std::nullopt;
    bindRange(s, start, end);
    if (sqlite3_step(s) != SQLITE_ROW) {
        noteFailure("read");
        return std::nullopt;
    }
    return sqlite3_column_double(s, 0);
}

QList<HourSums> UsageStore::hourlySums(const QDateTime &start, const QDateTime &end)
{
    sqlite3_stmt *s = statement(
        HourlySlot, "SELECT timeStamp, total(cellIn), total(cellOut), total(wifiIn), total(wifiOut) "
                    "FROM Event WHERE timeStamp >= ?1 AND timeStamp < ?2 "
                    "GROUP BY timeStamp ORDER BY timeStamp");
    Reset reset{s};
    QList<HourSums> rows;
    if (!s)
        return rows;
    bindRange(s, start, end);
    int rc;
    while ((rc = sqlite3_step(s)) == SQLITE_ROW)
        rows.append(HourSums{fromSeconds(sqlite3_column_double(s, 0)), sumsAt(s, 1)});
    if (rc != SQLITE_DONE) {
        qCInfo(lcCore, "hourly sums failed: %s", sqlite3_errmsg(m_db));
        noteFailure("read");
        return {};
    }
    return rows;
}

QList<PlaceSums> UsageStore::placeSums(const QDateTime &start, const QDateTime &end)
{
    sqlite3_stmt *s = statement(
        PlaceSlot, "SELECT timeStamp, latitude, longitude, total(cellIn), total(cellOut), total(wifiIn), "
                   "total(wifiOut) FROM Event WHERE timeStamp >= ?1 AND timeStamp < ?2 "
                   "AND latitude != ?3 AND longitude != ?3 "
                   "GROUP BY timeStamp, latitude, longitude ORDER BY timeStamp, latitude, longitude");
    Reset reset{s};
    QList<PlaceSums> rows;
    if (!s)
        return rows;
    bindRange(s, start, end);
    sqlite3_bind_double(s, 3, kUnknownCoordinate);
    int rc;
    while ((rc = sqlite3_step(s)) == SQLITE_ROW)
        rows.append(PlaceSums{fromSeconds(sqlite3_column_double(s, 0)), sqlite3_column_double(s, 1),
                              sqlite3_column_double(s, 2), sumsAt(s, 3)});
    if (rc != SQLITE_DONE) {
        qCInfo(lcCore, "located sums failed: %s", sqlite3_errmsg(m_db));
        noteFailure("read");
        return {};
    }
    return rows;
}

QList<Netevent> UsageStore::addressSums(const QDateTime &start, const QDateTime &end)
{
    sqlite3_stmt *s = statement(AddressSlot, "SELECT timeStamp, ipaddress, total(bytes) FROM Netevent "
                                             "WHERE timeStamp >= ?1 AND timeStamp < ?2 "
                                             "GROUP BY timeStamp, ipaddress ORDER BY timeStamp, ipaddress");
    Reset reset{s};
    QList<Netevent> rows;
    if (!s)
        return rows;
    bindRange(s, start, end);
    int rc;
    while ((rc = sqlite3_step(s)) == SQLITE_ROW)
        rows.append(Netevent{fromSeconds(sqlite3_column_double(s, 0)),
                             QString::fromUtf8(reinterpret_cast<const char *>(sqlite3_column_text(s, 1))),
                             sqlite3_column_double(s, 2)});
    if (rc != SQLITE_DONE) {
        qCInfo(lcCore, "per-address sums failed: %s", sqlite3_errmsg(m_db));
        noteFailure("read");
        return {};
    }
    return rows;
}

QList<Event> UsageStore::events(const QDateTime &start, const QDateTime &end)
{
    sqlite3_stmt *s =
        statement(EventsSlot, "SELECT timeStamp, cellIn, cellOut, wifiIn, wifiOut, latitude, longitude "
                              "FROM Event WHERE timeStamp >= ?1 AND timeStamp < ?2 ORDER BY timeStamp, id");
    Reset reset{s};
    QList<Event> rows;
    if (!s)
        return rows;
    bindRange(s, start, end);
    int rc;
    while ((rc = sqlite3_step(s)) == SQLITE_ROW) {
        const UsageSums u = sumsAt(s, 1);
        rows.append(Event{fromSeconds(sqlite3_column_double(s, 0)), u.cellIn, u.cellOut, u.wifiIn, u.wifiOut,
                          sqlite3_column_double(s, 5), sqlite3_column_double(s, 6)});
    }
    if (rc != SQLITE_DONE) {
        qCInfo(lcCore, "event fetch failed: %s", sqlite3_errmsg(m_db));
        noteFailure("read");
        return {};
    }
    return rows;
}

bool UsageStore::forEachEvent(const QDateTime &start, const QDateTime &end,
                              const std::function<bool(double, const double (&)[4])> &visit)
{
    sqlite3_stmt *s = statement(StreamSlot, "SELECT timeStamp, cellIn, cellOut, wifiIn, wifiOut FROM Event "
                                            "WHERE timeStamp >= ?1 AND timeStamp < ?2");
    Reset reset{s};
    if (!s)
        return false;
    bindRange(s, start, end);
    int rc;
    while ((rc = sqlite3_step(s)) == SQLITE_ROW) {
        const double counters[4] = {sqlite3_column_double(s, 1), sqlite3_column_double(s, 2),
                                    sqlite3_column_double(s, 3), sqlite3_column_double(s, 4)};
        if (!visit(sqlite3_column_double(s, 0), counters))
            return true;
    }
    if (rc != SQLITE_DONE)
        noteFailure("read");
    return rc == SQLITE_DONE;
}

void UsageStore::setMemoryMapLimit(qint64 bytes)
{
    const QByteArray sql = "PRAGMA mmap_size=" + QByteArray::number(bytes);
    exec(sql.constData(), nullptr);
}

std::optional<TimeStampRange> UsageStore::timeStampRange()
{
    // Two subqueries: each is answered from one end of the index; min and max in one query scan it.
    sqlite3_stmt *s =
        statement(RangeSlot, "SELECT (SELECT min(timeStamp) FROM Event), (SELECT max(timeStamp) FROM Event)");
    Reset reset{s};
    if (!s)
        return std::nullopt;
    if (sqlite3_step(s) != SQLITE_ROW) {
        noteFailure("read");
        return std::nullopt;
    }
    if (sqlite3_column_type(s, 0) == SQLITE_NULL)
        return std::nullopt;
    return TimeStampRange{fromSeconds(sqlite3_column_double(s, 0)), fromSeconds(sqlite3_column_double(s, 1))};
}

bool UsageStore::apply(const QList<Change> &changes, QString *error)
{
    if (!control(BeginImmediateSlot, "BEGIN IMMEDIATE", error))
        return false;
    for (const Change &change : changes) {
        if (!applyOne(change)) {
            const QString why = lastError();
            if (error)
                *error = why;
            const bool damaged = isDamaged();
            control(RollbackSlot, "ROLLBACK", nullptr);
            // A damaged page of the hourly totals is built again from the records, and the changes
            // tried once more; records that cannot be written stay an error.
            if (damaged && !m_totalsRebuilt && rebuildTotals())
                return apply(changes, error);
            noteFailure("write", why);
            return false;
        }
    }
    return control(CommitSlot, "COMMIT", error) || (control(RollbackSlot, "ROLLBACK", nullptr), false);
}

// One change inside apply's transaction; each record's hour is kept right along with it.
bool UsageStore::applyOne(const Change &change)
{
    const auto step = [](sqlite3_stmt *s) {
        Reset reset{s};
        return s && sqlite3_step(s) == SQLITE_DONE;
    };
    if (const Event *e = std::get_if<Event>(&change)) {
        sqlite3_stmt *s =
            statement(InsertEventSlot, "INSERT INTO Event(timeStamp, cellIn, cellOut, wifiIn, wifiOut, "
                                       "latitude, longitude) VALUES (?1, ?2, ?3, ?4, ?5, ?6, ?7)");
        sqlite3_stmt *hour = statement(
            UpsertHourSlot, "INSERT INTO EventHour(hour, records, cellIn, cellOut, wifiIn, wifiOut) "
                            "VALUES (?1, 1, ?2, ?3, ?4, ?5) ON CONFLICT(hour) DO UPDATE SET "
                            "records = records + 1, cellIn = cellIn + excluded.cellIn, "
                            "cellOut = cellOut + excluded.cellOut, wifiIn = wifiIn + excluded.wifiIn, "
                            "wifiOut = wifiOut + excluded.wifiOut");
        if (!s || !hour)
            return false;
        const double at = toSeconds(e->timeStamp);
        const double values[] = {e->cellIn, e->cellOut, e->wifiIn, e->wifiOut, e->latitude, e->longitude};
        sqlite3_bind_double(s, 1, at);
        sqlite3_bind_double(hour, 1, hourOf(at));
        for (int i = 0; i < 6; ++i)
            sqlite3_bind_double(s, i + 2, values[i]);
        for (int i = 0; i < 4; ++i)
            sqlite3_bind_double(hour, i + 2, values[i]);
        return step(s) && step(hour);
    }
    if (const Netevent *n = std::get_if<Netevent>(&change)) {
        sqlite3_stmt *s =
            statement(InsertNetSlot, "INSERT INTO Netevent(timeStamp, ipaddress, bytes) VALUES (?1, ?2, ?3)");
        if (!s)
            return false;
        const QByteArray ip = n->ipaddress.toUtf8();
        sqlite3_bind_double(s, 1, toSeconds(n->timeStamp));
        sqlite3_bind_text(s, 2, ip.constData(), int(ip.size()), SQLITE_TRANSIENT);
        sqlite3_bind_double(s, 3, n->bytes);
        return step(s);
    }
    const DeleteRange &d = std::get<DeleteRange>(change);
    sqlite3_stmt *s = statement(DeleteSlot, "DELETE FROM Event WHERE timeStamp >= ?1 AND timeStamp < ?2");
    if (!s)
        return false;
    bindRange(s, d.start, d.end);
    // The hours the range touched are summed again from the records left in them.
    return step(s) && rebuildHours(hourOf(toSeconds(d.start)), hourAfter(toSeconds(d.end)));
}
