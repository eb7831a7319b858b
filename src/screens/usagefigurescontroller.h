#pragma once

#include "services/applicationservices.h"
#include "services/usagemonitor.h"

#include <QObject>
#include <QtQml/qqmlregistration.h>

// The root controller of the app: the current period's figures as properties for the main screen
// to bind to. It is made with no arguments and given the monitor; from then on it is the
// monitor's root controller, and each time the monitor has new figures (the usage check posts
// them on the main queue) it reads them and signals what changed, once per change.
class UsageFiguresController : public QObject, public RootController
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the app's navigator")
    Q_PROPERTY(QDateTime periodStart READ periodStart NOTIFY periodChanged)
    Q_PROPERTY(QDateTime periodEnd READ periodEnd NOTIFY periodChanged)
    Q_PROPERTY(double cellIn READ cellIn NOTIFY usageChanged)
    Q_PROPERTY(double cellOut READ cellOut NOTIFY usageChanged)
    Q_PROPERTY(double cell READ cell NOTIFY usageChanged)
    Q_PROPERTY(double wifiIn READ wifiIn NOTIFY usageChanged)
    Q_PROPERTY(double wifiOut READ wifiOut NOTIFY usageChanged)
    Q_PROPERTY(double wifi READ wifi NOTIFY usageChanged)
    Q_PROPERTY(double percent READ percent NOTIFY usageChanged)
    Q_PROPERTY(qint64 roundedPercent READ roundedPercent NOTIFY usageChanged)
    Q_PROPERTY(double forecastRatio READ forecastRatio NOTIFY forecastChanged)
    Q_PROPERTY(QString forecast READ forecast NOTIFY forecastChanged)
    Q_PROPERTY(qint64 timeLeft READ timeLeft NOTIFY timeLeftChanged)
    Q_PROPERTY(QString timeUnit READ timeUnit NOTIFY timeLeftChanged)
    Q_PROPERTY(bool presenting READ isPresenting WRITE setPresenting NOTIFY presentingChanged)

public:
    explicit UsageFiguresController(QObject *parent = nullptr);
    ~UsageFiguresController() override;

    // The monitor whose figures are shown; this becomes its root controller (null lets go).
    void setMonitor(UsageMonitor *monitor);

    QDateTime periodStart() const { return m_values.monthStartDate; }
    QDateTime periodEnd() const { return m_values.monthEndDate; }
    double cellIn() const { return m_values.monthCellIn; }
    double cellOut() const { return m_values.monthCellOut; }
    double cell() const { return m_values.monthCell; }
    double wifiIn() const { return m_values.monthWifiIn; }
    double wifiOut() const { return m_values.monthWifiOut; }
    double wifi() const { return m_values.monthWifi; }
    double percent() const { return m_values.monthPercent; }
    qint64 roundedPercent() const { return DataCap::roundedPercent(m_values.monthPercent); }
    double forecastRatio() const { return m_forecastRatio; }
    QString forecast() const;
    qint64 timeLeft() const { return m_timeLeft.first; }
    QString timeUnit() const { return m_timeLeft.second; }

    // RootController.
    void reloadValues() override;
    bool isPresenting() const override { return m_presenting; }
    void presentAlert(const AlertValue &alert) override;
    // The screens a quick action opens belong to the app's own main screen (it overrides this).
    void handleShortcuts(const QString &type) override { Q_UNUSED(type); }
    // The view says whether it shows something over the main screen (an alert, another screen).
    void setPresenting(bool presenting);

signals:
    void periodChanged();
    void usageChanged();
    void forecastChanged();
    void timeLeftChanged();
    void presentingChanged();
    // The view shows it and reports presenting while it does.
    void alertRequested(const AlertValue &alert);

protected:
    UsageMonitor *monitor() const { return m_monitor; }
    const CurrentValues &currentValues() const { return m_values; }

private:
    UsageMonitor *m_monitor = nullptr;
    CurrentValues m_values;
    double m_forecastRatio = 0;
    std::pair<qint64, QString> m_timeLeft{0, QString()};
    bool m_presenting = false;
};
