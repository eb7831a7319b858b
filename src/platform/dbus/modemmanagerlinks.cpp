#include "modemmanagerlinks.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusReply>
#include <QLoggingCategory>

Q_LOGGING_CATEGORY(lcModem, "tallymo.platform.modem", QtWarningMsg)

namespace {

using Properties = QMap<QString, QVariantMap>;            // interface → its properties
using ManagedObjects = QMap<QDBusObjectPath, Properties>; // object → its interfaces

constexpr int kTimeoutMs = 500;

} // namespace

namespace ModemManagerLinks {

QStringList connected(const QDBusConnection &bus)
{
    static const bool registered = [] {
        qDBusRegisterMetaType<Properties>();
        qDBusRegisterMetaType<ManagedObjects>();
        return true;
    }();
    Q_UNUSED(registered);
    const QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.ModemManager1"), QStringLiteral("/org/freedesktop/ModemManager1"),
        QStringLiteral("org.freedesktop.DBus.ObjectManager"), QStringLiteral("GetManagedObjects"));
    const QDBusReply<ManagedObjects> reply = bus.call(call, QDBus::Block, kTimeoutMs);
    if (!reply.isValid()) {
        qCDebug(lcModem, "modem manager not asked: %s", qPrintable(reply.error().message()));
        return {};
    }
    QStringList links;
    for (const Properties &object : reply.value()) {
        const QVariantMap bearer = object.value(QStringLiteral("org.freedesktop.ModemManager1.Bearer"));
        const QString name = bearer.value(QStringLiteral("Interface")).toString();
        if (bearer.value(QStringLiteral("Connected")).toBool() && !name.isEmpty())
            links.append(name);
    }
    return links;
}

} // namespace ModemManagerLinks
