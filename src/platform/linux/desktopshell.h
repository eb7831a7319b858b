#pragma once

#include "screens/desktopshell.h"

// The desktop through its freedesktop.org services: web pages and folders through the URL
// handlers, files shown through org.freedesktop.FileManager1, the picture folder from
// xdg-user-dir.
class LinuxDesktopShell : public DesktopShell
{
public:
    // With a folder, pictures go there instead of the user's picture folder.
    explicit LinuxDesktopShell(QString picturesFolder = QString()) : m_pictures(std::move(picturesFolder)) {}
    bool openUrl(const QUrl &url) override;
    bool showFile(const QString &path) override;
    void copyImage(const QImage &image) override;
    QString picturesFolder() override;

private:
    QString m_pictures;
};
