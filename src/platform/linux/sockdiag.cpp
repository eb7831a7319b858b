#include "sockdiag.h"

#include "kernelfiles.h"

#include <QLoggingCategory>
#include <QSocketNotifier>
#include <QtEndian>

#include <linux/inet_diag.h>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <linux/sock_diag.h>
#include <linux/tcp.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <fcntl.h>

Q_LOGGING_CATEGORY(lcSockDiag, "tallymo.platform.connections", QtWarningMsg)

namespace {

struct Fd
{
    int fd;
    ~Fd()
    {
        if (fd >= 0)
            ::close(fd);
    }
};

// TCP states as the kernel numbers them in sock_diag (its own header is not exported).
constexpr int kTimeWait = 6;
constexpr int kListen = 10;
constexpr int kNewSynRecv = 12;

constexpr size_t kBytesReceivedEnd = offsetof(tcp_info, tcpi_bytes_received) + sizeof(__u64);

// The values line of the namespace's TCP counters (segments in and out, retransmissions, resets,
// opens, connections established); empty when it cannot be read.
QByteArray tcpCounters()
{
    // The first "Tcp:" line names the counters, the second holds them.
    bool named = false;
    for (const QByteArray &line : KernelFiles::read(QStringLiteral("/proc/net/snmp")).split('\n')) {
        if (!line.startsWith("Tcp: "))
            continue;
        if (named)
            return line;
        named = true;
    }
    return {};
}

} // namespace

SockDiagConnections::SockDiagConnections() = default;

std::optional<ConnectionTable> SockDiagConnections::proto(int protocol)
{
    if (protocol == ConnectionTables::kUdp) {
        if (!m_udp)
            m_udp.emplace();
        return m_udp->udp();
    }
    if (protocol != ConnectionTables::kTcp)
        return std::nullopt;
    ConnectionTable table;
    {
        // Connections that closed since the last read, with their final totals; open ones overwrite.
        QMutexLocker locker(&m_closedMutex);
        table = std::exchange(m_closed, {});
    }
    if (!dump(table))
        return std::nullopt;
    return table;
}

QByteArray SockDiagConnections::quietMark(int protocol)
{
    if (protocol != ConnectionTables::kTcp)
        return {};
    {
        // A connection can close without a segment (one the peer reset, closed later by its
        // program): its final total waits here for the next read, which must not be skipped.
        QMutexLocker locker(&m_closedMutex);
        if (!m_closed.isEmpty())
            return {};
    }
    // The namespace's TCP counters: no segment in or out, nothing opened or reset, and no
    // connection's bytes moved.
    return tcpCounters();
}

SockDiagConnections::~SockDiagConnections()
{
    delete m_notifier;
    if (m_destroyFd >= 0)
        ::close(m_destroyFd);
}

void SockDiagConnections::watchClosedConnections()
{
    if (m_destroyFd >= 0)
        return;
    const int fd = ::socket(AF_NETLINK, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, NETLINK_SOCK_DIAG);
    sockaddr_nl local{};
    local.nl_family = AF_NETLINK;
    local.nl_groups = (1u << (SKNLGRP_INET_TCP_DESTROY - 1)) | (1u << (SKNLGRP_INET6_TCP_DESTROY - 1));
    if (fd < 0 || ::bind(fd, reinterpret_cast<sockaddr *>(&local), sizeof local) != 0) {
        qCInfo(lcSockDiag,
               "closed TCP connections are not reported here (%s): one that opens and closes "
               "between two samples is not counted",
               std::strerror(errno));
        if (fd >= 0)
            ::close(fd);
        return;
    }
    m_destroyFd = fd;
    auto *notifier = new QSocketNotifier(fd, QSocketNotifier::Read);
    QObject::connect(notifier, &QSocketNotifier::activated, notifier, [this] { readClosed(); });
    m_notifier = notifier;
}

void SockDiagConnections::readClosed()
{
    alignas(nlmsghdr) char buffer[1 << 16];
    for (;;) {
        const ssize_t n = ::recv(m_destroyFd, buffer, sizeof buffer, 0);
        if (n <= 0) {
            if (n < 0 && errno == ENOBUFS)
                qCWarning(lcSockDiag, "closed TCP connections were dropped: the kernel's queue overflowed");
            if (n < 0 && (errno == EINTR || errno == ENOBUFS))
                continue;
            return;
        }
        ConnectionTable closed;
        int error = 0;
        parse(buffer, int(n), closed, &error);
        QMutexLocker locker(&m_closedMutex);
        m_closed.insert(closed);
    }
}

