#include "core/usagestore.h"
#include "testsupport.h"

#include <QtTest>

#include <sqlite3.h>

namespace {
QDateTime at(int day, int hour)
{
    return QDateTime(QDate(2026, 3, day), QTime(hour, 0));
}
} // namespace

class TestUsageStore : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;

private slots:
    void initTestCase() { qputenv("TZ", "UTC"); }

    // Half-open ranges: an event on the start counts, one on the end does not.
    void rangeQueries()
    {
        StoreContext ctx(QStringLiteral("P"), m_dir.filePath(QStringLiteral("range.sqlite")));
        ctx.performAndWait([&] {
            ctx.insertEvent(Event{at(1, 0), 1, 2, 3, 4});
            ctx.insertEvent(Event{at(1, 0), 10, 20, 30, 40});
            ctx.insertEvent(Event{at(1, 5), 100, 0, 0, 0, 52.5, 13.4});
            ctx.insertEvent(Event{at(2, 0), 1000, 0, 0, 0});
            QVERIFY(ctx.save());

            const auto sums = ctx.sum(at(1, 0), at(2, 0));
            QVERIFY(sums);
            QCOMPARE(sums->cellIn, 111.0);
            QCOMPARE(sums->cellOut, 22.0);
            QCOMPARE(sums->wifiIn, 33.0);
            QCOMPARE(sums->wifiOut, 44.0);

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
            sqlite3 *db = nullptr;
            sqlite3_open(QFile::encodeName(path).constData(), &db);
            sqlite3_exec(db, "CREATE TABLE future(x); PRAGMA user_version=99", nullptr, nullptr, nullptr);
            sqlite3_close(db);
            QFile f(path);
            QVERIFY(f.open(QIODevice::ReadOnly));
            content = f.readAll();
        } else {
            QFile f(path);
            QVERIFY(f.open(QIODevice::WriteOnly));
            f.write(content);
        }
        QString failedPath, failure;
        QTest::ignoreMessage(QtCriticalMsg, QRegularExpression(QStringLiteral("cannot open usage store")));
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

    void storeIsMigratedToTheCurrentSchema()
    {
        const QString path = m_dir.filePath(QStringLiteral("schema.sqlite"));
        QString error;
        QVERIFY(UsageStore::open(path, &error));
        sqlite3 *db = nullptr;
        sqlite3_open(QFile::encodeName(path).constData(), &db);
        sqlite3_stmt *s = nullptr;
        sqlite3_prepare_v2(db, "PRAGMA user_version", -1, &s, nullptr);
        QCOMPARE(sqlite3_step(s), SQLITE_ROW);
        QCOMPARE(sqlite3_column_int(s, 0), UsageStore::kSchemaVersion);
        sqlite3_finalize(s);
        // The range sum reads the covering index only.
        sqlite3_prepare_v2(db,
                           "EXPLAIN QUERY PLAN SELECT total(cellIn), total(wifiOut) FROM Event "
                           "WHERE timeStamp >= 1 AND timeStamp < 2",
                           -1, &s, nullptr);
        QCOMPARE(sqlite3_step(s), SQLITE_ROW);
        const QByteArray plan(reinterpret_cast<const char *>(sqlite3_column_text(s, 3)));
        QVERIFY2(plan.contains("COVERING INDEX"), plan.constData());
        sqlite3_finalize(s);
        sqlite3_close(db);
        QVERIFY(UsageStore::open(path, &error)); // reopening an up-to-date store changes nothing
    }
};

QTEST_GUILESS_MAIN(TestUsageStore)
#include "tst_usagestore.moc"
