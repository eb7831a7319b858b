#pragma once

#include "services/applicationservices.h"

#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusMessage>
#include <QObject>
#include <QVariantMap>

// The background service's object on the session bus: Push() is a silent push, Wake() a request
// to sample now; both answer at once and the usage check runs afterwards. ShowUsage() answers the
// usage intent (code, forecast, percent, stats and the sentence to say) once this moment's
// figures are computed.
class BackgroundServiceObject : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.tallymo.Tallymo.Background")

public:
    static constexpr QLatin1StringView kPath{"/org/tallymo/Tallymo/Background"};
    static constexpr QLatin1StringView kInterface{"org.tallymo.Tallymo.Background"};

    explicit BackgroundServiceObject(DesktopServices::BackgroundHandlers handlers)
        : m_handlers(std::move(handlers))
    {}

public slots:
    void Push()
    {
        if (m_handlers.onPush)
            QMetaObject::invokeMethod(this, m_handlers.onPush, Qt::QueuedConnection);
    }
    void Wake()
    {
        if (m_handlers.onWake)
            QMetaObject::invokeMethod(this, m_handlers.onWake, Qt::QueuedConnection);
    }
    QVariantMap ShowUsage()
    {
        if (!m_handlers.onShowUsage)
            return {};
        setDelayedReply(true);
        m_handlers.onShowUsage(
            [bus = connection(), reply = message().createReply()](const QVariantMap &answer) {
                QDBusMessage r = reply;
                r << answer;
                QDBusConnection(bus).send(r); // thread-safe: the answer may come from a store's queue
            });
        return {};
    }

private:
    DesktopServices::BackgroundHandlers m_handlers;
};
