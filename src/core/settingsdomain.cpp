#include "settingsdomain.h"

#include "logging.h"
#include "privatefiles.h"
#include "propertylist.h"
#include "settingskeys.h"

#include <QFile>
#include <QStringList>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

bool isSymbolicLink(const QString &path)
{
    struct stat st;
    return ::lstat(QFile::encodeName(path).constData(), &st) == 0 && S_ISLNK(st.st_mode);
}

// Holds an exclusive flock for the life of the object; released by close().
class FileLock
{
public:
    explicit FileLock(const QString &path)
    {
        m_fd = PrivateFiles::openPrivate(path, O_RDWR, &m_error);
        if (m_fd < 0) {
            // Without the lock no process writes: the writer reports this.
            qCInfo(lcCore, "cannot open settings lock %s", qPrintable(m_error));
            return;
        }
        while (::flock(m_fd, LOCK_EX) != 0 && errno == EINTR) {
        }
    }
    ~FileLock()
    {
        if (m_fd >= 0)
            ::close(m_fd);
    }
    FileLock(const FileLock &) = delete;
    FileLock &operator=(const FileLock &) = delete;
    // Why the lock is not held; empty when it is.
    const QString &error() const { return m_error; }

private:
    int m_fd = -1;
    QString m_error;
};

} // namespace

namespace SettingsValue {

qint64 toInteger(const QVariant &v)
{
    if (v.typeId() == QMetaType::Double) {
        const double d = v.toDouble();
        return std::isfinite(d) ? static_cast<qint64>(d) : 0;
    }
    if (v.typeId() == QMetaType::QString)
        return static_cast<qint64>(v.toString().toDouble());
    return v.toLongLong();
}

double toDouble(const QVariant &v)
{
    return v.toDouble();
}

bool toBool(const QVariant &v)
{
    if (v.typeId() == QMetaType::QString) {
        const QString s = v.toString().trimmed().toLower();
        return s == QLatin1String("yes") || s == QLatin1String("true") || s.toDouble() != 0;
    }
    return v.toBool();
}

} // namespace SettingsValue

namespace {

// What `base` → `mine` changed, laid over `theirs`: what this process did not change keeps the
// other process's value; inside dictionaries that holds entry by entry. An invalid value is absent.
QVariant mergedChange(const QVariant &base, const QVariant &mine, const QVariant &theirs)
{
    if (mine == base)
        return theirs;
    const bool dictionaries = mine.typeId() == QMetaType::QVariantMap &&
                              theirs.typeId() == QMetaType::QVariantMap &&
                              (!base.isValid() || base.typeId() == QMetaType::QVariantMap);
    if (!dictionaries)
        return mine;
    const QVariantMap b = base.toMap(), m = mine.toMap();
    QVariantMap result = theirs.toMap();
    QStringList keys = b.keys() + m.keys();
    keys.removeDuplicates();
    for (const QString &key : keys) {
        const QVariant v = mergedChange(b.value(key), m.value(key), result.value(key));
        if (v.isValid())
            result.insert(key, v);
        else
            result.remove(key);
    }
    return result;
}

} // namespace

SettingsDomain::SettingsDomain(QString filePath) : m_path(std::move(filePath))
{
    QMutexLocker locker(&m_mutex);
    reload(false);
}

SettingsDomain::~SettingsDomain()
{
    synchronize();
}

QVariant SettingsDomain::value(const QString &key) const
{
    QMutexLocker locker(&m_mutex);
    return m_values.value(key);
}

bool SettingsDomain::setValue(const QString &key, const QVariant &value)
{
    QString why;
    if (!value.isNull() && !PropertyList::isWritable(value, &why)) {
        qCWarning(lcCore, "settings value of %s refused: %s", qPrintable(key), qPrintable(why));
        return false;
    }
    QMutexLocker locker(&m_mutex);
    const bool first = m_pending.isEmpty();
    if (!m_pending.contains(key))
        m_base.insert(key, m_disk.value(key));
    if (value.isNull()) {
        m_values.remove(key);
        m_pending.insert(key, std::nullopt);
    } else {
        m_values.insert(key, value);
        m_pending.insert(key, value);
    }
    const std::function<void()> changed = first ? m_changed : nullptr;
    locker.unlock();
    if (changed)
        changed();
    return true;
}

void SettingsDomain::removeValue(const QString &key)
{
    setValue(key, QVariant());
}

QVariantMap SettingsDomain::dictionaryRepresentation() const
{
    QMutexLocker locker(&m_mutex);
    return m_values;
}

QString SettingsDomain::stringForKey(const QString &key) const
{
    const QVariant v = value(key);
    return v.canConvert<QString>() ? v.toString() : QString();
}

qint64 SettingsDomain::integerForKey(const QString &key) const
{
    return SettingsValue::toInteger(value(key));
}

double SettingsDomain::doubleForKey(const QString &key) const
{
    return SettingsValue::toDouble(value(key));
}

