#include "networkcontrollers.h"

#include "core/settingskeys.h"
#include "core/sharedcode.h"

#include <algorithm>

namespace {

int order(LinkUse use)
{
    switch (use) {
    case LinkUse::Mobile:
        return 0;
    case LinkUse::Other:
        return 1;
    case LinkUse::Serving:
        return 2;
    case LinkUse::NotCounted:
        break;
    }
    return 3;
}

std::optional<LinkClass> linkFor(SharedCode &shared, const QString &key)
{
    for (const LinkClass &link : shared.presentLinks().value_or(QList<LinkClass>()))
        if (link.choiceKey == key)
            return link;
    return std::nullopt;
}

} // namespace

// ---- NetworksController ----

NetworksController::NetworksController(SharedCode &shared, QObject *parent)
    : MenuController(tr("Networks"), {}, parent), m_shared(shared)
{
    reload();
}

QString NetworksController::useText(LinkUse use)
{
    switch (use) {
    case LinkUse::Mobile:
        return tr("Mobile Data");
    case LinkUse::Other:
        return tr("Wi-Fi & Wired");
    case LinkUse::Serving:
        return tr("Hotspot");
    case LinkUse::NotCounted:
        break;
    }
    return tr("Not Counted");
}

QString NetworksController::kindText(LinkKind kind)
{
    switch (kind) {
    case LinkKind::WiFi:
        return tr("Wi-Fi");
    case LinkKind::Ethernet:
        return tr("Ethernet");
    case LinkKind::UsbTethering:
        return tr("USB tethering");
    case LinkKind::Bluetooth:
        return tr("Bluetooth");
    case LinkKind::Modem:
        return tr("Modem");
    case LinkKind::Virtual:
        return tr("Virtual link");
    case LinkKind::Loopback:
        return tr("Loopback");
    case LinkKind::Unknown:
        break;
    }
    return tr("Unknown kind");
}

void NetworksController::reload()
{
    const std::optional<QList<LinkClass>> present = m_shared.presentLinks();
    QList<LinkClass> links = present.value_or(QList<LinkClass>());
    links.removeIf([](const LinkClass &l) { return l.kind == LinkKind::Loopback; });
    // The connections up now first, then the links of no connection; counted before not counted.
    std::stable_sort(links.begin(), links.end(), [](const LinkClass &a, const LinkClass &b) {
        return std::pair(order(a.use), a.connection.isEmpty()) <
               std::pair(order(b.use), b.connection.isEmpty());
    });
    std::vector<Row> rows;
    m_keys.clear();
    for (const LinkClass &link : links) {
        const int section = link.use == LinkUse::NotCounted ? 1 : 0;
        rows.push_back({section, link.choiceName, Navigator::NetworkChoice, useText(link.use)});
        m_keys.append(link.choiceKey);
    }
    const QVariantMap choices = m_shared.userPref().dictionaryForKey(Keys::PREF_NETWORK_CHOICES);
    for (auto it = choices.cbegin(); it != choices.cend(); ++it) {
        const std::optional<LinkChoice> choice = LinkClassifier::choiceOf(it.value());
        if (!choice || m_keys.contains(it.key()))
            continue;
        const LinkUse use = LinkClassifier::chosenUse(*choice).value_or(LinkUse::NotCounted);
        rows.push_back(
            {2, LinkClassifier::nameOf(it.value(), it.key()), Navigator::NetworkChoice, useText(use)});
        m_keys.append(it.key());
    }
    setRows(std::move(rows));
    setFooters({present ? tr("Mobile data counts against your plan: modems, tethering and every connection "
                             "marked metered. Everything else is Wi-Fi & wired. Choose a network to decide "
                             "yourself.")
                        : tr("The network links cannot be read."),
                tr("Virtual links (VPN tunnels, bridges, containers) carry traffic that is counted on the "
                   "link beneath them."),
                tr("Not connected now. The choice holds when they are back.")});
}

void NetworksController::tapRow(int row)
{
    if (row >= 0 && row < m_keys.size())
        emit openFor(Navigator::NetworkChoice, m_keys.at(row));
}

// ---- NetworkChoiceController ----

NetworkChoiceController::NetworkChoiceController(SharedCode &shared, QString key, QObject *parent)
    : MenuController(QString(), {}, parent), m_shared(shared), m_key(std::move(key))
{
    reload();
}

void NetworkChoiceController::reload()
{
    const std::optional<LinkClass> link = linkFor(m_shared, m_key);
    const QVariant stored = m_shared.userPref().dictionaryForKey(Keys::PREF_NETWORK_CHOICES).value(m_key);
    const LinkChoice choice =
        link ? link->choice : LinkClassifier::choiceOf(stored).value_or(LinkChoice::Automatic);
    m_name = link ? link->choiceName : LinkClassifier::nameOf(stored, m_key);
    setTitle(m_name);
    const auto check = [choice](const QString &title, LinkChoice c, const QString &detail = QString()) {
        return Row{0, title, Navigator::NoScreen, detail, true, Check, choice == c};
    };
    setRows({check(tr("Automatic"), LinkChoice::Automatic,
                   link ? NetworksController::useText(link->automaticUse) : QString()),
             check(tr("Mobile Data"), LinkChoice::Mobile), check(tr("Wi-Fi & Wired"), LinkChoice::Other),
             check(tr("Not Counted"), LinkChoice::Ignore)});
    if (!link) {
        setFooters({tr("Not connected now. The choice holds when it is back.")});
        return;
    }
    QString about = tr("%1 on %2.").arg(NetworksController::kindText(link->kind), link->name);
    if (!link->connection.isEmpty()) {
        static const char *const verdicts[] = {
            QT_TR_NOOP("NetworkManager does not know whether it is metered."),
            QT_TR_NOOP("NetworkManager says it is metered."),
            QT_TR_NOOP("NetworkManager says it is not metered."),
            QT_TR_NOOP("NetworkManager guesses it is metered."),
            QT_TR_NOOP("NetworkManager guesses it is not metered.")};
        about += QLatin1Char(' ') + tr(verdicts[std::clamp(link->metered, 0, 4)]);
    }
    if (link->use == LinkUse::Serving)
        about +=
            QLatin1Char(' ') + tr("This computer serves a hotspot on it: what it forwards counts against "
                                  "the plan only with Tethering on.");
    setFooters({about});
}

void NetworkChoiceController::tapRow(int row)
{
    static const LinkChoice choices[] = {LinkChoice::Automatic, LinkChoice::Mobile, LinkChoice::Other,
                                         LinkChoice::Ignore};
    if (row < 0 || row > 3)
        return;
    QVariantMap stored = m_shared.userPref().dictionaryForKey(Keys::PREF_NETWORK_CHOICES);
    if (choices[row] == LinkChoice::Automatic)
        stored.remove(m_key);
    else
        stored.insert(m_key, LinkClassifier::storedChoice(choices[row], m_name));
    m_shared.userPref().setValue(Keys::PREF_NETWORK_CHOICES, stored);
    // Every Tallymo process counts by it from its next sample on.
    if (!m_shared.userPref().synchronize())
        emit message(tr("The choice cannot be saved: %1").arg(m_shared.userPref().lastError()));
    reload();
}
