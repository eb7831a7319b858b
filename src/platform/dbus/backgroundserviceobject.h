#pragma once

#include <QObject>

#include <functional>

// The background service's object on the session bus: Push() is a silent push, Wake() a request
// to sample now. Both answer at once; the usage check runs afterwards.
class BackgroundServiceObject : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.tallymo.Tallymo.Background")

public:
    static constexpr QLatin1StringView kPath{"/org/tallymo/Tallymo/Background"};
    static constexpr QLatin1StringView kInterface{"org.tallymo.Tallymo.Background"};

    BackgroundServiceObject(std::function<void()> onPush, std::function<void()> onWake)
        : m_onPush(std::move(onPush)), m_onWake(std::move(onWake))
    {}

public slots:
    void Push()
    {
        if (m_onPush)
            QMetaObject::invokeMethod(this, m_onPush, Qt::QueuedConnection);
    }
    void Wake()
    {
        if (m_onWake)
            QMetaObject::invokeMethod(this, m_onWake, Qt::QueuedConnection);
    }

private:
    std::function<void()> m_onPush;
    std::function<void()> m_onWake;
};
