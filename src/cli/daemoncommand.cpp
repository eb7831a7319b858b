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
    explicit Sampler(SharedCode &shared) : m_shared(shared) {}

    // One sample into the active plan and a line saying what it did and where the period stands.
    void sampleAndReport()
    {
        const std::shared_ptr<StoreContext> context = m_shared.mocForActive();
        SampleResult r;
        std::optional<UsageSums> sums;
        Period p;
        context->performAndWait([&] {
            r = m_shared.saveUsageGasp(context.get(), Coordinate{});
            p = m_shared.computeStartEndDates(m_shared.clock().now(), QString());
            sums = context->sum(p.start, p.end);
        });
        if (sums) m_sums = *sums;
        const QString now = isoWithOffset(m_shared.clock().now());
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
        print(QStringLiteral("%1  %2 | period %3 → %4: cell %5 wifi %6\n")
                  .arg(now, what, p.start.date().toString(Qt::ISODate), p.end.date().toString(Qt::ISODate),
                       CommonShared::getDataBytesStr(m_sums.cellIn + m_sums.cellOut),
                       CommonShared::getDataBytesStr(m_sums.wifiIn + m_sums.wifiOut)));
        std::fflush(stdout);
    }

private:
    SharedCode &m_shared;
    UsageSums m_sums;
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
    Services &s = env.services();
    Sampler sampler(s.shared);
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
