#pragma once

#include <QString>

#include <memory>

class Clock;
class DesktopServices;

namespace DesktopModule {
// The desktop services (session bus, positioning, host names) live in a module loaded on demand:
// beside the programs in a build tree, under the library directory once installed. Nothing, with
// the loader's reasons in `errors`, when it cannot be loaded.
std::unique_ptr<DesktopServices> load(const QString &container, const Clock &clock, QString *errors);
} // namespace DesktopModule
