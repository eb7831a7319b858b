#include "screenshotrun.h"

#include "core/settingskeys.h"
#include "core/sharedcode.h"
#include "day/dayviewcontroller.h"
#include "history/exportcontroller.h"
#include "screens/advancedcontrollers.h"
#include "screens/mainscreencontroller.h"
#include "screens/networkcontrollers.h"
#include "screens/setupcontroller.h"
#include "services/usagemonitor.h"

#include <QDir>
#include <QImage>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTimer>

namespace {

// "WidgetOptions" → "widget-options"
QString fileName(Navigator::Screen screen)
{
    QString name;
    for (const QChar c : Navigator::nameOf(screen)) {
        if (c.isUpper() && !name.isEmpty())
            name += QLatin1Char('-');
        name += c.toLower();
    }
    return name;
}

// A mail program that takes everything, so that the export asks where its file goes.
struct PicturedMail : MailComposer
{
    bool canSendMail() override { return true; }
    bool compose(const QString &, const QString &, const QString &, const QString &) override { return true; }
};

} // namespace

ScreenshotRun::ScreenshotRun(Navigator &navigator, QQuickWindow &window, QString folder,
                             bool canDrawParticles)
    : m_navigator(navigator), m_window(window), m_folder(std::move(folder))
{
    auto theme = [this](int display, int background, int font, int color) {
        return [=, this] {
            setSetting(Keys::PREF_THEME_DISPLAY, qint64(display));
            setSetting(Keys::PREF_THEME_BACKGROUND, qint64(background));
            setSetting(Keys::PREF_THEME_FONT, qint64(font));
            setSetting(Keys::PREF_THEME_COLOR, qint64(color));
            showMain();
            m_navigator.main()->becameHidden();
            m_navigator.main()->becameVisible();
        };
    };
    m_shots.push_back({QStringLiteral("main.png"), nullptr});
    m_shots.push_back({QStringLiteral("display-minimal.png"), theme(1, 0, 0, 0)});
    m_shots.push_back({QStringLiteral("display-standard.png"), theme(0, 0, 0, 0)});
    m_shots.push_back({QStringLiteral("display-complete.png"), theme(2, 0, 0, 0)});
    m_shots.push_back({QStringLiteral("background-black.png"), theme(0, 1, 0, 0)});
    m_shots.push_back({QStringLiteral("background-color.png"), theme(0, 0, 0, 0)});
    const std::pair<const char *, double> forecasts[] = {
        {"safe", 0}, {"caution", 0.25}, {"danger", 0.75}, {"over", 1.2}};
    for (const auto &[name, ratio] : forecasts) {
        const double r = ratio;
        m_shots.push_back(
            {QStringLiteral("forecast-%1.png").arg(QLatin1StringView(name)), [this, r] { showForecast(r); }});
    }
    m_shots.push_back({QStringLiteral("theme-font-futura.png"), theme(0, 0, 12, 21)});
    m_shots.push_back({QStringLiteral("theme-donkey-bounce.png"), theme(0, 0, 13, 18), 200});
    if (canDrawParticles)
        m_shots.push_back({QStringLiteral("theme-winter-wonderland.png"), theme(0, 0, 14, 19), 3000});
    for (const Navigator::Screen screen : Navigator::picturedScreens())
        m_shots.push_back(
            {QStringLiteral("screen-%1.png").arg(fileName(screen)), [this, screen] { openAlone(screen); }});
    // A question with a destructive choice: resetting the period's usage.
    m_shots.push_back({QStringLiteral("question-reset.png"),
                       [this] {
                           if (auto *advanced =
                                   qobject_cast<ResetController *>(openAlone(Navigator::Advanced)))
                               advanced->tapRow(ResetController::ResetRow);
                       },
                       400});
    // One network's choice, opened from the list as the user gets there.
    m_shots.push_back({QStringLiteral("screen-network-choice.png"),
                       [this] {
                           if (auto *networks =
                                   qobject_cast<NetworksController *>(openAlone(Navigator::Networks)))
                               networks->tapRow(0);
                       },
                       400});
    // The second alert's threshold wheel.
    m_shots.push_back({QStringLiteral("screen-threshold.png"),
                       [this] { openAlone(Navigator::Threshold, QStringLiteral("1")); }});
    // Where an export goes with a mail program, and the file chooser behind "Save…".
    m_shots.push_back({QStringLiteral("question-export.png"),
                       [this] {
                           static PicturedMail mail;
                           if (auto *e = qobject_cast<ExportController *>(openAlone(Navigator::Export))) {
                               e->setMail(&mail);
                               e->tapRow(0);
                           }
                       },
                       400});
    m_shots.push_back({QStringLiteral("screen-export-save.png"),
                       [this] {
                           // The page is an item of the stack (not its QObject child); the question is the
                           // page's.
                           std::function<QObject *(QQuickItem *)> find = [&](QQuickItem *item) -> QObject * {
                               if (item->objectName() == QLatin1StringView("exportPage"))
                                   return item->findChild<QObject *>(QStringLiteral("exportDestination"));
                               for (QQuickItem *child : item->childItems()) {
                                   if (QObject *found = find(child))
                                       return found;
                               }
                               return nullptr;
                           };
                           QObject *question = find(m_window.contentItem());
                           if (question)
                               QMetaObject::invokeMethod(question, "answered", Q_ARG(int, 1));
                       },
                       800});
    addSettingsShots();
    addHistoryShots();
    const char *steps[] = {"intro", "billdate", "cap", "existing", "finish"};
    for (int step = 0; step < 5; ++step) {
        m_shots.push_back(
            {QStringLiteral("setup-%1-%2.png").arg(step + 1).arg(QLatin1StringView(steps[step])),
             [this, step] {
                 if (step == 0)
                     m_setup = qobject_cast<SetupController *>(openAlone(Navigator::Setup));
                 else if (m_setup)
                     m_setup->next();
             }});
    }
}

