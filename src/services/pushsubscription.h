#pragma once

#include <QLatin1StringView>

class PushSubscriptions;

// The push subscription whose only purpose is to wake the service: registered with the push
// distributor at launch and again when the distributor changes; its outcomes are logged.
class PushSubscription
{
public:
    static constexpr QLatin1StringView kSubscriptionId{"tallymo_push_subscription2"};

    explicit PushSubscription(PushSubscriptions *backend = nullptr) : m_backend(backend) {}
    void setBackend(PushSubscriptions *backend) { m_backend = backend; }

    // At launch: registers again without logging the outcome.
    void renew();
    // The distributor changed: registers, logging the outcome.
    void distributorChanged() { start(); }
    void start();
    void stop();
    void removeAll();
    // Logs the subscriptions the distributor holds.
    void check();

private:
    PushSubscriptions *m_backend;
};
