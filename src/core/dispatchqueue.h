#pragma once

#include <QString>

#include <functional>
#include <memory>

class QObject;
class QThread;

// A serial queue: a thread with its own event loop that runs submitted blocks one at a time, in
// order. Destroying the queue runs the blocks already submitted, then stops the thread.
class DispatchQueue
{
public:
    explicit DispatchQueue(const QString &label);
    ~DispatchQueue();
    DispatchQueue(const DispatchQueue &) = delete;
    DispatchQueue &operator=(const DispatchQueue &) = delete;

    void async(std::function<void()> block);
    // Runs the block and waits for it; runs it in place when called from this queue.
    void sync(const std::function<void()> &block);
    bool isCurrent() const;

    // An object living on the queue's thread, for timers and delayed replies bound to it.
    QObject *context() const;

private:
    std::unique_ptr<QThread> m_thread;
    std::unique_ptr<QObject> m_receiver;
};

// Runs the block on the main (application) thread's event loop.
void dispatchMain(std::function<void()> block);
