#pragma once

#include "plancontrollers.h"

#include <QObject>
#include <QtQml/qqmlregistration.h>

class UsageMonitor;

// The first-run setup: an introduction, then the bill day, the data cap and the usage already
// spent, and a last screen. Each "Next" carries the step it ends (1 to 5).
class SetupController : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the app's navigator")
    Q_PROPERTY(int step READ step NOTIFY stepChanged)
    Q_PROPERTY(QString title READ title NOTIFY stepChanged)
    Q_PROPERTY(QString button READ button NOTIFY stepChanged)
    Q_PROPERTY(QString intro READ intro CONSTANT)
    Q_PROPERTY(QString error READ error NOTIFY errorChanged)
    Q_PROPERTY(BilldateController *billdate READ billdate CONSTANT)
    Q_PROPERTY(CapController *allow READ allow CONSTANT)
    Q_PROPERTY(AddExistingController *existing READ existing CONSTANT)

public:
    enum Step { Intro = 0, BillDate = 1, Cap = 2, Existing = 3, Finish = 4 };
    Q_ENUM(Step)

    explicit SetupController(UsageMonitor &monitor, QObject *parent = nullptr);

    int step() const { return m_step; }
    QString title() const;
    QString button() const;
    QString intro() const;
    QString error() const { return m_error; }
    BilldateController *billdate() const { return m_billdate; }
    CapController *allow() const { return m_allow; }
    AddExistingController *existing() const { return m_existing; }

    Q_INVOKABLE void next();
    Q_INVOKABLE void back();

signals:
    void stepChanged();
    void errorChanged();
    // The settings are written: the main screen takes over.
    void finished();

private:
    void setStep(int step);
    void setError(const QString &error);

    UsageMonitor &m_monitor;
    int m_step = Intro;
    QString m_error;
    QStringList m_onMobileData; // the connections counted as mobile data when the setup began
    BilldateController *m_billdate;
    CapController *m_allow;
    AddExistingController *m_existing;
};
