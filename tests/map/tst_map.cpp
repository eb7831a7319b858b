#include "core/settingskeys.h"
#include "day/dayviewcontroller.h"
#include "map/mapviewcontroller.h"
#include "screens/tiledownload.h"
#include "screens/tilemap.h"
#include "services/usagemonitor.h"
#include "testsupport.h"

#include <QAbstractItemModelTester>
#include <QBuffer>
#include <QNetworkAccessManager>
#include <QNetworkRequest>
#include <QProcess>
#include <QtTest>

namespace {

constexpr double W = 268435456.0;

// A point `meters` north of (lat, lon) on the sphere the distances use.
MapPoint north(double lat, double lon, double meters)
{
    return mapPointForCoordinate({lat + meters / (6371008.8 * M_PI / 180), lon});
}

std::array<double, 4> parts(const MapRect &r)
{
    return {r.origin.x, r.origin.y, r.size.width, r.size.height};
}

} // namespace

class TestMap : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { qputenv("TZ", "UTC"); }

    // The projection, the rectangles of map points, and the rectangle of a page.
    void geometry()
    {
        const MapPoint centre = mapPointForCoordinate({0, 0});
        QCOMPARE(std::pair(centre.x, centre.y), std::pair(W / 2, W / 2));
        QCOMPARE(mapPointForCoordinate({0, -180}).x, 0.0);
        QVERIFY(qAbs(mapPointForCoordinate({85.0511287798, 0}).y) < 1);
        const MapCoordinate berlin = coordinateForMapPoint(mapPointForCoordinate({52.52, 13.405}));
        QVERIFY(qAbs(berlin.latitude - 52.52) < 1e-9 && qAbs(berlin.longitude - 13.405) < 1e-9);
        QVERIFY(qAbs(mapPointsPerMeterAtLatitude(0) - 6.698324) < 1e-6);
        QVERIFY(qAbs(mapPointsPerMeterAtLatitude(60) / mapPointsPerMeterAtLatitude(0) - 2) < 1e-9);
        QVERIFY(qAbs(metersBetweenMapPoints(north(48, 2, 0), north(48, 2, 1234)) - 1234) < 1e-6);

        QCOMPARE(parts(mapRectUnion({{10, 20}, {5, 5}}, {{0, 30}, {1, 1}})),
                 (std::array{0.0, 20.0, 15.0, 11.0}));
        QCOMPARE(parts(mapRectInset({{10, 10}, {4, 4}}, -3, 1)), (std::array{7.0, 11.0, 10.0, 2.0}));
        const MapRect east{{W - 10, 5}, {30, 7}};
        QVERIFY(mapRectSpans180thMeridian(east));
        QVERIFY(!mapRectSpans180thMeridian({{0, 0}, {W, 1}}));
        QCOMPARE(parts(mapRectRemainder(east)), (std::array{0.0, 5.0, 20.0, 7.0}));
        QCOMPARE(parts(mapRectRemainder({{-4, 0}, {10, 1}})), (std::array{W - 4, 0.0, 4.0, 1.0}));
        // Fitting keeps the view's aspect and centres the rectangle inside the padding.
        QCOMPARE(parts(mapRectThatFits({{1000, 1000}, {200, 100}}, MapPlaces::kPadding, 260, 160)),
                 (std::array{970.0, 955.0, 260.0, 160.0}));
        // A page of one place shows a kilometre around it.
        const MapPoint p = mapPointForCoordinate({0, 0});
        const MapPlaces::Fit one = MapPlaces::fitPage({MapData{p, 1, 1}}, 0);
        const double span = 1000 * mapPointsPerMeterAtLatitude(0);
        QCOMPARE(one.rect.size.width, span);
        QCOMPARE(one.rect.size.height, span);
        QCOMPARE(one.rect.midX(), p.x + 0.5);
        QCOMPARE(one.pins.size(), 1);
        QCOMPARE(one.pins[0].title, QStringLiteral("\u200b"));
        // Near the 180th meridian the square reaches past the edge: only the remainder is shown.
        const MapPoint edge = mapPointForCoordinate({0, 179.999});
        const MapPlaces::Fit wrapped = MapPlaces::fitPage({MapData{edge, 1, 1}}, 0);
        QCOMPARE(wrapped.rect.origin.x, 0.0);
        QVERIFY(qAbs(wrapped.rect.size.width - (edge.x + 0.5 + span / 2 - W)) < 1e-6);
    }

    // Usage within 500 m of a place joins the first such place, which keeps its position.
    void merging_data()
    {
        QTest::addColumn<QList<double>>("north"); // metres, in order of arrival; usage 1, 10, 100...
        QTest::addColumn<QList<double>>("cells"); // of the places that result
        QTest::newRow("499 m") << QList<double>{0, 499} << QList<double>{11};
        QTest::newRow("500 m") << QList<double>{0, 500} << QList<double>{1, 10};
        // A, C and B in a line, arriving A, C, B: B joins A (the first within reach), C stays apart.
        QTest::newRow("first within reach") << QList<double>{0, 800, 400} << QList<double>{101, 10};
    }

    void merging()
    {
        QFETCH(QList<double>, north);
        QFETCH(QList<double>, cells);
        QList<MapData> list;
        for (qsizetype i = 0; i < north.size(); ++i)
            MapPlaces::addPlace(list, ::north(10, 20, north[i]), std::pow(10, i), 2 * std::pow(10, i));
        QList<double> got;
        for (const MapData &place : std::as_const(list)) {
            got.append(place.cell);
            QCOMPARE(place.wifi, 2 * place.cell);
        }
        QCOMPARE(got, cells);
        QCOMPARE(list[0].mapPoint.y, ::north(10, 20, 0).y);
    }

    // The map page from real records: hours newest first after the whole day; unlocated usage left out.
    void mapPage()
    {
        TestContainer c;
        auto shared = c.openPlan();
        UsageMonitor monitor(*shared);
        auto ctx = shared->activeStore();
        const QDateTime nine(QDate(2026, 3, 10), QTime(9, 0)), ten(QDate(2026, 3, 10), QTime(10, 0));
        onQueue(*ctx, [&] {
            ctx->insertEvent(Event{nine, 100, 0, 0, 0, 48.0, 2.0});
            ctx->insertEvent(Event{nine.addSecs(60), 50, 0, 7, 0, 48.001, 2.0}); // 111 m away: same place
            ctx->insertEvent(Event{ten, 1000, 0, 0, 0, 48.1, 2.0});
            ctx->insertEvent(Event{ten, 99999}); // no position
            return ctx->save();
        });
        DayViewController day(monitor.plans(), monitor.hostNames(), QStringLiteral("P"));
        auto *map = qobject_cast<MapViewController *>(day.child(1));
        QVERIFY(map);
        QAbstractItemModelTester cards(map->cards(), QAbstractItemModelTester::FailureReportingMode::QtTest);
        QAbstractItemModelTester pins(map->shownPins(),
                                      QAbstractItemModelTester::FailureReportingMode::QtTest);
        QTRY_VERIFY(!map->busy());
        QCOMPARE(map->cards()->rowCount(), 3);
        QCOMPARE(map->shownPins()->rowCount(), 2); // the whole day's page
        QCOMPARE(map->hourKeys, (QList<QDateTime>{MapPlaces::distantFuture(), ten, nine}));
        QCOMPARE(map->dataForAll.value(nine)[0].cell, 150.0);
        QCOMPARE(map->currentPage(), 0);
        QCOMPARE(map->cardTitle(0), QStringLiteral("All Locations"));
        QCOMPARE(map->cardTitle(2), QStringLiteral("9\u202fAM"));
        QCOMPARE(map->cardLine(1).at(1).text, QStringLiteral("98.6 ")); // the hour's total, located or not
        QCOMPARE(map->nextCardForTap(2), 0);
        map->updatePinsForScroll(750, 375);
        QCOMPARE(map->currentPage(), 2);
        QCOMPARE(map->shownPins()->rowCount(), 1); // the 9 o'clock page: one merged place
        QCOMPARE(map->shownPins()->index(0).data(map->shownPins()->roleNames().key("latitude")).toDouble(),
                 48.0);

        day.reloadWithDate(nine.addDays(1)); // a day without usage
        map = qobject_cast<MapViewController *>(day.child(1));
        QTRY_VERIFY(!map->busy());
        QVERIFY(!map->hasData());
        QCOMPARE(map->noDataText(),
                 QStringLiteral("No locations. Go to Settings > Advanced > Map Usage to turn on."));
        shared->userPref().setValue(Keys::PREF_GEO_HIDE_HINT, true);
        QCOMPARE(map->noDataText(), QStringLiteral("No Locations"));
    }

    // A tile server may send forever or send gigabytes: a tile stops at its size or its time, with
    // one line why, and memory never holds much more than a tile.
    void tileLimits_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("error");
        QTest::newRow("a tile") << "3/4/2.png" << QString();
        QTest::newRow("50 MB of no stated length") << "huge/3/4/2.png"
                                                   << "the tile is larger than 2097152 bytes";
        QTest::newRow("a kilobyte every 50 ms, never ending") << "endless/3/4/2.png"
                                                              << "no whole tile within 15 s";
    }

    void tileLimits()
    {
        QFETCH(QString, path);
        QFETCH(QString, error);
        QProcess server;
        server.start(QStringLiteral("/usr/bin/python3"), {QStringLiteral(TESTS_DIR "/e2e/tileserver.py")});
        QVERIFY(server.waitForStarted() && server.waitForReadyRead(5000));
        auto stop = qScopeGuard([&] {
            server.kill();
            server.waitForFinished();
        });
        const QString port = QString::fromLatin1(server.readLine()).trimmed();
        QNetworkAccessManager network;
        QByteArray body;
        QString why = QStringLiteral("unfinished");
        auto *download = TileDownload::start(
            network, QNetworkRequest(QUrl(QStringLiteral("http://127.0.0.1:%1/%2").arg(port, path))),
            nullptr);
        connect(download, &TileDownload::finished, this, [&](const QByteArray &b, const QString &e) {
            body = b;
            why = e;
        });
        QTRY_VERIFY_WITH_TIMEOUT(why != QStringLiteral("unfinished"), TileDownload::kMaxMillis + 5000);
        QCOMPARE(why, error);
        QCOMPARE(body.isEmpty(), !error.isEmpty());
        if (error.isEmpty()) {
            QString decodeError;
            QCOMPARE(TileMap::decodeTile(body, &decodeError).size(), QSize(256, 256));
        }
    }

    // A small file can claim a picture of gigabytes: only tile-sized pictures are decoded.
    void tilePictures()
    {
        QByteArray png;
        QBuffer buffer(&png);
        buffer.open(QIODevice::WriteOnly);
        QImage(2048, 8, QImage::Format_RGB32).save(&buffer, "PNG");
        QString why;
        QVERIFY(TileMap::decodeTile(png, &why).isNull());
        QCOMPARE(why, QStringLiteral("a picture of 2048×8 pixels is no tile"));
        QVERIFY(TileMap::decodeTile("<html>busy</html>", &why).isNull());
        QVERIFY(!why.isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestMap)
#include "tst_map.moc"
