// Opening a store: its file, its schema and the migrations between versions, the hourly totals
// built for records kept before them, and the check that finds and repairs damaged totals.
#include "usagestore.h"

#include "privatefiles.h"

#include "logging.h"
#include "usagestoresql.h"

#include <QElapsedTimer>
#include <QFile>
#include <QThread>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <fcntl.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace StoreSql;

namespace {

constexpr int kBusyTimeoutMs = 10000;

// Records are rolled up a month at a time when a store gets its hourly totals.
constexpr double kBuildChunkSeconds = 30.0 * 24 * 3600;

std::function<void(const QString &, double)> g_buildProgress;

// Each entry brings the schema from version (index) to version (index + 1).
const char *const kMigrations[] = {
    "CREATE TABLE Event ("
    " id INTEGER PRIMARY KEY,"
    " timeStamp REAL NOT NULL,"
    " cellIn REAL NOT NULL DEFAULT 0, cellOut REAL NOT NULL DEFAULT 0,"
    " wifiIn REAL NOT NULL DEFAULT 0, wifiOut REAL NOT NULL DEFAULT 0,"
    " latitude REAL NOT NULL DEFAULT -180, longitude REAL NOT NULL DEFAULT -180);"
    // Covers the range sums without touching the table.
    "CREATE INDEX Event_timeStamp ON Event(timeStamp, cellIn, cellOut, wifiIn, wifiOut);"
    "CREATE TABLE Netevent ("
    " id INTEGER PRIMARY KEY,"
    " timeStamp REAL NOT NULL,"
    " ipaddress TEXT NOT NULL,"
    " bytes REAL NOT NULL DEFAULT 0);"
    "CREATE INDEX Netevent_timeStamp ON Netevent(timeStamp, ipaddress, bytes);",

    // The hourly totals; a store with records builds them after the migration, from the first
    // record on (the row in EventHourBuild says how far it got).
    EVENT_HOUR_TABLE "CREATE TABLE EventHourBuild (builtBelow REAL NOT NULL);"
                     "INSERT INTO EventHourBuild SELECT timeStamp FROM Event ORDER BY timeStamp LIMIT 1;",

    // The daily totals, from the hourly ones kept so far; their triggers follow every later change
    // (a build of the hourly totals still going on included).
    EVENT_DAY_TABLE EVENT_DAY_FILL EVENT_DAY_TRIGGERS,
};
static_assert(std::size(kMigrations) == UsageStore::kSchemaVersion);

} // namespace

double UsageStore::toSeconds(const QDateTime &t)
{
    return double(t.toMSecsSinceEpoch()) / 1000.0;
}

QDateTime UsageStore::fromSeconds(double seconds)
{
    return QDateTime::fromMSecsSinceEpoch(std::llround(seconds * 1000.0));
}

UsageStore::UsageStore(sqlite3 *db) : m_db(db) {}

UsageStore::~UsageStore()
{
    for (sqlite3_stmt *s : m_statements)
        sqlite3_finalize(s);
    sqlite3_close_v2(m_db);
}

std::unique_ptr<UsageStore> UsageStore::open(const QString &path, QString *error)
{
    // Usage history is private: the file is made 0600 before SQLite sees it, and SQLite gives its
    // journal files the same mode.
    const QByteArray name = QFile::encodeName(path);
    QString privateError;
    if (const int fd = PrivateFiles::openPrivate(path, O_RDONLY, &privateError); fd >= 0) {
        ::close(fd);
    } else if (errno == ELOOP) {
        if (error)
            *error = privateError;
        return nullptr;
    }
    for (const char *suffix : {"-wal", "-shm"})
        if (struct stat st; ::stat((name + suffix).constData(), &st) == 0 && (st.st_mode & 077) != 0)
            ::chmod((name + suffix).constData(), st.st_mode & 0600);
    sqlite3 *db = nullptr;
    const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_NOFOLLOW;
    const int rc = sqlite3_open_v2(name.constData(), &db, flags, nullptr);
    std::unique_ptr<UsageStore> store(new UsageStore(db));
    if (rc != SQLITE_OK) {
        if (error)
            *error = db ? store->lastError() : QString::fromUtf8(sqlite3_errstr(rc));
        return nullptr;
    }
    sqlite3_extended_result_codes(db, 1);
    // Keep the WAL and shared-memory files when the last connection closes, rather than deleting
    // and creating them again in every short-lived process.
    int persist = 1;
    sqlite3_file_control(db, "main", SQLITE_FCNTL_PERSIST_WAL, &persist);
    sqlite3_busy_timeout(db, kBusyTimeoutMs);
    // Read-only checks first: a file that is not a database, or one from a newer version, is
    // refused before anything (even the journal mode) is written to it.
    if (!store->checkVersion(error) || !store->switchToWal(error) ||
        !store->exec("PRAGMA synchronous=FULL", error) ||
        // With the WAL kept, this truncates it when the last connection closes, so the next
        // process does not have to read a large, already checkpointed log.
        !store->exec("PRAGMA journal_size_limit=4194304", error) ||
        // Pages are read through a memory map: a range sum touches a hundred or more of them.
        !store->exec("PRAGMA mmap_size=1073741824", error) || !store->migrate(error) ||
        !store->finishRollup(path, error))
        return nullptr;
    return store;
}

