// The main screen's render rules, the theme pickers, the setup flow and the font table, on real
// settings and stores.
#include "core/settingskeys.h"
#include "core/storecontext.h"
#include "history/exportcontroller.h"
#include "screens/donkeybounce.h"
#include "screens/fonttable.h"
#include "screens/mainscreencontroller.h"
#include "screens/navigator.h"
#include "screens/networkcontrollers.h"
#include "screens/settingscontrollers.h"
#include "screens/setupcontroller.h"
#include "screens/themecontrollers.h"
#include "screens/tiltsource.h"
#include "services/usagemonitor.h"
#include "testsupport.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QFontInfo>
#include <QGuiApplication>
#include <QScopeGuard>
#include <QSet>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <cmath>

namespace {

struct Screen
{
    explicit Screen(const QDateTime &now = QDateTime(QDate(2026, 3, 10), QTime(14, 25)))
        : container(now), shared(container.open()), monitor(*shared)
    {
        monitor.plans().setUpNewInstall();
        shared->userPref().setValue(Keys::PREF_SHOWED_SETUP, true);
    }
    ~Screen()
    {
        if (main)
            main->setMonitor(nullptr);
        if (auto c = shared->activeStore())
            c->performAndWait([] {});
    }
    // Cellular bytes in the current period, then the figures as the usage check leaves them.
    void use(double cell, double wifi = 0)
    {
        auto c = shared->activeStore();
        c->performAndWait([&] {
            c->insertEvent({container.clock.now().addSecs(-60), cell, 0, wifi, 0});
            c->save();
            monitor.figures().readCurrentValues(c.get());
        });
    }
    // The main screen over this monitor, detached again when the Screen goes.
    MainScreenController &show()
    {
        main = std::make_unique<MainScreenController>();
        main->setMonitor(&monitor);
        return *main;
    }
    TestContainer container;
    std::unique_ptr<SharedCode> shared;
    UsageMonitor monitor;
    std::unique_ptr<MainScreenController> main;
};

QString plain(QString html)
{
    return html.replace(QStringLiteral("<br>"), QStringLiteral("\n"))
        .remove(QRegularExpression(QStringLiteral("<[^>]*>")))
        .replace(QStringLiteral("&amp;"), QStringLiteral("&"));
}

// The theme's font, colour and background, and the percentage's colour and outline and whether the
// gradient behind it turns black.
struct Colours
{
    int font, color, background;
    QColor percent;
    bool outlined, blackGradient;
};

} // namespace

Q_DECLARE_METATYPE(Colours)

class TestMainScreen : public QObject
{
    Q_OBJECT

private slots:
    // The percentage: rounded half to even, read out with its sign, in a size that steps with the
    // window's width.
    void percentLabel_data()
    {
        QTest::addColumn<double>("percent");
        QTest::addColumn<QString>("shown");
        QTest::addColumn<double>("width");
        QTest::addColumn<int>("size");
        QTest::newRow("42.5") << 42.5 << "42" << 374.9 << 130;
        QTest::newRow("43.5") << 43.5 << "44" << 375.0 << 156;
        QTest::newRow("99.6") << 99.6 << "100" << 413.0 << 156;
        QTest::newRow("150") << 150.0 << "150" << 414.0 << 169;
    }
    void percentLabel()
    {
        QFETCH(double, percent);
        QFETCH(QString, shown);
        QFETCH(double, width);
        QFETCH(int, size);
        Screen s;
        s.shared->setForPlan(QString(), Keys::PREF_THRES_MONTHLY, 1073741824.0 * 100 / percent); // 1 GB used
        s.use(1073741824.0);
        MainScreenController &c = s.show();
        c.setViewWidth(width);
        QCOMPARE((QVariantList{c.percentText(), c.percentAccessible(), c.percentFont().pixelSize()}),
                 (QVariantList{shown, shown + QStringLiteral("% used"), size}));
    }

