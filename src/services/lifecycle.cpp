// When usage is sampled: launch, the state changes, and the usage check every wake-up runs.
#include "core/settingskeys.h"
#include "desktop/usageintent.h"
#include "logging.h"
#include "releasenotes.h"
#include "usagemonitor.h"

#include <QCoreApplication>

namespace {

QString tr(const char *text)
{
    return QCoreApplication::translate("UsageMonitor", text);
}

} // namespace

bool UsageMonitor::prepareLaunch()
{
    m_applicationState = Background;
    m_figures.forgetPeriod();
    initPush();
    m_location.follow();
    m_watch.connectSession();
    m_push.renew();
    return true;
}

bool UsageMonitor::completeLaunch()
{
    initRemoteNotification();
    return true;
}

void UsageMonitor::windowActivated()
{
    m_applicationState = Active;
    m_plans.setUpNewInstall();
    m_alerts.clearOldNotifications();
    checkUsage(nullptr);
    if (m_alerts.canShowAlertOnRootView())
        showWhatsNew();
    if (m_alerts.canShowAlertOnRootView())
        m_alerts.checkRefreshStatusDidChange();
}

void UsageMonitor::windowDeactivated()
{
    m_applicationState = Inactive;
    initPush();
    m_search.publish();
}

void UsageMonitor::enterForeground()
{
    m_applicationState = Inactive;
}

void UsageMonitor::enterBackground()
{
    m_applicationState = Background;
    m_plans.dropOtherPlanStore();
    m_hostNames.dropCache(); // pages still open keep theirs until they go
    PlatformApplication *app = m_services.application;
    if (!app || m_backgroundTask != PlatformApplication::kInvalidTask)
        return;
    m_backgroundTask = app->beginBackgroundTask([this, app] {
        app->endBackgroundTask(m_backgroundTask);
        m_backgroundTask = PlatformApplication::kInvalidTask;
    });
    const std::shared_ptr<StoreContext> context = m_shared.activeStore();
    if (!context)
        return;
    m_work.onStore(*context, [this, app] {
        m_shared.userPref().synchronize();
        m_work.onMain([this, app] {
            app->endBackgroundTask(m_backgroundTask);
            m_backgroundTask = PlatformApplication::kInvalidTask;
        });
    });
}

void UsageMonitor::shutDown()
{
    const std::shared_ptr<StoreContext> context = m_shared.activeStore();
    if (!context)
        return;
    const Coordinate loc = m_location.currentCoordinate();
    context->performAndWait([&] {
        const SampleResult sample = m_shared.sampleUsage(context.get(), loc);
        m_figures.setLastSample(sample);
    });
}

void UsageMonitor::initPush()
{
    if (m_services.application)
        m_services.application->setMinimumBackgroundFetchInterval();
}

void UsageMonitor::initRemoteNotification()
{
    if (m_services.application)
        m_services.application->registerForRemoteNotifications();
}

void UsageMonitor::checkUsage(CompletionHandler handler)
{
    // A check is running: it covers this wake-up too.
    if (m_bgTaskUpdateUsage != PlatformApplication::kInvalidTask) {
        callCompletionHandler(handler);
        return;
    }
    PlatformApplication *app = m_services.application;
    const auto finish = [this, app, handler] {
        if (app)
            app->endBackgroundTask(m_bgTaskUpdateUsage);
        m_bgTaskUpdateUsage = PlatformApplication::kInvalidTask;
        callCompletionHandler(handler);
    };
    m_bgTaskUpdateUsage = app ? app->beginBackgroundTask(finish) : -1;
    // Another process may have switched plans: the store is the one the settings name now.
    m_shared.userPref().synchronize();
    const std::shared_ptr<StoreContext> context = m_shared.activeStore();
    if (!context) {
        finish();
        return;
    }
    const Coordinate loc = m_location.currentCoordinate(); // location lives on the main thread
    StoreContext *c = context.get();
    m_work.onStore(*c, [this, c, loc, finish] {
        try {
            const SampleResult sample = m_shared.sampleUsage(c, loc);
            const qint64 before = m_alerts.currentThresholdLevel();
            const bool inBackground = m_applicationState == Background;
            computeCurrentValues(c, inBackground);
            // Without a window there is no screen to alert on: the alert is a notification.
            m_alerts.applyUsageAlertRule(before, inBackground || !m_root, m_figures.values().monthPercent);
            m_figures.setLastSample(sample);
        } catch (const std::exception &e) {
            qCWarning(lcApp, "usage check failed: %s", e.what());
        }
        m_work.onMain(finish); // dropped if the monitor went while the answer was on its way
    });
}

void UsageMonitor::callCompletionHandler(const CompletionHandler &handler) const
{
    if (!handler)
        return;
    static const QDateTime reference(QDate(2001, 1, 1), QTime(0, 0), Qt::UTC);
    const qint64 s = reference.msecsTo(m_shared.clock().now()) / 1000; // truncated towards zero
    handler(s % 3 == 0 ? FetchResult::NewData : FetchResult::NoData);
}

void UsageMonitor::showWhatsNew()
{
    SettingsDomain &pref = m_shared.userPref();
    const QVariant seen = pref.value(Keys::PREF_WHATSNEW_CHECK_8_6);
    const QString current = ReleaseNotes::version();
    if (seen.isNull()) {
        pref.setValue(Keys::PREF_WHATSNEW_CHECK_8_6, current);
        return;
    }
    if (seen.toString() == current)
        return;
    pref.setValue(Keys::PREF_WHATSNEW_CHECK_8_6, current);
    pref.setValue(Keys::PREF_UPDATE_PREVIOUS_VERSION, seen.toString());
    if (m_root)
        m_root->presentAlert(
            AlertService::alertControllerWithTitle(tr("😊 What's New"), ReleaseNotes::current()));
    cleanupPref();
}

void UsageMonitor::cleanupPref()
{
    // No setting has been retired yet.
}

const QStringList &UsageMonitor::shortcutTypes()
{
    static const QStringList types{QStringLiteral("SHORTCUTS_HISTORY"), QStringLiteral("SHORTCUTS_THEME"),
                                   QStringLiteral("SHORTCUTS_DATAPLAN")};
    return types;
}

void UsageMonitor::performQuickAction(const QString &type, std::function<void(bool)> completion)
{
    if (!shortcutTypes().contains(type)) {
        qCInfo(lcApp) << "no quick action" << type;
        if (completion)
            completion(false);
        return;
    }
    checkUsage(nullptr);
    const auto handle = [this, type] {
        m_work.onMain([this, type] {
            if (m_alerts.canShowAlertOnRootView())
                m_root->handleShortcuts(type);
        });
    };
    if (const std::shared_ptr<StoreContext> context = m_shared.activeStore())
        m_work.onStore(*context, handle);
    else
        handle();
    if (completion)
        completion(true);
}
