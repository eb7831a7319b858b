#include "navigator.h"

#include "advancedcontrollers.h"
#include "alertscontrollers.h"
#include "day/dayviewcontroller.h"
#include "desktopshell.h"
#include "history/exportcontroller.h"
#include "mainscreencontroller.h"
#include "networkcontrollers.h"
#include "notificationcenter.h"
#include "planeditors.h"
#include "planpickers.h"
#include "selectplancontroller.h"
#include "services/usagemonitor.h"
#include "settingscontrollers.h"
#include "setupcontroller.h"
#include "themecontrollers.h"

#include <QJSEngine>
#include <QLoggingCategory>
#include <QMetaEnum>

Q_LOGGING_CATEGORY(lcScreens, "tallymo.ui")

Navigator::Navigator(UsageMonitor &monitor, Platform platform, QObject *parent)
    : QObject(parent), m_monitor(monitor), m_platform(platform), m_main(new MainScreenController(this))
{
    connect(&NotificationCenter::defaultCenter(), &NotificationCenter::posted, m_main,
            [this](const QString &name) {
                if (name == kNotifyUpdateTheme)
                    m_main->updateTheme();
            });
    m_main->setMonitor(&m_monitor);
    // The history of a plan (from the main screen or a plan's screen) opens as a page. Beside the
    // main screen, what the main screen opens takes the place of what was there.
    connect(&m_monitor.plans(), &PlanService::historyRequested, this,
            [this](const QString &plan, QObject *from, bool animated) {
                if (from == m_main && m_main->beside())
                    closeAll();
                open(Day, plan, animated && !m_main->beside());
            });
    // The settings from the main screen, and for a quick action the screen it asks for over them.
    connect(m_main, &MainScreenController::showSettingsRequested, this,
            [this](const QString &push, bool animated) {
                if (m_main->beside())
                    closeAll();
                open(Settings, QString(), animated && push.isEmpty() && !m_main->beside());
                if (!push.isEmpty())
                    open(push == QLatin1StringView("dataplan") ? PlanList : Theme, QString(), false);
            });
}

Navigator::~Navigator()
{
    m_main->setMonitor(nullptr);
}

