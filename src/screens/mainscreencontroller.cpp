#include "mainscreencontroller.h"

#include "plans/datacap.h"

MainScreenController::MainScreenController(QObject *parent) : QObject(parent) {}

MainScreenController::~MainScreenController()
{
    setDelegate(nullptr);
}

void MainScreenController::setDelegate(DataUsageAppDelegate *delegate)
{
    if (m_delegate && m_delegate->rootController == this)
        m_delegate->rootController = nullptr;
    m_delegate = delegate;
    if (m_delegate) {
        m_delegate->rootController = this;
        reloadValues();
    }
}

QString MainScreenController::forecast() const
{
    return DataCap::forecastText(m_forecastRatio);
}

void MainScreenController::reloadValues()
{
    if (!m_delegate)
        return;
    const CurrentValues v = m_delegate->values();
    const bool period =
        v.monthStartDate != m_values.monthStartDate || v.monthEndDate != m_values.monthEndDate;
    const bool usage = v.monthCellIn != m_values.monthCellIn || v.monthCellOut != m_values.monthCellOut ||
                       v.monthWifiIn != m_values.monthWifiIn || v.monthWifiOut != m_values.monthWifiOut ||
                       v.monthPercent != m_values.monthPercent;
    m_values = v;
    const double ratio = v.monthEndDate.isValid() ? m_delegate->forecastRatio(v) : 0;
    const bool forecast = ratio != m_forecastRatio;
    m_forecastRatio = ratio;
    const std::pair<qint64, QString> left =
        v.monthEndDate.isValid() ? m_delegate->timeLeft(v) : std::pair<qint64, QString>{0, QString()};
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

void MainScreenController::presentAlert(const AlertValue &alert)
{
    emit alertRequested(alert);
}

void MainScreenController::setPresenting(bool presenting)
{
    if (presenting == m_presenting)
        return;
    m_presenting = presenting;
    emit presentingChanged();
}