    void daysLabel_data()
    {
        QTest::addColumn<QDateTime>("now");
        QTest::addColumn<qint64>("type");
        QTest::addColumn<QString>("expected");
        // Monthly from the 11th: on 10 March the period ends 11 March, so its last day is today.
        QTest::newRow("ends tomorrow")
            << QDateTime(QDate(2026, 3, 10), QTime(14, 25)) << qint64(0) << "1 day left\nFeb 11 - Mar 10";
        QTest::newRow("daily after midnight")
            << QDateTime(QDate(2026, 3, 10), QTime(0, 0, 5)) << qint64(4) << "24 hours left";
        QTest::newRow("daily at 23:59")
            << QDateTime(QDate(2026, 3, 10), QTime(23, 59)) << qint64(4) << "1 hour left";
    }
    void daysLabel()
    {
        QFETCH(QDateTime, now);
        QFETCH(qint64, type);
        QFETCH(QString, expected);
        qputenv("LANG", "en_US.UTF-8");
        Screen s(now);
        s.shared->setForPlan(QString(), Keys::PREF_BILLDAY, qint64(11));
        s.shared->setForPlan(QString(), Keys::PREF_BILLTYPE, type);
        s.shared->setForPlan(QString(), Keys::PREF_NDAYS_N, qint64(1));
        s.shared->setForPlan(QString(), Keys::PREF_30DAY_START, QDateTime(QDate(2026, 1, 1), QTime(0, 0)));
        s.use(1000);
        QCOMPARE(plain(s.show().daysText()).replace(QStringLiteral("  "), QStringLiteral(" ")), expected);
    }

    void displays()
    {
        Screen s;
        s.use(5 * 1048576.0, 7 * 1048576.0);
        MainScreenController &c = s.show();
        const auto display = [&](MainScreenController::Display d) {
            s.shared->userPref().setValue(Keys::PREF_THEME_DISPLAY, qint64(d));
            c.updateTheme();
        };
        QVERIFY2(plain(c.cellText()).contains(QRegularExpression(QStringLiteral("5\\.0+\\s*MB"))) &&
                     !c.cellText().contains(QChar(0x25BC)) && c.forecastVisible(),
                 qPrintable(plain(c.cellText())));
        display(MainScreenController::Complete);
        QVERIFY(c.cellText().contains(QChar(0x25BC)) && c.wifiText().contains(QChar(0x25B2)));
        display(MainScreenController::Minimal);
        QVERIFY(c.cellText().isEmpty() && c.wifiText().isEmpty() && c.cellGlyph().isEmpty() &&
                !c.forecastVisible());
        QVERIFY2(
            plain(c.daysText()).contains(QRegularExpression(QStringLiteral("^5\\.0+\\s*MB\n[\\s\\S]*DAYS$"))),
            qPrintable(plain(c.daysText())));
    }

    void colours_data()
    {
        QTest::addColumn<Colours>("t");
        const QColor white(Qt::white), safe(0x98, 0xD9, 0x57); // the forecast's colour, safe
        QTest::newRow("default") << Colours{0, 0, 0, white, false, false};
        QTest::newRow("donkey") << Colours{13, 18, 0, QColor(0, 255, 255), true, false};
        QTest::newRow("snow") << Colours{14, 19, 1, white, false, false};
        // Black background: black gradient, the bright form of the forecast colour.
        const QColor bright =
            QColor::fromHsvF(safe.hsvHueF(), safe.hsvSaturationF(), std::min(1.0f, safe.valueF() * 1.1f));
        QTest::newRow("black") << Colours{0, 0, 1, bright, false, true};
        QTest::newRow("palette 20") << Colours{0, 20, 0, white, false, true};
    }
    void colours()
    {
        QFETCH(Colours, t);
        Screen s;
        s.use(1000);
        SettingsDomain &pref = s.shared->userPref();
        pref.setValue(Keys::PREF_THEME_FONT, qint64(t.font));
        pref.setValue(Keys::PREF_THEME_COLOR, qint64(t.color));
        pref.setValue(Keys::PREF_THEME_BACKGROUND, qint64(t.background));
        MainScreenController &c = s.show();
        c.becameVisible();
        QCOMPARE((QVariantList{c.percentColor().rgb(), c.percentOutlined(),
                               c.gradientColors().at(7).value<QColor>().rgb() == QColor(Qt::black).rgb()}),
                 (QVariantList{t.percent.rgb(), t.outlined, t.blackGradient}));
    }

