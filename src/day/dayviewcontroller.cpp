#include "dayviewcontroller.h"

#include "connections/netviewcontroller.h"
#include "core/dispatchqueue.h"
#include "core/localtime.h"
#include "core/settingskeys.h"
#include "core/sharedcode.h"
#include "core/storecontext.h"
#include "map/mapviewcontroller.h"
#include "plans/billingcycle.h"

// ---- DayViewController ----

DayViewController::DayViewController(PlanStores &stores, HostNames &hostNames, const QString &plan,
                                     QObject *parent)
    : QObject(parent), planID(plan), m_stores(stores), m_hostNames(hostNames),
      m_context(stores.storeForPlan(plan)), m_day(stores.shared().todayAtZeroHour()),
      m_queueHours(std::make_shared<ChartBuckets>())
{
    const qint64 stored = stores.shared().userPref().integerForKey(Keys::PREF_DAYVIEW_TYPE);
    // 0 the hour chart, 1 the map, 2 the addresses; anything else shows the hour chart.
    m_active = stored == 1 || stored == 2 ? int(stored) : 0;
    compute();
}

DayViewController::~DayViewController() = default;

QString DayViewController::title() const
{
    return DateFormatter::withTemplate(QStringLiteral("EEEEMMMMd")).toString(m_day);
}

QObject *DayViewController::child(int index)
{
    if (index < 0 || index > 2)
        return nullptr;
    if (!m_children[index]) {
        if (index == 0)
            m_children[0] = new TimeViewController(m_stores, planID, m_queueHours, this);
        else if (index == 1)
            m_children[1] = new MapViewController(m_stores, *this, m_queueHours, this);
        else
            m_children[2] = new NetViewController(m_stores, m_hostNames, *this, m_queueHours, this);
    }
    return m_children[index];
}

TimeChartViewController *DayViewController::hours()
{
    return static_cast<TimeChartViewController *>(child(0));
}

MapViewController *DayViewController::map()
{
    return static_cast<MapViewController *>(child(1));
}

NetViewController *DayViewController::addresses()
{
    return static_cast<NetViewController *>(child(2));
}

void DayViewController::setSegment(int index)
{
    if (index < 0 || index > 2)
        return;
    m_active = index;
    m_stores.shared().userPref().setValue(Keys::PREF_DAYVIEW_TYPE, index);
    m_stores.shared().userPref().synchronize();
    child(index);
    emit activeChanged();
}

void DayViewController::reloadWithDate(const QDateTime &date)
{
    const QDateTime day = LocalTime::midnightOf(date);
    if (day == m_day)
        return;
    m_day = day;
    // The old day's pages go once the views hold the new day's, so no view reads a deleted one.
    std::array<QPointer<QObject>, 3> old;
    std::swap(old, m_children);
    compute();
    child(m_active);
    emit activeChanged();
    for (QPointer<QObject> &c : old) {
        if (c)
            c->deleteLater();
    }
}

bool DayViewController::swipe(Swipe direction)
{
    if (m_sliding)
        return false;
    m_sliding = true;
    reloadWithDate(BillingCycle::addDays(m_day, direction == Left ? 1 : -1));
    return true;
}

TimeChartViewController *DayViewController::cycleController()
{
    if (!m_cycle) {
        if (BillingCycle::isDailyCycleForPlan(m_stores.shared(), planID)) {
            auto *multi = new MultiCyclesController(m_stores, planID, this);
            connect(multi, &MultiCyclesController::periodSelected, this,
                    [this](const QDateTime &start) { reloadWithDate(start); });
            m_cycle = multi;
        } else {
            auto *cycle = new CycleViewController(m_stores, planID, m_stores.shared().clock().now(), this);
            connect(cycle, &CycleViewController::daySelected, this,
                    [this](const QDateTime &day) { reloadWithDate(day); });
            m_cycle = cycle;
        }
    }
    return m_cycle;
}

QDateTime DayViewController::nextDay() const
{
    return BillingCycle::addDays(m_day, 1);
}

void DayViewController::compute()
{
    m_busy = true;
    m_hours.clear();
    m_usage.clear();
    const quint64 generation = ++m_generation;
    emit loaded(); // the new day's title, and busy until its hours are in
    if (!m_context) {
        m_busy = false;
        emit loaded();
        return;
    }
    const std::shared_ptr<ChartBuckets> hours = m_queueHours;
    const QDateTime start = m_day, end = nextDay();
    StoreContext *context = m_context.get();
    QPointer<DayViewController> self(this);
    context->perform([self, context, hours, start, end, generation] {
        *hours = History::bucketSums(*context, start, end, History::Bucket::Hour);
        dispatchMain([self, generation, result = *hours] {
            if (!self || self->m_generation != generation)
                return;
            self->m_hours = result;
            self->m_usage = HistoryFormat::totalsLine(result);
            self->m_busy = false;
            emit self->loaded();
        });
    });
}
