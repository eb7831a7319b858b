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

// The one place the app's screens get their controllers: each is made with the services it needs
// and handed to the view, which owns it while it is on screen. The main screen's controller lives
// as long as this factory.
class Screens : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the app")
    Q_PROPERTY(MainScreenController *main READ main CONSTANT)

public:
    // The desktop services the screens use; any may be missing (its rows are then disabled).
    struct Platform
    {
        AlternateIcons *icons = nullptr;
        MailComposer *mail = nullptr;
        DesktopShell *shell = nullptr;
        UserServiceManager *services = nullptr;
    };

    Screens(UsageMonitor &delegate, Platform platform, QObject *parent = nullptr);
    ~Screens() override;

    MainScreenController *main() const { return m_main; }
    UsageMonitor &delegate() const { return m_delegate; }
    const Platform &platform() const { return m_platform; }

    // The picture of the main screen taken as the settings open, for sharing.
    Q_INVOKABLE void setSnapshot(const QImage &image, qreal pixelRatio);
    QImage snapshot() const { return m_snapshot; }
    qreal snapshotPixelRatio() const { return m_snapshotRatio; }
    // Shows a file in the file manager; false when there is none to ask.
    Q_INVOKABLE bool showFile(const QString &path);
    // Asks (through ask()) whether to show a file just written in the file manager; answer(0) does.
    Q_INVOKABLE void offerFile(const QString &path);
    Q_INVOKABLE void answer(int index);

    // A new controller for the named screen (its class name), for a plan (empty: the active one);
    // nothing for an unknown name. The caller owns it.
    // `argument` is the plan for a plan's screen (for PlanController, empty makes a new plan), the
    // alert (0 to 3) for ThresholdController.
    Q_INVOKABLE QObject *create(const QString &screen, const QString &argument = QString());
    // Whether create() can make that screen in this version.
    static bool canCreate(const QString &screen);
    // The view file that shows a screen's controller.
    Q_INVOKABLE QString pageFor(const QString &screen) const;
    // The screens the screenshot run pictures on their own (in the order it takes them).
    static QStringList screenNames();

signals:
    void ask(const QVariantMap &question);
    // The day screen of a plan (empty: the active one) is asked for.
    void historyRequested(const QString &plan, bool animated);
    void message(const QString &text);

private:
    UsageMonitor &m_delegate;
    Platform m_platform;
    QString m_offered;
    QImage m_snapshot;
    qreal m_snapshotRatio = 1;
    MainScreenController *m_main;
};
