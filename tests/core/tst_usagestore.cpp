#include "core/usagestore.h"
#include "testsupport.h"

#include <QtTest>

#include <sqlite3.h>

namespace {
QDateTime at(int day, int hour)
{
    return QDateTime(QDate(2026, 3, day), QTime(hour, 0));
}

// Runs `sql` on the file behind the store's back, collecting the rows it gives; SQLite's message
// when it fails, empty when it ran.
QByteArray exec(const QString &path, const char *sql, QList<QByteArrayList> *rows = nullptr)
{
    sqlite3 *db = nullptr;
    sqlite3_open(QFile::encodeName(path).constData(), &db);
    const auto collect = [](void *out, int n, char **values, char **) {
        QByteArrayList row;
        for (int i = 0; i < n; ++i)
            row.append(values[i]);
        if (out)
            static_cast<QList<QByteArrayList> *>(out)->append(row);
        return 0;
    };
    char *message = nullptr;
    const int rc = sqlite3_exec(db, sql, collect, rows, &message);
    const QByteArray why = rc == SQLITE_OK ? QByteArray() : QByteArray(message ? message : "failed");
    sqlite3_free(message);
    sqlite3_close(db);
    return why;
}
} // namespace

class TestUsageStore : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;

private slots:
    void initTestCase() { qputenv("TZ", "UTC"); }

    // Half-open ranges: an event on the start is in the range, one on the end is not.
    void rangeQueries()
    {
        StoreContext ctx(QStringLiteral("P"), m_dir.filePath(QStringLiteral("range.sqlite")));
        ctx.performAndWait([&] {
            ctx.insertEvent(Event{at(1, 0), 1, 2, 3, 4});
            ctx.insertEvent(Event{at(1, 0), 10, 20, 30, 40});
            ctx.insertEvent(Event{at(1, 5), 100, 0, 0, 0, 52.5, 13.4});
            ctx.insertEvent(Event{at(2, 0), 1000, 0, 0, 0});
            QVERIFY(ctx.save());

            // Sums of ranges with records: sumsEqualTheirRecords. One without: zeros, not a failure.
            const auto empty = ctx.sum(at(3, 0), at(4, 0));
            QVERIFY(empty);
            QCOMPARE(empty->cellIn + empty->cellOut + empty->wifiIn + empty->wifiOut, 0.0);

            const QList<HourSums> hours = ctx.hourlySums(at(1, 0), at(3, 0));
            QCOMPARE(hours.size(), 3);
            QCOMPARE(hours[0].timeStamp, at(1, 0));
            QCOMPARE(hours[0].sums.cellIn, 11.0);
            QCOMPARE(hours[2].timeStamp, at(2, 0));

            const QList<Event> events = ctx.events(at(1, 1), at(2, 0));
            QCOMPARE(events.size(), 1);
            QCOMPARE(events[0].latitude, 52.5);
            QCOMPARE(events[0].longitude, 13.4);

            const auto range = ctx.timeStampRange();
            QCOMPARE(range->minDate, at(1, 0));
            QCOMPARE(range->maxDate, at(2, 0));

            ctx.deleteEvents(at(1, 0), at(2, 0));
            QVERIFY(ctx.save());
            QCOMPARE(ctx.events(at(1, 0), at(3, 0)).size(), 1);
        });
    }

    // A file that cannot be opened as a store is reported with its path and never modified.
    void unopenableStoreIsReportedAndKept_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QString>("reason");
        QTest::newRow("not a database") << QByteArray(8192, 'x') << QStringLiteral("not a database");
        QTest::newRow("newer schema") << QByteArray() << QStringLiteral("newer Tallymo");
    }

    void unopenableStoreIsReportedAndKept()
    {
        QFETCH(QByteArray, content);
        QFETCH(QString, reason);
        const QString path = m_dir.filePath(QStringLiteral("bad-%1.sqlite").arg(QTest::currentDataTag()));
        if (content.isEmpty()) {
            QCOMPARE(exec(path, "CREATE TABLE future(x); PRAGMA user_version=99"), QByteArray());
            QFile f(path);
            QVERIFY(f.open(QIODevice::ReadOnly));
            content = f.readAll();
        } else {
            QFile f(path);
            QVERIFY(f.open(QIODevice::WriteOnly));
            f.write(content);
        }
        QString failedPath, failure;
        {
            StoreContext ctx(QStringLiteral("P"), path, [&](const QString &p, const QString &e) {
                failedPath = p;
                failure = e;
            });
            ctx.performAndWait([&] {
                QVERIFY(!ctx.store());
                QVERIFY(!ctx.sum(at(1, 0), at(2, 0)));
                ctx.insertEvent(Event{at(1, 0), 1});
                QVERIFY(!ctx.save());
                QCOMPARE(ctx.lastError(), QStringLiteral("store not open"));
            });
        }
        QCOMPARE(failedPath, path);
        QVERIFY2(failure.contains(reason), qPrintable(failure));
        QFile f(path);
        QVERIFY(f.open(QIODevice::ReadOnly));
        QCOMPARE(f.readAll(), content);
    }

    // A sum read from whole days, whole hours and the records at its ends equals the sum of its
    // records, wherever the range starts and ends (before 1970 too), after inserts into hours
    // already kept and after a deletion.
    void sumsEqualTheirRecords_data()
    {
        QTest::addColumn<qint64>("from");
        QTest::addColumn<qint64>("to");
        const qint64 base = 1772323200; // 2026-03-01 00:00 UTC
        QTest::newRow("within an hour") << base + 60 << base + 1800;
        QTest::newRow("hours of one day") << base + 3601 << base + 20 * 3600 + 5;
        QTest::newRow("whole days") << base << base + 30 * 86400;
        QTest::newRow("local month at +01:00") << base - 3600 << base + 31 * 86400 - 3600;
        QTest::newRow("cut at both ends") << base + 7 << base + 35 * 86400 + 5399;
        QTest::newRow("across 1970") << qint64(-3 * 86400 - 1800) << qint64(2 * 86400 + 4000);
        QTest::newRow("everything") << qint64(-10 * 86400) << base + 50 * 86400;
    }

    void sumsEqualTheirRecords()
    {
        QFETCH(qint64, from);
        QFETCH(qint64, to);
        StoreContext ctx(QStringLiteral("P"),
                         m_dir.filePath(QStringLiteral("days-%1.sqlite").arg(QTest::currentDataTag())));
        QList<Event> kept;
        ctx.performAndWait([&] {
            // A record every 37 minutes around 1970 and over 40 days of 2026, written in two rounds
            // so the second one adds to hours and days already kept; then a day and a half deleted.
            for (int round = 0; round < 2; ++round) {
                for (qint64 t = -5 * 86400 + round * 600; t < 5 * 86400; t += 2220)
                    ctx.insertEvent(
                        Event{UsageStore::fromSeconds(double(t)), double(t % 997 + 1000), 3, 0, 1});
                for (qint64 t = 1772323200 - 2 * 86400 + round * 600; t < 1772323200 + 40 * 86400; t += 2220)
                    ctx.insertEvent(
                        Event{UsageStore::fromSeconds(double(t)), double(t % 997), 0, 7, double(round)});
                QVERIFY(ctx.save());
            }
            ctx.deleteEvents(UsageStore::fromSeconds(1772323200 + 86400 * 3 + 1234),
                             UsageStore::fromSeconds(1772323200 + 86400 * 4 + 43200));
            QVERIFY(ctx.save());
            kept = ctx.events(UsageStore::fromSeconds(-1e10), UsageStore::fromSeconds(1e10));
            const QDateTime start = UsageStore::fromSeconds(double(from)),
                            end = UsageStore::fromSeconds(double(to));
            UsageSums expected{};
            for (const Event &e : std::as_const(kept))
                if (e.timeStamp >= start && e.timeStamp < end)
                    expected = UsageSums{expected.cellIn + e.cellIn, expected.cellOut + e.cellOut,
                                         expected.wifiIn + e.wifiIn, expected.wifiOut + e.wifiOut};
            const std::optional<UsageSums> sums = ctx.sum(start, end);
            QVERIFY(sums);
            QCOMPARE(sums->cellIn, expected.cellIn);
            QCOMPARE(sums->cellOut, expected.cellOut);
            QCOMPARE(sums->wifiIn, expected.wifiIn);
            QCOMPARE(sums->wifiOut, expected.wifiOut);
            const StoreCheck c = ctx.store()->check(false);
            QVERIFY(c.wrongHours.isEmpty() && c.wrongDays.isEmpty());
        });
        QVERIFY(kept.size() > 2000);
    }

    // A store from before the hourly totals gets them on its first open, and the current schema
    // (reopened, it is left as it is); a check finds a total that disagrees with its records and
    // puts it right.
    void hourlyTotalsBuiltAndChecked()
    {
        const QString path = m_dir.filePath(QStringLiteral("older.sqlite"));
        const auto sql = [&](const char *text) { return exec(path, text); };
        QCOMPARE(
            sql("CREATE TABLE Event (id INTEGER PRIMARY KEY, timeStamp REAL NOT NULL, cellIn REAL NOT NULL "
                "DEFAULT 0, cellOut REAL NOT NULL DEFAULT 0, wifiIn REAL NOT NULL DEFAULT 0, wifiOut REAL "
                "NOT "
                "NULL DEFAULT 0, latitude REAL NOT NULL DEFAULT -180, longitude REAL NOT NULL DEFAULT -180);"
                "CREATE INDEX Event_timeStamp ON Event(timeStamp, cellIn, cellOut, wifiIn, wifiOut);"
                "CREATE TABLE Netevent (id INTEGER PRIMARY KEY, timeStamp REAL NOT NULL, ipaddress TEXT NOT "
                "NULL, bytes REAL NOT NULL DEFAULT 0);"
                "CREATE INDEX Netevent_timeStamp ON Netevent(timeStamp, ipaddress, bytes);"
                // 100 days of a record every 10 minutes: four 30-day steps of the build.
                "WITH RECURSIVE n(i) AS (SELECT 0 UNION ALL SELECT i + 1 FROM n WHERE i < 14399) "
                "INSERT INTO Event(timeStamp, cellIn, wifiOut) SELECT 1772323200 + i * 600.25, i, 2 * i FROM "
                "n;"
                "PRAGMA user_version=1;"),
            QByteArray());

        QList<double> progress;
        UsageStore::setBuildProgress([&](const QString &, double done) { progress.append(done); });
        QString error;
        std::unique_ptr<UsageStore> store = UsageStore::open(path, &error);
        UsageStore::setBuildProgress(nullptr);
        QVERIFY2(store, qPrintable(error));
        QCOMPARE(progress.size(), 5); // four steps, then done
        QCOMPARE(progress.last(), 1.0);
        QList<QByteArrayList> rows;
        QCOMPARE(exec(path, "PRAGMA user_version", &rows), QByteArray());
        QCOMPARE(rows.value(0).value(0).toInt(), UsageStore::kSchemaVersion);
        rows.clear(); // the range sum reads the covering index only
        exec(path, "EXPLAIN QUERY PLAN SELECT total(cellIn), total(wifiOut) FROM Event WHERE timeStamp >= 1",
             &rows);
        QVERIFY2(rows.value(0).value(3).contains("COVERING INDEX"), rows.value(0).join(' ').constData());
        UsageStore::setBuildProgress([&](const QString &, double done) { progress.append(done); });
        QVERIFY(UsageStore::open(path, &error));
        UsageStore::setBuildProgress(nullptr);
        QCOMPARE(progress.size(), 5);
        StoreCheck c = store->check(false);
        QCOMPARE(c.integrity, QStringLiteral("ok"));
        QCOMPARE(c.hours, 2401);
        QVERIFY(c.wrongHours.isEmpty());
        const QDateTime start = UsageStore::fromSeconds(1772323200 + 3600 * 5 + 1);
        const QDateTime end = UsageStore::fromSeconds(1772323200 + 3600 * 900 + 7);
        const double expected = [&] {
            double total = 0;
            for (int i = 0; i < 14400; ++i)
                if (const double t = 1772323200 + i * 600.25;
                    t >= 1772323200 + 3600 * 5 + 1 && t < 1772323200 + 3600 * 900 + 7)
                    total += i;
            return total;
        }();
        QCOMPARE(store->sum(start, end)->cellIn, expected);
        QCOMPARE(c.days, 101);
        QVERIFY(c.wrongDays.isEmpty());

        // Hours changed behind the program's back move their days along (the triggers live in the
        // file); a day changed by itself is found and summed again from its hours.
        QCOMPARE(sql("UPDATE EventHour SET wifiOut = wifiOut + 1 WHERE hour = 1772323200 + 3600 * 7"),
                 QByteArray());
        QCOMPARE(sql("DELETE FROM EventHour WHERE hour = 1772323200 + 3600 * 8"), QByteArray());
        QCOMPARE(sql("UPDATE EventDay SET cellIn = cellIn + 3 WHERE day = 1772323200 + 86400 * 10"),
                 QByteArray());
        c = store->check(true);
        QCOMPARE(c.wrongHours, (QList<QDateTime>{UsageStore::fromSeconds(1772323200 + 3600 * 7),
                                                 UsageStore::fromSeconds(1772323200 + 3600 * 8)}));
        QCOMPARE(c.wrongDays, QList<QDateTime>{UsageStore::fromSeconds(1772323200 + 86400 * 10)});
        QVERIFY(c.repaired);
        c = store->check(false);
        QVERIFY(c.wrongHours.isEmpty() && c.wrongDays.isEmpty());
        QCOMPARE(store->sum(start, end)->cellIn, expected);
    }
};

QTEST_GUILESS_MAIN(TestUsageStore)
#include "tst_usagestore.moc"
