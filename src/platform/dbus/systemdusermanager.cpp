#include "systemdusermanager.h"

#include <QCoreApplication>
#include <QDBusMessage>
#include <QDBusReply>
#include <QLoggingCategory>

Q_LOGGING_CATEGORY(lcSystemd, "tallymo.platform.systemd", QtWarningMsg)

namespace {
constexpr QLatin1StringView kManagerName{"org.freedesktop.systemd1"};
constexpr QLatin1StringView kManagerPath{"/org/freedesktop/systemd1"};
constexpr QLatin1StringView kManagerInterface{"org.freedesktop.systemd1.Manager"};
constexpr int kTimeoutMs = 5000;

QString tr(const char *text)
{
    return QCoreApplication::translate("SystemdUserManager", text);
}

bool isEnabled(const QString &state)
{
    // enabled, enabled-runtime
    return state.startsWith(QLatin1StringView("enabled"));
}

bool noManager(const QDBusError &error)
{
    // Activation of a manager that cannot run here fails with one of the Spawn errors.
    return error.name().startsWith(QLatin1StringView("org.freedesktop.DBus.Error.Spawn.")) ||
           error.type() == QDBusError::ServiceUnknown ||
           error.name() == QLatin1StringView("org.freedesktop.DBus.Error.NameHasNoOwner") ||
           error.type() == QDBusError::Disconnected;
}
} // namespace

SystemdUserManager::SystemdUserManager(QDBusConnection bus) : m_bus(std::move(bus)) {}

UserServiceManager::State SystemdUserManager::backgroundRefresh()
{
    if (!m_bus.isConnected())
        return {false, tr("There is no session bus to ask the service manager.")};
    bool anyInstalled = false;
    for (const QLatin1StringView unit : {kService, kTimer}) {
        QDBusMessage call = QDBusMessage::createMethodCall(kManagerName, kManagerPath, kManagerInterface,
                                                           QStringLiteral("GetUnitFileState"));
        call << QString(unit);
        const QDBusReply<QString> reply = m_bus.call(call, QDBus::Block, kTimeoutMs);
        if (reply.isValid()) {
            anyInstalled = true;
            if (isEnabled(reply.value()))
                return {true, QString()};
            continue;
        }
        qCInfo(lcSystemd) << "unit file state of" << unit << ":" << reply.error().name()
                          << reply.error().message();
        if (noManager(reply.error()))
            return {false, tr("No service manager runs for this user (systemd --user), so Tallymo cannot "
                              "refresh in the background.")};
    }
    if (!anyInstalled)
        return {false, tr("The background service tallymo.service is not installed.")};
    return {false, QString()};
}

bool SystemdUserManager::enableBackgroundRefresh(QString *error)
{
    // As `systemctl --user enable --now` does it: enable, reload, start; stop at the first refusal.
    const std::pair<const char *, QVariantList> steps[] = {
        {"EnableUnitFiles", {QStringList{QString(kService)}, false, true}},
        {"Reload", {}},
        {"StartUnit", {QString(kService), QStringLiteral("replace")}},
    };
    for (const auto &[method, arguments] : steps) {
        QDBusMessage m = QDBusMessage::createMethodCall(kManagerName, kManagerPath, kManagerInterface,
                                                        QString::fromLatin1(method));
        m.setArguments(arguments);
        const QDBusMessage reply = m_bus.call(m, QDBus::Block, kTimeoutMs);
        if (reply.type() != QDBusMessage::ErrorMessage)
            continue;
        qCWarning(lcSystemd) << method << kService << ":" << reply.errorName() << reply.errorMessage();
        if (error)
            *error = tr("The service manager did not turn on %1: %2").arg(kService, reply.errorMessage());
        return false;
    }
    return true;
}
