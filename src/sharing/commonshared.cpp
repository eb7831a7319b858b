#include "commonshared.h"

QString CommonShared::getDataBytesStr(double b)
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

CommonShared::SplitAmount CommonShared::getMBString(double bytes)
{
    const QString text = getDataBytesStr(bytes);
    return SplitAmount{text.chopped(2), text.right(2)};
}
