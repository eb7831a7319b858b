#include "donkeybounce.h"

#include <QRandomGenerator>

#include <algorithm>
#include <cmath>

DonkeyBounce::DonkeyBounce(QObject *parent)
    : QObject(parent), random([](int n) { return int(QRandomGenerator::global()->bounded(n)); })
{}

double DonkeyBounce::speedForPercent(double percent)
{
    if (percent > 100)
        return 1500;
    if (percent > 90)
        return 900;
    if (percent > 50)
        return 400;
    return 200;
}

void DonkeyBounce::start(double viewWidth, double viewHeight, double imageSize, double percent)
{
    m_size = imageSize;
    m_boxWidth = viewWidth + 4 * imageSize;
    m_boxHeight = viewHeight + 4 * imageSize;
    m_corner = random(4);
    const double s = imageSize;
    m_x = (m_corner == 1 || m_corner == 3) ? m_boxWidth - s : s;
    m_y = (m_corner == 2 || m_corner == 3) ? m_boxHeight - s : s;
    const double direction = random(360) * 3.14159265358979323846 / 180;
    const double speed = speedForPercent(percent);
    m_vx = speed * std::cos(direction);
    m_vy = speed * std::sin(direction);
    m_angle = 0;
    emit started();
    emit moved();
}

void DonkeyBounce::fix(int corner, int degrees)
{
    random = [corner, degrees](int n) { return n == 4 ? corner : degrees; };
}

namespace {
// Moves one coordinate and reflects it (and its speed) off the walls at lo and hi.
void advance(double &p, double &v, double dt, double lo, double hi)
{
    p += v * dt;
    for (int i = 0; i < 4 && (p < lo || p > hi); ++i) {
        if (p < lo) {
            p = 2 * lo - p;
            v = std::abs(v);
        } else {
            p = 2 * hi - p;
            v = -std::abs(v);
        }
    }
    p = std::clamp(p, lo, hi);
}
} // namespace

void DonkeyBounce::step(double dt)
{
    if (m_size <= 0 || dt <= 0)
        return;
    dt = std::min(dt, 0.1);
    const double r = m_size / 2;
    advance(m_x, m_vx, dt, r, std::max(r, m_boxWidth - r));
    advance(m_y, m_vy, dt, r, std::max(r, m_boxHeight - r));
    m_angle = std::fmod(m_angle + kSpin * dt, 2 * 3.14159265358979323846);
    emit moved();
}
