#include "watchsessionservice.h"
#include "desktop/widgetstats.h"

#include "core/sharedcode.h"

#include <QDBusMessage>
#include <QDBusServiceWatcher>
#include <QLoggingCategory>

Q_LOGGING_CATEGORY(lcWatch, "tallymo.platform.watch", QtWarningMsg)

DBusWatchSession::DBusWatchSession(QDBusConnection bus) : m_bus(std::move(bus)) {}

DBusWatchSession::~DBusWatchSession()
{
    if (m_registered)
        m_bus.unregisterObject(kPath);
}

QVariantMap DBusWatchSession::toBus(const QVariantMap &record)
{
    return WidgetRecord::withDatesAsText(record);
}

void DBusWatchSession::activate(MessageHandler onMessage, std::function<void()>)
{
    m_onMessage = std::move(onMessage);
    if (m_registered || !m_bus.isConnected())
        return;
    m_registered = m_bus.registerObject(kPath, this,
                                        QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllSignals |
                                            QDBusConnection::ExportAllProperties);
    if (!m_registered)
        qCWarning(lcWatch, "the watch session could not be put on the session bus");
}

QVariantMap DBusWatchSession::SendMessage(const QVariantMap &message)
{
    if (!m_onMessage)
        return {};
    setDelayedReply(true);
    const QDBusMessage reply = this->message().createReply();
    QDBusConnection bus = connection();
    m_onMessage(message, [bus, reply](const QVariantMap &record) mutable {
        QDBusMessage r = reply;
        r << toBus(record);
        bus.send(r); // thread-safe: the answer may come from a store's queue
    });
    return {};
}

void DBusWatchSession::RegisterCompanion(bool complicationEnabled)
{
    m_companion = message().service();
    m_complicationEnabled = complicationEnabled;
    delete m_watcher;
    m_watcher =
        new QDBusServiceWatcher(m_companion, m_bus, QDBusServiceWatcher::WatchForUnregistration, this);
    connect(m_watcher, &QDBusServiceWatcher::serviceUnregistered, this, [this](const QString &name) {
        if (name == m_companion) {
            m_companion.clear();
            m_complicationEnabled = false;
        }
    });
    qCInfo(lcWatch) << "companion" << m_companion << "registered, complication" << complicationEnabled;
}

bool DBusWatchSession::updateApplicationContext(const QVariantMap &context, QString *error)
{
    if (!m_registered) {
        if (error)
            *error = QStringLiteral("the watch session is not on the bus");
        return false;
    }
    m_context = toBus(context);
    QDBusMessage changed = QDBusMessage::createSignal(
        kPath, QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("PropertiesChanged"));
    changed << QString(kInterface) << QVariantMap{{QStringLiteral("ApplicationContext"), m_context}}
            << QStringList();
    if (m_bus.send(changed))
        return true;
    if (error)
        *error = m_bus.lastError().message();
    return false;
}

void DBusWatchSession::transferCurrentComplicationUserInfo(const QVariantMap &info)
{
    emit ComplicationData(toBus(info));
}

void DBusWidgetCenter::reloadAllTimelines()
{
    const QDateTime now = m_shared.clock().now();
    const std::shared_ptr<StoreContext> context =
        WidgetRecord::isSetUp(m_shared) ? m_shared.activeStore() : nullptr;
    if (!context) {
        publish(WidgetRecord::notSetUp(now));
        return;
    }
    // Waited for: a short-lived command reloads just before it exits. One sum over the period.
    QVariantMap record;
    const auto compute = [&] {
        const QVariantMap stats = WidgetStats::computeWidgetStats(m_shared, context.get());
        record = WidgetRecord::fromStats(m_shared, stats, m_shared.clock().now());
    };
    if (context->isCurrent())
        compute();
    else
        context->performAndWait(compute);
    publish(record);
}

void DBusWidgetCenter::publish(const QVariantMap &record)
{
    WidgetRecord::writeRecordFile(record);
    if (m_bus.isConnected())
        m_bus.send(QDBusMessage::createSignal(kPath, kInterface, QStringLiteral("WidgetReload")));
}
