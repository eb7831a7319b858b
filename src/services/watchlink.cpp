// The watch link: answering the companion's messages and pushing the figures to it.
#include "watchlink.h"
#include "core/settingskeys.h"
#include "core/sharedcode.h"
#include "core/storecontext.h"
#include "desktop/watchsession.h"
#include "desktop/widgetstats.h"
#include "location.h"
#include "logging.h"
#include "plans/billingcycle.h"
#include "plans/colorscheme.h"
#include "plans/datacap.h"

#include <exception>

WatchLink::WatchLink(SharedCode &shared, const LocationTracker &location, WatchSession *session)
    : m_shared(shared), m_location(location), m_session(session)
{}

void WatchLink::connectSession()
{
    WatchSession *session = m_session;
    if (!session || !session->isSupported())
        return;
    session->activate(
        [this](const QVariantMap &, WatchSession::Reply reply) { currentRecord(std::move(reply)); },
        [this] { connectSession(); });
}

void WatchLink::currentRecord(std::function<void(const QVariantMap &)> reply)
{
    m_shared.userPref().synchronize(); // setup may have finished in another process
    if (!WidgetRecord::isSetUp(m_shared)) {
        reply(WidgetRecord::notSetUp(m_shared.clock().now()));
        return;
    }
    const std::shared_ptr<StoreContext> context = m_shared.activeStore();
    if (!context) {
        reply(QVariantMap());
        return;
    }
    const Coordinate loc = m_location.currentCoordinate();
    // Answered from the store's queue: the traffic up to this moment is recorded first.
    m_work.onStore(*context, [this, context, loc, reply = std::move(reply)] {
        QVariantMap record;
        try {
            m_shared.sampleUsage(context.get(), loc);
            const QVariantMap stats = WidgetStats::computeWidgetStats(m_shared, context.get());
            record = WidgetRecord::fromStats(m_shared, stats, m_shared.clock().now());
        } catch (const std::exception &e) {
            qCWarning(lcApp, "statistics record: %s", e.what());
            record.clear();
        }
        reply(record);
    });
}

void WatchLink::sendContext(const QVariantMap &r)
{
    WatchSession *session = m_session;
    if (!session || !session->isSupported() || !session->isWatchAppInstalled())
        return;
    const qint64 days = r.value(WStats::DAYS).toLongLong();
    const double cap = DataCap::effectiveDataCap(m_shared, nullptr, QString());
    const QVariantMap context{
        {WStats::TIMESTAMP, m_shared.clock().now()},
        {WStats::LEFT, std::max(cap - r.value(WStats::USED).toDouble(), 0.0) + 0.0},
        {WStats::FORECAST, r.value(WStats::FORECAST)},
        {WStats::COLOR, r.value(WStats::COLOR)},
        {WStats::PERCENT, r.value(WStats::PERCENT)},
        {WStats::USED, r.value(WStats::USED)},
        {WStats::DAYS, days},
        {WStats::TIMEUNIT, BillingCycle::timeUnitSingularOrPlural(m_shared, days, QString())}};
    if (forecastStateChanged(context) && session->isComplicationEnabled()) {
        session->transferCurrentComplicationUserInfo(context);
        return;
    }
    QString error;
    if (!session->updateApplicationContext(context, &error))
        qCInfo(lcApp) << "application context not updated:" << error;
}

bool WatchLink::forecastStateChanged(const QVariantMap &c)
{
    SettingsDomain &pref = m_shared.userPref();
    const QVariantMap s = pref.dictionaryForKey(Keys::PREF_WATCH_COMP_STATE);
    if (s.value(WStats::FORECAST).toString() == c.value(WStats::FORECAST).toString() &&
        s.contains(WStats::COLOR) && c.contains(WStats::COLOR) &&
        s.value(WStats::COLOR).toDouble() == c.value(WStats::COLOR).toDouble())
        return false;
    pref.setValue(Keys::PREF_WATCH_COMP_STATE, c);
    pref.synchronize();
    return true;
}