void UsageStore::setBuildProgress(std::function<void(const QString &, double)> progress)
{
    g_buildProgress = std::move(progress);
}

UsageStore::ReadTransaction::ReadTransaction(UsageStore *store)
{
    if (store && sqlite3_get_autocommit(store->m_db) && store->control(BeginSlot, "BEGIN", nullptr))
        m_store = store;
}

UsageStore::ReadTransaction::~ReadTransaction()
{
    if (m_store && !m_store->control(CommitSlot, "COMMIT", nullptr))
        m_store->control(RollbackSlot, "ROLLBACK", nullptr);
    if (m_store && m_store->m_totalsDamaged)
        m_store->rebuildTotals();
}

void UsageStore::noteDamage(bool totals)
{
    const int code = sqlite3_errcode(m_db) & 0xff;
    if (code == SQLITE_CORRUPT || code == SQLITE_NOTADB)
        m_totalsDamaged = m_totalsDamaged || totals;
}

bool UsageStore::isDamaged() const
{
    const int code = sqlite3_errcode(m_db) & 0xff;
    return code == SQLITE_CORRUPT || code == SQLITE_NOTADB;
}

// The hourly and daily totals are derived from the records: a damaged page of them is not mended
// in place, both tables are made again from the records, once per open. SQLite cannot drop a table whose
// pages it cannot read, so the damaged one is renamed out of the way first, and when it cannot be dropped it
// is taken out of the schema and the file rewritten without it.
bool UsageStore::rebuildTotals()
{
    if (m_totalsRebuilt || !sqlite3_get_autocommit(m_db))
        return false;
    m_totalsRebuilt = true;
    m_totalsDamaged = false;
    const QString path = QString::fromUtf8(sqlite3_db_filename(m_db, "main"));
    QString error;
    forgetTable("EventHourDamaged");
    forgetTable("EventDayDamaged");
    const bool rebuilt =
        exec("BEGIN IMMEDIATE", &error) && exec(DROP_EVENT_DAY_TRIGGERS, &error) &&
        exec("ALTER TABLE EventHour RENAME TO EventHourDamaged", &error) &&
        exec("ALTER TABLE EventDay RENAME TO EventDayDamaged", &error) && exec(EVENT_HOUR_TABLE, &error) &&
        exec("INSERT INTO EventHour(hour, records, cellIn, cellOut, wifiIn, wifiOut) "
             "SELECT " HOUR_OF " AS h, count(*), total(cellIn), total(cellOut), total(wifiIn), "
             "total(wifiOut) FROM Event GROUP BY h",
             &error) &&
        exec(EVENT_DAY_TABLE EVENT_DAY_FILL EVENT_DAY_TRIGGERS, &error) && exec("COMMIT", &error);
    if (!rebuilt) {
        exec("ROLLBACK", nullptr);
        qCInfo(lcCore, "the hourly totals of %s are damaged and cannot be built again from the records: %s",
               qPrintable(path), qPrintable(error));
        return false;
    }
    forgetTable("EventHourDamaged");
    forgetTable("EventDayDamaged");
    qCWarning(lcCore, "the hourly totals of %s were damaged; built again from the records", qPrintable(path));
    return true;
}

