#include "settingskeys.h"

#include <algorithm>

namespace Keys {

const QList<Key> &all()
{
    static const QList<Key> keys{
        PREF_ALL_PLANS,
        PREF_ACTIVE_PLAN,
        PREF_PLAN_MIGRATE_CHECK,
        PREF_PLAN_ID,
        PREF_PLAN_LABEL,
        PREF_PLAN_DBNAME,
        PREF_BILLTYPE,
        PREF_BILLDAY,
        PREF_30DAY_START,
        PREF_NDAYS_N,
        PREF_THRES_MONTHLY,
        PREF_DATA_DISPLAY_CAP,
        PREF_ROLLOVER_ON,
        PREF_ROLLOVER_AMOUNT,
        PREF_ROLLOVER_TIMESTAMP,
        PREF_ROLLOVER_DISPLAY,
        PREF_TRACK_TETHER,
        PREF_WEEK_START,
        PREF_ALERT1,
        PREF_ALERT2,
        PREF_ALERT3,
        PREF_ALERT4,
        PREF_THRESHOLD_LEVEL,
        PREF_THEME_COLOR,
        PREF_THEME_FONT,
        PREF_THEME_BACKGROUND,
        PREF_THEME_DISPLAY,
        PREF_THEME_WIDGET,
        PREF_THEME_WIDGET_BG,
        PREF_DAYVIEW_TYPE,
        PREF_SHOWED_SETUP,
        PREF_INTERFACE_NAME,
        PREF_CELL_INTERFACES,
        PREF_CELL_PRIMARY,
        PREF_NETWORK_CHOICES,
        PREF_LINK_IDS,
        PREF_LINK_COUNTERS,
        PREF_TRACK_TETHER_DB,
        PREF_UsageLastSave,
        PREF_prevCellIn,
        PREF_prevCellOut,
        PREF_prevWifiIn,
        PREF_prevWifiOut,
        PREF_MIGRATE_CHECK_COREDATA,
        PREF_NET_LASTCONN,
        PREF_NET_LASTCONN_BOOT,
        PREF_NET_LASTCONN_TCP,
        PREF_WATCH_COMP_STATE,
        PREF_GEO_HIDE_HINT,
        PREF_MAP_TILE_URL,
        PREF_V7_GEO,
        PREF_V7_BADGE,
        PREF_TIP_APPSWITCHER,
        PREF_TIP_DISMISS,
        PREF_FETCH_DONT_SHOW,
        PREF_UPDATE_PREVIOUS_VERSION,
        PREF_WHATSNEW_CHECK_8_6,
    };
    return keys;
}

const Key &alert(int number)
{
    static const Key keys[] = {PREF_ALERT1, PREF_ALERT2, PREF_ALERT3, PREF_ALERT4};
    return keys[std::clamp(number, 1, 4) - 1];
}

const QList<Key> &sampleBaselines()
{
    static const QList<Key> keys{PREF_prevCellIn,      PREF_prevCellOut,     PREF_prevWifiIn,
                                 PREF_prevWifiOut,     PREF_TRACK_TETHER_DB, PREF_LINK_IDS,
                                 PREF_LINK_COUNTERS,   PREF_NET_LASTCONN,    PREF_NET_LASTCONN_BOOT,
                                 PREF_NET_LASTCONN_TCP};
    return keys;
}

const Key *find(QStringView name)
{
    for (const Key &key : all())
        if (key.name == name)
            return &key;
    return nullptr;
}

QLatin1StringView typeName(Type type)
{
    switch (type) {
    case Type::String:
        return QLatin1StringView("string");
    case Type::Integer:
        return QLatin1StringView("int");
    case Type::Double:
        return QLatin1StringView("double");
    case Type::Bool:
        return QLatin1StringView("bool");
    case Type::Date:
        return QLatin1StringView("date");
    case Type::Array:
    case Type::Dictionary:
    case Type::Any:
        break;
    }
    return QLatin1StringView("json");
}

} // namespace Keys
