#pragma once

#include "core/listmodel.h"

#include <QObject>
#include <QStringList>
#include <QtQml/qqmlregistration.h>

class SettingsDomain;

// The list of the four usage alerts.
class AlertsController : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the app's navigator")
    Q_PROPERTY(QString title READ title CONSTANT)
    Q_PROPERTY(QStringList rowTexts READ rowTexts CONSTANT)
    Q_PROPERTY(QStringList rowDetails READ rowDetails NOTIFY reloaded)
    Q_PROPERTY(ListModel *thresholds READ thresholds CONSTANT)

public:
    explicit AlertsController(SettingsDomain &pref, QObject *parent = nullptr);

    QString title() const;
    QStringList rowTexts() const;
    QStringList rowDetails() const; // "50%"
    // The four thresholds as a model: text ("First Alert"...), detail ("50%").
    ListModel *thresholds() const { return m_thresholds; }
    quint32 tappedRow() const { return m_tappedRow; }

    // Remembers the row; the caller opens a ThresholdController with that type.
    Q_INVOKABLE void tapRow(int row);
    // The screen came back: reload when a row was opened.
    Q_INVOKABLE void aboutToShow();

signals:
    void reloaded();

private:
    SettingsDomain &m_pref;
    quint32 m_tappedRow = 0;
    ListModel *m_thresholds;
};

// One alert's threshold: a picker in 5 % steps between its neighbours.
class ThresholdController : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the app's navigator")
    Q_PROPERTY(QString title READ title CONSTANT)
    Q_PROPERTY(double level READ level NOTIFY levelChanged)
    Q_PROPERTY(QStringList pickerRows READ pickerRows CONSTANT)
    Q_PROPERTY(int selectedRow READ selectedRow NOTIFY levelChanged)
    Q_PROPERTY(QString detailText READ detailText NOTIFY levelChanged)
    Q_PROPERTY(QString footer READ footer NOTIFY levelChanged)

public:
    ThresholdController(SettingsDomain &pref, quint32 thresholdType, QObject *parent = nullptr);

    QString title() const;
    double minlevel() const { return m_minlevel; }
    double maxlevel() const { return m_maxlevel; }
    double level() const { return m_level; }
    QStringList pickerRows() const;
    int selectedRow() const;
    QString detailText() const;
    QString footer() const;

    // Stores minlevel + 5 * row at once.
    Q_INVOKABLE void chooseRow(int row);

signals:
    void levelChanged();

private:
    SettingsDomain &m_pref;
    quint32 m_thresholdType;
    double m_minlevel;
    double m_maxlevel;
    double m_level;
};
