#pragma once

#include <QDateTime>
#include <QHash>
#include <QMutex>
#include <QString>
#include <QVariant>

#include <functional>
#include <optional>
#include <sys/types.h>

// One persistent, typed key-value domain shared by every Tallymo process.
//
// The domain is a property-list file. Reads come from this process's copy; writes are kept as
// pending changes and reach the file at synchronize(), which — under a lock shared by all processes —
// re-reads the file when another process changed it, lays this process's changes over it and writes
// the result to a new file that replaces the old one. A write therefore never tears the file and
// never drops another process's changes: inside dictionaries (the plans) only the entries this
// process changed are laid over the other process's, so two processes adding plans both keep theirs.
//
// The version before each write is kept as the last good copy. A damaged file is moved aside and
// the domain goes back to that copy (without the counter baselines, which may be one sample old);
// with no good copy, or a file that cannot be read at all, the domain refuses: loadError() says why,
// the values read before stay in force, and nothing is written over the user's file.
class SettingsDomain
{
public:
    explicit SettingsDomain(QString filePath);
    ~SettingsDomain();
    SettingsDomain(const SettingsDomain &) = delete;
    SettingsDomain &operator=(const SettingsDomain &) = delete;

    QString filePath() const { return m_path; }
    QString lastGoodPath() const { return m_path + QStringLiteral(".last-good"); }

    QVariant value(const QString &key) const;
    // A null QVariant removes the key. A value the file cannot hold (see PropertyList::isWritable)
    // is refused with a logged line; false then.
    bool setValue(const QString &key, const QVariant &value);
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

    // Called on the changing thread, with no lock held, when a change becomes pending while none
    // was: the owner arranges the synchronize() that writes it through.
    void setChangeListener(std::function<void()> listener);

    // Writes pending changes and picks up other processes' changes. False when the file could not
    // be written (the pending changes are kept for the next attempt; lastError() says why).
    bool synchronize();
    // Runs `change` on the newest values with the file locked against every other writer, then
    // writes: for a decision that depends on what is stored (e.g. "no plan yet, make one").
    bool transaction(const std::function<void()> &change);

    // Why the file cannot be used (empty when it can); see the class comment.
    QString loadError() const;
    // Why the last write failed.
    QString lastError() const;
    // Where the damaged file was moved when it was last found damaged.
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
    std::optional<QVariantMap> parse(const QString &path, QString *error) const;
    bool recoverLocked(const QString &why);
    void adopt(QVariantMap disk);
    bool writeLocked();
    bool changesNothing() const;
    std::optional<FileStamp> stampOf() const;

    const QString m_path;
    mutable QRecursiveMutex m_mutex; // transaction() runs its change with it held
    QVariantMap m_values;
    QVariantMap m_disk; // the file as last read or written
    QHash<QString, std::optional<QVariant>> m_pending;
    QHash<QString, QVariant> m_base; // for each pending key, the file's value it was changed from
    std::optional<FileStamp> m_stamp;
    bool m_diskGood = false; // the file on disk is the one read or written here
    QString m_loadError;
    QString m_lastError;
    QString m_movedAside;
    std::function<void()> m_changed;
};

// Converts a stored value the way the typed readers do; shared with plan-scoped reads.
namespace SettingsValue {
qint64 toInteger(const QVariant &v);
double toDouble(const QVariant &v);
bool toBool(const QVariant &v);
} // namespace SettingsValue
