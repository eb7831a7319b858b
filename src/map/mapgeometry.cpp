#include "mapgeometry.h"

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

MapPoint mapPointForCoordinate(MapCoordinate c)
{
    const double lat = radians(std::clamp(c.latitude, -kMaxLatitude, kMaxLatitude));
    const double x = (c.longitude + 180) / 360 * kMapSizeWorld.width;
    const double y = (1 - std::log(std::tan(lat) + 1 / std::cos(lat)) / M_PI) / 2 * kMapSizeWorld.height;
    return {x, y};
}

MapCoordinate coordinateForMapPoint(MapPoint p)
{
    const double longitude = p.x / kMapSizeWorld.width * 360 - 180;
    const double latitude = std::atan(std::sinh(M_PI * (1 - 2 * p.y / kMapSizeWorld.height))) * 180 / M_PI;
    return {latitude, longitude};
}

double metersBetweenMapPoints(MapPoint a, MapPoint b)
{
    const MapCoordinate ca = coordinateForMapPoint(a), cb = coordinateForMapPoint(b);
    return metersBetween(ca.latitude, ca.longitude, cb.latitude, cb.longitude);
}

double mapPointsPerMeterAtLatitude(double latitude)
{
    // The equator is 2πR long and kMapSizeWorld.width points wide; parallels shrink with cos.
    constexpr double kEquatorialRadius = 6378137.0;
    const double lat = std::clamp(latitude, -kMaxLatitude, kMaxLatitude);
    return kMapSizeWorld.width / (2 * M_PI * kEquatorialRadius * std::cos(radians(lat)));
}

MapRect mapRectUnion(MapRect a, MapRect b)
{
    const double x = std::min(a.minX(), b.minX()), y = std::min(a.minY(), b.minY());
    return {{x, y}, {std::max(a.maxX(), b.maxX()) - x, std::max(a.maxY(), b.maxY()) - y}};
}

MapRect mapRectInset(MapRect r, double dx, double dy)
{
    return {{r.origin.x + dx, r.origin.y + dy}, {r.size.width - 2 * dx, r.size.height - 2 * dy}};
}

bool mapRectSpans180thMeridian(MapRect r)
{
    return r.minX() < 0 || r.maxX() > kMapSizeWorld.width;
}

MapRect mapRectRemainder(MapRect r)
{
    if (r.maxX() > kMapSizeWorld.width) {
        const double start = std::max(r.minX(), kMapSizeWorld.width);
        return {{start - kMapSizeWorld.width, r.origin.y}, {r.maxX() - start, r.size.height}};
    }
    if (r.minX() < 0) {
        const double end = std::min(r.maxX(), 0.0);
        return {{r.minX() + kMapSizeWorld.width, r.origin.y}, {end - r.minX(), r.size.height}};
    }
    return {{0, 0}, {0, 0}}; // nothing lies beyond the edge
}

MapRect mapRectThatFits(MapRect rect, EdgeInsets padding, double width, double height)
{
    const double areaWidth = std::max(width - padding.left - padding.right, 1.0);
    const double areaHeight = std::max(height - padding.top - padding.bottom, 1.0);
    // Map points per view point: the larger need, so the whole rectangle fits.
    const double k = std::max(rect.size.width / areaWidth, rect.size.height / areaHeight);
    const double centreX = padding.left + areaWidth / 2, centreY = padding.top + areaHeight / 2;
    return {{rect.midX() - centreX * k, rect.midY() - centreY * k}, {width * k, height * k}};
}
