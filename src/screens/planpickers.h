#pragma once

#include "plancontrollers.h"

#include <QDate>

// The number of days of an N Days plan's period: 180 rows, 1 to 180.
class DayCountController : public RowPickerController
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the app's navigator")
public:
    DayCountController(SharedCode &shared, const QString &plan, QObject *parent = nullptr);

protected:
    void store(int row) override;

private:
    SharedCode &m_shared;
    QString m_plan;
};

// The weekday a weekly period begins: the locale's weekday names, Sunday first. The choice is
// shared by every plan.
class PickerWeekController : public RowPickerController
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the app's navigator")
public:
    explicit PickerWeekController(SharedCode &shared, QObject *parent = nullptr);
    // "Every Monday".
    QString summary() const override;
    // The locale's standalone weekday names, Sunday first.
    static QStringList weekdayNames();

protected:
    void store(int row) override;

private:
    SharedCode &m_shared;
};

// The first day of a 30 Days, 28 Days or N Days period: a date no later than today, stored (at its
// local midnight) on every change. The month on show moves in whole months and never past today's.
class DatePickerController : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the app's navigator")
    Q_PROPERTY(QString title READ title CONSTANT)
    Q_PROPERTY(QString footer READ footer CONSTANT)
    // The chosen day as the calendar has it (its local midnight).
    Q_PROPERTY(QDateTime day READ day WRITE setDay NOTIFY dateChanged)
    Q_PROPERTY(int shownYear READ shownYear NOTIFY shownMonthChanged)
    Q_PROPERTY(int shownMonth READ shownMonth NOTIFY shownMonthChanged)
    Q_PROPERTY(QString shownMonthTitle READ shownMonthTitle NOTIFY shownMonthChanged)
    Q_PROPERTY(bool canShowNextMonth READ canShowNextMonth NOTIFY shownMonthChanged)

public:
    DatePickerController(SharedCode &shared, const QString &plan, QObject *parent = nullptr);

    QString title() const { return tr("Start Date"); }
    QString footer() const
    {
        return tr("Pick your bill cycle start date. This is the first day of your billing period.");
    }
    QDate date() const { return m_date; }
    QDate maximumDate() const { return m_max; }
    // A date after today becomes today; an invalid one is ignored.
    void setDate(QDate date);
    bool isSelectable(QDate date) const { return date.isValid() && date <= m_max; }
    QDateTime day() const { return m_date.startOfDay(); }
    void setDay(const QDateTime &day) { setDate(day.date()); }
    // A day of the calendar: whether it can be chosen, and whether it is.
    Q_INVOKABLE bool isSelectableDay(const QDateTime &day) const { return isSelectable(day.date()); }
    Q_INVOKABLE bool isChosenDay(const QDateTime &day) const { return day.date() == m_date; }
    // The date `days` away from the chosen one, for the arrow keys (kept within the selectable dates).
    Q_INVOKABLE void moveBy(int days);

    int shownYear() const { return m_shown.year(); }
    // 0 = January, as the calendar grid counts.
    int shownMonth() const { return m_shown.month() - 1; }
    QString shownMonthTitle() const;
    bool canShowNextMonth() const { return m_shown.addMonths(1) <= m_max; }
    Q_INVOKABLE void showPreviousMonth();
    Q_INVOKABLE void showNextMonth();

signals:
    void dateChanged();
    void shownMonthChanged();

private:
    void show(QDate month);
    SharedCode &m_shared;
    QString m_plan;
    QDate m_max;
    QDate m_date;
    QDate m_shown; // the first of the month on show
};

// The rollover carried into the current period, typed by hand; stored when the screen closes for
// any amount from 0.
class RolloverAmountController : public ByteController
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the app's navigator")
public:
    RolloverAmountController(SharedCode &shared, const QString &plan, QObject *parent = nullptr);
    // False (and nothing stored) when the amount is not a rollover amount.
    bool keep() override;

private:
    SharedCode &m_shared;
    QString m_plan;
};
