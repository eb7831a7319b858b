#pragma once

#include <QDateTime>
#include <QHash>
#include <QMutex>
#include <QString>
#include <QVariant>

#include <optional>
#include <sys/types.h>

// One persistent, typed key-value domain shared by every Tallymo process.
//
// The domain is a property-list file. Reads come from this process's copy; writes are kept as
// pending changes and reach the file at synchronize(), which — under a lock shared by all processes —
// re-reads the file when another process changed it, lays this process's pending changes over it and
// writes the result to a new file that replaces the old one. A write therefore never tears the file
// and never drops another process's unrelated keys. A file that cannot be parsed is moved aside,
// never deleted, and the domain starts empty.
class SettingsDomain
{
public:
    explicit SettingsDomain(QString filePath);
    ~SettingsDomain();
    SettingsDomain(const SettingsDomain &) = delete;
    SettingsDomain &operator=(const SettingsDomain &) = delete;

    QString filePath() const { return m_path; }

    QVariant value(const QString &key) const;
    // A null QVariant removes the key.
    void setValue(const QString &key, const QVariant &value);
    void removeValue(const QString &key);
    QVariantMap dictionaryRepresentation() const;

    // Absent values read as empty / 0 / false / 0.0.
    QString stringForKey(const QString &key) const;
    qint64 integerForKey(const QString &key) const;
    double doubleForKey(const QString &key) const;
    bool boolForKey(const QString &key) const;
    QDateTime dateForKey(const QString &key) const;
    QVariantList arrayForKey(const QString &key) const;
    QVariantMap dictionaryForKey(const QString &key) const;

    // Writes pending changes and picks up other processes' changes. False when the file could not
    // be written (the pending changes are kept for the next attempt).
    bool synchronize();

    // Whether the file was found corrupt and moved aside when it was last read.
    QString lastMovedAside() const;

private:
    struct FileStamp
    {
        dev_t dev = 0;
        ino_t ino = 0;
        off_t size = -1;
        qint64 mtimeNs = 0;
        qint64 ctimeNs = 0;
        bool operator==(const FileStamp &) const = default;
    };

    void reload(bool locked);
    bool writeLocked(const QVariantMap &values);
    std::optional<FileStamp> stampOf() const;

    const QString m_path;
    mutable QMutex m_mutex;
    QVariantMap m_values;
    QHash<QString, std::optional<QVariant>> m_pending;
    std::optional<FileStamp> m_stamp;
    QString m_movedAside;
};

// Converts a stored value the way the typed readers do; shared with plan-scoped reads.
namespace SettingsValue {
qint64 toInteger(const QVariant &v);
double toDouble(const QVariant &v);
bool toBool(const QVariant &v);
} // namespace SettingsValue
