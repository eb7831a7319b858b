#pragma once

#include "desktop/searchitem.h"

#include <QDBusConnection>
#include <QObject>

#include <functional>

// The desktop's two searches on the app's bus name, both answering from DesktopSearch: GNOME
// Shell's search provider (org.gnome.Shell.SearchProvider2) and KRunner's D-Bus runner
// (org.kde.krunner1). Picking a result calls `open` with the result's activity.
class SearchProviders : public QObject
{
    Q_OBJECT
public:
    static constexpr QLatin1StringView kGnomePath{"/org/tallymo/Tallymo/SearchProvider"};
    static constexpr QLatin1StringView kRunnerPath{"/org/tallymo/Tallymo/Runner"};

    using Open = std::function<void(const UserActivity &)>;
    SearchProviders(const DesktopSearch &search, Open open, QObject *parent = nullptr);
    ~SearchProviders() override;

    // Puts both objects on the connection (before the name is taken, so that a query that
    // started this process finds them). False with the reason when a path is taken.
    bool registerOn(QDBusConnection bus, QString *error);

    QStringList initialResultSet(const QStringList &terms);
    QStringList subsearchResultSet(const QStringList &previous, const QStringList &terms);
    QList<DesktopSearch::Result> resultMetas(const QStringList &ids);
    void activateResult(const QString &id);
    // Opens the app for the query itself (GNOME's "more results").
    void launchSearch();

signals:
    // Any query: a process started only to answer searches stays while they come.
    void used();

private:
    const DesktopSearch &m_search;
    Open m_open;
    QObject *m_gnome = nullptr;
    QObject *m_runner = nullptr;
};
