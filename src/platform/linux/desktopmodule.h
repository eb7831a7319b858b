#pragma once

#include <QFunctionPointer>
#include <QString>

#include <memory>

class Clock;
class DesktopServices;

namespace DesktopModule {
// The desktop services (session bus) live in a module loaded on demand, and positioning and host
// names in modules of their own that it loads when they are first used: beside the programs in a
// build tree, under the library directory once installed.

// Nothing, with the loader's reasons in `errors`, when it cannot be loaded.
std::unique_ptr<DesktopServices> load(const QString &container, const Clock &clock, QString *errors);
// The symbol of the module lib`name`.so (kept loaded), or null with the reasons in `errors`.
QFunctionPointer resolve(const QString &name, const char *symbol, QString *errors);
} // namespace DesktopModule
