#pragma once

#include "networkinterfaces.h"

#include <QString>
#include <QStringList>
#include <QVariantMap>

#include <optional>

// Which of the two figures a link's bytes go to. Mobile data is every link the user pays for by
// the byte; everything else that leaves the machine (unmetered Wi-Fi, wired Ethernet) is the
// second figure; loopback and virtual links carry bytes already counted on the link underneath
// and are never counted. A hotspot this machine serves carries what it forwards for others: those
// bytes are in the mobile link's counters already, and the plan's tethering setting decides
// whether they stay there.
enum class LinkUse { Mobile, Other, NotCounted, Serving };

// What the user chose for a connection (or an unmanaged interface): to decide as Tallymo sees fit,
// or one of the uses.
enum class LinkChoice { Automatic, Mobile, Other, Ignore };

struct LinkClass
{
    QString name; // the interface
    LinkKind kind = LinkKind::Unknown;
    QString connection; // the connection manager's name for it, when it manages it
    int metered = 0;    // the connection manager's verdict (0 when none)
    LinkChoice choice = LinkChoice::Automatic;
    QString choiceName; // what the user calls it: the connection's name, or the interface's
    QString choiceKey;  // what the choice is stored under: the connection's identifier (a renamed
                        // connection keeps its choice), or the interface's name
    LinkUse use = LinkUse::NotCounted;
    LinkUse automaticUse = LinkUse::NotCounted; // what it would count as without the user's choice
    QString reason;                             // why, in a few words
};

namespace LinkClassifier {

// The facts about one link and what decides its use, in this order: the user's choice for its
// connection (or its interface), the interfaces listed as cellular, loopback and virtual links, a
// hotspot it serves, the connection manager's metered verdict, and then the kind of link.
struct Facts
{
    QString name;
    LinkKind kind = LinkKind::Unknown;
    std::optional<ManagedLink> managed;
    bool listedCellular = false; // PREF_CELL_INTERFACES, or a name only cellular links have
};
LinkClass classify(const Facts &facts, const QVariantMap &choices);

// What the user calls each link counted as mobile data that is in use now: one with an active
// connection, or a modem or tethered phone (up whenever it is there).
QStringList onMobileData(const QList<LinkClass> &links);

// The choices are stored per key as {choice: word, name: what the user called it}.
QVariantMap storedChoice(LinkChoice choice, const QString &name);
std::optional<LinkChoice> choiceOf(const QVariant &stored);
QString nameOf(const QVariant &stored, const QString &key);

// The use a choice sets; nothing for automatic.
std::optional<LinkUse> chosenUse(LinkChoice choice);

// The words of the choices ("auto", "mobile", "other", "ignore") and back.
QString choiceWord(LinkChoice choice);
std::optional<LinkChoice> choiceFromWord(const QString &word);
// The English words for kinds and uses, as `tallymo networks` prints them.
QString kindWord(LinkKind kind);
QString useWord(LinkUse use);

} // namespace LinkClassifier
