#pragma once

#include <QString>

class QImage;
class QUrl;

// What the app asks of the desktop around it: web pages, the file manager, the clipboard and the
// user's picture folder.
class DesktopShell
{
public:
    virtual ~DesktopShell() = default;
    virtual bool openUrl(const QUrl &url) = 0;
    // Shows the file selected in the file manager, or else opens its folder.
    virtual bool showFile(const QString &path) = 0;
    virtual void copyImage(const QImage &image) = 0;
    // Where the user keeps pictures; empty when there is none.
    virtual QString picturesFolder() = 0;
};

// The user's service manager, for refreshing usage in the background.
class UserServiceManager
{
public:
    struct State
    {
        bool on = false;
        QString problem; // why the state cannot be read (no service manager); empty when it can
    };
    virtual ~UserServiceManager() = default;
    // On when the background service or the refresh timer is enabled.
    virtual State backgroundRefresh() = 0;
    // Enables and starts the background service; says in `error` why not.
    virtual bool enableBackgroundRefresh(QString *error) = 0;
};
