// Benchmarks of the sampling path and the period sum. Prints medians; asserts nothing.
#include "core/settingskeys.h"
#include "core/sharedcode.h"
#include "platform/linux/conntrack.h"
#include "platform/linux/linuxnetworkinterfaces.h"
#include "platform/linux/sockdiag.h"
#include "services/usagemonitor.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <sqlite3.h>

namespace {

double cpuMicros()
{
    timespec ts;
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &ts);
    return ts.tv_sec * 1e6 + ts.tv_nsec / 1e3;
}

double median(QList<double> v)
{
    std::sort(v.begin(), v.end());
    return v.isEmpty() ? 0 : v[v.size() / 2];
}

void writeCounters(const QString &path, qint64 step)
{
    QFile f(path + QStringLiteral(".tmp"));
    if (!f.open(QIODevice::WriteOnly))
        qFatal("cannot write counters");
    f.write(
        "Inter-|   Receive                                                |  Transmit\n"
        " face |bytes    packets errs drop fifo frame compressed multicast|bytes    packets errs drop fifo "
        "colls carrier compressed\n");
    const QByteArray in = QByteArray::number(1000 + step * 150000),
                     out = QByteArray::number(1000 + step * 20000);
    for (const char *name : {"lo", "eth0", "wwan0", "wlan0", "docker0", "virbr0"})
        f.write(QByteArray(name) + ": " + in + " 10 0 0 0 0 0 0 " + out + " 10 0 0 0 0 0 0\n");
    f.close();
    QFile::remove(path);
    f.rename(path);
}

// One locked sample as every wake-up takes it: lock, settings, counters, one insert, save.
void benchSample(const QString &dir)
{
    const QString counters = dir + QStringLiteral("/net_dev");
    writeCounters(counters, 0);
    LinuxNetworkInterfaces interfaces(counters, dir + QStringLiteral("/sys"));
    SharedCode shared({dir + QStringLiteral("/sample"), &interfaces});
    UsageMonitor delegate(shared);
    delegate.plans().setUpNewInstall();
    shared.userPref().setValue(QStringLiteral("PREF_INTERFACE_NAME"), QStringLiteral("wlan0"));
    auto context = shared.activeStore();
    QList<double> cpu, wall;
    for (int i = 1; i <= 400; ++i) {
        writeCounters(counters, i);
        QElapsedTimer t;
        double c0 = 0, c1 = 0;
        context->performAndWait([&] {
            c0 = cpuMicros();
            t.start();
            shared.sampleUsage(context.get(), Coordinate{});
            wall.append(t.nsecsElapsed() / 1e3);
            c1 = cpuMicros();
        });
        if (i > 20) // warm-up
            cpu.append(c1 - c0);
    }
    std::printf(
        "locked sample:             median CPU %.0f us, median wall %.0f us (with fsync), %lld samples\n",
        median(cpu), median(wall), qlonglong(cpu.size()));
}

constexpr int kEvents = 525600;

// Five years of 5-minute samples up to now, written in one transaction.
std::unique_ptr<UsageStore> fiveYearStore(const QString &path, bool report)
{
    QString error;
    auto store = UsageStore::open(path, &error);
    if (!store)
        qFatal("cannot open %s: %s", qPrintable(path), qPrintable(error));
    const qint64 end = QDateTime::currentSecsSinceEpoch() / 300 * 300;
    QList<UsageStore::Change> changes;
    changes.reserve(kEvents);
    for (qint64 i = 0; i < kEvents; ++i) {
        const qint64 t = end - i * 300;
        const double v = double((i * 2654435761LL) % 4000037);
        changes.append(Event{QDateTime::fromSecsSinceEpoch(t / 3600 * 3600), v, v / 8, v / 2, v / 16});
    }
    QElapsedTimer build;
    build.start();
    if (!store->apply(changes, &error))
        qFatal("cannot fill the store: %s", qPrintable(error));
    if (report)
        std::printf("store of %d events:    written in %.2f s (%.0f events/s), %.1f MB\n", kEvents,
                    build.nsecsElapsed() / 1e9, kEvents / (build.nsecsElapsed() / 1e9),
                    QFile(path).size() / 1048576.0);
    return store;
}

