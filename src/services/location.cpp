// Where a sample was taken: the location service, visits, and the coordinate stored with usage.
#include "location.h"

#include "desktop/widgetstats.h"
#include "services/applicationservices.h"

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

LocationTracker::LocationTracker(SharedCode &shared, LocationService *service, QObject *parent)
    : QObject(parent), m_shared(shared), m_service(service)
{}

void LocationTracker::setService(LocationService *service)
{
    if (service == m_service)
        return;
    stop();
    m_service = service;
}

bool LocationTracker::isMapTracking() const
{
    return WidgetStats::isMapTracking(m_shared, m_service);
}

void LocationTracker::follow()
{
    if (isMapTracking())
        start();
    else
        stop();
}

void LocationTracker::start()
{
    if (m_on || !m_service)
        return;
    m_on = true;
    m_lastVisit.reset();
    m_service->startMonitoringVisits([this](const Visit &v) { didVisit(v); },
                                     [this](const QString &) { didFail(); });
}

void LocationTracker::stop()
{
    m_lastVisit.reset();
    if (!m_on)
        return;
    m_on = false;
    m_service->stopMonitoring();
}

void LocationTracker::didVisit(const Visit &visit)
{
    m_lastVisit = visit;
    emit visited(visit);
    emit wakeUp();
}

void LocationTracker::didFail()
{
    // Reported from inside the service: its state is changed from the event loop.
    QMetaObject::invokeMethod(
        this,
        [this] {
            follow();
            emit wakeUp();
        },
        Qt::QueuedConnection);
}

Coordinate LocationTracker::currentCoordinate() const
{
    if (!m_on)
        return Coordinate{};
    const std::optional<LocationFix> last = m_service->lastLocation();
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
    if (m_service->reducedAccuracy() && last && last->horizontalAccuracy >= 0 &&
        isValidCoordinate(last->latitude, last->longitude))
        return Coordinate{last->latitude, last->longitude};
    return Coordinate{};
}
