#pragma once

#include "core/connections.h"

#include <QByteArrayView>
#include <QMap>
#include <QString>

#include <optional>

namespace ConnectionTables {

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
