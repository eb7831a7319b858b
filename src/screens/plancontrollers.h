#pragma once

#include "plans/amountentry.h"
#include "services/applicationservices.h"

#include "core/listmodel.h"
#include "navigator.h"

#include <QObject>
#include <QStringList>
#include <QtQml/qqmlregistration.h>

class UsageMonitor;
class SharedCode;

// One row of a settings table: its title, the value shown at its right, the screen it opens.
struct SettingsRow
{
    Q_GADGET
    Q_PROPERTY(QString title MEMBER title)
    Q_PROPERTY(QString detail MEMBER detail)
    Q_PROPERTY(Navigator::Screen opens MEMBER opens)

public:
    QString title;
    QString detail;
    Navigator::Screen opens = Navigator::NoScreen;
    bool operator==(const SettingsRow &) const = default;
};

// One plan's screen. Opened without a plan it creates one at once and edits it ("New Plan", Save
// and Cancel; Cancel deletes it again); opened with a plan it shows its details and, for a plan that
// is not the active one, offers to delete it.
class PlanController : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the app's navigator")
    Q_PROPERTY(QString title READ title NOTIFY changed)
    Q_PROPERTY(bool newPlanMode READ newPlanMode NOTIFY changed)
    Q_PROPERTY(bool canDelete READ canDelete NOTIFY changed)
    Q_PROPERTY(ListModel *settings READ settings CONSTANT)

public:
    PlanController(UsageMonitor &monitor, const QString &plan = QString(), QObject *parent = nullptr);

    QString planID() const { return m_plan; }
    bool newPlanMode() const { return m_new; }
    QString title() const;
    bool canDelete() const;
    int sectionCount() const { return m_new ? 1 : 2; }
    QList<SettingsRow> rows(int section) const;
    // Every section's rows flat, for a list with sections: section, row, title, detail, opens.
    ListModel *settings() const { return m_settings; }

    Q_INVOKABLE void save();
    Q_INVOKABLE void cancel();
    // The delete button's question; confirmDelete removes the plan and goes back.
    AlertValue deleteQuestion() const;
    Q_INVOKABLE void confirmDelete();
    // The same for a view: the question through ask(), the choice through answer() ("Delete" is 0).
    Q_INVOKABLE void requestDelete();
    Q_INVOKABLE void answer(int index);
    Q_INVOKABLE void selectRow(int section, int row);
    // Back from an editing screen: the rows show what it changed.
    Q_INVOKABLE void reload() { emit changed(); }

signals:
    void changed();
    void ask(const QVariantMap &question);
    void goBack();
    void open(Navigator::Screen screen, const QString &plan);

private:
    QString startDateDetail() const;
    UsageMonitor &m_monitor;
    QString m_plan;
    bool m_new;
    ListModel *m_settings;
};

// An amount screen: a number field whose text is filtered on every edit (a decimal comma becomes a
// point) and an MB / GB unit. An amount that is a setting is kept as the screen closes (keep()); one
// that is recorded has a button that asks first (pressButton(), ask(), answer(), then done()).
class ByteController : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the app's navigator")
    Q_PROPERTY(QString title READ title CONSTANT)
    Q_PROPERTY(QString footer READ footer CONSTANT)
    Q_PROPERTY(QString text READ text WRITE setText NOTIFY textChanged)
    Q_PROPERTY(int unit READ unitIndex WRITE setUnitIndex NOTIFY unitChanged)
    Q_PROPERTY(QString unitLabel READ unitLabel NOTIFY unitChanged)
    Q_PROPERTY(QStringList units READ units CONSTANT)
    // The title bar's button; empty for a screen without one.
    Q_PROPERTY(QString button READ button CONSTANT)
    Q_PROPERTY(bool buttonEnabled READ buttonEnabled NOTIFY textChanged)

