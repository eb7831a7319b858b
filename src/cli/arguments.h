#pragma once

#include "core/settingskeys.h"
#include "plans/amountentry.h"

#include <QDateTime>
#include <QHash>
#include <QStringList>
#include <QVariant>

#include <stdexcept>

class SharedCode;

namespace Cli {

// Bad input on the command line: one line for the user, exit status 2.
class UsageError : public std::runtime_error
{
public:
    explicit UsageError(const QString &message) : std::runtime_error(message.toStdString()) {}
    QString message() const { return QString::fromStdString(what()); }
};

// Something outside the command's arguments stops it (the settings cannot be read, say): one line
// to the user and exit status 1.
class Failure : public UsageError
{
public:
    using UsageError::UsageError;
};

// The words after a command: positional arguments and --options, as the command's syntax allows
// them. An option with a value takes the next word (or --name=value); the others are flags.
class Arguments
{
public:
    Arguments(const QStringList &words, const QString &command);

    QStringList positional;
    bool flag(const QString &name) const { return m_flags.contains(name); }
    QString option(const QString &name) const { return m_values.value(name); }
    bool has(const QString &name) const { return m_values.contains(name); }
    // The command's forms on one line, for error messages.
    const QString &usage() const { return m_usage; }

    // Fails unless there are between min and max positional arguments.
    void expectPositional(qsizetype min, qsizetype max) const;

private:
    QString m_usage;
    QHash<QString, QString> m_values;
    QStringList m_flags;
};

// An amount with an optional unit ("500MB", "1.5GB", "300" in MB) of at least `minimum` (0.001 for
// a cap, 0 for usage so far); nothing otherwise.
std::optional<AmountEntry::Amount> parseAmount(const QString &text, double minimum);

// "YYYY-MM-DD" (local midnight) or "YYYY-MM-DDTHH:MM[:SS]" with an optional "Z" or "+HH:MM".
QDateTime parseDate(const QString &text);

// Converts command-line text to a settings value of the named type (string, int, double, bool,
// date, json). An empty type name takes the key's declared type, or string for unknown keys.
QVariant parseValue(const QString &key, const QString &text, const QString &typeName);

// The plan id itself, when a plan with that id exists; a usage error otherwise.
QString requirePlan(SharedCode &shared, const QString &id);

// The type name a key takes when none is given.
QString defaultTypeName(const QString &key);

} // namespace Cli
