#include "desktopicons.h"

#include "core/privatefiles.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLoggingCategory>
#include <QStandardPaths>

Q_LOGGING_CATEGORY(lcIcons, "tallymo.platform.icons")

namespace {
constexpr QLatin1StringView kMarker{"X-Tallymo-AlternateIcon="};

QByteArray readAll(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}
} // namespace

LinuxAlternateIcons::LinuxAlternateIcons()
    : m_userEntry(QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) +
                  QStringLiteral("/applications/") + kDesktopId + QStringLiteral(".desktop"))
{}

QString LinuxAlternateIcons::themeIconName(const QString &alternate)
{
    return alternate.isEmpty() ? QString(kDesktopId) : kDesktopId + QLatin1Char('-') + alternate;
}

QString LinuxAlternateIcons::alternateIconName() const
{
    for (const QByteArray &line : readAll(m_userEntry).split('\n')) {
        const QString text = QString::fromUtf8(line).trimmed();
        if (text.startsWith(kMarker))
            return text.mid(kMarker.size());
    }
    return QString();
}

QString LinuxAlternateIcons::installedEntryPath() const
{
    const QString relative = QStringLiteral("applications/") + kDesktopId + QStringLiteral(".desktop");
    for (const QString &path : QStandardPaths::locateAll(QStandardPaths::GenericDataLocation, relative)) {
        if (QFileInfo(path).absoluteFilePath() != QFileInfo(m_userEntry).absoluteFilePath())
            return path;
    }
    return QString();
}

bool LinuxAlternateIcons::setAlternateIconName(const QString &name, QString *error)
{
    const bool ours = !QFileInfo::exists(m_userEntry) ||
                      readAll(m_userEntry).contains(QByteArray(kMarker.data(), kMarker.size()));
    if (!ours) {
        *error = QObject::tr("Your own desktop entry %1 is in the way; the icon was left as it is.")
                     .arg(m_userEntry);
        return false;
    }
    if (name.isEmpty()) {
        if (QFileInfo::exists(m_userEntry) && !QFile::remove(m_userEntry)) {
            *error = QObject::tr("Could not remove %1.").arg(m_userEntry);
            return false;
        }
    } else {
        const QString installed = installedEntryPath();
        if (installed.isEmpty()) {
            *error =
                QObject::tr("Tallymo's desktop entry is not installed, so the launcher icon cannot change.");
            return false;
        }
        QByteArray entry;
        bool inMain = false;
        for (const QByteArray &line : readAll(installed).split('\n')) {
            const QByteArray trimmed = line.trimmed();
            if (trimmed.startsWith('['))
                inMain = trimmed == "[Desktop Entry]";
            if (inMain && trimmed.startsWith("Icon="))
                continue;
            entry += line + '\n';
            if (trimmed == "[Desktop Entry]")
                entry += "Icon=" + themeIconName(name).toUtf8() + '\n' +
                         QByteArray(kMarker.data(), kMarker.size()) + name.toUtf8() + '\n';
        }
        while (entry.endsWith("\n\n"))
            entry.chop(1);
        QDir().mkpath(QFileInfo(m_userEntry).absolutePath());
        if (!PrivateFiles::writeFile(m_userEntry, entry, error))
            return false;
    }
    qCInfo(lcIcons) << "launcher icon now" << themeIconName(name);
    if (changed)
        changed(name);
    return true;
}
