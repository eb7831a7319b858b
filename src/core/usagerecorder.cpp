// The usage recorder: turns two successive counter readings into one stored usage delta.
#include "counterbook.h"
#include "linkclassifier.h"
#include "logging.h"
#include "privatefiles.h"
#include "settingskeys.h"
#include "sharedcode.h"

#include <QFile>
#include <QHash>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace {

// Closes the lock descriptor on every path out of a sample; closing releases the lock.
struct Descriptor
{
    int fd;
    ~Descriptor()
    {
        if (fd >= 0)
            ::close(fd);
    }
};

} // namespace

SampleResult SharedCode::sampleUsage(StoreContext *context, Coordinate loc)
{
    SampleResult result;
    QString error;
    Descriptor lock{PrivateFiles::openPrivate(m_flockPath, O_WRONLY, &error)};
    if (lock.fd < 0) {
        result.failure = QStringLiteral("cannot open the lock file %1").arg(error);
        qCInfo(lcCore, "%s", qPrintable(result.failure)); // the caller reports failures
        return result;
    }
    if (::flock(lock.fd, LOCK_EX | LOCK_NB) != 0) {
        qCDebug(lcCore, "another process is sampling; sample skipped");
        return result;
    }
    try {
        // The previous holder of the lock may have moved the previous values on, or switched plans.
        m_settings.synchronize();
        result.locked = true;
        if (!m_settings.loadError().isEmpty()) {
            result.failure = m_settings.loadError();
            return result;
        }
        if (context->name() != activePlanID()) {
            // The plan was switched since this check began: its usage belongs to the new plan,
            // which the next check records into.
            qCInfo(lcCore, "plan switched; sample left to the next check");
            result.locked = false;
            return result;
        }
        result = recordUsage(context, loc);
        result.locked = true;
        if (m_connections)
            networks(context); // under the same lock: the baseline is shared with other processes
        m_settings.setValue(Keys::PREF_UsageLastSave, m_clock->now());
        if (!m_settings.synchronize()) {
            // The previous values did not reach the file: storing the delta now would count it
            // again at the next sample. Lose it instead.
            result.failure = QStringLiteral("cannot write the settings file %1").arg(m_settings.lastError());
            qCInfo(lcCore, "%s; the usage of this sample is dropped", qPrintable(result.failure));
            context->rollback();
            result.event.reset();
            return result;
        }
        if (!context->save()) {
            result.failure = QStringLiteral("cannot save the usage store %1: %2")
                                 .arg(context->path(), context->lastError());
            result.event.reset();
        }
    } catch (const std::exception &e) {
        qCWarning(lcCore, "sample failed: %s", e.what());
    }
    return result;
}

namespace {

// Who a link is: the kernel's index of it in its network namespace, whatever its name; its name
// where the index is unknown.
QString linkIdentity(NetworkInterfaces &interfaces, const QString &space, const QString &name)
{
    const int index = interfaces.interfaceIndex(name);
    if (index <= 0)
        return QStringLiteral("name:") + name;
    return space.isEmpty() ? QString::number(index) : space + QLatin1Char('/') + QString::number(index);
}

struct Bytes
{
    quint64 in = 0;
    quint64 out = 0;
    void add(const LinkMoved &m)
    {
        in += m.received;
        out += m.sent;
    }
    bool any() const { return in > 0 || out > 0; }
};

} // namespace

SampleResult SharedCode::recordUsage(StoreContext *context, Coordinate loc)
{
    SampleResult result;
    const std::optional<QList<LinkCounters>> counters =
        m_interfaces ? m_interfaces->readCounters() : std::nullopt;
    if (!counters) {
        qCWarning(lcCore, "interface list cannot be obtained; nothing sampled");
        return result;
    }
    result.countersRead = true;
    QStringList present;
    QList<LinkReading> readings;
    const QString space = m_interfaces->networkNamespace();
    for (const LinkCounters &c : *counters) {
        present.append(c.name);
        readings.append(LinkReading{linkIdentity(*m_interfaces, space, c.name), c.name, c.received, c.sent});
    }
    const QString boot = m_interfaces->bootId();
    CounterBook book = CounterBook::fromVariant(m_settings.value(Keys::PREF_LINK_COUNTERS));
    if (book.isEmpty())
        takeOverEarlierBaselines(book, readings, boot);
    QHash<QString, LinkUse> uses;
    const QList<LinkClass> classes = classifyLinks(present);
    for (const LinkClass &link : classes)
        uses.insert(link.name, link.use);
    {
        const QMutexLocker lock(&m_sampledMutex);
        m_sampledLinks = classes;
    }
    // After a connection change, the interval up to it is the links' earlier use.
    const bool earlier = m_earlierUses.exchange(false);
    QHash<QString, LinkUse> usesNow;
    Bytes cell, wifi, served;
    const QList<LinkMoved> moved = book.advance(boot, readings);
    for (qsizetype i = 0; i < moved.size(); ++i) {
        const LinkMoved &m = moved.at(i);
        const QString &identity = readings.at(i).identity;
        const LinkUse now = uses.value(m.name, LinkUse::NotCounted);
        usesNow.insert(identity, now);
        switch (earlier ? m_lastUses.value(identity, now) : now) {
        case LinkUse::Mobile:
            cell.add(m);
            break;
        case LinkUse::Other:
            wifi.add(m);
            break;
        case LinkUse::Serving:
            served.add(m);
            break;
        case LinkUse::NotCounted:
            break;
        }
    }
    m_lastUses = std::move(usesNow);
    m_settings.setValue(Keys::PREF_LINK_COUNTERS, book.toVariant());
    if (!isTrackTetherForPlan(QString())) {
        // What a hotspot sent to its clients came in over the mobile link, and what it received
        // from them went out over it: not the plan's usage unless tethering counts.
        cell.in -= std::min(cell.in, served.out);
        cell.out -= std::min(cell.out, served.in);
    }
    result.usage = qxDataUsage{double(cell.in + cell.out), double(wifi.in + wifi.out)};
    if (cell.any() || wifi.any()) {
        const Event event{nowAtHour(),      double(cell.in), double(cell.out), double(wifi.in),
                          double(wifi.out), loc.latitude,    loc.longitude};
        context->insertEvent(event);
        result.event = event;
    }
    return result;
}

