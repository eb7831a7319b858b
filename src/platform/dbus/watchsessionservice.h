#pragma once

#include "desktop/watchsession.h"
#include "desktop/widgetstats.h"

#include <QDBusConnection>
#include <QDBusContext>
#include <QObject>
#include <QVariantMap>

class QDBusServiceWatcher;
class SharedCode;

// The watch session on the session bus, at /org/tallymo/Tallymo/WatchSession of the background
// service. A companion calls RegisterCompanion (it then counts as paired and installed until it
// leaves the bus), asks with SendMessage (answered with the record once the store work is done),
// reads the ApplicationContext property (PropertiesChanged tells of a new one) and receives
// ComplicationData signals. Dates travel as ISO 8601 text.
class DBusWatchSession : public QObject, public QDBusContext, public WatchSession
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.tallymo.Tallymo.WatchSession")
    Q_PROPERTY(QVariantMap ApplicationContext READ applicationContext)

public:
    static constexpr QLatin1StringView kPath{"/org/tallymo/Tallymo/WatchSession"};
    static constexpr QLatin1StringView kInterface{"org.tallymo.Tallymo.WatchSession"};

    explicit DBusWatchSession(QDBusConnection bus);
    ~DBusWatchSession() override;

    // Record values as the bus carries them.
    static QVariantMap toBus(const QVariantMap &record);

    bool isSupported() override { return m_bus.isConnected(); }
    void activate(MessageHandler onMessage, std::function<void()> onDeactivate) override;
    bool isWatchAppInstalled() override { return !m_companion.isEmpty(); }
    bool isComplicationEnabled() override { return m_complicationEnabled; }
    bool updateApplicationContext(const QVariantMap &context, QString *error) override;
    void transferCurrentComplicationUserInfo(const QVariantMap &info) override;

    QVariantMap applicationContext() const { return m_context; }

public slots:
    QVariantMap SendMessage(const QVariantMap &message);
    void RegisterCompanion(bool complicationEnabled);

signals:
    void ComplicationData(const QVariantMap &info);

private:
    QDBusConnection m_bus;
    MessageHandler m_onMessage;
    QString m_companion;
    bool m_complicationEnabled = false;
    bool m_registered = false;
    QVariantMap m_context;
    QDBusServiceWatcher *m_watcher = nullptr;
};

// Widget reloads: the record written to the runtime file and a WidgetReload signal on the bus.
class DBusWidgetCenter : public WidgetCenter
{
public:
    static constexpr QLatin1StringView kPath{"/org/tallymo/Tallymo/Widget"};
    static constexpr QLatin1StringView kInterface{"org.tallymo.Tallymo.Widget"};

    DBusWidgetCenter(QDBusConnection bus, SharedCode &shared) : m_bus(std::move(bus)), m_shared(shared) {}
    void reloadAllTimelines() override;

private:
    void publish(const QVariantMap &record);
    QDBusConnection m_bus;
    SharedCode &m_shared;
};
