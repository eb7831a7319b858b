#pragma once

#include <QDateTime>

// The source of "now" for everything that stamps or compares times, so tests can pin it.
class Clock
{
public:
    virtual ~Clock() = default;
    virtual QDateTime now() const = 0;

    // The system clock in the local time zone.
    static const Clock &system();
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
