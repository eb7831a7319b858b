#include "historycontrollers.h"
#include "core/localtime.h"

#include "core/settingskeys.h"
#include "core/sharedcode.h"
#include "core/storecontext.h"
#include "desktop/displayformat.h"
#include "plans/billingcycle.h"

#include <QCoreApplication>

// ---- TimeChartViewController ----

TimeChartViewController::TimeChartViewController(PlanStores &stores, const QString &plan,
                                                 const QString &mainPattern, QObject *parent)
    : QObject(parent), planID(plan), m_stores(stores), m_context(stores.storeForPlan(plan)),
      m_mainPattern(mainPattern),
      m_rows(new ListModel(
          {"key", "timeLabel", "subLabel", "spokenLabel", "cellAmount", "wifiAmount", "cellPercent",
           "wifiPercent"},
          [this] { return rowCount(); },
          [this](int i, const QByteArray &role) -> QVariant {
              const ChartRow r = row(i);
              if (role == "key")
                  return r.key;
              if (role == "timeLabel")
                  return r.timeLabel;
              if (role == "subLabel")
                  return r.subLabel;
              if (role == "spokenLabel")
                  return spokenLabel(i);
              if (role == "cellAmount" || role == "wifiAmount")
                  return runsForView(role == "cellAmount" ? r.cellAmount : r.wifiAmount);
              return role == "cellPercent" ? r.cellPercent : r.wifiPercent;
          },
          this))
{
    connect(this, &TimeChartViewController::loaded, m_rows, &ListModel::reload);
}

TimeChartViewController::~TimeChartViewController() = default;

QString TimeChartViewController::noUsageText()
{
    return QCoreApplication::translate("TimeChartViewController", "No Usage");
}

StyledText TimeChartViewController::getMBString(double bytes)
{
    const DisplayFormat::SplitAmount a = DisplayFormat::getMBString(bytes);
    return {TextRun{a.number, TextRun::Number}, TextRun{a.unit, TextRun::Unit}};
}

QVariantMap TimeChartViewController::layoutRow(double width, double cellPercent, double wifiPercent)
{
    const History::RowLayout l = History::rowLayout(width, cellPercent, wifiPercent);
    return {{QStringLiteral("cellAmountX"), l.cellAmountX}, {QStringLiteral("wifiAmountX"), l.wifiAmountX},
            {QStringLiteral("cellBarX"), l.cellBarX},       {QStringLiteral("cellBarWidth"), l.cellBarWidth},
            {QStringLiteral("wifiBarX"), l.wifiBarX},       {QStringLiteral("wifiBarWidth"), l.wifiBarWidth}};
}

bool TimeChartViewController::pullCloses(bool tracking, double contentOffsetY)
{
    return HistoryFormat::dismissScrollViewGesture(tracking, contentOffsetY);
}

const DateFormatter &TimeChartViewController::mainDF() const
{
    if (!m_mainDF)
        m_mainDF.emplace(DateFormatter::withPattern(m_mainPattern));
    return *m_mainDF;
}

ChartRow TimeChartViewController::row(int index) const
{
    ChartRow r;
    if (index < 0 || index >= m_keys.size())
        return r;
    r.key = m_keys.at(index);
    r.timeLabel = mainDF().toString(r.key);
    if (r.timeLabel.size() >= 4)
        r.timeLabel.truncate(3);
    if (m_showSubLabel && m_subDF)
        r.subLabel = m_subDF->toString(r.key);
    const ChartData d = m_data.value(r.key);
    r.cellAmount = getMBString(d.sumCell);
    r.wifiAmount = getMBString(d.sumWifi);
    r.cellPercent = History::widthPercent(d.sumCell, m_range.cellNonZeroMinimum, m_range.cellMaximum);
    r.wifiPercent = History::widthPercent(d.sumWifi, m_range.wifiNonZeroMinimum, m_range.wifiMaximum);
    return r;
}

QString TimeChartViewController::spokenLabel(int index) const
{
    if (index < 0 || index >= m_keys.size())
        return QString();
    if (!m_spokenDF)
        m_spokenDF.emplace(makeSpokenFormatter());
    return m_spokenDF->toString(m_keys.at(index));
}

