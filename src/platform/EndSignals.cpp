// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/EndSignals.h"

#include <QSocketNotifier>
#include <csignal>
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace platform {

namespace {
int g_pipe[2] = {-1, -1};
QSocketNotifier* g_notifier = nullptr;
std::function<void(int)> g_onSignal;

volatile std::sig_atomic_t g_pending = 0;

void handler(int signal) {
    g_pending = signal;
    const unsigned char byte = static_cast<unsigned char>(signal);
    [[maybe_unused]] const ssize_t n = ::write(g_pipe[0], &byte, 1); // all a handler may do
}

constexpr int kSignals[] = {SIGTERM, SIGINT, SIGHUP};
} // namespace

void InstallEndSignals(std::function<void(int)> onSignal) {
    RemoveEndSignals();
    if (::socketpair(AF_UNIX, SOCK_STREAM, 0, g_pipe) != 0) return;
    ::fcntl(g_pipe[0], F_SETFL, O_NONBLOCK);
    g_onSignal = std::move(onSignal);
    g_notifier = new QSocketNotifier(g_pipe[1], QSocketNotifier::Read);
    QObject::connect(g_notifier, &QSocketNotifier::activated, [] {
        unsigned char byte = 0;
        if (::read(g_pipe[1], &byte, 1) == 1 && g_onSignal) g_onSignal(byte);
    });
    struct sigaction action {};
    action.sa_handler = handler;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    for (int s : kSignals)
        ::sigaction(s, &action, nullptr);
}

int PendingEndSignal() {
    return g_pending;
}

void RemoveEndSignals() {
    for (int s : kSignals)
        ::signal(s, SIG_DFL);
    delete g_notifier;
    g_notifier = nullptr;
    for (int& fd : g_pipe) {
        if (fd >= 0) ::close(fd);
        fd = -1;
    }
    g_onSignal = {};
}

} // namespace platform
