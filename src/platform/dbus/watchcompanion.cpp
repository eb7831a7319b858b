#include "watchcompanion.h"

#include "sessionservices.h"
#include "watchsessionservice.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusMetaType>

bool WatchCompanion::start(bool follow, bool complication, QString *error)
{
    const QString service = LinuxBackgroundRefresh::kServiceName;
    const QString path = DBusWatchSession::kPath, interface = DBusWatchSession::kInterface;
    if (!m_bus.isConnected()) {
        *error = QStringLiteral("no session bus");
        return false;
    }
    if (follow) {
        m_bus.connect(service, path, QStringLiteral("org.freedesktop.DBus.Properties"),
                      QStringLiteral("PropertiesChanged"), this,
                      SLOT(propertiesChanged(QString, QVariantMap, QStringList)));
        m_bus.connect(service, path, interface, QStringLiteral("ComplicationData"), this,
                      SLOT(complicationData(QVariantMap)));
    }
    QDBusMessage call =
        QDBusMessage::createMethodCall(service, path, interface, QStringLiteral("RegisterCompanion"));
    call << complication;
    QDBusMessage reply = m_bus.call(call, QDBus::Block, 25000); // may start the service first
    if (reply.type() != QDBusMessage::ReplyMessage) {
        *error = reply.errorMessage();
        return false;
    }
    call = QDBusMessage::createMethodCall(service, path, interface, QStringLiteral("SendMessage"));
    call << QVariantMap();
    reply = m_bus.call(call, QDBus::Block, 25000);
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty()) {
        *error = reply.errorMessage();
        return false;
    }
    m_report(QStringLiteral("reply"), qdbus_cast<QVariantMap>(reply.arguments().first()));
    return true;
}

void WatchCompanion::propertiesChanged(const QString &interface, const QVariantMap &changed,
                                       const QStringList &)
{
    const QString key = QStringLiteral("ApplicationContext");
    if (interface != DBusWatchSession::kInterface || !changed.contains(key))
        return;
    const QVariant v = changed.value(key);
    m_report(QStringLiteral("applicationContext"),
             v.canConvert<QDBusArgument>() ? qdbus_cast<QVariantMap>(v.value<QDBusArgument>()) : v.toMap());
}

void WatchCompanion::complicationData(const QVariantMap &info)
{
    m_report(QStringLiteral("complicationData"), info);
}
