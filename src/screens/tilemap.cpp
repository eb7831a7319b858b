#include "tilemap.h"

#include "core/privatefiles.h"
#include "map/mapgeometry.h"
#include "tiledownload.h"

#include <QBuffer>
#include <QCoreApplication>
#include <QDir>
#include <QImageReader>
#include <QLoggingCategory>
#include <QNetworkAccessManager>
#include <QNetworkDiskCache>
#include <QNetworkRequest>
#include <QPainter>
#include <QStandardPaths>

#include <cmath>

Q_LOGGING_CATEGORY(lcTiles, "tallymo.ui.tiles", QtWarningMsg)

TileMap::TileMap(QQuickItem *parent) : QQuickPaintedItem(parent)
{
    setOpaquePainting(false);
}

QString TileMap::attribution() const
{
    if (!m_anyLoaded)
        return {};
    const QString host = QUrl(m_template).host();
    if (host == QLatin1StringView("openstreetmap.org") ||
        host.endsWith(QLatin1StringView(".openstreetmap.org")))
        return QStringLiteral("© OpenStreetMap contributors");
    return tr("Map tiles: %1").arg(host);
}

QNetworkAccessManager &TileMap::network()
{
    static QNetworkAccessManager *manager = [] {
        auto *m = new QNetworkAccessManager(QCoreApplication::instance());
        auto *cache = new QNetworkDiskCache(m);
        // The tiles show the places the user looked at: the folder is the user's alone.
        const QString folder =
            QStandardPaths::writableLocation(QStandardPaths::CacheLocation) + QStringLiteral("/tiles");
        QString error;
        if (!PrivateFiles::makePrivateFolder(folder, &error))
            qCWarning(lcTiles) << "no tile cache:" << error;
        cache->setCacheDirectory(folder);
        cache->setMaximumCacheSize(200 * 1024 * 1024);
        m->setCache(cache);
        return m;
    }();
    return *manager;
}

void TileMap::setMapRect(const QRectF &rect)
{
    if (rect == m_rect || !(rect.width() > 0) || !(rect.height() > 0))
        return;
    m_rect = rect;
    ++m_revision;
    emit viewChanged();
    requestVisible();
    update();
}

void TileMap::setUrlTemplate(const QString &url)
{
    if (url == m_template)
        return;
    m_template = url;
    m_images.clear();
    m_failed.clear();
    m_anyLoaded = false;
    emit urlTemplateChanged();
    emit attributionChanged();
    requestVisible();
    update();
}

void TileMap::geometryChange(const QRectF &newGeometry, const QRectF &oldGeometry)
{
    QQuickPaintedItem::geometryChange(newGeometry, oldGeometry);
    if (newGeometry.size() != oldGeometry.size()) {
        ++m_revision;
        emit viewChanged();
        requestVisible();
    }
}

int TileMap::tileZoomFor(double pixels, double mapWidth)
{
    if (!(pixels > 0) || !(mapWidth > 0))
        return 0;
    // At level z the world is 256 * 2^z pixels: 2^z = pixels * 2^28 / (256 * mapWidth).
    const double exact = std::log2(pixels * (kWorld / 256) / mapWidth);
    return std::clamp(int(std::lround(exact)), 0, kMaxZoom);
}

QList<TileMap::Tile> TileMap::tilesFor(const QRectF &rect, int zoom)
{
    QList<Tile> tiles;
    const int count = 1 << zoom;
    const double size = kWorld / count;
    const int y0 = std::max(0, int(std::floor(rect.top() / size)));
    const int y1 = std::min(count - 1, int(std::floor(std::nextafter(rect.bottom(), -1.0) / size)));
    const int x0 = int(std::floor(rect.left() / size));
    const int x1 = int(std::floor(std::nextafter(rect.right(), -1.0) / size));
    for (int y = y0; y <= y1; ++y)
        for (int x = x0; x <= x1 && x - x0 < count; ++x)
            tiles.append({zoom, ((x % count) + count) % count, y});
    return tiles;
}

