#pragma once

#include <QCache>
#include <QImage>
#include <QQuickPaintedItem>
#include <QRectF>
#include <QSet>
#include <QtQml/qqmlregistration.h>

class QNetworkAccessManager;

// A slippy map under the usage map's pins: standard 256-pixel XYZ raster tiles (Web Mercator, the
// same flat world of 2^28 map points as the map maths) for the rectangle of map points on show,
// drawn at any fractional zoom by scaling the nearest tile level. Tiles are fetched with the app's
// User-Agent through one private disk cache that honours the server's expiry, never asked for twice
// while they are in memory or on their way, and held to a tile's size and time (TileDownload). Without tiles
// (offline, refused) it draws nothing and says so through `offline`, over lines of latitude and longitude. A
// URL template without "{z}" (such as "none") turns the tiles off.
class TileMap : public QQuickPaintedItem
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QRectF mapRect READ mapRect WRITE setMapRect NOTIFY viewChanged)
    Q_PROPERTY(QString urlTemplate READ urlTemplate WRITE setUrlTemplate NOTIFY urlTemplateChanged)
    Q_PROPERTY(bool offline READ offline NOTIFY offlineChanged)
    Q_PROPERTY(int tileZoom READ tileZoom NOTIFY viewChanged)
    Q_PROPERTY(int revision READ revision NOTIFY viewChanged)
    Q_PROPERTY(QString attribution READ attribution NOTIFY attributionChanged)

public:
    static constexpr double kWorld = 268435456.0; // map points across the world
    static constexpr int kMaxZoom = 19;
    static constexpr int kMaxTilePixels = 1024;
    struct Tile
    {
        int z, x, y;
        bool operator==(const Tile &) const = default;
    };

    explicit TileMap(QQuickItem *parent = nullptr);

    QRectF mapRect() const { return m_rect; }
    void setMapRect(const QRectF &rect);
    QString urlTemplate() const { return m_template; }
    void setUrlTemplate(const QString &url);
    bool offline() const { return m_offline; }
    int tileZoom() const { return tileZoomFor(width(), m_rect.width()); }
    int revision() const { return m_revision; }
    // Whose tiles are drawn: OpenStreetMap's credit for its servers, the tile server's name for
    // another; empty while no tile is drawn.
    QString attribution() const;

    // Points in the item for a coordinate (the rectangle may reach past the 180th meridian).
    Q_INVOKABLE QPointF project(double latitude, double longitude) const;
    // A drag of the view by pixels, a zoom by a factor around a point of the view.
    Q_INVOKABLE void panBy(double dx, double dy);
    Q_INVOKABLE void zoomBy(double factor, double x, double y);

    // The tile level for a view `pixels` wide showing `mapWidth` map points: the nearest whole
    // level to the exact one, within 0..19.
    static int tileZoomFor(double pixels, double mapWidth);
    // The tiles that cover a rectangle of map points at a level (x wraps around the world).
    static QList<Tile> tilesFor(const QRectF &rect, int zoom);
    static QUrl tileUrl(const QString &urlTemplate, const Tile &tile);
    // A tile's picture from its bytes, or a null image with *why; pictures larger than a tile can
    // be are not decoded.
    static QImage decodeTile(const QByteArray &body, QString *why);

    void paint(QPainter *painter) override;

signals:
    void viewChanged();
    void urlTemplateChanged();
    void offlineChanged();
    void attributionChanged();

protected:
    void geometryChange(const QRectF &newGeometry, const QRectF &oldGeometry) override;

private:
    void requestVisible();
    void paintGraticule(QPainter *painter);
    void setOffline(bool offline);
    static QString keyOf(const Tile &t);
    static QNetworkAccessManager &network();

    QRectF m_rect;
    QString m_template;
    bool m_offline = false;
    bool m_anyLoaded = false;
    int m_revision = 0;
    QCache<QString, QImage> m_images{256};
    QSet<QString> m_pending;
    QSet<QString> m_failed;
};
