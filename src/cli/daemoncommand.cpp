// The background service: a sample on a timer, a line per sample, a last sample when stopped.
#include "app/datausageappdelegate.h"
#include "arguments.h"
#include "cli.h"
#include "core/sharedcode.h"
#include "output.h"
#include "sharing/commonshared.h"

#include <QCoreApplication>
#include <QTimer>

#include <cstdio>

namespace Cli {
namespace {

class Sampler
{
public:
    explicit Sampler(DataUsageAppDelegate &delegate) : m_delegate(delegate) {}

    // One usage check and a line saying what it did and where the period stands.
    void sampleAndReport()
    {
        const SampleResult r = m_delegate.runUsageCheck();
        const CurrentValues v = m_delegate.values();
        const QString now = isoWithOffset(m_delegate.shared().clock().now());
        QString what;
        if (!r.locked)
            what = QStringLiteral("skipped (another process is sampling)");
        else if (!r.countersRead)
            what = QStringLiteral("counters unreadable");
        else if (!r.event)
            what = QStringLiteral("no new usage");
        else
            what = QStringLiteral("+cell %1 +wifi %2")
                       .arg(CommonShared::getDataBytesStr(r.event->cellIn + r.event->cellOut),
                            CommonShared::getDataBytesStr(r.event->wifiIn + r.event->wifiOut));
        print(QStringLiteral("%1  %2 | period %3 → %4: cell %5 (%6%) wifi %7, level %8\n")
                  .arg(now, what, v.monthStartDate.date().toString(Qt::ISODate),
                       v.monthEndDate.date().toString(Qt::ISODate),
                       CommonShared::getDataBytesStr(v.monthCell))
                  .arg(DataUsageAppDelegate::roundedPercent(v.monthPercent))
                  .arg(CommonShared::getDataBytesStr(v.monthWifi))
                  .arg(m_delegate.getCurrentThresholdLevel()));
        std::fflush(stdout);
    }

private:
    DataUsageAppDelegate &m_delegate;
};

} // namespace

int daemon(const QStringList &args, Environment &env)
{
    const Arguments a(args, {QStringLiteral("interval")}, {});
    a.expectPositional(0, 0, QStringLiteral("tallymo daemon [--interval SECONDS]"));
    double interval = 300;
    if (a.has(QStringLiteral("interval"))) {
        bool ok = false;
        interval = a.option(QStringLiteral("interval")).toDouble(&ok);
        if (!ok || !(interval >= 1 && interval <= 86400))
            throw UsageError(QStringLiteral("--interval takes a number of seconds from 1 to 86400"));
    }
    Services &s = env.desktopServices();
    s.delegate.applicationState = DataUsageAppDelegate::Background;
    if (env.startBackgroundService) env.startBackgroundService();
    Sampler sampler(s.delegate);
    QTimer timer;
    timer.setInterval(int(interval * 1000));
    QObject::connect(&timer, &QTimer::timeout, [&] { sampler.sampleAndReport(); });
    env.onTerminationRequest([&] {
        timer.stop();
        sampler.sampleAndReport();
        QCoreApplication::quit();
    });
    sampler.sampleAndReport();
    timer.start();
    return QCoreApplication::exec();
}

} // namespace Cli
