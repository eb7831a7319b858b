#pragma once

#include "network/connectiontable.h"

// Connection tables from the kernel's sock_diag netlink interface. TCP over IPv4 and IPv6, with the
// bytes of tcp_info (acknowledged sent plus received); the key is the boot id with the socket
// cookie, which the kernel keeps unique within a boot. UDP sockets carry no byte counts on Linux:
// UDP is reported missing (logged once).
class SockDiagConnections : public ConnectionSource
{
public:
    SockDiagConnections();
    std::optional<ConnectionTable> proto(int protocol) override;

private:
    bool dump(int family, ConnectionTable &table);
    QString m_bootId;
    bool m_udpLogged = false;
};
