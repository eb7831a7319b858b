#pragma once

#include <QDBusConnection>
#include <QStringList>

// Asks the modem manager (org.freedesktop.ModemManager1 on the system bus) which network interfaces
// carry the data of a connected modem bearer: how a PPP link over a modem's serial port is told
// from a VPN's or a serial line's.
namespace ModemManagerLinks {

// The `Interface` of every connected bearer; empty when the modem manager does not answer within
// half a second (not installed, not running).
QStringList connected(const QDBusConnection &bus);

} // namespace ModemManagerLinks
