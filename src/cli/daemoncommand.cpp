// The background service: a sample on a timer, a line per sample, a last sample when stopped.
#include "arguments.h"
#include "cli.h"
#include "core/sharedcode.h"
#include "core/usagestore.h"
#include "desktop/displayformat.h"
#include "desktop/usageintent.h"
#include "metrics.h"
#include "output.h"
#include "services/logging.h"
#include "services/usagemonitor.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTimer>

#include <cstdio>
#include <malloc.h>
#include <utility>

namespace Cli {
namespace {

// Why the last check could not read the usage history, if it could not. The service goes on (the
// next check may read it: a disk back, a repair), and tells the user once, by a notification,
// until a check reads it again.
QString storeTrouble(UsageMonitor &monitor)
{
    static bool told = false;
    const QString failure = UsageStore::takeFailure();
    if (failure.isEmpty()) {
        told = false;
        return failure;
    }
    UserNotificationCenter *notifications = monitor.services().notifications;
    if (!std::exchange(told, true) && notifications) {
        NotificationRequest request;
        request.identifier = QStringLiteral("storeUnreadable");
        request.title = QCoreApplication::translate("Service", "Usage History Unreadable");
        request.body =
            QCoreApplication::translate("Service", "Tallymo cannot read its usage history (%1). Run "
                                                   "\"tallymo store check\" in a terminal.")
                .arg(failure);
        notifications->addRequest(request);
    }
    return failure;
}

// The file the service rewrites after every check for node_exporter's textfile collector, if any.
struct MetricsFile
{
    QString path;
    Services *services = nullptr;
    bool failing = false;
    bool written = false;

