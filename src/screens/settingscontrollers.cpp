#include "settingscontrollers.h"

#include "core/settingskeys.h"
#include "core/sharedcode.h"

SettingsController::SettingsController(SharedCode &shared, QObject *parent)
    : MenuController(tr("Settings"), {}, parent), m_shared(shared)
{
    reload();
}

void SettingsController::reload()
{
    auto row = [](int section, const QString &title, Navigator::Screen opens,
                  const QString &detail = QString()) {
        return Row{section, title, opens, detail};
    };
    const QString label = m_shared.getForPlan(QString(), Keys::PREF_PLAN_LABEL).toString();
    setRows({row(0, tr("Data Plan"), Navigator::PlanList, label), row(1, tr("Networks"), Navigator::Networks),
             row(1, tr("Advanced"), Navigator::Advanced), row(1, tr("Usage Alerts"), Navigator::Alerts),
             row(1, tr("Export Statistics"), Navigator::Export), row(1, tr("Theme"), Navigator::Theme),
             row(2, tr("Share Screenshot"), Navigator::Share), row(2, tr("About"), Navigator::About)});
}

void SettingsController::aboutToShow()
{
    reload();
}
