// The settings screens' controllers on a real container: the rows each shows, in order, and the
// keys each writes. The background row also against a stand-in of the user's service manager on a
// private session bus (run by tests/e2e/session.py).
#include "core/settingskeys.h"
#include "core/storecontext.h"
#include "history/exportcontroller.h"
#include "platform/dbus/systemdusermanager.h"
#include "screens/advancedcontrollers.h"
#include "screens/desktopshell.h"
#include "screens/planeditors.h"
#include "screens/planpickers.h"
#include "services/usagemonitor.h"
#include "testsupport.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QProcess>
#include <QSignalSpy>
#include <QTest>

#include <cmath>

namespace {

struct Plans
{
    Plans() : shared(container.open()), monitor(*shared)
    {
        monitor.plans().setUpNewInstall();
        plan = shared->activePlanID();
    }
    ~Plans()
    {
        if (auto context = shared->activeStore())
            context->performAndWait([] {});
    }
    QVariant get(const char *key) const { return shared->getForPlan(plan, QString::fromLatin1(key)); }
    void set(const char *key, const QVariant &value)
    {
        shared->setForPlan(plan, QString::fromLatin1(key), value);
    }
    SettingsDomain &pref() { return shared->userPref(); }

    TestContainer container; // now: 10 March 2026, 14:25
    std::unique_ptr<SharedCode> shared;
    UsageMonitor monitor;
    QString plan;
};

QStringList titles(const MenuController &c)
{
    QStringList t;
    for (const MenuController::Row &r : c.menuRows())
        t.append(r.title);
    return t;
}

QList<int> checked(const MenuController &c)
{
    QList<int> rows;
    for (size_t i = 0; i < c.menuRows().size(); ++i) {
        if (c.menuRows()[i].on)
            rows.append(int(i));
    }
    return rows;
}

struct FakeShell : DesktopShell
{
    bool openUrl(const QUrl &url) override
    {
        opened.append(url);
        return true;
    }
    bool showFile(const QString &path) override
    {
        shown.append(path);
        return false;
    }
    void copyImage(const QImage &image) override { copied = image; }
    QString picturesFolder() override { return folder; }
    QList<QUrl> opened;
    QStringList shown;
    QImage copied;
    QString folder;
};

struct FakeMail : MailComposer
{
    bool canSendMail() override { return true; }
    bool compose(const QString &subject, const QString &body, const QString &file,
                 const QString &name) override
    {
        sent = {subject, body, file, name};
        return true;
    }
    QStringList sent;
};

struct FakeServices : UserServiceManager
{
    State backgroundRefresh() override { return state; }
    bool enableBackgroundRefresh(QString *) override { return false; }
    State state;
};

// A wheel: its rows, and the row chosen with the value it stores.
struct Wheel
{
    const char *key;
    int rows;
    const char *first;
    int chosen, stored;
};

// An amount typed on the cap's or the rollover's screen, and whether it is kept: the bytes, and the
// text and unit shown for it.
struct Amount
{
    bool rollover;
    const char *typed;
    int unit;
    bool stored;
    double bytes;
    const char *shown;
};

// A plan type chosen: the type before, an N stored before with an anchor (0: neither), the row
// tapped; then the type, N, anchor and week start stored, the rows shown and the one checked.
struct PlanType
{
    int from, n, tap, type, nAfter;
    QDate anchor;
    int weekStart;
    QStringList rows;
    int checkedRow;
};

} // namespace

Q_DECLARE_METATYPE(Wheel)
Q_DECLARE_METATYPE(Amount)
Q_DECLARE_METATYPE(PlanType)

