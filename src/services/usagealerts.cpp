// Usage alerts at the four thresholds, the bill-cycle reminders and the one-time hints.
#include "alertservice.h"
#include "alertthresholds.h"
#include "core/dispatchqueue.h"
#include "core/logging.h"
#include "core/settingskeys.h"
#include "core/sharedcode.h"
#include "plans/billingcycle.h"
#include "plans/datacap.h"

#include <QCoreApplication>

namespace {

const QLatin1StringView kAnyId("qx.noti.any");
const QLatin1StringView kBill2100("qx.noti.billalert.2100");
const QLatin1StringView kBill2300("qx.noti.billalert.2300");

QString tr(const char *text)
{
    return QCoreApplication::translate("AlertService", text);
}

} // namespace

AlertService::AlertService(SharedCode &shared) : m_shared(shared) {}

qint64 AlertService::thresholdLevelFor(double percent, const SettingsDomain &pref)
{
    qint64 level = 0;
    while (level < 4 && percent >= AlertThresholds::percent(pref, int(level) + 1))
        ++level;
    return level;
}

void AlertService::computeThresholdLevel(double percent)
{
    m_shared.userPref().setValue(Keys::PREF_THRESHOLD_LEVEL, thresholdLevelFor(percent, m_shared.userPref()));
}

qint64 AlertService::currentThresholdLevel() const
{
    return m_shared.userPref().integerForKey(Keys::PREF_THRESHOLD_LEVEL);
}

void AlertService::applyUsageAlertRule(qint64 before, bool inBackground, double percent)
{
    const qint64 after = currentThresholdLevel();
    if (after > before) {
        if (inBackground)
            presentNotificationNow(tr("You've used %1%.").arg(DataCap::roundedPercent(percent)),
                                   tr("Usage Alert"));
        else
            showUsageAlertInForeground(DataCap::roundedPercent(percent));
    }
    m_shared.userPref().synchronize();
}

void AlertService::showUsageAlertInForeground(qint64 percent)
{
    m_work.onMain([this, percent] {
        if (!canShowAlertOnRootView())
            return;
        m_root->presentAlert(
            alertControllerWithTitle(QString(), tr("You've used\n%1% of your data cap.").arg(percent)));
    });
}

void AlertService::presentNotificationNow(const QString &body, const QString &title)
{
    presentNotificationLater(body, title, 0);
}

void AlertService::presentNotificationLater(const QString &body, const QString &title, double delay)
{
    if (!m_notifications)
        return;
    NotificationRequest request;
    request.identifier = kAnyId;
    request.title = title;
    request.body = body;
    if (delay > 0) {
        request.trigger = NotificationRequest::Trigger::AfterSeconds;
        request.seconds = delay;
    }
    m_notifications->addRequest(request);
}

void AlertService::requestNotificationAuthorization()
{
    if (!m_shared.userPref().boolForKey(Keys::PREF_SHOWED_SETUP) || !m_notifications)
        return;
    m_notifications->requestAuthorization([](bool) {});
}

void AlertService::scheduleEndBillAlert(const QDateTime &end)
{
    requestNotificationAuthorization();
    cancelEndBillAlert();
    if (!end.isValid())
        return;
    if (setEndBillAlerts(end))
        return;
    setEndBillAlerts(BillingCycle::computeStartEndDates(m_shared, end, QString()).end);
}

bool AlertService::setEndBillAlerts(const QDateTime &end)
{
    const QDate lastDay = BillingCycle::dateByAddingUnit(CalendarUnit::Day, -1, end).toLocalTime().date();
    const QDateTime at2100(lastDay, QTime(21, 0));
    if (m_shared.clock().now().msecsTo(at2100) <= 0)
        return false;
    if (!m_notifications)
        return true;
    NotificationRequest request;
    request.identifier = kBill2100;
    request.title = tr("Bill Cycle");
    request.body = tr("Your bill cycle ends today. Open Tallymo to check your usage.");
    request.trigger = NotificationRequest::Trigger::AtCalendarHour;
    request.date = lastDay;
    request.hour = 21;
    m_notifications->addRequest(request);
    request.identifier = kBill2300;
    request.body = tr("Your bill cycle ends in one hour. Open Tallymo to check your usage.");
    request.hour = 23;
    m_notifications->addRequest(request);
    return true;
}

void AlertService::cancelEndBillAlert()
{
    if (m_notifications)
        m_notifications->removePendingRequests({kBill2100, kBill2300});
}

void AlertService::clearOldNotifications()
{
    if (m_notifications)
        m_notifications->removeAllDeliveredNotifications();
}

void AlertService::showAppSwitcherTip()
{
    SettingsDomain &pref = m_shared.userPref();
    if (!isPushOn() || pref.boolForKey(Keys::PREF_TIP_APPSWITCHER))
        return;
    pref.setValue(Keys::PREF_TIP_APPSWITCHER, true);
    presentNotificationLater(tr("Keep the background service running to refresh usage in the background."),
                             tr("ⓘ %1").arg(tr("QUICK TIP")), 0.75);
}

void AlertService::checkRefreshStatusDidChange()
{
    SettingsDomain &pref = m_shared.userPref();
    if (isPushOn()) {
        pref.removeValue(Keys::PREF_FETCH_DONT_SHOW);
        return;
    }
    if (pref.boolForKey(Keys::PREF_FETCH_DONT_SHOW))
        return;
    pref.setValue(Keys::PREF_FETCH_DONT_SHOW, true);
    pref.removeValue(Keys::PREF_TIP_APPSWITCHER);
    if (m_root)
        m_root->presentAlert(alertControllerWithTitle(
            QString(),
            tr("Tallymo is unable to refresh usage statistics in the background. See Settings > Advanced > "
               "Background App Refresh to learn more.")));
}

bool AlertService::isPushOn() const
{
    return m_refreshStatus && m_refreshStatus->isAvailable();
}

bool AlertService::canShowAlertOnRootView() const
{
    return m_shared.userPref().boolForKey(Keys::PREF_SHOWED_SETUP) && m_root && !m_root->isPresenting();
}

AlertValue AlertService::alertControllerWithTitle(const QString &title, const QString &message)
{
    return AlertValue{title, message, tr("OK"), {}};
}

QVariantMap AlertValue::toMap() const
{
    QVariantList choices;
    for (const AlertAction &a : actions)
        choices.append(
            QVariantMap{{QStringLiteral("title"), a.title}, {QStringLiteral("style"), int(a.style)}});
    if (choices.isEmpty())
        choices.append(QVariantMap{{QStringLiteral("title"), button},
                                   {QStringLiteral("style"), int(AlertAction::Default)}});
    return {{QStringLiteral("title"), title},
            {QStringLiteral("message"), message},
            {QStringLiteral("actions"), choices}};
}
