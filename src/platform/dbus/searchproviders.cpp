#include "searchproviders.h"

#include <QDBusAbstractAdaptor>
#include <QDBusArgument>
#include <QDBusMetaType>

namespace {

const QString kIcon = QStringLiteral("org.tallymo.Tallymo");

// One match as KRunner wants it: (id, text, icon, type, relevance, properties).
struct RemoteMatch
{
    QString id;
    QString text;
    QString iconName;
    int type = 0;
    double relevance = 0;
    QVariantMap properties;
};

// One action KRunner offers beside a match: (id, text, icon).
struct RemoteAction
{
    QString id;
    QString text;
    QString iconName;
};

// KRunner's match types: a result that answers the query is a possible match, shown among the
// others by relevance.
constexpr int kPossibleMatch = 30;

} // namespace

Q_DECLARE_METATYPE(RemoteMatch)
Q_DECLARE_METATYPE(RemoteAction)

QDBusArgument &operator<<(QDBusArgument &a, const RemoteMatch &m)
{
    a.beginStructure();
    a << m.id << m.text << m.iconName << m.type << m.relevance << m.properties;
    a.endStructure();
    return a;
}

const QDBusArgument &operator>>(const QDBusArgument &a, RemoteMatch &m)
{
    a.beginStructure();
    a >> m.id >> m.text >> m.iconName >> m.type >> m.relevance >> m.properties;
    a.endStructure();
    return a;
}

QDBusArgument &operator<<(QDBusArgument &a, const RemoteAction &m)
{
    a.beginStructure();
    a << m.id << m.text << m.iconName;
    a.endStructure();
    return a;
}

const QDBusArgument &operator>>(const QDBusArgument &a, RemoteAction &m)
{
    a.beginStructure();
    a >> m.id >> m.text >> m.iconName;
    a.endStructure();
    return a;
}

class GnomeSearchProviderAdaptor : public QDBusAbstractAdaptor
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.gnome.Shell.SearchProvider2")

public:
    GnomeSearchProviderAdaptor(QObject *object, SearchProviders *providers)
        : QDBusAbstractAdaptor(object), m_providers(providers)
    {}

public slots:
    QStringList GetInitialResultSet(const QStringList &terms) { return m_providers->initialResultSet(terms); }
    QStringList GetSubsearchResultSet(const QStringList &previous, const QStringList &terms)
    {
        return m_providers->subsearchResultSet(previous, terms);
    }
    QList<QVariantMap> GetResultMetas(const QStringList &ids)
    {
        QList<QVariantMap> metas;
        for (const DesktopSearch::Result &r : m_providers->resultMetas(ids))
            metas.append({{QStringLiteral("id"), r.id},
                          {QStringLiteral("name"), r.name},
                          {QStringLiteral("description"), r.description},
                          {QStringLiteral("gicon"), kIcon}});
        return metas;
    }
    void ActivateResult(const QString &id, const QStringList &terms, uint timestamp)
    {
        Q_UNUSED(terms)
        Q_UNUSED(timestamp)
        m_providers->activateResult(id);
    }
    void LaunchSearch(const QStringList &terms, uint timestamp)
    {
        Q_UNUSED(terms)
        Q_UNUSED(timestamp)
        m_providers->launchSearch();
    }

private:
    SearchProviders *m_providers;
};

class KRunnerAdaptor : public QDBusAbstractAdaptor
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.krunner1")

public:
    KRunnerAdaptor(QObject *object, SearchProviders *providers)
        : QDBusAbstractAdaptor(object), m_providers(providers)
    {}

public slots:
    QList<RemoteMatch> Match(const QString &query)
    {
        const QStringList ids = m_providers->initialResultSet(DesktopSearch::termsOf(query));
        QList<RemoteMatch> matches;
        for (const DesktopSearch::Result &r : m_providers->resultMetas(ids))
            matches.append(
                {r.id, r.name, kIcon, kPossibleMatch, 1.0, {{QStringLiteral("subtext"), r.description}}});
        return matches;
    }
    QList<RemoteAction> Actions() { return {}; }
    void Run(const QString &matchId, const QString &actionId)
    {
        Q_UNUSED(actionId)
        m_providers->activateResult(matchId);
    }
    void Teardown() {}

private:
    SearchProviders *m_providers;
};

SearchProviders::SearchProviders(const DesktopSearch &search, Open open, QObject *parent)
    : QObject(parent), m_search(search), m_open(std::move(open)), m_gnome(new QObject(this)),
      m_runner(new QObject(this))
{
    qDBusRegisterMetaType<RemoteMatch>();
    qDBusRegisterMetaType<QList<RemoteMatch>>();
    qDBusRegisterMetaType<RemoteAction>();
    qDBusRegisterMetaType<QList<RemoteAction>>();
    qDBusRegisterMetaType<QList<QVariantMap>>();
    new GnomeSearchProviderAdaptor(m_gnome, this);
    new KRunnerAdaptor(m_runner, this);
}

SearchProviders::~SearchProviders() = default;

bool SearchProviders::registerOn(QDBusConnection bus, QString *error)
{
    if (bus.registerObject(kGnomePath, m_gnome) && bus.registerObject(kRunnerPath, m_runner))
        return true;
    if (error)
        *error = QStringLiteral("the search provider's object path is taken on the session bus");
    return false;
}

QStringList SearchProviders::initialResultSet(const QStringList &terms)
{
    emit used();
    return m_search.resultsFor(terms);
}

QStringList SearchProviders::subsearchResultSet(const QStringList &previous, const QStringList &terms)
{
    emit used();
    QStringList narrowed;
    for (const QString &id : m_search.resultsFor(terms)) {
        if (previous.contains(id))
            narrowed.append(id);
    }
    return narrowed;
}

QList<DesktopSearch::Result> SearchProviders::resultMetas(const QStringList &ids)
{
    emit used();
    return m_search.resultMetas(ids);
}

void SearchProviders::activateResult(const QString &id)
{
    emit used();
    if (const std::optional<UserActivity> activity = m_search.activityFor(id); activity && m_open)
        m_open(*activity);
}

void SearchProviders::launchSearch()
{
    emit used();
    if (m_open)
        m_open(UserActivity{UserActivity::kSearchType, QString(), {}});
}

#include "searchproviders.moc"
