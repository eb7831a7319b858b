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

struct TimeStampRange
{
    QDateTime minDate;
    QDateTime maxDate;
};

// One open SQLite usage store. Not thread-safe: its context's queue is the only user.
// Every range is half-open: timeStamp >= start AND timeStamp < end.
class UsageStore
{
public:
    static constexpr int kSchemaVersion = 1;

    // Opens (creating when missing) and migrates the store. On failure returns nothing and says
    // why in *error; the file is left as it was.
    static std::unique_ptr<UsageStore> open(const QString &path, QString *error);
    ~UsageStore();
    UsageStore(const UsageStore &) = delete;
    UsageStore &operator=(const UsageStore &) = delete;

    // A failed fetch yields nothing; a range without events yields zero sums.
    std::optional<UsageSums> sum(const QDateTime &start, const QDateTime &end);
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

    static double toSeconds(const QDateTime &t);
    static QDateTime fromSeconds(double seconds);

private:
    explicit UsageStore(sqlite3 *db);
    bool switchToWal(QString *error);
    int schemaVersion(QString *error);
    bool checkVersion(QString *error);
    bool migrate(QString *error);
    sqlite3_stmt *statement(int slot, const char *sql);
    bool exec(const char *sql, QString *error);
    QString lastError() const;

    sqlite3 *m_db = nullptr;
    sqlite3_stmt *m_statements[11] = {};
};
