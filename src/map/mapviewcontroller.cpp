#include "mapviewcontroller.h"

#include "core/localtime.h"
#include <cmath>

#include "core/settingskeys.h"
#include "core/sharedcode.h"
#include "core/storecontext.h"
#include "plans/billingcycle.h"

#include <QCoreApplication>

namespace MapPlaces {

QDateTime distantFuture()
{
    return QDateTime(QDate(4001, 1, 1), QTime(0, 0), Qt::UTC);
}

void addPlace(QList<MapData> &places, MapPoint point, double cell, double wifi)
{
    // The first place within reach, not the nearest; it keeps the position it was founded at.
    for (MapData &place : places) {
        if (metersBetweenMapPoints(place.mapPoint, point) < kMergeMeters) {
            place.cell += cell;
            place.wifi += wifi;
            return;
        }
    }
    places.append(MapData{point, cell, wifi});
}

QMap<QDateTime, QList<MapData>> gather(const QList<PlaceSums> &rows)
{
    QMap<QDateTime, QList<MapData>> pages;
    for (const PlaceSums &r : rows) {
        const QDateTime hour = LocalTime::hourStart(r.timeStamp);
        addPlace(pages[hour], mapPointForCoordinate({r.latitude, r.longitude}),
                 r.sums.cellIn + r.sums.cellOut, r.sums.wifiIn + r.sums.wifiOut);
    }
    if (pages.isEmpty())
        return pages;
    QList<MapData> day;
    for (const QList<MapData> &hour : std::as_const(pages))
        for (const MapData &place : hour)
            addPlace(day, place.mapPoint, place.cell, place.wifi);
    pages.insert(distantFuture(), day);
    return pages;
}

Fit fitPage(const QList<MapData> &places, int hourIndex)
{
    Fit fit;
    if (places.isEmpty())
        return fit;
    const MapPoint q = places.last().mapPoint;
    const double perMeter = mapPointsPerMeterAtLatitude(coordinateForMapPoint(q).latitude);
    MapRect rect{q, {1, 1}};
    for (int i = 0; i < places.size(); ++i) {
        const MapPoint p = places.at(i).mapPoint;
        fit.pins.append(PlaceAnnotation{hourIndex, i, coordinateForMapPoint(p)});
        rect = mapRectUnion(rect, MapRect{p, {1, 1}});
    }
    const double span = kMinimumSpanMeters * perMeter;
    rect = mapRectInset(rect, rect.size.width <= span ? -(span - rect.size.width) / 2 : 0,
                        rect.size.height <= span ? -(span - rect.size.height) / 2 : 0);
    if (mapRectSpans180thMeridian(rect))
        rect = mapRectRemainder(rect);
    fit.rect = rect;
    return fit;
}

} // namespace MapPlaces

MapViewController::MapViewController(PlanStores &stores, const DayValue &day,
                                     std::shared_ptr<const ChartBuckets> hoursOnQueue, QObject *parent)
    : QObject(parent), m_stores(stores), m_day(day), m_hours(std::move(hoursOnQueue)),
      m_cards(new ListModel(
          {"title", "line"}, [this] { return int(hourKeys.size()); },
          [this](int page, const QByteArray &role) -> QVariant {
              return role == "title" ? QVariant(cardTitle(page)) : QVariant(runsForView(cardLine(page)));
          },
          this)),
      m_shownPins(new ListModel(
          {"latitude", "longitude", "callout"}, [this] { return int(m_pins.size()); },
          [this](int i, const QByteArray &role) -> QVariant {
              const PlaceAnnotation &pin = m_pins.at(i);
              if (role == "latitude")
                  return pin.coordinate.latitude;
              if (role == "longitude")
                  return pin.coordinate.longitude;
              return runsForView(callout(pin.hourIndex, pin.locationIndex));
          },
          this))
{
    connect(this, &MapViewController::loaded, m_cards, &ListModel::reload);
    connect(this, &MapViewController::pageShown, m_shownPins, &ListModel::reload);
    processData();
}

QString MapViewController::noDataText() const
{
    return m_stores.shared().userPref().boolForKey(Keys::PREF_GEO_HIDE_HINT)
               ? tr("No Locations")
               : tr("No locations. Go to Settings > Advanced > Map Usage to turn on.");
}

