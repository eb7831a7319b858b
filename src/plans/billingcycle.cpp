#include "billingcycle.h"

#include "core/localtime.h"
#include "core/settingskeys.h"
#include "core/sharedcode.h"

#include <QCoreApplication>
#include <QLocale>

#include <algorithm>
#include <cmath>

namespace BillingCycle {

QDateTime addDays(const QDateTime &date, qint64 days)
{
    const QDateTime local = date.toLocalTime();
    const QDate day = local.date().addDays(days);
    // The start of a day moves to the start of a day, even where one of them is not at 00:00.
    if (local == LocalTime::dayStart(local.date()))
        return LocalTime::dayStart(day);
    const QDateTime result(day, local.time());
    // A time of day that does not exist on that day (inside a daylight-saving gap) moves on.
    return result.isValid() ? result : QDateTime(day, local.time().addSecs(3600));
}

qint64 wholeDaysBetween(const QDateTime &a, const QDateTime &b)
{
    const QDateTime la = a.toLocalTime(), lb = b.toLocalTime();
    qint64 n = la.date().daysTo(lb.date());
    const QDateTime candidate = addDays(la, n);
    if (n > 0 && candidate > lb)
        --n;
    else if (n < 0 && candidate < lb)
        ++n;
    return n;
}

QDateTime validDateForDay(qint64 day, const QDateTime &date)
{
    const QDate d = date.toLocalTime().date();
    if (day < 1) // as a calendar resolves day 0 (and below): days before the 1st
        return LocalTime::dayStart(QDate(d.year(), d.month(), 1).addDays(day - 1));
    if (d.daysInMonth() >= day)
        return LocalTime::dayStart(QDate(d.year(), d.month(), int(day)));
    return LocalTime::dayStart(QDate(d.year(), d.month(), 1).addMonths(1));
}

namespace {

Period weekly(const QDateTime &t, qint64 weekStart)
{
    constexpr qint64 week = 7;
    const qint64 weekday = t.date().dayOfWeek() % 7 + 1; // 1 = Sunday
    qint64 k = weekStart - weekday;
    if (k <= 0)
        k += week;
    const QDateTime end = addDays(t, k);
    return Period{addDays(end, -week), end};
}

Period monthly(const QDateTime &t, qint64 billDay)
{
    QDateTime start, reference;
    if (t.date().day() >= billDay) {
        start = validDateForDay(billDay, t);
        reference = LocalTime::dayStart(t.date().addMonths(1));
    } else {
        start = validDateForDay(billDay, LocalTime::dayStart(t.date().addMonths(-1)));
        reference = t;
    }
    return Period{start, validDateForDay(billDay, reference)};
}

Period everyNDays(const QDateTime &t, const std::optional<QDateTime> &anchor, qint64 length)
{
    QDateTime a = anchor ? anchor->toLocalTime() : t;
    qint64 n = wholeDaysBetween(a, t);
    if (n < 0) {
        const qint64 m = (-n + length - 1) / length;
        const QDateTime earlier = addDays(a, -m * length);
        const qint64 n2 = wholeDaysBetween(earlier, t);
        if (n2 < 0) {
            a = t;
            n = 0;
        } else {
            a = earlier;
            n = n2;
        }
    }
    const QDateTime start = addDays(a, (n / length) * length);
    return Period{start, addDays(start, length)};
}

} // namespace

Period periodContaining(const QDateTime &date, const Settings &s)
{
    const QDateTime t = LocalTime::midnightOf(date);
    switch (s.type) {
    case Weekly:
        return weekly(t, s.weekStart);
    case Days30:
        return everyNDays(t, s.anchor, 30);
    case Days28:
        return everyNDays(t, s.anchor, 28);
    case NDays:
        return everyNDays(t, s.anchor, s.nDays > 0 ? s.nDays : 30);
    default:
        return monthly(t, s.billDay);
    }
}

} // namespace BillingCycle

Period BillingCycle::computeStartEndDates(const SharedCode &shared, const QDateTime &date,
                                          const QString &plan)
{
    BillingCycle::Settings s;
    // Read defensively: values no screen or command stores (a hand-edited file) are brought into
    // range, so that dates stay representable and the period is a week's, a month's, N days'.
    s.type = dataPlanTypeForPlan(shared, plan);
    s.billDay = std::clamp<qint64>(shared.integerForPlan(plan, Keys::PREF_BILLDAY), 0, 31);
    const QVariant anchor = shared.getForPlan(plan, Keys::PREF_30DAY_START);
    if (anchor.typeId() == QMetaType::QDateTime && anchor.toDateTime().isValid())
        s.anchor = anchor.toDateTime();
    s.nDays = std::min<qint64>(nForCycleForPlan(shared, plan), 3650);
    // 0 (unset) is kept as it is read; anything else counts round the week to 1 (Sunday) ... 7.
    const qint64 weekStart = shared.userPref().integerForKey(Keys::PREF_WEEK_START);
    s.weekStart = weekStart >= 0 && weekStart <= 7 ? weekStart : (weekStart % 7 + 6) % 7 + 1;
    return BillingCycle::periodContaining(date, s);
}

