#pragma once

#include <QtGlobal>

// Cap arithmetic beside the cap, rollover and forecast rules of SharedCode.
namespace DataCap {

// A percentage as shown: rounded half to even, as the platform's rint; 0 when not finite.
qint64 roundedPercent(double percent);

} // namespace DataCap
