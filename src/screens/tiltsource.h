#pragma once

#include <QObject>
#include <QtQml/qqmlregistration.h>

class QAccelerometer;

// How far the device leans forward or back, from its accelerometer, for the main screen's parallax:
// -1 (top edge away from the user) to 1 (top edge towards the user), 0 at the usual 45° hold.
// Only a real device sensor counts (a phone's, through iio-sensor-proxy); on a desktop there is
// none and the screen follows the pointer instead.
class TiltSource : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(bool available READ available CONSTANT)
    Q_PROPERTY(bool active READ active WRITE setActive NOTIFY activeChanged)
    Q_PROPERTY(double tilt READ tilt NOTIFY tiltChanged)

public:
    explicit TiltSource(QObject *parent = nullptr);
    ~TiltSource() override;

    // The identifier of the device's accelerometer; empty when there is only a stand-in backend.
    static QByteArray deviceAccelerometer();
    // The lean for a gravity reading along the device's y (up the screen) and z (out of it) axes.
    static double tiltFor(double y, double z);

    bool available() const { return m_sensor != nullptr; }
    bool active() const { return m_active; }
    void setActive(bool active);
    double tilt() const { return m_tilt; }

signals:
    void activeChanged();
    void tiltChanged();

private:
    void read();

    QAccelerometer *m_sensor = nullptr;
    bool m_active = false;
    double m_tilt = 0;
};
