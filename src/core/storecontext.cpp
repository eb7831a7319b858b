#include "storecontext.h"

#include "logging.h"

#include <cstdio>
#include <cstdlib>

void StoreContext::defaultOpenFailure(const QString &path, const QString &error)
{
    std::fprintf(stderr, "tallymo: cannot open usage store %s: %s\n", qPrintable(path), qPrintable(error));
    std::fflush(stderr);
    std::_Exit(EXIT_FAILURE);
}

StoreContext::StoreContext(QString name, QString path, OpenFailureHandler onOpenFailure)
    : m_name(std::move(name)), m_path(std::move(path)), m_queue(QStringLiteral("store ") + m_name)
{
    m_queue.async([this, onOpenFailure = std::move(onOpenFailure)] {
        QString error;
        m_store = UsageStore::open(m_path, &error);
        if (!m_store) {
            // The handler tells the user (by default in one line, and the process ends).
            qCInfo(lcCore, "cannot open usage store %s: %s", qPrintable(m_path), qPrintable(error));
            onOpenFailure(m_path, error);
        }
    });
}

StoreContext::~StoreContext() = default;

void StoreContext::perform(std::function<void()> block)
{
    m_queue.async(std::move(block));
}

void StoreContext::performAndWait(const std::function<void()> &block)
{
    m_queue.sync(block);
}

void StoreContext::insertEvent(const Event &event)
{
    Q_ASSERT(isCurrent());
    m_changes.append(event);
}

void StoreContext::insertNetevent(const Netevent &event)
{
    Q_ASSERT(isCurrent());
    m_changes.append(event);
}

void StoreContext::deleteEvents(const QDateTime &start, const QDateTime &end)
{
    Q_ASSERT(isCurrent());
    m_changes.append(UsageStore::DeleteRange{start, end});
}

bool StoreContext::save()
{
    Q_ASSERT(isCurrent());
    if (m_changes.isEmpty())
        return true;
    QString error;
    const bool ok = m_store && m_store->apply(m_changes, &error);
    m_lastError = ok ? QString() : m_store ? error : QStringLiteral("store not open");
    if (!ok) // silent to the user, as every store error, unless the caller reports it
        qCInfo(lcCore, "saving %lld changes to %s failed: %s", qlonglong(m_changes.size()),
               qPrintable(m_path), qPrintable(m_lastError));
    m_changes.clear();
    return ok;
}

std::optional<UsageSums> StoreContext::sum(const QDateTime &start, const QDateTime &end) const
{
    Q_ASSERT(isCurrent());
    return m_store ? m_store->sum(start, end) : std::nullopt;
}

QList<HourSums> StoreContext::hourlySums(const QDateTime &start, const QDateTime &end) const
{
    Q_ASSERT(isCurrent());
    return m_store ? m_store->hourlySums(start, end) : QList<HourSums>();
}

std::optional<QList<HourTotal>> StoreContext::hourTotals(const QDateTime &start, const QDateTime &end) const
{
    Q_ASSERT(isCurrent());
    return m_store ? m_store->hourTotals(start, end) : std::nullopt;
}

QList<PlaceSums> StoreContext::placeSums(const QDateTime &start, const QDateTime &end) const
{
    Q_ASSERT(isCurrent());
    return m_store ? m_store->placeSums(start, end) : QList<PlaceSums>();
}

QList<Netevent> StoreContext::addressSums(const QDateTime &start, const QDateTime &end) const
{
    Q_ASSERT(isCurrent());
    return m_store ? m_store->addressSums(start, end) : QList<Netevent>();
}

QList<Event> StoreContext::events(const QDateTime &start, const QDateTime &end) const
{
    Q_ASSERT(isCurrent());
    return m_store ? m_store->events(start, end) : QList<Event>();
}

std::optional<TimeStampRange> StoreContext::timeStampRange() const
{
    Q_ASSERT(isCurrent());
    return m_store ? m_store->timeStampRange() : std::nullopt;
}
