#include "core/dispatchqueue.h"
#include "core/settingskeys.h"
#include "services/releasenotes.h"
#include "services/usagemonitor.h"
#include "testsupport.h"

#include <QSemaphore>
#include <QtTest>

namespace {

// Background tasks whose expiry the test fires by hand.
struct ManualApplication : PlatformApplication
{
    QHash<int, std::function<void()>> open;
    int next = 0, fetchRequests = 0;
    int beginBackgroundTask(std::function<void()> expiry) override
    {
        open.insert(++next, std::move(expiry));
        return next;
    }
    void endBackgroundTask(int task) override { open.remove(task); }
    void setMinimumBackgroundFetchInterval() override { ++fetchRequests; }
    void registerForRemoteNotifications() override {}
};

QDateTime sinceReference(double seconds)
{
    return QDateTime(QDate(2001, 1, 1), QTime(0, 0), Qt::UTC).addMSecs(qint64(seconds * 1000)).toLocalTime();
}

struct World
{
    World() : container(sinceReference(600)), shared(container.open())
    {
        monitor = std::make_unique<UsageMonitor>(
            *shared,
            UsageMonitor::Services{.notifications = &center, .refreshStatus = &refresh, .application = &app});
        monitor->plans().setUpNewInstall();
        shared->setForPlan(QString(), Keys::PREF_THRES_MONTHLY, 1000.0);
        container.interfaces.counters = {{QStringLiteral("pdp_ip0"), 100, 100}};
    }
    ~World() // a check that failed while the queue was held ends instead of hanging
    {
        gate.release();
        settle();
    }

    // Holds the store queue until release(), so a check stays in flight.
    void blockQueue()
    {
        shared->activeStore()->perform([this] { gate.acquire(); });
    }
    void release() { gate.release(); }
    // Waits for the store queue, then runs what it handed to the main thread.
    void settle()
    {
        shared->activeStore()->performAndWait([] {});
        QCoreApplication::sendPostedEvents();
    }

    TestContainer container;
    std::unique_ptr<SharedCode> shared;
    ManualApplication app;
    RecordingCenter center;
    FakeRefresh refresh;
    std::unique_ptr<UsageMonitor> monitor;
    QSemaphore gate;
};

} // namespace

class TestLifecycle : public QObject
{
    Q_OBJECT

private slots:
    void releaseNotesOfOneVersion_data()
    {
        QTest::addColumn<QByteArray>("xml");
        QTest::addColumn<QString>("version");
        QTest::addColumn<QString>("notes");
        const QByteArray two = "<releases><release version=\"2.0\"><description><p>New  map.</p>"
                               "<ul><li>Faster</li><li>Smaller</li></ul></description></release>"
                               "<release version=\"1.0\"><description><p>First.</p></description></release>"
                               "</releases>";
        const auto row = [](const char *name, const QByteArray &xml, const char *version, const char *notes) {
            QTest::newRow(name) << xml << QString::fromLatin1(version) << QString::fromUtf8(notes);
        };
        row("newest", two, "2.0", "New map.\n• Faster\n• Smaller");
        row("older, nothing of the newer", two, "1.0", "First.");
        row("not listed", two, "3.0", "");
        row("broken file", "<releases><release version=\"2.0\"><p>x", "2.0", "");
    }
    void releaseNotesOfOneVersion()
    {
        QFETCH(QByteArray, xml);
        QFETCH(QString, version);
        QFETCH(QString, notes);
        QCOMPARE(ReleaseNotes::forVersion(xml, version), notes);
    }

    void initTestCase() { qputenv("TZ", "UTC"); }

