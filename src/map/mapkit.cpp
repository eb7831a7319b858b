#include "mapkit.h"

#include "core/sharedcode.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr double kMaxLatitude = 85.05112877980659; // where the square world ends

double radians(double degrees)
{
    return degrees * M_PI / 180;
}

} // namespace

MKMapPoint MKMapPointForCoordinate(CLLocationCoordinate2D c)
{
    const double lat = radians(std::clamp(c.latitude, -kMaxLatitude, kMaxLatitude));
    const double x = (c.longitude + 180) / 360 * MKMapSizeWorld.width;
    const double y = (1 - std::log(std::tan(lat) + 1 / std::cos(lat)) / M_PI) / 2 * MKMapSizeWorld.height;
    return {x, y};
}

CLLocationCoordinate2D MKCoordinateForMapPoint(MKMapPoint p)
{
    const double longitude = p.x / MKMapSizeWorld.width * 360 - 180;
    const double latitude = std::atan(std::sinh(M_PI * (1 - 2 * p.y / MKMapSizeWorld.height))) * 180 / M_PI;
    return {latitude, longitude};
}

double MKMetersBetweenMapPoints(MKMapPoint a, MKMapPoint b)
{
    const CLLocationCoordinate2D ca = MKCoordinateForMapPoint(a), cb = MKCoordinateForMapPoint(b);
    return metersBetween(ca.latitude, ca.longitude, cb.latitude, cb.longitude);
}

double MKMapPointsPerMeterAtLatitude(double latitude)
{
    // The equator is 2πR long and MKMapSizeWorld.width points wide; parallels shrink with cos.
    constexpr double kEquatorialRadius = 6378137.0;
    const double lat = std::clamp(latitude, -kMaxLatitude, kMaxLatitude);
    return MKMapSizeWorld.width / (2 * M_PI * kEquatorialRadius * std::cos(radians(lat)));
}

MKMapRect MKMapRectUnion(MKMapRect a, MKMapRect b)
{
    const double x = std::min(a.minX(), b.minX()), y = std::min(a.minY(), b.minY());
    return {{x, y}, {std::max(a.maxX(), b.maxX()) - x, std::max(a.maxY(), b.maxY()) - y}};
}

MKMapRect MKMapRectInset(MKMapRect r, double dx, double dy)
{
    return {{r.origin.x + dx, r.origin.y + dy}, {r.size.width - 2 * dx, r.size.height - 2 * dy}};
}

bool MKMapRectSpans180thMeridian(MKMapRect r)
{
    return r.minX() < 0 || r.maxX() > MKMapSizeWorld.width;
}

MKMapRect MKMapRectRemainder(MKMapRect r)
{
    if (r.maxX() > MKMapSizeWorld.width) {
        const double start = std::max(r.minX(), MKMapSizeWorld.width);
        return {{start - MKMapSizeWorld.width, r.origin.y}, {r.maxX() - start, r.size.height}};
    }
    if (r.minX() < 0) {
        const double end = std::min(r.maxX(), 0.0);
        return {{r.minX() + MKMapSizeWorld.width, r.origin.y}, {end - r.minX(), r.size.height}};
    }
    return {{0, 0}, {0, 0}}; // nothing lies beyond the edge
}

MKMapRect mapRectThatFits(MKMapRect rect, UIEdgeInsets padding, double width, double height)
{
    const double areaWidth = std::max(width - padding.left - padding.right, 1.0);
    const double areaHeight = std::max(height - padding.top - padding.bottom, 1.0);
    // Map points per view point: the larger need, so the whole rectangle fits.
    const double k = std::max(rect.size.width / areaWidth, rect.size.height / areaHeight);
    const double centreX = padding.left + areaWidth / 2, centreY = padding.top + areaHeight / 2;
    return {{rect.midX() - centreX * k, rect.midY() - centreY * k}, {width * k, height * k}};
}