bool SettingsDomain::boolForKey(const QString &key) const
{
    return SettingsValue::toBool(value(key));
}

QDateTime SettingsDomain::dateForKey(const QString &key) const
{
    const QVariant v = value(key);
    return v.typeId() == QMetaType::QDateTime ? v.toDateTime() : QDateTime();
}

QVariantList SettingsDomain::arrayForKey(const QString &key) const
{
    const QVariant v = value(key);
    return v.typeId() == QMetaType::QVariantList || v.typeId() == QMetaType::QStringList ? v.toList()
                                                                                         : QVariantList();
}

QVariantMap SettingsDomain::dictionaryForKey(const QString &key) const
{
    const QVariant v = value(key);
    return v.typeId() == QMetaType::QVariantMap ? v.toMap() : QVariantMap();
}

void SettingsDomain::setChangeListener(std::function<void()> listener)
{
    QMutexLocker locker(&m_mutex);
    m_changed = std::move(listener);
}

bool SettingsDomain::synchronize()
{
    QMutexLocker locker(&m_mutex);
    if (m_pending.isEmpty()) {
        // Reading takes no lock: the file is only ever replaced whole.
        if (stampOf() != m_stamp)
            reload(false);
        return true;
    }
    FileLock lock(m_path + QStringLiteral(".lock"));
    if (!lock.error().isEmpty()) {
        m_lastError = lock.error();
        return false;
    }
    if (stampOf() != m_stamp)
        reload(true);
    return writeLocked();
}

bool SettingsDomain::transaction(const std::function<void()> &change)
{
    QMutexLocker locker(&m_mutex);
    FileLock lock(m_path + QStringLiteral(".lock"));
    if (stampOf() != m_stamp)
        reload(true);
    if (!m_loadError.isEmpty() || !lock.error().isEmpty()) {
        m_lastError = m_loadError.isEmpty() ? lock.error() : m_loadError;
        return false;
    }
    change();
    return m_pending.isEmpty() || writeLocked();
}

QString SettingsDomain::loadError() const
{
    QMutexLocker locker(&m_mutex);
    return m_loadError;
}

QString SettingsDomain::lastError() const
{
    QMutexLocker locker(&m_mutex);
    return m_lastError;
}

QString SettingsDomain::lastMovedAside() const
{
    QMutexLocker locker(&m_mutex);
    return m_movedAside;
}

std::optional<QVariantMap> SettingsDomain::parse(const QString &path, QString *error) const
{
    const int fd = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW);
    QFile file;
    if (fd < 0 || !file.open(fd, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle)) {
        *error = QString::fromLocal8Bit(strerror(fd < 0 ? errno : EIO));
        if (fd >= 0)
            ::close(fd);
        return std::nullopt;
    }
    return PropertyList::fromXml(file.readAll(), error);
}

// Reads the file and lays this process's changes over it. A file that cannot be used is handled
// with the lock shared by all processes, taken here unless the caller holds it.
void SettingsDomain::reload(bool locked)
{
    const std::optional<FileStamp> stamp = stampOf();
    if (!stamp) {
        // No file yet: a new installation.
        m_stamp = stamp;
        m_diskGood = false;
        m_loadError.clear();
        adopt({});
        return;
    }
    QString error;
    std::optional<QVariantMap> parsed = parse(m_path, &error);
    if (parsed) {
        m_stamp = stamp;
        m_diskGood = true;
        m_loadError.clear();
        adopt(std::move(*parsed));
        return;
    }
    if (!locked) {
        FileLock lock(m_path + QStringLiteral(".lock"));
        reload(true);
        return;
    }
    m_stamp = stamp;
    m_diskGood = false;
    if (isSymbolicLink(m_path)) {
        m_loadError =
            QStringLiteral("the settings file %1 is a symbolic link, which Tallymo does not follow; "
                           "put the file itself there")
                .arg(m_path);
        qCInfo(lcCore, "%s", qPrintable(m_loadError));
        return;
    }
    if (::access(QFile::encodeName(m_path).constData(), R_OK) != 0) {
        // Not ours to repair: the user has to give the file back.
        m_loadError = QStringLiteral("the settings file %1 cannot be read: %2").arg(m_path, error);
        qCInfo(lcCore, "%s", qPrintable(m_loadError)); // every user of the domain shows loadError()
        return;
    }
    recoverLocked(error);
}

