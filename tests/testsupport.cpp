#include "testsupport.h"

#include <QFile>
#include <QStandardPaths>
#include <QtTest>

#include <ctime>

TestContainer::TestContainer(const QDateTime &now) : clock(now)
{
    QVERIFY(dir.isValid());
}

std::unique_ptr<SharedCode> TestContainer::open()
{
    return std::make_unique<SharedCode>(SharedCode::Services{dir.path(), &interfaces, &clock, connections});
}

std::unique_ptr<SharedCode> TestContainer::openPlan()
{
    auto shared = open();
    shared->userPref().setValue(QStringLiteral("PREF_ACTIVE_PLAN"), QStringLiteral("P"));
    shared->setForPlan(QString(), QStringLiteral("PREF_PLAN_DBNAME"), QStringLiteral("P.sqlite"));
    return shared;
}

ZoneScope::ZoneScope(const QByteArray &zone) : m_previous(qgetenv("TZ"))
{
    qputenv("TZ", zone);
    tzset();
}

ZoneScope::~ZoneScope()
{
    if (m_previous.isNull())
        qunsetenv("TZ");
    else
        qputenv("TZ", m_previous);
    tzset();
}

QString missingProgram(const QString &name)
{
    if (!QStandardPaths::findExecutable(name).isEmpty())
        return {};
    QFile table(QStringLiteral(TALLYMO_PROGRAMS_TABLE));
    QString package = QStringLiteral("(not listed in scripts/programs.txt)");
    if (table.open(QIODevice::ReadOnly | QIODevice::Text)) {
        while (!table.atEnd()) {
            const QStringList fields = QString::fromUtf8(table.readLine()).simplified().split(u' ');
            if (fields.size() >= 2 && fields[0] == name)
                package = fields[1];
        }
    }
    return QStringLiteral("%1 is missing; install the Debian package %2 (scripts/deps.sh installs it)")
        .arg(name, package);
}
