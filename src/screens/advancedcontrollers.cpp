#include "advancedcontrollers.h"

#include "core/settingskeys.h"
#include "core/sharedcode.h"
#include "desktopshell.h"
#include "history/exportcontroller.h"
#include "services/usagemonitor.h"

#include <QDir>
#include <QFileInfo>
#include <QLoggingCategory>

Q_DECLARE_LOGGING_CATEGORY(lcScreens)

QUrl WebPages::product()
{
    return QUrl(QStringLiteral("https://tallymo.org/"));
}

QUrl WebPages::support()
{
    return QUrl(QStringLiteral("https://tallymo.org/support"));
}

QUrl WebPages::moreApps()
{
    return QUrl(QStringLiteral("https://tallymo.org/apps"));
}

// ---- ResetController ----

ResetController::ResetController(UsageMonitor &monitor, UserServiceManager *services, QObject *parent)
    : MenuController(tr("Advanced"), {}, parent), m_monitor(monitor), m_services(services)
{
    reload();
}

void ResetController::reload()
{
    const UserServiceManager::State refresh =
        m_services
            ? m_services->backgroundRefresh()
            : UserServiceManager::State{false, tr("This system has no service manager for its users.")};
    m_refreshOn = refresh.on;
    QString refreshFooter = tr("Refresh usage statistics in the background.");
    if (!refresh.problem.isEmpty())
        refreshFooter = refresh.problem;
    else if (!refresh.on)
        refreshFooter = tr("Tap to turn on the background service.");
    SettingsDomain &pref = m_monitor.shared().userPref();
    setFooters({refreshFooter, tr("Show current usage on the app icon."),
                tr("Map Usage only uses low-power location services to preserve battery life. The desktop's "
                   "location service has to allow Tallymo."),
                QString(), QString()});
    setRows({{BackgroundRow, tr("Background App Refresh"), Navigator::NoScreen,
              refresh.on ? tr("On") : tr("Off"), refresh.problem.isEmpty()},
             {BadgeRow, tr("Percentage Badge"), Navigator::NoScreen, QString(), true, Switch,
              pref.boolForKey(Keys::PREF_V7_BADGE)},
             {MapRow, tr("Map Usage"), Navigator::NoScreen, QString(), true, Switch,
              pref.boolForKey(Keys::PREF_V7_GEO)},
             {ShortcutRow, tr("Keyboard Shortcut"), Navigator::NoScreen, QString(), true, Button},
             {4, tr("Add Cellular Usage"), Navigator::AddUsage},
             {4, tr("Reset Current Statistics"), Navigator::NoScreen, QString(), true, DestructiveButton}});
}

void ResetController::tapRow(int row)
{
    if (row < 0 || row >= int(menuRows().size()) || !menuRows()[size_t(row)].enabled)
        return;
    switch (row) {
    case BackgroundRow: {
        if (!m_services || m_refreshOn)
            return;
        QString error;
        if (m_services->enableBackgroundRefresh(&error))
            emit message(tr("The background service is on: usage is now refreshed in the background."));
        else
            emit message(error);
        reload();
        return;
    }
    case ShortcutRow: {
        m_asked = Question::Shortcut;
        emit ask(
            AlertService::alertControllerWithTitle(
                tr("Keyboard Shortcut"),
                tr("To hear your usage at a keystroke, bind this command to a key in your desktop's keyboard "
                   "settings:\n\ntallymo intent show-usage --speak"))
                .toMap());
        return;
    }
    case ResetRow: {
        m_asked = Question::Reset;
        AlertValue a = AlertService::alertControllerWithTitle(
            QString(), tr("This will delete current usage statistics."));
        a.actions = {AlertAction{tr("Reset Current Statistics"), AlertAction::Destructive},
                     AlertAction{tr("Cancel"), AlertAction::Cancel}};
        emit ask(a.toMap());
        return;
    }
    default:
        MenuController::tapRow(row);
    }
}

void ResetController::answer(int index)
{
    const Question asked = std::exchange(m_asked, Question::None);
    if (asked != Question::Reset || index != 0)
        return;
    m_monitor.plans().resetCurrentPeriod();
    m_monitor.doComputeValuesOnly();
    emit goBack();
}

