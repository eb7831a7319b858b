#include "settingscontrollers.h"

#include "core/settingskeys.h"
#include "core/sharedcode.h"

SettingsController::SettingsController(SharedCode &shared, std::function<bool(const QString &)> canOpen,
                                       QObject *parent)
    : MenuController(tr("Settings"), {}, parent), m_shared(shared), m_canOpen(std::move(canOpen))
{
    reload();
}

void SettingsController::reload()
{
    auto row = [this](int section, const QString &title, const char *opens,
                      const QString &detail = QString()) {
        const QString screen = QString::fromLatin1(opens);
        return Row{section, title, screen, detail, !m_canOpen || m_canOpen(screen)};
    };
    const QString label = m_shared.getForPlan(QString(), Keys::PREF_PLAN_LABEL).toString();
    setRows({row(0, tr("Data Plan"), "SelectPlanController", label),
             row(1, tr("Advanced"), "ResetController"), row(1, tr("Usage Alerts"), "AlertsController"),
             row(1, tr("Export Statistics"), "ExportController"), row(1, tr("Theme"), "ThemeController"),
             row(2, tr("Share Screenshot"), "ShareScreenshot"), row(2, tr("About"), "AboutController")});
}

void SettingsController::aboutToShow()
{
    reload();
}
