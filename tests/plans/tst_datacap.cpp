#include "core/settingskeys.h"
#include "desktop/displayformat.h"
#include "plans/amountentry.h"
#include "plans/colorscheme.h"
#include "plans/datacap.h"
#include "testsupport.h"

#include <QtTest>

#include <cmath>

namespace {
constexpr double MB = 1048576.0;
constexpr double GB = 1073741824.0;
} // namespace

class TestDataCap : public QObject
{
    Q_OBJECT

    // A plan "P" with a monthly period starting on the 1st; now is 10 March 2026, 14:25 UTC.
    std::unique_ptr<SharedCode> openPlan(TestContainer &c, double cap)
    {
        auto shared = c.openPlan();
        shared->setForPlan(QString(), Keys::PREF_BILLDAY, 1);
        shared->setForPlan(QString(), Keys::PREF_THRES_MONTHLY, cap);
        shared->setForPlan(QString(), Keys::PREF_ROLLOVER_ON, true);
        return shared;
    }

private slots:
    void initTestCase() { qputenv("TZ", "UTC"); }

    void rollover_data()
    {
        QTest::addColumn<double>("cap");
        QTest::addColumn<double>("usedBefore"); // cellular usage in February
        QTest::addColumn<double>("amount");
        QTest::addColumn<QVariantList>("display");
        QTest::newRow("500 MB of 2 GB") << 2 * GB << 500 * MB << 1623195648.0 << QVariantList{"1548", 0};
        QTest::newRow("over the cap") << 2 * GB << 3 * GB << 0.0 << QVariantList{"0", 0};
        QTest::newRow("exactly the cap") << 2 * GB << 2 * GB << 0.0 << QVariantList{"0", 0};
        QTest::newRow("part of a MB is dropped")
            << 2 * GB << 1.5 << 2147483648.0 - MB << QVariantList{"2047", 0};
        QTest::newRow("10000 MB stays in MB") << 10000 * MB << 0.0 << 10000 * MB << QVariantList{"10000", 0};
        QTest::newRow("10001 MB shows in GB") << 10001 * MB << 0.0 << 10001 * MB << QVariantList{"9.767", 1};
    }

    void rollover()
    {
        QFETCH(double, cap);
        QFETCH(double, usedBefore);
        QFETCH(double, amount);
        QFETCH(QVariantList, display);
        TestContainer c;
        auto shared = openPlan(c, cap);
        auto ctx = shared->activeStore();
        const double effective = onQueue(*ctx, [&] {
            ctx->insertEvent(Event{QDateTime(QDate(2026, 2, 1), QTime()), usedBefore / 2, usedBefore / 2});
            ctx->insertEvent(Event{QDateTime(QDate(2026, 3, 1), QTime()), 999 * GB}); // this period: ignored
            ctx->insertEvent(Event{QDateTime(QDate(2026, 1, 31), QTime(23, 0)), 999 * GB}); // before: ignored
            ctx->save();
            return DataCap::effectiveDataCap(*shared, ctx.get(), QString());
        });
        QCOMPARE(effective, cap + amount);
        QCOMPARE(shared->doubleForPlan(QString(), Keys::PREF_ROLLOVER_AMOUNT), amount);
        QCOMPARE(shared->getForPlan(QString(), Keys::PREF_ROLLOVER_DISPLAY).toList(), display);
        QCOMPARE(shared->getForPlan(QString(), Keys::PREF_ROLLOVER_TIMESTAMP).toDateTime(), c.clock.now());
    }

    // The stored amount holds while its time stamp lies in the current period.
    void rolloverIsRecomputedOnlyAfterABoundary_data()
    {
        QTest::addColumn<QVariant>("timeStamp");
        QTest::addColumn<bool>("recomputed");
        QTest::newRow("at the period's start") << QVariant(QDateTime(QDate(2026, 3, 1), QTime())) << false;
        QTest::newRow("at the period's end") << QVariant(QDateTime(QDate(2026, 4, 1), QTime())) << true;
        QTest::newRow("in the previous period")
            << QVariant(QDateTime(QDate(2026, 2, 28), QTime(23, 59))) << true;
        QTest::newRow("never computed") << QVariant() << true;
    }

