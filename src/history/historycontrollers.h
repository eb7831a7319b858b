#pragma once

#include "chartdata.h"
#include "core/dateformatter.h"
#include "core/listmodel.h"
#include "services/planstores.h"

#include <QObject>
#include <QPointer>

#include <functional>
#include <memory>

class StoreContext;

// What one history row shows.
struct ChartRow
{
    Q_GADGET
    Q_PROPERTY(QDateTime key MEMBER key)
    Q_PROPERTY(QString timeLabel MEMBER timeLabel)
    Q_PROPERTY(QString subLabel MEMBER subLabel)
    Q_PROPERTY(double cellPercent MEMBER cellPercent)
    Q_PROPERTY(double wifiPercent MEMBER wifiPercent)

public:
    QDateTime key;
    QString timeLabel; // the main format of the key, cut to 3 characters when longer
    QString subLabel;  // the second date line, where the screen has one
    StyledText cellAmount;
    StyledText wifiAmount;
    double cellPercent = -1; // bar fractions; -1 is no bar
    double wifiPercent = -1;
};

// The shared base of the history lists: the buckets of one view, newest first, their scale and how
// each row is labelled. Sums are computed on the plan store's queue and handed to the main thread
// whole; until then the list is busy.
class TimeChartViewController : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool busy READ busy NOTIFY changed)
    Q_PROPERTY(bool noUsage READ noUsage NOTIFY changed)
    Q_PROPERTY(int rowCount READ rowCount NOTIFY changed)
    Q_PROPERTY(QString periodLabel READ periodLabel NOTIFY changed)
    Q_PROPERTY(ListModel *rows READ rows CONSTANT)
    Q_PROPERTY(double timeLabelWidth READ timeLabelWidth CONSTANT)
    Q_PROPERTY(double timeLabelFontsize READ timeLabelFontsize CONSTANT)
    Q_PROPERTY(double rowHeight READ rowHeight CONSTANT)
    Q_PROPERTY(bool showSubLabel READ showSubLabel CONSTANT)
    Q_PROPERTY(bool isSelectable READ isSelectable CONSTANT)
    Q_PROPERTY(double headerHeight READ headerHeight NOTIFY changed)
    Q_PROPERTY(QString title READ title NOTIFY changed)
    // The totals line over the rows (lists of TextRun), where the screen has one.
    Q_PROPERTY(QVariantList usageLine READ usageLine NOTIFY changed)
    // Whether the back control opens the periods view (the view of one period).
    Q_PROPERTY(bool hasPeriods READ hasPeriods CONSTANT)

public:
    ~TimeChartViewController() override;

    const QString planID;
    // The view's buckets by key, the keys newest first, and the bars' scales.
    const QList<QDateTime> &keysForChart() const { return m_keys; }
    const ChartBuckets &dataForChart() const { return m_data; }
    const ChartRanges &chartRange() const { return m_range; }
    // Row layout, in points.
    double timeLabelWidth() const { return m_timeLabelWidth; }
    double timeLabelFontsize() const { return m_timeLabelFontsize; }
    double rowHeight() const { return m_rowHeight; }
    bool showSubLabel() const { return m_showSubLabel; }
    bool isSelectable() const { return m_isSelectable; }

    // The rows' label format, made the first time a label is asked for.
    const DateFormatter &mainDF() const;
    bool busy() const { return m_busy; }
    bool noUsage() const { return !m_busy && m_keys.isEmpty(); }
    int rowCount() const { return int(m_keys.size()); }
    ChartRow row(int index) const;
    // A row's key whole: the hour with its AM/PM, the day with its weekday, the period with its year.
    QString spokenLabel(int index) const;
    // The rows as a model: key, timeLabel, subLabel, spokenLabel (the key as a screen reader says
    // it), cellAmount, wifiAmount (lists of TextRun), cellPercent, wifiPercent (bar fractions, -1
    // for none).
    ListModel *rows() const { return m_rows; }
    // The header's period label; empty when the header has none (it is then 1 point high).
    virtual QString periodLabel() const { return QString(); }
    double headerHeight() const { return periodLabel().isEmpty() ? 1 : 30; }
    // The text "No Usage" shown in place of an empty list.
    Q_INVOKABLE static QString noUsageText();
    virtual QString title() const { return QString(); }
    virtual QVariantList usageLine() const { return {}; }
    // A row's places for a row width: cellAmountX, wifiAmountX, cellBarX, cellBarWidth, wifiBarX,
    // wifiBarWidth (bar fractions below 0 draw no bar).
    Q_INVOKABLE static QVariantMap layoutRow(double width, double cellPercent, double wifiPercent);
    // Whether a pull of the list (its vertical offset, the finger still on it) closes the history.
    Q_INVOKABLE static bool pullCloses(bool tracking, double contentOffsetY);
    // A tapped row: the day or period it stands for is shown below and this view goes (chosen()).
    Q_INVOKABLE virtual void tapRow(int row) { Q_UNUSED(row); }
    // The periods view its back control opens, for the view of one period; else nothing.
    Q_INVOKABLE virtual TimeChartViewController *periodsController() { return nullptr; }
    virtual bool hasPeriods() const { return false; }
    static StyledText getMBString(double bytes);

    // Recompute from the store.
    void reload();

