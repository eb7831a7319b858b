#include "datausageappdelegate.h"

#include "core/dispatchqueue.h"
#include "core/settingskeys.h"

#include <QStandardPaths>

DataUsageAppDelegate::DataUsageAppDelegate(SharedCode &shared) : DataUsageAppDelegate(shared, Services()) {}

DataUsageAppDelegate::DataUsageAppDelegate(SharedCode &shared, Services services)
    : m_shared(shared), m_services(services), m_location(shared, services.location),
      m_watch(shared, m_location, services.watch), m_push(services.push), m_search(shared),
      m_hostNames(services.hostNames), m_alerts(shared)
{
    m_alerts.setNotifications(services.notifications);
    m_alerts.setRefreshStatus(services.refreshStatus);
    // A visit, or a location service that failed and was set up again, is a wake-up.
    QObject::connect(&m_location, &LocationTracker::wakeUp, &m_location,
                     [this] { checkDataUsageWithCompletionHandler(nullptr); });
}

DataUsageAppDelegate::~DataUsageAppDelegate() = default;

void DataUsageAppDelegate::setServices(Services services)
{
    m_services = services;
    m_location.setService(services.location);
    m_watch.setSession(services.watch);
    m_push.setBackend(services.push);
    m_hostNames.setResolver(services.hostNames);
    m_alerts.setNotifications(services.notifications);
    m_alerts.setRefreshStatus(services.refreshStatus);
}

void DataUsageAppDelegate::setRootController(RootController *root)
{
    m_root = root;
    m_alerts.setRootController(root);
}

DataUsageAppDelegate::Services DataUsageAppDelegate::Services::from(DesktopServices *desktop,
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

void DataUsageAppDelegate::setupUserDefaultsForNewInstall()
{
    if (!m_shared.activePlanID().isNull())
        return;
    // Decided with the file locked: processes starting at once on a new installation make one
    // first plan between them, not one each.
    SettingsDomain &pref = m_shared.userPref();
    pref.transaction([&] {
        if (!m_shared.activePlanID().isNull())
            return;
        QVariantMap plan = makeNewPlan();
        plan.insert(Keys::PREF_PLAN_LABEL, QStringLiteral("Default"));
        addAPlan(plan);
        pref.setValue(Keys::PREF_ACTIVE_PLAN, plan.value(Keys::PREF_PLAN_ID));
        pref.setValue(Keys::PREF_ALERT1, 50.0);
        pref.setValue(Keys::PREF_ALERT2, 70.0);
        pref.setValue(Keys::PREF_ALERT3, 90.0);
        pref.setValue(Keys::PREF_ALERT4, 100.0);
    });
}

QVariantMap DataUsageAppDelegate::makeNewPlan() const
{
    const QString id = SharedCode::newPlanIdentifier();
    return QVariantMap{
        {Keys::PREF_PLAN_ID, id},
        {Keys::PREF_PLAN_DBNAME, id + QStringLiteral(".sqlite")},
        {Keys::PREF_PLAN_LABEL, QStringLiteral("Plan")},
        {Keys::PREF_BILLTYPE, qint64(0)},
        {Keys::PREF_BILLDAY, qint64(1)},
        {Keys::PREF_THRES_MONTHLY, 2147483648.0},
        {Keys::PREF_DATA_DISPLAY_CAP, QVariantList{QStringLiteral("2"), qint64(1)}},
    };
}

void DataUsageAppDelegate::addAPlan(const QVariantMap &plan)
{
    SettingsDomain &pref = m_shared.userPref();
    QVariantMap plans = pref.dictionaryForKey(Keys::PREF_ALL_PLANS);
    plans.insert(plan.value(Keys::PREF_PLAN_ID).toString(), plan);
    pref.setValue(Keys::PREF_ALL_PLANS, plans);
}

std::shared_ptr<StoreContext> DataUsageAppDelegate::storeForPlan(const QString &plan)
{
    if (plan.isEmpty())
        return nullptr;
    if (plan == m_shared.activePlanID())
        return m_shared.activeStore();
    if (m_otherPlanStore && m_otherPlanStore->name() == plan)
        return m_otherPlanStore;
    m_otherPlanStore = m_shared.makeStoreForPlan(plan);
    return m_otherPlanStore;
}

QString DataUsageAppDelegate::applicationLibraryDirectory()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) +
           QStringLiteral("/tallymo/Library");
}
