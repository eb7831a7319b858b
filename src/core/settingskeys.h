#pragma once

#include <QLatin1StringView>
#include <QList>
#include <QString>
#include <QVariant>

// Every settings key, declared once: its name, whether it lives in a plan dictionary or at the top
// of the domain, its value type and its default. Accessors, the command line and tests use this.
namespace Keys {

enum class Scope { Global, Plan };
enum class Type { String, Integer, Double, Bool, Date, Array, Dictionary, Any };

struct Key
{
    QLatin1StringView name;
    Scope scope;
    Type type;
    operator QString() const { return QString(name); }
};

#define TALLYMO_KEY(ident, scope, type)                                                                      \
    inline constexpr Key ident{QLatin1StringView(#ident), Scope::scope, Type::type};

TALLYMO_KEY(PREF_ALL_PLANS, Global, Dictionary)
TALLYMO_KEY(PREF_ACTIVE_PLAN, Global, String)
TALLYMO_KEY(PREF_PLAN_MIGRATE_CHECK, Global, Bool)
TALLYMO_KEY(PREF_PLAN_ID, Plan, String)
TALLYMO_KEY(PREF_PLAN_LABEL, Plan, String)
TALLYMO_KEY(PREF_PLAN_DBNAME, Plan, String)
TALLYMO_KEY(PREF_BILLTYPE, Plan, Integer)
TALLYMO_KEY(PREF_BILLDAY, Plan, Integer)
TALLYMO_KEY(PREF_30DAY_START, Plan, Date)
TALLYMO_KEY(PREF_NDAYS_N, Plan, Integer)
TALLYMO_KEY(PREF_THRES_MONTHLY, Plan, Double)
TALLYMO_KEY(PREF_DATA_DISPLAY_CAP, Plan, Array)
TALLYMO_KEY(PREF_ROLLOVER_ON, Plan, Bool)
TALLYMO_KEY(PREF_ROLLOVER_AMOUNT, Plan, Double)
TALLYMO_KEY(PREF_ROLLOVER_TIMESTAMP, Plan, Date)
TALLYMO_KEY(PREF_ROLLOVER_DISPLAY, Plan, Array)
TALLYMO_KEY(PREF_TRACK_TETHER, Plan, Bool)
TALLYMO_KEY(PREF_WEEK_START, Global, Integer)
TALLYMO_KEY(PREF_ALERT1, Global, Double)
TALLYMO_KEY(PREF_ALERT2, Global, Double)
TALLYMO_KEY(PREF_ALERT3, Global, Double)
TALLYMO_KEY(PREF_ALERT4, Global, Double)
TALLYMO_KEY(PREF_THRESHOLD_LEVEL, Global, Integer)
TALLYMO_KEY(PREF_THEME_COLOR, Global, Integer)
TALLYMO_KEY(PREF_THEME_FONT, Global, Integer)
TALLYMO_KEY(PREF_THEME_BACKGROUND, Global, Integer)
TALLYMO_KEY(PREF_THEME_DISPLAY, Global, Integer)
TALLYMO_KEY(PREF_THEME_WIDGET, Global, Integer)
TALLYMO_KEY(PREF_THEME_WIDGET_BG, Global, Integer)
TALLYMO_KEY(PREF_DAYVIEW_TYPE, Global, Integer)
TALLYMO_KEY(PREF_SHOWED_SETUP, Global, Bool)
TALLYMO_KEY(PREF_INTERFACE_NAME, Global, String)
TALLYMO_KEY(PREF_CELL_INTERFACES, Global, Array)
TALLYMO_KEY(PREF_CELL_PRIMARY, Global, String)
TALLYMO_KEY(PREF_NETWORK_CHOICES, Global, Dictionary)
TALLYMO_KEY(PREF_LINK_IDS, Global, Dictionary)
TALLYMO_KEY(PREF_LINK_COUNTERS, Global, Dictionary)
TALLYMO_KEY(PREF_TRACK_TETHER_DB, Global, Dictionary)
TALLYMO_KEY(PREF_UsageLastSave, Global, Date)
TALLYMO_KEY(PREF_prevCellIn, Global, Double)
TALLYMO_KEY(PREF_prevCellOut, Global, Double)
TALLYMO_KEY(PREF_prevWifiIn, Global, Double)
TALLYMO_KEY(PREF_prevWifiOut, Global, Double)
TALLYMO_KEY(PREF_MIGRATE_CHECK_COREDATA, Global, Bool)
TALLYMO_KEY(PREF_NET_LASTCONN, Global, Dictionary)
TALLYMO_KEY(PREF_NET_LASTCONN_BOOT, Global, String)
TALLYMO_KEY(PREF_NET_LASTCONN_TCP, Global, String)
TALLYMO_KEY(PREF_WATCH_COMP_STATE, Global, Dictionary)
TALLYMO_KEY(PREF_GEO_HIDE_HINT, Global, Bool)
TALLYMO_KEY(PREF_MAP_TILE_URL, Global, String)
TALLYMO_KEY(PREF_V7_GEO, Global, Bool)
TALLYMO_KEY(PREF_V7_BADGE, Global, Bool)
TALLYMO_KEY(PREF_TIP_APPSWITCHER, Global, Bool)
TALLYMO_KEY(PREF_TIP_DISMISS, Global, Bool)
TALLYMO_KEY(PREF_FETCH_DONT_SHOW, Global, Bool)
TALLYMO_KEY(PREF_UPDATE_PREVIOUS_VERSION, Global, Any)
TALLYMO_KEY(PREF_WHATSNEW_CHECK_8_6, Global, String)

#undef TALLYMO_KEY

// The catalogue in declaration order.
const QList<Key> &all();
// Looks a key up by name; nothing for an unknown name.
const Key *find(QStringView name);
// The usage-alert threshold key of alert 1 to 4 (PREF_ALERT1 ... PREF_ALERT4).
const Key &alert(int number);
// The keys that hold where the counters stood at the last sample. A copy of them that may be
// older than the newest sample is dropped rather than used, so no bytes are counted twice.
const QList<Key> &sampleBaselines();
// The value type named on the command line ("string", "int", "double", "bool", "date", "json").
QLatin1StringView typeName(Type type);

} // namespace Keys
