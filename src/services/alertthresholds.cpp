#include "alertthresholds.h"

#include "core/settingsdomain.h"
#include "core/settingskeys.h"

#include <QCoreApplication>

QString AlertThresholds::name(int number)
{
    static const char *const names[] = {
        QT_TRANSLATE_NOOP("AlertsController", "First"), QT_TRANSLATE_NOOP("AlertsController", "Second"),
        QT_TRANSLATE_NOOP("AlertsController", "Third"), QT_TRANSLATE_NOOP("AlertsController", "Fourth")};
    return number >= 1 && number <= 4 ? QCoreApplication::translate("AlertsController", names[number - 1])
                                      : QString();
}

double AlertThresholds::percent(const SettingsDomain &pref, int number)
{
    return pref.doubleForKey(Keys::alert(number));
}

QString AlertThresholds::percentText(const SettingsDomain &pref, int number)
{
    return QString::asprintf("%.0f%%", percent(pref, number));
}

AlertThresholds::Range AlertThresholds::range(const SettingsDomain &pref, int number)
{
    return {number <= 1 ? 5.0 : percent(pref, number - 1), number >= 4 ? 200.0 : percent(pref, number + 1)};
}