bool SockDiagConnections::dump(ConnectionTable &table)
{
    // TCP sockets in every state but listening, time-wait and half-open: those carry no byte
    // counts. The older TCPDIAG_GETSOCK request answers for IPv4 and IPv6 in one walk of the
    // kernel's socket hash; SOCK_DIAG_BY_FAMILY walks the whole hash once per family (1.3 ms each
    // with 262,144 buckets, whatever few sockets are in it). A kernel without the older request
    // gets one of the newer per family.
    constexpr quint32 kStates = ~((1u << kListen) | (1u << kTimeWait) | (1u << kNewSynRecv));
    constexpr quint8 kInfo = 1 << (INET_DIAG_INFO - 1);
    if (m_bothFamiliesAtOnce) {
        struct
        {
            nlmsghdr header;
            inet_diag_req request;
        } message{};
        message.header.nlmsg_len = sizeof message;
        message.header.nlmsg_type = TCPDIAG_GETSOCK;
        message.header.nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
        message.request.idiag_family = AF_INET;
        message.request.idiag_states = kStates;
        message.request.idiag_ext = kInfo;
        ConnectionTable both = table;
        const int error = request(&message, sizeof message, both);
        if (error == 0) {
            table = std::move(both);
            return true;
        }
        if (error != EINVAL && error != EOPNOTSUPP && error != ENOENT) {
            qCWarning(lcSockDiag, "sock_diag: %s", std::strerror(error));
            return false;
        }
        qCInfo(lcSockDiag, "sock_diag: one request per address family (%s)", std::strerror(error));
        m_bothFamiliesAtOnce = false;
    }
    for (const int family : {AF_INET, AF_INET6}) {
        struct
        {
            nlmsghdr header;
            inet_diag_req_v2 request;
        } message{};
        message.header.nlmsg_len = sizeof message;
        message.header.nlmsg_type = SOCK_DIAG_BY_FAMILY;
        message.header.nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
        message.request.sdiag_family = quint8(family);
        message.request.sdiag_protocol = IPPROTO_TCP;
        message.request.idiag_states = kStates;
        message.request.idiag_ext = kInfo;
        if (const int error = request(&message, sizeof message, table)) {
            qCWarning(lcSockDiag, "sock_diag: %s", std::strerror(error));
            return false;
        }
    }
    return true;
}

int SockDiagConnections::request(const void *message, size_t length, ConnectionTable &table)
{
    const Fd s{::socket(AF_NETLINK, SOCK_DGRAM | SOCK_CLOEXEC, NETLINK_SOCK_DIAG)};
    if (s.fd < 0)
        return errno;
    sockaddr_nl kernel{};
    kernel.nl_family = AF_NETLINK;
    if (::sendto(s.fd, message, length, 0, reinterpret_cast<sockaddr *>(&kernel), sizeof kernel) < 0)
        return errno;
    alignas(nlmsghdr) static thread_local char buffer[1 << 16];
    for (;;) {
        const ssize_t n = ::recv(s.fd, buffer, sizeof buffer, 0);
        if (n < 0) {
            if (errno == EINTR)
                continue;
            return errno;
        }
        int error = 0;
        if (!parse(buffer, int(n), table, &error))
            return error;
    }
}

bool SockDiagConnections::parse(const char *data, int left, ConnectionTable &table, int *error)
{
    for (auto *h = reinterpret_cast<const nlmsghdr *>(data); NLMSG_OK(h, left); h = NLMSG_NEXT(h, left)) {
        if (h->nlmsg_type == NLMSG_DONE)
            return false;
        if (h->nlmsg_type == NLMSG_ERROR) {
            *error = -static_cast<const nlmsgerr *>(NLMSG_DATA(h))->error;
            return false;
        }
        if (h->nlmsg_len < NLMSG_LENGTH(sizeof(inet_diag_msg)))
            continue;
        const auto *d = static_cast<const inet_diag_msg *>(NLMSG_DATA(h));
        const auto *remote = reinterpret_cast<const unsigned char *>(d->id.idiag_dst);
        std::optional<QString> address;
        if (d->idiag_family == AF_INET || ConnectionTables::isMappedIPv4(remote)) {
            // A dual-stack socket talking to an IPv4 peer sees it as ::ffff:a.b.c.d: the peer is
            // that IPv4 address, under the IPv4 rules and by its IPv4 name.
            const unsigned char *v4 = d->idiag_family == AF_INET ? remote : remote + 12;
            if (!ConnectionTables::isCountedIPv4(qFromBigEndian<quint32>(v4)))
                continue;
            address = ConnectionTables::printIP4(v4);
        } else {
            if (!ConnectionTables::isCountedIPv6(remote))
                continue;
            address = ConnectionTables::printIP6(remote);
        }
        if (!address)
            continue;
        int attributesLength = int(h->nlmsg_len - NLMSG_LENGTH(sizeof(inet_diag_msg)));
        for (auto *a = reinterpret_cast<const rtattr *>(d + 1); RTA_OK(a, attributesLength);
             a = RTA_NEXT(a, attributesLength)) {
            if (a->rta_type != INET_DIAG_INFO || RTA_PAYLOAD(a) < kBytesReceivedEnd)
                continue;
            tcp_info info{};
            std::memcpy(&info, RTA_DATA(a), std::min<size_t>(RTA_PAYLOAD(a), sizeof info));
            const quint64 cookie = quint64(d->id.idiag_cookie[0]) | (quint64(d->id.idiag_cookie[1]) << 32);
            table.insert(QString::number(cookie, 16),
                         ConnectionEntry{quint64(info.tcpi_bytes_acked) + quint64(info.tcpi_bytes_received),
                                         *address});
        }
    }
    return true;
}
