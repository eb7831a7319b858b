#include "lazyservices.h"

#include "platform/linux/desktopmodule.h"

#include <QLoggingCategory>

Q_LOGGING_CATEGORY(lcLazy, "tallymo.platform.modules", QtWarningMsg)

LazyLocation::~LazyLocation() = default;

LocationService *LazyLocation::service()
{
    if (!std::exchange(m_tried, true)) {
        using Factory = LocationService *(*)(const QString &);
        QString errors;
        if (const auto factory = reinterpret_cast<Factory>(DesktopModule::resolve(
                QStringLiteral("tallymo_location"), "tallymo_location_service", &errors)))
            m_service.reset(factory(m_nmea));
        else
            qCWarning(lcLazy, "no location service:%s", qPrintable(errors));
    }
    return m_service.get();
}

LocationService::Authorization LazyLocation::authorizationStatus()
{
    LocationService *s = service();
    return s ? s->authorizationStatus() : Authorization::Restricted;
}

bool LazyLocation::reducedAccuracy()
{
    LocationService *s = service();
    return s && s->reducedAccuracy();
}

std::optional<LocationFix> LazyLocation::lastLocation()
{
    LocationService *s = service();
    return s ? s->lastLocation() : std::nullopt;
}

void LazyLocation::startMonitoringVisits(std::function<void(const Visit &)> onVisit,
                                         std::function<void(const QString &error)> onError)
{
    if (LocationService *s = service())
        s->startMonitoringVisits(std::move(onVisit), std::move(onError));
    else if (onError)
        onError(QStringLiteral("the location module cannot be loaded"));
}

void LazyLocation::stopMonitoring()
{
    if (m_service) // nothing to stop in a service never started
        m_service->stopMonitoring();
}

LazyHostNames::~LazyHostNames() = default;

void LazyHostNames::lookup(const QString &address, std::function<void(const QString &name)> done)
{
    if (!std::exchange(m_tried, true)) {
        using Factory = HostNameResolver *(*)();
        QString errors;
        if (const auto factory = reinterpret_cast<Factory>(
                DesktopModule::resolve(QStringLiteral("tallymo_hostnames"), "tallymo_host_names", &errors)))
            m_resolver.reset(factory());
        else
            qCWarning(lcLazy, "no host-name lookups:%s", qPrintable(errors));
    }
    if (m_resolver)
        m_resolver->lookup(address, std::move(done));
    else if (done)
        done(address);
}
