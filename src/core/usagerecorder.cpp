// The usage recorder: turns two successive counter readings into one stored usage delta.
#include "logging.h"
#include "privatefiles.h"
#include "settingskeys.h"
#include "sharedcode.h"

#include <QFile>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace {

struct Delta
{
    double in = 0;
    double out = 0;
};

// Primary cellular and Wi-Fi: a stored 0 means "no previous value". Only the received counter
// decides whether the counters restarted; a sent counter that went down alone gives 0.
Delta primaryDelta(SettingsDomain &pref, const QString &inKey, const QString &outKey, const LinkCounters &now,
                   bool restarted)
{
    Delta d;
    const double prevIn = pref.doubleForKey(inKey);
    if (prevIn > 0) {
        if (restarted || prevIn > now.received)
            d = Delta{now.received, now.sent};
        else
            d = Delta{now.received - prevIn, std::max(now.sent - pref.doubleForKey(outKey), 0.0)};
    }
    pref.setValue(inKey, now.received);
    pref.setValue(outKey, now.sent);
    return d;
}

// Tethering interfaces: any stored pair, 0 included, is a previous value.
Delta tetherDelta(QVariantMap &tether, const LinkCounters &now, bool restarted)
{
    Delta d;
    const QVariantList prev = tether.value(now.name).toList();
    if (prev.size() >= 2) {
        const double prevIn = prev.at(0).toDouble();
        const double prevOut = prev.at(1).toDouble();
        if (restarted || prevIn > now.received)
            d = Delta{now.received, now.sent};
        else
            d = Delta{now.received - prevIn, std::max(now.sent - prevOut, 0.0)};
    }
    tether.insert(now.name, QVariantList{now.received, now.sent});
    return d;
}

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

// Which incarnation of a link the saved counters belong to.
QString linkIdentity(NetworkInterfaces &interfaces, const QString &bootId, const QString &name)
{
    return bootId + QLatin1Char('/') + QString::number(interfaces.interfaceIndex(name));
}

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
    for (const LinkCounters &c : *counters)
        present.append(c.name);
    QString wifiName = savedWifiLink();
    if (!present.contains(wifiName)) {
        // The interface counted as Wi-Fi is gone, or was only the placeholder: look again.
        checkWifiLink();
        wifiName = savedWifiLink();
    }
    QVariantMap tether = m_settings.dictionaryForKey(Keys::PREF_TRACK_TETHER_DB);
    const QStringList cellular = cellularLinks(present);
    const QString primary = takePrimaryCellular(cellular, tether);
    const QString boot = m_interfaces->bootId();
    QVariantMap ids = m_settings.dictionaryForKey(Keys::PREF_LINK_IDS);
    Delta cell, wifi, tethered;
    for (const LinkCounters &c : *counters) {
        const bool isCellular = cellular.contains(c.name);
        if (!isCellular && c.name != wifiName)
            continue;
        // The same name on another boot or another incarnation of the link: its counters started
        // again from 0, so all they show is new.
        const QString identity = linkIdentity(*m_interfaces, boot, c.name);
        const bool restarted = ids.contains(c.name) && ids.value(c.name).toString() != identity;
        ids.insert(c.name, identity);
        if (c.name == primary) {
            cell = primaryDelta(m_settings, Keys::PREF_prevCellIn, Keys::PREF_prevCellOut, c, restarted);
        } else if (isCellular) {
            const Delta d = tetherDelta(tether, c, restarted);
            tethered.in += d.in;
            tethered.out += d.out;
        }
        if (c.name == wifiName)
            wifi = primaryDelta(m_settings, Keys::PREF_prevWifiIn, Keys::PREF_prevWifiOut, c, restarted);
    }
    m_settings.setValue(Keys::PREF_TRACK_TETHER_DB, tether);
    m_settings.setValue(Keys::PREF_LINK_IDS, ids);
    result.usage = qxDataUsage{cell.in + cell.out, wifi.in + wifi.out};
    if (isTrackTetherForPlan(QString())) {
        cell.in += tethered.in;
        cell.out += tethered.out;
    }
    if (cell.in > 0 || cell.out > 0 || wifi.in > 0 || wifi.out > 0) {
        const Event event{nowAtHour(), cell.in, cell.out, wifi.in, wifi.out, loc.latitude, loc.longitude};
        context->insertEvent(event);
        result.event = event;
    }
    return result;
}

QStringList SharedCode::cellularLinks(const QStringList &present) const
{
    QStringList configured;
    for (const QVariant &v : m_settings.arrayForKey(Keys::PREF_CELL_INTERFACES))
        configured.append(v.toString());
    return InterfaceNames::cellularInterfaces(
        present, configured, [this](const QString &name) { return m_interfaces->isCellularLink(name); });
}

// The saved counters of the primary cellular role belong to one interface. When the role moves to
// another interface, the previous holder's counters go with it into the tethering bookkeeping and
// the new holder brings its own from there (or starts afresh), so no interface's counters are ever
// compared with another's.
QString SharedCode::takePrimaryCellular(const QStringList &cellular, QVariantMap &tether)
{
    const QString before = m_settings.stringForKey(Keys::PREF_CELL_PRIMARY);
    const QString primary = InterfaceNames::primaryCellular(
        cellular, !m_settings.arrayForKey(Keys::PREF_CELL_INTERFACES).isEmpty(), before);
    if (primary.isEmpty() || primary == before)
        return primary;
    m_settings.setValue(Keys::PREF_CELL_PRIMARY, primary);
    if (before.isEmpty())
        return primary; // saved counters from before the role was recorded belong to the first link
    const double prevIn = m_settings.doubleForKey(Keys::PREF_prevCellIn);
    if (prevIn > 0)
        tether.insert(before, QVariantList{prevIn, m_settings.doubleForKey(Keys::PREF_prevCellOut)});
    const QVariantList own = tether.take(primary).toList();
    m_settings.setValue(Keys::PREF_prevCellIn, own.size() >= 2 ? own.at(0) : QVariant());
    m_settings.setValue(Keys::PREF_prevCellOut, own.size() >= 2 ? own.at(1) : QVariant());
    return primary;
}
