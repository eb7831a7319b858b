#pragma once

#include "core/networkinterfaces.h"

#include <optional>

// NetworkManager's view of the links, read from the system bus as any client reads it
// (`DBUS_SYSTEM_BUS_ADDRESS` honoured): each device's interface (a modem's IP interface), its
// metered verdict, its active connection's name and identifier, and whether it serves others (a
// Wi-Fi hotspot or a shared connection). It talks to the bus through sd-bus, synchronously and
// without a thread, because a one-shot sample pays for every library it loads. Connecting and every
// call share one deadline, so a hung NetworkManager or bus costs a sample at most `budgetMs`;
// nothing when NetworkManager is not on the bus or does not answer in time.
namespace NetworkManagerLinks {

std::optional<QList<ManagedLink>> read(int budgetMs = 100);

} // namespace NetworkManagerLinks
