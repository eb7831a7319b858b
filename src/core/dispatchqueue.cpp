#include "dispatchqueue.h"

#include <QCoreApplication>
#include <QMetaObject>
#include <QObject>
#include <QThread>

#include <atomic>

namespace {
std::atomic<bool> g_onCreatingThread{false};
} // namespace

void DispatchQueue::setRunOnCreatingThread(bool onCreatingThread)
{
    g_onCreatingThread = onCreatingThread;
}

DispatchQueue::DispatchQueue(const QString &label) : m_receiver(std::make_unique<QObject>())
{
    m_receiver->setObjectName(label);
    if (g_onCreatingThread)
        return;
    m_thread = std::make_unique<QThread>();
    m_thread->setObjectName(label);
    m_receiver->moveToThread(m_thread.get());
    m_thread->start();
}

DispatchQueue::~DispatchQueue()
{
    if (!m_thread) {
        drain();
        return;
    }
    // A queue cannot wait for its own thread: the last owner must let go from another thread.
    Q_ASSERT_X(!isCurrent(), "DispatchQueue", "destroyed from its own thread");
    // Queued blocks run first: quit is itself a block at the end of the queue.
    QThread *thread = m_thread.get();
    QMetaObject::invokeMethod(
        m_receiver.get(), [thread] { thread->quit(); }, Qt::QueuedConnection);
    m_thread->wait();
    // The thread is finished, so the receiver can be released from here.
    m_receiver.reset();
}

void DispatchQueue::async(std::function<void()> block)
{
    QMetaObject::invokeMethod(
        m_receiver.get(), [this, block = std::move(block)] { run(block); }, Qt::QueuedConnection);
}

void DispatchQueue::sync(const std::function<void()> &block)
{
    if (m_thread ? isCurrent() : m_running > 0) {
        block(); // from one of the queue's own blocks: in place, as on its thread
        return;
    }
    if (m_thread || !isCurrent()) { // on a queue without a thread: another thread waits for its loop
        QMetaObject::invokeMethod(m_receiver.get(), block, Qt::BlockingQueuedConnection);
        return;
    }
    // After the blocks submitted before it, as a queue with a thread would run it.
    drain();
    run(block);
}

void DispatchQueue::run(const std::function<void()> &block)
{
    ++m_running;
    block();
    --m_running;
}

void DispatchQueue::drain()
{
    QCoreApplication::sendPostedEvents(m_receiver.get(), QEvent::MetaCall);
}

bool DispatchQueue::isCurrent() const
{
    return QThread::currentThread() == (m_thread ? m_thread.get() : m_receiver->thread());
}

QObject *DispatchQueue::context() const
{
    return m_receiver.get();
}

void dispatchMain(std::function<void()> block)
{
    QMetaObject::invokeMethod(QCoreApplication::instance(), std::move(block), Qt::QueuedConnection);
}
