#include "cli.h"

#include "arguments.h"
#include "commandsyntax.h"
#include "core/usagestore.h"

#include <cstdio>

namespace Cli {

void print(const QString &text)
{
    std::fputs(text.toUtf8().constData(), stdout);
}

void printError(const QString &text)
{
    std::fputs(text.toUtf8().constData(), stderr);
}

int run(const QStringList &args, Environment &env)
{
    using Command = int (*)(const QStringList &, Environment &);
    static const QList<std::pair<QLatin1StringView, Command>> commands{
        {QLatin1StringView("sample"), sample},     {QLatin1StringView("period"), period},
        {QLatin1StringView("defaults"), defaults}, {QLatin1StringView("plans"), plans},
        {QLatin1StringView("daemon"), daemon},     {QLatin1StringView("status"), status},
        {QLatin1StringView("refresh"), refresh},   {QLatin1StringView("alerts"), alerts},
        {QLatin1StringView("push"), push},         {QLatin1StringView("export"), exportUsage},
        {QLatin1StringView("history"), history},   {QLatin1StringView("watch"), watch},
        {QLatin1StringView("map"), map},           {QLatin1StringView("net"), net},
        {QLatin1StringView("setup"), setup},       {QLatin1StringView("demo"), demo},
        {QLatin1StringView("intent"), intent},     {QLatin1StringView("store"), store},
        {QLatin1StringView("networks"), networks}, {QLatin1StringView("metrics"), metrics},
    };
    if (args.isEmpty() || args.first() == QLatin1StringView("--help") ||
        args.first() == QLatin1StringView("-h") || args.first() == QLatin1StringView("help")) {
        const QString text = programHelp();
        (args.isEmpty() ? printError : print)(text);
        return args.isEmpty() ? 2 : 0;
    }
    if (args.first() == QLatin1StringView("--version")) {
        print(QStringLiteral("tallymo " TALLYMO_VERSION "\n"));
        return 0;
    }
    try {
        for (const auto &[name, command] : commands) {
            if (args.first() != name)
                continue;
            // `tallymo COMMAND --help`, anywhere before a "--".
            const QStringList rest = args.mid(1);
            const qsizetype words =
                rest.contains(QStringLiteral("--")) ? rest.indexOf(QStringLiteral("--")) : rest.size();
            if (rest.first(words).contains(QStringLiteral("--help")) ||
                rest.first(words).contains(QStringLiteral("-h"))) {
                print(commandHelp(commandSyntax(args.first())));
                return 0;
            }
            const int code = command(args.mid(1), env);
            // An answer built on a store that could not be read is no answer.
            if (const QString failure = UsageStore::takeFailure();
                !failure.isEmpty() && (code == 0 || code == kExitNoData))
                throw Failure(failure);
            return code;
        }
        throw UsageError(QStringLiteral("unknown command \"%1\" (try tallymo --help)").arg(args.first()));
    } catch (const Failure &e) {
        printError(QStringLiteral("tallymo: %1\n").arg(e.message()));
        return 1;
    } catch (const UsageError &e) {
        printError(QStringLiteral("tallymo: %1\n").arg(e.message()));
        return 2;
    }
}

} // namespace Cli
