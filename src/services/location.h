#pragma once

#include "core/location.h"

#include <QDateTime>
#include <QString>

#include <functional>
#include <optional>

// Visits derived from positions: a visit begins once positions stay within 150 m of where the
// spell started for 5 minutes, and ends with the first position outside that circle.
class VisitDetector
{
public:
    static constexpr double kRadiusMeters = 150;
    static constexpr qint64 kDwellSeconds = 300;

    // The arrival or departure this position makes, if any.
    std::optional<Visit> addFix(const LocationFix &fix);

private:
    std::optional<LocationFix> m_anchor;
    std::optional<Visit> m_visit;
};
