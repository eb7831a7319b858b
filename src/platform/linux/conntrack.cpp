#include "conntrack.h"

#include "kernelfiles.h"

#include <QHash>
#include <QLoggingCategory>
#include <QtEndian>

#include <linux/netfilter/nfnetlink.h>
#include <linux/netfilter/nfnetlink_conntrack.h>
#include <linux/netlink.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

Q_DECLARE_LOGGING_CATEGORY(lcSockDiag)

namespace {

struct Attribute
{
    const nlattr *a;
    int type() const { return a->nla_type & NLA_TYPE_MASK; }
    const char *data() const { return reinterpret_cast<const char *>(a) + NLA_HDRLEN; }
    int length() const { return int(a->nla_len) - NLA_HDRLEN; }
};

// Calls f for each attribute of [data, data + length).
template <typename F> void forEach(const char *data, int length, F f)
{
    while (length >= int(NLA_HDRLEN)) {
        const auto *a = reinterpret_cast<const nlattr *>(data);
        if (a->nla_len < NLA_HDRLEN || int(a->nla_len) > length)
            return;
        f(Attribute{a});
        const int step = NLA_ALIGN(a->nla_len);
        data += step;
        length -= step;
    }
}

struct Flow
{
    int protocol = 0;
    unsigned char source[16] = {}, destination[16] = {};
    bool v6 = false;
    quint64 bytes = 0;
    bool counted = false; // accounting present
    quint32 id = 0;
    quint16 sourcePort = 0, destinationPort = 0;
    quint64 start = 0; // when the flow began (ns), where the kernel keeps time stamps
};

// The kernel reuses flow ids: a flow is known by its id, its original tuple and, where the kernel
// keeps time stamps, its start: "ct-ID-SOURCE:PORT-DESTINATION:PORT-START", addresses in lower-case
// hex, numbers in decimal. Made with plain character arithmetic: a dump may hold tens of thousands
// of flows.
void appendKey(const Flow &f, std::string &keys)
{
    char text[128];
    char *p = text;
    const auto put = [&p](const char *s) {
        while (*s)
            *p++ = *s++;
    };
    const auto number = [&p](quint64 n) { p = std::to_chars(p, p + 20, n).ptr; };
    const auto hex = [&p, &f](const unsigned char *a) {
        static constexpr char digits[] = "0123456789abcdef";
        for (int i = 0; i < (f.v6 ? 16 : 4); ++i) {
            *p++ = digits[a[i] >> 4];
            *p++ = digits[a[i] & 15];
        }
    };
    put(ConnectionTables::kUdpKeyPrefix.data());
    number(f.id);
    put("-");
    hex(f.source);
    put(":");
    number(f.sourcePort);
    put("-");
    hex(f.destination);
    put(":");
    number(f.destinationPort);
    put("-");
    number(f.start);
    keys.append(text, p);
}

void readTuple(const Attribute &tuple, Flow &flow)
{
    forEach(tuple.data(), tuple.length(), [&](const Attribute &part) {
        if (part.type() == CTA_TUPLE_IP) {
            forEach(part.data(), part.length(), [&](const Attribute &ip) {
                if ((ip.type() == CTA_IP_V4_SRC || ip.type() == CTA_IP_V4_DST) && ip.length() >= 4)
                    std::memcpy(ip.type() == CTA_IP_V4_SRC ? flow.source : flow.destination, ip.data(), 4);
                if ((ip.type() == CTA_IP_V6_SRC || ip.type() == CTA_IP_V6_DST) && ip.length() >= 16) {
                    std::memcpy(ip.type() == CTA_IP_V6_SRC ? flow.source : flow.destination, ip.data(), 16);
                    flow.v6 = true;
                }
            });
        } else if (part.type() == CTA_TUPLE_PROTO) {
            forEach(part.data(), part.length(), [&](const Attribute &p) {
                if (p.type() == CTA_PROTO_NUM && p.length() >= 1)
                    flow.protocol = quint8(p.data()[0]);
                else if ((p.type() == CTA_PROTO_SRC_PORT || p.type() == CTA_PROTO_DST_PORT) &&
                         p.length() >= 2)
                    (p.type() == CTA_PROTO_SRC_PORT ? flow.sourcePort : flow.destinationPort) =
                        qFromBigEndian<quint16>(p.data());
            });
        }
    });
}

// The flow a message of the dump describes: its original tuple, id, start and byte counters.
Flow readFlow(const nlmsghdr *h)
{
    Flow flow;
    const char *attributes = static_cast<const char *>(NLMSG_DATA(h)) + NLMSG_ALIGN(sizeof(nfgenmsg));
    forEach(attributes, int(h->nlmsg_len - NLMSG_LENGTH(NLMSG_ALIGN(sizeof(nfgenmsg)))),
            [&](const Attribute &a) {
                if (a.type() == CTA_TUPLE_ORIG)
                    readTuple(a, flow);
                else if (a.type() == CTA_ID && a.length() >= 4)
                    flow.id = qFromBigEndian<quint32>(a.data());
                else if (a.type() == CTA_TIMESTAMP)
                    forEach(a.data(), a.length(), [&](const Attribute &t) {
                        if (t.type() == CTA_TIMESTAMP_START && t.length() >= 8)
                            flow.start = qFromBigEndian<quint64>(t.data());
                    });
                else if (a.type() == CTA_COUNTERS_ORIG || a.type() == CTA_COUNTERS_REPLY)
                    forEach(a.data(), a.length(), [&](const Attribute &c) {
                        if (c.type() == CTA_COUNTERS_BYTES && c.length() >= 8) {
                            flow.bytes += qFromBigEndian<quint64>(c.data());
                            flow.counted = true;
                        }
                    });
            });
    return flow;
}

// The UDP flows of the dump so far.
struct UdpFlows
{
    // Every flow's key, one after another, and the entries that point into them.
    std::string keys;
    struct Entry
    {
        quint64 lead; // the key's first eight bytes after "ct-", big-endian: most comparisons end there
        size_t at;
        size_t length;
        ConnectionEntry entry;
    };
    std::vector<Entry> entries;
    bool flows = false;      // any UDP flow
    bool accounting = false; // any UDP flow with byte counters
    // The text of every peer seen so far: many flows go to a few peers (a resolver), and their
    // entries share one string.
    QHash<QByteArray, QString> peers;

