#pragma once

#include <QObject>
#include <QString>

// In-process notifications by name ("NOTIFY_UPDATE_THEME"): the screens that change something post
// it, the screens that show it observe it.
class NotificationCenter : public QObject
{
    Q_OBJECT
public:
    static NotificationCenter &defaultCenter();
    void post(const QString &name) { emit posted(name); }

signals:
    void posted(const QString &name);
};

inline constexpr QLatin1StringView kNotifyUpdateTheme{"NOTIFY_UPDATE_THEME"};
