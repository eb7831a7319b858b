#pragma once

#include <QStringList>

namespace Cli {

struct Environment;

// One command of `tallymo`: how it is written, what it does, and the options its parser takes.
// The dispatcher, the help texts and the parser all read this table, so what the help shows is what
// is accepted.
struct CommandSyntax
{
    QString name;
    QStringList synopsis; // one line per form, each starting "tallymo <name>"
    QString summary;
    QStringList valueOptions; // --name VALUE
    QStringList flags;        // --name
    int (*run)(const QStringList &args, Environment &env) = nullptr;
};

const QList<CommandSyntax> &commandSyntaxes();
// The command of that name; throws UsageError for an unknown one.
const CommandSyntax &commandSyntax(const QString &name);

// The forms on one line, for an error message: "tallymo plans list [--json] | add [--label L] | …".
QString oneLineUsage(const CommandSyntax &command);
// `tallymo COMMAND --help`: the command's forms and what it does.
QString commandHelp(const CommandSyntax &command);
// `tallymo --help`: every command's forms, each with its summary.
QString programHelp();

} // namespace Cli
