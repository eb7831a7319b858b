// The command line and background service: wires the Linux services into the core and runs a command.
#include "app/datausageappdelegate.h"
#include "cli/cli.h"
#include "core/sharedcode.h"
#include "platform/linux/linuxnetworkinterfaces.h"
#include "platform/linux/paths.h"
#include "platform/linux/unixsignals.h"

#include <QCoreApplication>

#include <memory>

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("tallymo"));
    QCoreApplication::setApplicationVersion(QStringLiteral(TALLYMO_VERSION));

    LinuxNetworkInterfaces interfaces = LinuxNetworkInterfaces::fromEnvironment();
    std::unique_ptr<SharedCode> shared;
    std::unique_ptr<DataUsageAppDelegate> delegate;
    std::optional<Cli::Services> services;

    Cli::Environment env;
    env.services = [&]() -> Cli::Services & {
        if (!services) {
            shared = std::make_unique<SharedCode>(SharedCode::Services{Paths::container(), &interfaces});
            SharedCode::setSharedInstance(shared.get());
            delegate = std::make_unique<DataUsageAppDelegate>(*shared);
            delegate->setupUserDefaultsForNewInstall();
            services.emplace(Cli::Services{*shared, *delegate});
        }
        return *services;
    };
    env.onTerminationRequest = UnixSignals::onTermination;
    const int status = Cli::run(app.arguments().mid(1), env);
    if (shared) shared->userPref().synchronize();
    return status;
}
