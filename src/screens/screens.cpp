#include "screens.h"

#include "advancedcontrollers.h"
#include "alertscontrollers.h"
#include "day/dayviewcontroller.h"
#include "desktopshell.h"
#include "history/exportcontroller.h"
#include "mainscreencontroller.h"
#include "notificationcenter.h"
#include "planeditors.h"
#include "planpickers.h"
#include "selectplancontroller.h"
#include "services/usagemonitor.h"
#include "settingscontrollers.h"
#include "setupcontroller.h"
#include "themecontrollers.h"

#include <QLoggingCategory>

Q_LOGGING_CATEGORY(lcScreens, "tallymo.ui")

Screens::Screens(UsageMonitor &delegate, Platform platform, QObject *parent)
    : QObject(parent), m_delegate(delegate), m_platform(platform), m_main(new MainScreenController(this))
{
    connect(&NotificationCenter::defaultCenter(), &NotificationCenter::posted, m_main,
            [this](const QString &name) {
                if (name == kNotifyUpdateTheme)
                    m_main->updateTheme();
            });
    m_main->setDelegate(&m_delegate);
    // The history of a plan (from the main screen or a plan's screen) opens as a page.
    connect(&m_delegate.plans(), &PlanService::historyRequested, this,
            [this](const QString &plan, QObject *, bool animated) { emit historyRequested(plan, animated); });
}

Screens::~Screens()
{
    m_main->setDelegate(nullptr);
}

namespace {

// Every screen the factory makes: its name, the view that shows it, whether the screenshot run
// pictures it on its own, and how it is made (from the factory and the argument).
struct Entry
{
    const char *name;
    const char *page;
    bool pictured;
    QObject *(*make)(Screens &screens, const QString &argument);
};

SharedCode &sharedOf(Screens &s)
{
    return s.delegate().shared();
}

const Entry kScreens[] = {
    {"SetupController", "SetupFlow.qml", false,
     [](Screens &s, const QString &) -> QObject * {
         auto *setup = new SetupController(s.delegate());
         QObject::connect(setup, &SetupController::finished, s.main(),
                          &MainScreenController::dismissedSetupMigrate);
         return setup;
     }},
    {"SettingsController", "MenuPage.qml", true,
     [](Screens &s, const QString &) -> QObject * {
         return new SettingsController(sharedOf(s), &Screens::canCreate);
     }},
    {"AlertsController", "AlertsPage.qml", true,
     [](Screens &s, const QString &) -> QObject * { return new AlertsController(sharedOf(s).userPref()); }},
    {"ExportController", "ExportPage.qml", true,
     [](Screens &s, const QString &plan) -> QObject * {
         auto *e = new ExportController(sharedOf(s), plan.isEmpty() ? sharedOf(s).activePlanID() : plan);
         e->setMail(s.platform().mail);
         return e;
     }},
    {"ThemeController", "MenuPage.qml", true,
     [](Screens &, const QString &) -> QObject * { return new ThemeController; }},
    {"DisplayController", "PickerPage.qml", true,
     [](Screens &s, const QString &) -> QObject * { return new DisplayController(sharedOf(s)); }},
    {"FontController", "PickerPage.qml", true,
     [](Screens &s, const QString &) -> QObject * { return new FontController(sharedOf(s)); }},
    {"ColorsController", "PickerPage.qml", true,
     [](Screens &s, const QString &) -> QObject * { return new ColorsController(sharedOf(s)); }},
    {"BackgroundColorController", "PickerPage.qml", true,
     [](Screens &s, const QString &) -> QObject * { return new BackgroundColorController(sharedOf(s)); }},
    {"IconController", "PickerPage.qml", true,
     [](Screens &s, const QString &) -> QObject * {
         return new IconController(sharedOf(s), s.platform().icons);
     }},
    {"WidgetOptionController", "MenuPage.qml", true,
     [](Screens &, const QString &) -> QObject * { return new WidgetOptionController; }},
    {"WidgetColorController", "PickerPage.qml", true,
     [](Screens &s, const QString &) -> QObject * { return new WidgetColorController(sharedOf(s)); }},
    {"WidgetStyleController", "PickerPage.qml", true,
     [](Screens &s, const QString &) -> QObject * { return new WidgetStyleController(sharedOf(s)); }},
    {"PlanController", "PlanPage.qml", false,
     [](Screens &s, const QString &plan) -> QObject * { return new PlanController(s.delegate(), plan); }},
    {"LabelController", "LabelPage.qml", false,
     [](Screens &s, const QString &plan) -> QObject * { return new LabelController(sharedOf(s), plan); }},
    {"PlantypeController", "MenuPage.qml", false,
     [](Screens &s, const QString &plan) -> QObject * { return new PlantypeController(sharedOf(s), plan); }},
    {"DayCountController", "WheelPage.qml", false,
     [](Screens &s, const QString &plan) -> QObject * { return new DayCountController(sharedOf(s), plan); }},
    {"PickerWeekController", "WheelPage.qml", false,
     [](Screens &s, const QString &) -> QObject * { return new PickerWeekController(sharedOf(s)); }},
    {"DatePickerController", "DatePage.qml", false,
     [](Screens &s, const QString &plan) -> QObject * {
         return new DatePickerController(sharedOf(s), plan);
     }},
    {"RolloverController", "MenuPage.qml", false,
     [](Screens &s, const QString &plan) -> QObject * { return new RolloverController(s.delegate(), plan); }},
    {"RolloverAmountController", "AmountPage.qml", false,
     [](Screens &s, const QString &plan) -> QObject * {
         return new RolloverAmountController(sharedOf(s), plan);
     }},
    {"TetheringController", "MenuPage.qml", false,
     [](Screens &s, const QString &plan) -> QObject * { return new TetheringController(sharedOf(s), plan); }},
    {"ResetController", "MenuPage.qml", true,
     [](Screens &s, const QString &) -> QObject * {
         return new ResetController(s.delegate(), s.platform().services);
     }},
    {"AddController", "AmountPage.qml", true,
     [](Screens &s, const QString &) -> QObject * { return new AddController(s.delegate()); }},
    {"AboutController", "MenuPage.qml", true,
     [](Screens &s, const QString &) -> QObject * { return new AboutController(s.platform().shell); }},
    {"ShareScreenshot", "SharePage.qml", false,
     [](Screens &s, const QString &) -> QObject * {
         DesktopShell *shell = s.platform().shell;
         return new ShareController(s.snapshot(), s.snapshotPixelRatio(),
                                    shell ? shell->picturesFolder() : QString(), shell, s.platform().mail,
                                    sharedOf(s).clock().now());
     }},
    {"BilldateController", "WheelPage.qml", false,
     [](Screens &s, const QString &plan) -> QObject * { return new BilldateController(sharedOf(s), plan); }},
    {"CapController", "AmountPage.qml", false,
     [](Screens &s, const QString &plan) -> QObject * { return new CapController(sharedOf(s), plan); }},
    {"SelectPlanController", "PlansPage.qml", false,
     [](Screens &s, const QString &) -> QObject * { return new SelectPlanController(s.delegate()); }},
    {"MultiCyclesController", "ChartPage.qml", false,
     [](Screens &s, const QString &plan) -> QObject
                                             * {
                                                 return new MultiCyclesController(
                                                     s.delegate().plans(),
                                                     plan.isEmpty() ? sharedOf(s).activePlanID() : plan);
                                             }},
    {"DayViewController", "DayPage.qml", false,
     [](Screens &s, const QString &plan) -> QObject
                                             * {
                                                 const QString id =
                                                     plan.isEmpty() ? sharedOf(s).activePlanID() : plan;
                                                 return new DayViewController(s.delegate().plans(),
                                                                              s.delegate().hostNames(), id);
                                             }},
    {"ThresholdController", "ThresholdPage.qml", false,
     [](Screens &s, const QString &alert) -> QObject
                                              * {
                                                  bool ok = false;
                                                  const uint index = alert.toUInt(&ok);
                                                  return ok && index < 4 ? new ThresholdController(
                                                                               sharedOf(s).userPref(), index)
                                                                         : nullptr;
                                              }},
};

const Entry *entryFor(const QString &screen)
{
    for (const Entry &e : kScreens) {
        if (screen == QLatin1StringView(e.name))
            return &e;
    }
    return nullptr;
}

} // namespace

