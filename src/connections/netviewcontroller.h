#pragma once

#include "core/listmodel.h"
#include "history/historycontrollers.h"

#include <QHash>
#include <QObject>
#include <QSet>

#include "services/hostnames.h"
#include "services/planstores.h"

// One address's traffic in one hour.
struct NetRow
{
    double sum = 0;
    QString ipaddress;
    QDateTime timeStamp;
    bool operator==(const NetRow &) const = default;
};

// The day's traffic per remote address, hour by hour (newest first), busiest address first; each
// address shown by its host name once a lookup answered.
class NetViewController : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool busy READ busy NOTIFY loaded)
    Q_PROPERTY(ListModel *addresses READ addresses CONSTANT)

public:
    NetViewController(PlanStores &stores, HostNames &hostNames, const DayValue &day,
                      std::shared_ptr<const ChartBuckets> hoursOnQueue, QObject *parent = nullptr);

    QMap<QDateTime, QList<NetRow>> dataForAll;
    QList<QDateTime> hourKeys;

    bool busy() const { return m_busy; }
    Q_INVOKABLE static QString noDataText() { return tr("No IP Addresses"); }
    // Whether a pull of the list closes the history, as for the other history lists.
    Q_INVOKABLE static bool pullCloses(bool tracking, double contentOffsetY)
    {
        return HistoryFormat::dismissScrollViewGesture(tracking, contentOffsetY);
    }
    std::optional<QString> cacheForKey(const QString &address) const;
    // Lookups still out.
    int pendingLookups() const { return int(m_pending.size()); }

    // The table: a header per hour with that hour's totals, a row per address.
    QString sectionTitle(int section) const;
    StyledText sectionCell(int section) const;
    StyledText sectionWifi(int section) const;
    // A section's header for a view: title, cellTotal and wifiTotal (lists of TextRun).
    Q_INVOKABLE QVariantMap header(int section) const;
    // What a row shows when it is drawn: the cached name, else the address.
    QString drawRow(int section, int row);
    QString rowLabel(int section, int row) const { return m_labels.value({section, row}); }
    // The rows the view shows now, in order, as (section, row) or as rows of `addresses`; a
    // looked-up name updates the first of them only.
    void setVisibleRows(const QList<QPair<int, int>> &rows) { m_visibleRows = rows; }
    Q_INVOKABLE void setVisibleModelRows(const QList<int> &rows);

    // The table flat, one row per address and hour, for a list with sections: section (the
    // section's number, as text: a list's sections are made by value, and a repeated hour at the
    // clock change has the same title twice; header() gives its title and totals), hour (the
    // section's title), label (the host name once known, else the address), bytes.
    ListModel *addresses() const { return m_addresses; }

    void processData();
    void getHosts(const QSet<QString> &addresses);
    void addCachedName(const QString &ip, const QString &hostname);

signals:
    void loaded();
    void rowUpdated(int section, int row);

private:
    void makeCache();
    PlanStores &m_stores;
    HostNames &m_hostNames;
    const DayValue &m_day;
    std::shared_ptr<const ChartBuckets> m_hours;
    std::shared_ptr<HostNameCache> m_cache;
    bool m_busy = true;
    QSet<QString> m_pending;
    QHash<QPair<int, int>, QString> m_labels;
    QList<QPair<int, int>> m_flat; // (section, row) of each model row
    QList<QPair<int, int>> m_visibleRows;
    ListModel *m_addresses;
};