// A container whose active plan holds the five-year store, for timing whole commands.
void makeContainer(const QString &dir)
{
    SharedCode shared({dir, nullptr});
    UsageMonitor delegate(shared);
    delegate.plans().setUpNewInstall();
    shared.userPref().setValue(Keys::PREF_SHOWED_SETUP, true); // the widget shows figures, not the setup hint
    shared.userPref().synchronize();
    fiveYearStore(shared.sqliteURLForPlan(QString()), false);
}

// A container of `years` of records every `interval` seconds up to now, each at its own moment
// (a 10-second service over ten years: 31.5 million). The records go straight into the table, a
// million per transaction, as a store from before the hourly totals holds them; the first open
// then builds the totals, and that build is timed too.
void makeLongContainer(const QString &dir, int years, int interval)
{
    SharedCode shared({dir, nullptr});
    UsageMonitor delegate(shared);
    delegate.plans().setUpNewInstall();
    shared.userPref().setValue(Keys::PREF_SHOWED_SETUP, true);
    shared.userPref().synchronize();
    const QString path = shared.sqliteURLForPlan(QString());
    QString error;
    if (!UsageStore::open(path, &error))
        qFatal("cannot open %s: %s", qPrintable(path), qPrintable(error));
    sqlite3 *db = nullptr;
    if (sqlite3_open(QFile::encodeName(path).constData(), &db) != SQLITE_OK)
        qFatal("cannot open %s", qPrintable(path));
    sqlite3_exec(db, "PRAGMA synchronous=OFF", nullptr, nullptr, nullptr);
    sqlite3_stmt *insert = nullptr;
    sqlite3_prepare_v2(
        db, "INSERT INTO Event(timeStamp, cellIn, cellOut, wifiIn, wifiOut) VALUES (?1, ?2, ?3, ?4, ?5)", -1,
        &insert, nullptr);
    const qint64 count = qint64(years) * 365 * 86400 / interval;
    const double end = double(QDateTime::currentSecsSinceEpoch());
    const double start = end - double(count) * interval;
    QElapsedTimer t;
    t.start();
    for (qint64 i = 0; i < count; ++i) {
        if (i % 1000000 == 0)
            sqlite3_exec(db, i ? "COMMIT; BEGIN" : "BEGIN", nullptr, nullptr, nullptr);
        const double v = double((i * 2654435761LL) % 400037);
        sqlite3_bind_double(insert, 1, start + double(i) * interval + double(i % 1000) / 1000.0);
        sqlite3_bind_double(insert, 2, v);
        sqlite3_bind_double(insert, 3, std::floor(v / 8));
        sqlite3_bind_double(insert, 4, std::floor(v / 2));
        sqlite3_bind_double(insert, 5, std::floor(v / 16));
        if (sqlite3_step(insert) != SQLITE_DONE)
            qFatal("cannot insert: %s", sqlite3_errmsg(db));
        sqlite3_reset(insert);
    }
    sqlite3_exec(db, "COMMIT", nullptr, nullptr, nullptr);
    sqlite3_finalize(insert);
    // As a store from before the totals: they are built on the next open.
    sqlite3_exec(db,
                 "DELETE FROM EventHour; DELETE FROM EventHourBuild;"
                 "INSERT INTO EventHourBuild SELECT timeStamp FROM Event ORDER BY timeStamp LIMIT 1",
                 nullptr, nullptr, nullptr);
    sqlite3_close(db);
    const double written = t.nsecsElapsed() / 1e9;
    t.restart();
    if (!UsageStore::open(path, &error))
        qFatal("cannot build the hourly totals: %s", qPrintable(error));
    std::printf(
        "  %lld records (%d years every %d s) written in %.1f s (%.0f records/s); hourly totals built "
        "in %.1f s; %.0f MB\n",
        qlonglong(count), years, interval, written, count / written, t.nsecsElapsed() / 1e9,
        QFile(path).size() / 1048576.0);
}

