// tallymo setup: the first-run setup on a terminal (routers and other machines without a screen);
// tallymo demo: a complete container to try the app on.
#include "arguments.h"
#include "cli.h"
#include "core/localtime.h"
#include "core/settingskeys.h"
#include "core/sharedcode.h"
#include "core/storecontext.h"
#include "output.h"
#include "plans/amountentry.h"
#include "plans/billingcycle.h"
#include "services/firstrunsetup.h"
#include "services/usagemonitor.h"

#include <QDir>
#include <QFileInfo>
#include <QRandomGenerator>
#include <QRegularExpression>

#include <cmath>
#include <cstdio>
#include <unistd.h>

namespace Cli {

std::optional<AmountEntry::Amount> parseAmount(const QString &text, double minimum)
{
    // Digits with at most one decimal point or comma: no sign, no grouping, no second point.
    static const QRegularExpression re(
        QStringLiteral("^\\s*([0-9]+(?:[.,][0-9]*)?|[.,][0-9]+)\\s*(MB|GB)?\\s*$"),
        QRegularExpression::CaseInsensitiveOption);
    const QRegularExpressionMatch m = re.match(text);
    if (!m.hasMatch())
        return std::nullopt;
    const AmountEntry::Unit unit = m.captured(2).compare(QLatin1StringView("GB"), Qt::CaseInsensitive) == 0
                                       ? AmountEntry::GB
                                       : AmountEntry::MB;
    const QString number = ByteEntry::transformText(m.captured(1)); // a decimal comma reads as a point
    return minimum > 0 ? AmountEntry::capAmount(number, unit) : AmountEntry::rolloverAmount(number, unit);
}

namespace {

QString ask(const QString &question)
{
    print(question);
    std::fflush(stdout);
    char line[256] = {};
    if (!std::fgets(line, sizeof line, stdin))
        throw UsageError(QStringLiteral("no answer to \"%1\"").arg(question.trimmed()));
    return QString::fromUtf8(line).trimmed();
}

} // namespace

int setup(const QStringList &args, Environment &env)
{
    const Arguments a(args, QStringLiteral("setup"));
    a.expectPositional(0, 0);
    const bool terminal = ::isatty(STDIN_FILENO);
    const bool complete = a.has(QStringLiteral("bill-day")) && a.has(QStringLiteral("cap"));
    if (!complete && !terminal)
        throw UsageError(QStringLiteral("no terminal to ask on: give --bill-day and --cap (and --used)"));

    auto answer = [&](const char *option, const QString &question, const QString &fallback) {
        if (a.has(QLatin1StringView(option)))
            return a.option(QLatin1StringView(option));
        if (!terminal)
            return fallback;
        const QString text = ask(question);
        return text.isEmpty() ? fallback : text;
    };
    const QString dayText =
        answer("bill-day", QStringLiteral("Day of the month your billing period begins (1-31): "), QString());
    bool ok = false;
    const int day = dayText.toInt(&ok);
    if (!ok || day < 1 || day > 31)
        throw UsageError(
            QStringLiteral("the bill day must be a whole number from 1 to 31, not \"%1\"").arg(dayText));
    const QString capText =
        answer("cap", QStringLiteral("Data cap per period (for example 5GB or 800MB): "), QString());
    const std::optional<AmountEntry::Amount> cap = parseAmount(capText, 0.001);
    if (!cap)
        throw UsageError(
            QStringLiteral("\"%1\" is not a data cap of at least 0.001 MB (for example 5GB or 800MB)")
                .arg(capText));
    const QString usedText =
        answer("used", QStringLiteral("Cellular data already used this period (for example 300MB) [0]: "),
               QStringLiteral("0"));
    const std::optional<AmountEntry::Amount> used = parseAmount(usedText, 0);
    if (!used)
        throw UsageError(
            QStringLiteral("\"%1\" is not an amount of data (for example 0, 300MB or 1.2GB)").arg(usedText));

    Services &s = env.services();
    s.shared.setForPlan(QString(), Keys::PREF_BILLDAY, qint64(day));
    AmountEntry::storeCap(s.shared, QString(), *cap);
    FirstRunSetup::resetWithExistingUsage(s.monitor, used->bytes);
    QString why;
    if (!FirstRunSetup::markShown(s.monitor, &why))
        throw Failure(QStringLiteral("could not save the settings: %1").arg(why));
    const CurrentValues v = s.monitor.figures().values();
    print(QStringLiteral("Set up: periods begin on day %1, cap %2 %3, %4 used so far (%5%).\n")
              .arg(day)
              .arg(cap->display.value(0).toString(),
                   cap->display.value(1).toInt() == 1 ? QStringLiteral("GB") : QStringLiteral("MB"))
              .arg(qint64(v.monthCell))
              .arg(DataCap::roundedPercent(v.monthPercent)));
    return 0;
}

namespace {

// Two cities the demo's days are spent in, with a few places each.
struct Place
{
    double latitude;
    double longitude;
};
constexpr Place kPlaces[] = {{52.5200, 13.4050}, {52.5070, 13.3320}, {52.5310, 13.3840},  // Berlin
                             {48.1372, 11.5756}, {48.1500, 11.5800}, {48.1290, 11.5560}}; // Munich
constexpr const char *kAddresses[] = {
    "142.250.185.78",           "151.101.1.140",   "104.16.132.229", "157.240.20.35",
    "2a00:1450:4001:82b::200e", "185.199.108.153", "17.253.144.10"};

// Bytes in five minutes at an hour of the day: quiet at night, busy in the evening.
double activity(int hour, QRandomGenerator &random)
{
    static const double shape[24] = {0.3, 0.15, 0.1, 0.05, 0.05, 0.1, 0.4, 0.9, 1.2, 0.8, 0.7, 0.8,
                                     1.1, 0.9,  0.7, 0.7,  0.9,  1.2, 1.5, 1.8, 2.0, 1.7, 1.1, 0.6};
    return shape[hour] * (0.4 + random.generateDouble() * 1.2);
}

// The demo's folder, made; it must be new or empty.
QString makeDemoFolder(const QStringList &args)
{
    const Arguments a(args, QStringLiteral("demo"));
    a.expectPositional(1, 1);
    const QString dir = QFileInfo(a.positional.at(0)).absoluteFilePath();
    if (QFileInfo::exists(dir) && !QDir(dir).isEmpty(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot))
        throw UsageError(
            QStringLiteral("%1 is not empty: the demo goes into a new or empty folder").arg(dir));
    if (!QDir().mkpath(dir))
        throw Failure(QStringLiteral("cannot make the folder %1").arg(dir));
    return dir;
}

// The demo's settings, written: "Phone", the active plan with a 6 GB cap, and "Travel SIM", a 30-day
// plan begun 20 days ago; the first-run setup counts as done.
void writeDemoSettings(SharedCode &shared, UsageMonitor &monitor, const QDateTime &now)
{
    const int billDay = std::min(28, now.addDays(-12).date().day());
    shared.setForPlan(QString(), Keys::PREF_PLAN_LABEL, QStringLiteral("Phone"));
    shared.setForPlan(QString(), Keys::PREF_BILLDAY, qint64(billDay));
    AmountEntry::storeCap(shared, QString(), *AmountEntry::capAmount(QStringLiteral("6"), AmountEntry::GB));
    shared.userPref().setValue(Keys::PREF_SHOWED_SETUP, true);
    shared.userPref().setValue(Keys::PREF_V7_GEO, true);
    QVariantMap travel = monitor.plans().makeNewPlan();
    travel.insert(Keys::PREF_PLAN_LABEL, QStringLiteral("Travel SIM"));
    travel.insert(Keys::PREF_BILLTYPE, qint64(4));
    travel.insert(Keys::PREF_NDAYS_N, qint64(30));
    travel.insert(Keys::PREF_30DAY_START,
                  BillingCycle::dateByAddingUnit(CalendarUnit::Day, -20, shared.todayAtZeroHour()));
    travel.insert(Keys::PREF_THRES_MONTHLY, 2147483648.0);
    monitor.plans().addPlan(travel);
    if (!shared.userPref().synchronize())
        throw Failure(
            QStringLiteral("cannot write the demo settings: %1").arg(shared.userPref().lastError()));
}

// The usage of the five minutes from `t`: mostly Wi-Fi at home, cellular with a location elsewhere.
Event demoEvent(const QDateTime &t, QRandomGenerator &random)
{
    const QDateTime local = t.toLocalTime();
    const int hour = local.time().hour();
    const double level = activity(hour, random);
    const bool home = hour >= 19 || hour < 8;
    const bool munich = (local.date().toJulianDay() / 9) % 3 == 1; // a few trips
    const Place place = kPlaces[(munich ? 3 : 0) + random.bounded(3)];
    Event e{t, 0, 0, 0, 0, kUnknownCoordinate, kUnknownCoordinate};
    if (home) {
        e.wifiIn = std::floor(level * 3.2e6);
        e.wifiOut = std::floor(level * 0.35e6);
        e.cellIn = std::floor(level * 0.02e6);
    } else {
        e.cellIn = std::floor(level * 0.55e6);
        e.cellOut = std::floor(level * 0.08e6);
        e.latitude = place.latitude + (random.generateDouble() - 0.5) * 0.004;
        e.longitude = place.longitude + (random.generateDouble() - 0.5) * 0.006;
    }
    return e;
}

// Three months of samples every five minutes, cellular by day and Wi-Fi at home in the evening, with
// per-address traffic every quarter hour; returns the number of samples.
qint64 writeDemoUsage(SharedCode &shared, const QDateTime &now)
{
    QRandomGenerator random(20261123);
    const std::shared_ptr<StoreContext> context = shared.activeStore();
    const QDateTime first = BillingCycle::dateByAddingUnit(CalendarUnit::Day, -91, shared.todayAtZeroHour());
    qint64 records = 0;
    context->performAndWait([&] {
        for (QDateTime t = first; t <= now; t = t.addSecs(300)) {
            const Event e = demoEvent(t, random);
            context->insertEvent(e);
            ++records;
            if (t.time().minute() % 15 == 0 && e.cellIn + e.wifiIn > 0) {
                const double bytes = e.cellIn + e.cellOut + e.wifiIn + e.wifiOut;
                // Stamped with the hour's start, as the recorder stamps them: an address's traffic
                // in one hour is then one row on the network page.
                context->insertNetevent(
                    {LocalTime::hourStart(t),
                     QString::fromLatin1(kAddresses[random.bounded(int(std::size(kAddresses)))]),
                     std::floor(bytes * 0.6)});
            }
        }
        context->save();
    });
    return records;
}

} // namespace

int demo(const QStringList &args, Environment &env)
{
    const QString dir = makeDemoFolder(args);
    SharedCode::Services services;
    services.containerPath = dir;
    services.clock = env.clock ? env.clock : &Clock::system(); // the user's own container stays unopened
    SharedCode shared(services);
    UsageMonitor monitor(shared);
    monitor.plans().setUpNewInstall();
    const QDateTime now = shared.clock().now();
    writeDemoSettings(shared, monitor, now);
    const qint64 records = writeDemoUsage(shared, now);
    print(QStringLiteral("Demo container in %1: %2 records over 91 days, plans \"Phone\" (active, 6 GB) and "
                         "\"Travel SIM\".\nTry it: TALLYMO_CONTAINER=%1 tallymo-app\n")
              .arg(dir)
              .arg(records));
    return 0;
}

} // namespace Cli
