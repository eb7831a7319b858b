#pragma once

#include "hostnames.h"

// The host names looked up in this process: made on first use, shared by every network page,
// dropped when the process goes to the background (pages still open keep theirs).
class HostNameLookups : public HostNames
{
public:
    explicit HostNameLookups(HostNameResolver *resolver = nullptr) : m_resolver(resolver) {}
    void setResolver(HostNameResolver *resolver) { m_resolver = resolver; }

    std::shared_ptr<HostNameCache> hostnameCache() override;
    HostNameResolver *resolver() override { return m_resolver; }
    void dropCache() { m_cache.reset(); }

private:
    HostNameResolver *m_resolver;
    std::shared_ptr<HostNameCache> m_cache;
};
