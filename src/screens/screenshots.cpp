#include "screenshots.h"

#include "advancedcontrollers.h"
#include "core/settingskeys.h"
#include "core/sharedcode.h"
#include "mainscreencontroller.h"
#include "screens.h"
#include "services/usagemonitor.h"

#include <QDir>
#include <QImage>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTimer>

ScreenshotRun::ScreenshotRun(Screens &screens, QQuickWindow &window, QString folder, bool canDrawParticles)
    : m_screens(screens), m_window(window), m_folder(std::move(folder))
{
    auto theme = [this](int display, int background, int font, int color) {
        return [=, this] {
            setSetting(Keys::PREF_THEME_DISPLAY, qint64(display));
            setSetting(Keys::PREF_THEME_BACKGROUND, qint64(background));
            setSetting(Keys::PREF_THEME_FONT, qint64(font));
            setSetting(Keys::PREF_THEME_COLOR, qint64(color));
            recompute();
            m_screens.main()->becameHidden();
            m_screens.main()->becameVisible();
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
    for (const QString &screen : Screens::screenNames()) {
        m_shots.push_back({QStringLiteral("picker-%1.png").arg(screen), [this, screen] {
                               invoke("closeAll");
                               invoke("openScreen", screen);
                           }});
    }
    // A question with a destructive choice: resetting the period's usage.
    m_shots.push_back({QStringLiteral("question-reset.png"),
                       [this] {
                           invoke("closeAll");
                           invoke("openScreen", QStringLiteral("ResetController"));
                           invoke("tapRow", qint64(ResetController::ResetRow));
                       },
                       400});
    addSettingsShots();
    addHistoryShots();
    const char *steps[] = {"intro", "billdate", "cap", "existing", "finish"};
    for (int step = 0; step < 5; ++step) {
        m_shots.push_back(
            {QStringLiteral("setup-%1-%2.png").arg(step + 1).arg(QLatin1StringView(steps[step])),
             [this, step] {
                 if (step == 0) {
                     invoke("closeAll");
                     invoke("openSetupPreview");
                 } else {
                     invoke("setupNext");
                 }
             }});
    }
}

// The plan screens and their editors, on screen one above the other as the user gets there. The
// demo data has the active plan (monthly) and one N Days plan.
void ScreenshotRun::addSettingsShots()
{
    auto open = [this](QStringList screens, std::function<void(const QString &other)> before = nullptr) {
        return [this, screens, before] {
            SharedCode &shared = m_screens.delegate().shared();
            // The demo's other plan, found before the new-plan picture adds one more.
            if (m_otherPlan.isEmpty()) {
                for (const QString &id : shared.userPref().dictionaryForKey(Keys::PREF_ALL_PLANS).keys()) {
                    if (id != shared.activePlanID())
                        m_otherPlan = id;
                }
            }
            const QString other = m_otherPlan;
            if (before)
                before(other);
            invoke("closeAll");
            for (const QString &screen : screens) {
                const int colon = screen.indexOf(QLatin1Char(':'));
                const QString name = colon < 0 ? screen : screen.left(colon);
                QString argument = colon < 0 ? QString() : screen.mid(colon + 1);
                if (argument == QLatin1StringView("active"))
                    argument = shared.activePlanID();
                else if (argument == QLatin1StringView("other"))
                    argument = other;
                invoke("openScreenWith", QVariantList{name, argument});
            }
        };
    };
    const QString plans = QStringLiteral("SelectPlanController");
    m_shots.push_back({QStringLiteral("screen-plans.png"), open({plans})});
    m_shots.push_back(
        {QStringLiteral("screen-plan-active.png"), open({plans, QStringLiteral("PlanController:active")})});
    m_shots.push_back(
        {QStringLiteral("screen-plan-other.png"), open({plans, QStringLiteral("PlanController:other")})});
    m_shots.push_back(
        {QStringLiteral("screen-plan-new.png"), open({plans, QStringLiteral("PlanController:")})});
    const std::pair<const char *, const char *> editors[] = {
        {"label", "LabelController:active"},
        {"plantype", "PlantypeController:active"},
        {"plantype-ndays", "PlantypeController:other"},
        {"billdate", "BilldateController:active"},
        {"nday", "DayCountController:other"},
        {"date", "DatePickerController:other"},
        {"allow", "CapController:active"},
        {"tethering", "TetheringController:active"},
    };
    for (const auto &[file, screen] : editors)
        m_shots.push_back({QStringLiteral("screen-%1.png").arg(QLatin1StringView(file)),
                           open({QString::fromLatin1(screen)})});
    auto rolloverOn = [this](const QString &) {
        SharedCode &shared = m_screens.delegate().shared();
        shared.setForPlan(QString(), Keys::PREF_ROLLOVER_ON, true);
        shared.setForPlan(QString(), Keys::PREF_ROLLOVER_DISPLAY,
                          QVariantList{QStringLiteral("1548"), qint64(0)});
    };
    m_shots.push_back({QStringLiteral("screen-rollover.png"),
                       open({QStringLiteral("RolloverController:active")}, rolloverOn)});
    m_shots.push_back({QStringLiteral("screen-rollover-amount.png"),
                       open({QStringLiteral("RolloverAmountController:active")})});
    // The early plan types: the other plan turned weekly.
    auto weekly = [this](const QString &other) {
        m_screens.delegate().shared().setForPlan(other, Keys::PREF_BILLTYPE, qint64(2));
    };
    m_shots.push_back({QStringLiteral("screen-plantype-legacy.png"),
                       open({QStringLiteral("PlantypeController:other")}, weekly)});
    m_shots.push_back({QStringLiteral("screen-week.png"), open({QStringLiteral("PickerWeekController")})});
    m_shots.push_back({QStringLiteral("screen-share.png"),
                       [this] {
                           invoke("closeAll");
                           invoke("openShare");
                       },
                       400});
}

// The history: yesterday's hours, map and addresses, then the period view and the periods view, each
// reached by the back control of the one before.
void ScreenshotRun::addHistoryShots()
{
    const char *pages[] = {"hours", "map", "network"};
    for (int type = 0; type < 3; ++type) {
        m_shots.push_back(
            {QStringLiteral("history-day-%1.png").arg(QLatin1StringView(pages[type])),
             [this, type] {
                 // Pictures never fetch map tiles unless the data names a server.
                 if (m_screens.delegate().shared().userPref().stringForKey(Keys::PREF_MAP_TILE_URL).isEmpty())
                     setSetting(Keys::PREF_MAP_TILE_URL, QStringLiteral("none"));
                 setSetting(Keys::PREF_DAYVIEW_TYPE, qint64(type));
                 invoke("closeAll");
                 invoke("openScreenWith", QVariantList{QStringLiteral("DayViewController"), QString()});
                 // Yesterday: a whole day, spent in a city.
                 QTimer::singleShot(100, this, [this] { invoke("showPreviousDay"); });
             },
             800});
    }
    m_shots.push_back({QStringLiteral("history-period.png"), [this] { invoke("pressBack"); }, 500});
    m_shots.push_back({QStringLiteral("history-periods.png"), [this] { invoke("pressBack"); }, 500});
}

void ScreenshotRun::setSetting(const QString &key, const QVariant &value)
{
    m_screens.delegate().shared().userPref().setValue(key, value);
}

void ScreenshotRun::invoke(const char *function, const QVariant &argument)
{
    QObject *root = &m_window;
    if (argument.isValid()) // the functions that take an argument also take whether to animate
        QMetaObject::invokeMethod(root, function, Q_ARG(QVariant, argument), Q_ARG(QVariant, false));
    else
        QMetaObject::invokeMethod(root, function);
}

void ScreenshotRun::recompute()
{
    m_screens.delegate().figures().readActivePlanValuesNow();
    m_screens.main()->reloadValues();
}

// A cap that puts the active plan's figures in the forecast state of that ratio (over 1: over the cap).
void ScreenshotRun::showForecast(double ratio)
{
    recompute();
    UsageMonitor &d = m_screens.delegate();
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
    recompute();
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
