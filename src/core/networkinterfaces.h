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
    double received = 0;
    double sent = 0;
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
};

namespace InterfaceNames {

// The name given to the primary cellular interface; the others are pdp_ip1, pdp_ip2, ...
inline constexpr QLatin1StringView kPrimaryCellular{"pdp_ip0"};
inline constexpr QLatin1StringView kCellularPrefix{"pdp_ip"};

// Digit runs compare by value: ww2 < ww10.
bool naturalLess(const QString &a, const QString &b);

// Names that denote a cellular link by themselves (pdp_ip*, ww*, rmnet*, ppp*).
bool hasCellularName(const QString &name);

// The cellular interfaces among `present`, primary first: those of `configured` in its order when
// it is not empty, otherwise those that `isCellular` accepts, in natural order.
QStringList cellularInterfaces(const QStringList &present, const QStringList &configured,
                               const std::function<bool(const QString &)> &isCellular);

// Renames the cellular interfaces (primary first) to pdp_ip0, pdp_ip1, ...; a name that already
// reads pdp_ipN keeps it and its number is not given to another interface.
QList<LinkCounters> withCellularNames(QList<LinkCounters> counters, const QStringList &cellular);

} // namespace InterfaceNames
