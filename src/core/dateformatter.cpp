#include "dateformatter.h"

#include "logging.h"

#include <QLocale>

#include <unicode/udat.h>
#include <unicode/udatpg.h>

namespace {

const UChar *utf16(const QString &s)
{
    return reinterpret_cast<const UChar *>(s.utf16());
}

// The wall-clock fields of a date as a moment in UTC: formatted in UTC they read as local time.
UDate wallClock(const QDateTime &date)
{
    return UDate(date.toMSecsSinceEpoch() + qint64(date.offsetFromUtc()) * 1000);
}

const QString kUtc = QStringLiteral("UTC");

} // namespace

struct DateFormatter::Handle
{
    UDateFormat *format = nullptr;
    ~Handle() { udat_close(format); }
};

QString DateFormatter::localeName()
{
    const QString name = QLocale().name();
    return name == QLatin1StringView("C") ? QStringLiteral("en_US") : name;
}

DateFormatter::DateFormatter(const QString &pattern, const QString &locale)
    : m_pattern(pattern), m_handle(std::make_unique<Handle>())
{
    UErrorCode status = U_ZERO_ERROR;
    m_handle->format = udat_open(UDAT_PATTERN, UDAT_PATTERN, locale.toLatin1().constData(), utf16(kUtc),
                                 int32_t(kUtc.size()), utf16(pattern), int32_t(pattern.size()), &status);
    if (U_FAILURE(status)) {
        qCWarning(lcCore) << "date pattern" << pattern << "for" << locale
                          << "refused:" << u_errorName(status);
        m_handle->format = nullptr;
    }
}

DateFormatter::DateFormatter(DateFormatter &&) noexcept = default;
DateFormatter &DateFormatter::operator=(DateFormatter &&) noexcept = default;
DateFormatter::~DateFormatter() = default;

DateFormatter DateFormatter::withPattern(const QString &pattern, const QString &locale)
{
    return DateFormatter(pattern, locale);
}

DateFormatter DateFormatter::withTemplate(const QString &fields, const QString &locale)
{
    return DateFormatter(patternForTemplate(fields, locale), locale);
}

QString DateFormatter::patternForTemplate(const QString &fields, const QString &locale)
{
    UErrorCode status = U_ZERO_ERROR;
    UDateTimePatternGenerator *gen = udatpg_open(locale.toLatin1().constData(), &status);
    UChar buffer[128];
    int32_t n = 0;
    if (U_SUCCESS(status))
        n = udatpg_getBestPattern(gen, utf16(fields), int32_t(fields.size()), buffer, 128, &status);
    udatpg_close(gen);
    if (U_FAILURE(status) || n > 128) {
        qCWarning(lcCore) << "no pattern for" << fields << "in" << locale << u_errorName(status);
        return fields;
    }
    return QString(reinterpret_cast<const QChar *>(buffer), n);
}

QString DateFormatter::toString(const QDateTime &date) const
{
    if (!m_handle->format || !date.isValid())
        return QString();
    UChar buffer[256];
    UErrorCode status = U_ZERO_ERROR;
    const int32_t n = udat_format(m_handle->format, wallClock(date), buffer, 256, nullptr, &status);
    if (U_FAILURE(status) || n > 256)
        return QString();
    return QString(reinterpret_cast<const QChar *>(buffer), n);
}

bool DateFormatter::uses24HourClock(const QDateTime &now, const QString &locale)
{
    UErrorCode status = U_ZERO_ERROR;
    UDateFormat *shortTime = udat_open(UDAT_SHORT, UDAT_NONE, locale.toLatin1().constData(), utf16(kUtc),
                                       int32_t(kUtc.size()), nullptr, -1, &status);
    if (U_FAILURE(status))
        return true;
    UChar buffer[128];
    const int32_t n = udat_format(shortTime, wallClock(now), buffer, 128, nullptr, &status);
    const QString text =
        U_SUCCESS(status) && n <= 128 ? QString(reinterpret_cast<const QChar *>(buffer), n) : QString();
    bool marker = false;
    for (int32_t i = 0; i < 2 && !marker; ++i) {
        UErrorCode symbolStatus = U_ZERO_ERROR;
        const int32_t m = udat_getSymbols(shortTime, UDAT_AM_PMS, i, buffer, 128, &symbolStatus);
        if (U_SUCCESS(symbolStatus) && m > 0 && m <= 128)
            marker = text.contains(QString(reinterpret_cast<const QChar *>(buffer), m));
    }
    udat_close(shortTime);
    return !marker;
}
