#include "networkinterfaces.h"

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

} // namespace InterfaceNames
