#include "xdgmail.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>

bool XdgMail::canSendMail()
{
    if (!qEnvironmentVariableIsEmpty("MAILER"))
        return true;
    QProcess query;
    query.start(QStringLiteral("xdg-mime"), {QStringLiteral("query"), QStringLiteral("default"),
                                             QStringLiteral("x-scheme-handler/mailto")});
    return query.waitForFinished(5000) && query.exitCode() == 0 &&
           !query.readAllStandardOutput().trimmed().isEmpty();
}

bool XdgMail::compose(const QString &subject, const QString &file, const QString &attachmentName)
{
    QString dir = QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation);
    if (dir.isEmpty())
        dir = QDir::tempPath();
    dir += QStringLiteral("/tallymo-mail");
    QDir().mkpath(dir);
    const QString attachment = dir + QLatin1Char('/') + attachmentName;
    QFile::remove(attachment);
    if (!QFile::copy(file, attachment))
        return false;
    // xdg-email exits 3 when no program handles mailto.
    return QProcess::execute(QStringLiteral("xdg-email"), {QStringLiteral("--subject"), subject,
                                                           QStringLiteral("--attach"), attachment}) == 0;
}