signals:
    void loaded();
    // What the list shows changed: a reload began (busy, no rows, the new title) or ended.
    void changed();
    // A row was chosen: the view below shows it; this one closes.
    void chosen();
    // A hint shown once, the first time the periods view has rows.
    void showTip(const QString &title, const QString &text);

protected:
    TimeChartViewController(PlanStores &stores, const QString &plan, const QString &mainPattern,
                            QObject *parent);
    void setMainPattern(const QString &pattern)
    {
        m_mainPattern = pattern;
        m_mainDF.reset();
    }
    // The work that sums the view's buckets on the store's queue; it owns copies of what it needs,
    // so the controller may go away while it runs.
    using BucketsJob = std::function<ChartBuckets(StoreContext &context)>;
    virtual BucketsJob bucketsJob() const = 0;
    // On the main thread, after the buckets are in.
    virtual void didLoad() {}
    // The format of spokenLabel; made the first time a row is read out.
    virtual DateFormatter makeSpokenFormatter() const;
    PlanStores &m_stores;
    std::shared_ptr<StoreContext> m_context;
    QList<QDateTime> m_keys;
    ChartBuckets m_data;
    ChartRanges m_range;
    double m_timeLabelWidth = 48;
    double m_timeLabelFontsize = 26;
    double m_rowHeight = 77;
    bool m_showSubLabel = false;
    bool m_isSelectable = false;
    std::optional<DateFormatter> m_subDF;

private:
    void setBuckets(const ChartBuckets &buckets);
    QString m_mainPattern;
    mutable std::optional<DateFormatter> m_mainDF;
    mutable std::optional<DateFormatter> m_spokenDF;
    ListModel *m_rows;
    bool m_busy = true;
    quint64 m_generation = 0;
};

// Hours of one day. Its buckets come from the day view, taken on its own pass through the queue.
class TimeViewController : public TimeChartViewController
{
    Q_OBJECT
public:
    TimeViewController(PlanStores &stores, const QString &plan,
                       std::shared_ptr<const ChartBuckets> hoursOnQueue, QObject *parent = nullptr);
    QString periodLabel() const override;

protected:
    BucketsJob bucketsJob() const override;
    DateFormatter makeSpokenFormatter() const override;

private:
    std::shared_ptr<const ChartBuckets> m_hours; // the day view's map, read on the store's queue
    bool m_24Hour;
};

class MultiCyclesController;

// The days of one billing period.
class CycleViewController : public TimeChartViewController
{
    Q_OBJECT
public:
    CycleViewController(PlanStores &stores, const QString &plan, const QDateTime &date,
                        QObject *parent = nullptr);
    QDateTime cycleStartDate() const { return m_start; }
    QDateTime cycleEndDate() const { return m_end; }
    QString title() const override;
    StyledText usageLabel() const { return m_usage; }
    QVariantList usageLine() const override { return runsForView(m_usage); }
    QString periodLabel() const override;
    // Show the period containing `date`; nothing when it is the date shown.
    void reloadWithDate(const QDateTime &date);
    // The periods view, made once and kept.
    TimeChartViewController *periodsController() override;
    bool hasPeriods() const override { return true; }
    // A day tapped: the day view below shows it and this view goes away.
    void tapRow(int row) override;

signals:
    void daySelected(const QDateTime &day);

protected:
    BucketsJob bucketsJob() const override;
    void didLoad() override;
    DateFormatter makeSpokenFormatter() const override;

private:
    QDateTime m_date, m_start, m_end;
    StyledText m_usage;
    MultiCyclesController *m_multi = nullptr;
};

// The billing periods with usage, newest first.
class MultiCyclesController : public TimeChartViewController
{
    Q_OBJECT
public:
    MultiCyclesController(PlanStores &stores, const QString &plan, QObject *parent = nullptr);
    int planType() const { return m_planType; }
    QString title() const override { return tr("Bill Cycles"); }
    QDateTime periodEnd(const QDateTime &start) const;
    void tapRow(int row) override;

signals:
    void periodSelected(const QDateTime &start);

protected:
    BucketsJob bucketsJob() const override;
    void didLoad() override;

private:
    int m_planType;
};
