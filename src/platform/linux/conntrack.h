#pragma once

#include "connections/connectiontable.h"

// UDP flows from the kernel's connection tracking, with its byte accounting: each tracked flow's
// bytes in both directions, keyed by the flow's id and tuple. Needs CAP_NET_ADMIN,
// nf_conntrack_acct=1 before a flow starts, and a ruleset that tracks connections; without them
// UDP is missing (logged once), never an error.
class ConntrackFlows
{
public:
    // `netfilterSysctls`: where this network namespace's nf_conntrack_* settings are read.
    explicit ConntrackFlows(QString netfilterSysctls = QStringLiteral("/proc/sys/net/netfilter"))
        : m_sysctls(std::move(netfilterSysctls))
    {}
    std::optional<ConnectionTable> udp();

    // Whether a dump of the table can count anything, from two sysctls and without walking the
    // table (which costs milliseconds even when it is empty): connection tracking loaded, its
    // accounting on, and something tracked.
    enum class Outlook { Dump, NoTracking, AccountingOff, NothingTracked };
    Outlook outlook() const;

private:
    QString m_sysctls;
    bool m_logged = false;
};
