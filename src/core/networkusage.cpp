// Per-address usage from the connection tables.
#include "logging.h"
#include "settingskeys.h"
#include "sharedcode.h"

namespace {

// Baselines written by earlier builds began every key with the boot id ("<boot>-ct-…",
// "<boot>-<cookie>"), which the baseline's boot already says: read as the keys are made now, the
// connections they name still meet their baselines and count only what they moved since.
QVariantMap withoutBootId(const QVariantMap &baseline, const QString &boot)
{
    const QString prefix = boot + QLatin1Char('-');
    if (boot.isEmpty() || baseline.isEmpty() || !baseline.firstKey().startsWith(prefix))
        return baseline;
    QVariantMap keys;
    for (auto it = baseline.cbegin(); it != baseline.cend(); ++it)
        keys.insert(it.key().startsWith(prefix) ? it.key().mid(prefix.size()) : it.key(), it.value());
    return keys;
}

} // namespace

std::optional<ConnectionTable> SharedCode::proto(int protocol)
{
    return m_connections ? m_connections->proto(protocol) : std::nullopt;
}

void SharedCode::networks(StoreContext *context)
{
    if (!m_connections)
        return;
    SettingsDomain &pref = userPref();
    const QString boot = m_interfaces ? m_interfaces->bootId() : QString();
    const QVariant stored = pref.value(Keys::PREF_NET_LASTCONN);
    // Whichever process read the tables last, in this boot, left the baseline; without one (the
    // first read ever, or the first of a boot) connections may have moved bytes long before, so
    // only the baseline is taken.
    const bool counting = stored.isValid() && pref.stringForKey(Keys::PREF_NET_LASTCONN_BOOT) == boot;
    const QVariantMap previous = counting ? withoutBootId(stored.toMap(), boot) : QVariantMap();
    // While TCP stands where it stood when the baseline's TCP entries were read, those entries are
    // the table: the kernel's whole socket hash is not walked again (over a millisecond, in every
    // process, however few sockets it holds).
    QString tcpMark;
    if (const QByteArray mark = m_connections->quietMark(ConnectionTables::kTcp); !mark.isEmpty())
        tcpMark = (m_interfaces ? m_interfaces->networkNamespace() : QString()) + QLatin1Char(' ') +
                  QString::fromLatin1(mark);
    const bool tcpQuiet =
        counting && !tcpMark.isEmpty() && pref.stringForKey(Keys::PREF_NET_LASTCONN_TCP) == tcpMark;
    bool tcpRead = false;
    ConnectionTable all;
    for (int protocol : {ConnectionTables::kTcp, ConnectionTables::kUdp}) {
        if (protocol == ConnectionTables::kTcp && tcpQuiet)
            continue;
        std::optional<ConnectionTable> table = proto(protocol);
        if (!table)
            continue; // a protocol that cannot be read is simply missing this time
        tcpRead = tcpRead || protocol == ConnectionTables::kTcp;
        // The smaller table goes into the larger (the protocols' keys never meet): a router's
        // tens of thousands of UDP flows are not copied for a handful of TCP connections.
        if (table->size() > all.size())
            std::swap(*table, all);
        all.insert(*table);
    }
    QVariantMap current;
    QMap<QString, double> perAddress;
    // Both tables are in key order: one walk through each pairs every connection with its
    // baseline, and the new baseline is built in order, each entry placed at its end.
    auto before = previous.cbegin();
    for (auto it = all.cbegin(); it != all.cend(); ++it) {
        current.insert(current.cend(), it.key(), double(it->total));
        if (!counting)
            continue;
        while (before != previous.cend() && before.key() < it.key())
            ++before;
        const double baseline =
            before != previous.cend() && before.key() == it.key() ? before->toDouble() : 0;
        // A new connection counts whole; one whose total went down is only the new baseline.
        const double delta = double(it->total) - baseline;
        if (delta > 0)
            perAddress[it->address] += delta;
    }
    if (tcpQuiet) {
        for (auto it = previous.cbegin(); it != previous.cend(); ++it) {
            if (!it.key().startsWith(ConnectionTables::kUdpKeyPrefix))
                current.insert(it.key(), it.value());
        }
    }
    pref.setValue(Keys::PREF_NET_LASTCONN, current);
    pref.setValue(Keys::PREF_NET_LASTCONN_BOOT, boot);
    pref.setValue(Keys::PREF_NET_LASTCONN_TCP, tcpQuiet || tcpRead ? tcpMark : QString());
    const QDateTime stamp = nowAtHour();
    for (auto it = perAddress.cbegin(); it != perAddress.cend(); ++it)
        context->insertNetevent(Netevent{stamp, it.key(), it.value()});
}
