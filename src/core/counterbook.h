#pragma once

#include <QList>
#include <QMap>
#include <QString>
#include <QVariant>

// One link as one sample read it.
struct LinkReading
{
    QString identity; // the kernel's index of the link; its name when the index is unknown
    QString name;
    quint64 received = 0;
    quint64 sent = 0;
};

// What one link moved since the previous sample, under the name it has now.
struct LinkMoved
{
    QString name;
    quint64 received = 0;
    quint64 sent = 0;
};

// Where each link's counters stood at the last sample of this boot, kept per link identity rather
// than per name: a renamed link keeps counting, and a new link with an old name starts afresh.
//
// The rules, each direction on its own:
// - the first sample of a boot (or of a book that was lost) only takes a baseline;
// - a link not seen before in this boot started at 0, so all its counters are new;
// - a counter that grew moved the difference;
// - a counter that went down wrapped at 2^32 when it can have (it stood in the upper half below
//   2^32 and the link never showed a counter of 2^32 or more), otherwise it was reset and moved
//   what it shows now.
class CounterBook
{
public:
    // The book from its stored form; a missing or unreadable one is empty, so the next sample only
    // takes a baseline.
    static CounterBook fromVariant(const QVariant &stored);
    QVariantMap toVariant() const;

    // No sample was taken into the book yet.
    bool isEmpty() const { return !m_started; }

    // Puts a link's previous counters in the book of `boot` (an earlier form of the book handing
    // over to this one).
    void seed(const QString &boot, const LinkReading &previous);

    // Takes the readings of one sample: returns what each link moved, in the readings' order, and
    // remembers where they stand now.
    QList<LinkMoved> advance(const QString &boot, const QList<LinkReading> &links);

    // What a counter moved from `before` to `now`, by the rules above.
    static quint64 moved(quint64 before, quint64 now, bool wide);

private:
    struct Entry
    {
        QString name;
        quint64 received = 0;
        quint64 sent = 0;
        bool wide = false; // a counter of this link has shown 2^32 or more: it never wraps at 32 bits
    };

    void forgetOldAbsentLinks(const QList<LinkReading> &present);

    bool m_started = false;
    QString m_boot;
    QMap<QString, Entry> m_links;
};
