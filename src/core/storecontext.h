#pragma once

#include "dispatchqueue.h"
#include "usagestore.h"

#include <functional>
#include <memory>

// A plan's store context: one SQLite connection and one serial queue. Opening the store is the
// first block on the queue, so everything submitted later runs after it. Changes (inserts,
// deletions) are kept until save(); every method but perform/performAndWait/name/path runs on the
// queue.
class StoreContext
{
public:
    // Called on the queue when the store cannot be opened. The default prints one line naming the
    // file and the SQLite error and ends the process; the file itself is never touched.
    using OpenFailureHandler = std::function<void(const QString &path, const QString &error)>;
    static void defaultOpenFailure(const QString &path, const QString &error);

    StoreContext(QString name, QString path, OpenFailureHandler onOpenFailure = defaultOpenFailure);
    ~StoreContext();
    StoreContext(const StoreContext &) = delete;
    StoreContext &operator=(const StoreContext &) = delete;

    const QString &name() const { return m_name; }
    const QString &path() const { return m_path; }

    void perform(std::function<void()> block);
    void performAndWait(const std::function<void()> &block);
    bool isCurrent() const { return m_queue.isCurrent(); }

    // On the queue. Nothing when the store could not be opened.
    UsageStore *store() const { return m_store.get(); }

    void insertEvent(const Event &event);
    void insertNetevent(const Netevent &event);
    // Removes the events of [start, end) at the next save.
    void deleteEvents(const QDateTime &start, const QDateTime &end);
    void rollback() { m_changes.clear(); }
    // Writes the pending changes; a failure is logged and the changes are dropped.
    bool save();
    // Why the last save failed.
    const QString &lastError() const { return m_lastError; }

    // Queries; a failed fetch (or no store) reads as no data.
    std::optional<UsageSums> sum(const QDateTime &start, const QDateTime &end) const;
    QList<HourSums> hourlySums(const QDateTime &start, const QDateTime &end) const;
    std::optional<QList<HourTotal>> hourTotals(const QDateTime &start, const QDateTime &end) const;
    QList<PlaceSums> placeSums(const QDateTime &start, const QDateTime &end) const;
    QList<Netevent> addressSums(const QDateTime &start, const QDateTime &end) const;
    QList<Event> events(const QDateTime &start, const QDateTime &end) const;
    std::optional<TimeStampRange> timeStampRange() const;

private:
    const QString m_name;
    const QString m_path;
    std::unique_ptr<UsageStore> m_store;
    QList<UsageStore::Change> m_changes;
    QString m_lastError;
    DispatchQueue m_queue; // last: drained and stopped before the store closes
};
