#pragma once

#include "connections/connectiontable.h"

// UDP flows from the kernel's connection tracking, with its byte accounting: each tracked flow's
// bytes in both directions, keyed by the boot id and the flow's id. Needs CAP_NET_ADMIN,
// nf_conntrack_acct=1 before a flow starts, and a ruleset that tracks connections; without them
// UDP is missing (logged once), never an error.
class ConntrackFlows
{
public:
    explicit ConntrackFlows(QString bootId) : m_bootId(std::move(bootId)) {}
    std::optional<ConnectionTable> udp();

private:
    QString m_bootId;
    bool m_logged = false;
};
