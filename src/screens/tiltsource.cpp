#include "tiltsource.h"

#include <QAccelerometer>

#include <algorithm>
#include <cmath>

TiltSource::TiltSource(QObject *parent) : QObject(parent)
{
    const QByteArray id = deviceAccelerometer();
    if (id.isEmpty())
        return;
    m_sensor = new QAccelerometer(this);
    m_sensor->setIdentifier(id);
    m_sensor->setAccelerationMode(QAccelerometer::Gravity);
    connect(m_sensor, &QAccelerometer::readingChanged, this, &TiltSource::read);
}

TiltSource::~TiltSource() = default;

QByteArray TiltSource::deviceAccelerometer()
{
    // "dummy" and "generic" are Qt's stand-ins (a made-up reading, and values derived from
    // another sensor); a phone's accelerometer comes through iio-sensor-proxy or a vendor backend.
    for (const QByteArray &id : QSensor::sensorsForType(QAccelerometer::sensorType)) {
        if (!id.startsWith("dummy.") && !id.startsWith("generic."))
            return id;
    }
    return QByteArray();
}

double TiltSource::tiltFor(double y, double z)
{
    constexpr double kQuarter = 3.14159265358979323846 / 4;
    const double pitch = std::atan2(z, y); // 0 upright, π/2 flat on its back
    return std::clamp((pitch - kQuarter) / kQuarter, -1.0, 1.0);
}

void TiltSource::setActive(bool active)
{
    if (active == m_active)
        return;
    m_active = active;
    if (m_sensor) {
        if (active)
            m_sensor->start();
        else
            m_sensor->stop();
    }
    emit activeChanged();
}

void TiltSource::read()
{
    const QAccelerometerReading *r = m_sensor->reading();
    if (!r)
        return;
    const double tilt = tiltFor(r->y(), r->z());
    if (std::abs(tilt - m_tilt) < 0.005)
        return;
    m_tilt = tilt;
    emit tiltChanged();
}
