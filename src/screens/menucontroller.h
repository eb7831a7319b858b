#pragma once

#include "core/listmodel.h"
#include "navigator.h"

#include <QObject>
#include <QVariantMap>
#include <QtQml/qqmlregistration.h>

#include <vector>

// A grouped table: rows in sections, each section with an optional footer. A row opens another
// screen, carries a check mark or a switch, or is a button. Questions the screen asks before it acts
// go to the view as a title, a message and the actions to choose from.
class MenuController : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the app's navigator")
    Q_PROPERTY(QString title READ title NOTIFY titleChanged)
    // section, title, detail, opens, enabled, kind, on, footer (the section's, on its last row)
    Q_PROPERTY(ListModel *rows READ rows CONSTANT)

public:
    enum Kind { Disclosure, Check, Switch, Button, DestructiveButton };
    Q_ENUM(Kind)

    struct Row
    {
        int section;
        QString title;
        Navigator::Screen opens;
        QString detail = QString();
        bool enabled = true;
        Kind kind = Disclosure;
        bool on = false;
    };
    QString title() const { return m_title; }
    ListModel *rows() const { return m_model; }
    const std::vector<Row> &menuRows() const { return m_rows; }
    QString footer(int section) const;
    // A disclosure row opens its screen; the other kinds do what the screen says.
    Q_INVOKABLE virtual void tapRow(int row);
    // A switch row was flipped.
    Q_INVOKABLE virtual void setSwitch(int row, bool on);
    // The user chose action `index` of the question asked last.
    Q_INVOKABLE virtual void answer(int index);
    // The menu comes (back) on screen.
    Q_INVOKABLE virtual void aboutToShow() {}

signals:
    void titleChanged();
    void open(Navigator::Screen screen);
    // A screen for one thing of this one (a network of the list, say).
    void openFor(Navigator::Screen screen, const QString &argument);
    // A question as AlertValue::toMap gives it.
    void ask(const QVariantMap &question);
    // A line for the user about what was just done (or why it could not be).
    void message(const QString &text);
    void goBack();

protected:
    MenuController(QString title, std::vector<Row> rows, QObject *parent);
    void setRows(std::vector<Row> rows);
    void setFooters(QStringList footers);
    void setTitle(const QString &title);

private:
    QString m_title;
    std::vector<Row> m_rows;
    QStringList m_footers;
    ListModel *m_model;
};
