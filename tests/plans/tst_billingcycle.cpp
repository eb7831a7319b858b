#include "core/localtime.h"
#include "core/settingskeys.h"
#include "plans/billingcycle.h"
#include "services/usagemonitor.h"
#include "testsupport.h"

#include <QtTest>

namespace {

QDateTime local(const QString &text)
{
    return QDateTime::fromString(text, Qt::ISODate);
}

// ISO 8601 with the offset in force at that moment: the offset is part of what is checked.
QString withOffset(const QDateTime &t)
{
    const QDateTime l = t.toLocalTime();
    return l.toOffsetFromUtc(l.offsetFromUtc()).toString(Qt::ISODate);
}

struct PeriodCase
{
    QByteArray zone;
    int type;
    qint64 value; // bill day, N, or week start
    QString anchor, date, start, end;
};

// A row of periods(): the zone, the plan type and its value, the anchor of a period of days, the
// moment asked about, and the period expected (a bare date: midnight UTC; none: any period around the
// moment, of at most ten years).
void period(const char *name, const char *zone, int type, qint64 value, const char *anchor, const char *date,
            const char *start, const char *end)
{
    const auto bound = [](const char *t) {
        QString s = QString::fromLatin1(t); // seconds left out
        return s.size() == 10 ? s + QStringLiteral("T00:00:00Z") : s.isEmpty() ? s : s.insert(16, u":00");
    };
    QTest::newRow(name) << PeriodCase{
        zone, type, value, QString::fromLatin1(anchor), QString::fromLatin1(date), bound(start), bound(end)};
}

// Sets the plan's type and the value that type reads: the bill day, N, or the week start.
void setLength(SharedCode &shared, int type, const QVariant &value)
{
    shared.setForPlan(QString(), Keys::PREF_BILLTYPE, type);
    if (type == 2)
        shared.userPref().setValue(Keys::PREF_WEEK_START, value);
    else if (type != 1 && type != 3)
        shared.setForPlan(QString(), type == 4 ? Keys::PREF_NDAYS_N : Keys::PREF_BILLDAY, value);
}

} // namespace

Q_DECLARE_METATYPE(PeriodCase)

