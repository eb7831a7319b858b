#include "cli.h"

#include "arguments.h"
#include "core/usagestore.h"

#include <cstdio>

namespace Cli {
namespace {

const char kUsage[] =
    "usage: tallymo <command> [options]\n"
    "\n"
    "commands:\n"
    "  sample [--json]                         take one locked sample\n"
    "  period [--date D] [--plan ID] [--json]  the billing period containing D\n"
    "  defaults read [KEY] | write KEY VALUE [--type T] | delete KEY\n"
    "  plans list | add [--label L] | show [ID] | set KEY VALUE [--type T] [--plan ID]\n"
    "  status [--json] [--plan ID]             the current period's figures\n"
    "  intent show-usage [--json] [--speak]    the usage as the voice intent answers it\n"
    "  refresh                                 one usage check: sample, figures, alerts\n"
    "  alerts show | set N PERCENT             the four usage alert thresholds\n"
    "  daemon [--interval SECONDS]             sample on a timer until stopped\n"
    "  push                                    wake the running service (a silent push)\n"
    "  export (--cycles N | --row R) [--plan ID] [-o FILE] [--mail]   usage as JSON\n"
    "  history hours [--day D] | days [--date D] | cycles [--plan ID] [--json]\n"
    "  map [--day D] [--plan ID] [--json]      where the day's usage happened\n"
    "  net [--day D] [--plan ID] [--json]      traffic per remote address and hour\n"
    "  watch [--follow] [--complication]       be the watch: ask once, then print pushes\n"
    "  setup [--bill-day N] [--cap AMOUNT] [--used AMOUNT]   the first-run setup\n"
    "  demo DIR                                write a demo container to try the app on\n"
    "  store check [--plan ID] [--json]        check the stores; put wrong hourly totals right\n"
    "  networks [--json] | set NAME mobile|other|ignore|auto   which links count as mobile data\n"
    "\n"
    "Dates are ISO 8601: YYYY-MM-DD (local midnight) or YYYY-MM-DDTHH:MM[+HH:MM].\n"
    "Types: string, int, double, bool, date, json.\n";

} // namespace

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
        {QLatin1StringView("networks"), networks},
    };
    if (args.isEmpty() || args.first() == QLatin1StringView("--help") ||
        args.first() == QLatin1StringView("help")) {
        std::fputs(kUsage, args.isEmpty() ? stderr : stdout);
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
