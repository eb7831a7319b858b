#pragma once

#include <QByteArrayView>
#include <QMap>
#include <QString>

#include <optional>

// One open connection to a public peer: the bytes it moved so far (received plus sent) and the
// peer's address as text.
struct ConnectionEntry
{
    quint64 total = 0;
    QString address;
    bool operator==(const ConnectionEntry &) const = default;
};

// Connection key → entry. The key is unique for the life of a connection.
using ConnectionTable = QMap<QString, ConnectionEntry>;

// Where connection tables come from: one read per protocol (6 TCP, 17 UDP); nothing when the
// protocol cannot be read.
class ConnectionSource
{
public:
    virtual ~ConnectionSource() = default;
    virtual std::optional<ConnectionTable> proto(int protocol) = 0;
    // From now on, connections that close between two reads are kept with their final totals and
    // reported by the next read (needs the main thread's event loop).
    virtual void watchClosedConnections() {}
};

namespace ConnectionTables {

inline constexpr int kTcp = 6;
inline constexpr int kUdp = 17;

// Address text through inet_ntop; nothing when it cannot be converted.
std::optional<QString> printIP4(const unsigned char *address);
std::optional<QString> printIP6(const unsigned char *address);

// Only public peers count: no unspecified, link-local, loopback, private or 224.0.0.0/24 IPv4
// peers; no link-local (fe80::/10), unique-local (fc00::/7), unspecified or loopback IPv6 peers.
// IPv4-mapped IPv6 addresses are IPv6 addresses here.
bool isCountedIPv4(quint32 hostOrder);
bool isCountedIPv6(const unsigned char *address);
// ::ffff:a.b.c.d, an IPv4 peer of a dual-stack socket.
bool isMappedIPv4(const unsigned char *address);

// The per-protocol socket list in the record layout of the systems that publish one (a list
// header, then per connection a run of socket, buffer, statistics and control-block items, each
// 8-byte aligned, then a closing header). Every read is checked against the buffer; a buffer that
// is too short or an address that cannot be converted fails the whole table.
std::optional<ConnectionTable> parsePcbList(QByteArrayView buffer, int protocol);

} // namespace ConnectionTables