class TestBillingCycle : public QObject
{
    Q_OBJECT

private slots:
    void periods_data()
    {
        QTest::addColumn<PeriodCase>("c");
        const char *utc = "UTC";

        // Monthly on a bill day, clamped to the end of shorter months.
        period("monthly, at the end", utc, 0, 1, "", "2026-12-01T00:00", "2026-12-01", "2027-01-01");
        period("monthly day 15 across the year", utc, 0, 15, "", "2026-01-10", "2025-12-15", "2026-01-15");
        period("day 31 in a leap February", utc, 0, 31, "", "2024-02-29", "2024-01-31", "2024-03-01");
        period("day 31 on 1 March", utc, 0, 31, "", "2024-03-01", "2024-03-01", "2024-03-31");
        period("day 31 on 31 March", utc, 0, 31, "", "2023-03-31", "2023-03-31", "2023-05-01");
        period("day 30 on 31 January", utc, 0, 30, "", "2023-01-31", "2023-01-30", "2023-03-01");
        period("day 29, common year", utc, 0, 29, "", "2023-02-28", "2023-01-29", "2023-03-01");
        period("day 29, leap year", utc, 0, 29, "", "2024-02-29", "2024-02-29", "2024-03-29");
        period("unknown type is monthly", utc, 9, 10, "", "2026-11-22", "2026-11-10", "2026-12-10");
        // Weekly: the most recent week-start day on or before the date (1 = Sunday).
        period("week start Monday, on a Monday", utc, 2, 2, "", "2026-11-23", "2026-11-23", "2026-11-30");
        period("week start Monday, on a Sunday", utc, 2, 2, "", "2026-11-22", "2026-11-16", "2026-11-23");
        period("week from Sunday, Sunday night", utc, 2, 1, "", "2026-11-22T23:59", "2026-11-22",
               "2026-11-29");
        period("week start unset, on a Saturday", utc, 2, 0, "", "2026-11-28", "2026-11-21", "2026-11-28");
        period("week start 99 wraps", utc, 2, 99, "", "2026-11-25", "2026-11-22", "2026-11-29");
        // Every 30, 28 or N days from an anchor.
        period("30 days, second period", utc, 1, 0, "2026-10-01", "2026-11-22", "2026-10-31", "2026-11-30");
        period("30 days, anchor ahead", utc, 1, 0, "2026-12-02", "2026-11-22", "2026-11-02", "2026-12-02");
        period("30 days, no anchor", utc, 1, 0, "", "2026-11-22T08:00", "2026-11-22", "2026-12-22");
        period("30 days, anchor with a time of day", utc, 1, 0, "2026-11-01T10:00", "2026-11-22",
               "2026-11-01T10:00Z", "2026-12-01T10:00Z");
        period("28 days, eleventh period", utc, 3, 0, "2026-01-01", "2026-11-22", "2026-11-05", "2026-12-03");
        period("N days, N unset is 30", utc, 4, 0, "2026-11-01", "2026-11-22", "2026-11-01", "2026-12-01");
        period("daily", utc, 4, 1, "2020-01-01", "2026-11-22T15:00", "2026-11-22", "2026-11-23");
        period("7 days over a leap day", utc, 4, 7, "2024-02-26", "2024-03-04", "2024-03-04", "2024-03-11");
        period("10 days from today", utc, 4, 10, "2026-11-22", "2026-11-22", "2026-11-22", "2026-12-02");

        // Daylight saving at 02:00 (Europe/Berlin: 31 March 2024 has 23 hours, 27 October 25).
        const char *berlin = "Europe/Berlin";
        period("Berlin monthly over spring change", berlin, 0, 1, "", "2024-03-15", "2024-03-01T00:00+01:00",
               "2024-04-01T00:00+02:00");
        period("Berlin daily, 23-hour day", berlin, 4, 1, "", "2024-03-31T12:00", "2024-03-31T00:00+01:00",
               "2024-04-01T00:00+02:00");
        period("Berlin 30 days over the 25-hour day", berlin, 1, 0, "2024-10-01", "2024-10-31",
               "2024-10-31T00:00+01:00", "2024-11-30T00:00+01:00");
        period("Berlin weekly before autumn change", berlin, 2, 2, "", "2024-10-27T23:00",
               "2024-10-21T00:00+02:00", "2024-10-28T00:00+01:00");
        // Daylight saving at midnight: the day starts at 01:00 (America/Santiago, America/Havana).
        const char *santiago = "America/Santiago";
        period("Santiago daily, day starts at 01:00", santiago, 4, 1, "", "2024-09-08T12:00",
               "2024-09-08T01:00-03:00", "2024-09-09T00:00-03:00");
        period("Santiago monthly from a day without midnight", santiago, 0, 8, "", "2024-09-20",
               "2024-09-08T01:00-03:00", "2024-10-08T00:00-03:00");
        period("Santiago weekly from a day without midnight", santiago, 2, 1, "", "2024-09-10",
               "2024-09-08T01:00-03:00", "2024-09-15T00:00-03:00");
        period("Santiago daily, 25-hour day", santiago, 4, 1, "", "2024-04-06T12:00",
               "2024-04-06T00:00-03:00", "2024-04-07T00:00-04:00");
        const char *havana = "America/Havana";
        period("Havana 2 days over the change", havana, 4, 2, "2024-03-09", "2024-03-10T12:00",
               "2024-03-09T00:00-05:00", "2024-03-11T00:00-04:00");
        // Clocks back from 01:00 to 00:00: the day has two midnights and starts at the first.
        period("Havana daily in the first 00:xx hour", havana, 4, 1, "", "2024-11-03T00:30:00-04:00",
               "2024-11-03T00:00-04:00", "2024-11-04T00:00-05:00");
        period("Havana monthly from the day with two midnights", havana, 0, 3, "",
               "2024-11-03T00:10:00-04:00", "2024-11-03T00:00-04:00", "2024-12-03T00:00-05:00");
        period("Azores daily in the second 00:xx hour", "Atlantic/Azores", 4, 1, "",
               "2024-10-27T00:30:00-01:00", "2024-10-27T00:00Z", "2024-10-28T00:00-01:00");
        // Samoa skipped 30 December 2011: the day before ends where 31 December begins.
        period("Apia daily before the skipped day", "Pacific/Apia", 4, 1, "", "2011-12-29T12:00",
               "2011-12-29T00:00-10:00", "2011-12-31T00:00+14:00");
        period("Apia monthly from the skipped day", "Pacific/Apia", 0, 30, "", "2012-01-05",
               "2011-12-31T00:00+14:00", "2012-01-30T00:00+14:00");
        // TZ as a path to the zone file with the colon (without: dayAndHourStarts).
        period("Berlin by :path, weekly", ":/usr/share/zoneinfo/Europe/Berlin", 2, 2, "", "2024-10-27T23:00",
               "2024-10-21T00:00+02:00", "2024-10-28T00:00+01:00");
        // Whatever a hand-edited file holds, the period is a real one around the date.
        const qint64 huge = qint64(1) << 62;
        period("N of 2^62", berlin, 4, huge, "", "2026-11-23T15:00", "", "");
        period("N negative", berlin, 4, -5, "", "2026-11-23T15:00", "", "");
        period("bill day 2^62", berlin, 0, huge, "", "2026-11-23T15:00", "", "");
        period("bill day -2^62", berlin, 0, -huge, "", "2026-11-23T15:00", "", "");
        period("week start -2^62", berlin, 2, -huge, "", "2026-11-23T15:00", "", "");
    }