    // The address as text when it is one the filters count.
    std::optional<QString> counted(const unsigned char *address, bool v6)
    {
        const QByteArray raw = QByteArray::fromRawData(reinterpret_cast<const char *>(address), v6 ? 16 : 4);
        if (const auto known = peers.constFind(raw); known != peers.cend())
            return known->isEmpty() ? std::nullopt : std::optional<QString>(*known);
        std::optional<QString> text;
        if (v6 ? ConnectionTables::isCountedIPv6(address)
               : ConnectionTables::isCountedIPv4(qFromBigEndian<quint32>(address)))
            text = v6 ? ConnectionTables::printIP6(address) : ConnectionTables::printIP4(address);
        peers.insert(QByteArray(raw.constData(), raw.size()), text.value_or(QString()));
        return text;
    }

    // Adds a UDP flow the kernel counted, under its public peer; other protocols are left out.
    void add(const Flow &flow)
    {
        if (flow.protocol != IPPROTO_UDP)
            return;
        flows = true;
        accounting = accounting || flow.counted;
        // The peer: the destination of a flow this side started, else its source.
        std::optional<QString> peer = counted(flow.destination, flow.v6);
        if (!peer)
            peer = counted(flow.source, flow.v6);
        if (!peer || !flow.counted)
            return;
        const size_t at = keys.size();
        appendKey(flow, keys);
        quint64 lead = 0;
        for (size_t i = at + 3; i < at + 11; ++i)
            lead = lead << 8 | (i < keys.size() ? quint8(keys[i]) : 0);
        entries.push_back(Entry{lead, at, keys.size() - at, ConnectionEntry{flow.bytes, *peer}});
    }

