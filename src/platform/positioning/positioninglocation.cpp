#include "positioninglocation.h"

#include <QFile>
#include <QGeoPositionInfoSource>
#include <QLoggingCategory>
#include <QNmeaPositionInfoSource>
#include <QTcpSocket>
#include <QUrl>

#include <cmath>

Q_LOGGING_CATEGORY(lcLocation, "tallymo.platform.location", QtWarningMsg)

namespace {
// Metres of error per unit of dilution of precision, so NMEA fixes carry an accuracy.
constexpr double kUserEquivalentRangeError = 5.0;
} // namespace

PositioningLocation::PositioningLocation(const QString &nmea, QObject *parent) : QObject(parent)
{
    const QUrl url(nmea);
    if (url.scheme() == QLatin1StringView("file")) {
        auto *source = new QNmeaPositionInfoSource(QNmeaPositionInfoSource::SimulationMode, this);
        auto *file = new QFile(url.toLocalFile(), source);
        if (!file->open(QIODevice::ReadOnly))
            qCWarning(lcLocation, "cannot read NMEA file %s: %s", qPrintable(url.toLocalFile()),
                      qPrintable(file->errorString()));
        source->setDevice(file);
        source->setUserEquivalentRangeError(kUserEquivalentRangeError);
        m_source = source;
    } else if (url.scheme() == QLatin1StringView("gpsd")) {
        // gpsd sends nothing until asked to watch, with NMEA sentences.
        m_gpsd = new QTcpSocket(this);
        connect(m_gpsd, &QTcpSocket::connected, this,
                [this] { m_gpsd->write("?WATCH={\"enable\":true,\"nmea\":true};\n"); });
        connect(m_gpsd, &QTcpSocket::errorOccurred, this, [this] {
            qCWarning(lcLocation, "gpsd: %s", qPrintable(m_gpsd->errorString()));
            if (m_onError)
                m_onError(m_gpsd->errorString());
        });
        m_gpsd->connectToHost(url.host(), quint16(url.port(2947)));
        auto *source = new QNmeaPositionInfoSource(QNmeaPositionInfoSource::RealTimeMode, this);
        source->setDevice(m_gpsd);
        source->setUserEquivalentRangeError(kUserEquivalentRangeError);
        m_source = source;
    } else {
        m_source = QGeoPositionInfoSource::createDefaultSource(
            QVariantMap{{QStringLiteral("desktopId"), QStringLiteral("org.tallymo.Tallymo")}}, this);
        if (!m_source)
            qCWarning(lcLocation, "no position source on this system");
    }
    if (!m_source)
        return;
    connect(m_source, &QGeoPositionInfoSource::positionUpdated, this, &PositioningLocation::positionUpdated);
    connect(m_source, &QGeoPositionInfoSource::errorOccurred, this, [this](QGeoPositionInfoSource::Error e) {
        if (e == QGeoPositionInfoSource::AccessError)
            m_denied = true;
        if (e == QGeoPositionInfoSource::UpdateTimeoutError)
            return; // a quiet receiver is not a failure
        qCWarning(lcLocation, "position source error %d", int(e));
        if (m_onError)
            m_onError(QStringLiteral("position source error %1").arg(int(e)));
    });
}

PositioningLocation::~PositioningLocation() = default;

LocationService::Authorization PositioningLocation::authorizationStatus()
{
    if (!m_source)
        return Authorization::NotDetermined;
    return m_denied ? Authorization::Denied : Authorization::Always;
}

std::optional<LocationFix> PositioningLocation::lastLocation()
{
    return m_last;
}

void PositioningLocation::startMonitoringVisits(std::function<void(const Visit &)> onVisit,
                                                std::function<void(const QString &)> onError)
{
    m_onVisit = std::move(onVisit);
    m_onError = std::move(onError);
    if (m_source)
        m_source->startUpdates();
}

void PositioningLocation::stopMonitoring()
{
    m_onVisit = nullptr;
    m_onError = nullptr;
    if (m_source)
        m_source->stopUpdates();
}

void PositioningLocation::positionUpdated(const QGeoPositionInfo &info)
{
    const double accuracy = info.hasAttribute(QGeoPositionInfo::HorizontalAccuracy)
                                ? info.attribute(QGeoPositionInfo::HorizontalAccuracy)
                                : -1;
    LocationFix fix{info.coordinate().latitude(), info.coordinate().longitude(),
                    std::isnan(accuracy) ? -1 : accuracy, info.timestamp()};
    m_last = fix;
    if (const std::optional<Visit> visit = m_visits.addFix(fix); visit && m_onVisit)
        m_onVisit(*visit);
}
