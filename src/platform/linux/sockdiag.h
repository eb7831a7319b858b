#pragma once

#include "connections/connectiontable.h"
#include "conntrack.h"

#include <QMutex>

#include <cstddef>

class QObject;

// Connection tables from the kernel's sock_diag netlink interface. TCP over IPv4 and IPv6, with the
// bytes of tcp_info (acknowledged sent plus received); the key is the socket cookie in hex, which
// the kernel keeps unique within a boot. UDP sockets carry no byte counts on Linux:
// UDP comes from connection tracking where it is permitted and accounted, else it is missing.
class SockDiagConnections : public ConnectionSource
{
public:
    SockDiagConnections();
    ~SockDiagConnections() override;
    std::optional<ConnectionTable> proto(int protocol) override;
    QByteArray quietMark(int protocol) override;
    // Listens to the kernel's TCP destroy notifications (needs CAP_NET_ADMIN; logged once when refused).
    void watchClosedConnections() override;

private:
    // Adds the open TCP connections to the table; false (logged) when they cannot be read.
    bool dump(ConnectionTable &table);
    // Sends one dump request and adds its answer to the table; 0 or the error.
    int request(const void *message, size_t length, ConnectionTable &table);
    // Adds the connections of one netlink answer to the table; false at its end, with the
    // kernel's error if it refused.
    bool parse(const char *data, int length, ConnectionTable &table, int *error);
    void readClosed();
    std::optional<ConntrackFlows> m_udp;
    bool m_bothFamiliesAtOnce = true; // until the kernel refuses the older request
    int m_destroyFd = -1;
    QObject *m_notifier = nullptr;
    QMutex m_closedMutex;
    ConnectionTable m_closed; // closed since the last read, with their final totals
};
