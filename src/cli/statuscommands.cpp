// The status, refresh and alerts commands.
#include "arguments.h"
#include "cli.h"
#include "core/settingskeys.h"
#include "core/sharedcode.h"
#include "desktop/displayformat.h"
#include "desktop/usageintent.h"
#include "desktop/widgetstats.h"
#include "output.h"
#include "planfigures.h"
#include "plans/billingcycle.h"
#include "plans/colorscheme.h"
#include "plans/datacap.h"
#include "services/alertthresholds.h"
#include "services/usagemonitor.h"

#include <QCoreApplication>
#include <QJsonObject>
#include <QProcess>
#include <QStandardPaths>

#include <cmath>
#include <cstdio>
#include <unistd.h>

namespace Cli {

Figures readFigures(Services &s, const QString &plan)
{
    const std::shared_ptr<StoreContext> context =
        s.monitor.plans().storeForPlan(plan.isNull() ? s.shared.activePlanID() : plan);
    Figures f;
    context->performAndWait([&] {
        f.v = s.monitor.figures().readCurrentValues(context.get(), plan);
        f.cap = DataCap::effectiveDataCap(s.shared, context.get(), plan);
    });
    f.ratio = s.monitor.figures().forecastRatio(f.v);
    f.forecast = DataCap::forecastText(f.ratio);
    f.color = ColorScheme::colorForRatio(s.shared, f.ratio);
    f.level = AlertService::thresholdLevelFor(f.v.monthPercent, s.shared.userPref());
    f.timeLeft = s.monitor.figures().timeLeft(f.v, plan);
    return f;
}

namespace {

QJsonObject figuresJson(const Figures &f)
{
    return QJsonObject{{QStringLiteral("monthStartDate"), isoWithOffset(f.v.monthStartDate)},
                       {QStringLiteral("monthEndDate"), isoWithOffset(f.v.monthEndDate)},
                       {QStringLiteral("monthCellIn"), f.v.monthCellIn},
                       {QStringLiteral("monthCellOut"), f.v.monthCellOut},
                       {QStringLiteral("monthCell"), f.v.monthCell},
                       {QStringLiteral("monthWifiIn"), f.v.monthWifiIn},
                       {QStringLiteral("monthWifiOut"), f.v.monthWifiOut},
                       {QStringLiteral("monthWifi"), f.v.monthWifi},
                       {QStringLiteral("effectiveDataCap"), f.cap},
                       {QStringLiteral("monthPercent"), f.v.monthPercent},
                       {QStringLiteral("forecastRatio"), f.ratio},
                       {QStringLiteral("forecast"), f.forecast},
                       {QStringLiteral("forecastIconCode"), DataCap::forecastIconCode(f.forecast)},
                       {QStringLiteral("color"), qint64(f.color)},
                       {QStringLiteral("timeLeft"), f.timeLeft.first},
                       {QStringLiteral("timeUnit"), f.timeLeft.second},
                       {QStringLiteral("thresholdLevel"), f.level}};
}

bool useColor()
{
    return ::isatty(STDOUT_FILENO) && qEnvironmentVariableIsEmpty("NO_COLOR");
}

QString bar(double percent, int width)
{
    const int filled = int(std::clamp(percent, 0.0, 100.0) * width / 100 + 0.5);
    return QString(filled, QChar(0x2588)) + QString(width - filled, QChar(0x2591));
}

QString humanStatus(Services &s, const Figures &f, const QString &planId)
{
    const QString plan = s.shared.getForPlan(planId, Keys::PREF_PLAN_LABEL).toString();
    const QString type = PlanTexts::planNameForLength(BillingCycle::dataPlanTypeForPlan(s.shared, planId),
                                                      BillingCycle::nForCycleForPlan(s.shared, planId));
    const QString dateFormat = QStringLiteral("d MMM yyyy");
    QString out =
        QStringLiteral("%1 (%2)  %3 → %4, %5 %6 left\n")
            .arg(plan, type, f.v.monthStartDate.toString(dateFormat), f.v.monthEndDate.toString(dateFormat))
            .arg(f.timeLeft.first)
            .arg(f.timeLeft.second);
    const auto row = [](const QString &name, double total, double in, double out) {
        return QStringLiteral("  %1 %2   ↓ %3   ↑ %4\n")
            .arg(name, -9)
            .arg(DisplayFormat::getDataBytesStr(total), 10)
            .arg(DisplayFormat::getDataBytesStr(in), 10)
            .arg(DisplayFormat::getDataBytesStr(out), 10);
    };
    out += row(QStringLiteral("Cellular"), f.v.monthCell, f.v.monthCellIn, f.v.monthCellOut);
    out += row(QStringLiteral("Wi-Fi"), f.v.monthWifi, f.v.monthWifiIn, f.v.monthWifiOut);
    QString forecast = f.forecast;
    if (useColor())
        forecast = QString::asprintf("\x1b[1;38;2;%u;%u;%um", (f.color >> 16) & 0xFF, (f.color >> 8) & 0xFF,
                                     f.color & 0xFF) +
                   forecast + QStringLiteral("\x1b[0m");
    if (f.cap > 0)
        out += QStringLiteral("  %1 %2   %3 %4%  %5\n")
                   .arg(QStringLiteral("Cap"), -9)
                   .arg(DisplayFormat::getDataBytesStr(f.cap), 10)
                   .arg(bar(f.v.monthPercent, 20))
                   .arg(DataCap::roundedPercent(f.v.monthPercent))
                   .arg(forecast);
    else
        out += QStringLiteral("  %1 none set   %2\n").arg(QStringLiteral("Cap"), -9).arg(forecast);
    return out;
}

} // namespace

int status(const QStringList &args, Environment &env)
{
    const Arguments a(args, QStringLiteral("status"));
    a.expectPositional(0, 0);
    Services &s = env.services();
    const QString plan =
        a.has(QStringLiteral("plan")) ? requirePlan(s.shared, a.option(QStringLiteral("plan"))) : QString();
    const Figures f = readFigures(s, plan);
    if (const QString failure = UsageStore::takeFailure(); !failure.isEmpty())
        throw Failure(failure); // no figures rather than figures that read as no usage
    print(a.flag(QStringLiteral("json")) ? QString::fromUtf8(jsonText(figuresJson(f), false))
                                         : humanStatus(s, f, plan));
    return 0;
}

int intent(const QStringList &args, Environment &env)
{
    const Arguments a(args, QStringLiteral("intent"));
    const QString &usage = a.usage();
    a.expectPositional(1, 1);
    if (a.positional.first() != QLatin1StringView("show-usage"))
        throw UsageError(QStringLiteral("unknown intent \"%1\"; usage: %2").arg(a.positional.first(), usage));
    Services &s = env.services();
    const ShowUsageIntentResponse r = UsageIntent::responseForRecord(WidgetRecord::current(s.shared));
    print(a.flag(QStringLiteral("json")) ? QString::fromUtf8(jsonText(r.toJson(), false))
                                         : r.spokenText() + QLatin1Char('\n'));
    if (!a.flag(QStringLiteral("speak")))
        return r.code == ShowUsageIntentResponse::kSuccess ? 0 : 1;
    const QString say = QStandardPaths::findExecutable(QStringLiteral("spd-say"));
    if (say.isEmpty()) {
        printError(QStringLiteral("tallymo: cannot speak: speech-dispatcher's spd-say is not installed "
                                  "(Debian: apt-get install speech-dispatcher)\n"));
        return 1;
    }
    // Waits until the sentence is spoken, so a key binding does not cut it off.
    if (QProcess::execute(say, {QStringLiteral("--wait"), r.spokenText()}) != 0) {
        printError(QStringLiteral("tallymo: spd-say could not speak the answer\n"));
        return 1;
    }
    return r.code == ShowUsageIntentResponse::kSuccess ? 0 : 1;
}

int refresh(const QStringList &args, Environment &env)
{
    const Arguments a(args, QStringLiteral("refresh"));
    a.expectPositional(0, 0);
    Services &s = env.desktopServices();
    s.monitor.prepareLaunch();
    s.monitor.completeLaunch();
    // A command typed or run by a timer counts as in front: the bill-cycle reminders are
    // rescheduled (with no window, alerts still come as notifications).
    s.monitor.enterForeground();
    std::optional<FetchResult> result;
    s.monitor.checkUsage([&](FetchResult r) {
        result = r;
        QCoreApplication::exit();
    });
    if (!result)
        QCoreApplication::exec();
    const SampleResult r = s.monitor.figures().lastSample();
    const CurrentValues v = s.monitor.figures().values();
    print(QStringLiteral("%1; cellular %2 (%3%), Wi-Fi %4, alert level %5\n")
              .arg(!r.locked ? QStringLiteral("sample skipped (another process is sampling)")
                   : r.event ? QStringLiteral("new usage recorded")
                             : QStringLiteral("no new usage"),
                   DisplayFormat::getDataBytesStr(v.monthCell))
              .arg(DataCap::roundedPercent(v.monthPercent))
              .arg(DisplayFormat::getDataBytesStr(v.monthWifi))
              .arg(s.monitor.alerts().currentThresholdLevel()));
    if (!r.failure.isEmpty()) {
        printError(QStringLiteral("tallymo: %1\n").arg(r.failure));
        return 1;
    }
    if (r.locked && !r.countersRead)
        return 1;
    return r.event ? 0 : kExitNoData;
}

int alerts(const QStringList &args, Environment &env)
{
    const Arguments a(args, QStringLiteral("alerts"));
    const QString &usage = a.usage();
    a.expectPositional(1, 3);
    const QString &verb = a.positional.first();
    if (verb == QLatin1StringView("show")) {
        a.expectPositional(1, 1);
        Services &s = env.services();
        for (int n = 1; n <= 4; ++n)
            print(QStringLiteral("%1 %2  %3\n")
                      .arg(n)
                      .arg(AlertThresholds::name(n), -7)
                      .arg(AlertThresholds::percentText(s.shared.userPref(), n), 5));
        print(QStringLiteral("level %1\n").arg(s.monitor.alerts().currentThresholdLevel()));
        return 0;
    }
    if (verb != QLatin1StringView("set"))
        throw UsageError(QStringLiteral("unknown alerts command \"%1\"; usage: %2").arg(verb, usage));
    a.expectPositional(3, 3);
    bool ok = false;
    const int n = a.positional.at(1).toInt(&ok);
    if (!ok || n < 1 || n > 4)
        throw UsageError(QStringLiteral("the alert number N is 1, 2, 3 or 4"));
    const QString text =
        a.positional.at(2).endsWith(QLatin1Char('%')) ? a.positional.at(2).chopped(1) : a.positional.at(2);
    const double percent = text.toDouble(&ok);
    if (!ok || !std::isfinite(percent))
        throw UsageError(QStringLiteral("\"%1\" is not a percentage").arg(a.positional.at(2)));
    Services &s = env.services();
    const AlertThresholds::Range range = AlertThresholds::range(s.shared.userPref(), n);
    if (percent < range.min || percent > range.max)
        throw UsageError(QStringLiteral("the %1 alert must be between %2% and %3%")
                             .arg(AlertThresholds::name(n).toLower())
                             .arg(range.min)
                             .arg(range.max));
    s.shared.userPref().setValue(Keys::alert(n), percent);
    return synchronized(s.shared);
}

} // namespace Cli
