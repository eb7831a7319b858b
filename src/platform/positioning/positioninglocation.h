#pragma once

#include "services/location.h"

#include <QObject>

class QGeoPositionInfo;
class QGeoPositionInfoSource;
class QTcpSocket;

// The location service on QtPositioning: the desktop's default source (GeoClue2), or an NMEA
// source named by TALLYMO_NMEA: file:///track.nmea replays a recording, gpsd://host:port reads
// a GPS receiver through gpsd. Visits are derived from the positions.
class PositioningLocation : public QObject, public LocationService
{
    Q_OBJECT

public:
    explicit PositioningLocation(const QString &nmea, QObject *parent = nullptr);
    ~PositioningLocation() override;

    Authorization authorizationStatus() override;
    bool reducedAccuracy() override { return false; }
    std::optional<LocationFix> lastLocation() override;
    void startMonitoringVisits(std::function<void(const Visit &)> onVisit,
                               std::function<void(const QString &error)> onError) override;
    void stopMonitoring() override;

private:
    void positionUpdated(const QGeoPositionInfo &info);

    QGeoPositionInfoSource *m_source = nullptr;
    QTcpSocket *m_gpsd = nullptr;
    bool m_denied = false;
    std::optional<LocationFix> m_last;
    VisitDetector m_visits;
    std::function<void(const Visit &)> m_onVisit;
    std::function<void(const QString &)> m_onError;
};
