#pragma once

#include <QList>
#include <QString>
#include <QStringList>

#include <functional>
#include <optional>

// The byte counters of one network interface, as the kernel reports them.
struct LinkCounters
{
    QString name;
    quint64 received = 0;
    quint64 sent = 0;
};

// What kind of link an interface is, as the kernel describes it.
enum class LinkKind {
    Unknown,
    Loopback,
    Virtual, // bridges, veth, tun/tap, WireGuard and other tunnels: no device of their own
    WiFi,
    Ethernet,
    UsbTethering, // a phone's (or a USB network adapter's) link: rndis, cdc_ether, cdc_ncm, ipheth
    Bluetooth,    // Bluetooth PAN
    Modem,        // a WWAN or modem data link
};

// A link as the connection manager (NetworkManager) sees it.
struct ManagedLink
{
    QString interface;    // where its bytes are counted (a modem's IP interface, not its port)
    QString connection;   // the active connection's name; empty when none is active
    QString uuid;         // the active connection's identifier
    int metered = 0;      // 0 unknown, 1 yes, 2 no, 3 guessed yes, 4 guessed no
    bool serving = false; // a hotspot this machine serves to others
};

// The system's network interfaces: their counters and what kind of link each one is.
class NetworkInterfaces
{
public:
    virtual ~NetworkInterfaces() = default;

    // Every interface with its counters; nothing when the interface list cannot be obtained.
    virtual std::optional<QList<LinkCounters>> readCounters() = 0;
    // The Wi-Fi interfaces the system supports, the preferred one first.
    virtual QStringList wifiInterfaces() = 0;
    // What kind of link the interface is (Unknown when it is not there).
    virtual LinkKind linkKind(const QString &name) = 0;
    // The links the connection manager manages, with their connections; nothing when there is no
    // connection manager or it does not answer in time.
    virtual std::optional<QList<ManagedLink>> managedLinks() { return std::nullopt; }
    // Which incarnation of the interface this is: the kernel's index of it (0 when unknown). An
    // interface made again (a modem link that dropped and came back) gets a new index and counters
    // that start again from 0.
    virtual int interfaceIndex(const QString &name) = 0;
    // Which network namespace the interfaces are read in (empty when unknown): interface indexes
    // are numbered per namespace.
    virtual QString networkNamespace() { return {}; }
    // The identifier of this boot of the system (empty when unknown): counters start again at 0
    // at every boot.
    virtual QString bootId() = 0;
};

namespace InterfaceNames {

// Digit runs compare by value: ww2 < ww10.
bool naturalLess(const QString &a, const QString &b);

// Names that denote a cellular link by themselves (ww*, rmnet*, and pdp_ip* as phones name them).
bool hasCellularName(const QString &name);

} // namespace InterfaceNames