    // The table, built in key order (the keys are ASCII: their bytes sort as the strings do), each
    // entry placed at the end without a search.
    ConnectionTable table()
    {
        const auto key = [this](const Entry &e) { return std::string_view(keys).substr(e.at, e.length); };
        std::sort(entries.begin(), entries.end(), [&](const Entry &a, const Entry &b) {
            return a.lead != b.lead ? a.lead < b.lead : key(a) < key(b);
        });
        ConnectionTable t;
        for (Entry &e : entries)
            t.insert(t.cend(), QString::fromLatin1(key(e)), std::move(e.entry));
        return t;
    }
};

// Asks the kernel for every tracked flow; false (with errno) when the request cannot be sent.
bool requestFlowDump(int fd)
{
    struct
    {
        nlmsghdr header;
        nfgenmsg family;
    } request{};
    request.header.nlmsg_len = sizeof request;
    request.header.nlmsg_type = (NFNL_SUBSYS_CTNETLINK << 8) | IPCTNL_MSG_CT_GET;
    request.header.nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
    request.family.nfgen_family = AF_UNSPEC;
    request.family.version = NFNETLINK_V0;
    sockaddr_nl kernel{};
    kernel.nl_family = AF_NETLINK;
    const auto *to = reinterpret_cast<const sockaddr *>(&kernel);
    return ::sendto(fd, &request, sizeof request, 0, to, sizeof kernel) >= 0;
}

// How far one read of the dump took it.
struct DumpRead
{
    bool done = false; // the dump's end was read
    int error = 0;     // the error the kernel answered with, when it did
};

// The messages of one read of the dump, their UDP flows added to `udp`.
DumpRead readMessages(const char *buffer, int length, UdpFlows &udp)
{
    DumpRead read;
    int left = length;
    for (auto *h = reinterpret_cast<const nlmsghdr *>(buffer); NLMSG_OK(h, left); h = NLMSG_NEXT(h, left)) {
        if (h->nlmsg_type == NLMSG_DONE) {
            read.done = true;
            break;
        }
        if (h->nlmsg_type == NLMSG_ERROR) {
            const auto *e = static_cast<const nlmsgerr *>(NLMSG_DATA(h));
            if (e->error == 0)
                continue;
            read.error = -e->error;
            break;
        }
        if (h->nlmsg_len < NLMSG_LENGTH(sizeof(nfgenmsg)))
            continue;
        udp.add(readFlow(h));
    }
    return read;
}

// A small number a sysctl file holds; nothing when it cannot be read.
std::optional<long long> readSysctl(const QString &path)
{
    int error = 0;
    const QByteArray text = KernelFiles::read(path, &error).trimmed();
    bool ok = false;
    const long long value = text.toLongLong(&ok);
    return error == 0 && ok ? std::optional<long long>(value) : std::nullopt;
}

} // namespace

ConntrackFlows::Outlook ConntrackFlows::outlook() const
{
    const std::optional<long long> accounting = readSysctl(m_sysctls + QStringLiteral("/nf_conntrack_acct"));
    if (!accounting)
        return Outlook::NoTracking;
    if (*accounting == 0)
        return Outlook::AccountingOff;
    const std::optional<long long> tracked = readSysctl(m_sysctls + QStringLiteral("/nf_conntrack_count"));
    return tracked && *tracked == 0 ? Outlook::NothingTracked : Outlook::Dump;
}

std::optional<ConnectionTable> ConntrackFlows::udp()
{
    int fd = -1;
    const auto fail = [&](const char *why) -> std::optional<ConnectionTable> {
        if (!m_logged)
            qCInfo(lcSockDiag, "UDP is not counted per address: connection tracking %s", why);
        m_logged = true;
        if (fd >= 0)
            ::close(fd);
        return std::nullopt;
    };
    switch (outlook()) {
    case Outlook::NoTracking:
        return fail("is not loaded");
    case Outlook::AccountingOff:
        return fail("accounting is off (net.netfilter.nf_conntrack_acct=0)");
    case Outlook::NothingTracked:
        return ConnectionTable(); // nothing to count, known without a dump
    case Outlook::Dump:
        break;
    }
    fd = ::socket(AF_NETLINK, SOCK_DGRAM | SOCK_CLOEXEC, NETLINK_NETFILTER);
    if (fd < 0 || !requestFlowDump(fd))
        return fail(std::strerror(errno));
    UdpFlows udpFlows;
    alignas(nlmsghdr) static thread_local char buffer[1 << 16];
    for (DumpRead read; !read.done;) {
        const ssize_t n = ::recv(fd, buffer, sizeof buffer, 0);
        if (n < 0) {
            if (errno == EINTR)
                continue;
            return fail(std::strerror(errno));
        }
        read = readMessages(buffer, int(n), udpFlows);
        if (read.error != 0)
            return fail(std::strerror(read.error)); // typically: not permitted
    }
    if (udpFlows.flows && !udpFlows.accounting) // fail() closes the socket
        return fail("accounting is off (net.netfilter.nf_conntrack_acct=0)");
    ::close(fd);
    return udpFlows.table();
}
