#include "networkmanagerlinks.h"

#include <QDeadlineTimer>
#include <QLoggingCategory>

#include <systemd/sd-bus.h>

#include <cstring>
#include <memory>

Q_LOGGING_CATEGORY(lcNetworkManager, "tallymo.platform.networkmanager", QtWarningMsg)

namespace {

constexpr const char *kService = "org.freedesktop.NetworkManager";
constexpr const char *kProperties = "org.freedesktop.DBus.Properties";

struct BusUnref
{
    void operator()(sd_bus *bus) const { sd_bus_flush_close_unref(bus); }
};
struct MessageUnref
{
    void operator()(sd_bus_message *m) const { sd_bus_message_unref(m); }
};
using Message = std::unique_ptr<sd_bus_message, MessageUnref>;

// The values of an a{sv} this reader needs: strings, object paths and unsigned numbers; the rest
// is skipped.
struct Properties
{
    QHash<QByteArray, QByteArray> text;
    QHash<QByteArray, quint32> numbers;

    bool read(sd_bus_message *m)
    {
        if (sd_bus_message_enter_container(m, 'a', "{sv}") <= 0)
            return false;
        while (sd_bus_message_enter_container(m, 'e', "sv") > 0) {
            const char *name = nullptr;
            const char *contents = nullptr;
            if (sd_bus_message_read(m, "s", &name) < 0 || sd_bus_message_peek_type(m, nullptr, &contents) < 0)
                return false;
            const char *value = nullptr;
            quint32 number = 0;
            int r = 0;
            if (!std::strcmp(contents, "s") || !std::strcmp(contents, "o")) {
                r = sd_bus_message_read(m, "v", contents, &value);
                text.insert(name, value);
            } else if (!std::strcmp(contents, "u")) {
                r = sd_bus_message_read(m, "v", "u", &number);
                numbers.insert(name, number);
            } else {
                r = sd_bus_message_skip(m, "v");
            }
            if (r < 0 || sd_bus_message_exit_container(m) < 0)
                return false;
        }
        return sd_bus_message_exit_container(m) >= 0;
    }
};

struct Caller
{
    std::unique_ptr<sd_bus, BusUnref> bus;
    QDeadlineTimer deadline;
    QByteArray failure;

    quint64 leftUsec() const { return quint64(std::max<qint64>(deadline.remainingTimeNSecs() / 1000, 1)); }

    // Connected and greeted by the bus within the deadline: sd-bus would otherwise wait for a bus
    // that accepts and never answers.
    bool connect()
    {
        sd_bus *b = nullptr;
        if (const int r = sd_bus_open_system(&b); r < 0) {
            failure = std::strerror(-r);
            return false;
        }
        bus.reset(b);
        while (sd_bus_is_ready(b) <= 0) {
            const int r = sd_bus_process(b, nullptr);
            if (r < 0) {
                failure = std::strerror(-r);
                return false;
            }
            if (r > 0)
                continue;
            if (deadline.hasExpired()) {
                failure = "the system bus does not answer";
                return false;
            }
            sd_bus_wait(b, leftUsec());
        }
        return true;
    }

    Message call(const char *path, const char *interface, const char *method, const char *argument = nullptr)
    {
        if (deadline.hasExpired()) {
            failure = "no answer in time";
            return {};
        }
        sd_bus_message *request = nullptr;
        sd_bus_message *reply = nullptr;
        sd_bus_error error = SD_BUS_ERROR_NULL;
        int r = sd_bus_message_new_method_call(bus.get(), &request, kService, path, interface, method);
        if (r >= 0 && argument)
            r = sd_bus_message_append(request, "s", argument);
        if (r >= 0)
            r = sd_bus_call(bus.get(), request, leftUsec(), &error, &reply);
        sd_bus_message_unref(request);
        if (r < 0)
            failure = error.message ? QByteArray(error.message) : QByteArray(std::strerror(-r));
        sd_bus_error_free(&error);
        return Message(r < 0 ? nullptr : reply);
    }

    Properties properties(const char *path, const char *interface)
    {
        Properties p;
        if (Message reply = call(path, kProperties, "GetAll", interface))
            p.read(reply.get());
        return p;
    }

    // Whether a connection's settings make this machine serve others: a Wi-Fi hotspot, or any
    // connection whose IPv4 is shared (NetworkManager routes and hands out addresses for it).
    bool sharesConnection(const char *path)
    {
        Message reply = call(path, "org.freedesktop.NetworkManager.Settings.Connection", "GetSettings");
        sd_bus_message *m = reply.get();
        if (!m || sd_bus_message_enter_container(m, 'a', "{sa{sv}}") <= 0)
            return false;
        bool serving = false;
        while (sd_bus_message_enter_container(m, 'e', "sa{sv}") > 0) {
            const char *group = nullptr;
            Properties p;
            if (sd_bus_message_read(m, "s", &group) < 0 || !p.read(m) || sd_bus_message_exit_container(m) < 0)
                return false;
            if (!std::strcmp(group, "ipv4"))
                serving |= p.text.value("method") == "shared";
            else if (!std::strcmp(group, "802-11-wireless"))
                serving |= p.text.value("mode") == "ap";
        }
        return serving;
    }
};

QByteArray objectPath(const QByteArray &path)
{
    return path == "/" ? QByteArray() : path;
}

} // namespace

namespace NetworkManagerLinks {

std::optional<QList<ManagedLink>> read(int budgetMs)
{
    static bool saidAbsent = false;
    Caller caller{nullptr, QDeadlineTimer(budgetMs), {}};
    Message devices;
    if (caller.connect())
        devices = caller.call("/org/freedesktop/NetworkManager", kService, "GetDevices");
    if (!devices || sd_bus_message_enter_container(devices.get(), 'a', "o") <= 0) {
        if (!std::exchange(saidAbsent, true))
            qCInfo(lcNetworkManager,
                   "NetworkManager is not on the system bus (%s): links are told apart by "
                   "their kind and your choices",
                   caller.failure.constData());
        return std::nullopt;
    }
    saidAbsent = false;
    QList<QByteArray> paths;
    for (const char *path = nullptr; sd_bus_message_read(devices.get(), "o", &path) > 0;)
        paths.append(path);
    QList<ManagedLink> links;
    for (const QByteArray &device : std::as_const(paths)) {
        const Properties d = caller.properties(device.constData(), "org.freedesktop.NetworkManager.Device");
        if (caller.deadline.hasExpired())
            return std::nullopt; // a hung NetworkManager: nothing half-read
        ManagedLink link;
        link.interface = QString::fromUtf8(d.text.value("IpInterface"));
        if (link.interface.isEmpty())
            link.interface = QString::fromUtf8(d.text.value("Interface"));
        if (link.interface.isEmpty())
            continue;
        link.metered = int(d.numbers.value("Metered"));
        if (const QByteArray active = objectPath(d.text.value("ActiveConnection")); !active.isEmpty()) {
            const Properties a =
                caller.properties(active.constData(), "org.freedesktop.NetworkManager.Connection.Active");
            link.connection = QString::fromUtf8(a.text.value("Id"));
            link.uuid = QString::fromUtf8(a.text.value("Uuid"));
            if (const QByteArray settings = objectPath(a.text.value("Connection")); !settings.isEmpty())
                link.serving = caller.sharesConnection(settings.constData());
        }
        if (caller.deadline.hasExpired())
            return std::nullopt;
        links.append(link);
    }
    return links;
}

} // namespace NetworkManagerLinks
