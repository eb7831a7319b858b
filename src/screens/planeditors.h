#pragma once

#include "menucontroller.h"

class UsageMonitor;
class SharedCode;

// A plan's label: one text field; the label changes when the screen closes, never to an empty one.
class LabelController : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the app's navigator")
    Q_PROPERTY(QString title READ title CONSTANT)
    Q_PROPERTY(QString text MEMBER m_text NOTIFY textChanged)

public:
    LabelController(SharedCode &shared, const QString &plan, QObject *parent = nullptr);
    QString title() const { return tr("Label"); }
    QString text() const { return m_text; }
    void setText(const QString &text);
    // False (and nothing stored) for an empty text.
    Q_INVOKABLE bool keep();

signals:
    void textChanged();

private:
    SharedCode &m_shared;
    QString m_plan;
    QString m_text;
};

// The plan type. Plans of the early types (30 Days, Weekly, 28 Days) get the list of those four
// types and go back once one is chosen; the others choose between Monthly and N Days, the latter
// with its N below.
class PlantypeController : public MenuController
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the app's navigator")
public:
    PlantypeController(SharedCode &shared, const QString &plan, QObject *parent = nullptr);
    bool legacyLayout() const { return m_legacy; }
    void tapRow(int row) override;
    // N may have changed on its own screen.
    void aboutToShow() override { reload(); }

private:
    void reload();
    SharedCode &m_shared;
    QString m_plan;
    bool m_legacy;
};

// Rollover on or off and, while on, the amount carried into the current period. Switching it on
// computes the amount from the previous period at once (on the plan's store queue).
class RolloverController : public MenuController
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the app's navigator")
public:
    RolloverController(UsageMonitor &monitor, const QString &plan, QObject *parent = nullptr);
    void setSwitch(int row, bool on) override;
    void aboutToShow() override { reload(); }

signals:
    // The rollover computed after switching on has been stored.
    void rolloverComputed();

private:
    void reload();
    UsageMonitor &m_monitor;
    QString m_plan;
};

// Counting tethered traffic the other way round, for carrier setups that hide it.
class TetheringController : public MenuController
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the app's navigator")
public:
    TetheringController(SharedCode &shared, const QString &plan, QObject *parent = nullptr);
    void setSwitch(int row, bool on) override;

private:
    void reload();
    SharedCode &m_shared;
    QString m_plan;
};