namespace {

// Every screen the factory makes: its name, the view that shows it, whether the screenshot run
// pictures it on its own, and how it is made (from the factory and the argument).
struct Entry
{
    Navigator::Screen screen;
    const char *page;
    bool pictured;
    QObject *(*make)(Navigator &screens, const QString &argument);
};

SharedCode &sharedOf(Navigator &s)
{
    return s.monitor().shared();
}

const Entry kScreens[] = {
    {Navigator::Setup, "SetupFlow.qml", false,
     [](Navigator &s, const QString &) -> QObject * {
         auto *setup = new SetupController(s.monitor());
         QObject::connect(setup, &SetupController::finished, s.main(),
                          &MainScreenController::dismissedSetupMigrate);
         return setup;
     }},
    {Navigator::Settings, "MenuPage.qml", true,
     [](Navigator &s, const QString &) -> QObject * { return new SettingsController(sharedOf(s)); }},
    {Navigator::Alerts, "AlertsPage.qml", true,
     [](Navigator &s, const QString &) -> QObject * { return new AlertsController(sharedOf(s).userPref()); }},
    {Navigator::Export, "ExportPage.qml", true,
     [](Navigator &s, const QString &plan) -> QObject * {
         auto *e = new ExportController(sharedOf(s), plan.isEmpty() ? sharedOf(s).activePlanID() : plan);
         e->setMail(s.platform().mail);
         return e;
     }},
    {Navigator::Theme, "MenuPage.qml", true,
     [](Navigator &, const QString &) -> QObject * { return new ThemeController; }},
    {Navigator::Display, "PickerPage.qml", true,
     [](Navigator &s, const QString &) -> QObject * { return new DisplayController(sharedOf(s)); }},
    {Navigator::Font, "PickerPage.qml", true,
     [](Navigator &s, const QString &) -> QObject * { return new FontController(sharedOf(s)); }},
    {Navigator::Colors, "PickerPage.qml", true,
     [](Navigator &s, const QString &) -> QObject * { return new ColorsController(sharedOf(s)); }},
    {Navigator::Background, "PickerPage.qml", true,
     [](Navigator &s, const QString &) -> QObject * { return new BackgroundColorController(sharedOf(s)); }},
    {Navigator::AppIcon, "PickerPage.qml", true,
     [](Navigator &s, const QString &) -> QObject * {
         return new IconController(sharedOf(s), s.platform().icons);
     }},
    {Navigator::WidgetOptions, "MenuPage.qml", true,
     [](Navigator &, const QString &) -> QObject * { return new WidgetOptionController; }},
    {Navigator::WidgetColors, "PickerPage.qml", true,
     [](Navigator &s, const QString &) -> QObject * { return new WidgetColorController(sharedOf(s)); }},
    {Navigator::WidgetStyle, "PickerPage.qml", true,
     [](Navigator &s, const QString &) -> QObject * { return new WidgetStyleController(sharedOf(s)); }},
    {Navigator::Plan, "PlanPage.qml", false,
     [](Navigator &s, const QString &plan) -> QObject * { return new PlanController(s.monitor(), plan); }},
    {Navigator::Label, "LabelPage.qml", false,
     [](Navigator &s, const QString &plan) -> QObject * { return new LabelController(sharedOf(s), plan); }},
    {Navigator::PlanType, "MenuPage.qml", false,
     [](Navigator &s, const QString &plan) -> QObject * {
         return new PlantypeController(sharedOf(s), plan);
     }},
    {Navigator::DayCount, "WheelPage.qml", false,
     [](Navigator &s, const QString &plan) -> QObject * {
         return new DayCountController(sharedOf(s), plan);
     }},
    {Navigator::Weekday, "WheelPage.qml", false,
     [](Navigator &s, const QString &) -> QObject * { return new PickerWeekController(sharedOf(s)); }},
    {Navigator::StartDate, "DatePage.qml", false,
     [](Navigator &s, const QString &plan) -> QObject * {
         return new DatePickerController(sharedOf(s), plan);
     }},
    {Navigator::Rollover, "MenuPage.qml", false,
     [](Navigator &s, const QString &plan) -> QObject * {
         return new RolloverController(s.monitor(), plan);
     }},
    {Navigator::RolloverAmount, "AmountPage.qml", false,
     [](Navigator &s, const QString &plan) -> QObject * {
         return new RolloverAmountController(sharedOf(s), plan);
     }},
    {Navigator::Tethering, "MenuPage.qml", false,
     [](Navigator &s, const QString &plan) -> QObject * {
         return new TetheringController(sharedOf(s), plan);
     }},
    {Navigator::Networks, "MenuPage.qml", true,
     [](Navigator &s, const QString &) -> QObject * { return new NetworksController(sharedOf(s)); }},
    {Navigator::NetworkChoice, "MenuPage.qml", false,
     [](Navigator &s, const QString &key) -> QObject * {
         return key.isEmpty() ? nullptr : new NetworkChoiceController(sharedOf(s), key);
     }},
    {Navigator::Advanced, "MenuPage.qml", true,
     [](Navigator &s, const QString &) -> QObject * {
         return new ResetController(s.monitor(), s.platform().services);
     }},
    {Navigator::AddUsage, "AmountPage.qml", true,
     [](Navigator &s, const QString &) -> QObject * { return new AddController(s.monitor()); }},
    {Navigator::About, "MenuPage.qml", true,
     [](Navigator &s, const QString &) -> QObject * { return new AboutController(s.platform().shell); }},
    {Navigator::Share, "SharePage.qml", false,
     [](Navigator &s, const QString &) -> QObject
                                           * {
                                               DesktopShell *shell = s.platform().shell;
                                               return new ShareController(
                                                   s.snapshot(), s.snapshotPixelRatio(),
                                                   shell ? shell->picturesFolder() : QString(), shell,
                                                   s.platform().mail, sharedOf(s).clock().now());
                                           }},
    {Navigator::BillDay, "WheelPage.qml", false,
     [](Navigator &s,
        const QString &plan) -> QObject * { return new BilldateController(sharedOf(s), plan); }},
    {Navigator::Cap, "AmountPage.qml", false,
     [](Navigator &s, const QString &plan) -> QObject * { return new CapController(sharedOf(s), plan); }},
    {Navigator::PlanList, "PlansPage.qml", false,
     [](Navigator &s, const QString &) -> QObject * { return new SelectPlanController(s.monitor()); }},
    {Navigator::Periods, "ChartPage.qml", false,
     [](Navigator &s, const QString &plan) -> QObject
                                               * {
                                                   return new MultiCyclesController(
                                                       s.monitor().plans(),
                                                       plan.isEmpty() ? sharedOf(s).activePlanID() : plan);
                                               }},
    {Navigator::Day, "DayPage.qml", false,
     [](Navigator &s, const QString &plan) -> QObject
                                               * {
                                                   const QString id =
                                                       plan.isEmpty() ? sharedOf(s).activePlanID() : plan;
                                                   return new DayViewController(s.monitor().plans(),
                                                                                s.monitor().hostNames(), id);
                                               }},
    {Navigator::Threshold, "ThresholdPage.qml", false,
     [](Navigator &s, const QString &alert) -> QObject
                                                * {
                                                    bool ok = false;
                                                    const uint index = alert.toUInt(&ok);
                                                    return ok && index < 4
                                                               ? new ThresholdController(
                                                                     sharedOf(s).userPref(), index)
                                                               : nullptr;
                                                }},
};

const Entry *entryFor(Navigator::Screen screen)
{
    for (const Entry &e : kScreens) {
        if (e.screen == screen)
            return &e;
    }
    return nullptr;
}

} // namespace