    void swipes_data()
    {
        QTest::addColumn<double>("dx");
        QTest::addColumn<double>("dy");
        QTest::addColumn<int>("history");
        QTest::addColumn<int>("settings");
        QTest::newRow("up 10") << 0.0 << -10.0 << 0 << 0;
        QTest::newRow("up 11") << 0.0 << -11.0 << 1 << 0;
        QTest::newRow("down") << 0.0 << -11.0 * -1 << 0 << 0;
        QTest::newRow("up 45 degrees") << -20.0 << -20.0 << 0 << 0;
        QTest::newRow("up steep") << 5.0 << -20.0 << 1 << 0;
        QTest::newRow("left 10") << -10.0 << 0.0 << 0 << 0;
        QTest::newRow("left 11") << -11.0 << 0.0 << 0 << 1;
        QTest::newRow("right") << 30.0 << 0.0 << 0 << 0;
        QTest::newRow("left shallow") << -30.0 << 5.0 << 0 << 1;
    }
    void swipes()
    {
        QFETCH(double, dx);
        QFETCH(double, dy);
        QFETCH(int, history);
        QFETCH(int, settings);
        Screen s;
        MainScreenController &c = s.show();
        QSignalSpy more(&c, &MainScreenController::showMoreRequested);
        QSignalSpy settingsSpy(&c, &MainScreenController::showSettingsRequested);
        c.handlePan(dx, dy);
        c.handlePan(dx, dy); // when a screen came up, the rest of the drag does nothing
        QCOMPARE((QList<qsizetype>{more.size(), settingsSpy.size()}), (QList<qsizetype>{history, settings}));
    }

    void noRenderWithoutPeriod()
    {
        Screen s;
        MainScreenController c;
        QSignalSpy rendered(&c, &MainScreenController::rendered);
        c.setMonitor(&s.monitor); // no figures read yet: no dates
        QVERIFY(rendered.isEmpty() && c.lastRecord().isEmpty());
        s.use(100);
        c.reloadValues();
        QVERIFY(rendered.size() == 1 && c.lastRecord().size() == 5);
        c.setMonitor(nullptr);
    }

    void pickersStoreTheirValues()
    {
        Screen s;
        SettingsDomain &pref = s.shared->userPref();
        FontController fonts(*s.shared);
        QSignalSpy back(&fonts, &PickerController::goBack);
        fonts.choose(15); // DONKEY Bounce brings its colours
        QVERIFY(back.size() == 1 && pref.integerForKey(Keys::PREF_THEME_COLOR) == 18);
        fonts.choose(3); // another font leaves the colour
        QCOMPARE(pref.integerForKey(Keys::PREF_THEME_COLOR), 18);
        DisplayController display(*s.shared);
        display.choose(2);
        QVERIFY(pref.integerForKey(Keys::PREF_THEME_DISPLAY) == 2 && display.checkedRow() == 2);
    }

    void settingsRoot()
    {
        Screen s;
        s.shared->setForPlan(QString(), Keys::PREF_PLAN_LABEL, QStringLiteral("Phone"));
        // The data plan row names the active plan; every row opens a screen the navigator makes.
        SettingsController c(*s.shared);
        QCOMPARE(c.menuRows()[0].detail, QStringLiteral("Phone"));
        Navigator navigator(s.monitor, {});
        for (const MenuController::Row &r : c.menuRows())
            QVERIFY2(std::unique_ptr<QObject>(navigator.create(r.opens)), qPrintable(r.title));
        s.shared->setForPlan(QString(), Keys::PREF_PLAN_LABEL, QStringLiteral("Travel"));
        c.aboutToShow();
        QCOMPARE(c.menuRows()[0].detail, QStringLiteral("Travel"));
    }

