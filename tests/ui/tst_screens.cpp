// The app's window headless (offscreen), on a real container: the QML loads without a warning, the
// named items hold the controller's texts, and the first-run setup and the swipes work by input.
#include "app/datausageappdelegate.h"
#include "core/settingskeys.h"
#include "core/storecontext.h"
#include "testsupport.h"
#include "ui/newuicontroller.h"
#include "ui/screens.h"

#include <QGuiApplication>
#include <QQmlApplicationEngine>
#include <QQmlExtensionPlugin>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTest>

#include <cmath>

Q_IMPORT_QML_PLUGIN(TallymoPlugin)

namespace {

QStringList g_warnings;
QtMessageHandler g_previous = nullptr;

void collect(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    if (type != QtDebugMsg && type != QtInfoMsg && !message.startsWith(QLatin1StringView("QStandardPaths:")))
        g_warnings.append(message);
    g_previous(type, context, message);
}

struct App
{
    explicit App(bool setUp) : shared(container.open()), delegate(*shared)
    {
        delegate.setupUserDefaultsForNewInstall();
        delegate.presentHistory = [](const QString &, QObject *, bool) {};
        shared->userPref().setValue(Keys::PREF_SHOWED_SETUP, setUp);
        if (auto c = shared->mocForActive()) {
            c->performAndWait([&] {
                c->insertEvent({container.clock.now().addSecs(-600), 50 * 1048576.0, 0, 70 * 1048576.0, 0});
                c->save();
                delegate.readCurrentValues(c.get());
            });
        }
        screens = std::make_unique<Screens>(delegate, Screens::Platform{});
        screens->main()->setStillFrames(true);
        engine.addImportPath(QStringLiteral("qrc:/qt/qml"));
        engine.setInitialProperties({{QStringLiteral("screens"), QVariant::fromValue(screens.get())}});
        engine.load(QUrl(QStringLiteral("qrc:/qt/qml/Tallymo/Main.qml")));
        window = qobject_cast<QQuickWindow *>(engine.rootObjects().value(0));
        if (window) {
            window->resize(360, 720);
            (void)QTest::qWaitForWindowExposed(window);
            screens->main()->viewDidAppear();
        }
    }
    ~App()
    {
        if (auto c = shared->mocForActive())
            c->performAndWait([] {});
    }
    // The item of that name, the visible one where a hidden screen has one too.
    QQuickItem *item(const char *name) const
    {
        if (!window)
            return nullptr;
        QList<QQuickItem *> all;
        std::function<void(QQuickItem *)> walk = [&](QQuickItem *i) { // the visual tree: Repeater rows too
            if (i->objectName() == QLatin1StringView(name))
                all.append(i);
            for (QQuickItem *child : i->childItems())
                walk(child);
        };
        walk(window->contentItem());
        for (QQuickItem *i : all) {
            if (i->isVisible())
                return i;
        }
        return all.value(0);
    }
    bool click(const char *name)
    {
        QQuickItem *i = item(name);
        if (!i || !i->isVisible())
            return false;
        QTest::mouseClick(window, Qt::LeftButton, {},
                          i->mapToScene(QPointF(i->width() / 2, i->height() / 2)).toPoint());
        QTest::qWait(30);
        return true;
    }
    void drag(QPoint from, QPoint to)
    {
        QTest::mousePress(window, Qt::LeftButton, {}, from);
        for (int step = 1; step <= 10; ++step) {
            QTest::mouseMove(window, from + (to - from) * step / 10);
            QTest::qWait(10);
        }
        QTest::mouseRelease(window, Qt::LeftButton, {}, to);
        QTest::qWait(30);
    }
    void type(const char *text)
    {
        for (const char *c = text; *c; ++c)
            QTest::keyClick(window, *c);
    }
    int pages() const { return item("pages") ? item("pages")->property("depth").toInt() : -1; }
    // The screen on top, once any push or pop has finished.
    QQuickItem *top() const
    {
        QQuickItem *pages = item("pages");
        return pages->property("busy").toBool() ? nullptr
                                                : pages->property("currentItem").value<QQuickItem *>();
    }
    QString topName() const { return top() ? top()->objectName() : QString(); }
    void key(Qt::Key k, int times = 1)
    {
        for (int i = 0; i < times; ++i)
            QTest::keyClick(window, k);
        QTest::qWait(30);
    }
    void open(const QString &screen, const QString &argument)
    {
        const QVariant spec = QVariantList{screen, argument};
        QMetaObject::invokeMethod(window, "openScreenWith", Q_ARG(QVariant, spec), Q_ARG(QVariant, false));
    }

