// The sample, period, defaults and plans commands.
#include "arguments.h"
#include "cli.h"
#include "core/localtime.h"
#include "core/propertylist.h"
#include "core/settingskeys.h"
#include "core/sharedcode.h"
#include "output.h"
#include "plans/billingcycle.h"
#include "plans/planorder.h"
#include "services/usagemonitor.h"

#include "plans/amountentry.h"

#include <QCoreApplication>
#include <QJsonArray>
#include <QJsonObject>
#include <QRegularExpression>

#include <algorithm>
#include <cstdio>
#include <unistd.h>

namespace Cli {

QString requirePlan(SharedCode &shared, const QString &id)
{
    if (!shared.userPref().dictionaryForKey(Keys::PREF_ALL_PLANS).contains(id))
        throw UsageError(QStringLiteral("no plan with id %1 (see tallymo plans list)").arg(id));
    return id;
}

namespace {

QString planOption(SharedCode &shared, const Arguments &a)
{
    return a.has(QStringLiteral("plan")) ? requirePlan(shared, a.option(QStringLiteral("plan"))) : QString();
}

// Values the command line refuses, whichever way they are written, with the reason.
void checkValue(const QString &key, const QVariant &value)
{
    const auto range = [&](qint64 lo, qint64 hi) {
        const qint64 n = SettingsValue::toInteger(value);
        if (n < lo || n > hi)
            throw UsageError(QStringLiteral("%1 must be between %2 and %3").arg(key).arg(lo).arg(hi));
    };
    if (key == Keys::PREF_BILLTYPE)
        range(0, 4);
    else if (key == Keys::PREF_BILLDAY)
        range(1, 31);
    else if (key == Keys::PREF_NDAYS_N)
        range(1, 3650);
    else if (key == Keys::PREF_WEEK_START)
        range(1, 7);
    else if (key == Keys::PREF_30DAY_START &&
             (value.typeId() != QMetaType::QDateTime ||
              value.toDateTime() != LocalTime::midnightOf(value.toDateTime())))
        throw UsageError(
            QStringLiteral("%1 takes a day (YYYY-MM-DD), not a moment: periods start at the start "
                           "of a day")
                .arg(key));
}

QString planTypeName(SharedCode &shared, const QString &plan)
{
    return PlanTexts::planNameForLength(BillingCycle::dataPlanTypeForPlan(shared, plan),
                                        BillingCycle::nForCycleForPlan(shared, plan));
}

// Stores a value the command line was given, or says why the settings file cannot hold it.
void store(SharedCode &shared, const QString &plan, const QString &key, const QVariant &value,
           bool planScoped)
{
    QString why;
    if (!PropertyList::isWritable(value, &why))
        throw UsageError(QStringLiteral("%1 cannot be stored: %2").arg(key, why));
    if (planScoped)
        shared.setForPlan(plan, key, value);
    else
        shared.userPref().setValue(key, value);
}

} // namespace

void checkSettings(SharedCode &shared)
{
    if (const QString error = shared.userPref().loadError(); !error.isEmpty())
        throw Failure(error);
}

int synchronized(SharedCode &shared)
{
    if (shared.userPref().synchronize())
        return 0;
    printError(QStringLiteral("tallymo: nothing was changed: %1\n").arg(shared.userPref().lastError()));
    return 1;
}

int sample(const QStringList &args, Environment &env)
{
    const Arguments a(args, QStringLiteral("sample"));
    a.expectPositional(0, 0);
    Services &s = env.services();
    const std::shared_ptr<StoreContext> context = s.shared.activeStore();
    SampleResult r;
    context->performAndWait([&] { r = s.shared.sampleUsage(context.get(), Coordinate{}); });
    if (!r.failure.isEmpty()) {
        printError(QStringLiteral("tallymo: %1\n").arg(r.failure));
        return 1;
    }
    if (r.locked && !r.countersRead) {
        printError(QStringLiteral("tallymo: the interface counters cannot be read\n"));
        return 1;
    }
    if (a.flag(QStringLiteral("json"))) {
        QJsonObject o{{QStringLiteral("sampled"), r.locked},
                      {QStringLiteral("recorded"), r.event.has_value()}};
        if (r.locked) {
            o.insert(QStringLiteral("cell"), r.usage.cell);
            o.insert(QStringLiteral("wifi"), r.usage.wifi);
        }
        if (r.event) {
            o.insert(QStringLiteral("timeStamp"), isoWithOffset(r.event->timeStamp));
            o.insert(QStringLiteral("cellIn"), r.event->cellIn);
            o.insert(QStringLiteral("cellOut"), r.event->cellOut);
            o.insert(QStringLiteral("wifiIn"), r.event->wifiIn);
            o.insert(QStringLiteral("wifiOut"), r.event->wifiOut);
        }
        print(QString::fromUtf8(jsonText(o, false)));
    } else if (!r.locked) {
        print(QStringLiteral("skipped: another process is sampling\n"));
    } else if (!r.event) {
        print(QStringLiteral("no new usage\n"));
    } else {
        const Event &e = *r.event;
        print(QStringLiteral("recorded %1: cellular in %2 out %3, Wi-Fi in %4 out %5 bytes\n")
                  .arg(isoWithOffset(e.timeStamp), formatValue(e.cellIn), formatValue(e.cellOut),
                       formatValue(e.wifiIn), formatValue(e.wifiOut)));
    }
    return 0;
}

int period(const QStringList &args, Environment &env)
{
    const Arguments a(args, QStringLiteral("period"));
    a.expectPositional(0, 0);
    const std::optional<QDateTime> date = a.has(QStringLiteral("date"))
                                              ? std::optional(parseDate(a.option(QStringLiteral("date"))))
                                              : std::nullopt;
    Services &s = env.services();
    const QString plan = planOption(s.shared, a);
    const Period p =
        BillingCycle::computeStartEndDates(s.shared, date.value_or(s.shared.clock().now()), plan);
    const QString name = planTypeName(s.shared, plan);
    if (a.flag(QStringLiteral("json"))) {
        const QJsonObject o{{QStringLiteral("start"), isoWithOffset(p.start)},
                            {QStringLiteral("end"), isoWithOffset(p.end)},
                            {QStringLiteral("type"), BillingCycle::dataPlanTypeForPlan(s.shared, plan)},
                            {QStringLiteral("name"), name}};
        print(QString::fromUtf8(jsonText(o, false)));
    } else {
        print(QStringLiteral("%1  %2 → %3\n").arg(name, isoWithOffset(p.start), isoWithOffset(p.end)));
    }
    return 0;
}

int defaults(const QStringList &args, Environment &env)
{
    const Arguments a(args, QStringLiteral("defaults"));
    const QString &usage = a.usage();
    a.expectPositional(1, 3);
    const QString verb = a.positional.first();
    if (verb == QLatin1StringView("read")) {
        a.expectPositional(1, 2);
        Services &s = env.services();
        if (a.positional.size() == 1) {
            print(QString::fromUtf8(jsonText(toJson(s.shared.userPref().dictionaryRepresentation()))));
            return 0;
        }
        const QVariant v = s.shared.userPref().value(a.positional.at(1));
        if (v.isNull()) {
            printError(QStringLiteral("tallymo: %1 is not set\n").arg(a.positional.at(1)));
            return 1;
        }
        print(formatValue(v) + QLatin1Char('\n'));
        return 0;
    }
    if (verb == QLatin1StringView("write")) {
        a.expectPositional(3, 3);
        const QString &key = a.positional.at(1);
        const QVariant value = parseValue(key, a.positional.at(2), a.option(QStringLiteral("type")));
        checkValue(key, value);
        Services &s = env.services();
        store(s.shared, QString(), key, value, false);
        return synchronized(s.shared);
    }
    if (verb == QLatin1StringView("delete")) {
        a.expectPositional(2, 2);
        Services &s = env.services();
        s.shared.userPref().removeValue(a.positional.at(1));
        return synchronized(s.shared);
    }
    throw UsageError(QStringLiteral("unknown defaults command \"%1\"; usage: %2").arg(verb, usage));
}

namespace {

// Plan settings the command line refuses, with the reason.
void checkPlanValue(const QString &key, const QVariant &value)
{
    const Keys::Key *k = Keys::find(key);
    if (k && k->scope == Keys::Scope::Global)
        throw UsageError(QStringLiteral("%1 is not a plan setting (use tallymo defaults write)").arg(key));
    if (key == Keys::PREF_PLAN_ID)
        throw UsageError(QStringLiteral("a plan's identifier cannot be changed"));
    checkValue(key, value);
    if (key == Keys::PREF_PLAN_DBNAME && (value.toString().isEmpty() || value.toString().contains(u'/')))
        throw UsageError(QStringLiteral("a store file name must be a plain, non-empty file name"));
}

// Asks on a terminal; --yes answers for scripts.
bool confirm(const Arguments &a, const QString &question)
{
    if (a.flag(QStringLiteral("yes")))
        return true;
    if (!::isatty(STDIN_FILENO))
        throw UsageError(question + QStringLiteral(" (no terminal to ask on: add --yes)"));
    print(question + QStringLiteral(" [y/N] "));
    std::fflush(stdout);
    char answer[16] = {};
    if (!std::fgets(answer, sizeof answer, stdin))
        return false;
    return answer[0] == 'y' || answer[0] == 'Y';
}

// Waits until the active plan's queue has run everything submitted to it so far.
void drainActiveQueue(SharedCode &shared)
{
    if (const std::shared_ptr<StoreContext> context = shared.activeStore())
        context->performAndWait([] {});
}

// plans switch ID. When the active plan's store cannot be opened there is no last sample to take.
int switchActivePlan(const Arguments &a, Environment &env)
{
    a.expectPositional(2, 2);
    Services &s = env.services();
    const QString id = requirePlan(s.shared, a.positional.at(1));
    QString error;
    if (!s.shared.activePlanID().isEmpty() && id != s.shared.activePlanID() &&
        !UsageStore::open(s.shared.sqliteURLForPlan(QString()), &error)) {
        // No last sample into a store that cannot be opened; the user can still leave it.
        printError(QStringLiteral("tallymo: the active plan's usage store cannot be opened (%1); switching "
                                  "without a last sample\n")
                       .arg(error));
        s.shared.userPref().setValue(Keys::PREF_ACTIVE_PLAN, id);
        return synchronized(s.shared);
    }
    bool switched = false;
    s.monitor.plans().switchPlan(id, [&] {
        switched = true;
        QCoreApplication::exit();
    });
    if (!switched)
        QCoreApplication::exec();
    drainActiveQueue(s.shared);
    return synchronized(s.shared);
}

// plans remove ID, once confirmed; the active plan stays.
int removePlan(const Arguments &a, Environment &env)
{
    a.expectPositional(2, 2);
    Services &s = env.services();
    const QString id = requirePlan(s.shared, a.positional.at(1));
    if (id == s.shared.activePlanID())
        throw UsageError(QStringLiteral("the active plan cannot be deleted (switch to another plan first)"));
    if (!confirm(a, QCoreApplication::translate("PlanController", "Do you want to delete this plan?")))
        return 1;
    s.monitor.plans().removePlan(id);
    return synchronized(s.shared);
}

// plans reset: the current period's usage goes, once confirmed.
int resetPeriod(const Arguments &a, Environment &env)
{
    a.expectPositional(1, 1);
    Services &s = env.services();
    if (!confirm(
            a, QCoreApplication::translate("ResetController", "This will delete current usage statistics.")))
        return 1;
    s.monitor.figures().readActivePlanValuesNow(); // the period the reset deletes
    s.monitor.plans().resetCurrentPeriod();
    drainActiveQueue(s.shared);
    return 0;
}

// plans add-usage AMOUNT: adds to the current period's cellular usage, once confirmed.
int addUsage(const Arguments &a, Environment &env)
{
    a.expectPositional(2, 2);
    const std::optional<AmountEntry::Amount> amount = parseAmount(a.positional.at(1), 0.001);
    if (!amount)
        throw UsageError(
            QStringLiteral("\"%1\" is not an amount of at least 0.001 MB (for example 500MB or 1.5GB)")
                .arg(a.positional.at(1)));
    Services &s = env.services();
    const QString question =
        QCoreApplication::translate("AddController", "Do you want to add %1 to your current cellular usage?")
            .arg(PlanTexts::capString(amount->display));
    if (!confirm(a, question))
        return 1;
    s.monitor.plans().addUsageToCurrent(amount->bytes);
    drainActiveQueue(s.shared);
    return 0;
}

// switch, remove, reset and add-usage; -1 for another verb.
int planChange(const Arguments &a, Environment &env)
{
    const QString verb = a.positional.first();
    if (verb == QLatin1StringView("switch"))
        return switchActivePlan(a, env);
    if (verb == QLatin1StringView("remove"))
        return removePlan(a, env);
    if (verb == QLatin1StringView("reset"))
        return resetPeriod(a, env);
    if (verb == QLatin1StringView("add-usage"))
        return addUsage(a, env);
    return -1;
}

QJsonObject planSummary(SharedCode &shared, const QString &id)
{
    return QJsonObject{{QStringLiteral("id"), id},
                       {QStringLiteral("label"), shared.getForPlan(id, Keys::PREF_PLAN_LABEL).toString()},
                       {QStringLiteral("type"), BillingCycle::dataPlanTypeForPlan(shared, id)},
                       {QStringLiteral("name"), planTypeName(shared, id)},
                       {QStringLiteral("active"), id == shared.activePlanID()}};
}

int listPlans(UsageMonitor &monitor, bool json)
{
    SharedCode &shared = monitor.shared();
    const QStringList ids = PlanOrder::byLabel(shared.userPref().dictionaryForKey(Keys::PREF_ALL_PLANS));
    QJsonArray rows;
    for (const QString &id : ids)
        rows.append(planSummary(shared, id));
    if (json) {
        print(QString::fromUtf8(jsonText(rows)));
        return 0;
    }
    for (const QJsonValue &row : rows) {
        const QJsonObject o = row.toObject();
        print(QStringLiteral("%1 %2  %3  (%4)\n")
                  .arg(o.value(QStringLiteral("active")).toBool() ? QStringLiteral("*") : QStringLiteral(" "),
                       o.value(QStringLiteral("id")).toString(), o.value(QStringLiteral("label")).toString(),
                       o.value(QStringLiteral("name")).toString()));
    }
    return 0;
}

} // namespace

int plans(const QStringList &args, Environment &env)
{
    const Arguments a(args, QStringLiteral("plans"));
    const QString &usage = a.usage();
    a.expectPositional(1, 3);
    const QString verb = a.positional.first();
    const bool json = a.flag(QStringLiteral("json"));
    if (verb == QLatin1StringView("list")) {
        a.expectPositional(1, 1);
        return listPlans(env.services().monitor, json);
    }
    if (verb == QLatin1StringView("add")) {
        a.expectPositional(1, 1);
        Services &s = env.services();
        QVariantMap plan = s.monitor.plans().makeNewPlan();
        if (a.has(QStringLiteral("label")))
            plan.insert(Keys::PREF_PLAN_LABEL, a.option(QStringLiteral("label")));
        s.monitor.plans().addPlan(plan);
        if (const int rc = synchronized(s.shared))
            return rc;
        const QString id = plan.value(Keys::PREF_PLAN_ID).toString();
        print(json ? QString::fromUtf8(jsonText(planSummary(s.shared, id), false)) : id + QLatin1Char('\n'));
        return 0;
    }
    if (verb == QLatin1StringView("show")) {
        a.expectPositional(1, 2);
        Services &s = env.services();
        const QString id =
            a.positional.size() == 2 ? requirePlan(s.shared, a.positional.at(1)) : s.shared.activePlanID();
        const QVariantMap plan = s.shared.userPref().dictionaryForKey(Keys::PREF_ALL_PLANS).value(id).toMap();
        if (json) {
            print(QString::fromUtf8(jsonText(toJson(plan))));
            return 0;
        }
        for (auto it = plan.cbegin(); it != plan.cend(); ++it)
            print(QStringLiteral("%1 = %2\n").arg(it.key(), formatValue(it.value())));
        return 0;
    }
    if (verb == QLatin1StringView("set")) {
        a.expectPositional(3, 3);
        const QString &key = a.positional.at(1);
        const QVariant value = parseValue(key, a.positional.at(2), a.option(QStringLiteral("type")));
        checkPlanValue(key, value);
        Services &s = env.services();
        store(s.shared, planOption(s.shared, a), key, value, true);
        return synchronized(s.shared);
    }
    if (const int rc = planChange(a, env); rc >= 0)
        return rc;
    throw UsageError(QStringLiteral("unknown plans command \"%1\"; usage: %2").arg(verb, usage));
}

} // namespace Cli
