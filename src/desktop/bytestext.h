#pragma once

#include <QString>

// How an amount of data is written everywhere it is shown — app, widget, watch face, command line —
// so that all of them say the same: gigabytes from 10^9 bytes (two decimals while the number is
// short: "0.97 GB", "5.03 GB", "12.5 GB"), megabytes from 10^6, then kilobytes; binary units.
// Header-only: the watch face, which has nothing of the core, writes amounts this way too.
inline QString bytesText(double b)
{
    if (b >= 1000000000.0) {
        const double g = b / 1073741824.0;
        const QString text = QString::asprintf("%.1f GB", g);
        return text.size() < 8 ? QString::asprintf("%.2f GB", g) : text;
    }
    if (b >= 1000000.0)
        return QString::asprintf("%.1f MB", b / 1048576.0);
    if (b > 0)
        return QString::asprintf("%.1f KB", b / 1024.0);
    return QStringLiteral("0.0 KB");
}
