#pragma once

#include <QString>

#include <functional>
#include <memory>

class QObject;
class QThread;

// A serial queue: a thread with its own event loop that runs submitted blocks one at a time, in
// order. Destroying the queue runs the blocks already submitted, then stops the thread.
//
// A process whose main thread has nothing else to do between blocks (the background service) can
// have its queues made on the main thread instead: the same order, without a second thread's
// stack, malloc arena and hand-offs.
class DispatchQueue
{
public:
    // For queues made from now on: whether they run on the thread that makes them (its event
    // loop) rather than on a thread of their own.
    static void setRunOnCreatingThread(bool onCreatingThread);

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
    // Runs the blocks submitted so far (on a queue without a thread of its own).
    void drain();
    // Runs one of the queue's blocks, counted in m_running.
    void run(const std::function<void()> &block);

    std::unique_ptr<QThread> m_thread; // none on a queue that runs on its creating thread
    std::unique_ptr<QObject> m_receiver;
    int m_running = 0; // blocks of this queue running now
};

// Runs the block on the main (application) thread's event loop.
void dispatchMain(std::function<void()> block);
