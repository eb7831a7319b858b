#include "usageintent.h"

#include "displayformat.h"
#include "plans/datacap.h"
#include "widgetstats.h"

#include <QCoreApplication>

namespace {
QString tr(const char *text)
{
    return QCoreApplication::translate("UsageIntent", text);
}
} // namespace

ShowUsageIntentResponse ShowUsageIntentResponse::successIntentResponseWithForecast(const QString &forecast,
                                                                                   double percent)
{
    ShowUsageIntentResponse r;
    r.code = kSuccess;
    r.forecast = forecast;
    r.percent = percent;
    return r;
}

QJsonObject ShowUsageIntentResponse::toJson() const
{
    QJsonObject o{{QStringLiteral("code"), code}};
    if (code != kSuccess)
        return o;
    o.insert(QStringLiteral("forecast"), forecast);
    o.insert(QStringLiteral("percent"), percent);
    if (stats) {
        o.insert(QStringLiteral("stats"),
                 QJsonObject{{QStringLiteral("usedPercent"), stats->usedPercent},
                             {QStringLiteral("forecastString"), stats->forecastString},
                             {QStringLiteral("forecastCode"), stats->forecastCode},
                             {QStringLiteral("megabytesLeft"), stats->megabytesLeft},
                             {QStringLiteral("daysLeft"), stats->daysLeft},
                             {QStringLiteral("timeUnit"), stats->timeUnit}});
    }
    return o;
}

QVariantMap ShowUsageIntentResponse::toVariantMap() const
{
    QVariantMap map = toJson().toVariantMap();
    map.insert(QStringLiteral("spokenText"), spokenText());
    return map;
}

QString ShowUsageIntentResponse::spokenText() const
{
    if (code != kSuccess || !stats)
        return QCoreApplication::translate(
            "ShowUsageIntentResponse", "Tallymo is not set up yet. Open Tallymo to set up your data plan.");
    return QCoreApplication::translate(
               "ShowUsageIntentResponse",
               "You have used %1 percent of your data. %2 left for %3 %4. The forecast is %5.")
        .arg(DataCap::roundedPercent(stats->usedPercent))
        .arg(DisplayFormat::getDataBytesStr(stats->megabytesLeft * 1048576.0))
        .arg(stats->daysLeft)
        .arg(stats->timeUnit)
        .arg(forecast);
}

QString UsageIntent::invocationPhrase()
{
    return tr("Call Tallymo");
}

ShowUsageIntentResponse UsageIntent::responseForRecord(const QVariantMap &record)
{
    if (record.value(WStats::NOT_SETUP).toBool() || !record.contains(WStats::PERCENT)) {
        ShowUsageIntentResponse r;
        r.code = ShowUsageIntentResponse::kFailureRequiringAppLaunch;
        return r;
    }
    const QString forecast = record.value(WStats::FORECAST).toString();
    const double percent = record.value(WStats::PERCENT).toDouble();
    ShowUsageIntentResponse r = ShowUsageIntentResponse::successIntentResponseWithForecast(forecast, percent);
    r.stats = Stats{percent,
                    forecast,
                    DataCap::forecastIconCode(forecast),
                    record.value(WStats::LEFT).toDouble() / 1048576.0,
                    record.value(WStats::DAYS).toLongLong(),
                    record.value(WStats::TIMEUNIT).toString()};
    return r;
}
