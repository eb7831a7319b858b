#pragma once

#include <QFont>
#include <QString>

// The fonts of the main screen's themes and of the font picker, in one place: each entry names the
// Debian-packaged family that stands in for the face the theme was designed with (the packages are
// installed by scripts/deps.sh), with its weight and size in logical pixels.
namespace FontTable {

inline constexpr int kRows = 17;
inline constexpr int kRoles = 3; // 0 the percentage, 1 numbers, 2 units and captions

enum class Design { Default, Rounded, Serif };

struct Entry
{
    const char *family = nullptr; // nullptr: the desktop's general font
    QFont::Weight weight = QFont::Normal;
    int size = 16;
    Design design = Design::Default;
};

// The entry of a row and role; rows outside 0–16 read as nothing (see font()).
const Entry *entry(int row, int role);
// The font of a row and role. A row outside the table gives the general font, light, 16.
QFont font(int row, int role);
// The family an entry resolves to on this machine's naming (the general font's for the system rows).
QString familyOf(const Entry &entry);
QFont fontOf(const Entry &entry);
// The same font (family, weight, design) at another size.
QFont makeFont(const QFont &font, int size);
// The desktop's general font at a weight and size.
QFont systemFont(QFont::Weight weight, int size);

// The font picker: its rows in the order shown, each with its preview font and, where the family
// alone does not tell it, a weight ("Thin") or the theme it belongs to.
struct PickerRow
{
    int fontRow;
    const char *name;
    Entry preview;
};
const PickerRow *pickerRows(int *count);
// The preview of a row number outside 0–16: the general font, regular, 18.
QFont pickerFont(int fontRow);
// The row's name as shown: the family this machine draws it in ("Nimbus Sans", "Desktop font
// (Cantarell)", "Winter Wonderland (Old Standard TT)").
QString pickerName(int fontRow);

} // namespace FontTable
