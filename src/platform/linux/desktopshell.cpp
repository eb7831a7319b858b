#include "desktopshell.h"

#include <QClipboard>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDesktopServices>
#include <QDir>
#include <QFileInfo>
#include <QGuiApplication>
#include <QImage>
#include <QLoggingCategory>
#include <QProcess>
#include <QStandardPaths>
#include <QUrl>

Q_LOGGING_CATEGORY(lcShell, "tallymo.platform.shell", QtWarningMsg)

bool LinuxDesktopShell::openUrl(const QUrl &url)
{
    return QDesktopServices::openUrl(url);
}

bool LinuxDesktopShell::showFile(const QString &path)
{
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("/org/freedesktop/FileManager1"),
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("ShowItems"));
    call << QStringList{QUrl::fromLocalFile(path).toString()} << QString();
    const QDBusMessage reply = QDBusConnection::sessionBus().call(call, QDBus::Block, 5000);
    if (reply.type() != QDBusMessage::ErrorMessage)
        return true;
    qCInfo(lcShell) << "no file manager showed" << path << ":" << reply.errorMessage()
                    << "- opening its folder";
    return QDesktopServices::openUrl(QUrl::fromLocalFile(QFileInfo(path).absolutePath()));
}

void LinuxDesktopShell::copyImage(const QImage &image)
{
    QGuiApplication::clipboard()->setImage(image);
}

QString LinuxDesktopShell::picturesFolder()
{
    if (!m_pictures.isEmpty())
        return m_pictures;
    QProcess p;
    p.start(QStringLiteral("xdg-user-dir"), {QStringLiteral("PICTURES")});
    if (p.waitForFinished(3000) && p.exitStatus() == QProcess::NormalExit && p.exitCode() == 0) {
        const QString folder = QString::fromLocal8Bit(p.readAllStandardOutput()).trimmed();
        // xdg-user-dir answers the home folder itself when no picture folder is configured.
        if (!folder.isEmpty() && QDir(folder) != QDir::home())
            return folder;
    }
    return QStandardPaths::writableLocation(QStandardPaths::PicturesLocation);
}
