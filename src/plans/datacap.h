#pragma once

#include <QString>
#include <QtGlobal>

class SharedCode;
class StoreContext;

// The data cap with rollover, the forecast and the number texts (a null plan is the active plan).
namespace DataCap {

double baseDataCapForPlan(const SharedCode &shared, const QString &plan);
bool isRolloverForPlan(const SharedCode &shared, const QString &plan);
// The cap of the current period with rollover; recomputes the rollover after a period boundary.
// With a context, runs on that context's queue.
double effectiveDataCap(SharedCode &shared, StoreContext *context, const QString &plan);
void initRollover(SharedCode &shared, StoreContext *context, const QString &plan);
double forecastRatio(double timeLeft, double dataLeft);
QString forecastText(double ratio);
QString forecastIconCode(const QString &text);
QString stringTwoDecimal(double x);
// A percentage as shown: rounded half to even, as the platform's rint; 0 when not finite.
qint64 roundedPercent(double percent);

} // namespace DataCap
