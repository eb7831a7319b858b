#pragma once

#include "core/listmodel.h"

#include <QObject>
#include <QStringList>
#include <QtQml/qqmlregistration.h>

class UsageMonitor;

// The plan list: plans ordered by label (localised, case-insensitive, digit-aware), the active
// one checked; choosing another plan switches to it.
class SelectPlanController : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the app's navigator")
    Q_PROPERTY(QString title READ title CONSTANT)
    Q_PROPERTY(QStringList planIDs READ planIDs NOTIFY reloaded)
    Q_PROPERTY(QStringList labels READ labels NOTIFY reloaded)
    Q_PROPERTY(int checkedRow READ checkedRow NOTIFY reloaded)
    Q_PROPERTY(ListModel *plans READ plans CONSTANT)

public:
    explicit SelectPlanController(UsageMonitor &monitor, QObject *parent = nullptr);

    QString title() const;
    QStringList planIDs() const { return m_ids; }
    QStringList labels() const { return m_labels; }
    int checkedRow() const;
    // The plans as a model: planID, label, checked.
    ListModel *plans() const { return m_plans; }

    Q_INVOKABLE void reload();
    // The active plan's row only goes back; another row switches to that plan.
    Q_INVOKABLE void tapRow(int row);

signals:
    void reloaded();
    void goBack();
    void switched();

private:
    UsageMonitor &m_monitor;
    QStringList m_ids;
    QStringList m_labels;
    ListModel *m_plans;
};