    // The networks: counted ones first (the connections up now before the bare links), then those
    // never counted, then the choices for networks not connected now; a choice is in the file at once,
    // follows the connection, and the list says what it gives.
    void networksScreens()
    {
        Screen s;
        FakeInterfaces &links = s.container.interfaces;
        for (const char *name : {"lo", "eth0", "tun0", "usb0", "wlan0"})
            links.counters->append({QString::fromLatin1(name)});
        links.kinds = {{QStringLiteral("lo"), LinkKind::Loopback},
                       {QStringLiteral("eth0"), LinkKind::Ethernet},
                       {QStringLiteral("usb0"), LinkKind::UsbTethering},
                       {QStringLiteral("wlan0"), LinkKind::WiFi}};
        links.managed =
            QList<ManagedLink>{{QStringLiteral("wlan0"), QStringLiteral("Pixel"), QStringLiteral("u-7"), 3}};
        s.shared->userPref().setValue(
            Keys::PREF_NETWORK_CHOICES,
            QVariantMap{{QStringLiteral("u-9"),
                         LinkClassifier::storedChoice(LinkChoice::Mobile, QStringLiteral("Van"))}});
        // The first-run setup says which connection counts as mobile data now.
        QVERIFY(SetupController(s.monitor).intro().contains(QStringLiteral("mobile data now (usb0, Pixel)")));
        // So does the main screen, under the figures.
        s.use(0);
        QCOMPARE(s.show().mobileDataText(), QStringLiteral("On mobile data: usb0, Pixel"));
        NetworksController list(*s.shared);
        const auto shown = [&list] {
            QStringList rows;
            for (const MenuController::Row &r : list.menuRows())
                rows.append(QStringLiteral("%1 %2: %3").arg(r.section).arg(r.title, r.detail));
            return rows;
        };
        QCOMPARE(shown(), (QStringList{"0 Pixel: Mobile Data", "0 usb0: Mobile Data", "0 eth0: Wi-Fi & Wired",
                                       "1 tun0: Not Counted", "2 Van: Mobile Data"}));
        QSignalSpy openFor(&list, &MenuController::openFor);
        list.tapRow(0);
        QCOMPARE(openFor.at(0).at(1).toString(), QStringLiteral("u-7"));

        NetworkChoiceController choice(*s.shared, QStringLiteral("u-7"));
        QCOMPARE(choice.title(), QStringLiteral("Pixel"));
        QVERIFY(choice.menuRows()[0].detail == QStringLiteral("Mobile Data") &&
                choice.menuRows()[0].on); // automatic
        const auto onDisk = [&s] {
            return SettingsDomain(s.shared->userPref().filePath())
                .dictionaryForKey(Keys::PREF_NETWORK_CHOICES);
        };
        choice.tapRow(2); // Wi-Fi & wired
        QVERIFY(choice.menuRows()[2].on && !choice.menuRows()[0].on);
        QCOMPARE(LinkClassifier::choiceOf(onDisk().value(QStringLiteral("u-7"))), LinkChoice::Other);
        links.managed =
            QList<ManagedLink>{{QStringLiteral("wlan0"), QStringLiteral("Travel"), QStringLiteral("u-7"), 3}};
        list.aboutToShow();
        QCOMPARE(shown().at(1), QStringLiteral("0 Travel: Wi-Fi & Wired"));
        choice.tapRow(0); // back to automatic: the choice is gone
        QVERIFY(!onDisk().contains(QStringLiteral("u-7")));
        QVERIFY(NetworkChoiceController(*s.shared, QStringLiteral("u-9")).menuRows()[1].on);
    }

    void exportScreen()
    {
        QTemporaryDir data;
        const QByteArray home = qgetenv("HOME");
        const auto restore = qScopeGuard([&] {
            qunsetenv("XDG_DATA_HOME");
            qputenv("HOME", home);
        });
        qputenv("XDG_DATA_HOME", QFile::encodeName(data.path()));
        qputenv("HOME", QFile::encodeName(data.path()));
        Screen s;
        Navigator navigator(s.monitor, {}); // no mail program: the file is saved in the documents
        std::unique_ptr<QObject> made(navigator.create(Navigator::Export));
        auto *e = qobject_cast<ExportController *>(made.get());
        QVERIFY(e);
        QSignalSpy leave(e, &ExportController::leave), alert(e, &ExportController::alert),
            exported(e, &ExportController::exported);
        e->tapRow(0); // nothing stored yet
        QCOMPARE(e->runningRow(), 0);
        e->tapRow(1); // ignored while one runs
        QVERIFY(alert.wait(5000));
        QVERIFY(leave.size() == 1 && e->runningRow() == -1);

        s.use(1000, 2000);
        e->tapRow(1);
        QVERIFY(exported.wait(5000));
        QCOMPARE(leave.size(), 2);
        const QString path = exported.at(0).at(0).toString();
        QVERIFY2(path.startsWith(data.filePath(QStringLiteral("Documents/Tallymo export "))),
                 qPrintable(path));
        QFile file(path); // the active plan's usage
        QVERIFY(file.open(QIODevice::ReadOnly) && file.readAll().contains(",1000,0,2000,0]"));

        // With a mail program the screen asks: Email, Save… or Cancel. Saved to the chosen file,
        // nothing is mailed; a place that is not on this computer is refused.
        struct Mail : MailComposer
        {
            bool canSendMail() override { return true; }
            bool compose(const QString &, const QString &, const QString &file, const QString &) override
            {
                mailed.append(file);
                return true;
            }
            QStringList mailed;
        } mail;
        e->setMail(&mail);
        QSignalSpy asked(e, &ExportController::destinationAsked);
        e->tapRow(1);
        QVERIFY(asked.size() == 1 && e->runningRow() == -1);
        QCOMPARE(asked.at(0).at(1).toMap().value(QStringLiteral("actions")).toList().size(), 3);
        QVERIFY(e->suggestedFile().toLocalFile().startsWith(data.filePath(QStringLiteral("Documents/"))));
        e->saveRow(1, QUrl(QStringLiteral("sftp://host/usage.json")));
        QCOMPARE(alert.size(), 2);
        const QString chosen = data.filePath(QStringLiteral("chosen/usage.json"));
        QDir().mkpath(QFileInfo(chosen).path());
        e->saveRow(1, QUrl::fromLocalFile(chosen));
        QVERIFY(exported.wait(5000));
        QVERIFY(exported.last().at(0).toString() == chosen && QFile(chosen).size() > 0 &&
                mail.mailed.isEmpty());
        e->mailRow(1);
        QVERIFY(exported.wait(5000));
        QCOMPARE(mail.mailed.size(), 1);
    }