QUrl TileMap::tileUrl(const QString &urlTemplate, const Tile &tile)
{
    QString url = urlTemplate;
    url.replace(QLatin1StringView("{z}"), QString::number(tile.z))
        .replace(QLatin1StringView("{x}"), QString::number(tile.x))
        .replace(QLatin1StringView("{y}"), QString::number(tile.y));
    return QUrl(url);
}

QString TileMap::keyOf(const Tile &t)
{
    return QStringLiteral("%1/%2/%3").arg(t.z).arg(t.x).arg(t.y);
}

QPointF TileMap::project(double latitude, double longitude) const
{
    if (!(m_rect.width() > 0))
        return QPointF(-1, -1);
    MapPoint p = mapPointForCoordinate({latitude, longitude});
    if (p.x < m_rect.left())
        p.x += kWorld;
    return QPointF((p.x - m_rect.left()) / m_rect.width() * width(),
                   (p.y - m_rect.top()) / m_rect.height() * height());
}

void TileMap::panBy(double dx, double dy)
{
    if (!(width() > 0) || !(m_rect.width() > 0))
        return;
    QRectF r = m_rect.translated(-dx * m_rect.width() / width(), -dy * m_rect.height() / height());
    if (r.left() < 0)
        r.moveLeft(r.left() + kWorld);
    else if (r.left() >= kWorld)
        r.moveLeft(r.left() - kWorld);
    r.moveTop(std::clamp(r.top(), 0.0, std::max(0.0, kWorld - r.height())));
    setMapRect(r);
}

void TileMap::zoomBy(double factor, double x, double y)
{
    if (!(factor > 0) || !(width() > 0) || !(m_rect.width() > 0))
        return;
    // Between the whole world and about a street (level 19).
    const double minWidth = width() * (kWorld / 256) / (1 << kMaxZoom);
    const double newWidth = std::clamp(m_rect.width() / factor, minWidth, kWorld);
    const double scale = newWidth / m_rect.width();
    const QPointF at(m_rect.left() + x / width() * m_rect.width(),
                     m_rect.top() + y / height() * m_rect.height());
    QRectF r(at.x() - (at.x() - m_rect.left()) * scale, at.y() - (at.y() - m_rect.top()) * scale, newWidth,
             m_rect.height() * scale);
    r.moveTop(std::clamp(r.top(), 0.0, std::max(0.0, kWorld - r.height())));
    setMapRect(r);
}

void TileMap::requestVisible()
{
    // A template without the tile's place ("none") turns the tiles off.
    if (!m_template.contains(QLatin1StringView("{z}"))) {
        setOffline(true);
        return;
    }
    if (!(width() > 0) || !(m_rect.width() > 0))
        return;
    for (const Tile &t : tilesFor(m_rect, tileZoom())) {
        const QString key = keyOf(t);
        if (m_images.contains(key) || m_pending.contains(key) || m_failed.contains(key))
            continue;
        QNetworkRequest request(tileUrl(m_template, t));
        request.setHeader(QNetworkRequest::UserAgentHeader,
                          QStringLiteral("Tallymo/%1 (data usage tracker for Linux)")
                              .arg(QCoreApplication::applicationVersion()));
        request.setAttribute(QNetworkRequest::CacheLoadControlAttribute, QNetworkRequest::PreferCache);
        m_pending.insert(key);
        auto *download = TileDownload::start(network(), request, this);
        connect(download, &TileDownload::finished, this,
                [this, key](const QByteArray &body, const QString &error) {
                    m_pending.remove(key);
                    QString why = error;
                    QImage image = why.isEmpty() ? decodeTile(body, &why) : QImage();
                    if (image.isNull()) {
                        qCInfo(lcTiles) << "tile" << key << "not loaded:" << why;
                        m_failed.insert(key);
                        setOffline(!m_anyLoaded);
                        return;
                    }
                    if (!std::exchange(m_anyLoaded, true))
                        emit attributionChanged();
                    setOffline(false);
                    m_images.insert(key, new QImage(std::move(image)));
                    update();
                });
    }
}