void Screens::setSnapshot(const QImage &image, qreal pixelRatio)
{
    m_snapshot = image;
    m_snapshotRatio = pixelRatio > 0 ? pixelRatio : 1;
}

bool Screens::showFile(const QString &path)
{
    return m_platform.shell && m_platform.shell->showFile(path);
}

void Screens::offerFile(const QString &path)
{
    if (!m_platform.shell)
        return;
    m_offered = path;
    AlertValue a = AlertService::alertControllerWithTitle(QString(), tr("Exported to %1").arg(path));
    a.actions = {AlertAction{tr("Show in Files"), AlertAction::Default},
                 AlertAction{tr("OK"), AlertAction::Cancel}};
    emit ask(a.toMap());
}

void Screens::answer(int index)
{
    const QString path = std::exchange(m_offered, QString());
    if (index == 0 && !path.isEmpty() && !showFile(path))
        emit message(tr("No file manager opened %1.").arg(path));
}

QStringList Screens::screenNames()
{
    QStringList names;
    for (const Entry &e : kScreens) {
        if (e.pictured)
            names.append(QString::fromLatin1(e.name));
    }
    return names;
}

bool Screens::canCreate(const QString &screen)
{
    return entryFor(screen) != nullptr;
}

QString Screens::pageFor(const QString &screen) const
{
    const Entry *e = entryFor(screen);
    return e ? QString::fromLatin1(e->page) : QString();
}

QObject *Screens::create(const QString &screen, const QString &argument)
{
    const Entry *e = entryFor(screen);
    QObject *made = e ? e->make(*this, argument) : nullptr;
    if (!made)
        qCWarning(lcScreens) << "no screen named" << screen << "for" << argument;
    return made;
}
