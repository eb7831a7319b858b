#include "sharedcode.h"

#include "localtime.h"
#include "logging.h"
#include "privatefiles.h"
#include "settingskeys.h"

#include <QDir>
#include <QTimer>
#include <QUuid>

#include <algorithm>
#include <cmath>

SharedCode::SharedCode(Services services)
    : m_container(QDir(services.containerPath).absolutePath()),
      m_flockPath(m_container + QStringLiteral("/flockFile.txt")), m_interfaces(services.interfaces),
      m_connections(services.connections), m_clock(services.clock),
      m_onStoreOpenFailure(std::move(services.onStoreOpenFailure)),
      m_settings((PrivateFiles::makePrivateFolder(m_container),
                  m_container + QLatin1Char('/') + kSuiteName + QStringLiteral(".plist")))
{
    PrivateFiles::removeAbandonedWrites(m_container);
    migratePlan();
    writeSettingsThrough();
}

SharedCode::~SharedCode()
{
    m_settings.setChangeListener(nullptr);
}

// A change made on any thread starts the timer on this one; when it runs, the change reaches the
// file. A failed write is tried again every few seconds and said once.
void SharedCode::writeSettingsThrough()
{
    constexpr int kCoalesceMs = 300, kRetryMs = 5000;
    m_writeThrough = std::make_unique<QTimer>();
    QTimer *timer = m_writeThrough.get();
    timer->setSingleShot(true);
    QObject::connect(timer, &QTimer::timeout, timer, [this, timer, failing = false]() mutable {
        if (m_settings.synchronize()) {
            failing = false;
            return;
        }
        if (!std::exchange(failing, true))
            qCWarning(lcCore, "settings not written, trying again: %s", qPrintable(m_settings.lastError()));
        timer->start(kRetryMs);
    });
    m_settings.setChangeListener([timer] {
        QMetaObject::invokeMethod(
            timer,
            [timer] {
                if (!timer->isActive())
                    timer->start(kCoalesceMs);
            },
            Qt::QueuedConnection);
    });
}

QString SharedCode::activePlanID() const
{
    const QVariant v = m_settings.value(Keys::PREF_ACTIVE_PLAN);
    return v.typeId() == QMetaType::QString ? v.toString() : QString();
}

QString SharedCode::processPlanID(const QString &plan) const
{
    return plan.isNull() ? activePlanID() : plan;
}

QVariant SharedCode::getForPlan(const QString &plan, const QString &key) const
{
    const QString id = processPlanID(plan);
    if (id.isNull())
        return {};
    return m_settings.dictionaryForKey(Keys::PREF_ALL_PLANS).value(id).toMap().value(key);
}

void SharedCode::setForPlan(const QString &plan, const QString &key, const QVariant &object)
{
    const QString id = processPlanID(plan);
    if (id.isNull())
        return;
    QVariantMap plans = m_settings.dictionaryForKey(Keys::PREF_ALL_PLANS);
    QVariantMap planDict = plans.value(id).toMap();
    if (object.isNull())
        planDict.remove(key);
    else
        planDict.insert(key, object);
    plans.insert(id, planDict);
    m_settings.setValue(Keys::PREF_ALL_PLANS, plans);
}

void SharedCode::checkAndSetObjectForKey(const QString &key, QVariantMap &dict, const SettingsDomain &pref)
{
    const QVariant v = pref.value(key);
    if (!v.isNull())
        dict.insert(key, v);
}

qint64 SharedCode::integerForPlan(const QString &plan, const QString &key) const
{
    return SettingsValue::toInteger(getForPlan(plan, key));
}

double SharedCode::doubleForPlan(const QString &plan, const QString &key) const
{
    return SettingsValue::toDouble(getForPlan(plan, key));
}

bool SharedCode::boolForPlan(const QString &plan, const QString &key) const
{
    return SettingsValue::toBool(getForPlan(plan, key));
}

QString SharedCode::newPlanIdentifier()
{
    return QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();
}

