// NetworkManager's view of the links as a module of its own: the command line loads it (and the
// bus library with it) only where NetworkManager runs.
#include "networkmanagerlinks.h"

extern "C" Q_DECL_EXPORT bool tallymo_managed_links(QList<ManagedLink> *links)
{
    std::optional<QList<ManagedLink>> read = NetworkManagerLinks::read();
    if (!read)
        return false;
    *links = std::move(*read);
    return true;
}
