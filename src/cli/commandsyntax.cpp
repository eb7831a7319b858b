#include "commandsyntax.h"

#include "arguments.h"
#include "cli.h"

namespace Cli {

const QList<CommandSyntax> &commandSyntaxes()
{
    using L = QStringList;
    static const QList<CommandSyntax> commands{
        {QStringLiteral("sample"),
         L{QStringLiteral("tallymo sample [--json]")},
         QStringLiteral("take one locked sample; print what was recorded"),
         {},
         L{QStringLiteral("json")},
         sample},
        {QStringLiteral("period"), L{QStringLiteral("tallymo period [--date D] [--plan ID] [--json]")},
         QStringLiteral("the billing period containing D (default: now)"),
         L{QStringLiteral("date"), QStringLiteral("plan")}, L{QStringLiteral("json")}, period},
        {QStringLiteral("status"), L{QStringLiteral("tallymo status [--plan ID] [--json]")},
         QStringLiteral("the current period: usage, cap, forecast, time left"), L{QStringLiteral("plan")},
         L{QStringLiteral("json")}, status},
        {QStringLiteral("refresh"),
         L{QStringLiteral("tallymo refresh")},
         QStringLiteral("one usage check: sample, figures, alerts (exit 10: no new data)"),
         {},
         {},
         refresh},
        {QStringLiteral("history"),
         L{QStringLiteral("tallymo history hours [--day D] [--plan ID] [--json]"),
           QStringLiteral("tallymo history days [--date D] [--plan ID] [--json]"),
           QStringLiteral("tallymo history cycles [--plan ID] [--json]")},
         QStringLiteral("usage per hour of a day, per day of a period, or per period"),
         L{QStringLiteral("day"), QStringLiteral("date"), QStringLiteral("plan")}, L{QStringLiteral("json")},
         history},
        {QStringLiteral("plans"),
         L{QStringLiteral("tallymo plans list [--json]"),
           QStringLiteral("tallymo plans add [--label L] [--json]"),
           QStringLiteral("tallymo plans show [ID] [--json]"),
           QStringLiteral("tallymo plans set KEY VALUE [--type T] [--plan ID]"),
           QStringLiteral("tallymo plans switch ID"), QStringLiteral("tallymo plans remove ID [--yes]"),
           QStringLiteral("tallymo plans reset [--yes]"),
           QStringLiteral("tallymo plans add-usage AMOUNT[MB|GB] [--yes]")},
         QStringLiteral("the data plans: list, add, show, change, switch, remove; start the period anew; "
                        "add usage counted elsewhere"),
         L{QStringLiteral("label"), QStringLiteral("type"), QStringLiteral("plan")},
         L{QStringLiteral("json"), QStringLiteral("yes")}, plans},
        {QStringLiteral("alerts"),
         L{QStringLiteral("tallymo alerts show"), QStringLiteral("tallymo alerts set N PERCENT")},
         QStringLiteral("the four usage-alert thresholds"),
         {},
         {},
         alerts},
        {QStringLiteral("defaults"),
         L{QStringLiteral("tallymo defaults read [KEY]"),
           QStringLiteral("tallymo defaults write KEY VALUE [--type T]"),
           QStringLiteral("tallymo defaults delete KEY")},
         QStringLiteral("the settings: all of them, or one value"),
         L{QStringLiteral("type")},
         {},
         defaults},
        {QStringLiteral("daemon"),
         L{QStringLiteral("tallymo daemon [--interval SECONDS] [--metrics-file PATH] [--foreground]")},
         QStringLiteral("the background service: a check every interval (default 300 s), on a push, a "
                        "wake-up or a visit; --metrics-file rewrites PATH after every check"),
         L{QStringLiteral("interval"), QStringLiteral("metrics-file")}, L{QStringLiteral("foreground")},
         daemon},
        {QStringLiteral("push"),
         L{QStringLiteral("tallymo push")},
         QStringLiteral("wake the running service (a silent push)"),
         {},
         {},
         push},
        {QStringLiteral("metrics"),
         L{QStringLiteral("tallymo metrics [--format openmetrics|prometheus]")},
         QStringLiteral("every plan's period and byte totals for Prometheus (default: OpenMetrics)"),
         L{QStringLiteral("format")},
         {},
         metrics},
        {QStringLiteral("export"),
         L{QStringLiteral("tallymo export (--cycles N | --row R) [--plan ID] [-o|--output FILE] [--mail]")},
         QStringLiteral("usage per billing period as JSON; --mail hands it to the mail program"),
         L{QStringLiteral("cycles"), QStringLiteral("row"), QStringLiteral("plan"), QStringLiteral("output")},
         L{QStringLiteral("mail")}, exportUsage},
        {QStringLiteral("map"), L{QStringLiteral("tallymo map [--day D] [--plan ID] [--json]")},
         QStringLiteral("where the day's usage happened, per hour and for the whole day"),
         L{QStringLiteral("day"), QStringLiteral("plan")}, L{QStringLiteral("json")}, map},
        {QStringLiteral("net"), L{QStringLiteral("tallymo net [--day D] [--plan ID] [--json]")},
         QStringLiteral("traffic per remote address and hour, busiest first, with host names"),
         L{QStringLiteral("day"), QStringLiteral("plan")}, L{QStringLiteral("json")}, net},
        {QStringLiteral("networks"),
         L{QStringLiteral("tallymo networks [--json]"),
           QStringLiteral("tallymo networks set NAME mobile|other|ignore|auto")},
         QStringLiteral("every link and what it counts as; your choice for a connection or interface"),
         {},
         L{QStringLiteral("json")},
         networks},
        {QStringLiteral("watch"),
         L{QStringLiteral("tallymo watch [--follow] [--complication]")},
         QStringLiteral("act as the companion watch: ask once, then print every push (JSON lines)"),
         {},
         L{QStringLiteral("follow"), QStringLiteral("complication")},
         watch},
        {QStringLiteral("intent"),
         L{QStringLiteral("tallymo intent show-usage [--json] [--speak]")},
         QStringLiteral("the usage as the voice intent answers it"),
         {},
         L{QStringLiteral("json"), QStringLiteral("speak")},
         intent},
        {QStringLiteral("store"), L{QStringLiteral("tallymo store check [--plan ID] [--json]")},
         QStringLiteral("SQLite's integrity check and the hourly totals; wrong totals are repaired"),
         L{QStringLiteral("plan")}, L{QStringLiteral("json")}, store},
        {QStringLiteral("setup"),
         L{QStringLiteral("tallymo setup [--bill-day N] [--cap AMOUNT] [--used AMOUNT]")},
         QStringLiteral("the first-run setup (asks on a terminal for what is not given)"),
         L{QStringLiteral("bill-day"), QStringLiteral("cap"), QStringLiteral("used")},
         {},
         setup},
        {QStringLiteral("demo"),
         L{QStringLiteral("tallymo demo DIR")},
         QStringLiteral("write a demo container to DIR to try the app on"),
         {},
         {},
         demo},
    };
    return commands;
}

const CommandSyntax &commandSyntax(const QString &name)
{
    for (const CommandSyntax &c : commandSyntaxes())
        if (c.name == name)
            return c;
    throw UsageError(QStringLiteral("unknown command \"%1\" (try tallymo --help)").arg(name));
}

QString oneLineUsage(const CommandSyntax &command)
{
    const QString prefix = QStringLiteral("tallymo %1 ").arg(command.name);
    QString line = command.synopsis.first();
    for (qsizetype i = 1; i < command.synopsis.size(); ++i)
        line += QStringLiteral(" | ") + command.synopsis.at(i).mid(prefix.size());
    return line;
}

QString commandHelp(const CommandSyntax &command)
{
    QString text;
    for (const QString &form : command.synopsis)
        text += (text.isEmpty() ? QStringLiteral("usage: ") : QStringLiteral("       ")) + form + u'\n';
    return text + u'\n' + command.summary + u'\n';
}

QString programHelp()
{
    QString text = QStringLiteral("usage: tallymo <command> [options]\n\ncommands:\n");
    for (const CommandSyntax &c : commandSyntaxes()) {
        for (const QString &form : c.synopsis)
            text += QStringLiteral("  ") + form + u'\n';
        text += QStringLiteral("      ") + c.summary + u'\n';
    }
    return text +
           QStringLiteral("\n`tallymo COMMAND --help` shows one command.\n"
                          "Dates are ISO 8601: YYYY-MM-DD (local midnight) or YYYY-MM-DDTHH:MM[+HH:MM].\n"
                          "Types: string, int, double, bool, date, json.\n"
                          "Exit status: 0 done, 1 failed, 2 bad arguments, 10 refresh found no new data.\n");
}

} // namespace Cli
