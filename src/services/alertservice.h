#pragma once

#include "applicationservices.h"
#include "queuedwork.h"

#include <QDateTime>

class SettingsDomain;
class SharedCode;

// Usage alerts at the four thresholds, the bill-cycle reminders on a period's last day and the
// one-time hints: as notifications, or as alerts on the main screen when it is free.
class AlertService
{
public:
    explicit AlertService(SharedCode &shared);
    void setNotifications(UserNotificationCenter *center) { m_notifications = center; }
    void setRefreshStatus(BackgroundRefreshStatus *status) { m_refreshStatus = status; }
    void setRootController(RootController *root) { m_root = root; }

    // How many consecutive thresholds, from the first, the percentage reaches.
    static qint64 thresholdLevelFor(double percent, const SettingsDomain &pref);
    // Stores the level the percentage reaches.
    void computeThresholdLevel(double percent);
    qint64 currentThresholdLevel() const;
    // After the figures were recomputed: alert once when the level rose above `before`.
    void applyUsageAlertRule(qint64 before, bool inBackground, double percent);

    void presentNotificationNow(const QString &body, const QString &title);
    void presentNotificationLater(const QString &body, const QString &title, double delay);
    void requestNotificationAuthorization();
    // The reminders at 21:00 and 23:00 on the last day of the period ending at `periodEnd` (of the
    // next period when those hours have passed).
    void scheduleEndBillAlert(const QDateTime &periodEnd);
    bool setEndBillAlerts(const QDateTime &end);
    void cancelEndBillAlert();
    void clearOldNotifications();
    void showAppSwitcherTip();
    // Says once when background refresh is off; forgets that once it is on again.
    void checkRefreshStatusDidChange();
    bool isPushOn() const;
    // Whether an unsolicited alert may be shown on the main screen now.
    bool canShowAlertOnRootView() const;
    static AlertValue alertControllerWithTitle(const QString &title, const QString &message);

private:
    void showUsageAlertInForeground(qint64 percent);

    SharedCode &m_shared;
    UserNotificationCenter *m_notifications = nullptr;
    BackgroundRefreshStatus *m_refreshStatus = nullptr;
    RootController *m_root = nullptr;
    QueuedWork m_work; // last: ends before the members its blocks use
};