DateFormatter TimeChartViewController::makeSpokenFormatter() const
{
    return DateFormatter::withTemplate(QStringLiteral("yMMMMd"));
}

void TimeChartViewController::reload()
{
    // Cleared before the store is asked, so a reload never shows the previous view's rows.
    m_keys.clear();
    m_data.clear();
    m_range = ChartRanges();
    m_busy = true;
    m_rows->reload();
    emit changed();
    const quint64 generation = ++m_generation;
    if (!m_context) {
        setBuckets({});
        return;
    }
    QPointer<TimeChartViewController> self(this);
    StoreContext *context = m_context.get();
    context->perform([self, context, generation, job = bucketsJob()] {
        const ChartBuckets buckets = job(*context);
        dispatchMain([self, generation, buckets] {
            if (self && self->m_generation == generation)
                self->setBuckets(buckets);
        });
    });
}

void TimeChartViewController::setBuckets(const ChartBuckets &buckets)
{
    m_data = buckets;
    m_keys = HistoryFormat::reverseSortArrayUsingCompare(buckets.keys());
    m_range = History::findRanges(buckets);
    m_busy = false;
    didLoad();
    emit loaded();
    emit changed();
}

// ---- TimeViewController ----

TimeViewController::TimeViewController(PlanStores &stores, const QString &plan,
                                       std::shared_ptr<const ChartBuckets> hoursOnQueue, QObject *parent)
    : TimeChartViewController(stores, plan, QString(), parent), m_hours(std::move(hoursOnQueue)),
      m_24Hour(HistoryFormat::timeIs24HourFormat(stores.shared().clock().now()))
{
    setMainPattern(m_24Hour ? QStringLiteral("HH") : QStringLiteral("h"));
    reload();
}

QString TimeViewController::periodLabel() const
{
    if (m_24Hour || m_keys.isEmpty())
        return QString();
    return DateFormatter::withPattern(QStringLiteral("a")).toString(m_keys.first());
}

DateFormatter TimeViewController::makeSpokenFormatter() const
{
    return DateFormatter::withPattern(HistoryFormat::hourFormat(m_stores.shared().clock().now()));
}

TimeChartViewController::BucketsJob TimeViewController::bucketsJob() const
{
    return [hours = m_hours](StoreContext &) { return hours ? *hours : ChartBuckets(); };
}

// ---- CycleViewController ----

CycleViewController::CycleViewController(PlanStores &stores, const QString &plan, const QDateTime &date,
                                         QObject *parent)
    : TimeChartViewController(stores, plan, QStringLiteral("d"), parent)
{
    m_isSelectable = true;
    m_date = date;
    const Period p = BillingCycle::computeStartEndDates(stores.shared(), date, plan);
    m_start = p.start;
    m_end = p.end;
    reload();
}

QString CycleViewController::title() const
{
    const DateFormatter df = DateFormatter::withTemplate(QStringLiteral("MMMd"));
    return QStringLiteral("%1 - %2").arg(
        df.toString(m_start), df.toString(BillingCycle::dateByAddingUnit(CalendarUnit::Day, -1, m_end)));
}

QString CycleViewController::periodLabel() const
{
    if (m_keys.isEmpty())
        return QString();
    return DateFormatter::withPattern(QStringLiteral("MMM")).toString(m_keys.first());
}

void CycleViewController::reloadWithDate(const QDateTime &date)
{
    if (date == m_date)
        return;
    m_date = date;
    const Period p = BillingCycle::computeStartEndDates(m_stores.shared(), date, planID);
    m_start = p.start;
    m_end = p.end;
    m_usage.clear();
    reload();
}

TimeChartViewController *CycleViewController::periodsController()
{
    if (!m_multi) {
        m_multi = new MultiCyclesController(m_stores, planID, this);
        connect(m_multi, &MultiCyclesController::periodSelected, this,
                [this](const QDateTime &start) { reloadWithDate(start); });
    }
    return m_multi;
}

void CycleViewController::tapRow(int row)
{
    if (row < 0 || row >= m_keys.size())
        return;
    emit daySelected(m_keys.at(row));
    emit chosen();
}

