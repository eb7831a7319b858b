#include "freedesktopnotifications.h"

#include "core/clock.h"
#include "core/privatefiles.h"

#include <QDBusMessage>
#include <QDBusReply>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QLoggingCategory>
#include <QThread>

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

Q_LOGGING_CATEGORY(lcNotify, "tallymo.platform.notifications", QtWarningMsg)

namespace {

const QString kService = QStringLiteral("org.freedesktop.Notifications");
const QString kPath = QStringLiteral("/org/freedesktop/Notifications");
constexpr int kCallTimeoutMs = 3000;

QDateTime fireTime(const NotificationRequest &r, const QDateTime &now)
{
    switch (r.trigger) {
    case NotificationRequest::Trigger::AfterSeconds:
        return now.addMSecs(qint64(r.seconds * 1000));
    case NotificationRequest::Trigger::AtCalendarHour:
        return QDateTime(r.date, QTime(r.hour, 0));
    case NotificationRequest::Trigger::Now:
        break;
    }
    return now;
}

} // namespace

// The persisted state, read and written under an exclusive lock held for the object's life.
class FreedesktopNotifications::State
{
public:
    State(const QString &path, const QString &lockPath) : m_path(path)
    {
        m_fd = PrivateFiles::openPrivate(lockPath, O_RDWR, nullptr);
        while (m_fd >= 0 && ::flock(m_fd, LOCK_EX) != 0 && errno == EINTR) {
        }
        QFile f(path);
        if (f.open(QIODevice::ReadOnly))
            m_doc = QJsonDocument::fromJson(f.readAll()).object();
        pending = m_doc.value(QStringLiteral("pending")).toArray();
        shown = m_doc.value(QStringLiteral("shown")).toObject();
    }
    ~State()
    {
        if (m_fd >= 0)
            ::close(m_fd);
    }
    State(const State &) = delete;
    State &operator=(const State &) = delete;

    void save()
    {
        const QJsonObject doc{{QStringLiteral("pending"), pending}, {QStringLiteral("shown"), shown}};
        QString error;
        if (!PrivateFiles::writeFile(m_path, QJsonDocument(doc).toJson(), &error))
            qCWarning(lcNotify, "cannot save pending notifications: %s", qPrintable(error));
    }

    void removePending(const QStringList &identifiers)
    {
        for (qsizetype i = pending.size() - 1; i >= 0; --i)
            if (identifiers.contains(pending.at(i).toObject().value(QStringLiteral("identifier")).toString()))
                pending.removeAt(i);
    }

    QJsonArray pending;
    QJsonObject shown;

private:
    QString m_path;
    int m_fd = -1;
    QJsonObject m_doc;
};

FreedesktopNotifications::FreedesktopNotifications(const QString &container, QDBusConnection bus,
                                                   const Clock &clock, QObject *parent)
    : QObject(parent), m_statePath(container + QStringLiteral("/notifications.json")),
      m_lockPath(container + QStringLiteral("/notifications.lock")), m_bus(std::move(bus)), m_clock(clock)
{
    m_timer.setSingleShot(true);
    connect(&m_timer, &QTimer::timeout, this, &FreedesktopNotifications::deliverDue);
    // Another process's request lands in the state file, which is replaced whole: watch its folder.
    m_watcher.addPath(container);
    connect(&m_watcher, &QFileSystemWatcher::directoryChanged, this, [this] {
        const QDateTime next = nextDue();
        if (next.isValid() && (!m_timer.isActive() || next < m_clock.now().addMSecs(m_timer.remainingTime())))
            armTimer(next);
    });
}

quint32 FreedesktopNotifications::notify(QJsonObject &shown, const QString &identifier, const QString &title,
                                         const QString &body)
{
    QDBusMessage call = QDBusMessage::createMethodCall(kService, kPath, kService, QStringLiteral("Notify"));
    const quint32 replaces = quint32(shown.value(identifier).toInteger());
    const QVariantMap hints{{QStringLiteral("desktop-entry"), QStringLiteral("org.tallymo.Tallymo")},
                            {QStringLiteral("category"), QStringLiteral("network")}};
    call << QStringLiteral("Tallymo") << replaces << QStringLiteral("org.tallymo.Tallymo") << title << body
         << QStringList() << hints << qint32(-1);
    const QDBusReply<quint32> reply = m_bus.call(call, QDBus::Block, kCallTimeoutMs);
    if (!reply.isValid()) {
        if (!m_warnedNoServer)
            qCWarning(lcNotify, "no notification shown (%s): %s", qPrintable(title),
                      qPrintable(reply.error().message()));
        m_warnedNoServer = true;
        return 0;
    }
    shown.insert(identifier, qint64(reply.value()));
    return reply.value();
}