int BillingCycle::dataPlanTypeForPlan(const SharedCode &shared, const QString &plan)
{
    return int(shared.integerForPlan(plan, Keys::PREF_BILLTYPE));
}

qint64 BillingCycle::nForCycleForPlan(const SharedCode &shared, const QString &plan)
{
    return shared.integerForPlan(plan, Keys::PREF_NDAYS_N);
}

bool BillingCycle::isDailyCycleForPlan(const SharedCode &shared, const QString &plan)
{
    return dataPlanTypeForPlan(shared, plan) == NDays && nForCycleForPlan(shared, plan) == 1;
}

QString BillingCycle::timeUnitSingularOrPlural(const SharedCode &shared, qint64 count, const QString &plan)
{
    if (isDailyCycleForPlan(shared, plan))
        return count > 1 ? QCoreApplication::translate("SharedCode", "hours")
                         : QCoreApplication::translate("SharedCode", "hour");
    return count > 1 ? QCoreApplication::translate("SharedCode", "days")
                     : QCoreApplication::translate("SharedCode", "day");
}

QDateTime BillingCycle::dateByAddingUnit(CalendarUnit unit, qint64 value, const QDateTime &date)
{
    switch (unit) {
    case CalendarUnit::Month: {
        const QDateTime local = date.toLocalTime();
        const QDateTime moved(local.date().addMonths(int(value)), local.time());
        return moved.isValid() ? moved : QDateTime(moved.date(), local.time().addSecs(3600));
    }
    case CalendarUnit::Day:
        return BillingCycle::addDays(date, value);
    case CalendarUnit::Hour:
        return date.addSecs(value * 3600);
    default:
        return date;
    }
}

QString PlanTexts::planNameForLength(int type, qint64 n)
{
    switch (type) {
    case BillingCycle::Days30:
        return QCoreApplication::translate("PlanTexts", "30 Days");
    case BillingCycle::Weekly:
        return QCoreApplication::translate("PlanTexts", "Weekly");
    case BillingCycle::Days28:
        return QCoreApplication::translate("PlanTexts", "28 Days");
    case BillingCycle::NDays:
        if (n == 1)
            return QCoreApplication::translate("PlanTexts", "Daily");
        return QCoreApplication::translate("PlanTexts", "%1 Days").arg(n);
    default:
        return QCoreApplication::translate("PlanTexts", "Monthly");
    }
}

QString PlanTexts::englishOrdinalSuffix(qint64 day)
{
    const qint64 t = day < 21 ? day : day - 10 * qint64(std::floor(double(day) / 10));
    switch (quint64(t - 1)) {
    case 0:
        return QStringLiteral("st");
    case 1:
        return QStringLiteral("nd");
    case 2:
        return QStringLiteral("rd");
    default:
        return QStringLiteral("th");
    }
}

QString PlanTexts::shortBillDateString(qint64 day)
{
    return shortBillDateString(day, getLanguageCode());
}

QString PlanTexts::shortBillDateString(qint64 day, const QString &lang)
{
    const QString n = QString::number(day);
    if (lang == QLatin1StringView("zh") || lang == QLatin1StringView("ja"))
        return n + QStringLiteral("日");
    if (lang == QLatin1StringView("de"))
        return n + QStringLiteral(".");
    if (lang == QLatin1StringView("es"))
        return n + QStringLiteral(".º");
    if (lang == QLatin1StringView("nl"))
        return n + QStringLiteral("e");
    if (lang == QLatin1StringView("it"))
        return n + QStringLiteral("º");
    return n + englishOrdinalSuffix(day);
}

QString PlanTexts::longBillDateString(qint64 day)
{
    return longBillDateString(day, getLanguageCode());
}

QString PlanTexts::longBillDateString(qint64 day, const QString &lang)
{
    const QString s = shortBillDateString(day, lang);
    if (lang == QLatin1StringView("zh"))
        return QStringLiteral("每月") + s;
    static const QStringList plain{QStringLiteral("ja"), QStringLiteral("de"), QStringLiteral("nl"),
                                   QStringLiteral("es"), QStringLiteral("it")};
    if (plain.contains(lang))
        return s;
    return QCoreApplication::translate("PlanTexts", "%1 of the month").arg(s);
}

QString PlanTexts::getLanguageCode()
{
    return QLocale::languageToCode(QLocale().language());
}

QString PlanTexts::capString(const QVariantList &cap)
{
    const QString amount = cap.value(0).toString();
    const QString unit = cap.value(1).toLongLong() == 1 ? QStringLiteral("GB") : QStringLiteral("MB");
    return amount + QLatin1Char(' ') + unit;
}