// Shows `screens` one above the other, each for its plan ("active", "other" or none), after
// `before` has changed what it needs for the other plan.
std::function<void()> ScreenshotRun::openStack(std::vector<Opened> screens,
                                               std::function<void(const QString &other)> before)
{
    return [this, screens, before] {
        SharedCode &shared = m_navigator.monitor().shared();
        // The demo's other plan, found before the new-plan picture adds one more.
        if (m_otherPlan.isEmpty()) {
            for (const QString &id : shared.userPref().dictionaryForKey(Keys::PREF_ALL_PLANS).keys()) {
                if (id != shared.activePlanID())
                    m_otherPlan = id;
            }
        }
        if (before)
            before(m_otherPlan);
        m_navigator.closeAll();
        for (const auto &[screen, plan] : screens) {
            const QLatin1StringView which(plan);
            const QString argument = which == QLatin1StringView("active")  ? shared.activePlanID()
                                     : which == QLatin1StringView("other") ? m_otherPlan
                                                                           : QString();
            m_navigator.open(screen, argument, false);
        }
    };
}

// The plan screens and their editors, on screen one above the other as the user gets there. The
// demo data has the active plan (monthly) and one N Days plan.
void ScreenshotRun::addSettingsShots()
{
    const Opened plans{Navigator::PlanList, ""};
    m_shots.push_back({QStringLiteral("screen-plans.png"), openStack({plans})});
    m_shots.push_back(
        {QStringLiteral("screen-plan-active.png"), openStack({plans, {Navigator::Plan, "active"}})});
    m_shots.push_back(
        {QStringLiteral("screen-plan-other.png"), openStack({plans, {Navigator::Plan, "other"}})});
    m_shots.push_back({QStringLiteral("screen-plan-new.png"), openStack({plans, {Navigator::Plan, ""}})});
    const std::pair<const char *, Opened> editors[] = {
        {"label", {Navigator::Label, "active"}},
        {"plantype", {Navigator::PlanType, "active"}},
        {"plantype-ndays", {Navigator::PlanType, "other"}},
        {"billdate", {Navigator::BillDay, "active"}},
        {"nday", {Navigator::DayCount, "other"}},
        {"date", {Navigator::StartDate, "other"}},
        {"allow", {Navigator::Cap, "active"}},
        {"tethering", {Navigator::Tethering, "active"}},
    };
    for (const auto &[file, screen] : editors)
        m_shots.push_back(
            {QStringLiteral("screen-%1.png").arg(QLatin1StringView(file)), openStack({screen})});
    addEditorStateShots();
}

// Editors in states the demo data does not have: rollover on, a weekly plan, the share screen.
void ScreenshotRun::addEditorStateShots()
{
    auto rolloverOn = [this](const QString &) {
        SharedCode &shared = m_navigator.monitor().shared();
        shared.setForPlan(QString(), Keys::PREF_ROLLOVER_ON, true);
        shared.setForPlan(QString(), Keys::PREF_ROLLOVER_DISPLAY,
                          QVariantList{QStringLiteral("1548"), qint64(0)});
    };
    m_shots.push_back(
        {QStringLiteral("screen-rollover.png"), openStack({{Navigator::Rollover, "active"}}, rolloverOn)});
    m_shots.push_back(
        {QStringLiteral("screen-rollover-amount.png"), openStack({{Navigator::RolloverAmount, "active"}})});
    // The early plan types: the other plan turned weekly.
    auto weekly = [this](const QString &other) {
        m_navigator.monitor().shared().setForPlan(other, Keys::PREF_BILLTYPE, qint64(2));
    };
    m_shots.push_back(
        {QStringLiteral("screen-plantype-legacy.png"), openStack({{Navigator::PlanType, "other"}}, weekly)});
    m_shots.push_back({QStringLiteral("screen-week.png"), openStack({{Navigator::Weekday, ""}})});
    m_shots.push_back({QStringLiteral("screen-share.png"),
                       [this] {
                           // The settings take the picture of the main screen that Share shows.
                           openAlone(Navigator::Settings);
                           QTimer::singleShot(
                               150, this, [this] { m_navigator.open(Navigator::Share, QString(), false); });
                       },
                       600});
}

