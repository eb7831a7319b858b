#pragma once

#include <QDateTime>
#include <QList>
#include <QMap>
#include <QObject>
#include <QString>

#include <limits>
#include <memory>

class StoreContext;
class SharedCode;

// One bar pair of a history chart: cellular and Wi-Fi bytes, each received plus sent.
struct ChartData
{
    double sumCell = 0;
    double sumWifi = 0;
    QString description() const; // "c:%.1f w:%.1f"
};

// The scale of one chart, per network: the largest value and the smallest above 51 bytes.
struct ChartRanges
{
    double cellMaximum = 0;
    double cellNonZeroMinimum = std::numeric_limits<double>::max();
    double wifiMaximum = 0;
    double wifiNonZeroMinimum = std::numeric_limits<double>::max();
};

using ChartBuckets = QMap<QDateTime, ChartData>;

namespace History {

// Values of 51 bytes or less never set the minimum: a trickle does not stretch the scale.
inline constexpr double kTrickleBytes = 51;

ChartRanges findRanges(const ChartBuckets &buckets);
// The fraction of a bar's span for a value; -1 means no bar.
double widthPercent(double value, double min, double max);

// Where a row's elements go for a row width (points), with bar fractions p (cellular), q (Wi-Fi).
struct RowLayout
{
    double cellAmountX, wifiAmountX;
    double cellBarX, cellBarWidth; // the cellular bar ends at centre - 26
    double wifiBarX, wifiBarWidth;
};
RowLayout rowLayout(double width, double p, double q);

// Sums per hour of [start, end) (keyed by the hour's start) or per day (by the day's start).
enum class Bucket { Hour, Day };
ChartBuckets bucketSums(StoreContext &context, const QDateTime &start, const QDateTime &end, Bucket bucket);

// The periods with usage, newest first, looking back 12 periods (30 for N-day plans of N < 3),
// stopping at the earliest record. On the context's queue.
struct PeriodRow
{
    QDateTime start;
    QDateTime end;
    ChartData data;
};
QList<PeriodRow> periods(SharedCode &shared, StoreContext &context, const QString &plan);
// A period's sums; nothing when neither network used more than 0 bytes.
std::optional<ChartData> computeUsage(StoreContext &context, const QDateTime &start, const QDateTime &end);

} // namespace History

// A piece of styled text: what the views draw in the icon font, the number font or the unit font.
struct TextRun
{
    Q_GADGET
    Q_PROPERTY(QString text MEMBER text)
    Q_PROPERTY(Style style MEMBER style)

public:
    enum Style { Glyph, Number, Unit };
    Q_ENUM(Style)
    QString text;
    Style style;
    bool operator==(const TextRun &) const = default;
};
using StyledText = QList<TextRun>;
// As a view reads it: a list of TextRun values.
QVariantList runsForView(const StyledText &text);

// Operations shared by the history screens.
class HistoryFormat
{
public:
    static QList<QDateTime> reverseSortArrayUsingCompare(QList<QDateTime> dates);
    // Whether the locale's short time shows no AM/PM marker.
    static bool timeIs24HourFormat(const QDateTime &now);
    // The locale's pattern for "HHmm" on a 24-hour clock, for "ha" otherwise.
    static QString hourFormat(const QDateTime &now);
    // A list pulled down by more than 100 points while the finger is still on it closes the history.
    static bool dismissScrollViewGesture(bool tracking, double contentOffsetY);
    // "c" amount, "w" amount, as the day screen's header and the map's callouts show them.
    static StyledText headerUsageStringForCell(double cell, double wifi);
    // The totals line over all buckets of a range; empty without any.
    static StyledText totalsLine(const ChartBuckets &buckets);
};

// What a page of the day screen is given of its day: the plan's store, the day's range and the
// day's hours as the day screen has summed them (empty until then).
class DayValue
{
public:
    virtual ~DayValue() = default;
    virtual std::shared_ptr<StoreContext> storeContext() const = 0;
    virtual QDateTime thisDay() const = 0;
    virtual QDateTime nextDay() const = 0;
    virtual ChartBuckets dataForAllHours() const = 0;
};
