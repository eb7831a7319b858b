#include "testsupport.h"

#include <QtTest>

#include <ctime>

TestContainer::TestContainer(const QDateTime &now) : clock(now)
{
    QVERIFY(dir.isValid());
}

std::unique_ptr<SharedCode> TestContainer::open()
{
    return std::make_unique<SharedCode>(SharedCode::Services{dir.path(), &interfaces, &clock});
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
