#include "hostnamelookups.h"

std::shared_ptr<HostNameCache> HostNameLookups::hostnameCache()
{
    if (!m_cache)
        m_cache = std::make_shared<HostNameCache>();
    return m_cache;
}
