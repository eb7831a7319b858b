#include "planpickers.h"

#include "core/dateformatter.h"
#include "core/localtime.h"
#include "core/settingskeys.h"
#include "core/sharedcode.h"

#include <cmath>

DayCountController::DayCountController(SharedCode &shared, const QString &plan, QObject *parent)
    : RowPickerController(tr("N"), tr("Number of days in one billing period."), numberRows(180),
                          int(SettingsValue::toInteger(shared.getForPlan(plan, Keys::PREF_NDAYS_N))) - 1,
                          parent),
      m_shared(shared), m_plan(plan)
{}

void DayCountController::store(int row)
{
    m_shared.setForPlan(m_plan, Keys::PREF_NDAYS_N, qint64(row + 1));
}

QStringList PickerWeekController::weekdayNames()
{
    // 1 January 2023 was a Sunday.
    const DateFormatter f = DateFormatter::withPattern(QStringLiteral("cccc"));
    QStringList names;
    for (int d = 0; d < 7; ++d)
        names.append(f.toString(QDate(2023, 1, 1).addDays(d).startOfDay()));
    return names;
}

PickerWeekController::PickerWeekController(SharedCode &shared, QObject *parent)
    : RowPickerController(
          tr("Start Date"),
          tr("Pick your bill cycle start date. This is the first day of your weekly billing period."),
          weekdayNames(), int(shared.userPref().integerForKey(Keys::PREF_WEEK_START)) - 1, parent),
      m_shared(shared)
{}

QString PickerWeekController::summary() const
{
    return tr("Every %1").arg(rows().value(selectedRow()));
}

void PickerWeekController::store(int row)
{
    m_shared.userPref().setValue(Keys::PREF_WEEK_START, qint64(row + 1));
}

DatePickerController::DatePickerController(SharedCode &shared, const QString &plan, QObject *parent)
    : QObject(parent), m_shared(shared), m_plan(plan), m_max(shared.todayAtZeroHour().date())
{
    const QDateTime anchor = shared.getForPlan(plan, Keys::PREF_30DAY_START).toDateTime();
    m_date = anchor.isValid() ? std::min(anchor.toLocalTime().date(), m_max) : m_max;
    m_shown = QDate(m_date.year(), m_date.month(), 1);
}

void DatePickerController::setDate(QDate date)
{
    if (!date.isValid())
        return;
    date = std::min(date, m_max);
    m_shared.setForPlan(m_plan, Keys::PREF_30DAY_START, LocalTime::dayStart(date));
    if (date != m_date) {
        m_date = date;
        emit dateChanged();
    }
    show(QDate(date.year(), date.month(), 1));
}

void DatePickerController::moveBy(int days)
{
    setDate(m_date.addDays(days));
}

QString DatePickerController::shownMonthTitle() const
{
    return DateFormatter::withTemplate(QStringLiteral("yMMMM")).toString(m_shown.startOfDay());
}

void DatePickerController::showPreviousMonth()
{
    show(m_shown.addMonths(-1));
}

void DatePickerController::showNextMonth()
{
    if (canShowNextMonth())
        show(m_shown.addMonths(1));
}

void DatePickerController::show(QDate month)
{
    if (month == m_shown || !month.isValid())
        return;
    m_shown = month;
    emit shownMonthChanged();
}

RolloverAmountController::RolloverAmountController(SharedCode &shared, const QString &plan, QObject *parent)
    : ByteController(tr("Rollover Amount"), QString(), parent), m_shared(shared), m_plan(plan)
{
    const QVariantList shown = shared.getForPlan(plan, Keys::PREF_ROLLOVER_DISPLAY).toList();
    if (shown.size() == 2) {
        setText(shown.at(0).toString());
        setUnitIndex(int(SettingsValue::toInteger(shown.at(1))));
    }
}

bool RolloverAmountController::keep()
{
    const double x = amount();
    if (text().isEmpty() || !(x >= 0) || !std::isfinite(x))
        return false;
    const std::optional<AmountEntry::Amount> a =
        AmountEntry::rolloverAmount(QString::number(x, 'g', 17), unit);
    if (!a)
        return false;
    AmountEntry::storeRollover(m_shared, m_plan, *a);
    return true;
}