    void update()
    {
        if (path.isEmpty())
            return;
        const bool gone = written && !QFileInfo::exists(path);
        QString error;
        if (!writeMetricsFile(path, metricsText(*services, MetricsFormat::PrometheusText), &error)) {
            if (!std::exchange(failing, true))
                qCWarning(lcApp, "the metrics file %s cannot be written: %s", qPrintable(path),
                          qPrintable(error));
            return;
        }
        written = true;
        if (std::exchange(failing, false))
            qCInfo(lcApp, "the metrics file %s is written again", qPrintable(path));
        else if (gone)
            qCWarning(lcApp, "the metrics file %s had gone; made anew", qPrintable(path));
    }
};
MetricsFile metricsFile;

// Prints a line for each wake-up: what triggered it, what the sample recorded, the figures.
void report(UsageMonitor &monitor, const QString &trigger)
{
    const SampleResult r = monitor.figures().lastSample();
    const CurrentValues v = monitor.figures().values();
    QString what;
    if (const QString trouble = storeTrouble(monitor); !trouble.isEmpty())
        what = QStringLiteral("usage history unreadable: ") + trouble;
    else if (!r.failure.isEmpty())
        what = QStringLiteral("not recorded: ") + r.failure; // the service goes on with what it has
    else if (!r.locked)
        what = QStringLiteral("skipped (another process is sampling)");
    else if (!r.countersRead)
        what = QStringLiteral("counters unreadable");
    else if (!r.event)
        what = QStringLiteral("no new usage");
    else
        what = QStringLiteral("+cell %1 +wifi %2")
                   .arg(DisplayFormat::getDataBytesStr(r.event->cellIn + r.event->cellOut),
                        DisplayFormat::getDataBytesStr(r.event->wifiIn + r.event->wifiOut));
    print(QStringLiteral("%1  %2: %3 | period %4 → %5: cell %6 (%7%) wifi %8, level %9\n")
              .arg(isoWithOffset(monitor.shared().clock().now()), trigger, what,
                   v.monthStartDate.date().toString(Qt::ISODate), v.monthEndDate.date().toString(Qt::ISODate),
                   DisplayFormat::getDataBytesStr(v.monthCell))
              .arg(DataCap::roundedPercent(v.monthPercent))
              .arg(DisplayFormat::getDataBytesStr(v.monthWifi))
              .arg(monitor.alerts().currentThresholdLevel()));
    std::fflush(stdout);
    metricsFile.update();
}

struct DaemonOptions
{
    double interval = 300; // seconds between two samples
    QString metricsFile;
};

DaemonOptions daemonOptions(const QStringList &args)
{
    // --foreground is accepted for service managers that pass it: the service never detaches.
    const Arguments a(args, QStringLiteral("daemon"));
    a.expectPositional(0, 0);
    DaemonOptions o;
    if (a.has(QStringLiteral("interval"))) {
        bool ok = false;
        o.interval = a.option(QStringLiteral("interval")).toDouble(&ok);
        if (!ok || !(o.interval >= 1 && o.interval <= 86400))
            throw UsageError(QStringLiteral("--interval takes a number of seconds from 1 to 86400"));
    }
    if (a.has(QStringLiteral("metrics-file"))) {
        o.metricsFile = a.option(QStringLiteral("metrics-file"));
        // Refused at start: a service that runs without the file it was asked for would look healthy.
        if (const QString why = checkMetricsFile(o.metricsFile); !why.isEmpty())
            throw UsageError(QStringLiteral("--metrics-file: %1").arg(why));
    }
    return o;
}

// Every wake-up runs the usage check; one that comes while a check runs is answered at once.
void checkUsageOnWakeUp(UsageMonitor &monitor, const QString &trigger)
{
    const bool covered = monitor.isCheckingUsage();
    CompletionHandler done = [&monitor, trigger, covered](FetchResult) {
        if (covered)
            print(QStringLiteral("%1  %2: answered at once, a check is running\n")
                      .arg(isoWithOffset(monitor.shared().clock().now()), trigger));
        else
            report(monitor, trigger);
    };
    monitor.checkUsage(std::move(done));
}

// Prints a line for each visit the location tracker records: an arrival or a departure, and where.
void reportVisits(UsageMonitor &monitor)
{
    QObject::connect(&monitor.location(), &LocationTracker::visited, [&monitor](const Visit &v) {
        print(QStringLiteral("%1  visit: %2 at %3, %4\n")
                  .arg(isoWithOffset(monitor.shared().clock().now()),
                       v.departureDate.isValid() ? QStringLiteral("departure") : QStringLiteral("arrival"))
                  .arg(v.latitude, 0, 'f', 5)
                  .arg(v.longitude, 0, 'f', 5));
        std::fflush(stdout);
    });
}

// Claims the service's name on the session bus, where it takes pushes, wake-ups and the usage intent.
void startOnBus(Environment &env, UsageMonitor &monitor)
{
    if (!env.startBackgroundService)
        return;
    // The usage intent is answered with the record the watch gets: this moment's figures.
    const auto showUsage = [&monitor](std::function<void(const QVariantMap &)> reply) {
        monitor.watch().currentRecord([reply = std::move(reply)](const QVariantMap &record) {
            reply(UsageIntent::responseForRecord(record).toVariantMap());
        });
    };
    env.startBackgroundService({[&monitor] { checkUsageOnWakeUp(monitor, QStringLiteral("push")); },
                                [&monitor] { checkUsageOnWakeUp(monitor, QStringLiteral("wake")); },
                                showUsage});
}

// The launch of the monitor, which keeps the bill-cycle reminders scheduled itself.
void launchInBackground(UsageMonitor &monitor)
{
    monitor.setSchedulesRemindersInBackground(true);
    monitor.prepareLaunch(); // the service runs in the background state
    monitor.completeLaunch();
    // Whether a push distributor is there is known from now on, as after an account change.
    monitor.pushSubscription().distributorChanged();
}

// Every check builds and frees much the same memory again: with tens of thousands of tracked
// connections some megabytes (their baselines, the settings file written from them). The allocator
// keeps up to 8 MiB of it for the next check. Given back to the kernel after each check, as it
// would be by default, every page of it was faulted in anew at the next one: a third of the check.
void keepFreedMemoryForTheNextCheck()
{
    constexpr int kKept = 8 << 20;
    if (mallopt(M_MMAP_THRESHOLD, kKept) != 1 || mallopt(M_TRIM_THRESHOLD, kKept) != 1)
        qCInfo(lcApp, "the allocator keeps its defaults");
}

} // namespace

int daemon(const QStringList &args, Environment &env)
{
    const DaemonOptions options = daemonOptions(args);
    keepFreedMemoryForTheNextCheck();
    Services &s = env.desktopServices();
    metricsFile = {options.metricsFile, &s};
    UsageMonitor &monitor = s.monitor;
    reportVisits(monitor);
    if (ConnectionSource *connections = s.shared.connections())
        connections->watchClosedConnections(); // short connections between two samples still count
    // On the bus first, so the push registration made at launch names a service that answers.
    startOnBus(env, monitor);
    // A connection change splits the interval: what the links moved up to it is sampled at once,
    // under what they counted as before it.
    if (env.watchNetworkChanges)
        env.watchNetworkChanges([&monitor] {
            monitor.shared().attributeNextSampleToEarlierUses();
            checkUsageOnWakeUp(monitor, QStringLiteral("network"));
        });
    launchInBackground(monitor);
    QTimer timer;
    timer.setInterval(int(options.interval * 1000));
    QObject::connect(&timer, &QTimer::timeout,
                     [&monitor] { checkUsageOnWakeUp(monitor, QStringLiteral("fetch")); });
    env.onTerminationRequest([&] {
        timer.stop();
        monitor.shutDown();
        report(monitor, QStringLiteral("terminate"));
        QCoreApplication::quit();
    });
    checkUsageOnWakeUp(monitor, QStringLiteral("launch"));
    timer.start();
    return QCoreApplication::exec();
}

int push(const QStringList &args, Environment &env)
{
    const Arguments a(args, QStringLiteral("push"));
    a.expectPositional(0, 0);
    env.desktopServices();
    if (env.pushToBackgroundService && env.pushToBackgroundService())
        return 0;
    printError(QStringLiteral(
        "tallymo: no Tallymo background service is running (start one with tallymo daemon)\n"));
    return 1;
}

} // namespace Cli

namespace Cli {

int watch(const QStringList &args, Environment &env)
{
    const Arguments a(args, QStringLiteral("watch"));
    a.expectPositional(0, 0);
    env.desktopServices();
    const auto report = [](const QString &kind, const QVariantMap &record) {
        print(QString::fromUtf8(QJsonDocument(QJsonObject{{kind, QJsonObject::fromVariantMap(record)}})
                                    .toJson(QJsonDocument::Compact)) +
              QLatin1Char('\n'));
        std::fflush(stdout);
    };
    const bool follow = a.flag(QStringLiteral("follow"));
    QString error;
    if (!env.startWatchCompanion ||
        !env.startWatchCompanion(follow, a.flag(QStringLiteral("complication")), report, &error)) {
        printError(QStringLiteral("tallymo: the watch session cannot be reached: %1\n")
                       .arg(error.isEmpty() ? QStringLiteral("no desktop services") : error));
        return 1;
    }
    if (!follow)
        return 0;
    env.onTerminationRequest([] { QCoreApplication::quit(); });
    return QCoreApplication::exec();
}

} // namespace Cli
