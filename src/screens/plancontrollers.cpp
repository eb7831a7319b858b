#include "plancontrollers.h"
#include "plans/datacap.h"

#include "core/dateformatter.h"
#include "core/settingskeys.h"
#include "planpickers.h"
#include "plans/billingcycle.h"
#include "services/usagemonitor.h"

#include <cmath>

// ---- PlanController ----

PlanController::PlanController(UsageMonitor &monitor, const QString &plan, QObject *parent)
    : QObject(parent), m_monitor(monitor), m_plan(plan), m_new(plan.isEmpty()),
      m_settings(new ListModel(
          {"section", "row", "title", "detail", "opens"},
          [this] {
              int n = 0;
              for (int s = 0; s < sectionCount(); ++s)
                  n += int(rows(s).size());
              return n;
          },
          [this](int i, const QByteArray &role) -> QVariant {
              for (int s = 0; s < sectionCount(); ++s) {
                  const QList<SettingsRow> list = rows(s);
                  if (i >= list.size()) {
                      i -= int(list.size());
                      continue;
                  }
                  const SettingsRow &r = list.at(i);
                  return role == "section"  ? QVariant(s)
                         : role == "row"    ? QVariant(i)
                         : role == "title"  ? QVariant(r.title)
                         : role == "detail" ? QVariant(r.detail)
                                            : QVariant(int(r.opens));
              }
              return QVariant();
          },
          this))
{
    connect(this, &PlanController::changed, m_settings, &ListModel::reload);
    if (m_new) {
        const QVariantMap created = monitor.plans().makeNewPlan();
        m_plan = created.value(Keys::PREF_PLAN_ID).toString();
        monitor.plans().addPlan(created);
    }
}

QString PlanController::title() const
{
    return m_new ? tr("New Plan") : tr("Plan Details");
}

bool PlanController::canDelete() const
{
    return !m_new && m_plan != m_monitor.shared().activePlanID();
}

QString PlanController::startDateDetail() const
{
    SharedCode &shared = m_monitor.shared();
    switch (BillingCycle::dataPlanTypeForPlan(shared, m_plan)) {
    case BillingCycle::Monthly:
        return PlanTexts::shortBillDateString(shared.getForPlan(m_plan, Keys::PREF_BILLDAY).toLongLong());
    case BillingCycle::Weekly: {
        // 1 January 2023 was a Sunday, weekday 1.
        const qint64 k = shared.userPref().integerForKey(Keys::PREF_WEEK_START);
        return PickerWeekController::weekdayNames().value(int(std::clamp<qint64>(k, 1, 7)) - 1);
    }
    default:
        return DateFormatter::withTemplate(QStringLiteral("MMMd"))
            .toString(shared.getForPlan(m_plan, Keys::PREF_30DAY_START).toDateTime().toLocalTime());
    }
}

QList<SettingsRow> PlanController::rows(int section) const
{
    SharedCode &shared = m_monitor.shared();
    if (section == 0) {
        QList<SettingsRow> rows{
            {tr("Label"), shared.getForPlan(m_plan, Keys::PREF_PLAN_LABEL).toString(), Navigator::Label},
            {tr("Plan Type"),
             PlanTexts::planNameForLength(BillingCycle::dataPlanTypeForPlan(shared, m_plan),
                                          BillingCycle::nForCycleForPlan(shared, m_plan)),
             Navigator::PlanType}};
        if (!BillingCycle::isDailyCycleForPlan(shared, m_plan)) {
            static const Navigator::Screen pickers[] = {Navigator::BillDay, Navigator::StartDate,
                                                        Navigator::Weekday, Navigator::StartDate,
                                                        Navigator::StartDate};
            const int type = std::clamp(BillingCycle::dataPlanTypeForPlan(shared, m_plan), 0, 4);
            rows.append({tr("Start Date"), startDateDetail(), pickers[type]});
        }
        rows.append({tr("Data Cap"),
                     PlanTexts::capString(shared.getForPlan(m_plan, Keys::PREF_DATA_DISPLAY_CAP).toList()),
                     Navigator::Cap});
        return rows;
    }
    if (section == 1 && !m_new) {
        const bool rollover = SettingsValue::toBool(shared.getForPlan(m_plan, Keys::PREF_ROLLOVER_ON));
        return {{tr("Rollover Data"),
                 rollover
                     ? PlanTexts::capString(shared.getForPlan(m_plan, Keys::PREF_ROLLOVER_DISPLAY).toList())
                     : QString(),
                 Navigator::Rollover},
                {tr("Tethering"), QString(), Navigator::Tethering},
                {tr("Usage History"), QString(), Navigator::Day},
                {tr("Export Statistics"), QString(), Navigator::Export}};
    }
    return {};
}

void PlanController::save()
{
    if (!m_new)
        return;
    m_new = false;
    emit changed();
}

void PlanController::cancel()
{
    if (m_new)
        m_monitor.plans().removePlan(m_plan);
    emit goBack();
}

AlertValue PlanController::deleteQuestion() const
{
    AlertValue a = AlertService::alertControllerWithTitle(QString(), tr("Do you want to delete this plan?"));
    a.actions = {AlertAction{tr("Delete"), AlertAction::Destructive},
                 AlertAction{tr("Cancel"), AlertAction::Cancel}};
    return a;
}

void PlanController::confirmDelete()
{
    if (!canDelete())
        return;
    m_monitor.plans().removePlan(m_plan);
    emit goBack();
}

