#pragma once

#include "core/sharedcode.h"

#include <QDateTime>
#include <QMutex>
#include <QVariantMap>

#include <utility>

class StoreContext;

// The figures of the active plan's current billing period.
struct CurrentValues
{
    QDateTime monthStartDate;
    QDateTime monthEndDate;
    double monthCellIn = 0;
    double monthCellOut = 0;
    double monthCell = 0;
    double monthWifiIn = 0;
    double monthWifiOut = 0;
    double monthWifi = 0;
    double monthPercent = 0; // of the effective cap, unrounded; 0 without a cap
};

// The current period's figures of the active plan, kept for the life of the process, with what is
// derived from them: the time left, the forecast and the record the main screen hands the watch.
// Read from any thread.
class UsageFigures
{
public:
    explicit UsageFigures(SharedCode &shared) : m_shared(shared) {}

    CurrentValues values() const;
    // Reads the figures from the store (a failed read keeps the previous ones). For another plan
    // than the active one, the figures are returned and not kept. On the context's queue.
    CurrentValues readCurrentValues(StoreContext *context, const QString &plan = QString());
    // The same for the active plan from the main thread, waiting for its store's queue.
    CurrentValues readActivePlanValuesNow();
    // Forgets the period (at launch, before the first check).
    void forgetPeriod();
    // Time left in the period: hours for a daily plan, else whole days; with its unit word.
    std::pair<qint64, QString> timeLeft(const CurrentValues &v, const QString &plan = QString()) const;
    // The forecast ratio of the figures at the clock's now.
    double forecastRatio(const CurrentValues &v) const;
    // What the main screen hands the watch: percent, colour, forecast, used, time left.
    QVariantMap mainScreenRecord() const;
    // The last sample the usage check took (for what the command line reports).
    SampleResult lastSample() const;
    void setLastSample(const SampleResult &sample);
    // Whether `end` differs from the period end this was last told (and remembers it).
    bool periodEndChanged(const QDateTime &end);

private:
    SharedCode &m_shared;
    mutable QMutex m_mutex;
    CurrentValues m_values;
    SampleResult m_lastSample;
    QDateTime m_periodEndSeen;
};
