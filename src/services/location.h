#pragma once

#include "core/location.h"

#include "core/sharedcode.h"

#include <QDateTime>
#include <QObject>
#include <QString>

#include <functional>
#include <optional>

// Visits derived from positions: a visit begins once positions stay within 150 m of where the
// spell started for 5 minutes, and ends with the first position outside that circle.
class VisitDetector
{
public:
    static constexpr double kRadiusMeters = 150;
    static constexpr qint64 kDwellSeconds = 300;

    // The arrival or departure this position makes, if any.
    std::optional<Visit> addFix(const LocationFix &fix);

private:
    std::optional<LocationFix> m_anchor;
    std::optional<Visit> m_visit;
};

class LocationService;
class SharedCode;

// Where samples are taken: while map tracking is on, the location service reports visits (each a
// wake-up) and the coordinate stored with each sample comes from its last position or visit.
class LocationTracker : public QObject
{
    Q_OBJECT
public:
    LocationTracker(SharedCode &shared, LocationService *service = nullptr, QObject *parent = nullptr);
    void setService(LocationService *service);

    bool isMapTracking() const;
    // Starts or stops the location service as the map-tracking setting says.
    void follow();
    // The coordinate to store with a sample taken now; the unknown one when there is none.
    Coordinate currentCoordinate() const;

signals:
    // A visit began or ended; `wakeUp` follows it.
    void visited(const Visit &visit);
    // Usage should be checked: after a visit, or after the service failed.
    void wakeUp();

private:
    void start();
    void stop();
    void didVisit(const Visit &visit);
    void didFail();

    SharedCode &m_shared;
    LocationService *m_service;
    bool m_on = false;
    std::optional<Visit> m_lastVisit;
};
