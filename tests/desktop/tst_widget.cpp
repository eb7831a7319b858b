#include "core/settingskeys.h"
#include "desktop/watchsession.h"
#include "desktop/widgetoutput.h"
#include "desktop/widgetstats.h"
#include "services/usagemonitor.h"
#include "testsupport.h"

#include <QtTest>

namespace {

struct FakeWatch : WatchSession
{
    bool installed = true, complication = true;
    MessageHandler onMessage;
    QList<QVariantMap> contexts, complications;
    bool isSupported() override { return true; }
    void activate(MessageHandler m, std::function<void()>) override { onMessage = std::move(m); }
    bool isWatchAppInstalled() override { return installed; }
    bool isComplicationEnabled() override { return complication; }
    bool updateApplicationContext(const QVariantMap &c, QString *) override
    {
        contexts.append(c);
        return true;
    }
    void transferCurrentComplicationUserInfo(const QVariantMap &i) override { complications.append(i); }
};

QDateTime at(int day, int hour, int minute)
{
    return QDateTime(QDate(2026, 3, day), QTime(hour, minute));
}

// A plan type and bill day, the moment, the cap and what was received in the period (besides Wi-Fi,
// which never counts), and the figures expected.
struct StatsCase
{
    int type, billDay;
    QDateTime now;
    double cap, cell, percent, left;
    qint64 days;
};

} // namespace

Q_DECLARE_METATYPE(StatsCase)

