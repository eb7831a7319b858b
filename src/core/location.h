#pragma once

#include "usagestore.h"

#include <QDateTime>
#include <QString>

#include <functional>
#include <optional>

// A position from the location service; a negative accuracy means none is known.
struct LocationFix
{
    double latitude = kUnknownCoordinate;
    double longitude = kUnknownCoordinate;
    double horizontalAccuracy = -1; // metres
    QDateTime timestamp;
};

bool isValidCoordinate(double latitude, double longitude);
// Great-circle distance in metres.
double metersBetween(double lat1, double lon1, double lat2, double lon2);

// A stay at one place: arrival, and departure once the place was left.
struct Visit
{
    double latitude = kUnknownCoordinate;
    double longitude = kUnknownCoordinate;
    QDateTime arrivalDate;
    QDateTime departureDate; // invalid while the visit lasts
};

// The location service as the monitor sees it. Callbacks come on the main thread.
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
