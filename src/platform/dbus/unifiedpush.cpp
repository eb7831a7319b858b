#include "unifiedpush.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusReply>
#include <QLoggingCategory>

Q_LOGGING_CATEGORY(lcPush, "tallymo.platform.push", QtWarningMsg)

namespace {
const QString kDistributorPrefix = QStringLiteral("org.unifiedpush.Distributor.");
const QString kDistributorPath = QStringLiteral("/org/unifiedpush/Distributor");
const QString kDistributorInterface = QStringLiteral("org.unifiedpush.Distributor1");
const QString kConnectorPath = QStringLiteral("/org/unifiedpush/Connector");
} // namespace

UnifiedPushSubscriptions::UnifiedPushSubscriptions(QDBusConnection bus, QString serviceName, QObject *parent)
    : QObject(parent), m_bus(std::move(bus)), m_serviceName(std::move(serviceName))
{
    if (!m_bus.isConnected())
        return;
    m_bus.registerObject(kConnectorPath, this, QDBusConnection::ExportAllSlots);
    m_bus.connect(QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
                  QStringLiteral("org.freedesktop.DBus"), QStringLiteral("NameOwnerChanged"), this,
                  SLOT(nameOwnerChanged(QString, QString, QString)));
}

QString UnifiedPushSubscriptions::distributor() const
{
    if (!m_bus.isConnected() || !m_bus.interface())
        return {};
    const QStringList names = m_bus.interface()->registeredServiceNames().value();
    for (const QString &name : names)
        if (name.startsWith(kDistributorPrefix))
            return name;
    return {};
}

void UnifiedPushSubscriptions::save(const QString &identifier, std::function<void(const QString &)> done)
{
    const QString name = distributor();
    if (name.isEmpty()) {
        done(QStringLiteral("no UnifiedPush distributor on the session bus"));
        return;
    }
    QDBusMessage call = QDBusMessage::createMethodCall(name, kDistributorPath, kDistributorInterface,
                                                       QStringLiteral("Register"));
    call << m_serviceName << identifier << QStringLiteral("Tallymo data usage");
    const QDBusMessage reply = m_bus.call(call, QDBus::Block, 5000);
    if (reply.type() != QDBusMessage::ReplyMessage) {
        done(reply.errorMessage());
        return;
    }
    const QString result = reply.arguments().value(0).toString();
    if (result != QLatin1StringView("REGISTRATION_SUCCEEDED")) {
        done(QStringLiteral("%1: %2").arg(result, reply.arguments().value(1).toString()));
        return;
    }
    if (!m_registered.contains(identifier))
        m_registered.append(identifier);
    done(QString());
}

void UnifiedPushSubscriptions::fetchAll(std::function<void(const QStringList &, const QString &)> done)
{
    // Distributors cannot list registrations; these are the ones made from here.
    done(m_registered, distributor().isEmpty()
                           ? QStringLiteral("no UnifiedPush distributor on the session bus")
                           : QString());
}

void UnifiedPushSubscriptions::remove(const QStringList &identifiers)
{
    const QString name = distributor();
    for (const QString &id : identifiers) {
        m_registered.removeAll(id);
        if (name.isEmpty())
            continue;
        QDBusMessage call = QDBusMessage::createMethodCall(name, kDistributorPath, kDistributorInterface,
                                                           QStringLiteral("Unregister"));
        call << id;
        m_bus.call(call, QDBus::NoBlock);
    }
}

void UnifiedPushSubscriptions::Message(const QString &token, const QByteArray &message, const QString &id)
{
    qCDebug(lcPush, "message %s for %s (%lld bytes)", qPrintable(id), qPrintable(token),
            qlonglong(message.size()));
    if (onMessage)
        onMessage();
}

void UnifiedPushSubscriptions::NewEndpoint(const QString &token, const QString &endpoint)
{
    qCInfo(lcPush, "endpoint of %s: %s", qPrintable(token), qPrintable(endpoint));
}

void UnifiedPushSubscriptions::Unregistered(const QString &token)
{
    m_registered.removeAll(token);
}

void UnifiedPushSubscriptions::nameOwnerChanged(const QString &name, const QString &, const QString &newOwner)
{
    if (name.startsWith(kDistributorPrefix) && !newOwner.isEmpty() && onDistributorChanged)
        onDistributorChanged();
}
