#include "privatefiles.h"

#include "logging.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>
#include <QStandardPaths>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace PrivateFiles {
namespace {

bool fail(QString *error, const QString &what, int err)
{
    if (error)
        *error = what + QStringLiteral(": ") + QString::fromLocal8Bit(strerror(err));
    return false;
}

enum class Kind { Folders, Files };

// The names of the folders (or of the files: anything else but symbolic links) in `folder` that
// `wanted` accepts. Every command looks through two folders at its start: read plainly, as Qt's
// directory listing cost more there (its code paged in, a pattern compiled per name filter) than
// the rest of a short command's start.
template <typename Wanted> QStringList namesIn(const QString &folder, Kind kind, Wanted wanted)
{
    QStringList names;
    DIR *dir = ::opendir(QFile::encodeName(folder).constData());
    if (!dir)
        return names;
    while (const dirent *entry = ::readdir(dir)) {
        if (std::strcmp(entry->d_name, ".") == 0 || std::strcmp(entry->d_name, "..") == 0)
            continue;
        unsigned char type = entry->d_type;
        if (type == DT_UNKNOWN) {
            struct stat st;
            if (::fstatat(::dirfd(dir), entry->d_name, &st, AT_SYMLINK_NOFOLLOW) != 0)
                continue;
            type = S_ISDIR(st.st_mode) ? DT_DIR : S_ISLNK(st.st_mode) ? DT_LNK : DT_REG;
        }
        if (type == DT_LNK || (type == DT_DIR) != (kind == Kind::Folders))
            continue;
        const QString name = QFile::decodeName(entry->d_name);
        if (wanted(name))
            names.append(name);
    }
    ::closedir(dir);
    return names;
}

bool writeAll(int fd, QByteArrayView data)
{
    const char *p = data.data();
    qsizetype left = data.size();
    while (left > 0) {
        const ssize_t n = ::write(fd, p, size_t(left));
        if (n < 0) {
            if (errno == EINTR)
                continue;
            return false;
        }
        p += n;
        left -= n;
    }
    return true;
}

// Whether the process of that id has ended (a process of another user still counts as running).
bool ended(const QStringView pid)
{
    bool ok = false;
    const int id = pid.toInt(&ok);
    return ok && id > 0 && ::kill(id, 0) != 0 && errno == ESRCH;
}

QString &ownTemporaryFolder()
{
    static QString folder;
    return folder;
}

void removeOwnTemporaries()
{
    if (!ownTemporaryFolder().isEmpty())
        QDir(ownTemporaryFolder()).removeRecursively();
}

void syncFolder(const QByteArray &folder)
{
    const int fd = ::open(folder.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0)
        return;
    ::fsync(fd);
    ::close(fd);
}

} // namespace

bool makePrivateFolder(const QString &path, QString *error)
{
    const QByteArray p = QFile::encodeName(path);
    // The parents (~/.local/share and the like) are the user's own business; only ours is private.
    QDir().mkpath(QFileInfo(path).absolutePath());
    if (::mkdir(p.constData(), 0700) != 0 && errno != EEXIST)
        return fail(error, path, errno);
    struct stat st;
    if (::stat(p.constData(), &st) != 0)
        return fail(error, path, errno);
    if ((st.st_mode & 077) != 0 && st.st_uid == ::geteuid() && ::chmod(p.constData(), st.st_mode & 0700) != 0)
        qCWarning(lcCore, "cannot make %s private: %s", p.constData(), strerror(errno));
    return true;
}

