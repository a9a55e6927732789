// SPDX-License-Identifier: GPL-3.0-or-later
#include "views/RefreshCycle.h"

#include "acquire/Jobs.h"
#include "link/LinkState.h"
#include "platform/Faults.h"
#include "platform/MsgBox.h"
#include "platform/Pacing.h"
#include "shared/Icons.h"
#include "shared/SoftwareSetting.h"
#include "shared/StringRES.h"

#include <QThread>
#include <QTimer>
#include <array>

bool StopRequested = false;
int ActiveRefreshSlot = 0;
int RefreshTick = 0;
bool RefreshMark = false;

namespace {
std::array<bool, 3> g_autoActive{};

std::size_t at(RefreshKind kind) {
    return static_cast<std::size_t>(kind);
}

void armTimer(QTimer* timer) {
    if (!timer) return;
    timer->setInterval(platform::ScaledMs(SoftwareSetting.RefreshInterval));
    timer->start();
}
} // namespace

bool AutoRefreshActive(RefreshKind kind) {
    return g_autoActive[at(kind)];
}

void SetAutoRefreshActive(RefreshKind kind, bool active) {
    g_autoActive[at(kind)] = active;
}

bool AnyOtherAutoRefresh(RefreshKind kind) {
    for (std::size_t k = 0; k < g_autoActive.size(); ++k)
        if (k != at(kind) && g_autoActive[k]) return true;
    return false;
}

void EndAutoRefresh(RefreshKind kind, const RefreshWindow& w) {
    if (w.showStopLook) w.showStopLook(false);
    if (w.setAutoRunning) w.setAutoRunning(false);
    SetAutoRefreshActive(kind, false);
    if (w.timer2) w.timer2->stop();
    if (w.enableRefresh) w.enableRefresh(true);
}

void RunRefreshCycle(RefreshKind kind, const RefreshWindow& w) {
    if (AnyOtherAutoRefresh(kind)) return; // one kind refreshes automatically at a time
    if (AutoRefreshActive(kind)) SetAutoRefreshActive(kind, false); // ends the running loop
    StopRequested = true;
    if (!w.autoRunning() && !JobRunning) {
        if (!Connected) {
            platform::MsgBox(MsgConnectFirst, platform::MsgButtons::Ok,
                             platform::MsgIcon::Exclamation);
        } else if (SoftwareSetting.RefreshType != QLatin1String("Auto")) {
            w.enableRefresh(false);
            RefreshMark = true;
            w.loadData();
            RefreshMark = false;
        } else {
            w.showStopLook(true);
            w.setAutoRunning(true);
            SetAutoRefreshActive(kind, true);
            ActiveRefreshSlot = w.slot;
            w.loadData();
            RefreshTick = 0;
            armTimer(w.timer2);
            while (AutoRefreshActive(kind) && Connected && !JobRunning) {
                if (RefreshTick == SoftwareSetting.RefreshInterval) {
                    RefreshTick = 0;
                    if (w.timer2) w.timer2->stop();
                    w.loadData();
                    armTimer(w.timer2);
                }
                platform::DoEvents();
                QThread::usleep(500); // the loop waits for its timer, not the CPU
            }
        }
    }
    if (StopRequested) EndAutoRefresh(kind, w);
}

void ShowRefreshLook(QAbstractButton* button, bool stop) {
    button->setIcon(ThemeIcon(stop ? "process-stop" : "view-refresh"));
    button->setCheckable(stop);
    button->setChecked(stop);
}

RefreshTimers MakeRefreshTimers(QObject* window, const std::function<void()>& timer1Tick) {
    RefreshTimers t{new QTimer(window), new QTimer(window)};
    t.Timer1->setInterval(1);
    QObject::connect(t.Timer1, &QTimer::timeout, window,
                     platform::Guarded("Timer1_Timer", timer1Tick));
    QObject::connect(t.Timer2, &QTimer::timeout, window,
                     [] { RefreshTick = SoftwareSetting.RefreshInterval; });
    return t;
}

void EndOwnAutoRefresh(RefreshKind kind, int slot, bool autoRunning) {
    if (AutoRefreshActive(kind) && ActiveRefreshSlot == slot && autoRunning)
        SetAutoRefreshActive(kind, false);
}

bool IsRefreshKey(int key, Qt::KeyboardModifiers modifiers) {
    return key == Qt::Key_F5 && (modifiers & Qt::ShiftModifier) == 0;
}
