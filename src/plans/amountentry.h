#pragma once

#include <QDateTime>
#include <QString>
#include <QVariantList>

#include <optional>

class SharedCode;

// The rules of the screens where an amount of data is typed: the cap and the rollover amount.
namespace AmountEntry {

enum Unit { MB = 0, GB = 1 };

struct Amount
{
    double bytes = 0;     // floor(x * unit size)
    QVariantList display; // [stringTwoDecimal(x), unit]
};

// The number typed, with "." or the locale's decimal separator; nothing when it is not a number.
std::optional<double> parseNumber(const QString &text);
double unitBytes(Unit unit);

// A cap is accepted from 0.001 up; a rollover amount from 0. Both must be finite.
std::optional<Amount> capAmount(const QString &text, Unit unit);
std::optional<Amount> rolloverAmount(const QString &text, Unit unit);

// Store what the screens store for an accepted amount.
void storeCap(SharedCode &shared, const QString &plan, const Amount &amount);
void storeRollover(SharedCode &shared, const QString &plan, const Amount &amount);

} // namespace AmountEntry

// The byte-entry field.
namespace ByteEntry {
// Every character that is not a digit or "." becomes ".", so a decimal comma reads as a point.
QString transformText(const QString &text);
// The number at the start of the (transformed) text; what follows a second point is ignored.
// Empty or no digits read as 0.
double amountOf(const QString &text);
} // namespace ByteEntry