TimeChartViewController::BucketsJob CycleViewController::bucketsJob() const
{
    return [start = m_start, end = m_end](StoreContext &context) {
        return History::bucketSums(context, start, end, History::Bucket::Day);
    };
}

DateFormatter CycleViewController::makeSpokenFormatter() const
{
    return DateFormatter::withTemplate(QStringLiteral("MMMMEEEEd"));
}

void CycleViewController::didLoad()
{
    m_usage = HistoryFormat::totalsLine(m_data);
}

// ---- MultiCyclesController ----

MultiCyclesController::MultiCyclesController(PlanStores &stores, const QString &plan, QObject *parent)
    : TimeChartViewController(stores, plan, QString(), parent),
      m_planType(BillingCycle::dataPlanTypeForPlan(stores.shared(), plan))
{
    m_isSelectable = true;
    if (m_planType == BillingCycle::Monthly) {
        setMainPattern(QStringLiteral("MMM"));
        m_timeLabelFontsize = 22;
    } else if (!BillingCycle::isDailyCycleForPlan(stores.shared(), plan)) {
        setMainPattern(QStringLiteral("d"));
        m_subDF = DateFormatter::withPattern(QStringLiteral("MMM"));
        m_showSubLabel = true;
        m_rowHeight = 95;
    } else {
        setMainPattern(QStringLiteral("d"));
    }
    reload();
}

void MultiCyclesController::tapRow(int row)
{
    if (row < 0 || row >= m_keys.size())
        return;
    emit periodSelected(m_keys.at(row));
    emit chosen();
}

TimeChartViewController::BucketsJob MultiCyclesController::bucketsJob() const
{
    // The settings domain is safe to read from any thread; the monitor outlives every screen.
    return [shared = &m_stores.shared(), plan = planID](StoreContext &context) {
        ChartBuckets buckets;
        for (const History::PeriodRow &p : History::periods(*shared, context, plan))
            buckets.insert(p.start, p.data);
        return buckets;
    };
}

QDateTime MultiCyclesController::periodEnd(const QDateTime &start) const
{
    return BillingCycle::computeStartEndDates(m_stores.shared(), start, planID).end;
}

void MultiCyclesController::didLoad()
{
    SettingsDomain &pref = m_stores.shared().userPref();
    if (m_keys.isEmpty() || pref.boolForKey(Keys::PREF_TIP_DISMISS))
        return;
    pref.setValue(Keys::PREF_TIP_DISMISS, true);
    pref.synchronize();
    emit showTip(tr("QUICK TIP"), tr("Pull down to dismiss."));
}

// ---- HistoryFormat ----

QVariantList runsForView(const StyledText &text)
{
    QVariantList runs;
    for (const TextRun &run : text)
        runs.append(QVariant::fromValue(run));
    return runs;
}

StyledText HistoryFormat::headerUsageStringForCell(double cell, double wifi)
{
    StyledText text{TextRun{QStringLiteral("c "), TextRun::Glyph}};
    text += TimeChartViewController::getMBString(cell);
    text += TextRun{QStringLiteral("  w "), TextRun::Glyph};
    text += TimeChartViewController::getMBString(wifi);
    return text;
}

StyledText HistoryFormat::totalsLine(const ChartBuckets &buckets)
{
    if (buckets.isEmpty())
        return {};
    double cell = 0, wifi = 0;
    for (const ChartData &d : buckets) {
        cell += d.sumCell;
        wifi += d.sumWifi;
    }
    return headerUsageStringForCell(cell, wifi);
}

bool HistoryFormat::timeIs24HourFormat(const QDateTime &now)
{
    return DateFormatter::uses24HourClock(now);
}

QString HistoryFormat::hourFormat(const QDateTime &now)
{
    return DateFormatter::patternForTemplate(timeIs24HourFormat(now) ? QStringLiteral("HHmm")
                                                                     : QStringLiteral("ha"));
}

bool HistoryFormat::dismissScrollViewGesture(bool tracking, double contentOffsetY)
{
    return tracking && contentOffsetY < -100;
}
