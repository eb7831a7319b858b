#include "applicationinstance.h"

#include <QHash>

#include <QDBusAbstractAdaptor>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusVariant>

class ApplicationAdaptor : public QDBusAbstractAdaptor
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")

public:
    explicit ApplicationAdaptor(ApplicationInstance *instance)
        : QDBusAbstractAdaptor(instance), m_instance(instance)
    {}

public slots:
    void Activate(const QVariantMap &platformData)
    {
        Q_UNUSED(platformData)
        emit m_instance->activated();
    }
    void Open(const QStringList &uris, const QVariantMap &platformData)
    {
        Q_UNUSED(uris)
        Q_UNUSED(platformData)
        emit m_instance->activated();
    }
    void ActivateAction(const QString &name, const QVariantList &parameter, const QVariantMap &platformData)
    {
        Q_UNUSED(parameter)
        Q_UNUSED(platformData)
        emit m_instance->actionActivated(name);
    }

private:
    ApplicationInstance *m_instance;
};

ApplicationInstance::ApplicationInstance(QObject *parent) : QObject(parent)
{
    new ApplicationAdaptor(this);
}

ApplicationInstance::~ApplicationInstance() = default;

ApplicationInstance::Outcome ApplicationInstance::registerOrForward(const QString &action, QString *error,
                                                                    bool forward)
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        if (error)
            *error = bus.lastError().message();
        return Outcome::NoBus;
    }
    if (!bus.registerObject(kPath, this)) {
        if (error)
            *error = bus.lastError().message();
        return Outcome::NoBus;
    }
    const auto reply = bus.interface()->registerService(kName, QDBusConnectionInterface::DontQueueService,
                                                        QDBusConnectionInterface::DontAllowReplacement);
    if (reply.isValid() && reply.value() == QDBusConnectionInterface::ServiceRegistered)
        return Outcome::First;
    bus.unregisterObject(kPath);
    if (!forward)
        return Outcome::Forwarded;
    QDBusMessage call =
        action.isEmpty()
            ? QDBusMessage::createMethodCall(kName, kPath, kInterface, QStringLiteral("Activate"))
                  << QVariantMap()
            : QDBusMessage::createMethodCall(kName, kPath, kInterface, QStringLiteral("ActivateAction"))
                  << action << QVariantList() << QVariantMap();
    const QDBusMessage answer = bus.call(call, QDBus::Block, 5000);
    if (answer.type() == QDBusMessage::ErrorMessage && error)
        *error = answer.errorMessage();
    return Outcome::Forwarded;
}

#include "applicationinstance.moc"

QString ApplicationInstance::shortcutTypeForAction(const QString &action)
{
    static const QHash<QString, QString> types{
        {QStringLiteral("history"), QStringLiteral("SHORTCUTS_HISTORY")},
        {QStringLiteral("theme"), QStringLiteral("SHORTCUTS_THEME")},
        {QStringLiteral("dataplan"), QStringLiteral("SHORTCUTS_DATAPLAN")}};
    return types.value(action, action);
}
