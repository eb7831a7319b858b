#include "sharedlinkview.h"

#include "core/privatefiles.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLoggingCategory>

#include <unistd.h>

Q_DECLARE_LOGGING_CATEGORY(lcPlatform)

namespace {

// When the process began, in clock ticks since boot: with the id, it tells a process from a later
// one that was given the same id.
QByteArray processStart(qint64 pid)
{
    QFile stat(QStringLiteral("/proc/%1/stat").arg(pid));
    if (!stat.open(QIODevice::ReadOnly))
        return {};
    const QByteArray text = stat.readAll();
    // The fields after the command name, which may hold spaces and parentheses itself.
    const QList<QByteArray> fields = text.mid(text.lastIndexOf(')') + 2).split(' ');
    return fields.size() > 19 ? fields.at(19) : QByteArray(); // field 22 of the whole line
}

// The system bus this process asks NetworkManager on: a view read on another bus is not this one's.
QString systemBus()
{
    return qEnvironmentVariable("DBUS_SYSTEM_BUS_ADDRESS",
                                QStringLiteral("unix:path=/run/dbus/system_bus_socket"));
}

} // namespace

namespace SharedLinkView {

std::optional<std::optional<QList<ManagedLink>>> read(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    const QJsonObject view = QJsonDocument::fromJson(file.readAll()).object();
    const qint64 pid = view.value(QLatin1StringView("pid")).toInteger();
    const QByteArray start = view.value(QLatin1StringView("start")).toString().toLatin1();
    if (pid <= 0 || start.isEmpty() || processStart(pid) != start ||
        view.value(QLatin1StringView("bus")).toString() != systemBus())
        return std::nullopt;
    const QJsonValue links = view.value(QLatin1StringView("links"));
    if (!links.isArray())
        return std::optional<QList<ManagedLink>>();
    QList<ManagedLink> read;
    for (const QJsonValue &v : links.toArray()) {
        const QJsonObject o = v.toObject();
        read.append({o.value(QLatin1StringView("interface")).toString(),
                     o.value(QLatin1StringView("connection")).toString(),
                     o.value(QLatin1StringView("uuid")).toString(),
                     o.value(QLatin1StringView("metered")).toInt(),
                     o.value(QLatin1StringView("serving")).toBool()});
    }
    return std::optional<QList<ManagedLink>>(read);
}

void write(const QString &path, const std::optional<QList<ManagedLink>> &links, QByteArray *written)
{
    const qint64 pid = ::getpid();
    QJsonObject view{{QStringLiteral("pid"), pid},
                     {QStringLiteral("start"), QString::fromLatin1(processStart(pid))},
                     {QStringLiteral("bus"), systemBus()}};
    if (links) {
        QJsonArray list;
        for (const ManagedLink &link : *links)
            list.append(QJsonObject{{QStringLiteral("interface"), link.interface},
                                    {QStringLiteral("connection"), link.connection},
                                    {QStringLiteral("uuid"), link.uuid},
                                    {QStringLiteral("metered"), link.metered},
                                    {QStringLiteral("serving"), link.serving}});
        view.insert(QStringLiteral("links"), list);
    } else {
        view.insert(QStringLiteral("links"), QJsonValue::Null);
    }
    const QByteArray data = QJsonDocument(view).toJson(QJsonDocument::Compact);
    if (data == *written)
        return;
    QString error;
    if (PrivateFiles::makePrivateFolder(QFileInfo(path).absolutePath(), &error) &&
        PrivateFiles::writeFile(path, data, &error))
        *written = data;
    else
        qCInfo(lcPlatform, "NetworkManager's view is not shared with other samples: %s", qPrintable(error));
}

} // namespace SharedLinkView