    // The first moment of a day and of an hour, whatever the C library's last conversion was (it
    // remembers whether daylight saving was in force and guesses from that).
    void dayAndHourStarts_data()
    {
        QTest::addColumn<QByteArray>("zone");
        QTest::addColumn<bool>("day");
        QTest::addColumn<QString>("moment"); // a local date, or a UTC moment for hours
        QTest::addColumn<QString>("expected");
        const auto row = [](const char *name, const char *zone, bool day, const char *moment,
                            const char *start) {
            QTest::newRow(name) << QByteArray(zone) << day << QString::fromLatin1(moment)
                                << QString::fromLatin1(start);
        };
        // Two midnights: the first; none: the end of the gap; a skipped day: where the next begins.
        row("two midnights, Havana", "America/Havana", true, "2024-11-03", "2024-11-03T04:00:00Z");
        row("two midnights, Azores", "Atlantic/Azores", true, "2024-10-27", "2024-10-27T00:00:00Z");
        row("no midnight", "Atlantic/Azores", true, "2024-03-31", "2024-03-31T01:00:00Z");
        row("a skipped day", "Pacific/Apia", true, "2011-12-30", "2011-12-30T10:00:00Z");
        row("TZ by path", "/usr/share/zoneinfo/Europe/Berlin", true, "2024-03-31", "2024-03-30T23:00:00Z");
        row("TZ as a POSIX rule", "CET-1CEST,M3.5.0,M10.5.0/3", true, "2024-03-31", "2024-03-30T23:00:00Z");
        row("30-minute gap", "Australia/Lord_Howe", false, "2024-10-05T15:40:00Z", "2024-10-05T15:30:00Z");
        row("half-hour zone", "Asia/Kolkata", false, "2024-01-01T05:10:00Z", "2024-01-01T04:30:00Z");
        row("hour repeated, 1st", "Europe/Berlin", false, "2024-10-27T00:40:00Z", "2024-10-27T00:00:00Z");
        row("hour repeated, 2nd", "Europe/Berlin", false, "2024-10-27T01:40:00Z", "2024-10-27T01:00:00Z");
    }

    void dayAndHourStarts()
    {
        QFETCH(QByteArray, zone);
        QFETCH(bool, day);
        QFETCH(QString, moment);
        QFETCH(QString, expected);
        ZoneScope tz(zone);
        for (const char *before :
             {"2024-07-01T12:00", "2024-01-01T12:00", "2011-07-01T12:00", "2012-01-01T12:00"}) {
            (void)local(QString::fromLatin1(before))
                .toMSecsSinceEpoch(); // a local time through the C library
            const QDateTime got = day ? LocalTime::dayStart(QDate::fromString(moment, Qt::ISODate))
                                      : LocalTime::hourStart(QDateTime::fromString(moment, Qt::ISODate));
            QCOMPARE(got.toUTC().toString(Qt::ISODate), expected);
            if (day)
                QCOMPARE(LocalTime::midnightOf(got.addSecs(1799)), got);
        }
        if (!day) { // the hour a container's clock is in
            TestContainer c(QDateTime::fromString(moment, Qt::ISODate));
            QCOMPARE(c.open()->nowAtHour().toUTC().toString(Qt::ISODate), expected);
        }
    }

