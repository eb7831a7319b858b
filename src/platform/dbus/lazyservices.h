#pragma once

#include "services/hostnames.h"
#include "services/location.h"

#include <QString>

#include <memory>

// Services whose implementations live in modules of their own, loaded the first time they are
// used: a background service pays for the positioning and network libraries only once location
// tagging is on or host names are asked for. Without its module a service answers as one that
// is not available (no location, addresses without names), and says why once in the log.

class LazyLocation : public LocationService
{
public:
    explicit LazyLocation(QString nmea) : m_nmea(std::move(nmea)) {}
    ~LazyLocation() override;

    Authorization authorizationStatus() override;
    bool reducedAccuracy() override;
    std::optional<LocationFix> lastLocation() override;
    void startMonitoringVisits(std::function<void(const Visit &)> onVisit,
                               std::function<void(const QString &error)> onError) override;
    void stopMonitoring() override;

private:
    LocationService *service();
    QString m_nmea;
    bool m_tried = false;
    std::unique_ptr<LocationService> m_service;
};

class LazyHostNames : public HostNameResolver
{
public:
    ~LazyHostNames() override;
    void lookup(const QString &address, std::function<void(const QString &name)> done) override;

private:
    bool m_tried = false;
    std::unique_ptr<HostNameResolver> m_resolver;
};
