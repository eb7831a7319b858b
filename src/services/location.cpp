// Where a sample was taken: the location service, visits, and the coordinate stored with usage.
#include "location.h"
#include "desktop/widgetstats.h"

#include "core/dispatchqueue.h"
#include "core/settingskeys.h"
#include "datausageappdelegate.h"

std::optional<Visit> VisitDetector::addFix(const LocationFix &fix)
{
    // Positions without a usable accuracy say nothing about where the device stays.
    if (!(fix.horizontalAccuracy >= 0 && fix.horizontalAccuracy <= 500) || !fix.timestamp.isValid() ||
        !isValidCoordinate(fix.latitude, fix.longitude))
        return std::nullopt;
    if (!m_anchor) {
        m_anchor = fix;
        return std::nullopt;
    }
    const bool inside =
        metersBetween(m_anchor->latitude, m_anchor->longitude, fix.latitude, fix.longitude) <= kRadiusMeters;
    if (m_visit) {
        if (inside)
            return std::nullopt;
        Visit departed = *m_visit;
        departed.departureDate = fix.timestamp;
        m_visit.reset();
        m_anchor = fix;
        return departed;
    }
    if (!inside) {
        m_anchor = fix;
        return std::nullopt;
    }
    if (m_anchor->timestamp.secsTo(fix.timestamp) < kDwellSeconds)
        return std::nullopt;
    m_visit = Visit{m_anchor->latitude, m_anchor->longitude, m_anchor->timestamp, QDateTime()};
    return m_visit;
}

bool DataUsageAppDelegate::isMapTracking()
{
    return WidgetStats::isMapTracking(m_shared, m_services.location);
}

void DataUsageAppDelegate::initLocation()
{
    if (isMapTracking())
        turnOnLocation();
    else
        killLocation();
}

void DataUsageAppDelegate::turnOnLocation()
{
    if (m_locationOn || !m_services.location)
        return;
    m_locationOn = true;
    m_lastVisit.reset();
    m_services.location->startMonitoringVisits(
        [this](const Visit &v) { locationManagerDidVisit(v); },
        [this](const QString &e) { locationManagerDidFailWithError(e); });
}

void DataUsageAppDelegate::killLocation()
{
    m_lastVisit.reset();
    if (!m_locationOn)
        return;
    m_locationOn = false;
    m_services.location->stopMonitoring();
}

void DataUsageAppDelegate::locationManagerDidVisit(const Visit &visit)
{
    m_lastVisit = visit;
    if (visitObserver)
        visitObserver(visit);
    checkDataUsageWithCompletionHandler(nullptr);
}

void DataUsageAppDelegate::locationManagerDidFailWithError(const QString &error)
{
    Q_UNUSED(error);
    onMain([this] {
        initLocation();
        checkDataUsageWithCompletionHandler(nullptr);
    });
}

void DataUsageAppDelegate::locationManagerDidChangeAuthorization()
{
    onMain([this] { initLocation(); });
}

Coordinate DataUsageAppDelegate::getCurrentCoordinate()
{
    if (!m_locationOn)
        return Coordinate{};
    const std::optional<LocationFix> last = m_services.location->lastLocation();
    const Coordinate known = SharedCode::coordinateFromLocationFix(last);
    if (isValidCoordinate(known.latitude, known.longitude))
        return known;
    if (m_lastVisit) {
        const Visit &v = *m_lastVisit;
        if (isValidCoordinate(v.latitude, v.longitude) && v.departureDate.isValid() &&
            m_shared.nowAtHour() <= v.departureDate)
            return Coordinate{v.latitude, v.longitude};
        return Coordinate{};
    }
    if (m_services.location->reducedAccuracy() && last && last->horizontalAccuracy >= 0 &&
        isValidCoordinate(last->latitude, last->longitude))
        return Coordinate{last->latitude, last->longitude};
    return Coordinate{};
}
