#include "watchface.h"

#include "desktop/bytestext.h"

#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QLoggingCategory>

#include <algorithm>
#include <cmath>

Q_LOGGING_CATEGORY(lcFace, "tallymo.watch", QtInfoMsg)

namespace {

// The record's keys.
const QString kNotSetUp = QStringLiteral("WSTATS_NOT_SETUP");
const QString kPercent = QStringLiteral("WSTATS_PERCENT");
const QString kColor = QStringLiteral("WSTATS_COLOR");
const QString kForecast = QStringLiteral("WSTATS_FORECAST");
const QString kUsed = QStringLiteral("WSTATS_USED");
const QString kLeft = QStringLiteral("WSTATS_LEFT");
const QString kDays = QStringLiteral("WSTATS_DAYS");
const QString kTimeUnit = QStringLiteral("WSTATS_TIMEUNIT");

// A dictionary as the bus hands it over, inside a variant or not.
QVariantMap mapOf(const QVariant &v)
{
    return v.canConvert<QDBusArgument>() ? qdbus_cast<QVariantMap>(v.value<QDBusArgument>()) : v.toMap();
}

} // namespace

WatchFace::WatchFace(QDBusConnection bus, QObject *parent) : QObject(parent), m_bus(std::move(bus)) {}

void WatchFace::start()
{
    if (!m_bus.isConnected()) {
        failed(QString(), tr("No session bus."));
        return;
    }
    m_bus.connect(kService, kPath, QStringLiteral("org.freedesktop.DBus.Properties"),
                  QStringLiteral("PropertiesChanged"), this,
                  SLOT(propertiesChanged(QString, QVariantMap, QStringList)));
    m_bus.connect(kService, kPath, kInterface, QStringLiteral("ComplicationData"), this,
                  SLOT(complicationData(QVariantMap)));
    m_watcher = new QDBusServiceWatcher(
        kService, m_bus,
        QDBusServiceWatcher::WatchForRegistration | QDBusServiceWatcher::WatchForUnregistration, this);
    connect(m_watcher, &QDBusServiceWatcher::serviceRegistered, this, [this] { ask(); });
    connect(m_watcher, &QDBusServiceWatcher::serviceUnregistered, this,
            [this] { failed(QStringLiteral("org.freedesktop.DBus.Error.NameHasNoOwner"), QString()); });
    ask();
}

void WatchFace::ask()
{
    // Registering may start the service when the bus knows how; the answer to the message follows
    // once the service has recorded the traffic up to now.
    QDBusMessage registration =
        QDBusMessage::createMethodCall(kService, kPath, kInterface, QStringLiteral("RegisterCompanion"));
    registration << true; // the complication is on this face
    auto *call = new QDBusPendingCallWatcher(m_bus.asyncCall(registration, 25000), this);
    connect(call, &QDBusPendingCallWatcher::finished, this, [this](QDBusPendingCallWatcher *registered) {
        registered->deleteLater();
        if (registered->isError()) {
            failed(registered->error().name(), registered->error().message());
            return;
        }
        QDBusMessage message =
            QDBusMessage::createMethodCall(kService, kPath, kInterface, QStringLiteral("SendMessage"));
        message << QVariantMap();
        auto *asked = new QDBusPendingCallWatcher(m_bus.asyncCall(message, 25000), this);
        connect(asked, &QDBusPendingCallWatcher::finished, this, &WatchFace::answered);
    });
}

void WatchFace::answered(QDBusPendingCallWatcher *call)
{
    call->deleteLater();
    const QDBusPendingReply<QVariantMap> reply = *call;
    if (reply.isError()) {
        failed(reply.error().name(), reply.error().message());
        return;
    }
    apply(reply.value());
}

void WatchFace::failed(const QString &errorName, const QString &message)
{
    qCInfo(lcFace, "the watch session cannot be reached: %s %s", qPrintable(errorName), qPrintable(message));
    m_error = message;
    m_record.clear();
    setState(QStringLiteral("notRunning"));
}

void WatchFace::propertiesChanged(const QString &interface, const QVariantMap &changed, const QStringList &)
{
    const QString key = QStringLiteral("ApplicationContext");
    if (interface == kInterface && changed.contains(key))
        apply(mapOf(changed.value(key)));
}

void WatchFace::complicationData(const QVariantMap &info)
{
    apply(info);
}

void WatchFace::apply(const QVariantMap &record)
{
    if (record.value(kNotSetUp).toBool()) {
        m_record.clear();
        setState(QStringLiteral("notSetUp"));
        return;
    }
    if (!record.contains(kPercent)) { // an empty answer: the service could not compute one
        qCInfo(lcFace, "an empty record; the face keeps what it shows");
        return;
    }
    m_record = record;
    m_state = QStringLiteral("ready");
    emit changed();
}

