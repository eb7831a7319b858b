#pragma once

// The flat map projection and its rectangle arithmetic: a spherical Mercator world of 2^28 × 2^28
// map points, x growing eastwards from the 180th meridian, y southwards from the top edge (about
// 85.05° north). Names and behaviour follow the map kit the map screens were designed against.

struct CLLocationCoordinate2D
{
    double latitude;
    double longitude;
};

struct MKMapPoint
{
    double x;
    double y;
};

struct MKMapSize
{
    double width;
    double height;
};

struct MKMapRect
{
    MKMapPoint origin;
    MKMapSize size;
    double minX() const { return origin.x; }
    double minY() const { return origin.y; }
    double maxX() const { return origin.x + size.width; }
    double maxY() const { return origin.y + size.height; }
    double midX() const { return origin.x + size.width / 2; }
    double midY() const { return origin.y + size.height / 2; }
};

struct UIEdgeInsets
{
    double top, left, bottom, right;
};

inline constexpr MKMapSize MKMapSizeWorld{268435456.0, 268435456.0};
inline constexpr CLLocationCoordinate2D kCLLocationCoordinate2DInvalid{-180.0, -180.0};

MKMapPoint MKMapPointForCoordinate(CLLocationCoordinate2D coordinate);
CLLocationCoordinate2D MKCoordinateForMapPoint(MKMapPoint point);
// Great-circle metres between the coordinates of two points.
double MKMetersBetweenMapPoints(MKMapPoint a, MKMapPoint b);
double MKMapPointsPerMeterAtLatitude(double latitude);
MKMapRect MKMapRectUnion(MKMapRect a, MKMapRect b);
MKMapRect MKMapRectInset(MKMapRect rect, double dx, double dy);
// Whether the rectangle reaches past the world's east or west edge.
bool MKMapRectSpans180thMeridian(MKMapRect rect);
// The part of a rectangle beyond the world's edge, moved onto the world from the other side.
MKMapRect MKMapRectRemainder(MKMapRect rect);
// The rectangle a view of `width` × `height` points shows when `rect` fills the view's area inside
// the padding, keeping the view's aspect ratio (no zoom-level snapping).
MKMapRect mapRectThatFits(MKMapRect rect, UIEdgeInsets padding, double width, double height);
