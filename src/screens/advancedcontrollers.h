#pragma once

#include "menucontroller.h"

#include <QImage>
#include <QUrl>

class UsageMonitor;
class DesktopShell;
class MailComposer;
class UserServiceManager;

// The project's web pages the app links to.
namespace WebPages {
QUrl product();
QUrl support();
QUrl moreApps();
} // namespace WebPages

// The advanced settings: background refresh, the percentage badge, the usage map, the voice
// shortcut, adding cellular usage by hand and resetting the current period.
class ResetController : public MenuController
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the app's navigator")
public:
    // Rows (and sections, one row each up to the last two rows).
    enum Rows { BackgroundRow, BadgeRow, MapRow, ShortcutRow, AddRow, ResetRow };

    ResetController(UsageMonitor &monitor, UserServiceManager *services, QObject *parent = nullptr);
    void tapRow(int row) override;
    void setSwitch(int row, bool on) override;
    void answer(int index) override;
    // Back from the add screen, or back to the app: the service may have been changed meanwhile.
    void aboutToShow() override { reload(); }

private:
    enum class Question { None, Reset, Shortcut };
    void reload();

    UsageMonitor &m_monitor;
    UserServiceManager *m_services;
    bool m_refreshOn = false; // as the service manager said at the last reload
    Question m_asked = Question::None;
};

// About: the support and apps pages and a page to like the app.
class AboutController : public MenuController
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the app's navigator")
public:
    AboutController(DesktopShell *shell, QObject *parent = nullptr);
    void tapRow(int row) override;

private:
    DesktopShell *m_shell;
};

// A picture of the main screen to share: saved as a PNG in the user's picture folder, then copied,
// mailed or shown in the file manager.
class ShareController : public MenuController
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the app's navigator")
    Q_PROPERTY(QUrl imageUrl READ imageUrl CONSTANT)
    Q_PROPERTY(QString error READ error CONSTANT)

public:
    // `snapshot` is the whole main screen at `pixelRatio` pixels per point; the status bar's 20
    // points at the top are left out. Nothing is saved when `folder` is empty or the image is.
    ShareController(const QImage &snapshot, qreal pixelRatio, const QString &folder, DesktopShell *shell,
                    MailComposer *mail, const QDateTime &now, QObject *parent = nullptr);

    static QImage withoutStatusBar(const QImage &snapshot, qreal pixelRatio);
    static QString shareText();

    QString path() const { return m_path; }
    QUrl imageUrl() const { return m_path.isEmpty() ? QUrl() : QUrl::fromLocalFile(m_path); }
    QString error() const { return m_error; }
    void tapRow(int row) override;

private:
    QImage m_image;
    QString m_path;
    QString m_error;
    DesktopShell *m_shell;
    MailComposer *m_mail;
};
