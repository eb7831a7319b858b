#include "core/settingskeys.h"
#include "history/exportcontroller.h"
#include "testsupport.h"

#include <QtTest>

namespace {

QDateTime utc(int month, int day, int hour)
{
    return QDateTime(QDate(2026, month, day), QTime(hour, 0), Qt::UTC);
}

QByteArray readAll(const QString &path)
{
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

struct Exporting
{
    Exporting() : shared(container.openPlan())
    {
        shared->setForPlan(QString(), Keys::PREF_BILLDAY, 1);
        store = UsageStore::open(shared->sqliteURLForPlan(QString()), nullptr);
    }
    void add(const QList<Event> &events)
    {
        QList<UsageStore::Change> changes(events.begin(), events.end());
        QVERIFY(store->apply(changes, nullptr));
    }
    ExportController::Outcome run(qint64 cycles)
    {
        ExportController controller(*shared, QStringLiteral("P"));
        return controller.runExport(store.get(), cycles, path());
    }
    QString path() const { return container.dir.filePath(QStringLiteral("out/exportFile.json")); }

    TestContainer container;
    std::unique_ptr<SharedCode> shared;
    std::unique_ptr<UsageStore> store;
};

} // namespace

class TestExport : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { qputenv("TZ", "UTC"); }

    // The exact text: newest cycle first, empty cycles in between, the walk stopping at the oldest
    // record, counters beyond 32 bits written whole; rows in the store's (index) order.
    void exactText()
    {
        Exporting e;
        e.add({Event{utc(1, 15, 8), 1, 2, 3, 4}, Event{utc(3, 2, 9), 5000000000.0, 6, 7, 8},
               Event{utc(3, 2, 9), 10, 0, 0, 0}});
        const ExportController::Outcome o = e.run(12);
        QCOMPARE(o.kind, ExportController::Outcome::Finished);
        QCOMPARE(std::pair(o.cycles, o.rows), std::pair(decltype(o.cycles)(3), decltype(o.rows)(3)));
        const QByteArray cols = "\"usageStatistics\":{\"columns\":[\"time\",\"cellReceived\",\"cellSent\","
                                "\"wifiReceived\",\"wifiSent\"],\"rows\":[";
        const QByteArray expected =
            "{\"exportData\":["
            "{\"billCycleStart\":\"2026-03-01 00:00:00 +0000\",\"billCycleEnd\":\"2026-04-01 00:00:00 "
            "+0000\"," +
            cols +
            "[\"2026-03-02 09:00:00 +0000\",10,0,0,0],[\"2026-03-02 09:00:00 +0000\",5000000000,6,7,8]]}},"
            "{\"billCycleStart\":\"2026-02-01 00:00:00 +0000\",\"billCycleEnd\":\"2026-03-01 00:00:00 "
            "+0000\"," +
            cols +
            "]}},"
            "{\"billCycleStart\":\"2026-01-01 00:00:00 +0000\",\"billCycleEnd\":\"2026-02-01 00:00:00 "
            "+0000\"," +
            cols + "[\"2026-01-15 08:00:00 +0000\",1,2,3,4]]}}],\"exportTimestamp\":\"" +
            o.timestamp.toLatin1() + "\"}";
        QCOMPARE(readAll(e.path()), expected);
        QCOMPARE(ExportController::attachmentName(QStringLiteral("2024-03-01 08:00:00 +0000")),
                 QStringLiteral("2024-03-01_08:00:00_+0000.json"));
    }

    void cyclesAndFailures()
    {
        Exporting e;
        e.shared->setForPlan(QString(), Keys::PREF_BILLTYPE, 4);
        e.shared->setForPlan(QString(), Keys::PREF_NDAYS_N, 1);
        e.add({Event{utc(1, 1, 0), 1}, Event{utc(3, 2, 9), 1}});
        ExportController controller(*e.shared, QStringLiteral("P"));
        QCOMPARE(controller.exportPeriod(1), 7);
        QCOMPARE(controller.exportString(1), QStringLiteral("Last 7 Cycles"));
        QCOMPARE(controller.exportString(0), QStringLiteral("Most Recent"));
        QCOMPARE(e.run(7).cycles, 7); // daily cycles, mostly empty
        QCOMPARE(ExportController::exportPeriod(3, 2), 24);
        QCOMPARE(ExportController::exportPeriod(2, 9), 1);
        // An unwritable place: one clear message.
        QCOMPARE(controller.runExport(e.store.get(), 1, QStringLiteral("/proc/tallymo/x.json")).message,
                 QStringLiteral("Export file creation error."));
        // Cancelled: stops at once and leaves the partial file.
        controller.cancelExport();
        QCOMPARE(controller.runExport(e.store.get(), 7, e.path()).kind, ExportController::Outcome::Cancelled);
        QVERIFY(readAll(e.path()).startsWith("{\"exportData\":["));
    }

    // Cancelled while rows are being written: the export stops at the next row and what it wrote
    // stays, ending with a whole row.
    void cancelledBetweenRows()
    {
        Exporting e;
        QList<Event> many;
        for (int i = 0; i < 200000; ++i)
            many.append(Event{utc(3, 1, 0).addSecs(i), 1000, 1, 2, 3});
        e.add(many);
        ExportController controller(*e.shared, QStringLiteral("P"));
        ExportController::Outcome outcome;
        std::unique_ptr<QThread> worker(
            QThread::create([&] { outcome = controller.runExport(e.store.get(), 1, e.path()); }));
        worker->start();
        // The export writes beside its file until done; cancel as soon as the first rows are out.
        const QString part = e.path() + QStringLiteral(".part");
        while (QFileInfo(part).size() == 0 && !worker->isFinished())
            QThread::usleep(100);
        controller.cancelExport();
        QVERIFY(worker->wait(20000));
        QCOMPARE(outcome.kind, ExportController::Outcome::Cancelled);
        QVERIFY(outcome.rows > 0 && outcome.rows < many.size());
        const QByteArray text = readAll(e.path());
        QVERIFY(text.endsWith(",1000,1,2,3]"));
        QCOMPARE(text.count(",1000,1,2,3]"), outcome.rows);
    }
};

QTEST_GUILESS_MAIN(TestExport)
#include "tst_export.moc"