    void periods()
    {
        QFETCH(PeriodCase, c);
        const auto &[zone, type, value, anchor, date, start, end] = c;
        ZoneScope tz(zone);
        TestContainer box;
        auto shared = box.openPlan();
        setLength(*shared, type, value);
        if (!anchor.isEmpty())
            shared->setForPlan(QString(), Keys::PREF_30DAY_START, local(anchor));

        const QDateTime when = local(date);
        const Period p = BillingCycle::computeStartEndDates(*shared, when, QString());
        if (start.isEmpty()) {
            QVERIFY2(p.contains(when),
                     qPrintable(withOffset(p.start) + QLatin1Char(' ') + withOffset(p.end)));
            QVERIFY(p.start.daysTo(p.end) <= 3650);
            return;
        }
        QCOMPARE(withOffset(p.start), start);
        QCOMPARE(withOffset(p.end), end);
        // The period from any moment inside it is the same period (without an anchor, a period
        // of days starts on the day asked about, so there it cannot be).
        const bool anchored = type == 0 || type == 2 || type > 4 || !anchor.isEmpty();
        if (anchored && p.contains(when)) {
            const Period again = BillingCycle::computeStartEndDates(*shared, p.end.addSecs(-1), QString());
            QCOMPARE(withOffset(again.start), start);
            QCOMPARE(withOffset(again.end), end);
        }
    }

    void dateArithmetic()
    {
        ZoneScope tz("Europe/Berlin");
        const QDateTime jan31(QDate(2023, 1, 31), QTime(9, 0));
        QCOMPARE(BillingCycle::dateByAddingUnit(CalendarUnit::Month, 1, jan31),
                 QDateTime(QDate(2023, 2, 28), QTime(9, 0)));
        const QDateTime beforeChange(QDate(2024, 3, 30), QTime(12, 0));
        QCOMPARE(BillingCycle::dateByAddingUnit(CalendarUnit::Day, 1, beforeChange),
                 QDateTime(QDate(2024, 3, 31), QTime(12, 0)));
        QCOMPARE(BillingCycle::dateByAddingUnit(CalendarUnit::Hour, 24, beforeChange),
                 QDateTime(QDate(2024, 3, 31), QTime(13, 0)));
        QCOMPARE(BillingCycle::dateByAddingUnit(CalendarUnit::Minute, 5, beforeChange), beforeChange);
        QCOMPARE(BillingCycle::validDateForDay(0, QDateTime(QDate(2024, 3, 10), QTime())),
                 QDateTime(QDate(2024, 2, 29), QTime()));
    }

    // English ordinals, with 11th to 13th the exceptions; other languages fall back to English.
    void texts()
    {
        for (const QString &text :
             QStringLiteral("1st 2nd 3rd 4th 11th 12th 13th 21st 22nd 23rd 31st").split(u' ')) {
            const int day = text.chopped(2).toInt();
            QCOMPARE(PlanTexts::shortBillDateString(day, QStringLiteral("en")), text);
            QCOMPARE(PlanTexts::longBillDateString(day, QStringLiteral("fr")),
                     text + QStringLiteral(" of the month"));
        }
        QCOMPARE(PlanTexts::planNameForLength(4, 1), QStringLiteral("Daily"));
        QCOMPARE(PlanTexts::planNameForLength(4, 0), QStringLiteral("0 Days")); // while its period is 30 days
        QCOMPARE(PlanTexts::planNameForLength(4, 45), QStringLiteral("45 Days"));
        QCOMPARE(PlanTexts::planNameForLength(7, 45), QStringLiteral("Monthly"));
        QCOMPARE(PlanTexts::capString({QStringLiteral("1.5"), 1}), QStringLiteral("1.5 GB"));
    }

    void timeUnits()
    {
        TestContainer c;
        auto shared = c.openPlan();
        QCOMPARE(BillingCycle::timeUnitSingularOrPlural(*shared, 0, QString()), QStringLiteral("day"));
        QCOMPARE(BillingCycle::timeUnitSingularOrPlural(*shared, 2, QString()), QStringLiteral("days"));
        shared->setForPlan(QString(), Keys::PREF_BILLTYPE, 4);
        shared->setForPlan(QString(), Keys::PREF_NDAYS_N, 1);
        QVERIFY(BillingCycle::isDailyCycleForPlan(*shared, QString()));
        QCOMPARE(BillingCycle::timeUnitSingularOrPlural(*shared, 1, QString()), QStringLiteral("hour"));
        QCOMPARE(BillingCycle::timeUnitSingularOrPlural(*shared, 5, QString()), QStringLiteral("hours"));
    }
};

QTEST_GUILESS_MAIN(TestBillingCycle)
#include "tst_billingcycle.moc"
