// The metrics command and the service's metrics file: each plan's period and byte totals for
// Prometheus, as OpenMetrics or as the text format node_exporter's textfile collector reads.
#include "arguments.h"
#include "cli.h"
#include "core/settingskeys.h"
#include "core/sharedcode.h"
#include "metrics.h"
#include "planfigures.h"
#include "plans/datacap.h"
#include "plans/planorder.h"
#include "services/usagemonitor.h"

#include <QDir>
#include <QFileInfo>
#include <QSaveFile>
#include <QTemporaryFile>

#include <cmath>

namespace Cli {
namespace {

struct Sample
{
    QList<std::pair<QString, QString>> labels;
    double value;
};

struct Family
{
    QString name; // without the counter's "_total"
    bool counter;
    QString help;
    QList<Sample> samples;
};

QString escaped(QString text)
{
    return text.replace(u'\\', QLatin1StringView("\\\\"))
        .replace(u'"', QLatin1StringView("\\\""))
        .replace(u'\n', QLatin1StringView("\\n"));
}

QString number(double v)
{
    if (!std::isfinite(v))
        return v > 0 ? QStringLiteral("+Inf") : v < 0 ? QStringLiteral("-Inf") : QStringLiteral("NaN");
    if (v == std::trunc(v) && std::fabs(v) < 9007199254740992.0)
        return QString::number(qint64(v));
    return QString::number(v, 'g', 17);
}

QString render(const QList<Family> &families, MetricsFormat format)
{
    const bool open = format == MetricsFormat::OpenMetrics;
    QString text;
    for (const Family &f : families) {
        // OpenMetrics names the family and adds "_total" to a counter's samples; the text format
        // names the samples themselves.
        const QString sampleName = f.counter ? f.name + QStringLiteral("_total") : f.name;
        const QString familyName = open ? f.name : sampleName;
        text += QStringLiteral("# HELP %1 %2\n").arg(familyName, f.help);
        text += QStringLiteral("# TYPE %1 %2\n")
                    .arg(familyName, f.counter ? QStringLiteral("counter") : QStringLiteral("gauge"));
        if (open && f.name.endsWith(QLatin1StringView("_bytes")))
            text += QStringLiteral("# UNIT %1 bytes\n").arg(familyName);
        else if (open && f.name.endsWith(QLatin1StringView("_seconds")))
            text += QStringLiteral("# UNIT %1 seconds\n").arg(familyName);
        for (const Sample &s : f.samples) {
            QStringList labels;
            for (const auto &[name, value] : s.labels)
                labels += QStringLiteral("%1=\"%2\"").arg(name, escaped(value));
            text += QStringLiteral("%1{%2} %3\n").arg(sampleName, labels.join(u','), number(s.value));
        }
    }
    if (open)
        text += QStringLiteral("# EOF\n");
    return text;
}

} // namespace

QString metricsText(Services &s, MetricsFormat format)
{
    QList<Family> f{
        {QStringLiteral("tallymo_mobile_bytes"),
         true,
         QStringLiteral("Bytes moved over mobile data (metered links) since the plan's records began."),
         {}},
        {QStringLiteral("tallymo_other_bytes"),
         true,
         QStringLiteral("Bytes moved over every other link since the plan's records began."),
         {}},
        {QStringLiteral("tallymo_period_used_bytes"),
         false,
         QStringLiteral("Mobile data used in the current billing period (what counts against the cap)."),
         {}},
        {QStringLiteral("tallymo_period_other_bytes"),
         false,
         QStringLiteral("Bytes over other links in the current billing period."),
         {}},
        {QStringLiteral("tallymo_period_cap_bytes"),
         false,
         QStringLiteral("The current period's data cap with rollover; absent without a cap."),
         {}},
        {QStringLiteral("tallymo_period_rollover_bytes"),
         false,
         QStringLiteral("The part of the cap rolled over from the previous period."),
         {}},
        {QStringLiteral("tallymo_period_start_timestamp_seconds"),
         false,
         QStringLiteral("When the current billing period began (Unix time)."),
         {}},
        {QStringLiteral("tallymo_period_end_timestamp_seconds"),
         false,
         QStringLiteral("When the current billing period ends (Unix time)."),
         {}},
        {QStringLiteral("tallymo_period_remaining_seconds"),
         false,
         QStringLiteral("Time left in the current billing period."),
         {}},
        {QStringLiteral("tallymo_forecast_state"),
         false,
         QStringLiteral(
             "1 for the forecast at the period's end (safe, caution, danger or over), 0 for the others."),
         {}},
        {QStringLiteral("tallymo_plan_active"),
         false,
         QStringLiteral("1 for the plan new usage is counted against, 0 for the others; the plan's label."),
         {}},
    };
    enum { Mobile, Other, Used, PeriodOther, Cap, Rollover, Start, End, Remaining, Forecast, Active };
    const QString active = s.shared.activePlanID();
    const double now = double(s.shared.clock().now().toMSecsSinceEpoch()) / 1000;
    for (const QString &id : PlanOrder::byLabel(s.shared.userPref().dictionaryForKey(Keys::PREF_ALL_PLANS))) {
        const QString plan = id == active ? QString() : id;
        const Figures figures = readFigures(s, plan);
        const std::shared_ptr<StoreContext> context = s.monitor.plans().storeForPlan(id);
        std::optional<UsageSums> all;
        context->performAndWait([&] {
            all = context->sum(QDateTime::fromSecsSinceEpoch(0), QDateTime::fromSecsSinceEpoch(253402300799));
        });
        const auto p = [&id](std::initializer_list<std::pair<QString, QString>> more = {}) {
            QList<std::pair<QString, QString>> labels{{QStringLiteral("plan"), id}};
            labels.append(more);
            return labels;
        };
        const QString in = QStringLiteral("received"), out = QStringLiteral("sent");
        const QString direction = QStringLiteral("direction");
        if (all) { // a store that cannot be read gives no totals rather than totals that fell
            f[Mobile].samples += {{p({{direction, in}}), all->cellIn}, {p({{direction, out}}), all->cellOut}};
            f[Other].samples += {{p({{direction, in}}), all->wifiIn}, {p({{direction, out}}), all->wifiOut}};
        }
        f[Used].samples += {p(), figures.v.monthCell};
        f[PeriodOther].samples += {p(), figures.v.monthWifi};
        if (figures.cap > 0) {
            f[Cap].samples += {p(), figures.cap};
            const double base = DataCap::baseDataCapForPlan(s.shared, id);
            f[Rollover].samples +=
                {p(), DataCap::isRolloverForPlan(s.shared, id) ? std::max(0.0, figures.cap - base) : 0};
        }
        const double end = double(figures.v.monthEndDate.toMSecsSinceEpoch()) / 1000;
        f[Start].samples += {p(), double(figures.v.monthStartDate.toMSecsSinceEpoch()) / 1000};
        f[End].samples += {p(), end};
        f[Remaining].samples += {p(), std::max(0.0, std::floor(end - now))};
        for (const char *state : {"safe", "caution", "danger", "over"})
            f[Forecast].samples +=
                {p({{QStringLiteral("state"), QString::fromLatin1(state)}}),
                 figures.cap > 0 && figures.forecast == QLatin1StringView(state) ? 1.0 : 0.0};
        f[Active].samples +=
            {p({{QStringLiteral("label"), s.shared.getForPlan(id, Keys::PREF_PLAN_LABEL).toString()}}),
             id == active ? 1.0 : 0.0};
    }
    return render(f, format);
}

int metrics(const QStringList &args, Environment &env)
{
    const Arguments a(args, QStringLiteral("metrics"));
    a.expectPositional(0, 0);
    MetricsFormat format = MetricsFormat::OpenMetrics;
    if (a.has(QStringLiteral("format"))) {
        const QString name = a.option(QStringLiteral("format"));
        if (name == QLatin1StringView("prometheus"))
            format = MetricsFormat::PrometheusText;
        else if (name != QLatin1StringView("openmetrics"))
            throw UsageError(QStringLiteral("--format is openmetrics or prometheus"));
    }
    Services &s = env.services();
    print(metricsText(s, format));
    return 0;
}

QString checkMetricsFile(const QString &path)
{
    const QFileInfo file(path);
    if (file.isDir())
        return QStringLiteral("%1 is a folder").arg(path);
    if (!file.dir().exists())
        return QStringLiteral("the folder %1 does not exist").arg(file.dir().path());
    // The file is replaced by a rename: what must be writable is its folder.
    QTemporaryFile probe(file.dir().filePath(QStringLiteral(".tallymo-metrics-XXXXXX")));
    if (!probe.open())
        return QStringLiteral("cannot write to %1: %2").arg(file.dir().path(), probe.errorString());
    return {};
}

bool writeMetricsFile(const QString &path, const QString &text, QString *error)
{
    QSaveFile file(path);
    if (file.open(QIODevice::WriteOnly) && file.write(text.toUtf8()) >= 0 && file.commit())
        return true;
    *error = file.errorString();
    return false;
}

} // namespace Cli
