#pragma once

#include <QDateTime>
#include <QList>
#include <QString>

#include <functional>
#include <memory>
#include <optional>
#include <variant>

struct sqlite3;
struct sqlite3_stmt;

// The coordinate stored with usage when no location is known.
inline constexpr double kUnknownCoordinate = -180.0;

// One stored usage delta. Byte amounts are whole numbers carried as doubles.
struct Event
{
    QDateTime timeStamp;
    double cellIn = 0;
    double cellOut = 0;
    double wifiIn = 0;
    double wifiOut = 0;
    double latitude = kUnknownCoordinate;
    double longitude = kUnknownCoordinate;
};

// One stored per-address traffic record.
struct Netevent
{
    QDateTime timeStamp;
    QString ipaddress;
    double bytes = 0;
};

struct UsageSums
{
    double cellIn = 0;
    double cellOut = 0;
    double wifiIn = 0;
    double wifiOut = 0;
};

struct HourSums
{
    QDateTime timeStamp;
    UsageSums sums;
};

// Sums of the records that share a moment and a known position.
struct PlaceSums
{
    QDateTime timeStamp;
    double latitude;
    double longitude;
    UsageSums sums;
};

// The totals of one UTC hour kept beside the records: how many records it holds and their sums.
struct HourTotal
{
    QDateTime hour; // its start, on a whole UTC hour
    qint64 records = 0;
    UsageSums sums;
};

// What a check of a store found: SQLite's own verdict and the hours whose totals disagreed with
// their records (put right when asked to).
struct StoreCheck
{
    QString integrity; // "ok" when SQLite finds nothing wrong
    qint64 hours = 0;  // hours compared
    QList<QDateTime> wrongHours;
    qint64 days = 0; // days compared with their hours
    QList<QDateTime> wrongDays;
    bool repaired = false;
    QString repairError;          // why the wrong hours were not repaired
    QString integrityAfterRepair; // SQLite's verdict once damaged totals were built again
};

struct TimeStampRange
{
    QDateTime minDate;
    QDateTime maxDate;
};

// One open SQLite usage store. Not thread-safe: its context's queue is the only user.
// Every range is half-open: timeStamp >= start AND timeStamp < end.
//
// Beside the records (Event) the store keeps their totals per UTC hour (EventHour), changed in the
// same transaction as every insert and deletion, and the hours' totals per UTC day (EventDay,
// kept by triggers on the hours), so that a sum over months reads tens of rows instead of every
// sample. A store from before the totals gets them on its first open, a month of
// records per transaction: an interrupted build resumes where it stopped.
class UsageStore
{
public:
    static constexpr int kSchemaVersion = 3;
    static constexpr qint64 kHour = 3600;

    // Opens (creating when missing) and migrates the store. On failure returns nothing and says
    // why in *error; the file is left as it was.
    static std::unique_ptr<UsageStore> open(const QString &path, QString *error);
    // Told how far the first build of the hourly totals is (0 to 1), for a progress line; set
    // by the program before stores are opened.
    static void setBuildProgress(std::function<void(const QString &path, double done)> progress);
    ~UsageStore();
    UsageStore(const UsageStore &) = delete;
    UsageStore &operator=(const UsageStore &) = delete;

    // A failed fetch yields nothing; a range without events yields zero sums. Whole days and hours
    // are read from their totals, the cut hours at either end from their records.
    std::optional<UsageSums> sum(const QDateTime &start, const QDateTime &end);
    // The hourly totals of the hours starting in [start, end), in order, hours without records
    // left out. Nothing when the fetch failed.
    std::optional<QList<HourTotal>> hourTotals(const QDateTime &start, const QDateTime &end);
    // Compares every hour's totals with its records and every day's with its hours, runs SQLite's
    // integrity check, and with `repair` puts the wrong hours and days right.
    StoreCheck check(bool repair);
    std::optional<double> sumNetBytes(const QDateTime &start, const QDateTime &end);
    QList<HourSums> hourlySums(const QDateTime &start, const QDateTime &end);
    // Sums per moment and position, records without a position left out.
    QList<PlaceSums> placeSums(const QDateTime &start, const QDateTime &end);
    // Per-address bytes per stored moment (the start of an hour).
    QList<Netevent> addressSums(const QDateTime &start, const QDateTime &end);
    QList<Event> events(const QDateTime &start, const QDateTime &end);
    std::optional<TimeStampRange> timeStampRange();
    // Streams the events of a range in the store's order without building a list: the time
    // stamp in seconds and the four counters. The visitor returns false to stop. False when the
    // fetch failed.
    bool forEachEvent(const QDateTime &start, const QDateTime &end,
                      const std::function<bool(double timeStamp, const double (&counters)[4])> &visit);

    struct DeleteRange
    {
        QDateTime start;
        QDateTime end;
    };
    using Change = std::variant<Event, Netevent, DeleteRange>;
    // Applies the changes in one transaction; on failure none of them is applied.
    bool apply(const QList<Change> &changes, QString *error);

    // Reads through a memory map of at most `bytes` (0: plain reads, so a scan of the whole store
    // does not keep it all resident).
    void setMemoryMapLimit(qint64 bytes);

    // While it lives, the reads of the store see one state of it and take its locks once (a
    // statement outside a transaction takes and drops them itself). Nothing when one is open.
    class ReadTransaction
    {
    public:
        explicit ReadTransaction(UsageStore *store);
        ~ReadTransaction();
        ReadTransaction(const ReadTransaction &) = delete;
        ReadTransaction &operator=(const ReadTransaction &) = delete;

    private:
        UsageStore *m_store = nullptr;
    };

    // The first read or write of any store in this process that failed, as one line ("cannot read
    // the usage store PATH: why"), and forgets it; empty when none failed. A command that answered
    // from the stores asks this before it calls its answer good.
    static QString takeFailure();

    static double toSeconds(const QDateTime &t);
    static QDateTime fromSeconds(double seconds);

private:
    explicit UsageStore(sqlite3 *db);
    bool switchToWal(QString *error);
    int schemaVersion(QString *error);
    bool checkVersion(QString *error);
    bool migrate(QString *error);
    bool finishRollup(const QString &path, QString *error);
    bool rebuildHours(double start, double end);
    bool applyOne(const Change &change);
    sqlite3_stmt *statement(int slot, const char *sql);
    bool exec(const char *sql, QString *error);
    // BEGIN, COMMIT or ROLLBACK in its slot, prepared once: every check begins and ends two
    // transactions.
    bool control(int slot, const char *sql, QString *error);
    QString lastError() const;
    // After a failed call: whether SQLite found a page of the file damaged. With `totals`, the
    // failure was reading the hourly totals, which are then built again when no transaction is open.
    void noteDamage(bool totals = false);
    bool isDamaged() const;
    bool rebuildTotals();
    void noteFailure(const char *doing, const QString &why = {});
    void forgetTable(const char *name);
    qint64 compareTotals(const char *derivedSql, const char *keptSql, int firstSum, QList<QDateTime> &wrong,
                         QString &integrity);

    sqlite3 *m_db = nullptr;
    bool m_totalsDamaged = false;
    bool m_totalsRebuilt = false; // once per open: a second failure is the records' own
    sqlite3_stmt *m_statements[20] = {};
};