void UsageStore::forgetTable(const char *name)
{
    const QByteArray drop = QByteArray("DROP TABLE IF EXISTS ") + name;
    if (exec(drop.constData(), nullptr))
        return;
    sqlite3_stmt *s = nullptr;
    int version = 0;
    if (sqlite3_prepare_v2(m_db, "PRAGMA schema_version", -1, &s, nullptr) == SQLITE_OK &&
        sqlite3_step(s) == SQLITE_ROW)
        version = sqlite3_column_int(s, 0);
    sqlite3_finalize(s);
    const QByteArray forget =
        QByteArray("BEGIN IMMEDIATE; PRAGMA writable_schema=ON; DELETE FROM sqlite_schema "
                   "WHERE type = 'table' AND name = '") +
        name + "'; PRAGMA schema_version=" + QByteArray::number(version + 1) +
        "; PRAGMA writable_schema=OFF; COMMIT;";
    QString error;
    if (!exec(forget.constData(), &error)) {
        exec("ROLLBACK", nullptr);
        qCWarning(lcCore, "cannot take the damaged table %s out of the store: %s", name, qPrintable(error));
        return;
    }
    // Its pages belong to no table now: rewriting the file gives them back.
    if (!exec("VACUUM", &error))
        qCInfo(lcCore, "the store keeps the pages of a damaged table until it can be vacuumed: %s",
               qPrintable(error));
}

// Builds the hourly totals of a store that had records before it kept them, one month per
// transaction from where the last build stopped. Any process that opens the store takes part, so
// two of them building at once share the work and a killed build is taken up by the next open.
bool UsageStore::finishRollup(const QString &path, QString *error)
{
    {
        // The common case, a store with its totals, costs one read and no write lock.
        sqlite3_stmt *s = nullptr;
        const bool building =
            sqlite3_prepare_v2(m_db, "SELECT 1 FROM EventHourBuild", -1, &s, nullptr) == SQLITE_OK &&
            sqlite3_step(s) == SQLITE_ROW;
        sqlite3_finalize(s);
        if (!building)
            return true;
    }
    std::optional<double> first;
    for (;;) {
        if (!exec("BEGIN IMMEDIATE", error))
            return false;
        sqlite3_stmt *s = nullptr;
        std::optional<double> builtBelow, last;
        if (sqlite3_prepare_v2(
                m_db, "SELECT (SELECT builtBelow FROM EventHourBuild), (SELECT max(timeStamp) FROM Event)",
                -1, &s, nullptr) == SQLITE_OK &&
            sqlite3_step(s) == SQLITE_ROW) {
            if (sqlite3_column_type(s, 0) != SQLITE_NULL)
                builtBelow = sqlite3_column_double(s, 0);
            if (sqlite3_column_type(s, 1) != SQLITE_NULL)
                last = sqlite3_column_double(s, 1);
        }
        sqlite3_finalize(s);
        if (!builtBelow) {
            const bool committed = exec("COMMIT", error);
            if (first && g_buildProgress)
                g_buildProgress(path, 1.0);
            return committed;
        }
        if (!first) {
            first = *builtBelow;
            qCInfo(lcCore, "building the hourly totals of %s", qPrintable(path));
        }
        const double start = hourOf(*builtBelow), end = start + kBuildChunkSeconds;
        const bool done = !last || end > *last;
        const QByteArray advance =
            done ? QByteArray("DELETE FROM EventHourBuild")
                 : "UPDATE EventHourBuild SET builtBelow = " + QByteArray::number(end, 'f', 3);
        if (!rebuildHours(start, end) || !exec(advance.constData(), error) || !exec("COMMIT", error)) {
            if (error && error->isEmpty())
                *error = lastError();
            exec("ROLLBACK", nullptr);
            return false;
        }
        if (g_buildProgress && last && *last > *first)
            g_buildProgress(path, std::min((end - *first) / (*last - *first), 1.0));
    }
}

// Replaces the totals of the hours in [start, end) (whole hours) by the sums of their records.
bool UsageStore::rebuildHours(double start, double end)
{
    sqlite3_stmt *clear = statement(ClearHoursSlot, "DELETE FROM EventHour WHERE hour >= ?1 AND hour < ?2");
    Reset resetClear{clear};
    if (!clear)
        return false;
    bindRange(clear, start, end);
    if (sqlite3_step(clear) != SQLITE_DONE)
        return false;
    sqlite3_stmt *fill = statement(
        FillHoursSlot, "INSERT INTO EventHour(hour, records, cellIn, cellOut, wifiIn, wifiOut) "
                       "SELECT " HOUR_OF " AS h, count(*), total(cellIn), total(cellOut), total(wifiIn), "
                       "total(wifiOut) FROM Event WHERE timeStamp >= ?1 AND timeStamp < ?2 GROUP BY h");
    Reset resetFill{fill};
    if (!fill)
        return false;
    bindRange(fill, start, end);
    return sqlite3_step(fill) == SQLITE_DONE;
}