// The history: yesterday's hours, map and addresses, then the period view and the periods view, each
// reached by the back control of the one before.
void ScreenshotRun::addHistoryShots()
{
    const char *pages[] = {"hours", "map", "network"};
    for (int type = 0; type < 3; ++type) {
        m_shots.push_back({QStringLiteral("history-day-%1.png").arg(QLatin1StringView(pages[type])),
                           [this, type] {
                               // Pictures never fetch map tiles unless the data names a server.
                               if (m_navigator.monitor()
                                       .shared()
                                       .userPref()
                                       .stringForKey(Keys::PREF_MAP_TILE_URL)
                                       .isEmpty())
                                   setSetting(Keys::PREF_MAP_TILE_URL, QStringLiteral("none"));
                               setSetting(Keys::PREF_DAYVIEW_TYPE, qint64(type));
                               m_day = qobject_cast<DayViewController *>(openAlone(Navigator::Day));
                               // Yesterday: a whole day, spent in a city.
                               QTimer::singleShot(100, this, [this] {
                                   if (m_day && m_day->swipe(DayViewController::Right))
                                       m_day->slideFinished();
                               });
                           },
                           800});
    }
    // The back control of the day, then of the period.
    m_shots.push_back({QStringLiteral("history-period.png"),
                       [this] {
                           m_period = m_day ? m_day->cycleController() : nullptr;
                           m_navigator.show(Navigator::Period, m_period, false);
                       },
                       500});
    m_shots.push_back({QStringLiteral("history-periods.png"),
                       [this] {
                           m_navigator.show(Navigator::Periods,
                                            m_period ? m_period->periodsController() : nullptr, false);
                       },
                       500});
}

void ScreenshotRun::setSetting(const QString &key, const QVariant &value)
{
    m_navigator.monitor().shared().userPref().setValue(key, value);
}

QObject *ScreenshotRun::openAlone(Navigator::Screen screen, const QString &argument)
{
    m_navigator.closeAll();
    return m_navigator.open(screen, argument, false);
}

// The main screen alone (the setup or a screen left open would cover it), its figures read anew.
void ScreenshotRun::showMain()
{
    m_navigator.closeAll();
    m_navigator.monitor().figures().readActivePlanValuesNow();
    m_navigator.main()->reloadValues();
}

// A cap that puts the active plan's figures in the forecast state of that ratio (over 1: over the cap).
void ScreenshotRun::showForecast(double ratio)
{
    showMain();
    UsageMonitor &d = m_navigator.monitor();
    const CurrentValues v = d.figures().values();
    if (!(v.monthCell > 0) || !v.monthEndDate.isValid())
        return;
    const double length = double(v.monthStartDate.msecsTo(v.monthEndDate));
    const double timeLeft = double(d.shared().clock().now().msecsTo(v.monthEndDate)) * 100 / length;
    const double percent = ratio > 1 ? 120 : ratio <= 0 ? (100 - timeLeft) / 2 : 100 - timeLeft * (1 - ratio);
    d.shared().setForPlan(QString(), Keys::PREF_ROLLOVER_ON, false);
    d.shared().setForPlan(QString(), Keys::PREF_THRES_MONTHLY,
                          std::floor(v.monthCell * 100 / std::max(percent, 0.5)));
    setSetting(Keys::PREF_THEME_DISPLAY, qint64(0));
    setSetting(Keys::PREF_THEME_BACKGROUND, qint64(0));
    setSetting(Keys::PREF_THEME_FONT, qint64(0));
    setSetting(Keys::PREF_THEME_COLOR, qint64(0));
    showMain();
}

void ScreenshotRun::start(std::function<void(const QStringList &, const QString &)> done)
{
    m_done = std::move(done);
    if (!QDir().mkpath(m_folder)) {
        m_done({}, tr("cannot make the folder %1").arg(m_folder));
        return;
    }
    m_at = 0;
    QTimer::singleShot(300, this, [this] { next(); }); // the first frame and its images
}

void ScreenshotRun::next()
{
    if (m_at >= m_shots.size()) {
        m_done(m_written, QString());
        return;
    }
    const Shot &shot = m_shots[m_at];
    if (shot.prepare)
        shot.prepare();
    QTimer::singleShot(shot.settleMs, this, [this] {
        const Shot &s = m_shots[m_at];
        const QString path = QDir(m_folder).filePath(s.file);
        const QImage image = m_window.grabWindow();
        if (image.isNull() || !image.save(path)) {
            m_done(m_written, tr("cannot write %1").arg(path));
            return;
        }
        m_written.append(path);
        ++m_at;
        next();
    });
}