    void fontsResolveToTheirFamilies()
    {
        // A family more than one foundry provides is named with its foundry: "Nimbus Sans [urw]".
        const auto drawnIn = [](const QFont &font) {
            return QFontInfo(font).family().remove(QRegularExpression(QStringLiteral("\\s*\\[.*\\]$")));
        };
        // The picker names the family each row is drawn in, and no two rows alike.
        int count = 0;
        const FontTable::PickerRow *rows = FontTable::pickerRows(&count);
        QSet<QString> names;
        for (int i = 0; i < count; ++i) {
            const QString name = FontTable::pickerName(rows[i].fontRow);
            const QString drawn = drawnIn(FontTable::pickerFont(rows[i].fontRow));
            QVERIFY2(name.contains(drawn), qPrintable(name + QStringLiteral(" is drawn in ") + drawn));
            names.insert(name);
        }
        QCOMPARE(names.size(), count);
        for (int at = 0; at < FontTable::kRows * FontTable::kRoles; ++at) {
            const FontTable::Entry *e = FontTable::entry(at / FontTable::kRoles, at % FontTable::kRoles);
            const QString drawn = drawnIn(FontTable::fontOf(*e));
            QVERIFY2(drawn == FontTable::familyOf(*e),
                     qPrintable(QStringLiteral("%1 is drawn in %2 (is its package installed?)")
                                    .arg(FontTable::familyOf(*e), drawn)));
        }
    }

    // The tilt from the gravity's y and z: -1 upright (or face down), 0 at 45 degrees, 1 flat; the
    // background moves against it by a fifth of the height, once the app is active.
    void parallaxFollowsTiltAgainstIt()
    {
        const double tilt[][3] = {{9.81, 0, -1}, {6.9367, 6.9367, 0}, {0, 9.81, 1}, {0, -9.81, -1}};
        for (const auto &[y, z, expected] : tilt)
            QVERIFY2(std::abs(TiltSource::tiltFor(y, z) - expected) < 1e-4, qPrintable(QString::number(z)));
        Screen s;
        MainScreenController &c = s.show();
        c.setViewHeight(720);
        QCOMPARE(c.parallaxOffset(-1), 0.0); // not active yet
        s.monitor.setApplicationState(UsageMonitor::Active);
        c.applicationStateChanged();
        QCOMPARE((QList<double>{c.parallaxOffset(-1), c.parallaxOffset(1)}), (QList<double>{144.0, -144.0}));
        // Qt's stand-in backends never count as the device's sensor.
        QVERIFY(!TiltSource::deviceAccelerometer().startsWith("dummy."));
    }

    void donkeyBouncesElastically()
    {
        DonkeyBounce d;
        d.fix(3, 45);
        d.start(300, 600, 50, 95);
        QCOMPARE((QList<double>{d.x(), d.y(), std::hypot(d.vx(), d.vy())}),
                 (QList<double>{300 + 200 - 50.0, 600 + 200 - 50.0, 900.0}));
        for (int i = 0; i < 600; ++i) {
            d.step(1.0 / 60);
            QVERIFY(d.x() >= 25 && d.x() <= d.boxWidth() - 25 && d.y() >= 25 && d.y() <= d.boxHeight() - 25);
        }
        QCOMPARE(std::hypot(d.vx(), d.vy()), 900.0); // no friction, no drag
    }
};

int main(int argc, char **argv)
{
    QGuiApplication app(argc, argv);
    TestMainScreen test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_mainscreen.moc"
