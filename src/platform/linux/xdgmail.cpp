#include "xdgmail.h"

#include "core/privatefiles.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>

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

bool XdgMail::compose(const QString &subject, const QString &body, const QString &file,
                      const QString &attachmentName)
{
    // The attachment is the user's usage history: it stays in the user's own folders.
    const QString dir = PrivateFiles::runtimeFolder() + QStringLiteral("/mail");
    const QString attachment = dir + QLatin1Char('/') + attachmentName;
    QFile source(file);
    QString error;
    if (!source.open(QIODevice::ReadOnly) ||
        !PrivateFiles::makePrivateFolder(QFileInfo(dir).path(), &error) ||
        !PrivateFiles::makePrivateFolder(dir, &error) ||
        !PrivateFiles::writeFile(attachment, source.readAll(), &error))
        return false;
    // xdg-email exits 3 when no program handles mailto.
    QStringList arguments{QStringLiteral("--subject"), subject};
    if (!body.isEmpty())
        arguments << QStringLiteral("--body") << body;
    arguments << QStringLiteral("--attach") << attachment;
    return QProcess::execute(QStringLiteral("xdg-email"), arguments) == 0;
}
