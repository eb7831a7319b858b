#include "counterbook.h"

#include "logging.h"

#include <QSet>

#include <algorithm>
#include <optional>

namespace {

constexpr quint64 k32 = quint64(1) << 32;
// Links that went away stay in the book for a while: a link moved to another network namespace
// and back keeps its index and its counters.
constexpr qsizetype kAbsentKept = 64;

const QString kBoot = QStringLiteral("boot");
const QString kLinks = QStringLiteral("links");

// The settings file holds signed 64-bit integers; a counter goes through them bit for bit.
QVariant counterValue(quint64 value)
{
    return QVariant(qint64(value));
}

std::optional<quint64> counterFrom(const QVariant &v)
{
    if (v.typeId() != QMetaType::LongLong && v.typeId() != QMetaType::Int &&
        v.typeId() != QMetaType::ULongLong)
        return std::nullopt;
    return quint64(v.toLongLong());
}

} // namespace

quint64 CounterBook::moved(quint64 before, quint64 now, bool wide)
{
    if (now >= before)
        return now - before;
    if (!wide && before >= k32 / 2 && before < k32)
        return k32 - before + now; // a 32-bit counter wrapped
    return now;                    // the counter was reset
}

CounterBook CounterBook::fromVariant(const QVariant &stored)
{
    CounterBook book;
    const QVariantMap map = stored.toMap();
    if (!stored.isValid())
        return book;
    if (map.value(kBoot).typeId() != QMetaType::QString) {
        qCWarning(lcCore, "the saved link counters are unreadable; the next sample takes a baseline");
        return book;
    }
    const QVariantMap links = map.value(kLinks).toMap();
    for (auto it = links.cbegin(); it != links.cend(); ++it) {
        const QVariantList e = it->toList();
        const std::optional<quint64> in = e.size() == 4 ? counterFrom(e.at(1)) : std::nullopt;
        const std::optional<quint64> out = e.size() == 4 ? counterFrom(e.at(2)) : std::nullopt;
        if (!in || !out || e.at(0).typeId() != QMetaType::QString) {
            qCWarning(lcCore,
                      "the saved counters of link %s are unreadable; the next sample takes a baseline",
                      qPrintable(it.key()));
            return CounterBook();
        }
        book.m_links.insert(it.key(), Entry{e.at(0).toString(), *in, *out, e.at(3).toBool()});
    }
    book.m_started = true;
    book.m_boot = map.value(kBoot).toString();
    return book;
}

QVariantMap CounterBook::toVariant() const
{
    QVariantMap links;
    for (auto it = m_links.cbegin(); it != m_links.cend(); ++it)
        links.insert(it.key(),
                     QVariantList{it->name, counterValue(it->received), counterValue(it->sent), it->wide});
    return QVariantMap{{kBoot, m_boot}, {kLinks, links}};
}

void CounterBook::seed(const QString &boot, const LinkReading &previous)
{
    if (!m_started || m_boot != boot)
        m_links.clear();
    m_started = true;
    m_boot = boot;
    m_links.insert(previous.identity, Entry{previous.name, previous.received, previous.sent,
                                            previous.received >= k32 || previous.sent >= k32});
}

QList<LinkMoved> CounterBook::advance(const QString &boot, const QList<LinkReading> &links)
{
    const bool baseline = !m_started || m_boot != boot;
    if (baseline) {
        if (m_started)
            qCInfo(lcCore, "a new boot: the link counters take a new baseline");
        m_links.clear();
    }
    m_started = true;
    m_boot = boot;
    QList<LinkMoved> result;
    result.reserve(links.size());
    for (const LinkReading &link : links) {
        LinkMoved m{link.name};
        bool wide = link.received >= k32 || link.sent >= k32;
        const auto it = m_links.constFind(link.identity);
        if (it != m_links.cend()) {
            m.received = moved(it->received, link.received, it->wide);
            m.sent = moved(it->sent, link.sent, it->wide);
            wide = wide || it->wide;
        } else if (!baseline) {
            m.received = link.received; // a link that came up since the previous sample
            m.sent = link.sent;
        }
        m_links.insert(link.identity, Entry{link.name, link.received, link.sent, wide});
        result.append(m);
    }
    forgetOldAbsentLinks(links);
    return result;
}

void CounterBook::forgetOldAbsentLinks(const QList<LinkReading> &present)
{
    QSet<QString> here;
    for (const LinkReading &link : present)
        here.insert(link.identity);
    QList<QString> absent;
    for (auto it = m_links.cbegin(); it != m_links.cend(); ++it)
        if (!here.contains(it.key()))
            absent.append(it.key());
    if (absent.size() <= kAbsentKept)
        return;
    // Indexes grow as links are made: the lowest are the oldest.
    std::sort(absent.begin(), absent.end(), [](const QString &a, const QString &b) {
        return a.size() != b.size() ? a.size() < b.size() : a < b;
    });
    for (qsizetype i = 0; i < absent.size() - kAbsentKept; ++i)
        m_links.remove(absent.at(i));
}
