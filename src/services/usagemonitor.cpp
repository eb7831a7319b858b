#include "usagemonitor.h"

#include "core/dispatchqueue.h"
#include "core/settingskeys.h"

#include <QStandardPaths>

UsageMonitor::UsageMonitor(SharedCode &shared) : UsageMonitor(shared, Services()) {}

UsageMonitor::UsageMonitor(SharedCode &shared, Services services)
    : m_shared(shared), m_services(services), m_figures(shared), m_location(shared, services.location),
      m_watch(shared, m_location, services.watch), m_push(services.push), m_search(shared),
      m_hostNames(services.hostNames), m_alerts(shared), m_plans(shared, m_location, m_figures)
{
    QObject::connect(&m_plans, &PlanService::activePlanChanged, &m_plans, [this] { doComputeValuesOnly(); });
    m_alerts.setNotifications(services.notifications);
    m_alerts.setRefreshStatus(services.refreshStatus);
    // A visit, or a location service that failed and was set up again, is a wake-up.
    QObject::connect(&m_location, &LocationTracker::wakeUp, &m_location, [this] { checkUsage(nullptr); });
}

UsageMonitor::~UsageMonitor() = default;

void UsageMonitor::setServices(Services services)
{
    m_services = services;
    m_location.setService(services.location);
    m_watch.setSession(services.watch);
    m_push.setBackend(services.push);
    m_hostNames.setResolver(services.hostNames);
    m_alerts.setNotifications(services.notifications);
    m_alerts.setRefreshStatus(services.refreshStatus);
}

void UsageMonitor::setRootController(RootController *root)
{
    m_root = root;
    m_alerts.setRootController(root);
}

UsageMonitor::Services UsageMonitor::Services::from(DesktopServices *desktop,
                                                    PlatformApplication *application)
{
    Services services;
    services.application = application;
    if (desktop) {
        services.notifications = desktop->notifications();
        services.badge = desktop->badge();
        services.refreshStatus = desktop->refreshStatus();
        services.location = desktop->location();
        services.watch = desktop->watch();
        services.hostNames = desktop->hostNames();
    }
    return services;
}
