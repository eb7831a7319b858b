#include "settingsdomain.h"

#include "logging.h"
#include "propertylist.h"

#include <QFile>
#include <QSaveFile>

#include <cerrno>
#include <cmath>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// Holds an exclusive flock for the life of the object; released by close().
class FileLock
{
public:
    explicit FileLock(const QString &path)
    {
        m_fd = ::open(QFile::encodeName(path).constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
        if (m_fd < 0) {
            qCWarning(lcCore, "cannot open settings lock %s: %s", qPrintable(path), strerror(errno));
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

private:
    int m_fd = -1;
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

void SettingsDomain::setValue(const QString &key, const QVariant &value)
{
    QMutexLocker locker(&m_mutex);
    if (value.isNull()) {
        m_values.remove(key);
        m_pending.insert(key, std::nullopt);
        return;
    }
    m_values.insert(key, value);
    m_pending.insert(key, value);
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
    if (stampOf() != m_stamp)
        reload(true);
    if (!writeLocked(m_values))
        return false;
    m_pending.clear();
    return true;
}

QString SettingsDomain::lastMovedAside() const
{
    QMutexLocker locker(&m_mutex);
    return m_movedAside;
}

// Reads the file into m_values and lays the pending changes over it. Moving an unreadable file
// aside needs the lock shared by all processes, taken here unless the caller holds it.
void SettingsDomain::reload(bool locked)
{
    m_stamp = stampOf();
    QVariantMap values;
    if (m_stamp) {
        QFile file(m_path);
        QString error;
        std::optional<QVariantMap> parsed;
        if (!file.open(QIODevice::ReadOnly))
            error = file.errorString();
        else
            parsed = PropertyList::fromXml(file.readAll(), &error);
        if (parsed) {
            values = std::move(*parsed);
        } else if (!locked) {
            FileLock lock(m_path + QStringLiteral(".lock"));
            reload(true);
            return;
        } else {
            const QString aside =
                m_path + QStringLiteral(".corrupt-") +
                QDateTime::currentDateTimeUtc().toString(QStringLiteral("yyyyMMdd'T'HHmmsszzz'Z'"));
            if (::rename(QFile::encodeName(m_path).constData(), QFile::encodeName(aside).constData()) == 0) {
                m_movedAside = aside;
                qCWarning(lcCore, "settings file %s cannot be read (%s); kept as %s, starting empty",
                          qPrintable(m_path), qPrintable(error), qPrintable(aside));
            } else {
                qCWarning(lcCore, "settings file %s cannot be read (%s) nor moved aside: %s",
                          qPrintable(m_path), qPrintable(error), strerror(errno));
            }
            m_stamp = stampOf();
        }
    }
    for (auto it = m_pending.cbegin(); it != m_pending.cend(); ++it) {
        if (it.value())
            values.insert(it.key(), *it.value());
        else
            values.remove(it.key());
    }
    m_values = std::move(values);
}

bool SettingsDomain::writeLocked(const QVariantMap &values)
{
    QSaveFile file(m_path);
    if (!file.open(QIODevice::WriteOnly) || file.write(PropertyList::toXml(values)) < 0 || !file.commit()) {
        qCWarning(lcCore, "cannot write settings file %s: %s", qPrintable(m_path),
                  qPrintable(file.errorString()));
        return false;
    }
    m_stamp = stampOf();
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