// The file is damaged: move it aside and go back to the last good copy, or refuse.
bool SettingsDomain::recoverLocked(const QString &why)
{
    QString goodError;
    std::optional<QVariantMap> good = parse(lastGoodPath(), &goodError);
    if (!good) {
        m_loadError = QStringLiteral("the settings file %1 is damaged (%2) and there is no good copy to go "
                                     "back to; move it away to start with new settings")
                          .arg(m_path, why);
        qCInfo(lcCore, "%s", qPrintable(m_loadError));
        return false;
    }
    const QString aside = m_path + QStringLiteral(".corrupt-") +
                          QDateTime::currentDateTimeUtc().toString(QStringLiteral("yyyyMMdd'T'HHmmsszzz'Z'"));
    if (::rename(QFile::encodeName(m_path).constData(), QFile::encodeName(aside).constData()) != 0) {
        m_loadError = QStringLiteral("the settings file %1 is damaged (%2) and cannot be moved aside: %3")
                          .arg(m_path, why, QString::fromLocal8Bit(strerror(errno)));
        qCInfo(lcCore, "%s", qPrintable(m_loadError));
        return false;
    }
    // The copy is one write older than the damaged file: its counter baselines may be older than
    // the newest stored usage, and using them would count that usage again.
    for (const Keys::Key &key : Keys::sampleBaselines())
        good->remove(key);
    QString error;
    if (!PrivateFiles::writeFile(m_path, PropertyList::toXml(*good), &error)) {
        ::rename(QFile::encodeName(aside).constData(), QFile::encodeName(m_path).constData());
        m_loadError = QStringLiteral("the settings file %1 is damaged (%2) and the last good copy cannot be "
                                     "put back: %3")
                          .arg(m_path, why, error);
        qCInfo(lcCore, "%s", qPrintable(m_loadError));
        return false;
    }
    m_movedAside = aside;
    m_stamp = stampOf();
    m_diskGood = true;
    m_loadError.clear();
    qCWarning(lcCore,
              "settings file %s was damaged (%s); went back to the last good copy (the damaged file is "
              "kept as %s)",
              qPrintable(m_path), qPrintable(why), qPrintable(aside));
    adopt(std::move(*good));
    return true;
}

// Takes `disk` as the file's content and lays this process's changes over it, entry by entry.
void SettingsDomain::adopt(QVariantMap disk)
{
    QVariantMap values = disk;
    for (auto it = m_pending.begin(); it != m_pending.end(); ++it) {
        const QVariant theirs = disk.value(it.key());
        const QVariant mine = mergedChange(m_base.value(it.key()), it.value().value_or(QVariant()), theirs);
        m_base.insert(it.key(), theirs);
        it.value() = mine.isValid() ? std::optional<QVariant>(mine) : std::nullopt;
        if (mine.isValid())
            values.insert(it.key(), mine);
        else
            values.remove(it.key());
    }
    m_disk = std::move(disk);
    m_values = std::move(values);
}

// Whether the pending changes leave every value as the file has it, equal and of the same type
// (only pending keys can differ from the file). Dictionaries and lists are compared last: a
// figure that changed settles it without walking a baseline of thousands of connections.
bool SettingsDomain::changesNothing() const
{
    const auto same = [this](const QString &key) {
        const QVariant mine = m_values.value(key), file = m_disk.value(key);
        return mine.metaType() == file.metaType() && mine == file;
    };
    QStringList containers;
    for (auto it = m_pending.cbegin(); it != m_pending.cend(); ++it) {
        const int type = m_values.value(it.key()).typeId();
        if (type == QMetaType::QVariantMap || type == QMetaType::QVariantList)
            containers.append(it.key());
        else if (!same(it.key()))
            return false;
    }
    return std::all_of(containers.cbegin(), containers.cend(), same);
}

bool SettingsDomain::writeLocked()
{
    if (!m_loadError.isEmpty()) {
        m_lastError = m_loadError;
        return false;
    }
    // Changes that leave every value as the file has it (a figure set again to what it was) write
    // nothing: no new file, no fsync.
    if (m_diskGood && m_stamp && changesNothing()) {
        m_pending.clear();
        m_base.clear();
        m_lastError.clear();
        return true;
    }
    QString error;
    // The file as last written, and a little room for what changed since.
    const qsizetype sizeHint = m_stamp ? qsizetype(m_stamp->size) + m_stamp->size / 8 : 0;
    if (!PrivateFiles::writeFile(m_path, PropertyList::toXml(m_values, sizeHint), &error,
                                 m_diskGood ? lastGoodPath() : QString())) {
        m_lastError = error;
        qCInfo(lcCore, "cannot write settings file %s", qPrintable(error)); // the caller says so
        return false;
    }
    m_stamp = stampOf();
    m_diskGood = true;
    m_disk = m_values;
    m_pending.clear();
    m_base.clear();
    m_lastError.clear();
    return true;
}

std::optional<SettingsDomain::FileStamp> SettingsDomain::stampOf() const
{
    struct stat st;
    if (::stat(QFile::encodeName(m_path).constData(), &st) != 0)
        return std::nullopt;
    FileStamp s;
    s.dev = st.st_dev;
    s.ino = st.st_ino;
    s.size = st.st_size;
    s.mtimeNs = qint64(st.st_mtim.tv_sec) * 1000000000 + st.st_mtim.tv_nsec;
    s.ctimeNs = qint64(st.st_ctim.tv_sec) * 1000000000 + st.st_ctim.tv_nsec;
    return s;
}
