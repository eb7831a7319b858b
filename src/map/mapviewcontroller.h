#pragma once

#include "core/listmodel.h"
#include "history/historycontrollers.h"
#include "mapgeometry.h"
#include "services/planstores.h"

#include <QDateTime>
#include <QList>
#include <QMap>
#include <QObject>
#include <QPointF>
#include <QRectF>
#include <QVariantList>

struct PlaceSums;

// One place on the usage map: where it was founded, and the bytes used within 500 m of it.
struct MapData
{
    MapPoint mapPoint;
    double cell = 0;
    double wifi = 0;
};

// A pin: which page and place it stands for.
struct PlaceAnnotation
{
    int hourIndex;
    int locationIndex;
    MapCoordinate coordinate;
    QString title = QStringLiteral("\u200b"); // a callout without visible title
};

namespace MapPlaces {
inline constexpr double kMergeMeters = 500;
inline constexpr double kMinimumSpanMeters = 1000;
inline constexpr EdgeInsets kPadding{45, 30, 15, 30};

// The key of the whole-day page: after every hour, so it comes first newest-first.
QDateTime distantFuture();
// Adds usage at a point to the first place closer than 500 m, else to a new place there.
void addPlace(QList<MapData> &places, MapPoint point, double cell, double wifi);
// Places per hour start, and the whole day under distantFuture().
QMap<QDateTime, QList<MapData>> gather(const QList<PlaceSums> &rows);
struct Fit
{
    QList<PlaceAnnotation> pins;
    MapRect rect; // before fitting to the view
};
// The pins of one page and the rectangle that holds them: at least 1,000 m each way, and only the
// part beyond the world's edge when it crosses the 180th meridian.
Fit fitPage(const QList<MapData> &places, int hourIndex);
} // namespace MapPlaces

// The day's usage map: one page per hour with located usage, the whole day first.
class MapViewController : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool busy READ busy NOTIFY loaded)
    Q_PROPERTY(int currentPage READ currentPage NOTIFY pageShown)
    Q_PROPERTY(ListModel *cards READ cards CONSTANT)
    Q_PROPERTY(ListModel *shownPins READ shownPins CONSTANT)
    Q_PROPERTY(bool hasData READ hasData NOTIFY loaded)
    Q_PROPERTY(QString noDataText READ noDataText NOTIFY loaded)
    // The map points on show for the page (x, y, width, height), as fitted to the view.
    Q_PROPERTY(QRectF visibleMapRect READ visibleMapRect NOTIFY pageShown)
    // Where the map's raster tiles come from: {z}, {x} and {y} stand for the tile.
    Q_PROPERTY(QString tileUrlTemplate READ tileUrlTemplate CONSTANT)

public:
    MapViewController(PlanStores &stores, const DayValue &day,
                      std::shared_ptr<const ChartBuckets> hoursOnQueue, QObject *parent = nullptr);

    QMap<QDateTime, QList<MapData>> dataForAll;
    QList<QDateTime> hourKeys;
    // The map view's size in points; the fitted rectangle keeps its aspect.
    double viewWidth = 375;
    double viewHeight = 400;

    bool busy() const { return m_busy; }
    bool hasData() const { return !dataForAll.isEmpty(); }
    QString noDataText() const;
    int currentPage() const { return m_page; }
    QList<PlaceAnnotation> pins() const { return m_pins; }
    MapRect fittedRect() const { return m_fitted; }
    QRectF visibleMapRect() const
    {
        return QRectF(m_fitted.origin.x, m_fitted.origin.y, m_fitted.size.width, m_fitted.size.height);
    }
    // PREF_MAP_TILE_URL, else the OpenStreetMap standard layer.
    QString tileUrlTemplate() const;

    void processData();
    Q_INVOKABLE void showPinsForHour(int page, bool animated);
    // The map view's size in points: the page's rectangle is fitted again.
    Q_INVOKABLE void setViewSize(double width, double height);
    // Where a pin of the page shown falls in a view of that size, in points.
    QPointF pinPosition(int pin, double width, double height) const;

    // The strip came to rest at a horizontal offset: show the page in view.
    Q_INVOKABLE void updatePinsForScroll(double contentOffsetX, double stripWidth);
    // A tapped card scrolls to the next one (the first after the last); -1 with a single card.
    Q_INVOKABLE int nextCardForTap(int card) const;

    // The card strip, a card per page: title, line (a list of TextRun).
    ListModel *cards() const { return m_cards; }
    // The pins of the page shown: latitude, longitude, callout (a list of TextRun).
    ListModel *shownPins() const { return m_shownPins; }

    QString cardTitle(int page) const;
    StyledText cardLine(int page) const;
    StyledText callout(int page, int location) const;

signals:
    void loaded();
    void pageShown();
    void setVisibleMapRect(const MapRect &rect, bool animated);

private:
    PlanStores &m_stores;
    const DayValue &m_day;
    std::shared_ptr<const ChartBuckets> m_hours;
    bool m_busy = true;
    int m_page = -1;
    QList<PlaceAnnotation> m_pins;
    MapRect m_fitted{};
    ListModel *m_cards;
    ListModel *m_shownPins;
};
