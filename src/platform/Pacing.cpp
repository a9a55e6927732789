// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/Pacing.h"

#include <QCoreApplication>
#include <QThread>
#include <cmath>

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
    if (g_pauseHook) g_pauseHook();
    if (g_observer) g_observer(milliseconds);
    const int ms = ScaledMs(milliseconds);
    if (ms > 0) QThread::msleep(static_cast<unsigned long>(ms));
}

void DoEvents() {
    if (g_pauseHook) g_pauseHook();
    QCoreApplication::processEvents(QEventLoop::AllEvents);
}

} // namespace platform
