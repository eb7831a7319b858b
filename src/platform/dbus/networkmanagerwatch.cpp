#include "networkmanagerwatch.h"

#include <QDBusError>
#include <QLoggingCategory>

Q_LOGGING_CATEGORY(lcNetworkManagerWatch, "tallymo.platform.networkmanager", QtWarningMsg)

namespace {

const QString kService = QStringLiteral("org.freedesktop.NetworkManager");
const QString kDevice = QStringLiteral("org.freedesktop.NetworkManager.Device");

} // namespace

NetworkManagerWatch::NetworkManagerWatch(const QDBusConnection &bus, std::function<void()> changed,
                                         int settleMs)
    : m_bus(bus), m_changed(std::move(changed))
{
    m_settle.setSingleShot(true);
    m_settle.setInterval(settleMs);
    connect(&m_settle, &QTimer::timeout, this, [this] { m_changed(); });
    if (!m_bus.isConnected())
        return;
    const QString manager = QStringLiteral("/org/freedesktop/NetworkManager");
    // An empty path: the signal from any of NetworkManager's objects (each device is one).
    m_listening =
        m_bus.connect(kService, manager, kService, QStringLiteral("DeviceAdded"), this,
                      SLOT(deviceChanged())) &&
        m_bus.connect(kService, manager, kService, QStringLiteral("DeviceRemoved"), this,
                      SLOT(deviceChanged())) &&
        m_bus.connect(kService, QString(), kDevice, QStringLiteral("StateChanged"), this,
                      SLOT(deviceChanged())) &&
        m_bus.connect(kService, QString(), QStringLiteral("org.freedesktop.DBus.Properties"),
                      QStringLiteral("PropertiesChanged"), this,
                      SLOT(propertiesChanged(QString, QVariantMap, QStringList))) &&
        m_bus.connect(QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
                      QStringLiteral("org.freedesktop.DBus"), QStringLiteral("NameOwnerChanged"), {kService},
                      QString(), this, SLOT(deviceChanged()));
    if (!m_listening)
        qCInfo(lcNetworkManagerWatch, "NetworkManager's signals cannot be listened to: %s",
               qPrintable(m_bus.lastError().message()));
}

void NetworkManagerWatch::deviceChanged()
{
    if (!m_settle.isActive())
        m_settle.start();
}

void NetworkManagerWatch::propertiesChanged(const QString &interface, const QVariantMap &changed,
                                            const QStringList &invalidated)
{
    static const QStringList deciding{QStringLiteral("Metered"), QStringLiteral("ActiveConnection"),
                                      QStringLiteral("State"), QStringLiteral("Id"), QStringLiteral("Mode")};
    bool matters = false;
    for (const QString &name : deciding)
        matters = matters || changed.contains(name) || invalidated.contains(name);
    if (matters && interface.startsWith(kService))
        deviceChanged();
}
