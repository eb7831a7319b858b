#include "amountentry.h"
#include "datacap.h"

#include "core/settingskeys.h"
#include "core/sharedcode.h"

#include <QLocale>
#include <QRegularExpression>

#include <cmath>

namespace AmountEntry {

std::optional<double> parseNumber(const QString &text)
{
    const QString t = text.trimmed();
    bool ok = false;
    double x = QLocale::c().toDouble(t, &ok);
    if (!ok)
        x = QLocale().toDouble(t, &ok);
    return ok ? std::optional<double>(x) : std::nullopt;
}

double unitBytes(Unit unit)
{
    return unit == GB ? 1073741824.0 : 1048576.0;
}

namespace {

std::optional<Amount> amountFrom(const QString &text, Unit unit, double minimum)
{
    const std::optional<double> x = parseNumber(text);
    if (!x || !std::isfinite(*x) || *x < minimum)
        return std::nullopt;
    return Amount{std::floor(*x * unitBytes(unit)),
                  QVariantList{DataCap::stringTwoDecimal(*x), qint64(unit)}};
}

} // namespace

std::optional<Amount> capAmount(const QString &text, Unit unit)
{
    return amountFrom(text, unit, 0.001);
}

std::optional<Amount> rolloverAmount(const QString &text, Unit unit)
{
    return amountFrom(text, unit, 0);
}

void storeCap(SharedCode &shared, const QString &plan, const Amount &amount)
{
    shared.setForPlan(plan, Keys::PREF_THRES_MONTHLY, amount.bytes);
    shared.setForPlan(plan, Keys::PREF_DATA_DISPLAY_CAP, amount.display);
}

void storeRollover(SharedCode &shared, const QString &plan, const Amount &amount)
{
    shared.setForPlan(plan, Keys::PREF_ROLLOVER_AMOUNT, amount.bytes);
    shared.setForPlan(plan, Keys::PREF_ROLLOVER_TIMESTAMP, shared.clock().now());
    shared.setForPlan(plan, Keys::PREF_ROLLOVER_DISPLAY, amount.display);
}

} // namespace AmountEntry

namespace ByteEntry {

QString transformText(const QString &text)
{
    static const QRegularExpression other(QStringLiteral("[^0-9.]"));
    QString t = text;
    return t.replace(other, QStringLiteral("."));
}

double amountOf(const QString &text)
{
    static const QRegularExpression number(QStringLiteral("^[0-9]*(\\.[0-9]*)?"));
    const QString prefix = number.match(text).captured(0);
    bool ok = false;
    const double x = QLocale::c().toDouble(prefix == QLatin1StringView(".") ? QString() : prefix, &ok);
    return ok ? x : 0;
}

} // namespace ByteEntry
