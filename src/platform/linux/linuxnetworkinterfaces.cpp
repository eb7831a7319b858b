#include "linuxnetworkinterfaces.h"

#include "desktopmodule.h"
#include "kernelfiles.h"
#include "sharedlinkview.h"

#include "core/privatefiles.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QLoggingCategory>
#include <QMutex>

#include <algorithm>
#include <cstring>

#include <sys/stat.h>

Q_LOGGING_CATEGORY(lcPlatform, "tallymo.platform", QtWarningMsg)

namespace {

constexpr int kArphrdEther = 1;
constexpr int kArphrdPpp = 512;
constexpr int kArphrdRawIp = 519;
constexpr int kArphrdLoopback = 772;

// NetworkManager's view, from its module, loaded the first time and only where NetworkManager runs
// (its runtime folder) or a system bus is named: a router without it pays nothing.
std::optional<QList<ManagedLink>> askNetworkManager()
{
    using Read = bool (*)(QList<ManagedLink> *);
    static const Read read = []() -> Read {
        if (!QFileInfo::exists(QStringLiteral("/run/NetworkManager")) &&
            qEnvironmentVariableIsEmpty("DBUS_SYSTEM_BUS_ADDRESS"))
            return nullptr;
        QString errors;
        const auto f = reinterpret_cast<Read>(DesktopModule::resolve(QStringLiteral("tallymo_networkmanager"),
                                                                     "tallymo_managed_links", &errors));
        if (!f)
            qCWarning(lcPlatform, "NetworkManager cannot be asked:%s", qPrintable(errors));
        return f;
    }();
    QList<ManagedLink> links;
    if (!read || !read(&links))
        return std::nullopt;
    return links;
}

// The data links of connected modems, from the modem manager through the session-bus module
// (which has the bus library): loaded the first time a PPP link is seen, so most machines never do.
QStringList askModemManager()
{
    using Read = void (*)(QStringList *);
    static const Read read = [] {
        QString errors;
        const auto f = reinterpret_cast<Read>(DesktopModule::resolve(QStringLiteral("tallymo_sessionbus"),
                                                                     "tallymo_modem_data_links", &errors));
        if (!f)
            qCWarning(lcPlatform, "the modem manager cannot be asked:%s", qPrintable(errors));
        return f;
    }();
    QStringList links;
    if (read)
        read(&links);
    return links;
}

} // namespace

struct LinuxNetworkInterfaces::Known
{
    QMutex mutex;
    QString bootId;
    struct Link
    {
        dev_t device; // the link's folder in sysfs
        ino_t inode;
        LinkKind kind;
        bool ppp;
    };
    QHash<QString, Link> links; // by name
};

LinuxNetworkInterfaces::LinuxNetworkInterfaces(QString procNetDev, QString sysfsNet, QString bootIdFile)
    : m_procNetDev(std::move(procNetDev)), m_sysfsNet(std::move(sysfsNet)),
      m_bootIdFile(std::move(bootIdFile)), m_known(std::make_shared<Known>())
{}

LinuxNetworkInterfaces LinuxNetworkInterfaces::fromEnvironment()
{
    const QString proc = qEnvironmentVariable("TALLYMO_PROC_NET_DEV", QStringLiteral("/proc/net/dev"));
    const QString sysfs = qEnvironmentVariable("TALLYMO_SYSFS_NET", QStringLiteral("/sys/class/net"));
    const QString boot =
        qEnvironmentVariable("TALLYMO_BOOT_ID_FILE", QStringLiteral("/proc/sys/kernel/random/boot_id"));
    LinuxNetworkInterfaces interfaces(proc, sysfs, boot);
    interfaces.setManagedLinks(askNetworkManager);
    interfaces.setModemLinks(askModemManager);
    interfaces.setSharedViewPath(PrivateFiles::runtimeFolder() + QStringLiteral("/networkmanager-view.json"));
    return interfaces;
}

std::optional<QList<LinkCounters>> LinuxNetworkInterfaces::parseProcNetDev(const QByteArray &text)
{
    const QList<QByteArray> lines = text.split('\n');
    if (lines.size() < 2 || !lines.at(0).contains('|') || !lines.at(1).contains('|'))
        return std::nullopt;
    QList<LinkCounters> result;
    for (qsizetype i = 2; i < lines.size(); ++i) {
        const QByteArray &line = lines.at(i);
        const qsizetype colon = line.indexOf(':');
        if (colon < 0) {
            if (!line.trimmed().isEmpty())
                return std::nullopt;
            continue;
        }
        const QList<QByteArray> fields = line.mid(colon + 1).simplified().split(' ');
        if (fields.size() < 16)
            return std::nullopt;
        bool okIn = false, okOut = false;
        const qulonglong in = fields.at(0).toULongLong(&okIn);
        const qulonglong out = fields.at(8).toULongLong(&okOut);
        if (!okIn || !okOut)
            return std::nullopt;
        result.append(LinkCounters{QString::fromLatin1(line.left(colon).trimmed()), in, out});
    }
    return result;
}

std::optional<QList<LinkCounters>> LinuxNetworkInterfaces::readCounters()
{
    int error = 0;
    const QByteArray text = KernelFiles::read(m_procNetDev, &error);
    if (error) {
        // The caller says so where it matters (a sample, the networks list).
        qCInfo(lcPlatform, "cannot read %s: %s", qPrintable(m_procNetDev), std::strerror(error));
        return std::nullopt;
    }
    std::optional<QList<LinkCounters>> counters = parseProcNetDev(text);
    if (!counters)
        qCInfo(lcPlatform, "%s is not an interface statistics table", qPrintable(m_procNetDev));
    return counters;
}

