#include "connectiontable.h"

#include <QtEndian>

#include <arpa/inet.h>

#include <cstring>

namespace ConnectionTables {

namespace {

template <typename T> T readAt(const char *p)
{
    T v;
    std::memcpy(&v, p, sizeof v); // the lists are little-endian, as is every host we build for
    return v;
}

qsizetype roundUp8(quint32 length)
{
    return length == 0 ? 8 : (qsizetype(length) + 7) & ~qsizetype(7);
}

enum Kind : quint32 {
    Socket = 0x01,
    Receive = 0x02,
    Send = 0x04,
    Stats = 0x08,
    ControlBlock = 0x10,
    Tcp = 0x20
};

// Where each field lies, and how long an item must be to hold it.
constexpr qsizetype kSocketProtocol = 36, kSocketMinimum = 40;
constexpr qsizetype kStatsBlocks = 8, kStatsMinimum = 8 + 4 * 32;
constexpr qsizetype kPcbGeneration = 28, kPcbFlags = 44, kPcbRemote = 48, kPcbMinimum = 64;
constexpr qsizetype kMinimumItem = 25;

struct Item
{
    const char *data = nullptr;
    qsizetype length = 0;
};

// The bytes received and sent over the statistics item's four blocks.
quint64 totalBytes(const Item &stats)
{
    quint64 total = 0;
    for (int c = 0; c < 4; ++c) {
        const char *block = stats.data + kStatsBlocks + c * 32;
        total += readAt<quint64>(block + 8) + readAt<quint64>(block + 24); // bytes received, sent
    }
    return total;
}

// Adds the connection a run of socket, statistics and control-block items describes, keyed by its
// generation, when it is one to count: of the protocol, no newer than the list, with a public
// peer. False when the peer's address cannot be converted.
bool addConnection(ConnectionTable &table, int protocol, quint64 listGeneration, const Item &s,
                   const Item &st, const Item &p)
{
    // A run whose kinds add up without one of each item describes no connection.
    if (s.length < kSocketMinimum || st.length < kStatsMinimum || p.length < kPcbMinimum)
        return true;
    if (readAt<qint32>(s.data + kSocketProtocol) != protocol)
        return true;
    const quint64 generation = readAt<quint64>(p.data + kPcbGeneration);
    if (generation > listGeneration)
        return true; // newer than the list
    const quint8 flags = quint8(p.data[kPcbFlags]);
    const auto *remote = reinterpret_cast<const unsigned char *>(p.data + kPcbRemote);
    std::optional<QString> address;
    if (flags & 0x1) {
        if (!isCountedIPv4(qFromBigEndian<quint32>(remote + 12)))
            return true;
        address = printIP4(remote + 12);
    } else if (flags & 0x2) {
        if (!isCountedIPv6(remote))
            return true;
        address = printIP6(remote);
    } else {
        return true;
    }
    if (!address)
        return false;
    table.insert(QString::number(generation), ConnectionEntry{totalBytes(st), *address});
    return true;
}

} // namespace

std::optional<QString> printIP4(const unsigned char *address)
{
    char text[1025];
    if (!inet_ntop(AF_INET, address, text, sizeof text))
        return std::nullopt;
    return QString::fromLatin1(text);
}

std::optional<QString> printIP6(const unsigned char *address)
{
    char text[1025];
    if (!inet_ntop(AF_INET6, address, text, sizeof text))
        return std::nullopt;
    return QString::fromLatin1(text);
}

bool isCountedIPv4(quint32 a)
{
    const auto in = [a](quint32 net, int bits) { return (a >> (32 - bits)) == (net >> (32 - bits)); };
    return a != 0 && !in(0xA9FE0000, 16) && !in(0xE0000000, 24) && !in(0x0A000000, 8) && !in(0x7F000000, 8) &&
           !in(0xAC100000, 12) && !in(0xC0A80000, 16);
}

bool isCountedIPv6(const unsigned char *a)
{
    if (a[0] == 0xFE && (a[1] & 0xC0) == 0x80)
        return false; // link-local
    if (a[0] == 0xFC || a[0] == 0xFD)
        return false; // unique local
    static const unsigned char zero[15] = {};
    if (std::memcmp(a, zero, 15) == 0 && (a[15] == 0 || a[15] == 1))
        return false; // unspecified, loopback
    return true;
}

bool isMappedIPv4(const unsigned char *a)
{
    static const unsigned char prefix[12] = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF};
    return std::memcmp(a, prefix, 12) == 0;
}

std::optional<ConnectionTable> parsePcbList(QByteArrayView buffer, int protocol)
{
    if (protocol != kTcp && protocol != kUdp)
        return std::nullopt;
    const char *base = buffer.data();
    const qsizetype size = buffer.size();
    if (size < kMinimumItem)
        return std::nullopt; // nothing but a header
    const quint32 headerLength = readAt<quint32>(base);
    const quint64 listGeneration = readAt<quint64>(base + 8);
    const quint32 complete = protocol == kTcp ? 0x3F : 0x1F;

    ConnectionTable table;
    quint32 mask = 0;
    Item socket, stats, pcb;
    for (qsizetype at = roundUp8(headerLength); at + 8 <= size;) {
        const quint32 length = readAt<quint32>(base + at);
        const quint32 kind = readAt<quint32>(base + at + 4);
        if (length < kMinimumItem || qsizetype(length) > size - at)
            break; // the closing header, or an item cut off by the end of the buffer
        if ((kind & mask) == 0) {
            mask |= kind;
            const Item item{base + at, qsizetype(length)};
            if (kind == Socket)
                socket = item;
            else if (kind == Stats)
                stats = item;
            else if (kind == ControlBlock)
                pcb = item;
        }
        at += roundUp8(length);
        if (mask != complete)
            continue;
        mask = 0;
        const Item s = std::exchange(socket, Item()), st = std::exchange(stats, Item()),
                   p = std::exchange(pcb, Item());
        if (!addConnection(table, protocol, listGeneration, s, st, p))
            return std::nullopt;
    }
    return table;
}

} // namespace ConnectionTables
