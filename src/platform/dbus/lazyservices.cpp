#include "lazyservices.h"

#include "platform/linux/desktopmodule.h"

#include <QLoggingCategory>

Q_LOGGING_CATEGORY(lcLazy, "tallymo.platform.modules", QtWarningMsg)

namespace {

// A module's factory, or null with the reason logged under what the module would have given.
template <typename Factory> Factory factoryIn(const char *module, const char *symbol, const char *what)
{
    QString errors;
    const auto factory =
        reinterpret_cast<Factory>(DesktopModule::resolve(QString::fromLatin1(module), symbol, &errors));
    if (!factory)
        qCWarning(lcLazy, "no %s:%s", what, qPrintable(errors));
    return factory;
}

} // namespace

LazyLocation::~LazyLocation() = default;

LocationService *LazyLocation::service()
{
    if (!std::exchange(m_tried, true)) {
        if (const auto factory = factoryIn<LocationService *(*)(const QString &)>(
                "tallymo_location", "tallymo_location_service", "location service"))
            m_service.reset(factory(m_nmea));
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
        if (const auto factory = factoryIn<HostNameResolver *(*)()>("tallymo_hostnames", "tallymo_host_names",
                                                                    "host-name lookups"))
            m_resolver.reset(factory());
    }
    if (m_resolver)
        m_resolver->lookup(address, std::move(done));
    else if (done)
        done(address);
}
