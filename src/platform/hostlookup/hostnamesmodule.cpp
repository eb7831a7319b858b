// Host-name lookups as a module of their own, loaded when names are first asked for.
#include "qthostnames.h"

extern "C" Q_DECL_EXPORT HostNameResolver *tallymo_host_names()
{
    return new QtHostNames;
}