void WatchFace::setState(const QString &state)
{
    m_state = state;
    emit changed();
}

double WatchFace::fraction() const
{
    if (m_state != QLatin1StringView("ready"))
        return 0;
    return std::clamp(m_record.value(kPercent).toDouble() / 100.0, 0.0, 1.0);
}

QColor WatchFace::color() const
{
    if (m_state != QLatin1StringView("ready"))
        return QColor(0x8e, 0x8e, 0x93);
    return QColor::fromRgb(QRgb(m_record.value(kColor).toUInt() & 0xFFFFFF));
}

QString WatchFace::percentText() const
{
    if (m_state != QLatin1StringView("ready"))
        return QStringLiteral("–");
    const double percent = m_record.value(kPercent).toDouble();
    return QStringLiteral("%1%").arg(std::isfinite(percent) ? qint64(std::nearbyint(percent)) : 0);
}

QString WatchFace::forecastText() const
{
    const QString forecast = m_record.value(kForecast).toString();
    if (m_state != QLatin1StringView("ready") || forecast.isEmpty())
        return QString();
    // The record carries the forecast's key word; the face says it in its own language.
    static const char *const words[][2] = {{"safe", QT_TR_NOOP("Safe")},
                                           {"caution", QT_TR_NOOP("Caution")},
                                           {"danger", QT_TR_NOOP("Danger")},
                                           {"over", QT_TR_NOOP("Over")}};
    for (const auto &[key, word] : words)
        if (forecast == QLatin1StringView(key))
            return tr(word);
    return forecast.left(1).toUpper() + forecast.mid(1);
}

QString WatchFace::usedText() const
{
    return m_state == QLatin1StringView("ready")
               ? tr("%1 used").arg(::bytesText(m_record.value(kUsed).toDouble()))
               : QString();
}

QString WatchFace::leftText() const
{
    return m_state == QLatin1StringView("ready")
               ? tr("%1 left").arg(::bytesText(m_record.value(kLeft).toDouble()))
               : QString();
}

QString WatchFace::timeLeftText() const
{
    if (m_state != QLatin1StringView("ready"))
        return QString();
    return tr("%1 to go").arg(daysText());
}

QString WatchFace::daysText() const
{
    if (m_state != QLatin1StringView("ready"))
        return QString();
    // The unit comes in the service's language; the English ones are put in the face's.
    static const char *const units[] = {QT_TR_NOOP("days"), QT_TR_NOOP("day"), QT_TR_NOOP("hours"),
                                        QT_TR_NOOP("hour")};
    QString unit = m_record.value(kTimeUnit).toString();
    for (const char *u : units)
        if (unit == QLatin1StringView(u))
            unit = tr(u);
    return QStringLiteral("%1 %2").arg(m_record.value(kDays).toLongLong()).arg(unit);
}

QColor WatchFace::textColor() const
{
    // WCAG relative luminance; against black the contrast is (L + 0.05) / 0.05.
    const auto luminance = [](const QColor &c) {
        const auto channel = [](double v) {
            return v <= 0.03928 ? v / 12.92 : std::pow((v + 0.055) / 1.055, 2.4);
        };
        return 0.2126 * channel(c.redF()) + 0.7152 * channel(c.greenF()) + 0.0722 * channel(c.blueF());
    };
    QColor c = color();
    for (int step = 0; step < 20 && (luminance(c) + 0.05) / 0.05 < 4.5; ++step)
        c = QColor::fromRgbF(c.redF() + (1 - c.redF()) * 0.1f, c.greenF() + (1 - c.greenF()) * 0.1f,
                             c.blueF() + (1 - c.blueF()) * 0.1f);
    return c;
}

QString WatchFace::messageText() const
{
    if (m_state == QLatin1StringView("notSetUp"))
        return tr("Open Tallymo to set up your data plan.");
    if (m_state == QLatin1StringView("notRunning"))
        return tr("Tallymo's background service is not running.");
    if (m_state == QLatin1StringView("connecting"))
        return tr("Connecting…");
    return QString();
}

QVariantMap WatchFace::shown() const
{
    return {{QStringLiteral("state"), m_state},           {QStringLiteral("percent"), percentText()},
            {QStringLiteral("forecast"), forecastText()}, {QStringLiteral("used"), usedText()},
            {QStringLiteral("left"), leftText()},         {QStringLiteral("timeLeft"), timeLeftText()},
            {QStringLiteral("color"), color().name()},    {QStringLiteral("message"), messageText()}};
}
