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

// What the command line asks for: the view ("hours", "days" or "cycles") and the date it shows.
struct HistoryRequest
{
    QString view;
    std::optional<QDateTime> date;
};

// Each view takes its own date option (--day for hours, --date for days) and no other.
HistoryRequest parseRequest(const Arguments &a)
{
    const QString &usage = a.usage();
    a.expectPositional(1, 1);
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
    return {view, a.has(dateOption) ? std::optional(parseDate(a.option(dateOption))) : std::nullopt};
}

// The screen's controller for a view and the list it shows. The day view owns its hour list; the
// other lists are owned here. Start and end are set for the views of one day or one period.
struct HistoryList
{
    std::unique_ptr<DayViewController> day;
    std::unique_ptr<TimeChartViewController> owned;
    TimeChartViewController *list = nullptr;
    QString title;
    QDateTime start, end;
};

HistoryList openList(Services &s, const QString &view, const QString &plan, const QDateTime &when)
{
    HistoryList h;
    if (view == QLatin1StringView("hours")) {
        h.day = std::make_unique<DayViewController>(s.monitor.plans(), s.monitor.hostNames(), plan);
        h.day->reloadWithDate(when);
        h.list = static_cast<TimeChartViewController *>(h.day->child(0));
        h.title = h.day->title();
        h.start = h.day->thisDay();
        h.end = BillingCycle::addDays(h.start, 1);
    } else if (view == QLatin1StringView("days")) {
        auto *cycle = new CycleViewController(s.monitor.plans(), plan, when);
        h.owned.reset(cycle);
        h.list = cycle;
        h.title = cycle->title();
        h.start = cycle->cycleStartDate();
        h.end = cycle->cycleEndDate();
    } else {
        auto *multi = new MultiCyclesController(s.monitor.plans(), plan);
        h.owned.reset(multi);
        h.list = multi;
        h.title = multi->title();
    }
    return h;
}

// The list's rows, once its sums are in (they are computed on the plan store's queue).
QList<ChartRow> loadedRows(TimeChartViewController *list)
{
    if (list->busy()) {
        QEventLoop loop;
        QObject::connect(list, &TimeChartViewController::loaded, &loop, &QEventLoop::quit);
        loop.exec();
    }
    QList<ChartRow> rows;
    for (int i = 0; i < list->rowCount(); ++i)
        rows.append(list->row(i));
    return rows;
}

// The rows as one line of JSON, with the view's title and, where it has them, its period label and
// bounds.
void printJson(const HistoryList &h, const QList<ChartRow> &rows)
{
    QJsonArray json;
    for (const ChartRow &r : rows) {
        const ChartData d = h.list->dataForChart().value(r.key);
        QJsonObject row{{QStringLiteral("key"), isoWithOffset(r.key)},
                        {QStringLiteral("label"), r.timeLabel},
                        {QStringLiteral("cell"), d.sumCell},
                        {QStringLiteral("wifi"), d.sumWifi},
                        {QStringLiteral("cellFraction"), r.cellPercent},
                        {QStringLiteral("wifiFraction"), r.wifiPercent}};
        if (h.list->showSubLabel())
            row.insert(QStringLiteral("subLabel"), r.subLabel);
        json.append(row);
    }
    QJsonObject o{{QStringLiteral("title"), h.title}, {QStringLiteral("rows"), json}};
    if (!h.list->periodLabel().isEmpty())
        o.insert(QStringLiteral("periodLabel"), h.list->periodLabel());
    if (h.start.isValid()) {
        o.insert(QStringLiteral("start"), isoWithOffset(h.start));
        o.insert(QStringLiteral("end"), isoWithOffset(h.end));
    }
    print(QString::fromUtf8(jsonText(o, false)));
}

// A row a line: cellular amount and bar to the left of the label, Wi-Fi bar and amount to the right.
void printChart(const HistoryList &h, const QList<ChartRow> &rows)
{
    print(h.title + QLatin1Char('\n'));
    if (rows.isEmpty()) {
        print(TimeChartViewController::noUsageText() + QLatin1Char('\n'));
        return;
    }
    print(QStringLiteral("%1%2%3\n")
              .arg(QStringLiteral("cellular"), 31)
              .arg(QStringLiteral("  "), 6)
              .arg(QStringLiteral("Wi-Fi")));
    for (const ChartRow &r : rows) {
        const ChartData d = h.list->dataForChart().value(r.key);
        const QString label =
            h.list->showSubLabel() ? r.subLabel + QLatin1Char(' ') + r.timeLabel : r.timeLabel;
        print(QStringLiteral("%1 %2 %3 %4 %5\n")
                  .arg(DisplayFormat::getDataBytesStr(d.sumCell), 9)
                  .arg(bar(r.cellPercent, 20, true))
                  .arg(label, h.list->showSubLabel() ? 7 : 4)
                  .arg(bar(r.wifiPercent, 20, false))
                  .arg(DisplayFormat::getDataBytesStr(d.sumWifi)));
    }
}

} // namespace

int history(const QStringList &args, Environment &env)
{
    const Arguments a(args, QStringLiteral("history"));
    const HistoryRequest request = parseRequest(a);
    Services &s = env.services();
    const QString plan = a.has(QStringLiteral("plan"))
                             ? requirePlan(s.shared, a.option(QStringLiteral("plan")))
                             : s.shared.activePlanID();
    const QDateTime when = request.date.value_or(s.shared.clock().now());
    // The screens' own controllers compute the rows; the command waits for them.
    const HistoryList h = openList(s, request.view, plan, when);
    const QList<ChartRow> rows = loadedRows(h.list);
    if (a.flag(QStringLiteral("json")))
        printJson(h, rows);
    else
        printChart(h, rows);
    return 0;
}

} // namespace Cli
