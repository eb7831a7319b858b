#include "linuxnetworkinterfaces.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLoggingCategory>

#include <algorithm>

Q_LOGGING_CATEGORY(lcPlatform, "tallymo.platform", QtWarningMsg)

namespace {

constexpr int kArphrdPpp = 512;
constexpr int kArphrdRawIp = 519;

QByteArray readSmallFile(const QString &path)
{
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

} // namespace

LinuxNetworkInterfaces::LinuxNetworkInterfaces(QString procNetDev, QString sysfsNet, QString bootIdFile)
    : m_procNetDev(std::move(procNetDev)), m_sysfsNet(std::move(sysfsNet)),
      m_bootIdFile(std::move(bootIdFile))
{}

LinuxNetworkInterfaces LinuxNetworkInterfaces::fromEnvironment()
{
    const QString proc = qEnvironmentVariable("TALLYMO_PROC_NET_DEV", QStringLiteral("/proc/net/dev"));
    const QString sysfs = qEnvironmentVariable("TALLYMO_SYSFS_NET", QStringLiteral("/sys/class/net"));
    const QString boot =
        qEnvironmentVariable("TALLYMO_BOOT_ID_FILE", QStringLiteral("/proc/sys/kernel/random/boot_id"));
    return LinuxNetworkInterfaces(proc, sysfs, boot);
}

std::optional<QList<LinkCounters>> LinuxNetworkInterfaces::parseProcNetDev(const QByteArray &text)
{
    const QList<QByteArray> lines = text.split('\n');
    if (lines.size() < 2 || !lines.at(0).contains('|') || !lines.at(1).contains('|'))
        return std::nullopt;
    QList<LinkCounters> result;
    for (qsizetype i = 2; i < lines.size(); ++i) {
        const QByteArray &line = lines.at(i);
        const qsizetype colon = line.indexOf(':');
        if (colon < 0) {
            if (!line.trimmed().isEmpty())
                return std::nullopt;
            continue;
        }
        const QList<QByteArray> fields = line.mid(colon + 1).simplified().split(' ');
        if (fields.size() < 16)
            return std::nullopt;
        bool okIn = false, okOut = false;
        const qulonglong in = fields.at(0).toULongLong(&okIn);
        const qulonglong out = fields.at(8).toULongLong(&okOut);
        if (!okIn || !okOut)
            return std::nullopt;
        result.append(LinkCounters{QString::fromLatin1(line.left(colon).trimmed()), in, out});
    }
    return result;
}

std::optional<QList<LinkCounters>> LinuxNetworkInterfaces::readCounters()
{
    QFile file(m_procNetDev);
    if (!file.open(QIODevice::ReadOnly)) {
        qCWarning(lcPlatform, "cannot read %s: %s", qPrintable(m_procNetDev), qPrintable(file.errorString()));
        return std::nullopt;
    }
    std::optional<QList<LinkCounters>> counters = parseProcNetDev(file.readAll());
    if (!counters)
        qCWarning(lcPlatform, "%s is not an interface statistics table", qPrintable(m_procNetDev));
    return counters;
}

QStringList LinuxNetworkInterfaces::wifiInterfaces()
{
    QStringList names;
    const QDir dir(m_sysfsNet);
    for (const QString &name : dir.entryList(QDir::Dirs | QDir::NoDotAndDotDot | QDir::System)) {
        const QString base = dir.filePath(name);
        if (QFileInfo::exists(base + QStringLiteral("/wireless")) ||
            QFileInfo::exists(base + QStringLiteral("/phy80211")))
            names.append(name);
    }
    std::sort(names.begin(), names.end());
    return names;
}

bool LinuxNetworkInterfaces::isCellularLink(const QString &name)
{
    const QString base = m_sysfsNet + QLatin1Char('/') + name;
    const QByteArray uevent = readSmallFile(base + QStringLiteral("/uevent"));
    for (const QByteArray &line : uevent.split('\n'))
        if (line.trimmed() == "DEVTYPE=wwan")
            return true;
    const int type = readSmallFile(base + QStringLiteral("/type")).trimmed().toInt();
    if (type == kArphrdRawIp)
        return true;
    return type == kArphrdPpp && m_modemLinks && m_modemLinks().contains(name);
}

int LinuxNetworkInterfaces::interfaceIndex(const QString &name)
{
    return readSmallFile(m_sysfsNet + QLatin1Char('/') + name + QStringLiteral("/ifindex")).trimmed().toInt();
}

QString LinuxNetworkInterfaces::networkNamespace()
{
    // "net:[4026531840]": the namespace's inode number
    const QString link = QFile::symLinkTarget(QStringLiteral("/proc/self/ns/net"));
    const qsizetype open = link.indexOf(QLatin1Char('['));
    return open < 0 ? QString() : link.mid(open + 1).chopped(1);
}

QString LinuxNetworkInterfaces::bootId()
{
    return QString::fromLatin1(readSmallFile(m_bootIdFile).trimmed());
}
