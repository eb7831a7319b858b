#pragma once

#include "core/sharedcode.h"

#include <QDateTime>
#include <QString>

#include <functional>
#include <optional>

// A stay at one place: arrival, and departure once the place was left.
struct Visit
{
    double latitude = kUnknownCoordinate;
    double longitude = kUnknownCoordinate;
    QDateTime arrivalDate;
    QDateTime departureDate; // invalid while the visit lasts
};

// The location service as the delegate sees it. Callbacks come on the main thread.
class LocationService
{
public:
    enum class Authorization { NotDetermined = 0, Restricted = 1, Denied = 2, Always = 3, WhenInUse = 4 };

    virtual ~LocationService() = default;
    virtual Authorization authorizationStatus() = 0;
    virtual bool reducedAccuracy() = 0;
    virtual std::optional<LocationFix> lastLocation() = 0;
    virtual void startMonitoringVisits(std::function<void(const Visit &)> onVisit,
                                       std::function<void(const QString &error)> onError) = 0;
    virtual void stopMonitoring() = 0;
};

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