    void rolloverIsRecomputedOnlyAfterABoundary()
    {
        QFETCH(QVariant, timeStamp);
        QFETCH(bool, recomputed);
        TestContainer c;
        auto shared = openPlan(c, 100 * MB);
        shared->setForPlan(QString(), Keys::PREF_ROLLOVER_AMOUNT, 7 * MB);
        shared->setForPlan(QString(), Keys::PREF_ROLLOVER_TIMESTAMP, timeStamp);
        QCOMPARE(DataCap::effectiveDataCap(*shared, nullptr, QString()),
                 107 * MB); // without a store: as stored
        auto ctx = shared->activeStore();
        const auto effective = [&] {
            return onQueue(*ctx, [&] { return DataCap::effectiveDataCap(*shared, ctx.get(), QString()); });
        };
        QCOMPARE(effective(), recomputed ? 200 * MB : 107 * MB);
        shared->setForPlan(QString(), Keys::PREF_ROLLOVER_ON, false);
        QCOMPARE(effective(), 100 * MB);
    }

    void forecast_data()
    {
        QTest::addColumn<double>("timeLeft");
        QTest::addColumn<double>("dataLeft");
        QTest::addColumn<QString>("text");
        QTest::addColumn<double>("ratio");
        QTest::addColumn<QString>("icon");
        QTest::newRow("as much data as time") << 50.0 << 50.0 << "safe" << 0.0 << "1";
        QTest::newRow("caution") << 50.0 << 30.0 << "caution" << 0.4 << "2";
        QTest::newRow("half way is danger") << 50.0 << 25.0 << "danger" << 0.5 << "3";
        QTest::newRow("used up") << 50.0 << 0.0 << "over" << 1.0 << "4";
        QTest::newRow("over the cap") << 80.0 << -50.0 << "over" << 1.0 << "4";
        QTest::newRow("last moment with data left") << 0.0 << 10.0 << "safe" << 0.0 << "1";
        QTest::newRow("not a number") << std::nan("") << 10.0 << "safe" << std::nan("") << "1";
    }

    void forecast()
    {
        QFETCH(double, timeLeft);
        QFETCH(double, dataLeft);
        QFETCH(QString, text);
        QFETCH(double, ratio);
        QFETCH(QString, icon);
        const double q = DataCap::forecastRatio(timeLeft, dataLeft);
        if (std::isnan(ratio))
            QVERIFY(std::isnan(q));
        else
            QCOMPARE(q, ratio);
        QCOMPARE(DataCap::forecastText(q), text);
        QCOMPARE(DataCap::forecastIconCode(text), icon);
    }

    void colors_data()
    {
        QTest::addColumn<double>("ratio");
        QTest::addColumn<qint64>("row");
        QTest::addColumn<quint32>("color");
        QTest::newRow("negative") << -0.3 << qint64(0) << 0x98D957u;
        QTest::newRow("0.24") << 0.24 << qint64(0) << 0xC3D957u;
        QTest::newRow("0.25") << 0.25 << qint64(0) << 0xFBBF45u;
        QTest::newRow("0.999") << 0.999 << qint64(0) << 0xED0345u;
        QTest::newRow("1") << 1.0 << qint64(0) << 0xA50026u;
        QTest::newRow("7") << 7.0 << qint64(0) << 0xA50026u;
        QTest::newRow("NaN") << std::nan("") << qint64(0) << 0x98D957u;
        QTest::newRow("row 24") << 0.6 << qint64(24) << 0x746959u;
        QTest::newRow("black scheme") << 0.6 << qint64(20) << 0x000000u;
        QTest::newRow("row out of range reads row 0") << 0.6 << qint64(25) << 0xEF6A32u;
    }

