// The history command: usage per hour of a day, per day of a period, or per period.
#include "app/datausageappdelegate.h"
#include "arguments.h"
#include "cli.h"
#include "core/settingskeys.h"
#include "history/chartdata.h"
#include "output.h"
#include "plans/billingcycle.h"
#include "sharing/commonshared.h"

#include <QCoreApplication>
#include <QJsonArray>
#include <QJsonObject>

namespace Cli {
namespace {

struct Row
{
    QDateTime key;
    QString label;
    ChartData data;
};

QString bar(double fraction, int span, bool leftward)
{
    const int n = fraction < 0 ? 0 : 1 + int(fraction * (span - 1) + 0.5);
    const QString filled(n, QChar(0x2588));
    const QString pad(span - n, QLatin1Char(' '));
    return leftward ? pad + filled : filled + pad;
}

} // namespace

int history(const QStringList &args, Environment &env)
{
    const Arguments a(args, {QStringLiteral("day"), QStringLiteral("date"), QStringLiteral("plan")},
                      {QStringLiteral("json")});
    const QString usage = QStringLiteral("tallymo history hours [--day D] | days [--date D] | cycles "
                                         "[--plan ID] [--json]");
    a.expectPositional(1, 1, usage);
    const QString view = a.positional.first();
    if (view != QLatin1StringView("hours") && view != QLatin1StringView("days") &&
        view != QLatin1StringView("cycles"))
        throw UsageError(QStringLiteral("unknown history view \"%1\"; usage: %2").arg(view, usage));
    const QString dateOption =
        view == QLatin1StringView("hours") ? QStringLiteral("day") : QStringLiteral("date");
    for (const QString &other : {QStringLiteral("day"), QStringLiteral("date")})
        if (other != dateOption && a.has(other))
            throw UsageError(
                QStringLiteral("--%1 does not go with history %2; usage: %3").arg(other, view, usage));
    if (view == QLatin1StringView("cycles") && a.has(QStringLiteral("date")))
        throw UsageError(QStringLiteral("history cycles takes no date; usage: %1").arg(usage));
    const std::optional<QDateTime> date =
        a.has(dateOption) ? std::optional(parseDate(a.option(dateOption))) : std::nullopt;
    Services &s = env.services();
    const QString plan = a.has(QStringLiteral("plan"))
                             ? requirePlan(s.shared, a.option(QStringLiteral("plan")))
                             : s.shared.activePlanID();
    const QDateTime when = date.value_or(s.shared.clock().now());
    const std::shared_ptr<StoreContext> context = s.delegate.mocForPlan(plan);
    QList<Row> rows;
    QDateTime start, end;
    const bool monthly = s.shared.dataPlanTypeForPlan(plan) == BillingCycle::Monthly;
    context->performAndWait([&] {
        if (view == QLatin1StringView("cycles")) {
            for (const History::PeriodRow &p : History::periods(s.shared, *context, plan))
                rows.append(Row{p.start,
                                p.start.toString(monthly ? QStringLiteral("MMM") : QStringLiteral("d")),
                                p.data});
            return;
        }
        const bool hours = view == QLatin1StringView("hours");
        if (hours) {
            start = BillingCycle::midnightOf(when);
            end = BillingCycle::addDays(start, 1);
        } else {
            const Period p = s.shared.computeStartEndDates(when, plan);
            start = p.start;
            end = p.end;
        }
        const ChartBuckets buckets =
            History::bucketSums(*context, start, end, hours ? History::Bucket::Hour : History::Bucket::Day);
        for (const QDateTime &key : DayChildHelper::reverseSortArrayUsingCompare(buckets.keys()))
            rows.append(Row{key, key.toString(hours ? QStringLiteral("HH") : QStringLiteral("d")),
                            buckets.value(key)});
    });
    ChartBuckets all;
    for (const Row &r : rows)
        all.insert(r.key, r.data);
    const ChartRanges range = History::findRanges(all);
    if (a.flag(QStringLiteral("json"))) {
        QJsonArray list;
        for (const Row &r : rows)
            list.append(QJsonObject{
                {QStringLiteral("key"), isoWithOffset(r.key)},
                {QStringLiteral("label"), r.label},
                {QStringLiteral("cell"), r.data.sumCell},
                {QStringLiteral("wifi"), r.data.sumWifi},
                {QStringLiteral("cellFraction"),
                 History::widthPercent(r.data.sumCell, range.cellNonZeroMinimum, range.cellMaximum)},
                {QStringLiteral("wifiFraction"),
                 History::widthPercent(r.data.sumWifi, range.wifiNonZeroMinimum, range.wifiMaximum)}});
        QJsonObject o{{QStringLiteral("rows"), list}};
        if (start.isValid()) {
            o.insert(QStringLiteral("start"), isoWithOffset(start));
            o.insert(QStringLiteral("end"), isoWithOffset(end));
        }
        print(QString::fromUtf8(jsonText(o, false)));
        return 0;
    }
    if (rows.isEmpty()) {
        print(QCoreApplication::translate("TimeChartViewController", "No Usage") + QLatin1Char('\n'));
        return 0;
    }
    print(QStringLiteral("%1%2%3\n")
              .arg(QStringLiteral("cellular"), 31)
              .arg(QStringLiteral("  "), 6)
              .arg(QStringLiteral("Wi-Fi")));
    for (const Row &r : rows) {
        const double p = History::widthPercent(r.data.sumCell, range.cellNonZeroMinimum, range.cellMaximum);
        const double q = History::widthPercent(r.data.sumWifi, range.wifiNonZeroMinimum, range.wifiMaximum);
        print(QStringLiteral("%1 %2 %3 %4 %5\n")
                  .arg(CommonShared::getDataBytesStr(r.data.sumCell), 9)
                  .arg(bar(p, 20, true))
                  .arg(r.label.left(3), 4)
                  .arg(bar(q, 20, false))
                  .arg(CommonShared::getDataBytesStr(r.data.sumWifi)));
    }
    return 0;
}

} // namespace Cli
