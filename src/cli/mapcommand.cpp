// The map command: where the day's usage happened, per hour and for the whole day.
#include "arguments.h"
#include "cli.h"
#include "connections/netviewcontroller.h"
#include "day/dayviewcontroller.h"
#include "desktop/displayformat.h"
#include "map/mapviewcontroller.h"
#include "output.h"
#include "services/usagemonitor.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QJsonArray>
#include <QJsonObject>
#include <QTimer>

namespace Cli {

namespace {

// The day screen a day command shows a page of: --day, --plan and --json read, the day loaded.
struct DayCommand
{
    std::unique_ptr<DayViewController> day;
    bool json;
};

DayCommand openDay(const QStringList &args, Environment &env, const QString &command, bool lookups)
{
    const Arguments a(args, command);
    a.expectPositional(0, 0);
    const std::optional<QDateTime> date = a.has(QStringLiteral("day"))
                                              ? std::optional(parseDate(a.option(QStringLiteral("day"))))
                                              : std::nullopt;
    Services &s = env.services();
    const QString plan = a.has(QStringLiteral("plan"))
                             ? requirePlan(s.shared, a.option(QStringLiteral("plan")))
                             : s.shared.activePlanID();
    if (lookups)
        env.desktopServices(); // only once the arguments are known to be good
    DayCommand c{std::make_unique<DayViewController>(s.monitor.plans(), s.monitor.hostNames(), plan),
                 a.flag(QStringLiteral("json"))};
    if (date)
        c.day->reloadWithDate(*date);
    return c;
}

} // namespace

int map(const QStringList &args, Environment &env)
{
    const DayCommand c = openDay(args, env, QStringLiteral("map"), false);
    DayViewController &day = *c.day;
    auto *map = qobject_cast<MapViewController *>(day.child(1));
    if (map->busy()) {
        QEventLoop loop;
        QObject::connect(map, &MapViewController::loaded, &loop, &QEventLoop::quit);
        loop.exec();
    }
    const auto pageHour = [&](int i) {
        return map->hourKeys.at(i) == MapPlaces::distantFuture() ? QDateTime() : map->hourKeys.at(i);
    };
    if (c.json) {
        QJsonArray pages;
        for (int i = 0; i < map->hourKeys.size(); ++i) {
            QJsonArray places;
            for (const MapData &p : map->dataForAll.value(map->hourKeys.at(i))) {
                const MapCoordinate c = coordinateForMapPoint(p.mapPoint);
                places.append(QJsonObject{{QStringLiteral("latitude"), c.latitude},
                                          {QStringLiteral("longitude"), c.longitude},
                                          {QStringLiteral("cell"), p.cell},
                                          {QStringLiteral("wifi"), p.wifi}});
            }
            const QDateTime hour = pageHour(i);
            pages.append(QJsonObject{
                {QStringLiteral("hour"), hour.isValid() ? QJsonValue(isoWithOffset(hour)) : QJsonValue()},
                {QStringLiteral("places"), places}});
        }
        print(QString::fromUtf8(jsonText(QJsonObject{{QStringLiteral("pages"), pages}}, false)));
        return 0;
    }
    print(day.title() + QLatin1Char('\n'));
    if (!map->hasData()) {
        print(map->noDataText() + QLatin1Char('\n'));
        return 0;
    }
    for (int i = 0; i < map->hourKeys.size(); ++i) {
        print(map->cardTitle(i) + QLatin1Char('\n'));
        for (const MapData &p : map->dataForAll.value(map->hourKeys.at(i))) {
            const MapCoordinate c = coordinateForMapPoint(p.mapPoint);
            print(QStringLiteral("  %1, %2  cellular %3  Wi-Fi %4\n")
                      .arg(c.latitude, 0, 'f', 5)
                      .arg(c.longitude, 0, 'f', 5)
                      .arg(DisplayFormat::getDataBytesStr(p.cell), DisplayFormat::getDataBytesStr(p.wifi)));
        }
    }
    return 0;
}

int net(const QStringList &args, Environment &env)
{
    // The desktop services bring the host-name lookups.
    const DayCommand c = openDay(args, env, QStringLiteral("net"), true);
    DayViewController &day = *c.day;
    auto *net = qobject_cast<NetViewController *>(day.child(2));
    QEventLoop loop;
    QObject::connect(net, &NetViewController::loaded, &loop, &QEventLoop::quit);
    if (net->busy())
        loop.exec();
    // Names that come within the deadline are shown; the others stay addresses.
    constexpr int kLookupDeadlineMs = 3000;
    QElapsedTimer waited;
    waited.start();
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, &loop, [&] {
        if (net->pendingLookups() == 0 || waited.elapsed() > kLookupDeadlineMs)
            loop.quit();
    });
    poll.start(20);
    if (net->pendingLookups() > 0)
        loop.exec();
    if (c.json) {
        QJsonArray hours;
        for (int h = 0; h < net->hourKeys.size(); ++h) {
            QJsonArray rows;
            for (const NetRow &r : net->dataForAll.value(net->hourKeys.at(h))) {
                const std::optional<QString> name = net->cacheForKey(r.ipaddress);
                rows.append(
                    QJsonObject{{QStringLiteral("ipaddress"), r.ipaddress},
                                {QStringLiteral("sum"), r.sum},
                                {QStringLiteral("hostname"), name ? QJsonValue(*name) : QJsonValue()}});
            }
            hours.append(QJsonObject{{QStringLiteral("hour"), isoWithOffset(net->hourKeys.at(h))},
                                     {QStringLiteral("rows"), rows}});
        }
        print(QString::fromUtf8(jsonText(QJsonObject{{QStringLiteral("hours"), hours}}, false)));
        return 0;
    }
    print(day.title() + QLatin1Char('\n'));
    if (net->hourKeys.isEmpty()) {
        print(NetViewController::noDataText() + QLatin1Char('\n'));
        return 0;
    }
    for (int h = 0; h < net->hourKeys.size(); ++h) {
        print(net->sectionTitle(h) + QLatin1Char('\n'));
        const QList<NetRow> rows = net->dataForAll.value(net->hourKeys.at(h));
        for (int i = 0; i < rows.size(); ++i)
            print(QStringLiteral("  %1  %2\n")
                      .arg(DisplayFormat::getDataBytesStr(rows.at(i).sum), 9)
                      .arg(net->drawRow(h, i)));
    }
    return 0;
}

} // namespace Cli