class TestSettingsScreens : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { qputenv("TZ", "UTC"); }

    // Each wheel: its rows, and what choosing a row stores; rows off the wheel store nothing.
    void wheels_data()
    {
        QTest::addColumn<Wheel>("w");
        QTest::newRow("bill day 31") << Wheel{"PREF_BILLDAY", 31, "1", 30, 31};
        QTest::newRow("N = 180") << Wheel{"PREF_NDAYS_N", 180, "1", 179, 180};
        QTest::newRow("N = 1") << Wheel{"PREF_NDAYS_N", 180, "1", 0, 1};
        QTest::newRow("weekly from Tuesday") << Wheel{"PREF_WEEK_START", 7, "Sunday", 2, 3};
    }
    void wheels()
    {
        QFETCH(Wheel, w);
        Plans p;
        const QString key = QString::fromLatin1(w.key);
        const bool global = key == QLatin1StringView("PREF_WEEK_START");
        const std::unique_ptr<RowPickerController> c(
            global ? static_cast<RowPickerController *>(new PickerWeekController(*p.shared))
            : key == QLatin1StringView("PREF_NDAYS_N")
                ? static_cast<RowPickerController *>(new DayCountController(*p.shared, p.plan))
                : new BilldateController(*p.shared, p.plan));
        QCOMPARE((std::pair{c->rows().size(), c->rows().first()}),
                 (std::pair{qsizetype(w.rows), QString::fromLatin1(w.first)}));
        for (int row : {w.chosen, w.rows, -1}) // off the wheel at either end: nothing
            c->selectRow(row);
        QCOMPARE(c->selectedRow(), w.chosen);
        QCOMPARE((global ? p.pref().value(key) : p.get(w.key)).toInt(), w.stored);
        if (global)
            QCOMPARE(c->summary(), QStringLiteral("Every Tuesday"));
    }

    void startDate()
    {
        Plans p;
        p.set("PREF_30DAY_START", QDateTime(QDate(2026, 1, 20), QTime()));
        DatePickerController c(*p.shared, p.plan);
        QCOMPARE(c.date(), QDate(2026, 1, 20));
        QCOMPARE(c.maximumDate(), QDate(2026, 3, 10));
        // A 30-day anchor of today, stored as today's midnight.
        c.setDate(QDate(2026, 3, 10));
        QCOMPARE(p.get("PREF_30DAY_START").toDateTime(), p.shared->todayAtZeroHour());
        QVERIFY(!c.canShowNextMonth());
        c.showNextMonth();
        QCOMPARE(c.shownMonth(), 2); // March
        // Never a date after today.
        QVERIFY(!c.isSelectable(QDate(2026, 3, 11)));
        c.setDate(QDate(2026, 4, 1));
        QCOMPARE(c.date(), QDate(2026, 3, 10));
        c.moveBy(-7);
        QCOMPARE(p.get("PREF_30DAY_START").toDateTime(), QDateTime(QDate(2026, 3, 3), QTime()));
        c.showPreviousMonth();
        QCOMPARE(c.shownMonth(), 1);
        QVERIFY(c.canShowNextMonth());
    }

    void amounts_data()
    {
        QTest::addColumn<Amount>("a");
        QTest::newRow("cap 0 ignored") << Amount{false, "0", 1, false, 0, ""};
        QTest::newRow("cap empty ignored") << Amount{false, "", 0, false, 0, ""};
        QTest::newRow("cap 0.001 MB") << Amount{false, "0.001", 0, true, 1048, "0.001"};
        QTest::newRow("rollover 0") << Amount{true, "0", 0, true, 0, "0"};
        QTest::newRow("rollover 12.5 MB") << Amount{true, "12.5", 0, true, 13107200, "12.5"};
        QTest::newRow("rollover empty ignored") << Amount{true, "", 0, false, 0, ""};
    }
    void amounts()
    {
        QFETCH(Amount, a);
        Plans p;
        const char *bytesKey = a.rollover ? "PREF_ROLLOVER_AMOUNT" : "PREF_THRES_MONTHLY";
        const QVariant before = p.get(bytesKey);
        const std::unique_ptr<ByteController> c(
            a.rollover ? static_cast<ByteController *>(new RolloverAmountController(*p.shared, p.plan))
                       : new CapController(*p.shared, p.plan));
        if (!a.rollover)
            QCOMPARE(c->text(), QStringLiteral("2")); // shown from the stored cap
        c->setText(QString::fromLatin1(a.typed));
        c->setUnitIndex(a.unit);
        QCOMPARE(c->keep(), a.stored);
        if (!a.stored) {
            QCOMPARE(p.get(bytesKey), before);
            return;
        }
        QCOMPARE(
            (QVariantList{p.get(bytesKey).toDouble(),
                          p.get(a.rollover ? "PREF_ROLLOVER_DISPLAY" : "PREF_DATA_DISPLAY_CAP").toList()}),
            (QVariantList{a.bytes, QVariantList{QString::fromLatin1(a.shown), qint64(a.unit)}}));
        if (a.rollover)
            QCOMPARE(p.get("PREF_ROLLOVER_TIMESTAMP").toDateTime(), p.container.clock.now());
    }

    void label()
    {
        Plans p;
        LabelController c(*p.shared, p.plan);
        const QString before = p.get("PREF_PLAN_LABEL").toString();
        QVERIFY(!before.isEmpty() && c.text() == before);
        c.setText(QString());
        QVERIFY(!c.keep() && p.get("PREF_PLAN_LABEL").toString() == before);
        c.setText(QStringLiteral("Work SIM"));
        QVERIFY(c.keep() && p.get("PREF_PLAN_LABEL").toString() == QStringLiteral("Work SIM"));
    }

    // Each plan type's layout after a choice, and what the choice stores: N Days the first time is
    // N = 30 from today, and keeps an N and anchor set before; in the early layout 30 and 28 Days get
    // an anchor, Weekly a start day, and the screen goes back.
    void planType_data()
    {
        QTest::addColumn<PlanType>("t");
        const QDate today(2026, 3, 10), set(2026, 1, 5);
        const QStringList current{"Monthly", "N Days"}, nDays = current + QStringList{"N"};
        const QStringList legacy{"Monthly", "30 Days", "28 Days", "Weekly"};
        QTest::newRow("N days, first time") << PlanType{0, 0, 1, 4, 30, today, 0, nDays, 1};
        QTest::newRow("N days, N set") << PlanType{0, 12, 1, 4, 12, set, 0, nDays, 1};
        QTest::newRow("monthly") << PlanType{4, 12, 0, 0, 12, set, 0, current, 0};
        QTest::newRow("N opens its wheel") << PlanType{4, 45, 2, 4, 45, set, 0, nDays, 1};
        QTest::newRow("early: 30 days") << PlanType{2, 0, 1, 1, 0, today, 0, legacy, 1};
        QTest::newRow("early: 28 days") << PlanType{1, 0, 2, 3, 0, today, 0, legacy, 2};
        QTest::newRow("early: weekly") << PlanType{3, 12, 3, 2, 12, set, 1, legacy, 3};
        QTest::newRow("early: monthly") << PlanType{2, 0, 0, 0, 0, QDate(), 0, legacy, 0};
    }
    void planType()
    {
        QFETCH(PlanType, t);
        Plans p;
        p.set("PREF_BILLTYPE", qint64(t.from));
        if (t.n) {
            p.set("PREF_NDAYS_N", qint64(t.n));
            p.set("PREF_30DAY_START", QDateTime(QDate(2026, 1, 5), QTime()));
        }
        p.pref().setValue(Keys::PREF_WEEK_START, qint64(0));
        PlantypeController c(*p.shared, p.plan);
        QCOMPARE(c.legacyLayout(), t.from >= 1 && t.from <= 3);
        QSignalSpy back(&c, &MenuController::goBack);
        QSignalSpy open(&c, &MenuController::open);
        c.tapRow(t.tap);
        QCOMPARE((QVariantList{p.get("PREF_BILLTYPE").toInt(), p.get("PREF_NDAYS_N").toInt(),
                               p.get("PREF_30DAY_START").toDateTime(),
                               p.pref().integerForKey(Keys::PREF_WEEK_START)}),
                 (QVariantList{t.type, t.nAfter, t.anchor.startOfDay(), qint64(t.weekStart)}));
        QCOMPARE(titles(c), t.rows);
        QCOMPARE(checked(c), QList<int>{t.checkedRow});
        QCOMPARE(back.size(), c.legacyLayout() ? 1 : 0);
        if (t.rows.size() == 3)
            QCOMPARE(c.menuRows()[2].detail, QString::number(t.nAfter));
        QCOMPARE(open.size(), t.tap == 2 && !c.legacyLayout() ? 1 : 0);
        if (!open.isEmpty())
            QCOMPARE(open[0][0].value<Navigator::Screen>(), Navigator::DayCount);
    }

    void rolloverAndTethering()
    {
        Plans p;
        // Last period (February) used 500 MB of the 2 GB cap.
        auto context = p.monitor.plans().storeForPlan(p.plan);
        onQueue(*context, [&] {
            context->insertEvent({QDateTime(QDate(2026, 2, 14), QTime(9, 0)), 500 * 1048576.0, 0, 0, 0});
            return context->save();
        });
        RolloverController r(p.monitor, p.plan);
        QCOMPARE(titles(r), QStringList{"Rollover Data"});
        QSignalSpy computed(&r, &RolloverController::rolloverComputed);
        r.setSwitch(0, true);
        QVERIFY(p.get("PREF_ROLLOVER_ON").toBool());
        QVERIFY(computed.wait());
        QCOMPARE(p.get("PREF_ROLLOVER_AMOUNT").toDouble(), 1548 * 1048576.0);
        QCOMPARE(titles(r), (QStringList{"Rollover Data", "Rollover Amount"}));
        QVERIFY(r.menuRows()[1].detail == QStringLiteral("1548 MB") &&
                r.menuRows()[1].opens == Navigator::RolloverAmount);
        r.setSwitch(0, false);
        QVERIFY(!p.get("PREF_ROLLOVER_ON").toBool());
        QCOMPARE(p.get("PREF_ROLLOVER_AMOUNT").toDouble(), 1548 * 1048576.0); // kept, unused
        QCOMPARE(titles(r), QStringList{"Rollover Data"});

        TetheringController t(*p.shared, p.plan);
        QCOMPARE(checked(t), QList<int>{});
        t.setSwitch(0, true);
        QVERIFY(p.shared->isTrackTetherForPlan(p.plan) && checked(t) == QList<int>{0});
    }

    void advanced()
    {
        Plans p;
        // The background row against a real manager: backgroundRefreshThroughSystemd. One that
        // cannot be used: the row is off, with why below it.
        FakeServices services;
        ResetController c(p.monitor, &services);
        QVERIFY(c.menuRows()[0].enabled);
        services.state = {false, QStringLiteral("no manager here")};
        c.aboutToShow();
        QVERIFY(!c.menuRows()[0].enabled && c.footer(0) == QStringLiteral("no manager here"));

        c.setSwitch(ResetController::BadgeRow, true);
        QVERIFY(p.pref().boolForKey(Keys::PREF_V7_BADGE));
        // Map Usage off leaves the map's hint; on, the hint has been followed and goes.
        const auto mapSwitched = [&](bool on) {
            c.setSwitch(ResetController::MapRow, on);
            return QList<bool>{p.pref().boolForKey(Keys::PREF_V7_GEO),
                               p.pref().boolForKey(Keys::PREF_GEO_HIDE_HINT)};
        };
        QCOMPARE(mapSwitched(false), (QList<bool>{false, false}));
        QCOMPARE(mapSwitched(true), (QList<bool>{true, true}));
        QCOMPARE(mapSwitched(false), (QList<bool>{false, true}));
        QCOMPARE(checked(c), QList<int>{ResetController::BadgeRow});

        // Reset asks first, its first answer destructive; only that answer resets (the reset itself:
        // tst_screens' keyboard walk) and goes back.
        QSignalSpy asked(&c, &MenuController::ask), back(&c, &MenuController::goBack);
        c.answer(0); // nothing was asked
        c.tapRow(ResetController::ResetRow);
        QCOMPARE(
            asked.value(0).value(0).toMap().value("actions").toList().value(0).toMap().value("style").toInt(),
            int(AlertAction::Destructive));
        c.answer(1);
        QCOMPARE(back.size(), 0);
        c.tapRow(ResetController::ResetRow);
        c.answer(0);
        QCOMPARE(back.size(), 1);

        QSignalSpy open(&c, &MenuController::open);
        c.tapRow(ResetController::AddRow);
        QCOMPARE(open.value(0).value(0).value<Navigator::Screen>(), Navigator::AddUsage);
    }

    void aboutAndShare()
    {
        FakeShell shell;
        AboutController about(&shell);
        for (int row = 0; row < 3; ++row)
            about.tapRow(row);
        QCOMPARE(shell.opened, (QList<QUrl>{WebPages::support(), WebPages::moreApps(), WebPages::product()}));
        AboutController nowhere(nullptr);
        QVERIFY(!nowhere.menuRows()[0].enabled);

        // The status bar's 20 points go, at the screen's scale.
        QImage screen(100, 200, QImage::Format_RGB32);
        screen.fill(Qt::red);
        std::fill_n(reinterpret_cast<QRgb *>(screen.bits()), 100 * 40, qRgb(0, 0, 255)); // the top 40 rows
        const QImage cut = ShareController::withoutStatusBar(screen, 2);
        QVERIFY(cut.size() == QSize(100, 160) && cut.pixel(0, 0) == qRgb(255, 0, 0));
        QCOMPARE(ShareController::withoutStatusBar(screen, 1).pixel(0, 0), qRgb(0, 0, 255));

        QTemporaryDir pictures;
        shell.folder = pictures.filePath(QStringLiteral("Pictures"));
        FakeMail mail;
        ShareController share(screen, 2, shell.folder, &shell, &mail,
                              QDateTime(QDate(2026, 3, 10), QTime(14, 25, 7)));
        QCOMPARE(share.path(), shell.folder + QStringLiteral("/Tallymo 2026-03-10 14.25.07.png"));
        QCOMPARE(QImage(share.path()).size(), QSize(100, 160));
        share.tapRow(0);
        QCOMPARE(shell.copied.size(), QSize(100, 160));
        share.tapRow(1);
        QCOMPARE(mail.sent.mid(1, 2), (QStringList{ShareController::shareText(), share.path()}));
        QSignalSpy said(&share, &MenuController::message);
        share.tapRow(2);
        QVERIFY(shell.shown == QStringList{share.path()} &&
                said.size() == 1); // the file manager did not answer

        ShareController nothing(QImage(), 1, shell.folder, &shell, &mail, QDateTime::currentDateTime());
        QVERIFY(!nothing.error().isEmpty() && !nothing.menuRows()[0].enabled);
    }

    // The background row against a stand-in of systemd's user manager on a private session bus.
    void backgroundRefreshThroughSystemd()
    {
        QDBusConnection bus = QDBusConnection::sessionBus();
        if (!bus.isConnected())
            QSKIP("no session bus: run through tests/e2e/session.py");
        Plans p;
        {
            // No manager on the bus: Off, and why.
            const UserServiceManager::State s = SystemdUserManager(bus).backgroundRefresh();
            QVERIFY2(!s.on && s.problem.contains(QStringLiteral("systemd --user")), qPrintable(s.problem));
        }
        QProcess mock;
        mock.start(QStringLiteral("/usr/bin/python3"),
                   {QStringLiteral("-m"), QStringLiteral("dbusmock"), QStringLiteral("--session"),
                    QStringLiteral("org.freedesktop.systemd1"), QStringLiteral("/org/freedesktop/systemd1"),
                    QStringLiteral("org.freedesktop.systemd1.Manager")});
        QVERIFY(mock.waitForStarted()); // on a failure, killed with the QProcess
        QTRY_VERIFY(bus.interface()->isServiceRegistered(QStringLiteral("org.freedesktop.systemd1")));
        auto addMethod = [&](const char *name, const char *in, const char *out, const char *code) {
            QDBusMessage m = QDBusMessage::createMethodCall(
                QStringLiteral("org.freedesktop.systemd1"), QStringLiteral("/org/freedesktop/systemd1"),
                QStringLiteral("org.freedesktop.DBus.Mock"), QStringLiteral("AddMethod"));
            m.setArguments({QStringLiteral("org.freedesktop.systemd1.Manager"), name, in, out, code});
            QCOMPARE(bus.call(m).type(), QDBusMessage::ReplyMessage);
        };
        addMethod("GetUnitFileState", "s", "s",
                  "if args[0] not in ('tallymo.service', 'tallymo-refresh.timer'):\n"
                  "    raise dbus.exceptions.DBusException('no such unit', "
                  "name='org.freedesktop.systemd1.NoSuchUnit')\n"
                  "ret = 'enabled' if args[0] in getattr(self, 'enabled', set()) else 'disabled'");
        addMethod("EnableUnitFiles", "asbb", "ba(sss)",
                  "self.enabled = getattr(self, 'enabled', set()) | set(args[0])\nret = (True, [])");
        addMethod("Reload", "", "", "");
        addMethod("StartUnit", "ss", "o", "ret = '/org/freedesktop/systemd1/job/1'");

        SystemdUserManager systemd(bus);
        ResetController c(p.monitor, &systemd);
        QVERIFY(c.menuRows()[0].detail == QStringLiteral("Off") && c.menuRows()[0].enabled);
        // Tapping while off turns the service on and says so; tapping while on does nothing.
        QSignalSpy said(&c, &MenuController::message);
        c.tapRow(0);
        QVERIFY(said.size() == 1 && c.menuRows()[0].detail == QStringLiteral("On"));
        c.tapRow(0);
        QCOMPARE(said.size(), 1);
        // The calls the mock logged on its output, beside the states asked.
        mock.terminate();
        QVERIFY(mock.waitForFinished());
        QStringList methods;
        for (const QString &line : QString::fromUtf8(mock.readAllStandardOutput()).split(u'\n')) {
            if (const QString m = line.section(u' ', 1, 1);
                !m.isEmpty() && m != QLatin1StringView("GetUnitFileState"))
                methods.append(m);
        }
        QCOMPARE(methods, (QStringList{"EnableUnitFiles", "Reload", "StartUnit"}));
    }
};

QTEST_GUILESS_MAIN(TestSettingsScreens)
#include "tst_settingsscreens.moc"
