#include "screens.h"

#include "app/alertscontrollers.h"
#include "app/datausageappdelegate.h"
#include "app/selectplancontroller.h"
#include "day/dayviewcontroller.h"
#include "history/exportcontroller.h"
#include "newuicontroller.h"
#include "notificationcenter.h"
#include "settingscontrollers.h"
#include "setupcontroller.h"
#include "themecontrollers.h"

#include <QLoggingCategory>

Q_LOGGING_CATEGORY(lcScreens, "tallymo.ui")

Screens::Screens(DataUsageAppDelegate &delegate, AlternateIcons *icons, MailComposer *mail, QObject *parent)
    : QObject(parent), m_delegate(delegate), m_icons(icons), m_mail(mail), m_main(new NewUIController(this))
{
    connect(&NotificationCenter::defaultCenter(), &NotificationCenter::posted, m_main,
            [this](const QString &name) {
                if (name == kNotifyUpdateTheme)
                    m_main->updateTheme();
            });
    m_main->setDelegate(&m_delegate);
}

Screens::~Screens()
{
    m_main->setDelegate(nullptr);
}

QStringList Screens::screenNames()
{
    return {QStringLiteral("SetupController"),
            QStringLiteral("SettingsNewController"),
            QStringLiteral("AlertsController"),
            QStringLiteral("ExportController"),
            QStringLiteral("ThemeController"),
            QStringLiteral("DisplayController"),
            QStringLiteral("FontController"),
            QStringLiteral("ColorsController"),
            QStringLiteral("BackgroundColorController"),
            QStringLiteral("IconController"),
            QStringLiteral("WidgetOptionController"),
            QStringLiteral("WidgetColorController"),
            QStringLiteral("WidgetStyleController")};
}

bool Screens::canCreate(const QString &screen)
{
    static const QStringList more = {QStringLiteral("BilldateController"), QStringLiteral("AllowController"),
                                     QStringLiteral("SelectPlanController"),
                                     QStringLiteral("DayViewController"),
                                     QStringLiteral("ThresholdController")};
    return screenNames().contains(screen) || more.contains(screen);
}

QString Screens::pageFor(const QString &screen) const
{
    if (screen == QLatin1StringView("ThemeController") ||
        screen == QLatin1StringView("WidgetOptionController") ||
        screen == QLatin1StringView("SettingsNewController"))
        return QStringLiteral("MenuPage.qml");
    if (screen == QLatin1StringView("SelectPlanController"))
        return QStringLiteral("PlansPage.qml");
    if (screen == QLatin1StringView("AlertsController"))
        return QStringLiteral("AlertsPage.qml");
    if (screen == QLatin1StringView("ThresholdController"))
        return QStringLiteral("ThresholdPage.qml");
    if (screen == QLatin1StringView("ExportController"))
        return QStringLiteral("ExportPage.qml");
    if (screen == QLatin1StringView("DayViewController"))
        return QStringLiteral("HistoryPage.qml");
    if (screen == QLatin1StringView("SetupController"))
        return QStringLiteral("SetupFlow.qml");
    return QStringLiteral("PickerPage.qml");
}

QObject *Screens::create(const QString &screen, const QString &argument)
{
    const QString &plan = argument;
    SharedCode &shared = m_delegate.shared();
    if (screen == QLatin1StringView("SetupController")) {
        auto *setup = new SetupController(m_delegate);
        connect(setup, &SetupController::finished, m_main, &NewUIController::dismissedSetupMigrate);
        return setup;
    }
    if (screen == QLatin1StringView("ThemeController"))
        return new ThemeController;
    if (screen == QLatin1StringView("WidgetOptionController"))
        return new WidgetOptionController;
    if (screen == QLatin1StringView("DisplayController"))
        return new DisplayController(shared);
    if (screen == QLatin1StringView("FontController"))
        return new FontController(shared);
    if (screen == QLatin1StringView("ColorsController"))
        return new ColorsController(shared);
    if (screen == QLatin1StringView("BackgroundColorController"))
        return new BackgroundColorController(shared);
    if (screen == QLatin1StringView("WidgetColorController"))
        return new WidgetColorController(shared);
    if (screen == QLatin1StringView("WidgetStyleController"))
        return new WidgetStyleController(shared);
    if (screen == QLatin1StringView("IconController"))
        return new IconController(shared, m_icons);
    if (screen == QLatin1StringView("BilldateController"))
        return new BilldateController(shared, plan);
    if (screen == QLatin1StringView("AllowController"))
        return new AllowController(shared, plan);
    if (screen == QLatin1StringView("SelectPlanController"))
        return new SelectPlanController(m_delegate);
    if (screen == QLatin1StringView("SettingsNewController"))
        return new SettingsNewController(shared, &Screens::canCreate);
    if (screen == QLatin1StringView("AlertsController"))
        return new AlertsController(shared.userPref());
    if (screen == QLatin1StringView("ExportController")) {
        auto *e = new ExportController(shared, plan.isEmpty() ? shared.activePlanID() : plan);
        e->setMail(m_mail);
        return e;
    }
    if (screen == QLatin1StringView("ThresholdController")) {
        bool ok = false;
        const uint alert = argument.toUInt(&ok);
        if (ok && alert < 4)
            return new ThresholdController(shared.userPref(), alert);
    }
    if (screen == QLatin1StringView("DayViewController"))
        return new DayViewController(m_delegate, m_delegate, plan);
    qCWarning(lcScreens) << "no screen named" << screen;
    return nullptr;
}
