#include "alertscontrollers.h"

#include "core/settingskeys.h"

#include "core/settingsdomain.h"
#include "services/alertthresholds.h"

#include <QCoreApplication>

AlertsController::AlertsController(SettingsDomain &pref, QObject *parent)
    : QObject(parent), m_pref(pref), m_thresholds(new ListModel(
                                         {"text", "detail"}, [this] { return int(rowTexts().size()); },
                                         [this](int row, const QByteArray &role) -> QVariant {
                                             return (role == "text" ? rowTexts() : rowDetails()).value(row);
                                         },
                                         this))
{
    connect(this, &AlertsController::reloaded, m_thresholds, &ListModel::reload);
}

QString AlertsController::title() const
{
    return tr("Usage Alerts");
}

QStringList AlertsController::rowTexts() const
{
    QStringList rows;
    for (quint32 r = 0; r < 4; ++r)
        rows.append(AlertThresholds::name(int(r) + 1));
    return rows;
}

QStringList AlertsController::rowDetails() const
{
    QStringList rows;
    for (quint32 r = 0; r < 4; ++r)
        rows.append(AlertThresholds::percentText(m_pref, int(r) + 1));
    return rows;
}

void AlertsController::tapRow(int row)
{
    if (row >= 0 && row < 4)
        m_tappedRow = quint32(row) + 1;
}

void AlertsController::aboutToShow()
{
    if (m_tappedRow != 0)
        emit reloaded();
}

ThresholdController::ThresholdController(SettingsDomain &pref, quint32 thresholdType, QObject *parent)
    : QObject(parent), m_pref(pref), m_thresholdType(thresholdType)
{
    const AlertThresholds::Range range = AlertThresholds::range(pref, int(thresholdType) + 1);
    m_minlevel = range.min;
    m_maxlevel = range.max;
    m_level = AlertThresholds::percent(pref, int(thresholdType) + 1);
}

QString ThresholdController::title() const
{
    return AlertThresholds::name(int(m_thresholdType) + 1);
}

QStringList ThresholdController::pickerRows() const
{
    QStringList rows;
    const qint64 count = qint64((m_maxlevel - m_minlevel) * 0.2 + 1);
    for (qint64 r = 0; r < count; ++r)
        rows.append(QString::number(qint64(5 * r + m_minlevel)));
    return rows;
}

int ThresholdController::selectedRow() const
{
    return int((m_level - m_minlevel) * 0.2);
}

QString ThresholdController::detailText() const
{
    return QString::asprintf("%.0f%%", m_level);
}

QString ThresholdController::footer() const
{
    return tr("Alert you when you've used more than %1% of your data cap.")
        .arg(QString::asprintf("%.0f", m_level));
}

void ThresholdController::chooseRow(int row)
{
    m_level = m_minlevel + 5.0 * row;
    m_pref.setValue(Keys::alert(int(m_thresholdType) + 1), m_level);
    emit levelChanged();
}
