#include "linkclassifier.h"

namespace LinkClassifier {
namespace {

constexpr int kMeteredYes = 1, kMeteredNo = 2, kMeteredGuessYes = 3, kMeteredGuessNo = 4;

// The use of a link nobody decided for: by what it is.
std::pair<LinkUse, QString> byKind(LinkKind kind)
{
    switch (kind) {
    case LinkKind::Modem:
        return {LinkUse::Mobile, QStringLiteral("a modem link")};
    case LinkKind::UsbTethering:
        return {LinkUse::Mobile, QStringLiteral("USB tethering from a phone")};
    case LinkKind::Bluetooth:
        return {LinkUse::Mobile, QStringLiteral("Bluetooth tethering from a phone")};
    case LinkKind::WiFi:
        return {LinkUse::Other, QStringLiteral("Wi-Fi")};
    case LinkKind::Ethernet:
        return {LinkUse::Other, QStringLiteral("wired")};
    case LinkKind::Loopback:
        return {LinkUse::NotCounted, QStringLiteral("loopback")};
    case LinkKind::Virtual:
        return {LinkUse::NotCounted,
                QStringLiteral("virtual: its traffic is counted on the link underneath")};
    case LinkKind::Unknown:
        break;
    }
    return {LinkUse::NotCounted, QStringLiteral("not a known kind of link")};
}

} // namespace

LinkClass classify(const Facts &facts, const QVariantMap &choices)
{
    LinkClass c;
    c.name = facts.name;
    c.kind = facts.kind;
    if (facts.managed) {
        c.connection = facts.managed->connection;
        c.metered = facts.managed->metered;
    }
    // A managed link's choice follows its connection, wherever it is plugged in; an unmanaged one's
    // is its interface's.
    c.choiceName = c.connection.isEmpty() ? c.name : c.connection;
    c.choiceKey = facts.managed && !facts.managed->uuid.isEmpty() ? facts.managed->uuid : c.choiceName;
    c.choice = choiceOf(choices.value(c.choiceKey)).value_or(LinkChoice::Automatic);
    const auto decide = [&c](LinkUse use, const QString &reason) {
        c.use = use;
        if (c.choice == LinkChoice::Automatic)
            c.automaticUse = use;
        c.reason = reason;
        return c;
    };
    if (c.choice != LinkChoice::Automatic)
        c.automaticUse = classify(facts, {}).use;
    if (const std::optional<LinkUse> chosen = chosenUse(c.choice))
        return decide(*chosen, QStringLiteral("your choice"));
    // Listed before anything else: a PPP link of a modem is virtual to the kernel.
    if (facts.listedCellular)
        return decide(LinkUse::Mobile, QStringLiteral("a cellular interface"));
    if (c.kind == LinkKind::Loopback || c.kind == LinkKind::Virtual)
        return decide(byKind(c.kind).first, byKind(c.kind).second);
    if (facts.managed && facts.managed->serving)
        return decide(LinkUse::Serving, QStringLiteral("a hotspot this machine serves"));
    switch (c.metered) {
    case kMeteredYes:
        return decide(LinkUse::Mobile, QStringLiteral("metered"));
    case kMeteredGuessYes:
        return decide(LinkUse::Mobile, QStringLiteral("metered (guessed by NetworkManager)"));
    case kMeteredNo:
        return decide(LinkUse::Other, QStringLiteral("not metered"));
    case kMeteredGuessNo:
        // A modem is paid by the byte whatever the guess.
        if (c.kind != LinkKind::Modem)
            return decide(LinkUse::Other, QStringLiteral("not metered (guessed by NetworkManager)"));
        break;
    default:
        break;
    }
    return decide(byKind(c.kind).first, byKind(c.kind).second);
}

std::optional<LinkUse> chosenUse(LinkChoice choice)
{
    switch (choice) {
    case LinkChoice::Mobile:
        return LinkUse::Mobile;
    case LinkChoice::Other:
        return LinkUse::Other;
    case LinkChoice::Ignore:
        return LinkUse::NotCounted;
    case LinkChoice::Automatic:
        break;
    }
    return std::nullopt;
}

QVariantMap storedChoice(LinkChoice choice, const QString &name)
{
    return {{QStringLiteral("choice"), choiceWord(choice)}, {QStringLiteral("name"), name}};
}

std::optional<LinkChoice> choiceOf(const QVariant &stored)
{
    return choiceFromWord(stored.toMap().value(QStringLiteral("choice")).toString());
}

QString nameOf(const QVariant &stored, const QString &key)
{
    const QString name = stored.toMap().value(QStringLiteral("name")).toString();
    return name.isEmpty() ? key : name;
}

QString choiceWord(LinkChoice choice)
{
    switch (choice) {
    case LinkChoice::Mobile:
        return QStringLiteral("mobile");
    case LinkChoice::Other:
        return QStringLiteral("other");
    case LinkChoice::Ignore:
        return QStringLiteral("ignore");
    case LinkChoice::Automatic:
        break;
    }
    return QStringLiteral("auto");
}

std::optional<LinkChoice> choiceFromWord(const QString &word)
{
    for (LinkChoice c : {LinkChoice::Automatic, LinkChoice::Mobile, LinkChoice::Other, LinkChoice::Ignore})
        if (word == choiceWord(c))
            return c;
    return std::nullopt;
}

QString kindWord(LinkKind kind)
{
    switch (kind) {
    case LinkKind::Loopback:
        return QStringLiteral("loopback");
    case LinkKind::Virtual:
        return QStringLiteral("virtual");
    case LinkKind::WiFi:
        return QStringLiteral("wifi");
    case LinkKind::Ethernet:
        return QStringLiteral("ethernet");
    case LinkKind::UsbTethering:
        return QStringLiteral("usb");
    case LinkKind::Bluetooth:
        return QStringLiteral("bluetooth");
    case LinkKind::Modem:
        return QStringLiteral("modem");
    case LinkKind::Unknown:
        break;
    }
    return QStringLiteral("unknown");
}

QString useWord(LinkUse use)
{
    switch (use) {
    case LinkUse::Mobile:
        return QStringLiteral("mobile");
    case LinkUse::Other:
        return QStringLiteral("other");
    case LinkUse::Serving:
        return QStringLiteral("serving");
    case LinkUse::NotCounted:
        break;
    }
    return QStringLiteral("ignored");
}

QStringList onMobileData(const QList<LinkClass> &links)
{
    QStringList names;
    for (const LinkClass &link : links) {
        const bool up = !link.connection.isEmpty() || link.kind == LinkKind::Modem ||
                        link.kind == LinkKind::UsbTethering || link.kind == LinkKind::Bluetooth;
        if (link.use == LinkUse::Mobile && up && !names.contains(link.choiceName))
            names.append(link.choiceName);
    }
    return names;
}

} // namespace LinkClassifier
