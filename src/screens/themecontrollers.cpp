#include "themecontrollers.h"

#include "core/settingskeys.h"
#include "core/sharedcode.h"
#include "fonttable.h"
#include "notificationcenter.h"
#include "plans/colorscheme.h"

#include <QColor>
#include <QLoggingCategory>

Q_LOGGING_CATEGORY(lcTheme, "tallymo.ui.theme")

NotificationCenter &NotificationCenter::defaultCenter()
{
    static NotificationCenter center;
    return center;
}

PickerController::PickerController(SharedCode &shared, QString title, QString header, QString footer,
                                   QObject *parent)
    : QObject(parent), m_shared(shared), m_title(std::move(title)), m_header(std::move(header)),
      m_footer(std::move(footer)),
      m_model(new ListModel(
          {"title", "value", "checked", "font", "ownFont", "colors"}, [this] { return rowCount(); },
          [this](int i, const QByteArray &role) -> QVariant {
              const Row &r = row(i);
              if (role == "title")
                  return r.title;
              if (role == "value")
                  return r.value;
              if (role == "checked")
                  return i == checkedRow();
              if (role == "font")
                  return r.font;
              if (role == "ownFont")
                  return r.ownFont;
              return r.colors;
          },
          this))
{}

void PickerController::setRows(std::vector<Row> rows)
{
    m_rows = std::move(rows);
    reload();
}

int PickerController::currentValue() const
{
    return int(m_shared.userPref().integerForKey(m_key));
}

bool PickerController::store(int value)
{
    m_shared.userPref().setValue(m_key, qint64(value));
    if (!m_shared.userPref().synchronize()) {
        setError(tr("Could not save the choice: %1").arg(m_shared.userPref().lastError()));
        return false;
    }
    return true;
}

void PickerController::setError(const QString &error)
{
    if (error == m_error)
        return;
    m_error = error;
    if (!error.isEmpty())
        qCWarning(lcTheme) << m_title << error;
    emit errorChanged();
}

int PickerController::checkedRow() const
{
    for (size_t i = 0; i < m_rows.size(); ++i) {
        if (m_rows[i].value == m_current)
            return int(i);
    }
    return -1;
}

void PickerController::reload()
{
    m_current = currentValue();
    m_model->reload();
    emit checkedChanged();
}

void PickerController::choose(int row)
{
    if (row < 0 || row >= rowCount())
        return;
    if (!store(m_rows[size_t(row)].value))
        return;
    setError(QString());
    reload();
    emit goBack();
}

namespace {
PickerController::Row textRow(const QString &title, int value)
{
    return {title, value, QFont(), false, {}};
}
} // namespace

DisplayController::DisplayController(SharedCode &shared, QObject *parent)
    : PickerController(shared, tr("Display"), QString(), tr("Level of detail to show."), parent)
{
    m_key = Keys::PREF_THEME_DISPLAY;
    setRows({textRow(tr("Minimal"), 1), textRow(tr("Standard"), 0), textRow(tr("Complete"), 2)});
}

ColorsController::ColorsController(SharedCode &shared, QObject *parent)
    : PickerController(shared, tr("Colors"), QString(), QString(), parent)
{
    m_key = Keys::PREF_THEME_COLOR;
    m_swatches = true;
    std::vector<Row> rows;
    int count = 0;
    const ColorScheme::Table &table = ColorScheme::getColorsDBandRows(&count);
    for (int i = 0; i < count; ++i) {
        QVariantList colors;
        for (quint32 c : table[size_t(i)])
            colors.append(QColor::fromRgb(QRgb(c)));
        rows.push_back({QString::number(i), i, QFont(), false, colors});
    }
    setRows(std::move(rows));
}

BackgroundColorController::BackgroundColorController(SharedCode &shared, QObject *parent)
    : PickerController(shared, tr("Background"), tr("Appearance"), QString(), parent)
{
    m_key = Keys::PREF_THEME_BACKGROUND;
    setRows({textRow(tr("Color"), 0), textRow(tr("Black"), 1)});
}