void PlanController::requestDelete()
{
    if (canDelete())
        emit ask(deleteQuestion().toMap());
}

void PlanController::answer(int index)
{
    if (index == 0)
        confirmDelete();
}

void PlanController::selectRow(int section, int row)
{
    const QList<SettingsRow> list = rows(section);
    if (row < 0 || row >= list.size())
        return;
    if (list.at(row).opens == Navigator::Day)
        m_monitor.plans().showHistoryForPlan(m_plan, this, true);
    else
        emit open(list.at(row).opens, m_plan);
}

// ---- AddController ----

AddController::AddController(UsageMonitor &monitor, QObject *parent)
    : ByteController(tr("Add Usage"),
                     tr("Amount of cellular data used. This amount will be added to your current usage."),
                     parent),
      m_monitor(monitor)
{}

bool AddController::buttonEnabled() const
{
    const double x = amount();
    return std::isfinite(x) && x >= 0.001;
}

void AddController::pressButton()
{
    if (const std::optional<AlertValue> question = add())
        emit ask(question->toMap());
}

void AddController::answer(int index)
{
    if (index == 0)
        confirm();
}

std::optional<AlertValue> AddController::add()
{
    if (!buttonEnabled())
        return std::nullopt;
    setText(DataCap::stringTwoDecimal(amount()));
    const QString shown = PlanTexts::capString(QVariantList{text(), qint64(unit)});
    AlertValue a = AlertService::alertControllerWithTitle(
        QString(), tr("Do you want to add %1 to your current cellular usage?").arg(shown));
    a.actions = {AlertAction{tr("Add Usage"), AlertAction::Default},
                 AlertAction{tr("Cancel"), AlertAction::Cancel}};
    return a;
}

void AddController::confirm()
{
    if (!buttonEnabled())
        return;
    const double x = amount();
    m_monitor.plans().addUsageToCurrent(std::floor(x * AmountEntry::unitBytes(unit)));
    m_monitor.doComputeValuesOnly();
    emit done();
}

// ---- AddExistingController ----

ByteController::ByteController(QString title, QString footer, QObject *parent)
    : QObject(parent), m_title(std::move(title)), m_footer(std::move(footer))
{}

void ByteController::setText(const QString &text)
{
    const QString filtered = ByteEntry::transformText(text);
    if (filtered == m_text)
        return;
    m_text = filtered;
    emit textChanged();
}

void ByteController::setUnitIndex(int index)
{
    const AmountEntry::Unit u = index == 1 ? AmountEntry::GB : AmountEntry::MB;
    if (u == unit)
        return;
    unit = u;
    emit unitChanged();
}

AddExistingController::AddExistingController(QObject *parent)
    : ByteController(tr("Existing Usage"), tr("Amount of cellular data already used in this billing period."),
                     parent)
{}

double AddExistingController::bytes() const
{
    if (text().isEmpty())
        return 0;
    const double x = amount();
    if (!(x > 0) || !std::isfinite(x))
        return 0;
    return std::floor(x * AmountEntry::unitBytes(unit));
}

CapController::CapController(SharedCode &shared, const QString &plan, QObject *parent)
    : ByteController(tr("Data Cap"), tr("Amount of cellular data in one billing period."), parent),
      m_shared(shared), m_plan(plan)
{
    const QVariantList shown = shared.getForPlan(plan, Keys::PREF_DATA_DISPLAY_CAP).toList();
    if (shown.size() == 2) {
        setText(shown.at(0).toString());
        setUnitIndex(int(SettingsValue::toInteger(shown.at(1))));
    } else {
        setUnitIndex(int(AmountEntry::GB)); // no cap typed yet: plans are sold in gigabytes
    }
}

bool CapController::keep()
{
    const double x = amount();
    if (!(x >= 0.001) || !std::isfinite(x))
        return false;
    const std::optional<AmountEntry::Amount> a = AmountEntry::capAmount(QString::number(x, 'g', 17), unit);
    if (!a)
        return false;
    AmountEntry::storeCap(m_shared, m_plan, *a);
    return true;
}

RowPickerController::RowPickerController(QString title, QString footer, QStringList rows, int row,
                                         QObject *parent)
    : QObject(parent), m_title(std::move(title)), m_footer(std::move(footer)), m_rows(std::move(rows)),
      m_row(std::clamp(row, 0, int(m_rows.size()) - 1))
{}

void RowPickerController::selectRow(int row)
{
    if (row < 0 || row >= m_rows.size())
        return;
    store(row);
    if (row == m_row)
        return;
    m_row = row;
    emit selectedRowChanged();
}

QStringList RowPickerController::numberRows(int last)
{
    QStringList rows;
    for (int n = 1; n <= last; ++n)
        rows.append(QString::number(n));
    return rows;
}

BilldateController::BilldateController(SharedCode &shared, const QString &plan, QObject *parent)
    : RowPickerController(tr("Start Date"),
                          tr("Pick your bill cycle date. This is the day that your monthly billing period "
                             "will begin each month."),
                          numberRows(31),
                          int(SettingsValue::toInteger(shared.getForPlan(plan, Keys::PREF_BILLDAY))) - 1,
                          parent),
      m_shared(shared), m_plan(plan)
{}

void BilldateController::store(int row)
{
    m_shared.setForPlan(m_plan, Keys::PREF_BILLDAY, qint64(row + 1));
}
