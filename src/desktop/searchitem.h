#pragma once

#include <QDateTime>
#include <QJsonObject>
#include <QList>
#include <QString>
#include <QStringList>
#include <QVariantMap>

#include <functional>
#include <optional>

class Clock;

// What the desktop's search finds the app under: one item, made again each time the app leaves
// the foreground, that expires a year after it was made.
struct SearchItem
{
    static constexpr QLatin1StringView kUniqueIdentifier{"SEARCH_UNIQ_ID"};
    static constexpr qint64 kLifetimeSeconds = 31536000; // 365 days

    QString uniqueIdentifier;
    QString title;
    QStringList keywords;
    QDateTime expirationDate;

    // The item as of `now`, in the user's language.
    static SearchItem make(const QDateTime &now);
    // The 21 words it is found under, in their order (the first three and the sixth localised).
    static QStringList searchKeywords();

    // Every term is the start of a keyword or of a word of the title, whatever the case.
    bool matches(const QStringList &terms) const;
    bool isExpired(const QDateTime &now) const { return !expirationDate.isValid() || now >= expirationDate; }
};

// The usage intent made findable: a query made of the starts of its phrase's words finds it.
struct DonatedIntent
{
    QString phrase;
    QDateTime donated;
    bool matches(const QStringList &terms) const;
};

// What comes back when the user picks a result: the app is opened with it.
struct UserActivity
{
    static constexpr QLatin1StringView kSearchType{"tallymonext.search"};
    QString activityType;
    QString title;
    QVariantMap userInfo;

    static UserActivity forSearchItem(const SearchItem &item);
};

// The searchable index the desktop's search providers read: a file in the container, so whichever
// Tallymo process the desktop starts answers from the item the app made last. Publishing an item
// replaces the one with its identifier, and the donated intent with it, in one write; a damaged or
// missing file reads as empty.
class SearchableIndex
{
public:
    struct Contents
    {
        QList<SearchItem> items;
        std::optional<DonatedIntent> intent;
    };

    explicit SearchableIndex(const QString &container);

    bool publish(const SearchItem &item, const DonatedIntent &intent, QString *error = nullptr);
    Contents contents() const;
    QList<SearchItem> items() const { return contents().items; }

    QString path() const { return m_path; }

private:
    static QJsonObject toJson(const SearchItem &item);
    QString m_path;
};

// The two desktop searches (GNOME Shell's provider and KRunner) answer from this: result
// identifiers for a query, then a name and a one-line description for each.
class DesktopSearch
{
public:
    static constexpr QLatin1StringView kIntentResult{"SHOW_USAGE_INTENT"};

    struct Result
    {
        QString id;
        QString name;
        QString description;
    };

    // `currentRecord` gives the statistics record of this moment (WidgetRecord::current).
    DesktopSearch(const SearchableIndex &index, const Clock &clock,
                  std::function<QVariantMap()> currentRecord);

    // The identifiers of the unexpired entries that match every term.
    QStringList resultsFor(const QStringList &terms) const;
    // Names and descriptions of the known identifiers, in the order asked; the usage is read once.
    QList<Result> resultMetas(const QStringList &ids) const;
    // The activity to open the app with for a result, or nothing for an unknown one.
    std::optional<UserActivity> activityFor(const QString &id) const;

    // "42% used · 12 days left · forecast: safe", or how to set up.
    static QString usageLine(const QVariantMap &record);
    // Splits a typed query into terms (KRunner gives the whole line).
    static QStringList termsOf(const QString &query);

private:
    const SearchableIndex &m_index;
    const Clock &m_clock;
    std::function<QVariantMap()> m_currentRecord;
};