// Changing the journal mode takes no busy timeout: while another connection (another process
// creating the same store) holds a lock, it fails at once, so it is retried for a while.
bool UsageStore::switchToWal(QString *error)
{
    QElapsedTimer waited;
    waited.start();
    for (int pause = 1;; pause = std::min(pause * 2, 50)) {
        if (exec("PRAGMA journal_mode=WAL", error))
            return true;
        if (sqlite3_errcode(m_db) != SQLITE_BUSY || waited.elapsed() > kBusyTimeoutMs)
            return false;
        QThread::msleep(pause);
    }
}

int UsageStore::schemaVersion(QString *error)
{
    sqlite3_stmt *s = nullptr;
    int version = -1;
    if (sqlite3_prepare_v2(m_db, "PRAGMA user_version", -1, &s, nullptr) == SQLITE_OK &&
        sqlite3_step(s) == SQLITE_ROW)
        version = sqlite3_column_int(s, 0);
    else if (error)
        *error = lastError();
    sqlite3_finalize(s);
    return version;
}

bool UsageStore::checkVersion(QString *error)
{
    const int version = schemaVersion(error);
    if (version < 0 || !exec("SELECT count(*) FROM sqlite_schema", error))
        return false;
    if (version > kSchemaVersion) {
        if (error)
            *error = QStringLiteral("written by a newer Tallymo (schema %1, this version reads up to %2)")
                         .arg(version)
                         .arg(kSchemaVersion);
        return false;
    }
    return true;
}

bool UsageStore::migrate(QString *error)
{
    if (schemaVersion(error) == kSchemaVersion)
        return true; // the common case: nothing to write
    if (!exec("BEGIN IMMEDIATE", error))
        return false;
    // Another process may have migrated the store since the check.
    int version = schemaVersion(error);
    if (version < 0 || version > kSchemaVersion) {
        exec("ROLLBACK", nullptr);
        return version >= 0 ? checkVersion(error) : false;
    }
    for (; version < kSchemaVersion; ++version) {
        if (!exec(kMigrations[version], error)) {
            exec("ROLLBACK", nullptr);
            return false;
        }
        qCInfo(lcCore, "usage store migrated to schema %d", version + 1);
    }
    const QByteArray setVersion = "PRAGMA user_version=" + QByteArray::number(kSchemaVersion);
    if (!exec(setVersion.constData(), error) || !exec("COMMIT", error)) {
        exec("ROLLBACK", nullptr);
        return false;
    }
    return true;
}

bool UsageStore::exec(const char *sql, QString *error)
{
    char *message = nullptr;
    if (sqlite3_exec(m_db, sql, nullptr, nullptr, &message) == SQLITE_OK)
        return true;
    if (error)
        *error = QString::fromUtf8(message ? message : sqlite3_errmsg(m_db));
    sqlite3_free(message);
    return false;
}

bool UsageStore::control(int slot, const char *sql, QString *error)
{
    sqlite3_stmt *&s = m_statements[slot];
    // A store that cannot prepare it (a damaged file) answers as a plain exec does.
    if (!s && sqlite3_prepare_v3(m_db, sql, -1, SQLITE_PREPARE_PERSISTENT, &s, nullptr) != SQLITE_OK)
        return exec(sql, error);
    const int rc = sqlite3_step(s);
    if (rc != SQLITE_DONE && error)
        *error = QString::fromUtf8(sqlite3_errmsg(m_db));
    sqlite3_reset(s);
    return rc == SQLITE_DONE;
}

QString UsageStore::lastError() const
{
    return QString::fromUtf8(sqlite3_errmsg(m_db));
}

// Walks two queries of (key, columns…, four sums) in key order side by side and lists the keys
// where they differ; a key one side lacks counts as zeros there. `firstSum`: the column the sums
// start at (the ones before it, after the key, are counts). Returns how many keys were compared.
qint64 UsageStore::compareTotals(const char *derivedSql, const char *keptSql, int firstSum,
                                 QList<QDateTime> &wrong, QString &integrity)
{
    sqlite3_stmt *derived = nullptr, *kept = nullptr;
    sqlite3_prepare_v2(m_db, derivedSql, -1, &derived, nullptr);
    sqlite3_prepare_v2(m_db, keptSql, -1, &kept, nullptr);
    qint64 compared = 0;
    if (derived && kept) {
        const auto same = [firstSum](sqlite3_stmt *a, sqlite3_stmt *b) {
            for (int i = 1; i < firstSum; ++i)
                if ((a ? sqlite3_column_int64(a, i) : 0) != (b ? sqlite3_column_int64(b, i) : 0))
                    return false;
            const UsageSums none{};
            return (a ? sumsAt(a, firstSum) : none) == (b ? sumsAt(b, firstSum) : none);
        };
        bool moreA = sqlite3_step(derived) == SQLITE_ROW, moreB = sqlite3_step(kept) == SQLITE_ROW;
        while (moreA || moreB) {
            const double a = moreA ? sqlite3_column_double(derived, 0) : INFINITY;
            const double b = moreB ? sqlite3_column_double(kept, 0) : INFINITY;
            const double key = std::min(a, b);
            if (!same(a == key ? derived : nullptr, b == key ? kept : nullptr))
                wrong.append(fromSeconds(key));
            ++compared;
            if (a == key)
                moreA = sqlite3_step(derived) == SQLITE_ROW;
            if (b == key)
                moreB = sqlite3_step(kept) == SQLITE_ROW;
        }
    } else {
        integrity += QStringLiteral("\ncannot compare the kept totals: ") + lastError();
    }
    sqlite3_finalize(derived);
    sqlite3_finalize(kept);
    return compared;
}

