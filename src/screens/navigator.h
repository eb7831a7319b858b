#pragma once

#include <QImage>
#include <QObject>
#include <QtQml/qqmlregistration.h>

class AlternateIcons;
class DesktopShell;
class MailComposer;
class UserServiceManager;
class UsageMonitor;
class MainScreenController;
class SetupController;

// Moves between the app's screens. Each screen's controller is made here with the services it needs
// and handed to the window with the page that shows it (pageRequested); the page owns it while it
// is on screen. The main screen's controller lives as long as the navigator.
class Navigator : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the app")
    Q_MOC_INCLUDE("mainscreencontroller.h")
    Q_MOC_INCLUDE("setupcontroller.h")
    Q_PROPERTY(MainScreenController *main READ main CONSTANT)

public:
    // Every screen shown over the main screen. The argument of open() is the plan for a plan's
    // screens (empty: the active plan; for Plan, empty makes a new plan) and the alert (0 to 3) for
    // Threshold.
    enum Screen {
        Setup,
        Settings,
        Alerts,
        Threshold,
        Export,
        Theme,
        Display,
        Font,
        Colors,
        Background,
        AppIcon,
        WidgetOptions,
        WidgetColors,
        WidgetStyle,
        PlanList,
        Plan,
        Label,
        PlanType,
        DayCount,
        Weekday,
        StartDate,
        BillDay,
        Cap,
        Rollover,
        RolloverAmount,
        Tethering,
        Advanced,
        AddUsage,
        About,
        Share,
        Day,
        Period,
        Periods,
        Networks,
        NetworkChoice,
        NoScreen
    };
    Q_ENUM(Screen)

    // The desktop services the screens use; any may be missing (its rows are then disabled).
    struct Platform
    {
        AlternateIcons *icons = nullptr;
        MailComposer *mail = nullptr;
        DesktopShell *shell = nullptr;
        UserServiceManager *services = nullptr;
    };

    Navigator(UsageMonitor &monitor, Platform platform, QObject *parent = nullptr);
    ~Navigator() override;

    MainScreenController *main() const { return m_main; }
    UsageMonitor &monitor() const { return m_monitor; }
    const Platform &platform() const { return m_platform; }

    // Shows a screen over the ones on show and returns its controller (owned by the page), or
    // nothing when that screen cannot be made for the argument.
    Q_INVOKABLE QObject *open(Navigator::Screen screen, const QString &argument = QString(),
                              bool animated = true);
    // Shows a screen whose controller another screen made and keeps (the period views of a day).
    Q_INVOKABLE void show(Navigator::Screen screen, QObject *controller, bool animated = true);
    // The screen on top goes; closeAll() leaves the main screen alone on show.
    Q_INVOKABLE void back();
    Q_INVOKABLE void closeAll();
    // The first-run setup, shown over everything by the window itself.
    Q_INVOKABLE SetupController *newSetup();

    // A new controller for a screen; the caller owns it.
    QObject *create(Screen screen, const QString &argument = QString());
    // The view file that shows a screen's controller.
    static QString pageFor(Screen screen);
    // The screens the screenshot run pictures on their own (in the order it takes them).
    static QList<Screen> picturedScreens();
    // A screen's name as the enum spells it ("Settings").
    static QString nameOf(Screen screen);

    // The picture of the main screen taken as the screens over it open, for sharing.
    Q_INVOKABLE void setSnapshot(const QImage &image, qreal pixelRatio);
    QImage snapshot() const { return m_snapshot; }
    qreal snapshotPixelRatio() const { return m_snapshotRatio; }
    // Shows a file in the file manager; false when there is none to ask.
    Q_INVOKABLE bool showFile(const QString &path);
    // Asks (through ask()) whether to show a file just written in the file manager; answer(0) does.
    Q_INVOKABLE void offerFile(const QString &path);
    Q_INVOKABLE void answer(int index);

signals:
    // The window shows `page` with its controller (and the argument it was opened for).
    void pageRequested(const QString &page, QObject *controller, const QString &argument, bool animated);
    void backRequested();
    void closeAllRequested();
    void ask(const QVariantMap &question);
    void message(const QString &text);

private:
    UsageMonitor &m_monitor;
    Platform m_platform;
    QString m_offered;
    QImage m_snapshot;
    qreal m_snapshotRatio = 1;
    MainScreenController *m_main;
};
