#pragma once

#include <QByteArray>
#include <QLatin1StringView>
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
    // A mark of where the protocol's connections stand: while two marks read in one boot and one
    // network namespace are equal, none of them moved a byte, opened or closed, so the table read
    // at the first stands for the second. Empty where the source cannot tell.
    virtual QByteArray quietMark(int /*protocol*/) { return {}; }
    // From now on, connections that close between two reads are kept with their final totals and
    // reported by the next read (needs the main thread's event loop).
    virtual void watchClosedConnections() {}
};

namespace ConnectionTables {

inline constexpr int kTcp = 6;
inline constexpr int kUdp = 17;
// Every UDP flow's key begins with this; no TCP key (a socket cookie in hex) does.
inline constexpr QLatin1StringView kUdpKeyPrefix("ct-");

} // namespace ConnectionTables