    // A wake-up is answered by the clock: new data on every third second since the reference, its
    // fraction cut. A second wake-up while a check runs is answered at once; the first when the check
    // completes or, should the sample hang, when its task expires (and again at the late end).
    void wakeUpDuringACheck_data()
    {
        QTest::addColumn<double>("seconds");
        QTest::addColumn<bool>("expires");
        QTest::addColumn<FetchResult>("result");
        QTest::newRow("the check completes") << 600.0 << false << FetchResult::NewData;
        QTest::newRow("its task expires") << 600.0 << true << FetchResult::NewData;
        QTest::newRow("602.9 s truncates") << 602.9 << false << FetchResult::NoData;
        QTest::newRow("603 s") << 603.0 << true << FetchResult::NewData;
        QTest::newRow("before the reference") << -1.5 << false << FetchResult::NoData;
    }
    void wakeUpDuringACheck()
    {
        QFETCH(double, seconds);
        QFETCH(bool, expires);
        QFETCH(FetchResult, result);
        World w;
        w.container.clock.set(sinceReference(seconds));
        w.blockQueue();
        QList<FetchResult> first, second;
        w.monitor->checkUsage([&](FetchResult r) { first.append(r); });
        QVERIFY(w.monitor->isCheckingUsage());
        w.monitor->checkUsage([&](FetchResult r) { second.append(r); });
        QCOMPARE(second, QList<FetchResult>{result});
        QCOMPARE(w.app.open.size(), 1);
        if (expires)
            w.app.open.value(w.app.next)(); // the task's expiry
        QCOMPARE(first.size(), int(expires));
        QCOMPARE(w.monitor->isCheckingUsage(), !expires);
        w.release();
        w.settle();
        QCOMPARE(first, QList<FetchResult>(expires ? 2 : 1, result));
        QVERIFY(!w.monitor->isCheckingUsage());
        QVERIFY(w.app.open.isEmpty());
        QVERIFY(w.monitor->figures().lastSample().locked);
    }

    // The store queues outlive the monitor: what it queued and had not started when it went is
    // dropped, instead of running on a monitor that is gone; so is the answer of a check whose
    // sample was taken but whose answer had not reached the main thread yet.
    void queuedWorkDroppedWithTheMonitor_data()
    {
        QTest::addColumn<bool>("sampled");
        QTest::newRow("before the sample") << false;
        QTest::newRow("after the sample, before its answer") << true;
    }
    void queuedWorkDroppedWithTheMonitor()
    {
        QFETCH(bool, sampled);
        World w;
        w.monitor->checkUsage(nullptr); // the counters' baseline: nothing stored yet
        w.settle();
        w.container.interfaces.counters = {{QStringLiteral("pdp_ip0"), 700, 100}};
        if (!sampled)
            w.blockQueue();
        int answers = 0;
        w.monitor->checkUsage([&](FetchResult) { ++answers; });
        if (sampled) {
            w.shared->activeStore()->performAndWait([] {}); // the answer is posted, not yet run
        } else {
            w.monitor->doComputeValuesOnly();
            w.monitor->performQuickAction(QStringLiteral("SHORTCUTS_HISTORY"), nullptr);
        }
        w.monitor.reset();
        w.release();
        w.settle();
        QCoreApplication::sendPostedEvents();
        QCOMPARE(answers, 0);
        std::optional<TimeStampRange> stored;
        w.shared->activeStore()->performAndWait([&] { stored = w.shared->activeStore()->timeStampRange(); });
        QCOMPARE(stored.has_value(), sampled);
    }

    // A quick action refreshes the figures and, behind that check, reaches the root screen only when
    // setup is done (over another screen: tst_screens); the answer comes at once; unknown ones do nothing.
    void quickActions_data()
    {
        QTest::addColumn<QString>("type");
        QTest::addColumn<bool>("setUp");
        QTest::newRow("history") << "SHORTCUTS_HISTORY" << true;
        QTest::newRow("plans") << "SHORTCUTS_DATAPLAN" << true;
        QTest::newRow("during setup") << "SHORTCUTS_THEME" << false;
        QTest::newRow("unknown") << "SHORTCUTS_OTHER" << true;
    }
    void quickActions()
    {
        QFETCH(QString, type);
        QFETCH(bool, setUp);
        const bool known = type != QStringLiteral("SHORTCUTS_OTHER"), handled = known && setUp;
        World w;
        FakeRoot root;
        w.monitor->setRootController(&root);
        w.shared->userPref().setValue(Keys::PREF_SHOWED_SETUP, setUp);
        std::optional<bool> answer;
        w.monitor->performQuickAction(type, [&](bool ok) { answer = ok; });
        QCOMPARE(answer, std::optional<bool>(known)); // at once, before the queued work
        QVERIFY(root.shortcuts.isEmpty());
        w.settle();
        w.settle();
        QCOMPARE(root.shortcuts, handled ? QStringList{type} : QStringList());
        QCOMPARE(w.monitor->figures().lastSample().countersRead, known); // the usage check ran first
    }

