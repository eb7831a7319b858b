#pragma once

#include <QByteArray>
#include <QString>
#include <QVariantMap>

#include <optional>

// The widget's record as a status bar wants it.
namespace WidgetOutput {

enum class Format { Json, Waybar, I3blocks, Text };
// The widget styles (the widget-appearance setting): what the short text holds.
enum Style { Standard = 0, Complete = 1, Mini = 2 }; // as the settings store PREF_THEME_WIDGET

std::optional<Format> formatNamed(const QString &name);
// The forecast key ("safe", "caution", "danger", "over") in the user's language.
QString forecastName(const QString &key);
// One line of text (Waybar and i3blocks lines hold no newline); ends with a newline.
QByteArray render(const QVariantMap &record, Format format, int style, int background);

} // namespace WidgetOutput
