#include "core/settingskeys.h"
#include "desktop/widgetstats.h"
#include "services/usagemonitor.h"
#include "testsupport.h"

#include <QtTest>

namespace {

const QDateTime t0(QDate(2026, 3, 10), QTime(14, 0), Qt::UTC);

// A position `north` metres north of (52.5, 13.4), `minutes` after t0.
LocationFix at(double north, double minutes, double accuracy = 10)
{
    return LocationFix{52.5 + north / 111195.0, 13.4, accuracy, t0.addSecs(qint64(minutes * 60))};
}

struct FakeLocation : LocationService
{
    Authorization authorization = Authorization::Always;
    bool reduced = false;
    std::optional<LocationFix> last;
    std::function<void(const Visit &)> onVisit;
    int starts = 0, stops = 0;
    Authorization authorizationStatus() override { return authorization; }
    bool reducedAccuracy() override { return reduced; }
    std::optional<LocationFix> lastLocation() override { return last; }
    void startMonitoringVisits(std::function<void(const Visit &)> visit,
                               std::function<void(const QString &)>) override
    {
        onVisit = std::move(visit);
        ++starts;
    }
    void stopMonitoring() override { ++stops; }
};

} // namespace

Q_DECLARE_METATYPE(QList<LocationFix>)

class TestLocation : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { qputenv("TZ", "UTC"); }

    void visits_data()
    {
        QTest::addColumn<QList<LocationFix>>("fixes");
        QTest::addColumn<QList<int>>("events"); // per fix: 0 nothing, 1 arrival, 2 departure
        QTest::newRow("five minutes within 150 m")
            << QList<LocationFix>{at(0, 0), at(100, 2), at(149, 4.9), at(140, 5)} << QList<int>{0, 0, 0, 1};
        QTest::newRow("leaving the circle restarts the spell")
            << QList<LocationFix>{at(0, 0), at(151, 3), at(151, 7), at(200, 8.01)} << QList<int>{0, 0, 0, 1};
        QTest::newRow("arrival then departure")
            << QList<LocationFix>{at(0, 0), at(0, 5), at(10, 30), at(400, 31)} << QList<int>{0, 1, 0, 2};
        QTest::newRow("poor fixes are ignored")
            << QList<LocationFix>{at(0, 0), at(5000, 3, 900), at(0, 5)} << QList<int>{0, 0, 1};
        QTest::newRow("moving never arrives")
            << QList<LocationFix>{at(0, 0), at(200, 3), at(400, 6), at(600, 9)} << QList<int>{0, 0, 0, 0};
    }

    void visits()
    {
        QFETCH(QList<LocationFix>, fixes);
        QFETCH(QList<int>, events);
        VisitDetector detector;
        QList<int> seen;
        for (const LocationFix &f : fixes) {
            const std::optional<Visit> v = detector.addFix(f);
            seen.append(!v ? 0 : v->departureDate.isValid() ? 2 : 1);
            // A visit arrives before the position that confirms it, and departs with the one that ends it.
            if (v)
                QVERIFY(v->arrivalDate < f.timestamp || v->departureDate == f.timestamp);
        }
        QCOMPARE(seen, events);
    }

    // A fix gives a place when its accuracy is known and within 500 m. The widget reads the last fix
    // only, and only while the map is on with "always" authorisation.
    void coordinateForSamplesAndTheWidget()
    {
        const auto latitude = [](const std::optional<LocationFix> &fix) {
            return SharedCode::coordinateFromLocationFix(fix).latitude;
        };
        QCOMPARE(latitude(at(0, 0, 500)), 52.5);
        QCOMPARE(latitude(at(0, 0, 0)), 52.5);
        QCOMPARE(latitude(at(0, 0, 500.1)), kUnknownCoordinate);
        QCOMPARE(latitude(at(0, 0, -1)), kUnknownCoordinate);
        QCOMPARE(latitude(std::nullopt), kUnknownCoordinate);

        TestContainer c;
        auto shared = c.openPlan();
        FakeLocation location;
        location.last = at(0, 0, 20);
        const auto widget = [&](LocationService *service) {
            return WidgetStats::getCurrentCoordinateForWidget(*shared, service).latitude;
        };
        QCOMPARE(widget(&location), kUnknownCoordinate); // the map is off
        shared->userPref().setValue(Keys::PREF_V7_GEO, true);
        QCOMPARE(widget(&location), 52.5);
        QCOMPARE(widget(nullptr), kUnknownCoordinate);
        location.authorization = LocationService::Authorization::WhenInUse;
        QCOMPARE(widget(&location), kUnknownCoordinate);
        QCOMPARE(location.starts, 0); // the widget starts nothing
    }

    // Tracking needs the setting and "always" authorisation; visits fall back for coordinates.
    void delegateLocation()
    {
        TestContainer c(t0.addSecs(30 * 60).toLocalTime());
        auto shared = c.open();
        FakeLocation location;
        UsageMonitor monitor(*shared, UsageMonitor::Services{.location = &location});
        monitor.plans().setUpNewInstall();
        monitor.location().follow();
        QCOMPARE(location.starts, 0); // the setting is off
        QCOMPARE(monitor.location().currentCoordinate().latitude, kUnknownCoordinate);
        shared->userPref().setValue(Keys::PREF_V7_GEO, true);
        location.authorization = LocationService::Authorization::WhenInUse;
        monitor.location().follow();
        QCOMPARE(location.starts, 0);
        location.authorization = LocationService::Authorization::Always;
        monitor.location().follow();
        monitor.location().follow();
        QCOMPARE(location.starts, 1);

        location.last = at(0, 20, 800); // too coarse: the visit decides
        QList<Visit> observed;
        QObject::connect(&monitor.location(), &LocationTracker::visited,
                         [&](const Visit &v) { observed.append(v); });
        location.onVisit(Visit{48.1, 11.5, t0, t0.addSecs(45 * 60)});
        QCOMPARE(observed.size(), 1);
        QCOMPARE(monitor.location().currentCoordinate().latitude, 48.1); // departed after this hour began
        location.onVisit(Visit{48.1, 11.5, t0, t0.addSecs(-60)});
        QCOMPARE(monitor.location().currentCoordinate().latitude, kUnknownCoordinate);
        location.last = at(0, 20, 30);
        QCOMPARE(monitor.location().currentCoordinate().latitude, 52.5);

        shared->userPref().setValue(Keys::PREF_V7_GEO, false);
        monitor.location().follow();
        QCOMPARE(location.stops, 1);
        QCOMPARE(monitor.location().currentCoordinate().latitude, kUnknownCoordinate);
        monitor.checkUsage(nullptr); // the visit's check: let it finish
        shared->activeStore()->performAndWait([] {});
        QCoreApplication::sendPostedEvents();
    }
};

QTEST_GUILESS_MAIN(TestLocation)
#include "tst_location.moc"