void Navigator::setSnapshot(const QImage &image, qreal pixelRatio)
{
    m_snapshot = image;
    m_snapshotRatio = pixelRatio > 0 ? pixelRatio : 1;
}

bool Navigator::showFile(const QString &path)
{
    return m_platform.shell && m_platform.shell->showFile(path);
}

void Navigator::offerFile(const QString &path)
{
    if (!m_platform.shell) {
        emit message(tr("Exported to %1").arg(path));
        return;
    }
    m_offered = path;
    AlertValue a = AlertService::alertControllerWithTitle(QString(), tr("Exported to %1").arg(path));
    a.actions = {AlertAction{tr("Show in Files"), AlertAction::Default},
                 AlertAction{tr("OK"), AlertAction::Cancel}};
    emit ask(a.toMap());
}

void Navigator::answer(int index)
{
    const QString path = std::exchange(m_offered, QString());
    if (index == 0 && !path.isEmpty() && !showFile(path))
        emit message(tr("No file manager opened %1.").arg(path));
}

QList<Navigator::Screen> Navigator::picturedScreens()
{
    QList<Screen> screens;
    for (const Entry &e : kScreens) {
        if (e.pictured)
            screens.append(e.screen);
    }
    return screens;
}

QString Navigator::nameOf(Screen screen)
{
    return QString::fromLatin1(QMetaEnum::fromType<Screen>().valueToKey(screen));
}

QString Navigator::pageFor(Screen screen)
{
    switch (screen) {
    case Period:
    case Periods:
        return QStringLiteral("ChartPage.qml");
    default:
        const Entry *e = entryFor(screen);
        return e ? QString::fromLatin1(e->page) : QString();
    }
}

QObject *Navigator::create(Screen screen, const QString &argument)
{
    const Entry *e = entryFor(screen);
    QObject *made = e ? e->make(*this, argument) : nullptr;
    if (!made)
        qCWarning(lcScreens) << "no" << nameOf(screen) << "screen for" << argument;
    return made;
}

QObject *Navigator::open(Screen screen, const QString &argument, bool animated)
{
    QObject *controller = create(screen, argument);
    if (!controller)
        return nullptr;
    // The page holds it; it goes with the page.
    QJSEngine::setObjectOwnership(controller, QJSEngine::JavaScriptOwnership);
    emit pageRequested(pageFor(screen), controller, argument, animated);
    return controller;
}

void Navigator::show(Screen screen, QObject *controller, bool animated)
{
    if (controller)
        emit pageRequested(pageFor(screen), controller, QString(), animated);
}

void Navigator::back()
{
    emit backRequested();
}

void Navigator::closeAll()
{
    emit closeAllRequested();
}

SetupController *Navigator::newSetup()
{
    return static_cast<SetupController *>(create(Setup));
}
