#include "desktopmodule.h"

#include "services/applicationservices.h"

#include <QCoreApplication>
#include <QLibrary>

QFunctionPointer DesktopModule::resolve(const QString &name, const char *symbol, QString *errors)
{
    const QString dir = QCoreApplication::applicationDirPath();
    const QString file = QStringLiteral("/lib%1.so").arg(name);
    for (const QString &path : {dir + file, dir + QStringLiteral("/../tallymo") + file,
                                dir + QStringLiteral("/../" TALLYMO_LIBDIR "/tallymo") + file}) {
        QLibrary module(path);
        if (const QFunctionPointer f = module.resolve(symbol))
            return f;
        if (errors)
            *errors += QStringLiteral("\n  ") + module.errorString();
    }
    return nullptr;
}

std::unique_ptr<DesktopServices> DesktopModule::load(const QString &container, const Clock &clock,
                                                     QString *errors)
{
    using Factory = DesktopServices *(*)(const QString &, const Clock &);
    if (const auto factory = reinterpret_cast<Factory>(
            resolve(QStringLiteral("tallymo_sessionbus"), "tallymo_desktop_services", errors)))
        return std::unique_ptr<DesktopServices>(factory(container, clock));
    return nullptr;
}
