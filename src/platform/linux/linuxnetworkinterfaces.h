#pragma once

#include "core/networkinterfaces.h"

#include <functional>
#include <memory>

// Interface counters from /proc/net/dev (the kernel's 64-bit counters, one read per sample) and the
// kind of each link from sysfs. Every path can point at a stand-in: TALLYMO_PROC_NET_DEV,
// TALLYMO_SYSFS_NET and TALLYMO_BOOT_ID_FILE.
//
// A link is a modem's when the kernel says so (DEVTYPE=wwan, raw-IP links), or when it is a PPP link
// that the modem manager reports as the data link of a connected modem; other PPP links (VPNs,
// serial lines) are virtual. A link with no device of its own (bridge, veth, tun/tap, tunnels) is
// virtual; one whose USB driver is a phone's tethering (rndis, cdc_ether, cdc_ncm, ipheth) is
// USB tethering. What NetworkManager says of the links comes from setManagedLinks(). What sysfs says
// of a link is read once for as long as the link lives (the same name and sysfs folder).
class LinuxNetworkInterfaces : public NetworkInterfaces
{
public:
    LinuxNetworkInterfaces(QString procNetDev, QString sysfsNet,
                           QString bootIdFile = QStringLiteral("/proc/sys/kernel/random/boot_id"));
    // Paths from the environment, defaulting to the real ones.
    static LinuxNetworkInterfaces fromEnvironment();

    std::optional<QList<LinkCounters>> readCounters() override;
    QStringList wifiInterfaces() override;
    LinkKind linkKind(const QString &name) override;
    std::optional<QList<ManagedLink>> managedLinks() override;
    int interfaceIndex(const QString &name) override;
    QString networkNamespace() override;
    QString bootId() override;

    // The data links of connected modems, asked only when a PPP link is present (fromEnvironment asks
    // the modem manager; none otherwise).
    void setModemLinks(std::function<QStringList()> modemLinks) { m_modemLinks = std::move(modemLinks); }
    // The connection manager's view of the links (none by default).
    void setManagedLinks(std::function<std::optional<QList<ManagedLink>>()> managedLinks)
    {
        m_managedLinks = std::move(managedLinks);
    }

    // The running service shares the view it reads with the one-shot samples through the file at
    // `path` (see SharedLinkView), which they read instead of asking; off removes the file.
    void setSharedViewPath(const QString &path) { m_viewPath = path; }
    void shareManagedLinks(bool on);

    // Parses the text of /proc/net/dev; nothing when it is not in that format.
    static std::optional<QList<LinkCounters>> parseProcNetDev(const QByteArray &text);

private:
    QString m_procNetDev;
    QString m_sysfsNet;
    QString m_bootIdFile;
    struct Known; // read once, shared by copies
    std::shared_ptr<Known> m_known;
    LinkKind readLinkKind(const QString &base, const QString &name, bool *ppp, bool *typed);
    std::function<QStringList()> m_modemLinks;
    std::function<std::optional<QList<ManagedLink>>()> m_managedLinks;
    QString m_viewPath;
    bool m_sharing = false;
    QByteArray m_viewWritten;
};
