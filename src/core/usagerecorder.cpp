// The usage recorder: turns two successive counter readings into one stored usage delta.
#include "logging.h"
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
Delta primaryDelta(SettingsDomain &pref, const QString &inKey, const QString &outKey, const LinkCounters &now)
{
    Delta d;
    const double prevIn = pref.doubleForKey(inKey);
    if (prevIn > 0) {
        if (prevIn > now.received)
            d = Delta{now.received, now.sent};
        else
            d = Delta{now.received - prevIn, std::max(now.sent - pref.doubleForKey(outKey), 0.0)};
    }
    pref.setValue(inKey, now.received);
    pref.setValue(outKey, now.sent);
    return d;
}

// Tethering interfaces: any stored pair, 0 included, is a previous value.
Delta tetherDelta(QVariantMap &tether, const LinkCounters &now)
{
    Delta d;
    const QVariantList prev = tether.value(now.name).toList();
    if (prev.size() >= 2) {
        const double prevIn = prev.at(0).toDouble();
        const double prevOut = prev.at(1).toDouble();
        if (prevIn > now.received)
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

SampleResult SharedCode::saveUsageGasp(StoreContext *context, Coordinate loc)
{
    SampleResult result;
    Descriptor lock{::open(QFile::encodeName(m_flockPath).constData(), O_WRONLY | O_CREAT | O_CLOEXEC, 0666)};
    if (lock.fd < 0) {
        qCWarning(lcCore, "cannot open lock file %s: %s", qPrintable(m_flockPath), strerror(errno));
        return result;
    }
    if (::flock(lock.fd, LOCK_EX | LOCK_NB) != 0) {
        qCDebug(lcCore, "another process is sampling; sample skipped");
        return result;
    }
    try {
        // The previous holder of the lock may have moved the previous values on.
        m_settings.synchronize();
        result = recordUsage(context, loc);
        result.locked = true;
        m_settings.setValue(Keys::PREF_UsageLastSave, m_clock->now());
        if (!m_settings.synchronize()) {
            // The previous values did not reach the file: storing the delta now would count it
            // again at the next sample. Lose it instead.
            qCWarning(lcCore, "settings not written; the usage of this sample is dropped");
            context->rollback();
            result.event.reset();
            return result;
        }
        if (!context->save())
            result.event.reset();
    } catch (const std::exception &e) {
        qCWarning(lcCore, "sample failed: %s", e.what());
    }
    return result;
}

SampleResult SharedCode::recordUsage(StoreContext *context, Coordinate loc)
{
    SampleResult result;
    const std::optional<QList<LinkCounters>> counters = readLinkCounters();
    if (!counters) {
        qCWarning(lcCore, "interface list cannot be obtained; nothing sampled");
        return result;
    }
    result.countersRead = true;
    const QString wifiName = savedEN();
    QVariantMap tether = m_settings.dictionaryForKey(Keys::PREF_TRACK_TETHER_DB);
    Delta cell, wifi, tethered;
    for (const LinkCounters &c : *counters) {
        if (c.name.startsWith(InterfaceNames::kCellularPrefix)) {
            if (c.name == InterfaceNames::kPrimaryCellular) {
                cell = primaryDelta(m_settings, Keys::PREF_prevCellIn, Keys::PREF_prevCellOut, c);
            } else {
                const Delta d = tetherDelta(tether, c);
                tethered.in += d.in;
                tethered.out += d.out;
            }
        }
        if (c.name == wifiName)
            wifi = primaryDelta(m_settings, Keys::PREF_prevWifiIn, Keys::PREF_prevWifiOut, c);
    }
    m_settings.setValue(Keys::PREF_TRACK_TETHER_DB, tether);
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
