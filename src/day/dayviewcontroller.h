#pragma once

#include "history/historycontrollers.h"
#include "services/hostnames.h"
#include "services/planstores.h"

#include <QObject>

class MapViewController;
class NetViewController;
#include <QPointer>

#include <array>
#include <memory>

// The day screen: the day's totals and two children, the hour list and the map, one shown.
class DayViewController : public QObject, public DayValue
{
    Q_OBJECT
    Q_PROPERTY(QString title READ title NOTIFY loaded)
    Q_PROPERTY(int activeIndex READ activeIndex NOTIFY activeChanged)
    Q_PROPERTY(QObject *activeController READ activeController NOTIFY activeChanged)
    // Each child by its kind, made when first asked for (the view asks only for the one shown).
    Q_MOC_INCLUDE("connections/netviewcontroller.h")
    Q_MOC_INCLUDE("map/mapviewcontroller.h")
    Q_PROPERTY(TimeChartViewController *hours READ hours NOTIFY activeChanged)
    Q_PROPERTY(MapViewController *map READ map NOTIFY activeChanged)
    Q_PROPERTY(NetViewController *addresses READ addresses NOTIFY activeChanged)
    Q_PROPERTY(bool busy READ busy NOTIFY loaded)
    Q_PROPERTY(bool noUsage READ noUsage NOTIFY loaded)
    // The day's totals (lists of TextRun).
    Q_PROPERTY(QVariantList usageLine READ usageLine NOTIFY loaded)
    // The segmented control: the hour chart, the map, the addresses.
    Q_PROPERTY(QStringList segments READ segments CONSTANT)

public:
    DayViewController(PlanStores &stores, HostNames &hostNames, const QString &plan,
                      QObject *parent = nullptr);
    ~DayViewController() override;

    const QString planID;
    QDateTime thisDay() const override { return m_day; }
    QString title() const;
    StyledText usageLabel() const { return m_usage; }
    QVariantList usageLine() const { return runsForView(m_usage); }
    QStringList segments() const { return {tr("Time"), tr("Map"), tr("Network")}; }
    ChartBuckets dataForAllHours() const override { return m_hours; }
    bool busy() const { return m_busy; }
    bool noUsage() const { return !m_busy && m_hours.isEmpty(); }

    int activeIndex() const { return m_active; }
    // The child in a slot (0 the hour list, 1 the map, 2 the addresses), made on first use.
    QObject *child(int index);
    QObject *activeController() { return child(m_active); }
    TimeChartViewController *hours();
    MapViewController *map();
    NetViewController *addresses();
    // The segmented control: show that child and remember the choice (0, 1 or 2).
    Q_INVOKABLE void setSegment(int index);

    // Another day: both children are thrown away and the shown one remade.
    void reloadWithDate(const QDateTime &date);
    // A swipe to the left shows the next day, to the right the previous; ignored while sliding.
    enum Swipe { Left, Right };
    Q_ENUM(Swipe)
    Q_INVOKABLE bool swipe(Swipe direction);
    Q_INVOKABLE void slideFinished() { m_sliding = false; }
    // The back control: the periods view for a daily plan, else the period view; made once.
    Q_INVOKABLE TimeChartViewController *cycleController();

    // The day's store (the plan's context) and the end of the day, for the day's pages.
    std::shared_ptr<StoreContext> storeContext() const override { return m_context; }
    QDateTime nextDay() const override;

signals:
    void loaded();
    void activeChanged();
    void dismissed();

private:
    void compute();
    PlanStores &m_stores;
    HostNames &m_hostNames;
    std::shared_ptr<StoreContext> m_context;
    QDateTime m_day;
    std::shared_ptr<ChartBuckets> m_queueHours; // only touched on the store's queue
    ChartBuckets m_hours;                       // the main thread's copy
    StyledText m_usage;
    std::array<QPointer<QObject>, 3> m_children;
    int m_active = 0;
    bool m_busy = true;
    bool m_sliding = false;
    quint64 m_generation = 0;
    TimeChartViewController *m_cycle = nullptr;
};
