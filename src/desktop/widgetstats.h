#pragma once

#include <QDateTime>
#include <QJsonObject>
#include <QString>
#include <QVariantMap>

class SharedCode;

// The keys of the statistics record the widget and the watch show.
namespace WStats {
inline const QString NOT_SETUP = QStringLiteral("WSTATS_NOT_SETUP");
inline const QString TIMESTAMP = QStringLiteral("WSTATS_TIMESTAMP");
inline const QString F_RATIO = QStringLiteral("WSTATS_F_RATIO");
inline const QString PERCENT = QStringLiteral("WSTATS_PERCENT");
inline const QString USED = QStringLiteral("WSTATS_USED");
inline const QString LEFT = QStringLiteral("WSTATS_LEFT");
inline const QString DAYS = QStringLiteral("WSTATS_DAYS");
inline const QString COLOR = QStringLiteral("WSTATS_COLOR");
inline const QString FORECAST = QStringLiteral("WSTATS_FORECAST");
inline const QString TIMEUNIT = QStringLiteral("WSTATS_TIMEUNIT");
} // namespace WStats

class LocationService;
class StoreContext;
struct Coordinate;

// The widget's figures of the current period (a null plan is the active plan).
namespace WidgetStats {
// The five WSTATS_ keys of the store's plan; on the context's queue.
QVariantMap computeWidgetStats(SharedCode &shared, StoreContext *context);
// The widget's position: the location service's last fix, when usage is being mapped.
Coordinate getCurrentCoordinateForWidget(const SharedCode &shared, LocationService *location);
bool isMapTracking(const SharedCode &shared, LocationService *location);
int widgetAppearance(const SharedCode &shared);
inline int widgetColorStyle()
{
    return 0;
}
} // namespace WidgetStats

namespace WidgetRecord {
// First-run setup is finished.
bool isSetUp(const SharedCode &shared);
// Before setup: only the flag and the moment.
QVariantMap notSetUp(const QDateTime &now);
// The full record from computeWidgetStats: the moment, colour, forecast text and time unit added,
// the ratio itself left out (what the watch is answered and the widget shows).
QVariantMap fromStats(const SharedCode &shared, const QVariantMap &stats, const QDateTime &now);
// A date as ISO 8601 local time with its offset, as records carry dates outside the process.
QString isoText(const QDateTime &date);
// The record with its dates as isoText, everything else as it is.
QVariantMap withDatesAsText(const QVariantMap &record);
// The record as JSON: dates in ISO 8601 with their offset, numbers as they are.
QJsonObject toJson(const QVariantMap &record);
// The record of now for the active plan: a last sample is taken first (no position), so the
// figures are this moment's; before setup, the not-set-up record.
QVariantMap current(SharedCode &shared);
// Where the last reload left the record: $XDG_RUNTIME_DIR/tallymo/widget.json.
QString recordFilePath();
// Writes the record there, replacing the file whole; false (and logged) when it cannot.
bool writeRecordFile(const QVariantMap &record, const QString &path = recordFilePath());
} // namespace WidgetRecord

// Tells the platform to redraw the widgets.
class WidgetCenter
{
public:
    virtual ~WidgetCenter() = default;
    virtual void reloadAllTimelines() = 0;
};

class WidgetHelper
{
public:
    static void reload();
    // The process's widget service; nothing is reloaded without one.
    static void setCenter(WidgetCenter *center);
};
