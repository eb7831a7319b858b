#pragma once

// The flat map projection and its rectangle arithmetic: a spherical Mercator world of 2^28 × 2^28
// map points, x growing eastwards from the 180th meridian, y southwards from the top edge (about
// 85.05° north). Names and behaviour follow the map kit the map screens were designed against.

struct MapCoordinate
{
    double latitude;
    double longitude;
};

struct MapPoint
{
    double x;
    double y;
};

struct MapSize
{
    double width;
    double height;
};

struct MapRect
{
    MapPoint origin;
    MapSize size;
    double minX() const { return origin.x; }
    double minY() const { return origin.y; }
    double maxX() const { return origin.x + size.width; }
    double maxY() const { return origin.y + size.height; }
    double midX() const { return origin.x + size.width / 2; }
    double midY() const { return origin.y + size.height / 2; }
};

struct EdgeInsets
{
    double top, left, bottom, right;
};

inline constexpr MapSize kMapSizeWorld{268435456.0, 268435456.0};
inline constexpr MapCoordinate kInvalidMapCoordinate{-180.0, -180.0};

MapPoint mapPointForCoordinate(MapCoordinate coordinate);
MapCoordinate coordinateForMapPoint(MapPoint point);
// Great-circle metres between the coordinates of two points.
double metersBetweenMapPoints(MapPoint a, MapPoint b);
double mapPointsPerMeterAtLatitude(double latitude);
MapRect mapRectUnion(MapRect a, MapRect b);
MapRect mapRectInset(MapRect rect, double dx, double dy);
// Whether the rectangle reaches past the world's east or west edge.
bool mapRectSpans180thMeridian(MapRect rect);
// The part of a rectangle beyond the world's edge, moved onto the world from the other side.
MapRect mapRectRemainder(MapRect rect);
// The rectangle a view of `width` × `height` points shows when `rect` fills the view's area inside
// the padding, keeping the view's aspect ratio (no zoom-level snapping).
MapRect mapRectThatFits(MapRect rect, EdgeInsets padding, double width, double height);
