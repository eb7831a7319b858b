#include "netviewcontroller.h"
#include "core/localtime.h"

#include "core/sharedcode.h"
#include "core/storecontext.h"
#include "plans/billingcycle.h"

NetViewController::NetViewController(PlanStores &stores, HostNames &hostNames, const DayValue &day,
                                     std::shared_ptr<const ChartBuckets> hoursOnQueue, QObject *parent)
    : QObject(parent), m_stores(stores), m_hostNames(hostNames), m_day(day), m_hours(std::move(hoursOnQueue)),
      m_addresses(new ListModel(
          {"section", "hour", "label", "bytes"}, [this] { return int(m_flat.size()); },
          [this](int i, const QByteArray &role) -> QVariant {
              const auto [section, row] = m_flat.value(i);
              if (role == "section")
                  return QString::number(section);
              if (role == "hour")
                  return sectionTitle(section);
              if (role == "label")
                  return drawRow(section, row);
              return dataForAll.value(hourKeys.value(section)).value(row).sum;
          },
          this))
{
    connect(this, &NetViewController::loaded, this, [this] {
        m_flat.clear();
        for (int section = 0; section < hourKeys.size(); ++section)
            for (int row = 0; row < dataForAll.value(hourKeys.at(section)).size(); ++row)
                m_flat.append({section, row});
        m_addresses->reload();
    });
    connect(this, &NetViewController::rowUpdated, this, [this](int section, int row) {
        m_addresses->rowChanged(int(m_flat.indexOf({section, row})));
    });
    makeCache();
    connect(m_cache.get(), &HostNameCache::addToCache, this, &NetViewController::addCachedName);
    processData();
}

void NetViewController::makeCache()
{
    m_cache = m_hostNames.hostnameCache();
}

std::optional<QString> NetViewController::cacheForKey(const QString &address) const
{
    const auto it = m_cache->names.constFind(address);
    return it == m_cache->names.cend() ? std::nullopt : std::optional<QString>(*it);
}

void NetViewController::processData()
{
    m_busy = true;
    const std::shared_ptr<StoreContext> context = m_day.storeContext();
    if (!context) {
        m_busy = false;
        emit loaded();
        return;
    }
    const QDateTime start = m_day.thisDay(), end = m_day.nextDay();
    QPointer<NetViewController> self(this);
    context->perform([self, context, hours = m_hours, start, end] {
        QMap<QDateTime, QList<NetRow>> byHour;
        QSet<QString> addresses;
        if (hours && !hours->isEmpty()) {
            for (const Netevent &e : context->addressSums(start, end)) {
                const QDateTime hour = LocalTime::hourStart(e.timeStamp);
                byHour[hour].append(NetRow{e.bytes, e.ipaddress, e.timeStamp});
                addresses.insert(e.ipaddress);
            }
            for (QList<NetRow> &rows : byHour)
                std::sort(rows.begin(), rows.end(), [](const NetRow &a, const NetRow &b) {
                    return a.sum != b.sum ? a.sum > b.sum : a.ipaddress < b.ipaddress;
                });
        }
        dispatchMain([self, byHour, addresses] {
            if (!self)
                return;
            self->dataForAll = byHour;
            self->hourKeys = HistoryFormat::reverseSortArrayUsingCompare(byHour.keys());
            self->m_labels.clear();
            self->m_busy = false;
            if (!byHour.isEmpty())
                self->getHosts(addresses);
            emit self->loaded();
        });
    });
}

void NetViewController::getHosts(const QSet<QString> &addresses)
{
    HostNameResolver *resolver = m_hostNames.resolver();
    if (!resolver)
        return; // addresses stay addresses
    for (const QString &address : addresses) {
        if (cacheForKey(address) || m_pending.contains(address))
            continue;
        m_pending.insert(address);
        std::weak_ptr<HostNameCache> weak = m_cache;
        QPointer<NetViewController> self(this);
        resolver->lookup(address, [weak, self, address](const QString &name) {
            if (self)
                self->m_pending.remove(address);
            if (const std::shared_ptr<HostNameCache> cache = weak.lock())
                emit cache->addToCache(address, name.isEmpty() ? address : name);
        });
    }
}

void NetViewController::addCachedName(const QString &ip, const QString &hostname)
{
    if (ip.isEmpty() || hostname.isEmpty())
        return;
    m_cache->names.insert(ip, hostname);
    for (const QPair<int, int> &at : std::as_const(m_visibleRows)) {
        const QList<NetRow> rows =
            at.first < hourKeys.size() ? dataForAll.value(hourKeys.at(at.first)) : QList<NetRow>();
        if (at.second < rows.size() && rows.at(at.second).ipaddress == ip) {
            m_labels.insert(at, hostname);
            emit rowUpdated(at.first, at.second);
            return; // the first visible row only; the others pick the name up when drawn
        }
    }
}

void NetViewController::setVisibleModelRows(const QList<int> &rows)
{
    m_visibleRows.clear();
    for (int row : rows)
        if (row >= 0 && row < m_flat.size())
            m_visibleRows.append(m_flat.at(row));
}

QString NetViewController::drawRow(int section, int row)
{
    const QList<NetRow> rows =
        section >= 0 && section < hourKeys.size() ? dataForAll.value(hourKeys.at(section)) : QList<NetRow>();
    if (row < 0 || row >= rows.size())
        return QString();
    const QString text = cacheForKey(rows.at(row).ipaddress).value_or(rows.at(row).ipaddress);
    m_labels.insert({section, row}, text);
    return text;
}

QString NetViewController::sectionTitle(int section) const
{
    if (section < 0 || section >= hourKeys.size())
        return QString();
    return DateFormatter::withPattern(HistoryFormat::hourFormat(m_stores.shared().clock().now()))
        .toString(hourKeys.at(section));
}

namespace {

StyledText hourTotal(const DayValue &day, const QList<QDateTime> &keys, int section, bool wifi)
{
    if (section < 0 || section >= keys.size() || !day.dataForAllHours().contains(keys.at(section)))
        return {};
    const ChartData d = day.dataForAllHours().value(keys.at(section));
    StyledText text = TimeChartViewController::getMBString(wifi ? d.sumWifi : d.sumCell);
    if (section == 0) // the newest hour names its network
        text.prepend(TextRun{wifi ? QStringLiteral("w ") : QStringLiteral("c "), TextRun::Glyph});
    return text;
}

} // namespace

QVariantMap NetViewController::header(int section) const
{
    return {{QStringLiteral("title"), sectionTitle(section)},
            {QStringLiteral("cellTotal"), runsForView(sectionCell(section))},
            {QStringLiteral("wifiTotal"), runsForView(sectionWifi(section))}};
}

StyledText NetViewController::sectionCell(int section) const
{
    return hourTotal(m_day, hourKeys, section, false);
}

StyledText NetViewController::sectionWifi(int section) const
{
    return hourTotal(m_day, hourKeys, section, true);
}
