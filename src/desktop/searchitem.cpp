#include "searchitem.h"

#include "core/clock.h"
#include "core/privatefiles.h"
#include "logging.h"
#include "plans/datacap.h"
#include "usageintent.h"
#include "widgetstats.h"

#include <QCoreApplication>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace {

QString tr(const char *text)
{
    return QCoreApplication::translate("SearchItem", text);
}

// Each term starts one of the words, whatever the case; no terms match nothing.
bool everyTermStartsAWord(const QStringList &terms, const QStringList &words)
{
    if (terms.isEmpty())
        return false;
    for (const QString &term : terms) {
        const bool found = std::any_of(words.begin(), words.end(), [&term](const QString &word) {
            return word.startsWith(term, Qt::CaseInsensitive);
        });
        if (!found)
            return false;
    }
    return true;
}

QStringList wordsOf(const QString &text)
{
    return text.split(QLatin1Char(' '), Qt::SkipEmptyParts);
}

const QString kItems = QStringLiteral("items");
const QString kIntent = QStringLiteral("intent");

} // namespace

QStringList SearchItem::searchKeywords()
{
    return {tr("cell"),
            tr("used"),
            tr("stats"),
            QStringLiteral("qx"),
            QStringLiteral("forecast"),
            tr("count"),
            QStringLiteral("cellular"),
            QStringLiteral("mobile"),
            QStringLiteral("wifi"),
            QStringLiteral("wi-fi"),
            QStringLiteral("overage"),
            QStringLiteral("mb"),
            QStringLiteral("gb"),
            QStringLiteral("plan"),
            QStringLiteral("cap"),
            QStringLiteral("tallymo"),
            QStringLiteral("manager"),
            QStringLiteral("tracker"),
            QStringLiteral("monitor"),
            QStringLiteral("control"),
            QStringLiteral("watch")};
}

SearchItem SearchItem::make(const QDateTime &now)
{
    return SearchItem{kUniqueIdentifier, tr("Current Data Usage Statistics"), searchKeywords(),
                      now.addSecs(kLifetimeSeconds)};
}

bool SearchItem::matches(const QStringList &terms) const
{
    return everyTermStartsAWord(terms, keywords + wordsOf(title));
}

bool DonatedIntent::matches(const QStringList &terms) const
{
    return everyTermStartsAWord(terms, wordsOf(phrase));
}

UserActivity UserActivity::forSearchItem(const SearchItem &item)
{
    return UserActivity{kSearchType, item.title, {{item.uniqueIdentifier, 1}}};
}

SearchableIndex::SearchableIndex(const QString &container)
    : m_path(container + QStringLiteral("/searchIndex.json"))
{}

