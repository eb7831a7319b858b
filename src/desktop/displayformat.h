#pragma once

#include "plans/colorscheme.h"

#include <QString>

// Shared helpers of the application and its extensions.
class DisplayFormat
{
public:
    // Byte amounts for display: decimal thresholds with binary divisors ("1.50 GB", "952.7 MB").
    static QString getDataBytesStr(double bytes);
    // The same text split for styling: the number, and the unit (its last two characters).
    struct SplitAmount
    {
        QString number;
        QString unit;
    };
    static SplitAmount getMBString(double bytes);
    // 0xRRGGBB as components.
    static RgbColor colorWithHex(quint32 hex);
    // The same hue and saturation, brightness times 1.1 but at least 0.5.
    static RgbColor brightColorWithHex(quint32 hex);
};