WidgetColorController::WidgetColorController(SharedCode &shared, QObject *parent)
    : PickerController(shared, tr("Widget"), tr("Appearance"), QString(), parent)
{
    m_key = Keys::PREF_THEME_WIDGET_BG;
    setRows({textRow(tr("Color"), 0), textRow(tr("Black"), 1)});
}

WidgetStyleController::WidgetStyleController(SharedCode &shared, QObject *parent)
    : PickerController(shared, tr("Style"), QString(), QString(), parent)
{
    m_key = Keys::PREF_THEME_WIDGET;
    setRows({textRow(tr("Standard"), 0), textRow(tr("Complete"), 1), textRow(tr("Mini"), 2)});
}

FontController::FontController(SharedCode &shared, QObject *parent)
    : PickerController(shared, tr("Font"), QString(), QString(), parent)
{
    m_key = Keys::PREF_THEME_FONT;
    int count = 0;
    const FontTable::PickerRow *picker = FontTable::pickerRows(&count);
    std::vector<Row> rows;
    for (int i = 0; i < count; ++i)
        rows.push_back({FontTable::pickerName(picker[i].fontRow),
                        picker[i].fontRow,
                        FontTable::fontOf(picker[i].preview),
                        true,
                        {}});
    setRows(std::move(rows));
}

bool FontController::store(int value)
{
    // The animated themes come with their own palettes; a colour chosen later replaces it freely.
    SettingsDomain &pref = m_shared.userPref();
    const bool written = pref.transaction([&] {
        pref.setValue(Keys::PREF_THEME_FONT, qint64(value));
        if (value == 13)
            pref.setValue(Keys::PREF_THEME_COLOR, qint64(18));
        else if (value == 14)
            pref.setValue(Keys::PREF_THEME_COLOR, qint64(19));
    });
    if (!written) {
        setError(tr("Could not save the choice: %1").arg(m_shared.userPref().lastError()));
        return false;
    }
    return true;
}

IconController::IconController(SharedCode &shared, AlternateIcons *icons, QObject *parent)
    : PickerController(shared, tr("App Icon"), QString(), QString(), parent), m_icons(icons)
{
    setRows({textRow(tr("Red"), 0), textRow(tr("Black"), 1), textRow(tr("Blue"), 2), textRow(tr("Green"), 3),
             textRow(tr("Purple"), 4)});
}

QString IconController::iconName(int row)
{
    static const char *const names[] = {"black", "blue", "green", "purple"};
    return row >= 1 && row <= 4 ? QString::fromLatin1(names[row - 1]) : QString();
}

int IconController::currentValue() const
{
    const QString name = m_icons ? m_icons->alternateIconName() : QString();
    for (int row = 1; row <= 4; ++row) {
        if (name == iconName(row))
            return row;
    }
    return 0;
}

bool IconController::store(int value)
{
    QString error = tr("Icons cannot be changed here.");
    if (m_icons && m_icons->setAlternateIconName(iconName(value), &error))
        return true;
    setError(error);
    return false;
}

ThemeController::ThemeController(QObject *parent)
    : MenuController(tr("Theme"),
                     {{0, tr("Display"), Navigator::Display},
                      {0, tr("Font"), Navigator::Font},
                      {0, tr("Colors"), Navigator::Colors},
                      {0, tr("Background"), Navigator::Background},
                      {1, tr("App Icon"), Navigator::AppIcon},
                      {1, tr("Widget"), Navigator::WidgetOptions}},
                     parent)
{}

void ThemeController::tapRow(int row)
{
    m_opened = true;
    MenuController::tapRow(row);
}

void ThemeController::aboutToShow()
{
    if (!m_opened)
        return;
    m_opened = false;
    NotificationCenter::defaultCenter().post(kNotifyUpdateTheme);
}

WidgetOptionController::WidgetOptionController(QObject *parent)
    : MenuController(tr("Widget"),
                     {{0, tr("Colors"), Navigator::WidgetColors}, {0, tr("Style"), Navigator::WidgetStyle}},
                     parent)
{}
