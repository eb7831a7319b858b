#pragma once

#include <QObject>
#include <QtQml/qqmlregistration.h>

#include <functional>

// The "DONKEY Bounce" theme's physics: one rigid image in a box with perfectly elastic walls, no
// friction and no drag, spinning at 4π rad/s. The box is the view grown by twice the image's size
// on every side, so the image leaves the screen before it bounces. Stepped once per frame.
class DonkeyBounce : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(double x READ x NOTIFY moved)
    Q_PROPERTY(double y READ y NOTIFY moved)
    Q_PROPERTY(double rotation READ rotation NOTIFY moved)
    Q_PROPERTY(double boxX READ boxX NOTIFY started)
    Q_PROPERTY(double boxY READ boxY NOTIFY started)
    Q_PROPERTY(double boxWidth READ boxWidth NOTIFY started)
    Q_PROPERTY(double boxHeight READ boxHeight NOTIFY started)

public:
    static constexpr double kSpin = 4 * 3.14159265358979323846; // rad/s

    explicit DonkeyBounce(QObject *parent = nullptr);

    // Speed by how much of the cap is used: faster bouncing at higher use.
    static double speedForPercent(double percent);
    // Draws from [0, n): the corner and the direction. Replaceable for tests.
    std::function<int(int n)> random;

    // Places the image (its centre, in the box's coordinates) at the drawn corner with its speed.
    Q_INVOKABLE void start(double viewWidth, double viewHeight, double imageSize, double percent);
    // Always the given corner and direction (for pictures at a fixed frame).
    Q_INVOKABLE void fix(int corner, int degrees);
    // Advances by dt seconds (long pauses are cut to 0.1 s so nothing tunnels through a wall).
    Q_INVOKABLE void step(double dt);

    double x() const { return m_x; }
    double y() const { return m_y; }
    double vx() const { return m_vx; }
    double vy() const { return m_vy; }
    double rotation() const { return m_angle * 180 / 3.14159265358979323846; }
    int corner() const { return m_corner; }
    double boxX() const { return -2 * m_size; }
    double boxY() const { return -2 * m_size; }
    double boxWidth() const { return m_boxWidth; }
    double boxHeight() const { return m_boxHeight; }

signals:
    void moved();
    void started();

private:
    double m_size = 0;
    double m_boxWidth = 0;
    double m_boxHeight = 0;
    double m_x = 0, m_y = 0, m_vx = 0, m_vy = 0, m_angle = 0;
    int m_corner = 0;
};
