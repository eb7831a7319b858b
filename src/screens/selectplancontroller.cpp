#include "selectplancontroller.h"

#include "core/settingskeys.h"
#include "plans/planorder.h"
#include "services/usagemonitor.h"

SelectPlanController::SelectPlanController(UsageMonitor &monitor, QObject *parent)
    : QObject(parent), m_monitor(monitor),
      m_plans(new ListModel(
          {"planID", "label", "checked"}, [this] { return int(m_ids.size()); },
          [this](int row, const QByteArray &role) -> QVariant {
              if (role == "planID")
                  return m_ids.value(row);
              if (role == "label")
                  return m_labels.value(row);
              return row == checkedRow();
          },
          this))
{
    connect(this, &SelectPlanController::reloaded, m_plans, &ListModel::reload);
    reload();
}

QString SelectPlanController::title() const
{
    return tr("Select Plan");
}

int SelectPlanController::checkedRow() const
{
    return int(m_ids.indexOf(m_monitor.shared().activePlanID()));
}

void SelectPlanController::reload()
{
    const QVariantMap plans = m_monitor.shared().userPref().dictionaryForKey(Keys::PREF_ALL_PLANS);
    m_ids = PlanOrder::byLabel(plans);
    m_labels.clear();
    for (const QString &id : m_ids)
        m_labels.append(plans.value(id).toMap().value(Keys::PREF_PLAN_LABEL).toString());
    emit reloaded();
}

void SelectPlanController::tapRow(int row)
{
    if (row < 0 || row >= m_ids.size())
        return;
    if (row == checkedRow()) {
        emit goBack();
        return;
    }
    m_monitor.plans().switchPlan(m_ids.at(row), [this] {
        reload();
        emit switched();
    });
}
