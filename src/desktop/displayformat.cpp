#include "displayformat.h"

#include "bytestext.h"

#include <algorithm>

QString DisplayFormat::getDataBytesStr(double b)
{
    return bytesText(b);
}

DisplayFormat::SplitAmount DisplayFormat::getMBString(double bytes)
{
    const QString text = getDataBytesStr(bytes);
    return SplitAmount{text.chopped(2), text.right(2)};
}

RgbColor DisplayFormat::colorWithHex(quint32 hex)
{
    return RgbColor{((hex >> 16) & 0xFF) / 255.0, ((hex >> 8) & 0xFF) / 255.0, (hex & 0xFF) / 255.0};
}

RgbColor DisplayFormat::brightColorWithHex(quint32 hex)
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