QImage TileMap::decodeTile(const QByteArray &body, QString *why)
{
    // A tile is 256 or 512 pixels square; a small file can claim a picture of gigabytes.
    QBuffer buffer;
    buffer.setData(body);
    QImageReader reader(&buffer);
    const QSize size = reader.size();
    if (!size.isValid() || size.width() > kMaxTilePixels || size.height() > kMaxTilePixels) {
        *why =
            size.isValid()
                ? QStringLiteral("a picture of %1×%2 pixels is no tile").arg(size.width()).arg(size.height())
                : reader.errorString();
        return QImage();
    }
    QImage image = reader.read();
    if (image.isNull())
        *why = reader.errorString();
    return image;
}

void TileMap::setOffline(bool offline)
{
    if (offline == m_offline)
        return;
    m_offline = offline;
    emit offlineChanged();
}

// Lines of latitude and longitude, 1, 2 or 5 times a power of ten degrees apart so that a few
// cross the view, under the tiles: what is left of the map when none can be had.
void TileMap::paintGraticule(QPainter *painter)
{
    // Linear in x, and past 180° where the view reaches over the world's east edge.
    auto longitudeAt = [](double x) { return x / kWorld * 360 - 180; };
    auto latitudeAt = [](double y) { return coordinateForMapPoint({0, y}).latitude; };
    const double west = longitudeAt(m_rect.left()), east = longitudeAt(m_rect.right());
    const double span = std::max(east - west, 1e-9);
    const double power = std::pow(10, std::floor(std::log10(span / 4)));
    double step = power;
    for (double f : {2.0, 5.0, 10.0}) {
        if (span / step <= 6)
            break;
        step = power * f;
    }
    const int decimals = std::max(0, int(-std::floor(std::log10(step) + 1e-9)));
    auto label = [decimals](double degrees, char positive, char negative) {
        return QStringLiteral("%1°%2")
            .arg(std::fabs(degrees), 0, 'f', decimals)
            .arg(QLatin1Char(degrees < 0 ? negative : positive));
    };
    // Faint lines; labels dark enough to read (5:1 on the ground colour). Longitudes are labelled
    // along the bottom: the top is where a notice over the map goes.
    const QColor line(0xc9, 0xcd, 0xbf), text(0x63, 0x65, 0x5c);
    QFont font = painter->font();
    font.setPixelSize(10);
    painter->setFont(font);
    const double sx = width() / m_rect.width();
    for (double lon = std::ceil(west / step) * step; lon <= east; lon += step) {
        const double x = ((lon + 180) / 360 * kWorld - m_rect.left()) * sx;
        painter->setPen(line);
        painter->drawLine(QPointF(x, 0), QPointF(x, height()));
        const double shown = lon > 180 ? lon - 360 : lon;
        painter->setPen(text);
        painter->drawText(QPointF(x + 3, height() - 4), label(shown, 'E', 'W'));
    }
    const double north = latitudeAt(m_rect.top()), south = latitudeAt(m_rect.bottom());
    for (double lat = std::ceil(south / step) * step; lat <= north; lat += step) {
        const double y = (project(lat, longitudeAt(m_rect.left())).y());
        painter->setPen(line);
        painter->drawLine(QPointF(0, y), QPointF(width(), y));
        painter->setPen(text);
        painter->drawText(QPointF(3, y - 3), label(lat, 'N', 'S'));
    }
}

void TileMap::paint(QPainter *painter)
{
    if (!(m_rect.width() > 0))
        return;
    paintGraticule(painter);
    painter->setRenderHint(QPainter::SmoothPixmapTransform);
    const int z = tileZoom();
    const double size = kWorld / (1 << z);
    const double sx = width() / m_rect.width(), sy = height() / m_rect.height();
    const int count = 1 << z;
    const int x0 = int(std::floor(m_rect.left() / size));
    for (const Tile &t : tilesFor(m_rect, z)) {
        const QImage *image = m_images.object(keyOf(t));
        if (!image)
            continue;
        // The unwrapped column: tiles past the world's east edge follow on from the west.
        int column = t.x;
        while (column < x0)
            column += count;
        const QRectF target((column * size - m_rect.left()) * sx, (t.y * size - m_rect.top()) * sy, size * sx,
                            size * sy);
        painter->drawImage(target, *image);
    }
}
