#include "dispatchqueue.h"

#include <QCoreApplication>
#include <QMetaObject>
#include <QObject>
#include <QThread>

DispatchQueue::DispatchQueue(const QString &label)
    : m_thread(std::make_unique<QThread>()), m_receiver(std::make_unique<QObject>())
{
    m_thread->setObjectName(label);
    m_receiver->moveToThread(m_thread.get());
    m_thread->start();
}

DispatchQueue::~DispatchQueue()
{
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
    QMetaObject::invokeMethod(m_receiver.get(), std::move(block), Qt::QueuedConnection);
}

void DispatchQueue::sync(const std::function<void()> &block)
{
    if (isCurrent()) {
        block();
        return;
    }
    QMetaObject::invokeMethod(m_receiver.get(), block, Qt::BlockingQueuedConnection);
}

bool DispatchQueue::isCurrent() const
{
    return QThread::currentThread() == m_thread.get();
}

QObject *DispatchQueue::context() const
{
    return m_receiver.get();
}

void dispatchMain(std::function<void()> block)
{
    QMetaObject::invokeMethod(QCoreApplication::instance(), std::move(block), Qt::QueuedConnection);
}
