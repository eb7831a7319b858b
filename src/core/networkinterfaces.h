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

// The system's network interfaces: their counters and what kind of link each one is.
class NetworkInterfaces
{
public:
    virtual ~NetworkInterfaces() = default;

    // Every interface with its counters; nothing when the interface list cannot be obtained.
    virtual std::optional<QList<LinkCounters>> readCounters() = 0;
    // The Wi-Fi interfaces the system supports, the preferred one first.
    virtual QStringList wifiInterfaces() = 0;
    // Whether the system describes the interface as a cellular modem link.
    virtual bool isCellularLink(const QString &name) = 0;
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

// The cellular interfaces among `present`: those of `configured` in its order when it is not empty,
// otherwise those that `isCellular` accepts, in natural order.
QStringList cellularInterfaces(const QStringList &present, const QStringList &configured,
                               const std::function<bool(const QString &)> &isCellular);

// Which of `cellular` has the primary cellular role: the first of a configured list; otherwise the
// one that had it before while it is present, so that the role does not move each time another
// link comes or goes; otherwise the first. Phone-style names keep their roles (pdp_ip0 primary,
// pdp_ip1... tethering).
QString primaryCellular(const QStringList &cellular, bool configured, const QString &previous);

} // namespace InterfaceNames
