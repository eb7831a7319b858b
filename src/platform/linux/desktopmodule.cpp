#include "desktopmodule.h"

#include "services/applicationservices.h"

#include <QCoreApplication>
#include <QFile>

#include <dlfcn.h>

QFunctionPointer DesktopModule::resolve(const QString &name, const char *symbol, QString *errors)
{
    const QString dir = QCoreApplication::applicationDirPath();
    const QString file = QStringLiteral("/lib%1.so").arg(name);
    for (const QString &path : {dir + file, dir + QStringLiteral("/../tallymo") + file,
                                dir + QStringLiteral("/../" TALLYMO_LIBDIR "/tallymo") + file}) {
        // The loader itself rather than QLibrary, which costs a short command another quarter
        // of a millisecond; the module stays loaded.
        void *module = ::dlopen(QFile::encodeName(path).constData(), RTLD_LAZY | RTLD_LOCAL);
        if (module)
            if (const auto f = reinterpret_cast<QFunctionPointer>(::dlsym(module, symbol)))
                return f;
        if (errors)
            *errors += QStringLiteral("\n  ") + QString::fromLocal8Bit(::dlerror());
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