bool writeFile(const QString &path, QByteArrayView data, QString *error, const QString &keepPrevious)
{
    const QByteArray target = QFile::encodeName(path);
    const QByteArray temp = target + ".new-" + QByteArray::number(::getpid()) + '-' +
                            QByteArray::number(QRandomGenerator::global()->generate(), 16);
    const int fd = ::open(temp.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (fd < 0)
        return fail(error, path, errno);
    ::fchmod(fd, 0600);
    if (!writeAll(fd, data) || ::fsync(fd) != 0) {
        const int err = errno;
        ::close(fd);
        ::unlink(temp.constData());
        return fail(error, path, err);
    }
    if (::close(fd) != 0) {
        const int err = errno;
        ::unlink(temp.constData());
        return fail(error, path, err);
    }
    if (!keepPrevious.isEmpty()) {
        // A second name for the file being replaced: a link costs no data blocks, so it holds on a
        // full disk too. Failing to keep it is no reason to fail the write.
        const QByteArray kept = QFile::encodeName(keepPrevious);
        const QByteArray keptTemp = kept + ".new-" + QByteArray::number(::getpid());
        ::unlink(keptTemp.constData());
        if (::link(target.constData(), keptTemp.constData()) == 0) {
            if (::rename(keptTemp.constData(), kept.constData()) != 0) {
                qCWarning(lcCore, "cannot keep %s: %s", kept.constData(), strerror(errno));
                ::unlink(keptTemp.constData());
            }
        } else if (errno != ENOENT) {
            qCWarning(lcCore, "cannot keep %s: %s", kept.constData(), strerror(errno));
        }
    }
    if (::rename(temp.constData(), target.constData()) != 0) {
        const int err = errno;
        ::unlink(temp.constData());
        return fail(error, path, err);
    }
    syncFolder(QFile::encodeName(QFileInfo(path).absolutePath()));
    return true;
}

QString runtimeFolder()
{
    const QString runtime = qEnvironmentVariable("XDG_RUNTIME_DIR");
    const QString base = !runtime.isEmpty() && QFileInfo(runtime).isDir()
                             ? runtime
                             : QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation);
    return base + QStringLiteral("/tallymo");
}

int openPrivate(const QString &path, int flags, QString *error)
{
    const QByteArray p = QFile::encodeName(path);
    const int fd = ::open(p.constData(), flags | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (fd < 0) {
        const int err = errno;
        if (err == ELOOP && error)
            *error = QStringLiteral("%1 is a symbolic link, which Tallymo does not follow").arg(path);
        else
            fail(error, path, err);
        errno = err;
        return -1;
    }
    struct stat st;
    if (::fstat(fd, &st) == 0 && (st.st_mode & 077) != 0 && st.st_uid == ::geteuid())
        ::fchmod(fd, st.st_mode & 0600);
    return fd;
}

void beginPrivateProcess(bool ownTemporaries)
{
    ::umask(077);
    const QString runtime = runtimeFolder();
    const QString prefix = QStringLiteral("tmp-");
    const auto temporary = [&](const QString &name) { return name.startsWith(prefix); };
    for (const QString &name : namesIn(runtime, Kind::Folders, temporary)) {
        if (ended(QStringView(name).mid(prefix.size())))
            QDir(runtime + QLatin1Char('/') + name).removeRecursively();
    }
    if (!ownTemporaries)
        return;
    const QString own = runtime + QLatin1Char('/') + prefix + QString::number(::getpid());
    QString error;
    if (!makePrivateFolder(runtime, &error) || !makePrivateFolder(own, &error)) {
        qCWarning(lcCore, "temporary files stay where they were: %s", qPrintable(error));
        return;
    }
    ownTemporaryFolder() = own;
    qputenv("TMPDIR", QFile::encodeName(own));
    std::atexit(removeOwnTemporaries);
}

int removeAbandonedWrites(const QString &folder)
{
    int removed = 0;
    const QDir dir(folder);
    const auto unfinished = [](const QString &name) { return name.contains(QLatin1StringView(".new-")); };
    for (const QString &name : namesIn(folder, Kind::Files, unfinished)) {
        // "<file>.new-<pid>" or "<file>.new-<pid>-<random>"
        const QStringView pid =
            QStringView(name).mid(name.lastIndexOf(QStringLiteral(".new-")) + 5).split(u'-').front();
        if (ended(pid) && QFile::remove(dir.filePath(name)))
            ++removed;
    }
    if (removed > 0)
        qCInfo(lcCore, "removed %d unfinished writes in %s", removed, qPrintable(folder));
    return removed;
}

} // namespace PrivateFiles
