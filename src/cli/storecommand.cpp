// tallymo store check: SQLite's integrity check and the hourly totals against their records, for
// every plan's store (or one); wrong totals are put right from the records.
#include "arguments.h"
#include "cli.h"
#include "core/settingskeys.h"
#include "core/sharedcode.h"
#include "core/storecontext.h"
#include "output.h"
#include "plans/planorder.h"
#include "services/usagemonitor.h"

#include <QJsonArray>
#include <QJsonObject>

namespace Cli {

int store(const QStringList &args, Environment &env)
{
    const Arguments a(args, QStringLiteral("store"));
    const QString &usage = a.usage();
    a.expectPositional(1, 1);
    if (a.positional.first() != QLatin1StringView("check"))
        throw UsageError(
            QStringLiteral("unknown store command \"%1\"; usage: %2").arg(a.positional.first(), usage));
    Services &s = env.services();
    const QStringList ids =
        a.has(QStringLiteral("plan"))
            ? QStringList{requirePlan(s.shared, a.option(QStringLiteral("plan")))}
            : PlanOrder::byLabel(s.shared.userPref().dictionaryForKey(Keys::PREF_ALL_PLANS));
    bool damaged = false;
    QJsonArray rows;
    for (const QString &id : ids) {
        const std::shared_ptr<StoreContext> context = s.monitor.plans().storeForPlan(id);
        StoreCheck c;
        context->performAndWait([&] {
            if (UsageStore *store = context->store())
                c = store->check(true);
            else
                c.integrity = QStringLiteral("the store cannot be opened");
        });
        const bool ok = c.integrity == QLatin1StringView("ok");
        damaged = damaged || !ok;
        QJsonArray wrong;
        for (const QDateTime &hour : std::as_const(c.wrongHours))
            wrong.append(isoWithOffset(hour));
        QJsonArray wrongDays;
        for (const QDateTime &day : std::as_const(c.wrongDays))
            wrongDays.append(isoWithOffset(day));
        const QString label = s.shared.getForPlan(id, Keys::PREF_PLAN_LABEL).toString();
        rows.append(QJsonObject{{QStringLiteral("plan"), id},
                                {QStringLiteral("label"), label},
                                {QStringLiteral("file"), context->path()},
                                {QStringLiteral("integrity"), c.integrity},
                                {QStringLiteral("hours"), c.hours},
                                {QStringLiteral("wrongHours"), wrong},
                                {QStringLiteral("days"), c.days},
                                {QStringLiteral("wrongDays"), wrongDays},
                                {QStringLiteral("repaired"), c.repaired}});
        if (a.flag(QStringLiteral("json")))
            continue;
        // "N totals did not match … (the first, …): what was done".
        const auto mismatch = [&c](const QString &what, const QList<QDateTime> &wrong, const QString &fixed) {
            return what.arg(wrong.size())
                .arg(isoWithOffset(wrong.first()) + (wrong.size() > 1 ? QStringLiteral(", …") : QString()))
                .arg(c.repaired ? fixed : QStringLiteral(": not repaired (%1)").arg(c.repairError));
        };
        QString line = QStringLiteral("%1 (%2): integrity %3; %4 hours checked")
                           .arg(label, context->path(), ok ? QStringLiteral("ok") : c.integrity)
                           .arg(c.hours);
        if (!c.integrityAfterRepair.isEmpty())
            line += QStringLiteral(
                        ", the damaged hourly totals were repaired from the records (integrity now %1)\n")
                        .arg(c.integrityAfterRepair);
        else if (c.wrongHours.isEmpty())
            line += QStringLiteral(", every hourly total matches its records\n");
        else
            line += mismatch(QStringLiteral(", %1 hourly totals did not match their records (%2)%3\n"),
                             c.wrongHours, QStringLiteral(": repaired from the records"));
        if (!c.wrongDays.isEmpty())
            line += mismatch(QStringLiteral("%1 daily totals did not match their hours (%2)%3\n"),
                             c.wrongDays, QStringLiteral(": summed again from the hours"));
        print(line);
    }
    if (a.flag(QStringLiteral("json")))
        print(QString::fromUtf8(jsonText(rows)));
    return damaged ? 1 : 0;
}

} // namespace Cli
