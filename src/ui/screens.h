#pragma once

#include <QObject>
#include <QtQml/qqmlregistration.h>

class AlternateIcons;
class MailComposer;
class DataUsageAppDelegate;
class NewUIController;

// The one place the app's screens get their controllers: each is made with the services it needs
// and handed to the view, which owns it while it is on screen. The main screen's controller lives
// as long as this factory.
class Screens : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the app")
    Q_PROPERTY(NewUIController *main READ main CONSTANT)

public:
    Screens(DataUsageAppDelegate &delegate, AlternateIcons *icons, MailComposer *mail = nullptr,
            QObject *parent = nullptr);
    ~Screens() override;

    NewUIController *main() const { return m_main; }
    DataUsageAppDelegate &delegate() const { return m_delegate; }
    AlternateIcons *icons() const { return m_icons; }
    MailComposer *mail() const { return m_mail; }

    // A new controller for the named screen (its class name), for a plan (empty: the active one);
    // nothing for an unknown name. The caller owns it.
    // `argument` is the plan for a plan's screen, the alert (0 to 3) for ThresholdController.
    Q_INVOKABLE QObject *create(const QString &screen, const QString &argument = QString());
    // Whether create() can make that screen in this version.
    static bool canCreate(const QString &screen);
    // The view file that shows a screen's controller.
    Q_INVOKABLE QString pageFor(const QString &screen) const;
    // The screens the screenshot run pictures on their own (in the order it takes them).
    static QStringList screenNames();

private:
    DataUsageAppDelegate &m_delegate;
    AlternateIcons *m_icons;
    MailComposer *m_mail;
    NewUIController *m_main;
};
