// Two processes on one container: this test is the app (its window headless, the real counters
// reader on a stand-in counters file) and `tallymo daemon` samples beside it. Switching the plan in
// the app charges the traffic up to the switch to the old plan and the traffic after it to the new.
#include "core/settingskeys.h"
#include "core/sharedcode.h"
#include "core/storecontext.h"
#include "platform/linux/linuxnetworkinterfaces.h"
#include "screens/appwindow.h"
#include "screens/navigator.h"
#include "services/usagemonitor.h"

#include <QDir>
#include <QProcess>
#include <QQmlApplicationEngine>
#include <QQmlExtensionPlugin>
#include <QQuickItem>
#include <QQuickWindow>
#include <QSaveFile>
#include <QTemporaryDir>
#include <QTest>

#include <signal.h>

Q_IMPORT_QML_PLUGIN(TallymoPlugin)

class TestPlanSwitch : public QObject
{
    Q_OBJECT

    QTemporaryDir m_root;
    QString path(const char *name) const { return m_root.filePath(QString::fromLatin1(name)); }

    void writeCounters(qint64 received)
    {
        QSaveFile f(path("net_dev"));
        QVERIFY(f.open(QIODevice::WriteOnly));
        f.write("Inter-|   Receive                                                |  Transmit\n"
                " face |bytes    packets errs drop fifo frame compressed multicast|"
                "bytes    packets errs drop fifo colls carrier compressed\n");
        f.write(QStringLiteral(" wwan0: %1 1 0 0 0 0 0 0 1000 1 0 0 0 0 0 0\n").arg(received).toLatin1());
        QVERIFY(f.commit());
    }

    // Reads the daemon's output until it has reported `n` samples that recorded usage (0: until it
    // has taken its first sample).
    static bool waitForSamples(QProcess &daemon, QStringList &lines, int n)
    {
        return QTest::qWaitFor(
            [&] {
                daemon.waitForReadyRead(100);
                while (daemon.canReadLine())
                    lines.append(QString::fromUtf8(daemon.readLine()));
                return n > 0 ? samples(lines) >= n : !lines.isEmpty();
            },
            15000);
    }
    static int samples(const QStringList &lines)
    {
        return int(lines.filter(QStringLiteral(": +cell")).size());
    }

    // An item of the visual tree by name (the rows of a list are not QObject children).
    static QQuickItem *findItem(QQuickItem *in, const QString &name)
    {
        QQuickItem *found = in->objectName() == name ? in : nullptr;
        for (int i = 0; !found && i < in->childItems().size(); ++i)
            found = findItem(in->childItems().at(i), name);
        return found;
    }

    static double cellTotal(SharedCode &shared, const QString &plan)
    {
        StoreContext context(plan, shared.sqliteURLForPlan(plan));
        double total = -1;
        context.performAndWait([&] {
            const auto sums =
                context.sum(QDateTime::fromSecsSinceEpoch(0), QDateTime::currentDateTime().addDays(1));
            total = sums ? sums->cellIn + sums->cellOut : 0;
        });
        return total;
    }

private slots:
    void switchingInTheAppSplitsTheTrafficAtTheSwitch()
    {
        QVERIFY(m_root.isValid() && QDir().mkpath(path("sys")) && QDir().mkpath(path("container")));
        writeCounters(1000);
        LinuxNetworkInterfaces interfaces(path("net_dev"), path("sys"));
        SharedCode shared(SharedCode::Services{path("container"), &interfaces});
        UsageMonitor monitor(shared);
        monitor.plans().setUpNewInstall();
        shared.userPref().setValue(Keys::PREF_SHOWED_SETUP, true);
        const QString phone = shared.activePlanID();
        shared.setForPlan(phone, Keys::PREF_PLAN_LABEL, QStringLiteral("Phone"));
        QVariantMap travel = monitor.plans().makeNewPlan();
        travel.insert(Keys::PREF_PLAN_LABEL, QStringLiteral("Travel"));
        monitor.plans().addPlan(travel);
        const QString travelID = travel.value(Keys::PREF_PLAN_ID).toString();
        QVERIFY(shared.userPref().synchronize());

        QProcess daemon;
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("TALLYMO_CONTAINER"), path("container"));
        env.insert(QStringLiteral("TALLYMO_PROC_NET_DEV"), path("net_dev"));
        env.insert(QStringLiteral("TALLYMO_SYSFS_NET"), path("sys"));
        env.remove(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"));
        daemon.setProcessEnvironment(env);
        daemon.start(QStringLiteral(TALLYMO_BIN),
                     {QStringLiteral("daemon"), QStringLiteral("--interval"), QStringLiteral("1")});
        QVERIFY2(daemon.waitForStarted(), qPrintable(daemon.errorString()));
        const auto stop = [&] {
            return ::kill(pid_t(daemon.processId()), SIGTERM) == 0 && daemon.waitForFinished(10000);
        };
        QStringList lines;
        QVERIFY2(waitForSamples(daemon, lines, 0), qPrintable(daemon.readAllStandardError()));
        // Traffic the service charges to Phone.
        writeCounters(1000 + 100000);
        QVERIFY2(waitForSamples(daemon, lines, 1), qPrintable(lines.join(u"")));

        // The app: the plan list, and a tap on Travel right after more traffic.
        Navigator navigator(monitor, {});
        QQmlApplicationEngine engine;
        QQuickWindow *window = loadAppWindow(engine, navigator, true, nullptr);
        QVERIFY(window);
        window->resize(360, 720);
        QVERIFY(QTest::qWaitForWindowExposed(window));
        navigator.open(Navigator::PlanList, QString(), false);
        QQuickItem *row = nullptr;
        QTRY_VERIFY((row = findItem(window->contentItem(), QStringLiteral("planRow1"))));
        writeCounters(1000 + 300000);
        QTest::mouseClick(window, Qt::LeftButton, {},
                          row->mapToScene({row->width() / 3, row->height() / 2}).toPoint());
        QTRY_COMPARE(shared.activePlanID(), travelID);

        // Traffic after the switch: the service charges it to Travel.
        writeCounters(1000 + 600000);
        QVERIFY2(waitForSamples(daemon, lines, samples(lines) + 1), qPrintable(lines.join(u"")));
        QVERIFY(stop());

        QCOMPARE((QList<double>{cellTotal(shared, phone), cellTotal(shared, travelID)}),
                 (QList<double>{300000.0, 300000.0}));
    }
};

QTEST_MAIN(TestPlanSwitch)
#include "tst_planswitch.moc"
