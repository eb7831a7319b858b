#include "networkinterfaces.h"

#include <algorithm>
#include <functional>

namespace InterfaceNames {

bool naturalLess(const QString &a, const QString &b)
{
    qsizetype i = 0, j = 0;
    while (i < a.size() && j < b.size()) {
        if (a[i].isDigit() && b[j].isDigit()) {
            qsizetype ei = i, ej = j;
            while (ei < a.size() && a[ei].isDigit())
                ++ei;
            while (ej < b.size() && b[ej].isDigit())
                ++ej;
            // Compare digit runs by value: strip leading zeros, then by length, then textually.
            QStringView da = QStringView(a).mid(i, ei - i), db = QStringView(b).mid(j, ej - j);
            while (da.size() > 1 && da.front() == u'0')
                da = da.mid(1);
            while (db.size() > 1 && db.front() == u'0')
                db = db.mid(1);
            if (da.size() != db.size())
                return da.size() < db.size();
            if (const int c = da.compare(db); c != 0)
                return c < 0;
            i = ei;
            j = ej;
            continue;
        }
        if (a[i] != b[j])
            return a[i] < b[j];
        ++i;
        ++j;
    }
    return a.size() - i < b.size() - j;
}

bool hasCellularName(const QString &name)
{
    // Not ppp*: a PPP link is as often a VPN or a serial line as a modem's.
    return name.startsWith(QLatin1StringView("pdp_ip")) || name.startsWith(QLatin1StringView("ww")) ||
           name.startsWith(QLatin1StringView("rmnet"));
}

QStringList cellularInterfaces(const QStringList &present, const QStringList &configured,
                               const std::function<bool(const QString &)> &isCellular)
{
    QStringList result;
    if (!configured.isEmpty()) {
        for (const QString &name : configured)
            if (present.contains(name) && !result.contains(name))
                result.append(name);
        return result;
    }
    for (const QString &name : present)
        if (hasCellularName(name) || isCellular(name))
            result.append(name);
    std::sort(result.begin(), result.end(), naturalLess);
    return result;
}

QString primaryCellular(const QStringList &cellular, bool configured, const QString &previous)
{
    // Phone-style names keep their roles: pdp_ip0 is the primary link, pdp_ip1... are tethering.
    if (cellular.contains(QLatin1StringView("pdp_ip0")))
        return QStringLiteral("pdp_ip0");
    QStringList candidates;
    for (const QString &name : cellular)
        if (!name.startsWith(QLatin1StringView("pdp_ip")))
            candidates.append(name);
    if (candidates.isEmpty())
        return QString();
    if (!configured && candidates.contains(previous))
        return previous;
    return candidates.first();
}

} // namespace InterfaceNames
