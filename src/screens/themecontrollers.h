#pragma once

#include "core/listmodel.h"
#include "menucontroller.h"

#include <QFont>
#include <QObject>
#include <QStringList>
#include <QVariantList>
#include <QtQml/qqmlregistration.h>

#include <vector>

class SharedCode;

// Where the launcher icon is chosen: the names of the alternate icons, none for the default.
class AlternateIcons
{
public:
    virtual ~AlternateIcons() = default;
    virtual QString alternateIconName() const = 0;
    // Says in `error` what went wrong; the icon stays as it was then.
    virtual bool setAlternateIconName(const QString &name, QString *error) = 0;
};

// A theme picker: rows with the value each stores, the current one checked. Choosing a row stores
// its value and goes back to the theme menu.
class PickerController : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the app's navigator")
    Q_PROPERTY(QString title READ title CONSTANT)
    Q_PROPERTY(QString header READ header CONSTANT)
    Q_PROPERTY(QString footer READ footer CONSTANT)
    Q_PROPERTY(int checkedRow READ checkedRow NOTIFY checkedChanged)
    Q_PROPERTY(bool swatches READ swatches CONSTANT)
    Q_PROPERTY(QString error READ error NOTIFY errorChanged)
    // title, value, checked, font (a font for the row's own preview or the default), colors
    Q_PROPERTY(ListModel *rows READ rows CONSTANT)

public:
    struct Row
    {
        QString title;
        int value = 0;
        QFont font;
        bool ownFont = false;
        QVariantList colors;
    };

    QString title() const { return m_title; }
    QString header() const { return m_header; }
    QString footer() const { return m_footer; }
    bool swatches() const { return m_swatches; }
    QString error() const { return m_error; }
    ListModel *rows() const { return m_model; }
    int rowCount() const { return int(m_rows.size()); }
    const Row &row(int i) const { return m_rows[size_t(i)]; }
    int checkedRow() const;
    // Reads the current value again.
    Q_INVOKABLE void reload();
    Q_INVOKABLE void choose(int row);
    // A swatch of the colour rows (100 high): six side by side in the row's width less 40.
    // Six swatches across the row, leaving room on the right for the check mark.
    Q_INVOKABLE int swatchWidth(double rowWidth) const { return int((rowWidth - 72) / 6); }
    Q_INVOKABLE int swatchHeight(double rowHeight) const { return int(rowHeight - 32); }

signals:
    void checkedChanged();
    void errorChanged();
    void goBack();

protected:
    PickerController(SharedCode &shared, QString title, QString header, QString footer, QObject *parent);
    void setRows(std::vector<Row> rows);
    // The stored value; the default reads the key.
    virtual int currentValue() const;
    virtual bool store(int value);
    void setError(const QString &error);

    SharedCode &m_shared;
    QString m_key;
    bool m_swatches = false;

private:
    QString m_title, m_header, m_footer, m_error;
    std::vector<Row> m_rows;
    int m_current = 0;
    ListModel *m_model;
};

class DisplayController : public PickerController
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the app's navigator")
public:
    explicit DisplayController(SharedCode &shared, QObject *parent = nullptr);
};

class ColorsController : public PickerController
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the app's navigator")
public:
    explicit ColorsController(SharedCode &shared, QObject *parent = nullptr);
};

class BackgroundColorController : public PickerController
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the app's navigator")
public:
    explicit BackgroundColorController(SharedCode &shared, QObject *parent = nullptr);
};

class WidgetColorController : public PickerController
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the app's navigator")
public:
    explicit WidgetColorController(SharedCode &shared, QObject *parent = nullptr);
};

class WidgetStyleController : public PickerController
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the app's navigator")
public:
    explicit WidgetStyleController(SharedCode &shared, QObject *parent = nullptr);
};

// The font picker: each row in its own preview font. Choosing an animated theme's font also chooses
// that theme's colours.
class FontController : public PickerController
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the app's navigator")
public:
    explicit FontController(SharedCode &shared, QObject *parent = nullptr);

protected:
    bool store(int value) override;
};

class IconController : public PickerController
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the app's navigator")
public:
    IconController(SharedCode &shared, AlternateIcons *icons, QObject *parent = nullptr);
    static QString iconName(int row);

protected:
    int currentValue() const override;
    bool store(int value) override;

private:
    AlternateIcons *m_icons;
};

// The theme menu. When it comes back on screen after one of its rows was opened it tells the main
// screen to pick up whatever changed.
class ThemeController : public MenuController
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the app's navigator")
public:
    explicit ThemeController(QObject *parent = nullptr);
    void tapRow(int row) override;
    void aboutToShow() override;

private:
    bool m_opened = false;
};

class WidgetOptionController : public MenuController
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the app's navigator")
public:
    explicit WidgetOptionController(QObject *parent = nullptr);
};
