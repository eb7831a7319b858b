#include "queuedwork.h"

#include "core/dispatchqueue.h"
#include "core/storecontext.h"

#include <QScopeGuard>

QueuedWork::~QueuedWork()
{
    QMutexLocker locker(&m_lifetime->mutex);
    m_lifetime->ended = true;
    while (m_lifetime->running > 0)
        m_lifetime->idle.wait(&m_lifetime->mutex);
}

void QueuedWork::onMain(std::function<void()> block)
{
    // Blocks run on the main thread, where the owner is also destroyed: the check cannot race.
    dispatchMain([lifetime = m_lifetime, block = std::move(block)] {
        {
            QMutexLocker locker(&lifetime->mutex);
            if (lifetime->ended)
                return;
        }
        block();
    });
}

void QueuedWork::onStore(StoreContext &context, std::function<void()> block)
{
    context.perform([lifetime = m_lifetime, block = std::move(block)] {
        {
            QMutexLocker locker(&lifetime->mutex);
            if (lifetime->ended)
                return;
            ++lifetime->running;
        }
        const auto leave = qScopeGuard([&] {
            QMutexLocker locker(&lifetime->mutex);
            if (--lifetime->running == 0)
                lifetime->idle.wakeAll();
        });
        block();
    });
}
