// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/Pacing.h"

#include <QCoreApplication>
#include <QThread>
#include <chrono>
#include <cmath>
#include <thread>

namespace platform {
namespace {
double g_scale = 1.0;
SleepObserver g_observer = nullptr;
PauseHook g_pauseHook = nullptr;
} // namespace

void SetPauseHook(PauseHook hook) {
    g_pauseHook = hook;
}

void SetPacingScale(double scale) {
    g_scale = scale < 0 ? 0 : scale;
}
double PacingScale() {
    return g_scale;
}
void SetSleepObserver(SleepObserver observer) {
    g_observer = observer;
}

int ScaledMs(int milliseconds) {
    if (milliseconds <= 0) return 0;
    return static_cast<int>(std::lround(milliseconds * g_scale));
}

void Sleep(int milliseconds) {
    if (g_observer) g_observer(milliseconds);
    Wait(ScaledMs(milliseconds));
}

void Wait(int milliseconds) {
    if (g_pauseHook) g_pauseHook();
    if (milliseconds <= 0) return;
    using Clock = std::chrono::steady_clock;
    const Clock::time_point end = Clock::now() + std::chrono::milliseconds(milliseconds);
    if (!g_pauseHook) {
        std::this_thread::sleep_until(end);
        return;
    }
    // In pieces towards one deadline, so a signal ends a long wait soon and
    // the pieces' own lateness does not add up.
    for (Clock::time_point now = Clock::now(); now < end; now = Clock::now()) {
        std::this_thread::sleep_until(std::min(end, now + std::chrono::milliseconds(50)));
        g_pauseHook();
    }
}

void DoEvents() {
    if (g_pauseHook) g_pauseHook();
    QCoreApplication::processEvents(QEventLoop::AllEvents);
}

} // namespace platform
