#include "fonttable.h"

#include <QCoreApplication>
#include <QFontDatabase>
#include <QFontInfo>

#include <iterator>

namespace FontTable {
namespace {

using W = QFont::Weight;
constexpr Entry sys(W weight, int size, Design design = Design::Default)
{
    return {nullptr, weight, size, design};
}

// What stands in for each face:
//   Helvetica Neue (regular to black)  Nimbus Sans, Nimbus Sans Narrow (fonts-urw-base35)
//   Helvetica Neue Light/Thin/UltraLight  Roboto (fonts-roboto-unhinted): Nimbus Sans has no light weights
//   Avenir, Avenir Next                Lato (fonts-lato), a geometric sans with every weight
//   Avenir Next Condensed              Roboto Condensed
//   Optima                             Linux Biolinum O (fonts-linuxlibertine), flared humanist
//   Baskerville                        Linux Libertine O
//   Gill Sans                          Cantarell (fonts-cantarell), humanist
//   Cochin                             P052 (fonts-urw-base35)
//   American Typewriter                Courier Prime (fonts-courier-prime)
//   Futura                             URW Gothic (fonts-urw-base35)
//   DIN Alternate                      B612 (fonts-b612)
//   Bodoni 72 Oldstyle                 Old Standard TT (fonts-oldstandard)
//   Georgia                            C059 (fonts-urw-base35)
//   rounded and serif system designs   Comfortaa (fonts-comfortaa), DejaVu Serif (fonts-dejavu-core)
constexpr const char *kNimbus = "Nimbus Sans";
constexpr const char *kNarrow = "Nimbus Sans Narrow";
constexpr const char *kRoboto = "Roboto";
constexpr const char *kLato = "Lato";
constexpr const char *kCondensed = "Roboto Condensed";
constexpr const char *kBiolinum = "Linux Biolinum O";
constexpr const char *kLibertine = "Linux Libertine O";
constexpr const char *kCantarell = "Cantarell";
constexpr const char *kP052 = "P052";
constexpr const char *kCourier = "Courier Prime";
constexpr const char *kGothic = "URW Gothic";
constexpr const char *kB612 = "B612";
constexpr const char *kOldStandard = "Old Standard TT";
constexpr const char *kC059 = "C059";
constexpr const char *kRounded = "Comfortaa";
constexpr const char *kSerif = "DejaVu Serif";

constexpr Entry kTable[kRows][kRoles] = {
    {sys(W::Bold, 130), sys(W::DemiBold, 25), sys(W::Light, 16)},
    {sys(W::ExtraLight, 129), sys(W::Light, 25), sys(W::Thin, 16)},
    {{kNarrow, W::Bold, 130}, {kNimbus, W::Medium, 25}, {kRoboto, W::Light, 16}},
    {{kRoboto, W::ExtraLight, 130}, {kRoboto, W::Light, 25}, {kRoboto, W::Thin, 16}},
    {{kNarrow, W::Bold, 130}, {kNarrow, W::Black, 25}, {kNarrow, W::Bold, 16}},
    {{kLato, W::DemiBold, 130}, {kLato, W::Medium, 25}, {kLato, W::Light, 16}},
    {{kCondensed, W::ExtraLight, 130}, {kCondensed, W::Medium, 25}, {kCondensed, W::Normal, 16}},
    {{kBiolinum, W::Normal, 127}, {kBiolinum, W::Bold, 25}, {kBiolinum, W::Normal, 16}},
    {{kLibertine, W::Normal, 130}, {kLibertine, W::Bold, 25}, {kLibertine, W::Normal, 16}},
    {{kCantarell, W::Light, 130}, {kCantarell, W::Bold, 25}, {kCantarell, W::Normal, 16}},
    {{kP052, W::Normal, 130}, {kP052, W::Bold, 25}, {kP052, W::Normal, 16}},
    {{kCourier, W::Light, 130}, {kCourier, W::Bold, 25}, {kCourier, W::Normal, 16}},
    {{kGothic, W::Medium, 130}, {kGothic, W::ExtraBold, 25}, {kGothic, W::Medium, 16}},
    {{kCondensed, W::Black, 150}, {kB612, W::Bold, 25}, {kB612, W::Bold, 16}},
    {{kOldStandard, W::Normal, 150}, {kC059, W::Normal, 25}, {kC059, W::Normal, 16}},
    {sys(W::Medium, 130, Design::Rounded), sys(W::DemiBold, 25, Design::Rounded),
     sys(W::Normal, 16, Design::Rounded)},
    {sys(W::Normal, 130, Design::Serif), sys(W::DemiBold, 25, Design::Serif),
     sys(W::Light, 16, Design::Serif)},
};

// The picker names what is drawn: the family on this machine, a weight where two rows share one,
// and for a theme's own font the theme first.
constexpr PickerRow kPicker[] = {
    {0, nullptr, sys(W::Medium, 17)},
    {1, QT_TRANSLATE_NOOP("FontTable", "Light"), sys(W::Thin, 17)},
    {15, nullptr, sys(W::DemiBold, 17, Design::Rounded)},
    {2, nullptr, {kNimbus, W::Normal, 17}},
    {3, QT_TRANSLATE_NOOP("FontTable", "Thin"), {kRoboto, W::Thin, 18}},
    {4, nullptr, {kNarrow, W::Bold, 18}},
    {5, nullptr, {kLato, W::Normal, 18}},
    {6, nullptr, {kCondensed, W::Medium, 19}},
    {7, nullptr, {kBiolinum, W::Normal, 18}},
    {8, nullptr, {kLibertine, W::Normal, 20}},
    {9, nullptr, {kCantarell, W::Normal, 18}},
    {10, nullptr, {kP052, W::Normal, 19}},
    {11, nullptr, {kCourier, W::Normal, 18}},
    {12, nullptr, {kGothic, W::Medium, 17}},
    {16, nullptr, sys(W::Normal, 18, Design::Serif)},
    {13, QT_TRANSLATE_NOOP("FontTable", "DONKEY Bounce"), {kB612, W::Bold, 18}},
    {14, QT_TRANSLATE_NOOP("FontTable", "Winter Wonderland"), {kOldStandard, W::Normal, 19}},
};

} // namespace

const Entry *entry(int row, int role)
{
    if (row < 0 || row >= kRows || role < 0 || role >= kRoles)
        return nullptr;
    return &kTable[row][role];
}

QFont systemFont(QFont::Weight weight, int size)
{
    QFont f = QFontDatabase::systemFont(QFontDatabase::GeneralFont);
    f.setWeight(weight);
    f.setPixelSize(size);
    return f;
}

QString familyOf(const Entry &e)
{
    if (e.design == Design::Rounded)
        return QString::fromLatin1(kRounded);
    if (e.design == Design::Serif)
        return QString::fromLatin1(kSerif);
    if (!e.family) // the family the desktop's general font resolves to (not an alias like "Sans Serif")
        return QFontInfo(QFontDatabase::systemFont(QFontDatabase::GeneralFont)).family();
    return QString::fromLatin1(e.family);
}

QFont fontOf(const Entry &e)
{
    QFont f = systemFont(e.weight, e.size);
    f.setFamilies({familyOf(e)});
    return f;
}

QFont font(int row, int role)
{
    if (const Entry *e = entry(row, role))
        return fontOf(*e);
    return systemFont(QFont::Light, 16);
}

QFont makeFont(const QFont &font, int size)
{
    QFont f = font;
    f.setPixelSize(size);
    return f;
}

const PickerRow *pickerRows(int *count)
{
    if (count)
        *count = int(std::size(kPicker));
    return kPicker;
}

QFont pickerFont(int fontRow)
{
    for (const PickerRow &r : kPicker) {
        if (r.fontRow == fontRow)
            return fontOf(r.preview);
    }
    return systemFont(QFont::Normal, 18);
}

QString pickerName(int fontRow)
{
    for (const PickerRow &r : kPicker) {
        if (r.fontRow != fontRow)
            continue;
        const QString family = familyOf(r.preview);
        if (r.fontRow == 13 || r.fontRow == 14) // a theme's font: "Winter Wonderland (Old Standard TT)"
            return QCoreApplication::translate("FontTable", "%1 (%2)")
                .arg(QCoreApplication::translate("FontTable", r.name), family);
        if (!r.preview.family && r.preview.design == Design::Default) // follows the desktop's font
            return r.name ? QCoreApplication::translate("FontTable", "Desktop font, light (%1)").arg(family)
                          : QCoreApplication::translate("FontTable", "Desktop font (%1)").arg(family);
        return r.name ? family + QLatin1Char(' ') + QCoreApplication::translate("FontTable", r.name) : family;
    }
    return QString();
}

} // namespace FontTable