public:
    QString title() const { return m_title; }
    virtual QString button() const { return QString(); }
    virtual bool buttonEnabled() const { return false; }
    Q_INVOKABLE virtual void pressButton() {}
    Q_INVOKABLE virtual void answer(int index) { Q_UNUSED(index); }
    // The screen closes: false (and nothing stored) when the amount cannot be kept.
    Q_INVOKABLE virtual bool keep() { return true; }
    QString footer() const { return m_footer; }
    QString text() const { return m_text; }
    void setText(const QString &text);
    int unitIndex() const { return int(unit); }
    void setUnitIndex(int index);
    QString unitLabel() const { return units().value(unitIndex()); }
    QStringList units() const { return {tr("MB"), tr("GB")}; }
    // The amount typed (text after a second point is ignored); 0 for nothing typed.
    double amount() const { return ByteEntry::amountOf(m_text); }

    AmountEntry::Unit unit = AmountEntry::MB;

signals:
    void textChanged();
    void unitChanged();
    void ask(const QVariantMap &question);
    // The amount is recorded: the screen closes.
    void done();

protected:
    ByteController(QString title, QString footer, QObject *parent);

private:
    QString m_title;
    QString m_footer;
    QString m_text;
};

// Adding cellular usage by hand: the amount typed, the question, and the record.
class AddController : public ByteController
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the app's navigator")

public:
    explicit AddController(UsageMonitor &monitor, QObject *parent = nullptr);

    QString button() const override { return tr("Add"); }
    bool buttonEnabled() const override;
    // The Add button: the field is rewritten with two decimals and the question returned.
    std::optional<AlertValue> add();
    // The same for a view: the question is asked through ask().
    void pressButton() override;
    // The answer to the question: "Add Usage" (0) records the usage, the figures follow, and the
    // screen closes; "Cancel" returns to the field.
    void answer(int index) override;
    void confirm();

private:
    UsageMonitor &m_monitor;
};

// Usage already spent when the first plan is set up.
class AddExistingController : public ByteController
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the app's navigator")
public:
    explicit AddExistingController(QObject *parent = nullptr);
    // Bytes: 0 for an empty text, a non-positive or infinite amount.
    double bytes() const;
};

// The data cap of a plan, shown from what was typed last; stored when the screen closes, only for
// an amount of at least 0.001.
class CapController : public ByteController
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the app's navigator")
public:
    CapController(SharedCode &shared, const QString &plan, QObject *parent = nullptr);
    // False (and nothing stored) when the amount is not a cap.
    bool keep() override;

private:
    SharedCode &m_shared;
    QString m_plan;
};

// A wheel of rows with one chosen; choosing a row stores it at once.
class RowPickerController : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the app's navigator")
    Q_PROPERTY(QString title READ title CONSTANT)
    Q_PROPERTY(QString footer READ footer CONSTANT)
    Q_PROPERTY(QStringList rows READ rows CONSTANT)
    Q_PROPERTY(int selectedRow READ selectedRow WRITE selectRow NOTIFY selectedRowChanged)
    // A line about the choice above the wheel (empty for none).
    Q_PROPERTY(QString summary READ summary NOTIFY selectedRowChanged)

public:
    QString title() const { return m_title; }
    QString footer() const { return m_footer; }
    QStringList rows() const { return m_rows; }
    int selectedRow() const { return m_row; }
    virtual QString summary() const { return QString(); }
    // Rows outside the wheel are ignored.
    void selectRow(int row);

signals:
    void selectedRowChanged();

protected:
    RowPickerController(QString title, QString footer, QStringList rows, int row, QObject *parent);
    virtual void store(int row) = 0;
    // Rows "1" to `last`.
    static QStringList numberRows(int last);

private:
    QString m_title;
    QString m_footer;
    QStringList m_rows;
    int m_row;
};

// The day of the month a monthly period begins: 31 rows "1" to "31".
class BilldateController : public RowPickerController
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the app's navigator")
public:
    BilldateController(SharedCode &shared, const QString &plan, QObject *parent = nullptr);

protected:
    void store(int row) override;

private:
    SharedCode &m_shared;
    QString m_plan;
};