// The current period's sums over five years of 5-minute samples.
void benchPeriodSum(const QString &dir)
{
    auto store = fiveYearStore(dir + QStringLiteral("/five-years.sqlite"), true);
    const QDateTime now = QDateTime::currentDateTime();
    const QDateTime start = QDate(now.date().year(), now.date().month(), 1).startOfDay();
    const QDateTime stop = start.addMonths(1);
    QList<double> times;
    double cellIn = 0;
    for (int i = 0; i < 200; ++i) {
        QElapsedTimer t;
        t.start();
        cellIn = store->sum(start, stop)->cellIn;
        times.append(t.nsecsElapsed() / 1e6);
    }
    std::printf("current-period sum:        median %.3f ms over %lld runs (cellIn %.0f)\n", median(times),
                qlonglong(times.size()), cellIn);
    times.clear();
    const QDateTime fiveYearsAgo = now.addYears(-5).addDays(-1);
    for (int i = 0; i < 20; ++i) {
        QElapsedTimer t;
        t.start();
        store->sum(fiveYearsAgo, now.addDays(1));
        times.append(t.nsecsElapsed() / 1e6);
    }
    std::printf("five-year sum (worst case): median %.2f ms\n", median(times));
}

// One TCP connection-table read from the kernel, as each sample makes it: a new source each time
// (one that read the table before answers from it again while no TCP counter moved).
void benchConnections(int runs)
{
    QList<double> times;
    qsizetype kept = 0;
    for (int i = 0; i < runs; ++i) {
        SockDiagConnections source;
        QElapsedTimer t;
        t.start();
        const std::optional<ConnectionTable> table = source.proto(ConnectionTables::kTcp);
        times.append(t.nsecsElapsed() / 1e6);
        kept = table ? table->size() : -1;
    }
    std::printf("connection-table read:     median %.2f ms over %d runs (%lld connections to public peers)\n",
                median(times), runs, qlonglong(kept));
}

// One read of the UDP flows connection tracking keeps, as a sample makes it when accounting is on.
void benchConntrack(int runs)
{
    ConntrackFlows source;
    QList<double> times;
    qsizetype kept = 0;
    for (int i = 0; i < runs; ++i) {
        QElapsedTimer t;
        t.start();
        const std::optional<ConnectionTable> table = source.udp();
        times.append(t.nsecsElapsed() / 1e6);
        kept = table ? table->size() : -1;
    }
    std::printf("UDP flow read (conntrack): median %.2f ms over %d runs (%lld flows counted)\n",
                median(times), runs, qlonglong(kept));
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    if (argc == 3 && QByteArrayView(argv[1]) == "--make-container") {
        makeContainer(QString::fromLocal8Bit(argv[2]));
        return 0;
    }
    if (argc == 5 && QByteArrayView(argv[1]) == "--make-long-container") {
        const int years = QByteArray(argv[3]).toInt(), interval = QByteArray(argv[4]).toInt();
        if (years < 1 || interval < 1)
            qFatal("usage: tallymo_bench --make-long-container DIR YEARS INTERVAL");
        makeLongContainer(QString::fromLocal8Bit(argv[2]), years, interval);
        return 0;
    }
    if (argc == 3 && QByteArrayView(argv[1]) == "--connections") {
        benchConnections(QByteArray(argv[2]).toInt());
        return 0;
    }
    if (argc == 3 && QByteArrayView(argv[1]) == "--conntrack") {
        benchConntrack(QByteArray(argv[2]).toInt());
        return 0;
    }
    QTemporaryDir dir;
    benchSample(dir.path());
    benchPeriodSum(dir.path());
    return 0;
}
