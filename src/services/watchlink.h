#pragma once

#include "queuedwork.h"

#include <QVariantMap>

#include <functional>

class LocationTracker;
class SharedCode;
class WatchSession;

// The link with the companion watch: answers its messages with the statistics record and pushes the
// main screen's figures to it.
class WatchLink
{
public:
    WatchLink(SharedCode &shared, const LocationTracker &location, WatchSession *session = nullptr);
    void setSession(WatchSession *session) { m_session = session; }

    // Activates the session (again after it went); each message is answered by currentRecord.
    void connectSession();
    // The statistics record of this moment (the widget's keys), answered from the active plan's
    // store queue once the traffic up to now is recorded; before setup, the not-set-up record;
    // empty when it cannot be computed.
    void currentRecord(std::function<void(const QVariantMap &)> reply);
    // Pushes the main screen's figures: as complication data when the forecast's look changed
    // (and the complication is shown), else as the application context.
    void sendContext(const QVariantMap &mainScreenRecord);

private:
    bool forecastStateChanged(const QVariantMap &context);

    SharedCode &m_shared;
    const LocationTracker &m_location;
    WatchSession *m_session;
    QueuedWork m_work; // last: ends before the members its blocks use
};
