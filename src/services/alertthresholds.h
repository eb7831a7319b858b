#pragma once

#include <QString>

class SettingsDomain;

// The four usage-alert thresholds, numbered 1 to 4: their names and the share of the cap each is set to.
namespace AlertThresholds {

QString name(int number);                                    // "First" ... "Fourth"; empty for another number
double percent(const SettingsDomain &pref, int number);      // of the cap
QString percentText(const SettingsDomain &pref, int number); // "50%"
// The shares a threshold may be set to: between its neighbours, from 5 % for the first, up to 200 %
// for the fourth.
struct Range
{
    double min;
    double max;
};
Range range(const SettingsDomain &pref, int number);

} // namespace AlertThresholds
