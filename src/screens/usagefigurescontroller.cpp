#include "usagefigurescontroller.h"

#include "plans/datacap.h"

UsageFiguresController::UsageFiguresController(QObject *parent) : QObject(parent) {}

UsageFiguresController::~UsageFiguresController()
{
    setMonitor(nullptr);
}

void UsageFiguresController::setMonitor(UsageMonitor *monitor)
{
    if (m_monitor && m_monitor->rootController() == this)
        m_monitor->setRootController(nullptr);
    m_monitor = monitor;
    if (m_monitor) {
        m_monitor->setRootController(this);
        reloadValues();
    }
}

QString UsageFiguresController::forecast() const
{
    return DataCap::forecastText(m_forecastRatio);
}

void UsageFiguresController::reloadValues()
{
    if (!m_monitor)
        return;
    const CurrentValues v = m_monitor->figures().values();
    const bool period =
        v.monthStartDate != m_values.monthStartDate || v.monthEndDate != m_values.monthEndDate;
    const bool usage = v.monthCellIn != m_values.monthCellIn || v.monthCellOut != m_values.monthCellOut ||
                       v.monthWifiIn != m_values.monthWifiIn || v.monthWifiOut != m_values.monthWifiOut ||
                       v.monthPercent != m_values.monthPercent;
    m_values = v;
    const double ratio = v.monthEndDate.isValid() ? m_monitor->figures().forecastRatio(v) : 0;
    const bool forecast = ratio != m_forecastRatio;
    m_forecastRatio = ratio;
    const std::pair<qint64, QString> left = v.monthEndDate.isValid()
                                                ? m_monitor->figures().timeLeft(v)
                                                : std::pair<qint64, QString>{0, QString()};
    const bool time = left != m_timeLeft;
    m_timeLeft = left;
    if (period)
        emit periodChanged();
    if (usage)
        emit usageChanged();
    if (forecast)
        emit forecastChanged();
    if (time)
        emit timeLeftChanged();
}

void UsageFiguresController::presentAlert(const AlertValue &alert)
{
    emit alertRequested(alert);
}

void UsageFiguresController::setPresenting(bool presenting)
{
    if (presenting == m_presenting)
        return;
    m_presenting = presenting;
    emit presentingChanged();
}
