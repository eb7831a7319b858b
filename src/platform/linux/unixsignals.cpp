#include "unixsignals.h"

#include <QCoreApplication>
#include <QSocketNotifier>

#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace UnixSignals {
namespace {

int g_pipe[2] = {-1, -1};
volatile std::sig_atomic_t g_received = 0;

void onSignal(int signo)
{
    if (g_received) {
        ::_exit(128 + signo);
    }
    g_received = signo;
    const char byte = char(signo);
    [[maybe_unused]] const ssize_t n = ::write(g_pipe[1], &byte, 1);
}

} // namespace

void onTermination(std::function<void()> handler)
{
    if (g_pipe[0] < 0 && ::pipe2(g_pipe, O_CLOEXEC | O_NONBLOCK) != 0)
        return;
    auto *notifier = new QSocketNotifier(g_pipe[0], QSocketNotifier::Read, QCoreApplication::instance());
    QObject::connect(notifier, &QSocketNotifier::activated, notifier,
                     [handler = std::move(handler), notifier] {
                         char byte;
                         while (::read(g_pipe[0], &byte, 1) > 0) {
                         }
                         notifier->setEnabled(false);
                         handler();
                     });
    struct sigaction sa = {};
    sa.sa_handler = onSignal;
    sigemptyset(&sa.sa_mask);
    sa.sa_flags = SA_RESTART;
    ::sigaction(SIGTERM, &sa, nullptr);
    ::sigaction(SIGINT, &sa, nullptr);
}

} // namespace UnixSignals