void SharedCode::migratePlan()
{
    SettingsDomain &pref = m_settings;
    if (pref.boolForKey(Keys::PREF_PLAN_MIGRATE_CHECK))
        return;
    pref.setValue(Keys::PREF_PLAN_MIGRATE_CHECK, true);
    const bool hasPlans = pref.value(Keys::PREF_ALL_PLANS).typeId() == QMetaType::QVariantMap;
    if (pref.integerForKey(Keys::PREF_BILLDAY) != 0 && !hasPlans) {
        const QString id = newPlanIdentifier();
        QVariantMap plan{
            {Keys::PREF_PLAN_ID, id},
            {Keys::PREF_PLAN_LABEL, QStringLiteral("Default")},
            {Keys::PREF_PLAN_DBNAME, QStringLiteral("QXNData7.sqlite")},
            {Keys::PREF_BILLTYPE, pref.integerForKey(Keys::PREF_BILLTYPE)},
            {Keys::PREF_NDAYS_N, pref.integerForKey(Keys::PREF_NDAYS_N)},
            {Keys::PREF_BILLDAY, pref.integerForKey(Keys::PREF_BILLDAY)},
            {Keys::PREF_THRES_MONTHLY, pref.doubleForKey(Keys::PREF_THRES_MONTHLY)},
            {Keys::PREF_ROLLOVER_ON, pref.boolForKey(Keys::PREF_ROLLOVER_ON)},
            {Keys::PREF_ROLLOVER_AMOUNT, pref.doubleForKey(Keys::PREF_ROLLOVER_AMOUNT)},
            {Keys::PREF_TRACK_TETHER, pref.boolForKey(Keys::PREF_TRACK_TETHER)},
        };
        for (const Keys::Key &key : {Keys::PREF_30DAY_START, Keys::PREF_DATA_DISPLAY_CAP,
                                     Keys::PREF_ROLLOVER_DISPLAY, Keys::PREF_ROLLOVER_TIMESTAMP})
            checkAndSetObjectForKey(key, plan, pref);
        pref.setValue(Keys::PREF_ALL_PLANS, QVariantMap{{id, plan}});
        pref.setValue(Keys::PREF_ACTIVE_PLAN, id);
        qCInfo(lcCore, "migrated single-plan settings into plan %s", qPrintable(id));
    }
    pref.synchronize();
}

QString SharedCode::currentWifiLink()
{
    const QStringList list = m_interfaces ? m_interfaces->wifiInterfaces() : QStringList();
    return list.isEmpty() || list.first().isEmpty() ? QString() : list.first();
}

QString SharedCode::savedWifiLink()
{
    const QVariant stored = m_settings.value(Keys::PREF_INTERFACE_NAME);
    if (stored.typeId() == QMetaType::QString)
        return stored.toString();
    QString name = currentWifiLink();
    if (name.isEmpty())
        name = QStringLiteral("en0");
    m_settings.setValue(Keys::PREF_INTERFACE_NAME, name);
    return name;
}

void SharedCode::checkWifiLink()
{
    const QString stored = m_settings.stringForKey(Keys::PREF_INTERFACE_NAME);
    const QString current = currentWifiLink();
    if (current.isEmpty() || current == stored)
        return;
    m_settings.setValue(Keys::PREF_INTERFACE_NAME, current);
}

bool SharedCode::isTrackTetherForPlan(const QString &plan) const
{
    return boolForPlan(plan, Keys::PREF_TRACK_TETHER);
}

QString SharedCode::sqliteURLForPlan(const QString &plan) const
{
    return m_container + QLatin1Char('/') + getForPlan(plan, Keys::PREF_PLAN_DBNAME).toString();
}

std::shared_ptr<StoreContext> SharedCode::makeStoreForPlan(const QString &plan)
{
    if (plan.isEmpty())
        return nullptr;
    return std::make_shared<StoreContext>(plan, sqliteURLForPlan(plan), m_onStoreOpenFailure);
}

std::shared_ptr<StoreContext> SharedCode::activeStore()
{
    const QString active = activePlanID();
    QMutexLocker locker(&m_contextMutex);
    if (m_activeStore && m_activeStore->name() == active)
        return m_activeStore;
    m_activeStore = makeStoreForPlan(active);
    return m_activeStore;
}

std::shared_ptr<StoreContext> SharedCode::cachedActiveStore() const
{
    QMutexLocker locker(&m_contextMutex);
    return m_activeStore;
}

QDateTime SharedCode::todayAtZeroHour() const
{
    return LocalTime::midnightOf(m_clock->now());
}

QDateTime SharedCode::nowAtHour() const
{
    return LocalTime::hourStart(m_clock->now());
}

bool isValidCoordinate(double latitude, double longitude)
{
    return latitude >= -90 && latitude <= 90 && longitude >= -180 && longitude <= 180;
}

double metersBetween(double lat1, double lon1, double lat2, double lon2)
{
    constexpr double kEarthRadius = 6371008.8;
    constexpr double kRad = M_PI / 180;
    const double dLat = (lat2 - lat1) * kRad, dLon = (lon2 - lon1) * kRad;
    const double a = std::sin(dLat / 2) * std::sin(dLat / 2) +
                     std::cos(lat1 * kRad) * std::cos(lat2 * kRad) * std::sin(dLon / 2) * std::sin(dLon / 2);
    return 2 * kEarthRadius * std::asin(std::min(1.0, std::sqrt(a)));
}

Coordinate SharedCode::coordinateFromLocationFix(const std::optional<LocationFix> &last)
{
    if (!last || !(last->horizontalAccuracy >= 0 && last->horizontalAccuracy <= 500) ||
        !isValidCoordinate(last->latitude, last->longitude))
        return Coordinate{};
    return Coordinate{last->latitude, last->longitude};
}
