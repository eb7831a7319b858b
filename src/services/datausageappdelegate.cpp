#include "datausageappdelegate.h"

#include "core/dispatchqueue.h"
#include "core/settingskeys.h"

#include <QScopeGuard>
#include <QStandardPaths>

DataUsageAppDelegate::DataUsageAppDelegate(SharedCode &shared) : DataUsageAppDelegate(shared, Services()) {}

DataUsageAppDelegate::DataUsageAppDelegate(SharedCode &shared, Services services)
    : m_shared(shared), m_services(services)
{}

DataUsageAppDelegate::~DataUsageAppDelegate()
{
    QMutexLocker locker(&m_lifetime->mutex);
    m_lifetime->ended = true;
    while (m_lifetime->running > 0)
        m_lifetime->idle.wait(&m_lifetime->mutex);
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

void DataUsageAppDelegate::onMain(std::function<void()> block)
{
    // Blocks run on the main thread, where the delegate is also destroyed: the check cannot race.
    dispatchMain([lifetime = m_lifetime, block = std::move(block)] {
        {
            QMutexLocker locker(&lifetime->mutex);
            if (lifetime->ended)
                return;
        }
        block();
    });
}

void DataUsageAppDelegate::onStore(StoreContext &context, std::function<void()> block)
{
    context.perform([lifetime = m_lifetime, block = std::move(block)] {
        {
            QMutexLocker locker(&lifetime->mutex);
            if (lifetime->ended)
                return;
            ++lifetime->running;
        }
        const auto leave = qScopeGuard([&] {
            QMutexLocker locker(&lifetime->mutex);
            if (--lifetime->running == 0)
                lifetime->idle.wakeAll();
        });
        block();
    });
}
