#pragma once

#include <QMutex>
#include <QWaitCondition>

#include <functional>
#include <memory>

class StoreContext;

// Blocks an object queues on the main thread or on a store's queue that must not outlive it. The
// store queues belong to SharedCode and outlive the services, so a block may still be waiting when
// its object goes: such a block is dropped, and the destructor waits for one that has started.
// Declare it as the last member, so that it ends before the members the blocks use.
class QueuedWork
{
public:
    QueuedWork() = default;
    QueuedWork(const QueuedWork &) = delete;
    QueuedWork &operator=(const QueuedWork &) = delete;
    ~QueuedWork();

    // Runs the block on the main queue unless the owner is gone by then.
    void onMain(std::function<void()> block);
    // Runs the block on the store's queue unless the owner is gone by then.
    void onStore(StoreContext &context, std::function<void()> block);

private:
    struct Lifetime
    {
        QMutex mutex;
        QWaitCondition idle;
        bool ended = false;
        int running = 0;
    };
    const std::shared_ptr<Lifetime> m_lifetime = std::make_shared<Lifetime>();
};
