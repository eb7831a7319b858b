#include "networkmanagerlinks.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDeadlineTimer>
#include <QLoggingCategory>

Q_LOGGING_CATEGORY(lcNetworkManager, "tallymo.platform.networkmanager", QtWarningMsg)

namespace {

const QString kService = QStringLiteral("org.freedesktop.NetworkManager");
constexpr uint kWifiDevice = 2;
constexpr uint kModeAccessPoint = 3;

struct Caller
{
    const QDBusConnection &bus;
    QDeadlineTimer deadline;
    QString failure;

    std::optional<QList<QVariant>> call(const QString &path, const QString &interface, const QString &method,
                                        const QVariantList &arguments = {})
    {
        const qint64 left = deadline.remainingTime();
        if (left == 0) {
            failure = QStringLiteral("no answer in time");
            return std::nullopt;
        }
        QDBusMessage message = QDBusMessage::createMethodCall(kService, path, interface, method);
        message.setArguments(arguments);
        const QDBusMessage reply = bus.call(message, QDBus::Block, int(std::max<qint64>(left, 1)));
        if (reply.type() != QDBusMessage::ReplyMessage) {
            failure = reply.errorMessage();
            return std::nullopt;
        }
        return reply.arguments();
    }

    // The properties of an interface of an object; empty when they cannot be had.
    QVariantMap properties(const QString &path, const QString &interface)
    {
        const auto reply = call(path, QStringLiteral("org.freedesktop.DBus.Properties"),
                                QStringLiteral("GetAll"), {interface});
        if (!reply || reply->isEmpty())
            return {};
        return qdbus_cast<QVariantMap>(reply->first());
    }
};

QString pathOf(const QVariant &value)
{
    const QString path = value.value<QDBusObjectPath>().path();
    return path == QLatin1StringView("/") ? QString() : path;
}

} // namespace

namespace NetworkManagerLinks {

std::optional<QList<ManagedLink>> read(const QDBusConnection &bus, int budgetMs)
{
    static bool saidAbsent = false;
    Caller caller{bus, QDeadlineTimer(budgetMs), {}};
    const auto devices = bus.isConnected() ? caller.call(QStringLiteral("/org/freedesktop/NetworkManager"),
                                                         kService, QStringLiteral("GetDevices"))
                                           : std::nullopt;
    if (!devices || devices->isEmpty()) {
        if (!std::exchange(saidAbsent, true))
            qCInfo(lcNetworkManager,
                   "NetworkManager is not on the system bus (%s): links are told apart by "
                   "their kind and your choices",
                   qPrintable(bus.isConnected() ? caller.failure : bus.lastError().message()));
        return std::nullopt;
    }
    saidAbsent = false;
    QList<ManagedLink> links;
    for (const QDBusObjectPath &device : qdbus_cast<QList<QDBusObjectPath>>(devices->first())) {
        const QVariantMap d =
            caller.properties(device.path(), QStringLiteral("org.freedesktop.NetworkManager.Device"));
        if (!caller.failure.isEmpty() && caller.deadline.hasExpired())
            return std::nullopt; // a hung NetworkManager: nothing half-read
        ManagedLink link;
        link.interface = d.value(QStringLiteral("IpInterface")).toString();
        if (link.interface.isEmpty())
            link.interface = d.value(QStringLiteral("Interface")).toString();
        if (link.interface.isEmpty())
            continue;
        link.metered = int(d.value(QStringLiteral("Metered")).toUInt());
        if (const QString active = pathOf(d.value(QStringLiteral("ActiveConnection"))); !active.isEmpty()) {
            const QVariantMap a =
                caller.properties(active, QStringLiteral("org.freedesktop.NetworkManager.Connection.Active"));
            link.connection = a.value(QStringLiteral("Id")).toString();
            link.uuid = a.value(QStringLiteral("Uuid")).toString();
            if (d.value(QStringLiteral("DeviceType")).toUInt() == kWifiDevice) {
                const QVariantMap w = caller.properties(
                    device.path(), QStringLiteral("org.freedesktop.NetworkManager.Device.Wireless"));
                link.serving = w.value(QStringLiteral("Mode")).toUInt() == kModeAccessPoint;
            }
        }
        if (caller.deadline.hasExpired())
            return std::nullopt;
        links.append(link);
    }
    return links;
}

} // namespace NetworkManagerLinks