void ResetController::setSwitch(int row, bool on)
{
    SettingsDomain &pref = m_monitor.shared().userPref();
    if (row == BadgeRow) {
        pref.setValue(Keys::PREF_V7_BADGE, on);
        m_monitor.showBadge();
    } else if (row == MapRow) {
        pref.setValue(Keys::PREF_V7_GEO, on);
        // The map's hint says where to turn this on: once it is, a day without places says only so.
        if (on)
            pref.setValue(Keys::PREF_GEO_HIDE_HINT, true);
        m_monitor.location().follow();
        if (on && !m_monitor.location().isMapTracking())
            emit message(
                tr("No location service allowed Tallymo to know where it is: usage is recorded without "
                   "places until it does."));
    } else {
        return;
    }
    reload();
}

// ---- AboutController ----

AboutController::AboutController(DesktopShell *shell, QObject *parent)
    : MenuController(tr("About"),
                     {{0, tr("Get Support"), Navigator::NoScreen, QString(), shell != nullptr, Button},
                      {0, tr("See More Apps"), Navigator::NoScreen, QString(), shell != nullptr, Button},
                      {1, tr("Like %1").arg(QStringLiteral("Tallymo")), Navigator::NoScreen, QString(),
                       shell != nullptr, Button}},
                     parent),
      m_shell(shell)
{
    setFooters({QString(), tr("Tallymo %1").arg(QStringLiteral(TALLYMO_VERSION))});
}

void AboutController::tapRow(int row)
{
    if (!m_shell || row < 0 || row > 2)
        return;
    const QUrl url = row == 0 ? WebPages::support() : row == 1 ? WebPages::moreApps() : WebPages::product();
    if (!m_shell->openUrl(url))
        emit message(tr("No web browser opened %1.").arg(url.toString()));
}

// ---- ShareController ----

QImage ShareController::withoutStatusBar(const QImage &snapshot, qreal pixelRatio)
{
    const int top = qRound(20 * pixelRatio);
    if (snapshot.height() <= top)
        return QImage();
    return snapshot.copy(0, top, snapshot.width(), snapshot.height() - top);
}

QString ShareController::shareText()
{
    return tr("My data usage. Beautifully tracked by Tallymo.") + QLatin1Char('\n') +
           WebPages::product().toString();
}

ShareController::ShareController(const QImage &snapshot, qreal pixelRatio, const QString &folder,
                                 DesktopShell *shell, MailComposer *mail, const QDateTime &now,
                                 QObject *parent)
    : MenuController(tr("Share Screenshot"), {}, parent), m_image(withoutStatusBar(snapshot, pixelRatio)),
      m_shell(shell), m_mail(mail)
{
    if (m_image.isNull())
        m_error = tr("There is no picture of the main screen to share.");
    else if (folder.isEmpty() || !QDir().mkpath(folder))
        m_error = tr("There is no picture folder to save the screenshot in.");
    if (m_error.isEmpty()) {
        const QString name =
            QStringLiteral("Tallymo %1.png").arg(now.toString(QStringLiteral("yyyy-MM-dd HH.mm.ss")));
        m_path = QDir(folder).filePath(name);
        if (!m_image.save(m_path, "PNG")) {
            m_error = tr("Cannot save the screenshot in %1.").arg(folder);
            m_path.clear();
        }
    }
    if (!m_error.isEmpty())
        qCInfo(lcScreens) << "share screenshot:" << m_error;
    const bool saved = !m_path.isEmpty();
    setRows({{0, tr("Copy Image"), Navigator::NoScreen, QString(), saved && m_shell, Button},
             {0, tr("Send by Mail"), Navigator::NoScreen, QString(), saved && m_mail, Button},
             {0, tr("Show in Files"), Navigator::NoScreen, QString(), saved && m_shell, Button}});
    setFooters({saved ? tr("Saved as %1").arg(m_path) : m_error});
}

void ShareController::tapRow(int row)
{
    if (row < 0 || row >= int(menuRows().size()) || !menuRows()[size_t(row)].enabled)
        return;
    if (row == 0) {
        m_shell->copyImage(m_image);
        emit message(tr("The screenshot is on the clipboard."));
    } else if (row == 1) {
        if (!m_mail->canSendMail())
            emit message(tr("Your email is not set up."));
        else if (!m_mail->compose(tr("Tallymo"), shareText(), m_path, QFileInfo(m_path).fileName()))
            emit message(tr("The mail program could not be opened."));
    } else if (!m_shell->showFile(m_path)) {
        emit message(tr("No file manager opened %1.").arg(m_path));
    }
}
