#pragma once

#include "services/applicationservices.h"

#include <QDBusConnection>
#include <QObject>

// The push subscription on UnifiedPush: the subscription is a registration with a distributor on
// the session bus (the first one found), under the subscription's identifier as the instance
// token. Messages arrive on our connector object and are silent pushes.
class UnifiedPushSubscriptions : public QObject, public PushSubscriptions
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.unifiedpush.Connector1")

public:
    UnifiedPushSubscriptions(QDBusConnection bus, QString serviceName, QObject *parent = nullptr);

    void save(const QString &identifier, std::function<void(const QString &error)> done) override;
    void fetchAll(std::function<void(const QStringList &, const QString &)> done) override;
    void remove(const QStringList &identifiers) override;

    // Runs for every message (a silent push) and when a distributor appears (the account changed).
    std::function<void()> onMessage;
    std::function<void()> onDistributorChanged;

public slots:
    // org.unifiedpush.Connector1
    void Message(const QString &token, const QByteArray &message, const QString &id);
    void NewEndpoint(const QString &token, const QString &endpoint);
    void Unregistered(const QString &token);

private slots:
    void nameOwnerChanged(const QString &name, const QString &oldOwner, const QString &newOwner);

private:
    QString distributor() const;

    QDBusConnection m_bus;
    QString m_serviceName;
    QStringList m_registered;
};
