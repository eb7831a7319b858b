#pragma once

#include "core/networkinterfaces.h"

// Interface counters from /proc/net/dev (the kernel's 64-bit counters, one read per sample) and the
// kind of each link from sysfs. Both paths can point at stand-ins: TALLYMO_PROC_NET_DEV and
// TALLYMO_SYSFS_NET.
class LinuxNetworkInterfaces : public NetworkInterfaces
{
public:
    LinuxNetworkInterfaces(QString procNetDev, QString sysfsNet);
    // Paths from the environment, defaulting to the real ones.
    static LinuxNetworkInterfaces fromEnvironment();

    std::optional<QList<LinkCounters>> readCounters() override;
    QStringList wifiInterfaces() override;
    bool isCellularLink(const QString &name) override;

    // Parses the text of /proc/net/dev; nothing when it is not in that format.
    static std::optional<QList<LinkCounters>> parseProcNetDev(const QByteArray &text);

private:
    QString m_procNetDev;
    QString m_sysfsNet;
};
