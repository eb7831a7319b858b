#pragma once

#include <QHash>
#include <QObject>
#include <QString>

#include <functional>
#include <memory>

// Reverse lookups of addresses; `done` gets the host name, or the address itself when there is
// none. Answers on the main thread, never at once.
class HostNameResolver
{
public:
    virtual ~HostNameResolver() = default;
    virtual void lookup(const QString &address, std::function<void(const QString &name)> done) = 0;
};

// Names looked up in this process, shared by every network page; never emptied.
class HostNameCache : public QObject
{
    Q_OBJECT
public:
    QHash<QString, QString> names;
signals:
    // A lookup answered: the name, or the address when there is none.
    void addToCache(const QString &ip, const QString &hostname);
};

// What the network pages need of the application: its resolver and the process's name cache.
class HostNames
{
public:
    virtual ~HostNames() = default;
    // The cache of this process, made on first use.
    virtual std::shared_ptr<HostNameCache> hostnameCache() = 0;
    virtual HostNameResolver *resolver() = 0;
};
