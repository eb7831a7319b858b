#include "sessionservices.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

LauncherEntryBadge::LauncherEntryBadge(QDBusConnection bus) : m_bus(std::move(bus)) {}

void LauncherEntryBadge::setBadgeNumber(qint64 number)
{
    if (!m_bus.isConnected())
        return;
    QDBusMessage signal = QDBusMessage::createSignal(QStringLiteral("/org/tallymo/Tallymo"),
                                                     QStringLiteral("com.canonical.Unity.LauncherEntry"),
                                                     QStringLiteral("Update"));
    signal << QStringLiteral("application://org.tallymo.Tallymo.desktop")
           << QVariantMap{{QStringLiteral("count"), qint64(number)},
                          {QStringLiteral("count-visible"), number != 0}};
    m_bus.send(signal);
}

LinuxBackgroundRefresh::LinuxBackgroundRefresh(QDBusConnection bus, QString systemdUserDir)
    : m_bus(std::move(bus)), m_systemdUserDir(std::move(systemdUserDir))
{}

QString LinuxBackgroundRefresh::defaultSystemdUserDir()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
           QStringLiteral("/systemd/user");
}

bool LinuxBackgroundRefresh::isAvailable()
{
    // An enabled unit is a link in one of the *.wants directories.
    const QDir dir(m_systemdUserDir);
    for (const QString &wants : dir.entryList({QStringLiteral("*.wants")}, QDir::Dirs)) {
        for (const char *unit : {"tallymo.service", "tallymo-refresh.timer"})
            if (QFileInfo::exists(dir.filePath(wants) + QLatin1Char('/') + QLatin1StringView(unit)))
                return true;
    }
    return m_bus.isConnected() && m_bus.interface() && m_bus.interface()->isServiceRegistered(kServiceName);
}

namespace SessionBus {

void flush(QDBusConnection bus)
{
    if (!bus.isConnected())
        return;
    // A call is answered only after the messages queued before it went out.
    bus.call(QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.DBus"),
                                            QStringLiteral("/org/freedesktop/DBus"),
                                            QStringLiteral("org.freedesktop.DBus"), QStringLiteral("GetId")),
             QDBus::Block, 2000);
}

} // namespace SessionBus
