#include "networkinterfaces.h"

#include <QHash>
#include <QRegularExpression>
#include <QSet>

#include <algorithm>
#include <functional>

namespace InterfaceNames {
namespace {

int phoneIndex(const QString &name)
{
    static const QRegularExpression re(QStringLiteral("^pdp_ip(\\d+)$"));
    const QRegularExpressionMatch m = re.match(name);
    return m.hasMatch() ? m.captured(1).toInt() : -1;
}

} // namespace

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
    return name.startsWith(kCellularPrefix) || name.startsWith(QLatin1StringView("ww")) ||
           name.startsWith(QLatin1StringView("rmnet")) || name.startsWith(QLatin1StringView("ppp"));
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

QList<LinkCounters> withCellularNames(QList<LinkCounters> counters, const QStringList &cellular)
{
    QSet<int> taken;
    for (const QString &name : cellular)
        if (const int n = phoneIndex(name); n >= 0)
            taken.insert(n);
    QHash<QString, QString> renamed;
    int next = 0;
    for (const QString &name : cellular) {
        if (phoneIndex(name) >= 0)
            continue;
        while (taken.contains(next))
            ++next;
        renamed.insert(name, kCellularPrefix + QString::number(next));
        taken.insert(next);
    }
    for (LinkCounters &c : counters) {
        const auto it = renamed.constFind(c.name);
        if (it != renamed.cend())
            c.name = *it;
        else if (c.name.startsWith(kCellularPrefix) && !cellular.contains(c.name))
            c.name.prepend(QLatin1StringView("unlisted:")); // configured lists exclude it from cellular
    }
    return counters;
}

} // namespace InterfaceNames
