#pragma once

#include "core/networkinterfaces.h"

#include <functional>

// Interface counters from /proc/net/dev (the kernel's 64-bit counters, one read per sample) and the
// kind of each link from sysfs. Every path can point at a stand-in: TALLYMO_PROC_NET_DEV,
// TALLYMO_SYSFS_NET and TALLYMO_BOOT_ID_FILE.
//
// A link is cellular when the kernel says it is a modem's (DEVTYPE=wwan, raw-IP links), or when it
// is a PPP link that the modem manager reports as the data link of a connected modem. Other PPP
// links (VPNs, serial lines) are not, unless listed in PREF_CELL_INTERFACES.
class LinuxNetworkInterfaces : public NetworkInterfaces
{
public:
    LinuxNetworkInterfaces(QString procNetDev, QString sysfsNet,
                           QString bootIdFile = QStringLiteral("/proc/sys/kernel/random/boot_id"));
    // Paths from the environment, defaulting to the real ones.
    static LinuxNetworkInterfaces fromEnvironment();

    std::optional<QList<LinkCounters>> readCounters() override;
    QStringList wifiInterfaces() override;
    bool isCellularLink(const QString &name) override;
    int interfaceIndex(const QString &name) override;
    QString networkNamespace() override;
    QString bootId() override;

    // The data links of connected modems, asked only when a PPP link is present (none by default).
    void setModemLinks(std::function<QStringList()> modemLinks) { m_modemLinks = std::move(modemLinks); }

    // Parses the text of /proc/net/dev; nothing when it is not in that format.
    static std::optional<QList<LinkCounters>> parseProcNetDev(const QByteArray &text);

private:
    QString m_procNetDev;
    QString m_sysfsNet;
    QString m_bootIdFile;
    std::function<QStringList()> m_modemLinks;
};
