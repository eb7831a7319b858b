#pragma once

#include <QDateTime>
#include <QString>

#include <optional>

struct Period;
class SharedCode;

enum class CalendarUnit { Month, Day, Hour, Minute };

// The calendar arithmetic of billing periods, in the local time zone. All of it works on calendar
// days, so a period boundary is always a local midnight (the first moment of the day where a
// daylight-saving change skips midnight), and a day may last 23 or 25 hours.
namespace BillingCycle {

enum PlanType { Monthly = 0, Days30 = 1, Weekly = 2, Days28 = 3, NDays = 4 };

struct Settings
{
    qint64 type = Monthly;
    qint64 billDay = 0;              // Monthly: day of month the period starts on
    std::optional<QDateTime> anchor; // 30/28/N Days: a period starts here
    qint64 nDays = 0;                // N Days: the length; 0 means 30
    qint64 weekStart = 0;            // Weekly: 1 = Sunday ... 7 = Saturday
};

// The period containing `date`.
Period periodContaining(const QDateTime &date, const Settings &settings);

// Calendar days added, keeping the local time of day; the start of a day gives the start of a day.
QDateTime addDays(const QDateTime &date, qint64 days);
// Whole calendar days from a to b (negative when b is earlier), as a calendar counts them: a day
// is complete only once b's time of day reaches a's.
qint64 wholeDaysBetween(const QDateTime &a, const QDateTime &b);
// Day `day` of date's month at midnight; the first of the next month when the month is shorter.
QDateTime validDateForDay(qint64 day, const QDateTime &date);
QDateTime dateByAddingUnit(CalendarUnit unit, qint64 value, const QDateTime &date);

// A plan's settings read from the shared settings (a null plan is the active plan).
// The billing period of the plan that contains `date`.
Period computeStartEndDates(const SharedCode &shared, const QDateTime &date, const QString &plan);
int dataPlanTypeForPlan(const SharedCode &shared, const QString &plan);
qint64 nForCycleForPlan(const SharedCode &shared, const QString &plan);
bool isDailyCycleForPlan(const SharedCode &shared, const QString &plan);
// "hour"/"hours" for a daily plan, else "day"/"days".
QString timeUnitSingularOrPlural(const SharedCode &shared, qint64 count, const QString &plan);

} // namespace BillingCycle

// The texts that name a plan's type and bill day.
class PlanTexts
{
public:
    static QString planNameForLength(int type, qint64 n);
    static QString englishOrdinalSuffix(qint64 day);
    static QString shortBillDateString(qint64 day);
    static QString shortBillDateString(qint64 day, const QString &languageCode);
    static QString longBillDateString(qint64 day);
    static QString longBillDateString(qint64 day, const QString &languageCode);
    static QString getLanguageCode();
    // [amount text, unit flag] as "2 GB" / "500 MB".
    static QString capString(const QVariantList &cap);
};
