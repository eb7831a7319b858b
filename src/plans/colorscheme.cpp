#include "colorscheme.h"

#include "core/settingskeys.h"
#include "core/sharedcode.h"
#include "sharing/commonshared.h"

#include <algorithm>
#include <cmath>

namespace ColorScheme {

const Table &table()
{
    static constexpr Table kTable{{
        {0x98D957, 0xC3D957, 0xFBBF45, 0xEF6A32, 0xED0345, 0xA50026},
        {0x7FCDBB, 0x41B6C4, 0x1D91C0, 0x225EA8, 0x253494, 0x081D58},
        {0xCC0066, 0xC3829A, 0xD391A4, 0xBA4E64, 0x7E003F, 0xF07D99},
        {0x000000, 0x252525, 0x525252, 0x737373, 0x969696, 0xBDBDBD},
        {0x366080, 0x6AB3EB, 0x93CFFF, 0xC0D4E4, 0xFF6600, 0xFF3E14},
        {0x60E669, 0x0DD965, 0x0ABF6A, 0x038C65, 0x297373, 0x174040},
        {0x8C96C6, 0x8C6BB1, 0x88419D, 0x810F7C, 0x4D004B, 0x1D001B},
        {0x3083D8, 0x3BB1DA, 0x43B28F, 0x0E9992, 0x676BDF, 0x4C0082},
        {0xFEB24C, 0xFD8D3C, 0xFC4E2A, 0xE31A1C, 0xBD0026, 0x800026},
        {0xFDBB03, 0xC8701A, 0x843828, 0x5B2D25, 0x2A1F14, 0x17110B},
        {0x4C4D57, 0x555544, 0x586969, 0x9D9EA3, 0xB5B5C4, 0xB5C4C4},
        {0x002211, 0x1E3918, 0x295D2B, 0x6B7A29, 0x9EA15C, 0xB8D97C},
        {0xFF93F0, 0xFF7AAF, 0xAF93F0, 0x6ED5E6, 0x60E6B5, 0xFFC35B},
        {0xF29191, 0xF27979, 0xE65858, 0xEC3636, 0xCC1E1E, 0xA10202},
        {0x847767, 0xB59A85, 0xC5B399, 0xCCBEA9, 0x807259, 0x4C3F37},
        {0x3A392B, 0x7A7D58, 0xB3AC7F, 0xDD9954, 0x94583C, 0x601600},
        {0x183048, 0x184878, 0x4890C0, 0xF0F078, 0xF00000, 0x22211F},
        {0x56B7F1, 0x1BADF8, 0x63DA38, 0xFFA100, 0xFF2D55, 0xCC73E1},
        {0xFF55FF, 0xF21AF2, 0xDE00DE, 0xAA00AA, 0x333333, 0x000000},
        {0x221F4B, 0x27224E, 0x472E54, 0x723D59, 0x9A4A5D, 0xB4525F},
        {0x000000, 0x000000, 0x000000, 0x000000, 0x000000, 0x000000},
        {0x22C1C3, 0x40E0D0, 0xFDBB2D, 0xFF8C00, 0x8E2DE2, 0x4A00E0},
        {0xB8E8E2, 0xA0DED6, 0x7ECECA, 0x45B5C4, 0x1693A5, 0x166FA5},
        {0xB4EB6D, 0x86ED7E, 0xF9D423, 0xFC913A, 0xF71952, 0xF719C1},
        {0x00305B, 0x26435A, 0x4D5659, 0x746959, 0x9B7D58, 0xBE8E57},
    }};
    return kTable;
}

int bucketForRatio(double q)
{
    if (q <= 0 || std::isnan(q))
        return 0;
    if (q >= 1)
        return 5;
    return int(std::floor(q * 4)) + 1;
}

quint32 colorForRatio(double ratio, qint64 row)
{
    if (row < 0 || row >= kRows)
        row = 0;
    return table()[size_t(row)][size_t(bucketForRatio(ratio))];
}

} // namespace ColorScheme

const ColorScheme::Table &SharedCode::getColorsDBandRows(int *rows)
{
    if (rows)
        *rows = ColorScheme::kRows;
    return ColorScheme::table();
}

quint32 SharedCode::colorForRatio(double ratio) const
{
    return ColorScheme::colorForRatio(ratio, m_settings.integerForKey(Keys::PREF_THEME_COLOR));
}

RgbColor CommonShared::colorWithHex(quint32 hex)
{
    return RgbColor{((hex >> 16) & 0xFF) / 255.0, ((hex >> 8) & 0xFF) / 255.0, (hex & 0xFF) / 255.0};
}

RgbColor CommonShared::brightColorWithHex(quint32 hex)
{
    // Hue, saturation and brightness of the colour; brightness raised by a tenth, at least 0.5.
    const RgbColor c = colorWithHex(hex);
    const double max = std::max({c.red, c.green, c.blue});
    const double min = std::min({c.red, c.green, c.blue});
    const double saturation = max > 0 ? (max - min) / max : 0;
    const double brightness = std::clamp(max * 1.1, 0.5, 1.0);
    if (max <= min)
        return RgbColor{brightness, brightness, brightness};
    // Each component keeps its place between the smallest and the largest.
    const auto scale = [&](double v) {
        const double relative = (max - v) / (max - min); // 0 for the largest, 1 for the smallest
        return brightness * (1 - saturation * relative);
    };
    return RgbColor{scale(c.red), scale(c.green), scale(c.blue)};
}
