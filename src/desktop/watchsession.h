#pragma once

#include <QString>
#include <QVariantMap>

#include <functional>

// The session with the companion watch: messages it sends (each answered with one record), the
// application context pushed to it, and complication data.
class WatchSession
{
public:
    using Reply = std::function<void(const QVariantMap &record)>; // callable from any thread, once
    using MessageHandler = std::function<void(const QVariantMap &message, Reply reply)>;

    virtual ~WatchSession() = default;
    virtual bool isSupported() = 0;
    // Messages go to `onMessage` on the main thread; `onDeactivate` when the session ended.
    virtual void activate(MessageHandler onMessage, std::function<void()> onDeactivate) = 0;
    virtual bool isWatchAppInstalled() = 0;
    virtual bool isComplicationEnabled() = 0;
    virtual bool updateApplicationContext(const QVariantMap &context, QString *error) = 0;
    virtual void transferCurrentComplicationUserInfo(const QVariantMap &info) = 0;
};
