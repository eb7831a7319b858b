#include "planorder.h"

#include "core/settingskeys.h"

#include <QLocale>

#include <unicode/ucol.h>

#include <algorithm>

namespace {

// An ICU collator with numeric collation at secondary strength.
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

QStringList PlanOrder::byLabel(const QVariantMap &plans)
{
    const PlanLabelOrder order;
    const auto label = [&](const QString &id) {
        return plans.value(id).toMap().value(Keys::PREF_PLAN_LABEL).toString();
    };
    QStringList ids = plans.keys();
    std::sort(ids.begin(), ids.end(),
              [&](const QString &a, const QString &b) { return order.less(label(a), label(b)); });
    return ids;
}
