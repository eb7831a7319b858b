// The history command: usage per hour of a day, per day of a period, or per period.
#include "arguments.h"
#include "cli.h"
#include "core/settingskeys.h"
#include "day/dayviewcontroller.h"
#include "desktop/displayformat.h"
#include "output.h"
#include "plans/billingcycle.h"
#include "services/usagemonitor.h"

#include <QEventLoop>
#include <QJsonArray>
#include <QJsonObject>

namespace Cli {
namespace {

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
    // The screens' own controllers compute the rows; the command waits for them.
    std::unique_ptr<DayViewController> day;
    std::unique_ptr<TimeChartViewController> owned;
    TimeChartViewController *list = nullptr;
    QString title;
    QDateTime start, end;
    if (view == QLatin1StringView("hours")) {
        day = std::make_unique<DayViewController>(s.delegate.plans(), s.delegate.hostNames(), plan);
        day->reloadWithDate(when);
        list = static_cast<TimeChartViewController *>(day->child(0));
        title = day->title();
        start = day->thisDay();
        end = BillingCycle::addDays(start, 1);
    } else if (view == QLatin1StringView("days")) {
        auto *cycle = new CycleViewController(s.delegate.plans(), plan, when);
        owned.reset(cycle);
        list = cycle;
        title = cycle->title();
        start = cycle->cycleStartDate();
        end = cycle->cycleEndDate();
    } else {
        auto *multi = new MultiCyclesController(s.delegate.plans(), plan);
        owned.reset(multi);
        list = multi;
        title = multi->title();
    }
    if (list->busy()) {
        QEventLoop loop;
        QObject::connect(list, &TimeChartViewController::loaded, &loop, &QEventLoop::quit);
        loop.exec();
    }
    QList<ChartRow> rows;
    for (int i = 0; i < list->rowCount(); ++i)
        rows.append(list->row(i));
    if (a.flag(QStringLiteral("json"))) {
        QJsonArray json;
        for (const ChartRow &r : rows) {
            const ChartData d = list->dataForChart().value(r.key);
            QJsonObject row{{QStringLiteral("key"), isoWithOffset(r.key)},
                            {QStringLiteral("label"), r.timeLabel},
                            {QStringLiteral("cell"), d.sumCell},
                            {QStringLiteral("wifi"), d.sumWifi},
                            {QStringLiteral("cellFraction"), r.cellPercent},
                            {QStringLiteral("wifiFraction"), r.wifiPercent}};
            if (list->showSubLabel())
                row.insert(QStringLiteral("subLabel"), r.subLabel);
            json.append(row);
        }
        QJsonObject o{{QStringLiteral("title"), title}, {QStringLiteral("rows"), json}};
        if (!list->periodLabel().isEmpty())
            o.insert(QStringLiteral("periodLabel"), list->periodLabel());
        if (start.isValid()) {
            o.insert(QStringLiteral("start"), isoWithOffset(start));
            o.insert(QStringLiteral("end"), isoWithOffset(end));
        }
        print(QString::fromUtf8(jsonText(o, false)));
        return 0;
    }
    print(title + QLatin1Char('\n'));
    if (rows.isEmpty()) {
        print(TimeChartViewController::noUsageText() + QLatin1Char('\n'));
        return 0;
    }
    print(QStringLiteral("%1%2%3\n")
              .arg(QStringLiteral("cellular"), 31)
              .arg(QStringLiteral("  "), 6)
              .arg(QStringLiteral("Wi-Fi")));
    for (const ChartRow &r : rows) {
        const ChartData d = list->dataForChart().value(r.key);
        const QString label =
            list->showSubLabel() ? r.subLabel + QLatin1Char(' ') + r.timeLabel : r.timeLabel;
        print(QStringLiteral("%1 %2 %3 %4 %5\n")
                  .arg(DisplayFormat::getDataBytesStr(d.sumCell), 9)
                  .arg(bar(r.cellPercent, 20, true))
                  .arg(label, list->showSubLabel() ? 7 : 4)
                  .arg(bar(r.wifiPercent, 20, false))
                  .arg(DisplayFormat::getDataBytesStr(d.sumWifi)));
    }
    return 0;
}

} // namespace Cli
