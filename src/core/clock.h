#pragma once

#include <QDateTime>
#include <QElapsedTimer>

// The source of "now" for everything that stamps or compares times, so tests can pin it.
class Clock
{
public:
    virtual ~Clock() = default;
    virtual QDateTime now() const = 0;

    // The system clock in the local time zone.
    static const Clock &system();
};

// A clock that starts at a given moment and runs from there (a replay of another day).
class RunningClock : public Clock
{
public:
    explicit RunningClock(QDateTime start) : m_start(std::move(start)) { m_elapsed.start(); }
    QDateTime now() const override { return m_start.addMSecs(m_elapsed.elapsed()); }

private:
    QDateTime m_start;
    QElapsedTimer m_elapsed;
};

class FixedClock : public Clock
{
public:
    explicit FixedClock(QDateTime now) : m_now(std::move(now)) {}
    QDateTime now() const override { return m_now; }
    void set(QDateTime now) { m_now = std::move(now); }

private:
    QDateTime m_now;
};