    TestContainer container;
    std::unique_ptr<SharedCode> shared;
    DataUsageAppDelegate delegate;
    std::unique_ptr<Screens> screens;
    QQmlApplicationEngine engine;
    QQuickWindow *window = nullptr;
};

QString plain(QString html)
{
    return html.replace(QStringLiteral("<br>"), QStringLiteral("\n"))
        .remove(QRegularExpression(QStringLiteral("<[^>]*>")));
}

} // namespace

class TestScreens : public QObject
{
    Q_OBJECT

private slots:
    void init() { g_warnings.clear(); }

    void mainScreenHoldsTheControllersTexts()
    {
        App app(true);
        QVERIFY(app.window);
        NewUIController *c = app.screens->main();
        const struct
        {
            const char *item;
            QString text;
        } labels[] = {{"lDays", c->daysText()},
                      {"lPercent", c->percentText()},
                      {"lCellUsage", c->cellText()},
                      {"lWifiUsage", c->wifiText()},
                      {"lForecast", c->forecastCaption()},
                      {"lUsedStaticText", c->usedText()}};
        for (const auto &l : labels) {
            QQuickItem *i = app.item(l.item);
            QVERIFY2(i, l.item);
            QCOMPARE(i->property("text").toString(), l.text);
            QVERIFY2(!l.text.isEmpty(), l.item);
        }
        QVERIFY(app.item("lIconForecast")
                    ->property("source")
                    .toString()
                    .endsWith(QLatin1StringView("forecast-1.svg")));
        QVERIFY(app.item("gLayer"));
        QVERIFY(plain(c->cellText()).contains(QLatin1StringView("50.0")));
        QCOMPARE(g_warnings, QStringList());
    }

    void swipesAndKeysOpenTheirScreens()
    {
        App app(true);
        QVERIFY(app.window);
        app.drag(QPoint(180, 500), QPoint(180, 380)); // up: today's hours
        QCOMPARE(app.pages(), 1);
        QVERIFY(app.item("historyPage"));
        QTest::keyClick(app.window, Qt::Key_Escape);
        QTRY_COMPARE(app.pages(), 0);
        QVERIFY(!app.screens->main()->isPresenting());

        app.drag(QPoint(300, 360), QPoint(290, 352)); // 10 points: nothing
        QCOMPARE(app.pages(), 0);
        app.drag(QPoint(300, 360), QPoint(180, 360)); // left: the settings
        QCOMPARE(app.pages(), 1);
        QVERIFY(app.item("menuPage"));
        QTest::keyClick(app.window, Qt::Key_Escape);
        QTRY_COMPARE(app.pages(), 0);

        QTest::keyClick(app.window, Qt::Key_Left);
        QCOMPARE(app.pages(), 1);
        QTest::keyClick(app.window, Qt::Key_Escape);
        QTRY_COMPARE(app.pages(), 0);
        app.screens->main()->handleShortcuts(
            QStringLiteral("SHORTCUTS_DATAPLAN")); // settings, then the plans
        QCOMPARE(app.pages(), 2);
        QVERIFY(app.item("plansPage"));
        QCOMPARE(g_warnings, QStringList());
    }