QStringList LinuxNetworkInterfaces::wifiInterfaces()
{
    QStringList names;
    const QDir dir(m_sysfsNet);
    for (const QString &name : dir.entryList(QDir::Dirs | QDir::NoDotAndDotDot | QDir::System)) {
        const QString base = dir.filePath(name);
        if (QFileInfo::exists(base + QStringLiteral("/wireless")) ||
            QFileInfo::exists(base + QStringLiteral("/phy80211")))
            names.append(name);
    }
    std::sort(names.begin(), names.end());
    return names;
}

LinkKind LinuxNetworkInterfaces::linkKind(const QString &name)
{
    if (name == QLatin1StringView("lo"))
        return LinkKind::Loopback;
    if (name.isEmpty() || name.contains(QLatin1Char('/')))
        return LinkKind::Unknown;
    // A link keeps its kind for its life, and its folder in sysfs is its own while it lives (a new
    // link under the same name gets a new one): the service classifies each link once instead of
    // at every check, and a one-shot sample pays nothing for it.
    const QString base = m_sysfsNet + QLatin1Char('/') + name;
    struct stat folder;
    if (::stat(QFile::encodeName(base).constData(), &folder) != 0 || !S_ISDIR(folder.st_mode))
        return LinkKind::Unknown;
    std::optional<Known::Link> link;
    {
        const QMutexLocker locker(&m_known->mutex);
        const auto known = m_known->links.constFind(name);
        if (known != m_known->links.cend() && known->device == folder.st_dev && known->inode == folder.st_ino)
            link = *known;
    }
    if (!link) {
        link = Known::Link{folder.st_dev, folder.st_ino, LinkKind::Unknown, false};
        bool typed = false;
        link->kind = readLinkKind(base, name, &link->ppp, &typed);
        // A link being added shows its folder a moment before its attributes: kept only once
        // its type could be read.
        if (typed) {
            const QMutexLocker locker(&m_known->mutex);
            m_known->links.insert(name, *link);
        }
    }
    if (link->ppp) // also a VPN's or a serial line's: cellular when it is a connected modem's
        return m_modemLinks && m_modemLinks().contains(name) ? LinkKind::Modem : LinkKind::Virtual;
    return link->kind;
}

LinkKind LinuxNetworkInterfaces::readLinkKind(const QString &base, const QString &name, bool *ppp,
                                              bool *typed)
{
    QByteArray devtype;
    for (const QByteArray &line : KernelFiles::read(base + QStringLiteral("/uevent")).split('\n'))
        if (line.startsWith("DEVTYPE="))
            devtype = line.mid(8).trimmed();
    const int type = KernelFiles::read(base + QStringLiteral("/type")).trimmed().toInt(typed);
    if (type == kArphrdLoopback)
        return LinkKind::Loopback;
    if (devtype == "wwan" || type == kArphrdRawIp)
        return LinkKind::Modem;
    if (type == kArphrdPpp) {
        *ppp = true;
        return LinkKind::Virtual;
    }
    if (devtype == "wlan" || QFileInfo::exists(base + QStringLiteral("/wireless")) ||
        QFileInfo::exists(base + QStringLiteral("/phy80211")))
        return LinkKind::WiFi;
    if (devtype == "bluetooth" || name.startsWith(QLatin1StringView("bnep")))
        return LinkKind::Bluetooth;
    // A link of hardware has its device; bridges, veth, tun/tap and tunnels have none.
    if (!QFileInfo::exists(base + QStringLiteral("/device")))
        return LinkKind::Virtual;
    static const QStringList tethering{QStringLiteral("rndis_host"), QStringLiteral("cdc_ether"),
                                       QStringLiteral("cdc_ncm"), QStringLiteral("ipheth"),
                                       QStringLiteral("cdc_eem")};
    if (tethering.contains(
            QFileInfo(QFile::symLinkTarget(base + QStringLiteral("/device/driver"))).fileName()))
        return LinkKind::UsbTethering;
    return type == kArphrdEther ? LinkKind::Ethernet : LinkKind::Unknown;
}

std::optional<QList<ManagedLink>> LinuxNetworkInterfaces::managedLinks()
{
    if (!m_managedLinks)
        return std::nullopt;
    if (!m_sharing && !m_viewPath.isEmpty())
        if (auto view = SharedLinkView::read(m_viewPath))
            return *view;
    std::optional<QList<ManagedLink>> links = m_managedLinks();
    if (m_sharing)
        SharedLinkView::write(m_viewPath, links, &m_viewWritten);
    return links;
}

void LinuxNetworkInterfaces::shareManagedLinks(bool on)
{
    if (m_viewPath.isEmpty() || on == m_sharing)
        return;
    m_sharing = on;
    m_viewWritten.clear();
    if (!on)
        QFile::remove(m_viewPath);
}

int LinuxNetworkInterfaces::interfaceIndex(const QString &name)
{
    return KernelFiles::read(m_sysfsNet + QLatin1Char('/') + name + QStringLiteral("/ifindex"))
        .trimmed()
        .toInt();
}

QString LinuxNetworkInterfaces::networkNamespace()
{
    // "net:[4026531840]": the namespace's inode number
    const QString link = QFile::symLinkTarget(QStringLiteral("/proc/self/ns/net"));
    const qsizetype open = link.indexOf(QLatin1Char('['));
    return open < 0 ? QString() : link.mid(open + 1).chopped(1);
}

QString LinuxNetworkInterfaces::bootId()
{
    // Fixed for as long as this process runs; read again only while it could not be read.
    const QMutexLocker locker(&m_known->mutex);
    if (m_known->bootId.isEmpty())
        m_known->bootId = QString::fromLatin1(KernelFiles::read(m_bootIdFile).trimmed());
    return m_known->bootId;
}