    void colors()
    {
        QFETCH(double, ratio);
        QFETCH(qint64, row);
        QFETCH(quint32, color);
        TestContainer c;
        auto shared = c.open();
        shared->userPref().setValue(Keys::PREF_THEME_COLOR, row);
        QCOMPARE(ColorScheme::colorForRatio(*shared, ratio), color);
    }

    void colorComponents()
    {
        QCOMPARE(DisplayFormat::colorWithHex(0xFF8000), (RgbColor{1.0, 128 / 255.0, 0.0}));
        QCOMPARE(DisplayFormat::brightColorWithHex(0x000000), (RgbColor{0.5, 0.5, 0.5}));
        const RgbColor bright = DisplayFormat::brightColorWithHex(0xE67333); // brightness 0.902
        QVERIFY(qFuzzyCompare(bright.red, 0xE6 / 255.0 * 1.1));
        // Hue and saturation stay: the components keep their proportions to the largest.
        QVERIFY(qFuzzyCompare(bright.green / bright.red, double(0x73) / 0xE6));
        QVERIFY(qFuzzyCompare(bright.blue / bright.red, double(0x33) / 0xE6));
        QCOMPARE(DisplayFormat::brightColorWithHex(0xFFFFFF), (RgbColor{1.0, 1.0, 1.0}));
    }

    void texts_data()
    {
        QTest::addColumn<QString>("twoDecimal"); // DataCap::stringTwoDecimal(value)
        QTest::addColumn<double>("value");
        QTest::addColumn<QString>("bytes"); // DisplayFormat::getDataBytesStr(value)
        QTest::newRow("1.5") << "1.5" << 1.5 << "0.0 KB";
        QTest::newRow("0.1234") << "0.123" << 0.1234 << "0.0 KB";
        QTest::newRow("tie to even") << "0.062" << 0.0625 << "0.0 KB";
        QTest::newRow("negative zero") << "0" << -0.0 << "0.0 KB";
        QTest::newRow("no grouping") << "1234567" << 1234567.0 << "1.2 MB";
        QTest::newRow("just under a KB") << "999999" << 999999.0 << "976.6 KB";
        QTest::newRow("decimal MB threshold") << "999000000" << 999000000.0 << "952.7 MB";
        QTest::newRow("decimal GB threshold") << "1000000000" << 1e9 << "0.93 GB";
        QTest::newRow("1 GiB") << "1073741824" << GB << "1.00 GB";
        QTest::newRow("12.3 GiB") << "13207024435.2" << 12.3 * GB << "12.30 GB";
        QTest::newRow("123.4 GiB") << "132499741081.6" << 123.4 * GB << "123.4 GB";
        QTest::newRow("negative") << "-2000" << -2000.0 << "0.0 KB";
    }

    void texts()
    {
        QFETCH(QString, twoDecimal);
        QFETCH(double, value);
        QFETCH(QString, bytes);
        QCOMPARE(DataCap::stringTwoDecimal(value), twoDecimal);
        QCOMPARE(DisplayFormat::getDataBytesStr(value), bytes);
    }

    // What the command line's setup reads. The amounts the screens take (1,5 GB, the smallest cap,
    // zero, nothing) are in tst_settingsscreens::amounts and tst_planmanagement::amountEntry.
    void amountEntry()
    {
        using A = AmountEntry::Unit;
        for (const auto &[text, unit, capBytes, rolloverBytes] :
             QList<std::tuple<QString, A, double, double>>{
                 {"0.0009", A::MB, -1, 943}, // below the smallest cap
                 {"-1", A::GB, -1, -1},
                 {"inf", A::GB, -1, -1},
                 {"12a", A::MB, -1, -1}}) { // -1: refused
            const auto cap = AmountEntry::capAmount(text, unit);
            const auto rollover = AmountEntry::rolloverAmount(text, unit);
            QCOMPARE(cap ? cap->bytes : -1.0, capBytes);
            QCOMPARE(rollover ? rollover->bytes : -1.0, rolloverBytes);
        }
    }
};

QTEST_GUILESS_MAIN(TestDataCap)
#include "tst_datacap.moc"
