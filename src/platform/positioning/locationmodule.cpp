// The location service as a module of its own, loaded once location tagging is on.
#include "positioninglocation.h"

extern "C" Q_DECL_EXPORT LocationService *tallymo_location_service(const QString &nmea)
{
    return new PositioningLocation(nmea);
}