SearchableIndex::Contents SearchableIndex::contents() const
{
    QFile file(m_path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(file.readAll(), &error);
    if (!document.isObject()) {
        qCWarning(lcSharing, "search index %s unreadable (%s): read as empty", qPrintable(m_path),
                  qPrintable(error.errorString()));
        return {};
    }
    Contents contents;
    for (const QJsonValue &v : document[kItems].toArray()) {
        SearchItem item{
            v[QLatin1StringView("uniqueIdentifier")].toString(), v[QLatin1StringView("title")].toString(),
            v[QLatin1StringView("keywords")].toVariant().toStringList(),
            QDateTime::fromString(v[QLatin1StringView("expirationDate")].toString(), Qt::ISODate)};
        if (!item.uniqueIdentifier.isEmpty())
            contents.items.append(item);
    }
    const QJsonValue intent = document[kIntent];
    if (const QString phrase = intent[QLatin1StringView("phrase")].toString(); !phrase.isEmpty())
        contents.intent = DonatedIntent{
            phrase, QDateTime::fromString(intent[QLatin1StringView("donated")].toString(), Qt::ISODate)};
    return contents;
}

bool SearchableIndex::publish(const SearchItem &item, const DonatedIntent &intent, QString *error)
{
    QJsonArray items;
    for (const SearchItem &other : contents().items) {
        if (other.uniqueIdentifier != item.uniqueIdentifier)
            items.append(toJson(other));
    }
    items.append(toJson(item));
    const QJsonObject document{
        {kItems, items},
        {kIntent, QJsonObject{{QStringLiteral("phrase"), intent.phrase},
                              {QStringLiteral("donated"), WidgetRecord::isoText(intent.donated)}}}};
    QString why;
    if (PrivateFiles::writeFile(m_path, QJsonDocument(document).toJson(), &why))
        return true;
    qCWarning(lcSharing, "search index not written: %s", qPrintable(why));
    if (error)
        *error = why;
    return false;
}

QJsonObject SearchableIndex::toJson(const SearchItem &item)
{
    return QJsonObject{{QStringLiteral("uniqueIdentifier"), item.uniqueIdentifier},
                       {QStringLiteral("title"), item.title},
                       {QStringLiteral("keywords"), QJsonArray::fromStringList(item.keywords)},
                       {QStringLiteral("expirationDate"), WidgetRecord::isoText(item.expirationDate)}};
}

DesktopSearch::DesktopSearch(const SearchableIndex &index, const Clock &clock,
                             std::function<QVariantMap()> currentRecord)
    : m_index(index), m_clock(clock), m_currentRecord(std::move(currentRecord))
{}

QStringList DesktopSearch::resultsFor(const QStringList &terms) const
{
    QStringList ids;
    const QDateTime now = m_clock.now();
    const SearchableIndex::Contents index = m_index.contents();
    for (const SearchItem &item : index.items) {
        if (!item.isExpired(now) && item.matches(terms))
            ids.append(item.uniqueIdentifier);
    }
    if (index.intent && index.intent->matches(terms))
        ids.append(kIntentResult);
    return ids;
}

QList<DesktopSearch::Result> DesktopSearch::resultMetas(const QStringList &ids) const
{
    QList<Result> results;
    std::optional<QVariantMap> record;
    const auto usage = [&]() -> const QVariantMap & {
        if (!record)
            record = m_currentRecord ? m_currentRecord() : QVariantMap();
        return *record;
    };
    const SearchableIndex::Contents index = m_index.contents();
    const QList<SearchItem> &items = index.items;
    for (const QString &id : ids) {
        if (id == kIntentResult) {
            if (index.intent)
                results.append(
                    {id, index.intent->phrase, UsageIntent::responseForRecord(usage()).spokenText()});
            continue;
        }
        const auto item = std::find_if(items.begin(), items.end(),
                                       [&id](const SearchItem &i) { return i.uniqueIdentifier == id; });
        if (item != items.end())
            results.append({id, item->title, usageLine(usage())});
    }
    return results;
}

std::optional<UserActivity> DesktopSearch::activityFor(const QString &id) const
{
    const SearchableIndex::Contents index = m_index.contents();
    for (const SearchItem &item : index.items) {
        if (item.uniqueIdentifier == id)
            return UserActivity::forSearchItem(item);
    }
    if (index.intent && id == kIntentResult)
        return UserActivity{UserActivity::kSearchType, index.intent->phrase, {}};
    return std::nullopt;
}

QString DesktopSearch::usageLine(const QVariantMap &record)
{
    if (record.value(WStats::NOT_SETUP).toBool() || !record.contains(WStats::PERCENT))
        return QCoreApplication::translate("DesktopSearch",
                                           "Not set up yet: open Tallymo to set up your data plan.");
    return QCoreApplication::translate("DesktopSearch", "%1% used · %2 %3 left · forecast: %4")
        .arg(DataCap::roundedPercent(record.value(WStats::PERCENT).toDouble()))
        .arg(record.value(WStats::DAYS).toLongLong())
        .arg(record.value(WStats::TIMEUNIT).toString(), record.value(WStats::FORECAST).toString());
}

QStringList DesktopSearch::termsOf(const QString &query)
{
    return query.simplified().split(QLatin1Char(' '), Qt::SkipEmptyParts);
}
