#include "qthostnames.h"

#include <QCoreApplication>
#include <QHostInfo>

void QtHostNames::lookup(const QString &address, std::function<void(const QString &name)> done)
{
    QHostInfo::lookupHost(
        address, QCoreApplication::instance(), [address, done = std::move(done)](const QHostInfo &info) {
            // A failed lookup and a missing name both read as no name: the address stands for itself.
            done(info.error() == QHostInfo::NoError && !info.hostName().isEmpty() ? info.hostName()
                                                                                  : address);
        });
}
