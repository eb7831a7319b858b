#include "arguments.h"

#include "commandsyntax.h"
#include "core/localtime.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QRegularExpression>

#include <cmath>

namespace Cli {

Arguments::Arguments(const QStringList &words, const QString &command)
{
    const CommandSyntax &syntax = commandSyntax(command);
    const QStringList &withValue = syntax.valueOptions;
    const QStringList &flags = syntax.flags;
    m_usage = oneLineUsage(syntax);
    for (qsizetype i = 0; i < words.size(); ++i) {
        const QString &w = words.at(i);
        if (!w.startsWith(QLatin1StringView("--")) || w == QLatin1StringView("--")) {
            if (w == QLatin1StringView("--")) {
                positional += words.mid(i + 1);
                break;
            }
            positional.append(w);
            continue;
        }
        QString name = w.mid(2);
        QString value;
        bool inlineValue = false;
        if (const qsizetype eq = name.indexOf(QLatin1Char('=')); eq >= 0) {
            value = name.mid(eq + 1);
            name = name.left(eq);
            inlineValue = true;
        }
        if (withValue.contains(name)) {
            if (!inlineValue) {
                if (i + 1 >= words.size())
                    throw UsageError(QStringLiteral("option --%1 needs a value").arg(name));
                value = words.at(++i);
            }
            m_values.insert(name, value);
        } else if (flags.contains(name) && !inlineValue) {
            m_flags.append(name);
        } else {
            throw UsageError(QStringLiteral("unknown option --%1; usage: %2").arg(name, m_usage));
        }
    }
}

void Arguments::expectPositional(qsizetype min, qsizetype max) const
{
    const QString &usage = m_usage;
    if (positional.size() < min)
        throw UsageError(QStringLiteral("missing arguments; usage: %1").arg(usage));
    if (positional.size() > max)
        throw UsageError(
            QStringLiteral("unexpected argument \"%1\"; usage: %2").arg(positional.at(max), usage));
}

QDateTime parseDate(const QString &text)
{
    static const QRegularExpression re(QStringLiteral(
        "^(\\d{4}-\\d{2}-\\d{2})(?:T(\\d{2}:\\d{2}(?::\\d{2}(?:\\.\\d{1,3})?)?)(Z|[+-]\\d{2}:\\d{2})?)?$"));
    const QRegularExpressionMatch m = re.match(text);
    if (!m.hasMatch())
        throw UsageError(
            QStringLiteral("\"%1\" is not a date (use YYYY-MM-DD or YYYY-MM-DDTHH:MM)").arg(text));
    const QDate date = QDate::fromString(m.captured(1), Qt::ISODate);
    if (!date.isValid())
        throw UsageError(QStringLiteral("\"%1\" is not a valid date").arg(text));
    if (m.captured(2).isEmpty())
        return LocalTime::dayStart(date);
    QDateTime dt = QDateTime::fromString(text, Qt::ISODateWithMs);
    if (!dt.isValid())
        throw UsageError(QStringLiteral("\"%1\" is not a valid date and time").arg(text));
    return dt.toLocalTime();
}

namespace {

QVariant parseJson(const QString &text)
{
    QJsonParseError error;
    const QJsonDocument doc = QJsonDocument::fromJson(QByteArray("[") + text.toUtf8() + "]", &error);
    if (error.error != QJsonParseError::NoError || doc.array().size() != 1)
        throw UsageError(QStringLiteral("\"%1\" is not a JSON value").arg(text));
    const QJsonValue v = doc.array().at(0);
    if (v.isNull())
        throw UsageError(QStringLiteral("null cannot be stored; use delete"));
    return v.toVariant();
}

QVariant parseBool(const QString &text)
{
    const QString t = text.toLower();
    if (t == QLatin1StringView("true") || t == QLatin1StringView("yes") || t == QLatin1StringView("1"))
        return true;
    if (t == QLatin1StringView("false") || t == QLatin1StringView("no") || t == QLatin1StringView("0"))
        return false;
    throw UsageError(QStringLiteral("\"%1\" is not a boolean (true or false)").arg(text));
}

} // namespace

QString defaultTypeName(const QString &key)
{
    const Keys::Key *k = Keys::find(key);
    return k ? QString(Keys::typeName(k->type)) : QStringLiteral("string");
}

QVariant parseValue(const QString &key, const QString &text, const QString &typeName)
{
    const QString type = typeName.isEmpty() ? defaultTypeName(key) : typeName;
    bool ok = false;
    if (type == QLatin1StringView("string"))
        return text;
    if (type == QLatin1StringView("int")) {
        const qlonglong n = text.toLongLong(&ok);
        if (!ok)
            throw UsageError(QStringLiteral("\"%1\" is not a whole number").arg(text));
        return n;
    }
    if (type == QLatin1StringView("double")) {
        const double d = text.toDouble(&ok);
        if (!ok || !std::isfinite(d))
            throw UsageError(QStringLiteral("\"%1\" is not a finite number").arg(text));
        return d;
    }
    if (type == QLatin1StringView("bool"))
        return parseBool(text);
    if (type == QLatin1StringView("date"))
        return parseDate(text);
    if (type == QLatin1StringView("json"))
        return parseJson(text);
    throw UsageError(
        QStringLiteral("unknown type \"%1\" (string, int, double, bool, date or json)").arg(type));
}

} // namespace Cli
