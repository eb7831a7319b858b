#include "selectplancontroller.h"

#include "core/settingskeys.h"
#include "datausageappdelegate.h"

#include <QLocale>

#include <unicode/ucol.h>

#include <algorithm>

namespace {

// Labels in the user's language, ignoring case, with digit runs compared by value (Plan 2 before
// Plan 10): an ICU collator with numeric collation at secondary strength.
class PlanLabelOrder
{
public:
    PlanLabelOrder()
    {
        UErrorCode status = U_ZERO_ERROR;
        m_collator = ucol_open(QLocale().name().toLatin1().constData(), &status);
        if (U_FAILURE(status)) {
            m_collator = nullptr;
            return;
        }
        ucol_setAttribute(m_collator, UCOL_NUMERIC_COLLATION, UCOL_ON, &status);
        ucol_setStrength(m_collator, UCOL_SECONDARY);
    }
    ~PlanLabelOrder()
    {
        if (m_collator)
            ucol_close(m_collator);
    }
    PlanLabelOrder(const PlanLabelOrder &) = delete;
    PlanLabelOrder &operator=(const PlanLabelOrder &) = delete;

    bool less(const QString &a, const QString &b) const
    {
        if (!m_collator)
            return a.compare(b, Qt::CaseInsensitive) < 0;
        return ucol_strcoll(m_collator, reinterpret_cast<const UChar *>(a.utf16()), int32_t(a.size()),
                            reinterpret_cast<const UChar *>(b.utf16()), int32_t(b.size())) == UCOL_LESS;
    }

private:
    UCollator *m_collator = nullptr;
};

} // namespace

SelectPlanController::SelectPlanController(DataUsageAppDelegate &delegate, QObject *parent)
    : QObject(parent), m_delegate(delegate),
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
    return int(m_ids.indexOf(m_delegate.shared().activePlanID()));
}

void SelectPlanController::reload()
{
    const QVariantMap plans = m_delegate.shared().userPref().dictionaryForKey(Keys::PREF_ALL_PLANS);
    const PlanLabelOrder order;
    const auto label = [&](const QString &id) {
        return plans.value(id).toMap().value(Keys::PREF_PLAN_LABEL).toString();
    };
    m_ids = plans.keys();
    std::sort(m_ids.begin(), m_ids.end(),
              [&](const QString &a, const QString &b) { return order.less(label(a), label(b)); });
    m_labels.clear();
    for (const QString &id : m_ids)
        m_labels.append(label(id));
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
    m_delegate.switchPlan(m_ids.at(row), [this] {
        reload();
        emit switched();
    });
}