class TestWidget : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { qputenv("TZ", "UTC"); }

    void stats_data()
    {
        QTest::addColumn<StatsCase>("c");
        QTest::newRow("no events") << StatsCase{0, 1, at(10, 14, 25), 1000, 0, 0, 1000, 22};
        QTest::newRow("cap 0") << StatsCase{0, 1, at(10, 14, 25), 0, 500, 0, 0, 22};
        QTest::newRow("above the cap") << StatsCase{0, 1, at(10, 14, 25), 1000, 3000, 300, 0, 22};
        QTest::newRow("daily at 23:30") << StatsCase{4, 1, at(10, 23, 30), 1000, 250, 25, 750, 1};
        QTest::newRow("daily at 00:10") << StatsCase{4, 1, at(10, 0, 10), 1000, 250, 25, 750, 24};
        QTest::newRow("monthly ending tomorrow, early")
            << StatsCase{0, 11, at(10, 0, 0), 1000, 0, 0, 1000, 1};
        QTest::newRow("monthly ending tomorrow, late")
            << StatsCase{0, 11, at(10, 23, 59), 1000, 0, 0, 1000, 1};
    }

    void stats()
    {
        QFETCH(StatsCase, c);
        TestContainer box(c.now);
        auto shared = box.openPlan();
        shared->setForPlan(QString(), Keys::PREF_BILLTYPE, c.type);
        shared->setForPlan(QString(), Keys::PREF_NDAYS_N, 1);
        shared->setForPlan(QString(), Keys::PREF_30DAY_START, QDateTime(QDate(2026, 1, 1), QTime()));
        shared->setForPlan(QString(), Keys::PREF_BILLDAY, c.billDay);
        shared->setForPlan(QString(), Keys::PREF_THRES_MONTHLY, c.cap);
        auto ctx = shared->activeStore();
        const QVariantMap s = onQueue(*ctx, [&] {
            if (c.cell > 0)
                ctx->insertEvent(Event{c.now, c.cell, 0, 777, 1});
            ctx->insertEvent(Event{c.now.addDays(-40), 12345}); // an earlier period
            ctx->save();
            return WidgetStats::computeWidgetStats(*shared, ctx.get());
        });
        QCOMPARE(QSet<QString>(s.keyBegin(), s.keyEnd()),
                 (QSet<QString>{WStats::F_RATIO, WStats::PERCENT, WStats::USED, WStats::LEFT, WStats::DAYS}));
        QCOMPARE((std::tuple{s[WStats::USED].toDouble(), s[WStats::PERCENT].toDouble(),
                             s[WStats::LEFT].toDouble(), s[WStats::DAYS].toLongLong()}),
                 (std::tuple{c.cell, c.percent, c.left, c.days}));
        QVERIFY(!std::signbit(s.value(WStats::LEFT).toDouble()));
    }

    // A message is answered before setup with two keys, after it with the record and a fresh sample.
    void watchMessages()
    {
        TestContainer c;
        auto shared = c.openPlan();
        FakeWatch watch;
        UsageMonitor monitor(*shared, UsageMonitor::Services{.watch = &watch});
        monitor.watch().connectSession();
        QVERIFY(watch.onMessage);
        const auto ask = [&] {
            std::optional<QVariantMap> reply;
            watch.onMessage({{QStringLiteral("any"), 1}}, [&](const QVariantMap &r) { reply = r; });
            [&] { QTRY_VERIFY(reply.has_value()); }();
            return reply.value_or(QVariantMap());
        };
        QCOMPARE(ask().keys(), (QStringList{WStats::NOT_SETUP, WStats::TIMESTAMP}));
        shared->userPref().setValue(Keys::PREF_SHOWED_SETUP, true);
        c.interfaces.counters = QList<LinkCounters>{{QStringLiteral("pdp_ip0"), 1000, 0}};
        ask(); // the first sample only sets the baseline
        c.interfaces.counters = QList<LinkCounters>{{QStringLiteral("pdp_ip0"), 5000, 10}};
        const QVariantMap reply = ask();
        QCOMPARE(reply.size(), 8);
        QCOMPARE(reply.value(WStats::USED).toDouble(), 4010.0);
        QCOMPARE(reply.value(WStats::FORECAST).toString(), QStringLiteral("safe"));
        QVERIFY(!reply.contains(WStats::F_RATIO));
    }

    void watchPushes()
    {
        TestContainer c;
        auto shared = c.openPlan();
        shared->setForPlan(QString(), Keys::PREF_THRES_MONTHLY, 1000.0);
        FakeWatch watch;
        UsageMonitor monitor(*shared, UsageMonitor::Services{.watch = &watch});
        const QVariantMap screen{{WStats::PERCENT, 150.0},
                                 {WStats::COLOR, quint32(0xff0000)},
                                 {WStats::FORECAST, "over"},
                                 {WStats::USED, 1500.0},
                                 {WStats::DAYS, qint64(3)}};
        monitor.watch().sendContext(screen);
        monitor.watch().sendContext(screen);
        QCOMPARE(watch.complications.size(), 1);
        QCOMPARE(watch.contexts.size(), 1);
        QCOMPARE(watch.contexts[0].size(), 8);
        QCOMPARE(watch.contexts[0].value(WStats::LEFT).toDouble(), 0.0);
        QCOMPARE(watch.contexts[0].value(WStats::TIMEUNIT).toString(), QStringLiteral("days"));
        // Another colour: the complication again; without it shown, the context instead.
        QVariantMap changed = screen;
        changed[WStats::COLOR] = quint32(0x00ff00);
        watch.complication = false;
        monitor.watch().sendContext(changed);
        QCOMPARE(watch.contexts.size(), 2);
        QCOMPARE(shared->userPref().dictionaryForKey(Keys::PREF_WATCH_COMP_STATE)[WStats::COLOR].toUInt(),
                 0x00ff00u);
        watch.installed = false;
        monitor.watch().sendContext(screen);
        QCOMPARE(watch.contexts.size() + watch.complications.size(), 3);
    }

    void statusBarText_data()
    {
        QTest::addColumn<int>("style"); // as the app's Style screen stores it
        QTest::addColumn<QString>("text");
        QTest::newRow("standard") << 0 << "42% · 1.32 GB left · 9 days";
        QTest::newRow("mini") << 2 << "42%";
        QTest::newRow("complete") << 1 << "700.0 MB used · 1.32 GB left · 42% · 9 days · Caution";
    }

    void statusBarText()
    {
        QFETCH(int, style);
        QFETCH(QString, text);
        const QVariantMap record{{WStats::PERCENT, 41.5},
                                 {WStats::USED, 734003200.0},
                                 {WStats::LEFT, 1413480448.0},
                                 {WStats::DAYS, qint64(9)},
                                 {WStats::TIMEUNIT, "days"},
                                 {WStats::FORECAST, "caution"},
                                 {WStats::COLOR, quint32(0xf5a623)},
                                 {WStats::TIMESTAMP, QDateTime::currentDateTime()}};
        const auto waybar = [&](int background) {
            return QJsonDocument::fromJson(
                       WidgetOutput::render(record, WidgetOutput::Format::Waybar, style, background))
                .object();
        };
        const QJsonObject bar = waybar(0);
        QCOMPARE(bar.value("text").toString(), text);
        QCOMPARE(bar.value("class").toString(), QStringLiteral("caution"));
        QCOMPARE(bar.value("percentage").toInt(), 42);
        QCOMPARE(WidgetOutput::render(record, WidgetOutput::Format::I3blocks, style, 3).split('\n').value(2),
                 QByteArray("#f5a623")); // the colour line
        QCOMPARE(waybar(1).value("class").toArray(), (QJsonArray{"caution", "background-1"}));
    }
};

QTEST_GUILESS_MAIN(TestWidget)
#include "tst_widget.moc"