std::optional<QList<LinkClass>> SharedCode::presentLinks() const
{
    const std::optional<QList<LinkCounters>> counters =
        m_interfaces ? m_interfaces->readCounters() : std::nullopt;
    if (!counters)
        return std::nullopt;
    QStringList names;
    for (const LinkCounters &c : *counters)
        names.append(c.name);
    std::sort(names.begin(), names.end(), InterfaceNames::naturalLess);
    return classifyLinks(names);
}

std::optional<QList<LinkClass>> SharedCode::lastSampledLinks() const
{
    const QMutexLocker lock(&m_sampledMutex);
    return m_sampledLinks;
}

QList<LinkClass> SharedCode::classifyLinks(const QStringList &present) const
{
    QStringList configured;
    for (const QVariant &v : m_settings.arrayForKey(Keys::PREF_CELL_INTERFACES))
        configured.append(v.toString());
    QHash<QString, ManagedLink> managed;
    if (m_interfaces)
        for (const ManagedLink &link : m_interfaces->managedLinks().value_or(QList<ManagedLink>()))
            managed.insert(link.interface, link);
    const QVariantMap choices = m_settings.dictionaryForKey(Keys::PREF_NETWORK_CHOICES);
    QList<LinkClass> links;
    for (const QString &name : present) {
        LinkClassifier::Facts facts;
        facts.name = name;
        facts.kind = m_interfaces ? m_interfaces->linkKind(name) : LinkKind::Unknown;
        if (const auto found = managed.constFind(name); found != managed.cend())
            facts.managed = *found;
        facts.listedCellular = configured.contains(name) || InterfaceNames::hasCellularName(name);
        links.append(LinkClassifier::classify(facts, choices));
    }
    return links;
}

// Settings written before the counters were kept per link identity held them per role: the primary
// cellular link's, the Wi-Fi link's and the other cellular links' by name, with the identity each
// name had. Those whose identity still holds go on from where they stood; every other link present
// takes a baseline now, and the old keys go.
void SharedCode::takeOverEarlierBaselines(CounterBook &book, const QList<LinkReading> &now,
                                          const QString &boot)
{
    const QVariantMap ids = m_settings.dictionaryForKey(Keys::PREF_LINK_IDS);
    const QVariantMap tether = m_settings.dictionaryForKey(Keys::PREF_TRACK_TETHER_DB);
    const QString primary = m_settings.stringForKey(Keys::PREF_CELL_PRIMARY);
    const QString wifi = m_settings.stringForKey(Keys::PREF_INTERFACE_NAME);
    if (ids.isEmpty())
        return; // nothing to take over: the first sample takes a baseline
    for (const LinkReading &link : now) {
        LinkReading previous = link;
        const QString identity =
            boot + QLatin1Char('/') + QString::number(m_interfaces->interfaceIndex(link.name));
        if (ids.value(link.name).toString() == identity) {
            const QVariantList pair = tether.value(link.name).toList();
            const auto keep = [&](const QString &inKey, const QString &outKey) {
                if (m_settings.doubleForKey(inKey) > 0) // a 0 here meant "no previous value"
                    previous = LinkReading{link.identity, link.name, quint64(m_settings.doubleForKey(inKey)),
                                           quint64(m_settings.doubleForKey(outKey))};
            };
            if (link.name == primary)
                keep(Keys::PREF_prevCellIn, Keys::PREF_prevCellOut);
            else if (link.name == wifi)
                keep(Keys::PREF_prevWifiIn, Keys::PREF_prevWifiOut);
            else if (pair.size() >= 2)
                previous = LinkReading{link.identity, link.name, quint64(pair.at(0).toDouble()),
                                       quint64(pair.at(1).toDouble())};
        }
        book.seed(boot, previous);
    }
    for (const Keys::Key &key : {Keys::PREF_LINK_IDS, Keys::PREF_TRACK_TETHER_DB, Keys::PREF_prevCellIn,
                                 Keys::PREF_prevCellOut, Keys::PREF_prevWifiIn, Keys::PREF_prevWifiOut})
        m_settings.removeValue(key);
    qCInfo(lcCore, "the saved counters are now kept per link");
}