    // Every settings screen loads without a warning under its controller's title, its list showing
    // the controller's rows.
    void settingsScreensShowTheirControllers_data()
    {
        QTest::addColumn<QString>("screen");
        QTest::addColumn<QString>("argument"); // "active": the active plan
        QTest::addColumn<QString>("title");
        QTest::addColumn<int>("rows"); // rows of the screen's list; -1: no list
        QTest::newRow("plans") << "SelectPlanController"
                               << ""
                               << "Select Plan" << 1;
        QTest::newRow("plan") << "PlanController"
                              << "active"
                              << "Plan Details" << 8;
        QTest::newRow("new plan") << "PlanController"
                                  << ""
                                  << "New Plan" << 4;
        QTest::newRow("label") << "LabelController"
                               << "active"
                               << "Label" << -1;
        QTest::newRow("plan type") << "PlantypeController"
                                   << "active"
                                   << "Plan Type" << 2;
        QTest::newRow("bill day") << "BilldateController"
                                  << "active"
                                  << "Start Date" << -1;
        QTest::newRow("N") << "NDayController"
                           << "active"
                           << "N" << -1;
        QTest::newRow("weekday") << "PickerWeekController"
                                 << ""
                                 << "Start Date" << -1;
        QTest::newRow("start date") << "Picker2DateController"
                                    << "active"
                                    << "Start Date" << -1;
        QTest::newRow("cap") << "AllowController"
                             << "active"
                             << "Data Cap" << -1;
        QTest::newRow("rollover") << "RolloverController"
                                  << "active"
                                  << "Rollover Data" << 1;
        QTest::newRow("rollover amount") << "RolloverAmountController"
                                         << "active"
                                         << "Rollover Amount" << -1;
        QTest::newRow("tethering") << "TetheringController"
                                   << "active"
                                   << "Tethering" << 1;
        QTest::newRow("advanced") << "ResetController"
                                  << ""
                                  << "Advanced" << 6;
        QTest::newRow("add usage") << "AddController"
                                   << ""
                                   << "Add Usage" << -1;
        QTest::newRow("about") << "AboutController"
                               << ""
                               << "About" << 3;
        QTest::newRow("share") << "ShareScreenshot"
                               << ""
                               << "Share Screenshot" << 3;
    }
    void settingsScreensShowTheirControllers()
    {
        QFETCH(QString, screen);
        QFETCH(QString, argument);
        QFETCH(QString, title);
        QFETCH(int, rows);
        App app(true);
        QVERIFY(app.window);
        app.open(screen, argument == QLatin1StringView("active") ? app.shared->activePlanID() : argument);
        QTRY_COMPARE(app.pages(), 1);
        QTRY_VERIFY(app.top());
        QQuickItem *page = app.top();
        QVERIFY(page);
        QCOMPARE(page->property("controller").value<QObject *>()->property("title").toString(), title);
        QObject *header = page->property("header").value<QObject *>();
        QCOMPARE(header->property("title").toString(), title);
        if (rows >= 0) {
            QQuickItem *list = nullptr;
            std::function<void(QQuickItem *)> find = [&](QQuickItem *i) {
                if (i->objectName() == QLatin1StringView("rows") || i->inherits("QQuickListView"))
                    list = list ? list : i;
                for (QQuickItem *c : i->childItems())
                    find(c);
            };
            find(page);
            QVERIFY(list);
            QCOMPARE(list->property("count").toInt(), rows);
        }
        QTest::keyClick(app.window, Qt::Key_Escape);
        QTRY_COMPARE(app.pages(), 0);
        QCOMPARE(g_warnings, QStringList());
    }

    // Without a mouse: the settings by the arrow key, Advanced by Down and Enter, the reset by
    // Enter on its question.
    void resettingByKeyboard()
    {
        App app(true);
        QVERIFY(app.window);
        QCOMPARE(app.delegate.values().monthCell, 50 * 1048576.0);
        app.key(Qt::Key_Left);
        QCOMPARE(app.pages(), 1);
        QTRY_VERIFY(app.top());
        app.key(Qt::Key_Down);
        app.key(Qt::Key_Return);
        QTRY_COMPARE(app.pages(), 2);
        QTRY_COMPARE(app.topName(), QStringLiteral("menuPage"));
        app.key(Qt::Key_Down, 5);
        app.key(Qt::Key_Return);
        QTRY_VERIFY(app.item("answer0") && app.item("answer0")->isVisible());
        app.key(Qt::Key_Return); // the first answer: Reset Current Statistics
        QTRY_COMPARE(app.pages(), 1);
        QTRY_COMPARE(app.delegate.values().monthCell, 0.0);
        app.key(Qt::Key_Escape);
        QTRY_COMPARE(app.pages(), 0);
        QCOMPARE(g_warnings, QStringList());
    }

