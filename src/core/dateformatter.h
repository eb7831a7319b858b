#pragma once

#include <QDateTime>
#include <QString>

#include <memory>

// Date text in the user's locale, from a pattern ("MMM", "HH") or from the locale's best pattern
// for a template of fields ("EEEEMMMMd", "MMMd"). Fields are taken from the local wall clock of
// the date given, so a formatter never needs to know the time zone.
class DateFormatter
{
public:
    // The ICU locale of the process: LC_ALL, LC_TIME or LANG as Qt reads them; "C" reads as en_US.
    static QString localeName();
    static DateFormatter withPattern(const QString &pattern, const QString &locale = localeName());
    static DateFormatter withTemplate(const QString &fields, const QString &locale = localeName());
    // The locale's pattern for a template ("HHmm" gives "HH:mm" in en_GB, "ha" gives "h a" in en_US).
    static QString patternForTemplate(const QString &fields, const QString &locale = localeName());
    // Whether the locale's short time of `now` shows no AM/PM marker.
    static bool uses24HourClock(const QDateTime &now, const QString &locale = localeName());

    DateFormatter(DateFormatter &&) noexcept;
    DateFormatter &operator=(DateFormatter &&) noexcept;
    ~DateFormatter();

    QString pattern() const { return m_pattern; }
    QString toString(const QDateTime &date) const;

private:
    struct Handle;
    DateFormatter(const QString &pattern, const QString &locale);
    QString m_pattern;
    std::unique_ptr<Handle> m_handle;
};
