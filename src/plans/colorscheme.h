#pragma once

#include <QtGlobal>

#include <array>

class SharedCode;

// The palette: one row per colour scheme, one column per forecast bucket (0 = safest, 5 = over).
namespace ColorScheme {

inline constexpr int kRows = 25;
inline constexpr int kColumns = 6;
using Table = std::array<std::array<quint32, kColumns>, kRows>;

const Table &table();

// The forecast bucket of a ratio: 0 at or below 0, 5 at or above 1, else floor(4 * ratio) + 1.
int bucketForRatio(double ratio);

// The colour of a ratio in a scheme row; rows outside the table read as row 0.
quint32 colorForRatio(double ratio, qint64 row);
// The same in the colour scheme the settings choose.
quint32 colorForRatio(const SharedCode &shared, double ratio);
const Table &getColorsDBandRows(int *rows);

} // namespace ColorScheme

// A colour as components in 0..1.
struct RgbColor
{
    double red = 0;
    double green = 0;
    double blue = 0;
    bool operator==(const RgbColor &) const = default;
};