void FreedesktopNotifications::addRequest(const NotificationRequest &request)
{
    QDateTime next;
    {
        State state(m_statePath, m_lockPath);
        state.removePending({request.identifier});
        if (request.trigger == NotificationRequest::Trigger::Now) {
            notify(state.shown, request.identifier, request.title, request.body);
        } else {
            QJsonObject entry{{QStringLiteral("identifier"), request.identifier},
                              {QStringLiteral("title"), request.title},
                              {QStringLiteral("body"), request.body},
                              {QStringLiteral("fireAt"),
                               fireTime(request, m_clock.now()).toUTC().toString(Qt::ISODateWithMs)}};
            if (request.trigger == NotificationRequest::Trigger::AtCalendarHour)
                // A reminder of a day's hour means nothing once the day is over.
                entry.insert(
                    QStringLiteral("expireAt"),
                    QDateTime(request.date.addDays(1), QTime(0, 0)).toUTC().toString(Qt::ISODateWithMs));
            state.pending.append(entry);
        }
        state.save();
    }
    armTimer(nextDue());
}

void FreedesktopNotifications::removePendingRequests(const QStringList &identifiers)
{
    State state(m_statePath, m_lockPath);
    state.removePending(identifiers);
    state.save();
}

void FreedesktopNotifications::removeAllDeliveredNotifications()
{
    State state(m_statePath, m_lockPath);
    if (state.shown.isEmpty())
        return;
    for (auto it = state.shown.begin(); it != state.shown.end(); ++it) {
        QDBusMessage call =
            QDBusMessage::createMethodCall(kService, kPath, kService, QStringLiteral("CloseNotification"));
        call << quint32(it.value().toInteger());
        m_bus.call(call, QDBus::Block, kCallTimeoutMs);
    }
    state.shown = QJsonObject();
    state.save();
}

void FreedesktopNotifications::requestAuthorization(std::function<void(bool)> answer)
{
    const QDBusMessage call =
        QDBusMessage::createMethodCall(kService, kPath, kService, QStringLiteral("GetServerInformation"));
    const QDBusMessage reply = m_bus.call(call, QDBus::Block, kCallTimeoutMs);
    answer(reply.type() == QDBusMessage::ReplyMessage);
}

void FreedesktopNotifications::deliverDue()
{
    {
        State state(m_statePath, m_lockPath);
        const QDateTime now = m_clock.now();
        bool changed = false;
        for (qsizetype i = 0; i < state.pending.size();) {
            const QJsonObject r = state.pending.at(i).toObject();
            const QDateTime at =
                QDateTime::fromString(r.value(QStringLiteral("fireAt")).toString(), Qt::ISODateWithMs);
            if (at.isValid() && at > now) {
                ++i;
                continue;
            }
            const QDateTime expires =
                QDateTime::fromString(r.value(QStringLiteral("expireAt")).toString(), Qt::ISODateWithMs);
            if (expires.isValid() && expires <= now)
                qCInfo(lcNotify, "reminder %s of %s dropped: its day is over",
                       qPrintable(r.value(QStringLiteral("identifier")).toString()),
                       qPrintable(at.toLocalTime().toString(Qt::ISODate)));
            else
                notify(state.shown, r.value(QStringLiteral("identifier")).toString(),
                       r.value(QStringLiteral("title")).toString(),
                       r.value(QStringLiteral("body")).toString());
            state.pending.removeAt(i);
            changed = true;
        }
        if (changed)
            state.save();
    }
    armTimer(nextDue());
}

QDateTime FreedesktopNotifications::nextDue() const
{
    QFile f(m_statePath);
    if (!f.open(QIODevice::ReadOnly))
        return {};
    QDateTime next;
    for (const QJsonValue &v :
         QJsonDocument::fromJson(f.readAll()).object().value(QStringLiteral("pending")).toArray()) {
        const QDateTime at =
            QDateTime::fromString(v.toObject().value(QStringLiteral("fireAt")).toString(), Qt::ISODateWithMs);
        if (at.isValid() && (!next.isValid() || at < next))
            next = at;
    }
    return next;
}

void FreedesktopNotifications::armTimer(const QDateTime &next)
{
    if (thread() != QThread::currentThread()) { // requests come from store queues too
        QMetaObject::invokeMethod(
            this, [this, next] { armTimer(next); }, Qt::QueuedConnection);
        return;
    }
    if (!next.isValid()) {
        m_timer.stop();
        return;
    }
    // Checked again at least every ten minutes, so a clock change cannot delay delivery for long.
    const qint64 wait = std::clamp<qint64>(m_clock.now().msecsTo(next), 0, 600000);
    m_timer.start(int(wait));
}
