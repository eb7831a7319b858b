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
        const CommandSyntax &command = commandSyntax(args.first()); // an unknown one is refused here
        // `tallymo COMMAND --help`, anywhere before a "--".
        const QStringList rest = args.mid(1);
        const QStringList words = rest.first(
            rest.contains(QStringLiteral("--")) ? rest.indexOf(QStringLiteral("--")) : rest.size());
        if (words.contains(QStringLiteral("--help")) || words.contains(QStringLiteral("-h"))) {
            print(commandHelp(command));
            return 0;
        }
        const int code = command.run(rest, env);
        // An answer built on a store that could not be read is no answer.
        if (const QString failure = UsageStore::takeFailure();
            !failure.isEmpty() && (code == 0 || code == kExitNoData))
            throw Failure(failure);
        return code;
    } catch (const Failure &e) {
        printError(QStringLiteral("tallymo: %1\n").arg(e.message()));
        return 1;
    } catch (const UsageError &e) {
        printError(QStringLiteral("tallymo: %1\n").arg(e.message()));
        return 2;
    }
}

} // namespace Cli
