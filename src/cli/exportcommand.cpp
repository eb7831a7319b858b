// The export command: one plan's usage, cycle by cycle, as JSON.
#include "arguments.h"
#include "cli.h"
#include "core/settingskeys.h"
#include "core/usagestore.h"
#include "history/exportcontroller.h"
#include "services/usagemonitor.h"

#include <QCoreApplication>
#include <QRegularExpression>
#include <QStandardPaths>

#include <cstdio>
#include <unistd.h>

namespace Cli {
namespace {

// The words after "export", with -o read as --output.
Arguments exportArguments(const QStringList &rawArgs)
{
    QStringList args = rawArgs;
    args.replaceInStrings(QRegularExpression(QStringLiteral("^-o$")), QStringLiteral("--output"));
    return Arguments(args, QStringLiteral("export"));
}

// The number given with --cycles (1 up) or with --row (0 to 3); exactly one of them must be there.
qint64 cyclesOrRow(const Arguments &a)
{
    const QString &usage = a.usage();
    a.expectPositional(0, 0);
    if (a.has(QStringLiteral("cycles")) == a.has(QStringLiteral("row")))
        throw UsageError(QStringLiteral("give either --cycles N or --row R; usage: %1").arg(usage));
    bool ok = false;
    const qint64 number = (a.has(QStringLiteral("cycles")) ? a.option(QStringLiteral("cycles"))
                                                           : a.option(QStringLiteral("row")))
                              .toLongLong(&ok);
    if (!ok || number < (a.has(QStringLiteral("row")) ? 0 : 1) ||
        (a.has(QStringLiteral("row")) && number > 3))
        throw UsageError(a.has(QStringLiteral("row"))
                             ? QStringLiteral("--row takes 0, 1, 2 or 3")
                             : QStringLiteral("--cycles takes a whole number from 1 up"));
    return number;
}

// Runs the export to its end, counting the records on a terminal; a termination request cancels it.
ExportController::Outcome exportCycles(ExportController &controller, qint64 cycles, const QString &path,
                                       MailComposer *mail, Environment &env)
{
    if (::isatty(STDERR_FILENO))
        controller.progress = [](qint64 rows) {
            std::fprintf(stderr, "\rexporting: %lld records", qlonglong(rows));
            std::fflush(stderr);
        };
    env.onTerminationRequest([&controller] { controller.cancelExport(); });
    std::optional<ExportController::Outcome> outcome;
    controller.processCycles(cycles, path, mail, [&](const ExportController::Outcome &o) {
        outcome = o;
        QCoreApplication::exit();
    });
    if (!outcome)
        QCoreApplication::exec();
    if (controller.progress)
        std::fputs("\n", stderr);
    return *outcome;
}

// Says how the export ended; returns the exit status (130 when it was cancelled).
int reportOutcome(const ExportController::Outcome &outcome, const QString &path)
{
    // Records that could not be read make no export, whatever the writer made of their absence.
    if (const QString failure = UsageStore::takeFailure();
        !failure.isEmpty() && outcome.kind != ExportController::Outcome::Cancelled)
        throw Failure(failure);
    switch (outcome.kind) {
    case ExportController::Outcome::Finished:
        print(QStringLiteral("%1: %2 cycles, %3 records\n").arg(path).arg(outcome.cycles).arg(outcome.rows));
        return 0;
    case ExportController::Outcome::Cancelled:
        printError(QStringLiteral("tallymo: export cancelled; %1 is incomplete\n").arg(path));
        return 130;
    case ExportController::Outcome::Failed:
        break;
    }
    printError(outcome.reason.isEmpty()
                   ? QStringLiteral("tallymo: %1 (%2)\n").arg(outcome.message, path)
                   : QStringLiteral("tallymo: %1 (%2: %3)\n").arg(outcome.message, path, outcome.reason));
    return 1;
}

} // namespace

int exportUsage(const QStringList &rawArgs, Environment &env)
{
    const Arguments a = exportArguments(rawArgs);
    const qint64 number = cyclesOrRow(a);
    if (a.flag(QStringLiteral("mail")) &&
        QStandardPaths::findExecutable(QStringLiteral("xdg-email")).isEmpty()) {
        printError(QStringLiteral("tallymo: cannot mail the export: xdg-email is not installed "
                                  "(Debian: apt-get install xdg-utils)\n"));
        return 1;
    }
    Services &s = env.services();
    const QString plan = a.has(QStringLiteral("plan"))
                             ? requirePlan(s.shared, a.option(QStringLiteral("plan")))
                             : s.shared.activePlanID();
    const QString path = a.has(QStringLiteral("output")) ? a.option(QStringLiteral("output"))
                                                         : ExportController::exportFilePath();
    ExportController controller(s.shared, plan);
    const qint64 cycles = a.has(QStringLiteral("cycles")) ? number : controller.exportPeriod(quint32(number));
    const ExportController::Outcome outcome =
        exportCycles(controller, cycles, path, a.flag(QStringLiteral("mail")) ? env.mail : nullptr, env);
    return reportOutcome(outcome, path);
}

} // namespace Cli