    // A new plan cancelled leaves the plans as they were; a label typed is kept on the way back.
    void plansByInput()
    {
        App app(true);
        QVERIFY(app.window);
        const QVariantMap before = app.shared->userPref().dictionaryForKey(Keys::PREF_ALL_PLANS);
        app.screens->main()->handleShortcuts(QStringLiteral("SHORTCUTS_DATAPLAN"));
        QTRY_COMPARE(app.topName(), QStringLiteral("plansPage"));
        QVERIFY(app.click("addPlanButton"));
        QTRY_COMPARE(app.topName(), QStringLiteral("planPage"));
        QCOMPARE(app.shared->userPref().dictionaryForKey(Keys::PREF_ALL_PLANS).size(), before.size() + 1);
        QVERIFY(app.click("backButton")); // Cancel
        QTRY_COMPARE(app.topName(), QStringLiteral("plansPage"));
        QCOMPARE(app.shared->userPref().dictionaryForKey(Keys::PREF_ALL_PLANS), before);

        QVERIFY(app.click("planDetails"));
        QTRY_COMPARE(app.topName(), QStringLiteral("planPage"));
        app.key(Qt::Key_Return); // Label
        QTRY_COMPARE(app.topName(), QStringLiteral("labelPage"));
        QTRY_VERIFY(app.item("labelField")->hasActiveFocus());
        app.type("Work");
        app.key(Qt::Key_Escape);
        QTRY_COMPARE(app.topName(), QStringLiteral("planPage"));
        QCOMPARE(app.shared->getForPlan(QString(), Keys::PREF_PLAN_LABEL).toString(), QStringLiteral("Work"));
        QCOMPARE(g_warnings, QStringList());
    }

    void setupByInputLeavesTheSettingsTheCommandLineLeaves()
    {
        App app(false);
        QVERIFY(app.window);
        QVERIFY(app.item("setupFlow"));
        QVERIFY(!app.item("mainScreen")->isVisible());
        QVERIFY(app.click("setupNext")); // intro → bill day
        QTRY_VERIFY(app.item("billdayPicker")->isVisible());
        app.click("billdayPicker");
        for (int i = 0; i < 4; ++i)
            QTest::keyClick(app.window, Qt::Key_Down); // day 5
        QVERIFY(app.click("setupNext"));
        QTRY_VERIFY(app.item("numberField")->hasActiveFocus()); // the stored cap, selected
        app.type("2,5");
        QVERIFY(app.click("unitGB"));
        QVERIFY(app.click("setupNext"));
        QTRY_COMPARE(app.item("setupTitle")->property("text").toString(), QStringLiteral("Existing Usage"));
        QTRY_VERIFY(app.item("numberField")->hasActiveFocus());
        app.type("300");
        QVERIFY(app.click("setupNext"));
        QTRY_COMPARE(app.item("setupTitle")->property("text").toString(), QStringLiteral("Finish"));
        QVERIFY(app.click("setupNext")); // Done
        QTRY_COMPARE(app.screens->main()->whatToPop(), 0);
        QTRY_VERIFY(app.item("mainScreen")->isVisible());

        SharedCode &s = *app.shared;
        QVERIFY(s.userPref().boolForKey(Keys::PREF_SHOWED_SETUP));
        QCOMPARE(s.getForPlan(QString(), Keys::PREF_BILLDAY).toLongLong(), 5);
        QCOMPARE(s.getForPlan(QString(), Keys::PREF_THRES_MONTHLY).toDouble(), std::floor(2.5 * 1073741824));
        QCOMPARE(s.getForPlan(QString(), Keys::PREF_DATA_DISPLAY_CAP).toList(),
                 (QVariantList{QStringLiteral("2.5"), qint64(1)}));
        QCOMPARE(app.delegate.values().monthCell, 300 * 1048576.0); // the usage before setup is gone
        QCOMPARE(app.item("lPercent")->property("text").toString(), QStringLiteral("12")); // 300 MB of 2.5 GB
        QCOMPARE(g_warnings, QStringList());
    }
};

int main(int argc, char **argv)
{
    qputenv("QT_QUICK_CONTROLS_STYLE", "Basic");
    QGuiApplication app(argc, argv);
    g_previous = qInstallMessageHandler(collect);
    TestScreens test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_screens.moc"
