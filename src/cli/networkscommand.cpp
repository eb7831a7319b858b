// The links Tallymo sees and which figure each one feeds; the user's choice per connection.
#include "arguments.h"
#include "cli.h"
#include "core/linkclassifier.h"
#include "core/sharedcode.h"
#include "output.h"

#include <QJsonArray>
#include <QJsonObject>

namespace Cli {
namespace {

QString meteredWord(const LinkClass &link)
{
    if (link.connection.isEmpty() && link.metered == 0)
        return QStringLiteral("-");
    static const QStringList words{QStringLiteral("unknown"), QStringLiteral("yes"), QStringLiteral("no"),
                                   QStringLiteral("guess-yes"), QStringLiteral("guess-no")};
    return words.value(link.metered, QStringLiteral("unknown"));
}

QJsonObject rowOf(const LinkClass &link)
{
    return {{QStringLiteral("name"), link.choiceName},
            {QStringLiteral("interface"), link.name},
            {QStringLiteral("connection"), link.connection},
            {QStringLiteral("kind"), LinkClassifier::kindWord(link.kind)},
            {QStringLiteral("metered"), meteredWord(link)},
            {QStringLiteral("choice"), LinkClassifier::choiceWord(link.choice)},
            {QStringLiteral("countedAs"), LinkClassifier::useWord(link.use)},
            {QStringLiteral("reason"), link.reason},
            {QStringLiteral("present"), true}};
}

QList<LinkClass> presentOrFail(SharedCode &shared)
{
    const std::optional<QList<LinkClass>> links = shared.presentLinks();
    if (!links)
        throw Failure(QStringLiteral("the interface counters cannot be read"));
    return *links;
}

int list(SharedCode &shared, bool json)
{
    QJsonArray rows;
    QStringList named;
    for (const LinkClass &link : presentOrFail(shared)) {
        rows.append(rowOf(link));
        named.append(link.choiceKey);
    }
    // Choices for connections that are not up now still hold when they come back.
    const QVariantMap choices = shared.userPref().dictionaryForKey(Keys::PREF_NETWORK_CHOICES);
    for (auto it = choices.cbegin(); it != choices.cend(); ++it)
        if (!named.contains(it.key()) && LinkClassifier::choiceOf(it.value()))
            rows.append(QJsonObject{
                {QStringLiteral("name"), LinkClassifier::nameOf(it.value(), it.key())},
                {QStringLiteral("choice"), LinkClassifier::choiceWord(*LinkClassifier::choiceOf(it.value()))},
                {QStringLiteral("present"), false}});
    if (json) {
        print(QString::fromUtf8(jsonText(rows)));
        return 0;
    }
    print(QStringLiteral("%1  %2  %3  %4  %5  %6\n")
              .arg(QStringLiteral("NAME"), -20)
              .arg(QStringLiteral("INTERFACE"), -12)
              .arg(QStringLiteral("KIND"), -9)
              .arg(QStringLiteral("METERED"), -9)
              .arg(QStringLiteral("CHOICE"), -6)
              .arg(QStringLiteral("COUNTED AS")));
    for (const QJsonValue &v : rows) {
        const QJsonObject o = v.toObject();
        const auto field = [&o](const char *key) { return o.value(QLatin1StringView(key)).toString(); };
        const bool present = o.value(QStringLiteral("present")).toBool();
        print(QStringLiteral("%1  %2  %3  %4  %5  %6\n")
                  .arg(field("name"), -20)
                  .arg(present ? field("interface") : QStringLiteral("-"), -12)
                  .arg(present ? field("kind") : QStringLiteral("-"), -9)
                  .arg(present ? field("metered") : QStringLiteral("-"), -9)
                  .arg(field("choice"), -6)
                  .arg(present ? QStringLiteral("%1 (%2)").arg(field("countedAs"), field("reason"))
                               : QStringLiteral("not connected")));
    }
    return 0;
}

int set(SharedCode &shared, const QString &name, const QString &word)
{
    const std::optional<LinkChoice> choice = LinkClassifier::choiceFromWord(word);
    if (!choice)
        throw UsageError(QStringLiteral("\"%1\" is not a choice: mobile, other, ignore or auto").arg(word));
    // The name as listed: a connection up now, or one with a choice from before.
    QVariantMap choices = shared.userPref().dictionaryForKey(Keys::PREF_NETWORK_CHOICES);
    QString key;
    for (const LinkClass &link : presentOrFail(shared))
        if (key.isEmpty() && link.choiceName == name)
            key = link.choiceKey;
    for (auto it = choices.cbegin(); key.isEmpty() && it != choices.cend(); ++it)
        if (LinkClassifier::nameOf(it.value(), it.key()) == name)
            key = it.key();
    if (key.isEmpty())
        throw UsageError(QStringLiteral("no network named \"%1\"; tallymo networks lists them").arg(name));
    if (*choice == LinkChoice::Automatic)
        choices.remove(key);
    else
        choices.insert(key, LinkClassifier::storedChoice(*choice, name));
    shared.userPref().setValue(Keys::PREF_NETWORK_CHOICES, choices);
    return synchronized(shared);
}

} // namespace

int networks(const QStringList &args, Environment &env)
{
    const Arguments a(args, QStringLiteral("networks"));
    a.expectPositional(0, 3);
    if (a.positional.isEmpty())
        return list(env.services().shared, a.flag(QStringLiteral("json")));
    if (a.positional.first() != QLatin1StringView("set") || a.positional.size() != 3)
        throw UsageError(QStringLiteral("usage: %1").arg(a.usage()));
    return set(env.services().shared, a.positional.at(1), a.positional.at(2));
}

} // namespace Cli
