#include "desktopmodule.h"

#include "app/applicationservices.h"

#include <QCoreApplication>
#include <QLibrary>

std::unique_ptr<DesktopServices> DesktopModule::load(const QString &container, const Clock &clock,
                                                     QString *errors)
{
    using Factory = DesktopServices *(*)(const QString &, const Clock &);
    const QString dir = QCoreApplication::applicationDirPath();
    for (const QString &path :
         {dir + QStringLiteral("/libtallymo_desktop.so"),
          dir + QStringLiteral("/../tallymo/libtallymo_desktop.so"),
          dir + QStringLiteral("/../" TALLYMO_LIBDIR "/tallymo/libtallymo_desktop.so")}) {
        QLibrary module(path);
        if (const auto factory = reinterpret_cast<Factory>(module.resolve("tallymo_desktop_services")))
            return std::unique_ptr<DesktopServices>(factory(container, clock));
        if (errors)
            *errors += QStringLiteral("\n  ") + module.errorString();
    }
    return nullptr;
}
