#pragma once

#include "connections/netviewcontroller.h"

// Reverse lookups through QHostInfo: asynchronous; an address without a name comes back as itself.
class QtHostNames : public HostNameResolver
{
public:
    void lookup(const QString &address, std::function<void(const QString &name)> done) override;
};
