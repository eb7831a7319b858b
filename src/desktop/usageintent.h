#pragma once

#include <QJsonObject>
#include <QString>
#include <QVariantMap>

#include <optional>

// The members of the usage intent's answer.
struct Stats
{
    double usedPercent = 0;
    QString forecastString;
    QString forecastCode;
    double megabytesLeft = 0;
    qint64 daysLeft = 0;
    QString timeUnit; // "days", "day", "hours" or "hour", as the widget shows it
};

// The answer to "show my usage": a response code, the forecast and percent, and the statistics.
struct ShowUsageIntentResponse
{
    // The platform's response codes this answer uses.
    static constexpr int kSuccess = 4;
    static constexpr int kFailureRequiringAppLaunch = 6;

    int code = 0;
    QString forecast;
    double percent = 0;
    std::optional<Stats> stats;

    static ShowUsageIntentResponse successIntentResponseWithForecast(const QString &forecast, double percent);
    QJsonObject toJson() const;
    // The same as bus values, with the sentence to say under "spokenText".
    QVariantMap toVariantMap() const;
    // One sentence to say aloud.
    QString spokenText() const;
};

namespace UsageIntent {
// The phrase that calls the intent.
QString invocationPhrase();
// The answer from the widget record (WidgetRecord): success with the figures, or, before setup,
// a failure that asks to open the app.
ShowUsageIntentResponse responseForRecord(const QVariantMap &record);
} // namespace UsageIntent