    // Launched in the background, a level rise becomes one notification; then the window comes up.
    void launchAndActivation()
    {
        World w;
        QVERIFY(w.monitor->prepareLaunch() && w.monitor->completeLaunch());
        QCOMPARE(w.monitor->applicationState(), int(UsageMonitor::Background));
        QCOMPARE(w.app.fetchRequests, 1);
        w.monitor->checkUsage(nullptr);
        w.settle();
        w.container.interfaces.counters = {{QStringLiteral("pdp_ip0"), 700, 100}};
        w.monitor->checkUsage(nullptr);
        w.settle();
        QCOMPARE(w.center.added.size(), 1);
        QCOMPARE(w.center.added[0].body, QStringLiteral("You've used 60%."));

        FakeRoot root;
        w.monitor->setRootController(&root);
        SettingsDomain &prefs = w.shared->userPref();
        const QString checked = QStringLiteral("PREF_WHATSNEW_CHECK_8_6");
        prefs.setValue(Keys::PREF_SHOWED_SETUP, true);
        w.monitor->windowActivated();
        w.settle();
        QCOMPARE(w.monitor->applicationState(), int(UsageMonitor::Active));
        QCOMPARE(w.center.clears, 1);
        // A fresh install records its version silently; an update shows the notice once.
        QCOMPARE(prefs.stringForKey(checked), ReleaseNotes::version());
        QVERIFY(root.alerts.isEmpty());
        prefs.setValue(checked, QStringLiteral("0.0.1"));
        w.monitor->windowActivated();
        w.settle();
        w.monitor->windowActivated();
        w.settle();
        QCOMPARE(root.alerts.size(), 1);
        // The notes of this very version, from the releases file built in.
        QVERIFY2(!root.alerts[0].message.isEmpty(), "no release notes for this version");
        QCOMPARE(root.alerts[0].message, ReleaseNotes::current());
        QCOMPARE(prefs.stringForKey(Keys::PREF_UPDATE_PREVIOUS_VERSION), QStringLiteral("0.0.1"));

        // Entering the background flushes the settings under a task of its own.
        w.monitor->enterBackground();
        QCOMPARE(w.app.open.size(), 1);
        w.settle();
        QVERIFY(w.app.open.isEmpty());
    }

    // The service keeps its stores on the main thread: blocks run in the order they were given,
    // a wait from the main thread runs what was given before it, and termination waits for a last
    // sample on either kind of queue (a wait that expected a second thread would hang here).
    void storesOnTheMainThread_data()
    {
        QTest::addColumn<bool>("onCreatingThread");
        QTest::newRow("a thread per store") << false;
        QTest::newRow("the main thread") << true;
    }

    void storesOnTheMainThread()
    {
        QFETCH(bool, onCreatingThread);
        DispatchQueue::setRunOnCreatingThread(onCreatingThread);
        const auto reset = qScopeGuard([] { DispatchQueue::setRunOnCreatingThread(false); });
        QStringList order;
        {
            DispatchQueue queue(QStringLiteral("q"));
            QCOMPARE(queue.isCurrent(), onCreatingThread);
            queue.async([&] {
                order << "a";
                queue.sync([&] { order << "a, within"; });
            });
            queue.async([&] { order << "b"; });
            queue.sync([&] { order << "c, waited for"; });
            queue.async([&] { order << "d, left when the queue ends"; });
        }
        QCOMPARE(order, (QStringList{"a", "a, within", "b", "c, waited for", "d, left when the queue ends"}));

        World w;
        w.monitor->shutDown(); // the first sample only learns the counters
        w.container.interfaces.counters = {{QStringLiteral("pdp_ip0"), 150, 130}};
        w.monitor->shutDown();
        QCOMPARE(w.monitor->figures().lastSample().event->cellIn, 50.0);
        QCOMPARE(w.monitor->figures().lastSample().event->cellOut, 30.0);
    }
};

QTEST_GUILESS_MAIN(TestLifecycle)
#include "tst_lifecycle.moc"