void MapViewController::processData()
{
    m_busy = true;
    const std::shared_ptr<StoreContext> context = m_day.storeContext();
    if (!context) {
        m_busy = false;
        emit loaded();
        return;
    }
    const QDateTime start = m_day.thisDay(), end = m_day.nextDay();
    QPointer<MapViewController> self(this);
    context->perform([self, context, hours = m_hours, start, end] {
        // Nothing is fetched for a day without usage.
        const QMap<QDateTime, QList<MapData>> pages = hours && !hours->isEmpty()
                                                          ? MapPlaces::gather(context->placeSums(start, end))
                                                          : QMap<QDateTime, QList<MapData>>();
        dispatchMain([self, pages] {
            if (!self)
                return;
            self->dataForAll = pages;
            self->hourKeys = HistoryFormat::reverseSortArrayUsingCompare(pages.keys());
            self->m_busy = false;
            self->m_page = -1;
            emit self->loaded();
            if (self->hasData())
                self->showPinsForHour(0, false);
        });
    });
}

void MapViewController::showPinsForHour(int page, bool animated)
{
    if (page < 0 || page >= hourKeys.size())
        return;
    if (page != m_page) {
        m_page = page;
        const MapPlaces::Fit fit = MapPlaces::fitPage(dataForAll.value(hourKeys.at(page)), page);
        m_pins = fit.pins;
        m_fitted = mapRectThatFits(fit.rect, MapPlaces::kPadding, viewWidth, viewHeight);
        emit pageShown();
    }
    emit setVisibleMapRect(m_fitted, animated);
}

QString MapViewController::tileUrlTemplate() const
{
    const QString stored = m_stores.shared().userPref().stringForKey(Keys::PREF_MAP_TILE_URL);
    return stored.isEmpty() ? QStringLiteral("https://tile.openstreetmap.org/{z}/{x}/{y}.png") : stored;
}

void MapViewController::setViewSize(double width, double height)
{
    if (!(width > 0 && height > 0) || (width == viewWidth && height == viewHeight))
        return;
    viewWidth = width;
    viewHeight = height;
    if (m_page < 0)
        return;
    const MapPlaces::Fit fit = MapPlaces::fitPage(dataForAll.value(hourKeys.at(m_page)), m_page);
    m_fitted = mapRectThatFits(fit.rect, MapPlaces::kPadding, viewWidth, viewHeight);
    emit pageShown();
    emit setVisibleMapRect(m_fitted, false);
}

QPointF MapViewController::pinPosition(int pin, double width, double height) const
{
    if (pin < 0 || pin >= m_pins.size() || !(m_fitted.size.width > 0) || !(m_fitted.size.height > 0))
        return QPointF(-1, -1);
    MapPoint p = mapPointForCoordinate(m_pins.at(pin).coordinate);
    // A rectangle across the 180th meridian reaches past the world's east edge.
    if (p.x < m_fitted.minX())
        p.x += kMapSizeWorld.width;
    return QPointF((p.x - m_fitted.minX()) / m_fitted.size.width * width,
                   (p.y - m_fitted.minY()) / m_fitted.size.height * height);
}

void MapViewController::updatePinsForScroll(double contentOffsetX, double stripWidth)
{
    if (stripWidth > 0)
        showPinsForHour(int(std::lround(contentOffsetX / stripWidth)), true);
}

int MapViewController::nextCardForTap(int card) const
{
    if (hourKeys.size() < 2)
        return -1;
    return (card + 1) % int(hourKeys.size());
}

QString MapViewController::cardTitle(int page) const
{
    if (page == 0)
        return tr("All Locations");
    if (page < 0 || page >= hourKeys.size())
        return QString();
    const QDateTime now = m_stores.shared().clock().now();
    return DateFormatter::withPattern(HistoryFormat::hourFormat(now)).toString(hourKeys.at(page));
}

StyledText MapViewController::cardLine(int page) const
{
    if (page == 0)
        return {TextRun{QStringLiteral("\u22ee   "), TextRun::Number}};
    if (page < 0 || page >= hourKeys.size())
        return {};
    const ChartData d = m_day.dataForAllHours().value(hourKeys.at(page));
    return HistoryFormat::headerUsageStringForCell(d.sumCell, d.sumWifi);
}

StyledText MapViewController::callout(int page, int location) const
{
    const QList<MapData> places =
        page >= 0 && page < hourKeys.size() ? dataForAll.value(hourKeys.at(page)) : QList<MapData>();
    if (location < 0 || location >= places.size())
        return {};
    return HistoryFormat::headerUsageStringForCell(places.at(location).cell, places.at(location).wifi);
}
