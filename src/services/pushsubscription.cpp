#include "pushsubscription.h"

#include "applicationservices.h"
#include "logging.h"

#include <QStringList>

void PushSubscription::renew()
{
    if (m_backend)
        m_backend->save(kSubscriptionId, [](const QString &) {});
}

void PushSubscription::start()
{
    if (!m_backend)
        return;
    m_backend->save(kSubscriptionId, [](const QString &error) {
        if (error.isEmpty())
            qCInfo(lcApp, "qx_marker_log sub.ok - %s", kSubscriptionId.data());
        else
            qCWarning(lcApp, "qx_marker_log sub.error - %s", qPrintable(error));
    });
}

void PushSubscription::stop()
{
    if (m_backend)
        m_backend->remove({kSubscriptionId});
}

void PushSubscription::removeAll()
{
    if (!m_backend)
        return;
    PushSubscriptions *push = m_backend;
    push->fetchAll([push](const QStringList &ids, const QString &error) {
        if (error.isEmpty() && !ids.isEmpty())
            push->remove(ids);
    });
}

void PushSubscription::check()
{
    if (!m_backend)
        return;
    m_backend->fetchAll([](const QStringList &ids, const QString &error) {
        if (!error.isEmpty()) {
            qCWarning(lcApp, "qx_marker_log sub.check.error - %s", qPrintable(error));
            return;
        }
        qCInfo(lcApp, "qx_marker_log sub.check.count - %lld", qlonglong(ids.size()));
        qCInfo(lcApp, "qx_marker_log sub.check.array - (%s)", qPrintable(ids.join(QStringLiteral(", "))));
    });
}
