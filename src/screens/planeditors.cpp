#include "planeditors.h"

#include "core/dispatchqueue.h"
#include "core/settingskeys.h"
#include "core/sharedcode.h"
#include "core/storecontext.h"
#include "plans/billingcycle.h"
#include "plans/datacap.h"
#include "services/usagemonitor.h"

#include <QPointer>

LabelController::LabelController(SharedCode &shared, const QString &plan, QObject *parent)
    : QObject(parent), m_shared(shared), m_plan(plan),
      m_text(shared.getForPlan(plan, Keys::PREF_PLAN_LABEL).toString())
{}

void LabelController::setText(const QString &text)
{
    if (text == m_text)
        return;
    m_text = text;
    emit textChanged();
}

bool LabelController::keep()
{
    if (m_text.isEmpty())
        return false;
    m_shared.setForPlan(m_plan, Keys::PREF_PLAN_LABEL, m_text);
    return true;
}

namespace {
// The early types in the order their list shows them.
constexpr int kLegacyTypes[] = {BillingCycle::Monthly, BillingCycle::Days30, BillingCycle::Days28,
                                BillingCycle::Weekly};
} // namespace

PlantypeController::PlantypeController(SharedCode &shared, const QString &plan, QObject *parent)
    : MenuController(tr("Plan Type"), {}, parent), m_shared(shared), m_plan(plan)
{
    const int type = BillingCycle::dataPlanTypeForPlan(shared, plan);
    m_legacy = type == BillingCycle::Days30 || type == BillingCycle::Weekly || type == BillingCycle::Days28;
    reload();
}

void PlantypeController::reload()
{
    const int type = BillingCycle::dataPlanTypeForPlan(m_shared, m_plan);
    if (m_legacy) {
        const QString names[] = {tr("Monthly"), tr("30 Days"), tr("28 Days"), tr("Weekly")};
        std::vector<Row> rows;
        for (int i = 0; i < 4; ++i)
            rows.push_back(
                {0, names[i], Navigator::NoScreen, QString(), true, Check, type == kLegacyTypes[i]});
        setRows(std::move(rows));
        return;
    }
    std::vector<Row> rows{
        {0, tr("Monthly"), Navigator::NoScreen, QString(), true, Check, type == BillingCycle::Monthly},
        {0, tr("N Days"), Navigator::NoScreen, QString(), true, Check, type == BillingCycle::NDays}};
    if (type == BillingCycle::NDays)
        rows.push_back({1, tr("N"), Navigator::DayCount,
                        QString::number(m_shared.integerForPlan(m_plan, Keys::PREF_NDAYS_N))});
    setFooters({tr("Choose your data plan type."), tr("Number of days in one billing period.")});
    setRows(std::move(rows));
}

void PlantypeController::tapRow(int row)
{
    if (row < 0 || row >= int(menuRows().size()))
        return;
    if (menuRows()[size_t(row)].kind == Disclosure) {
        MenuController::tapRow(row);
        return;
    }
    if (m_legacy) {
        const int type = kLegacyTypes[row];
        if ((type == BillingCycle::Days30 || type == BillingCycle::Days28) &&
            !m_shared.getForPlan(m_plan, Keys::PREF_30DAY_START).isValid())
            m_shared.setForPlan(m_plan, Keys::PREF_30DAY_START, m_shared.todayAtZeroHour());
        if (type == BillingCycle::Weekly && m_shared.userPref().integerForKey(Keys::PREF_WEEK_START) == 0)
            m_shared.userPref().setValue(Keys::PREF_WEEK_START, qint64(1));
        m_shared.setForPlan(m_plan, Keys::PREF_BILLTYPE, qint64(type));
        reload();
        emit goBack();
        return;
    }
    if (row == 1 && m_shared.integerForPlan(m_plan, Keys::PREF_NDAYS_N) == 0) {
        m_shared.setForPlan(m_plan, Keys::PREF_NDAYS_N, qint64(30));
        m_shared.setForPlan(m_plan, Keys::PREF_30DAY_START, m_shared.todayAtZeroHour());
    }
    m_shared.setForPlan(m_plan, Keys::PREF_BILLTYPE,
                        qint64(row == 1 ? BillingCycle::NDays : BillingCycle::Monthly));
    reload();
}

RolloverController::RolloverController(UsageMonitor &monitor, const QString &plan, QObject *parent)
    : MenuController(tr("Rollover Data"), {}, parent), m_monitor(monitor), m_plan(plan)
{
    setFooters({tr("With rollover, the cellular data left unused in the previous billing period is added to "
                   "the data cap of the current one.")});
    reload();
}

void RolloverController::reload()
{
    SharedCode &shared = m_monitor.shared();
    const bool on = shared.boolForPlan(m_plan, Keys::PREF_ROLLOVER_ON);
    std::vector<Row> rows{{0, tr("Rollover Data"), Navigator::NoScreen, QString(), true, Switch, on}};
    if (on)
        rows.push_back(
            {1, tr("Rollover Amount"), Navigator::RolloverAmount,
             PlanTexts::capString(shared.getForPlan(m_plan, Keys::PREF_ROLLOVER_DISPLAY).toList())});
    setRows(std::move(rows));
}

void RolloverController::setSwitch(int row, bool on)
{
    if (row != 0)
        return;
    SharedCode &shared = m_monitor.shared();
    shared.setForPlan(m_plan, Keys::PREF_ROLLOVER_ON, on);
    if (!on) {
        reload();
        return;
    }
    const std::shared_ptr<StoreContext> context =
        m_monitor.plans().storeForPlan(m_plan.isEmpty() ? shared.activePlanID() : m_plan);
    QPointer<RolloverController> self(this);
    auto refresh = [self] {
        if (!self)
            return;
        self->reload();
        emit self->rolloverComputed();
    };
    if (!context) {
        DataCap::initRollover(shared, nullptr, m_plan);
        refresh();
        return;
    }
    context->perform([&shared, context, plan = m_plan, refresh] {
        DataCap::initRollover(shared, context.get(), plan);
        dispatchMain(refresh);
    });
}

TetheringController::TetheringController(SharedCode &shared, const QString &plan, QObject *parent)
    : MenuController(tr("Tethering"), {}, parent), m_shared(shared), m_plan(plan)
{
    setFooters(
        {tr("Some carrier setups can cause Tallymo not to track tethering usage. In these cases, turn on "
            "Alternate Tethering.")});
    reload();
}

void TetheringController::reload()
{
    setRows({{0, tr("Alternate Tethering"), Navigator::NoScreen, QString(), true, Switch,
              m_shared.boolForPlan(m_plan, Keys::PREF_TRACK_TETHER)}});
}

void TetheringController::setSwitch(int row, bool on)
{
    if (row != 0)
        return;
    m_shared.setForPlan(m_plan, Keys::PREF_TRACK_TETHER, on);
    reload();
}