StoreCheck UsageStore::check(bool repair)
{
    StoreCheck result;
    {
        sqlite3_stmt *s = nullptr;
        QStringList problems;
        if (sqlite3_prepare_v2(m_db, "PRAGMA integrity_check", -1, &s, nullptr) == SQLITE_OK) {
            while (sqlite3_step(s) == SQLITE_ROW)
                problems.append(QString::fromUtf8(reinterpret_cast<const char *>(sqlite3_column_text(s, 0))));
        } else {
            problems.append(lastError());
        }
        sqlite3_finalize(s);
        result.integrity = problems.join(QLatin1Char('\n'));
    }
    // The records' own totals and the kept ones, both in hour order, compared side by side; then
    // the hours' sums per day and the kept days.
    result.hours = compareTotals(
        "SELECT " HOUR_OF " AS h, count(*), total(cellIn), total(cellOut), total(wifiIn), total(wifiOut) "
        "FROM Event GROUP BY h ORDER BY h",
        "SELECT hour, records, cellIn, cellOut, wifiIn, wifiOut FROM EventHour ORDER BY hour", 2,
        result.wrongHours, result.integrity);
    result.days =
        compareTotals("SELECT " DAY_OF("hour") " AS d, total(cellIn), total(cellOut), total(wifiIn), "
                                               "total(wifiOut) FROM EventHour GROUP BY d ORDER BY d",
                      "SELECT day, cellIn, cellOut, wifiIn, wifiOut FROM EventDay ORDER BY day", 1,
                      result.wrongDays, result.integrity);
    if (repair && result.integrity != QLatin1String("ok")) {
        // Damage SQLite found may lie in the totals, which are built again from the records; what
        // is still wrong after that is the records' own.
        m_totalsRebuilt = false;
        if (rebuildTotals()) {
            const StoreCheck after = check(false);
            result.integrityAfterRepair = after.integrity;
            result.hours = after.hours;
            result.wrongHours = after.wrongHours;
            result.days = after.days;
            result.wrongDays = after.wrongDays;
            result.repaired = true;
            return result;
        }
        result.repairError = QStringLiteral("the records themselves are damaged");
    }
    if (!repair || (result.wrongHours.isEmpty() && result.wrongDays.isEmpty()))
        return result;
    if (!exec("BEGIN IMMEDIATE", &result.repairError))
        return result;
    for (const QDateTime &hour : std::as_const(result.wrongHours)) {
        // A row kept for a moment that does not start a UTC hour goes with the hour it lies in.
        const double h = hourOf(toSeconds(hour));
        if (!rebuildHours(h, h + kHour)) {
            result.repairError = lastError();
            exec("ROLLBACK", nullptr);
            return result;
        }
    }
    // The hours just rebuilt moved their days along; a day wrong in itself is summed again.
    for (const QDateTime &day : std::as_const(result.wrongDays)) {
        // A row kept under a moment that does not start a UTC day goes too.
        const QByteArray d = QByteArray::number(dayOf(toSeconds(day)), 'f', 0);
        const QByteArray sql =
            "DELETE FROM EventDay WHERE day = " + d +
            " OR day = " + QByteArray::number(toSeconds(day), 'f', 3) +
            "; INSERT INTO EventDay(day, cellIn, cellOut, wifiIn, wifiOut) SELECT " + d +
            ", total(cellIn), total(cellOut), total(wifiIn), total(wifiOut) FROM EventHour "
            "WHERE hour >= " +
            d + " AND hour < " + d + " + 86400";
        if (!exec(sql.constData(), &result.repairError)) {
            exec("ROLLBACK", nullptr);
            return result;
        }
    }
    result.repaired = exec("COMMIT", &result.repairError) || (exec("ROLLBACK", nullptr), false);
    return result;
}
