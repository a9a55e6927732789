// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// The refresh of a document window, single or automatic, shared by the wave,
// data and measure windows. One kind at a time refreshes automatically; the
// automatic loop stays inside the click that started it and ends when its
// flag is cleared (a second click), the link drops, a job runs, or the
// window goes away.
#include <QAbstractButton>
#include <QPointer>
#include <QString>
#include <functional>

class QTimer;

enum class RefreshKind { Wave = 0, Data = 1, Measure = 2 };

bool AutoRefreshActive(RefreshKind kind);
void SetAutoRefreshActive(RefreshKind kind, bool active);
bool AnyOtherAutoRefresh(RefreshKind kind);
extern bool StopRequested;
extern int ActiveRefreshSlot; // the slot running the automatic refresh
extern int RefreshTick;       // set by the windows' Timer2 to the interval it waited
extern bool RefreshMark;      // a single refresh is loading

// What the cycle needs of a window.
struct RefreshWindow {
    int slot = 0;
    std::function<bool()> autoRunning;
    std::function<void(bool)> setAutoRunning;
    std::function<void()> loadData;
    std::function<void(bool stopLook)> showStopLook; // the refresh button's two pictures
    std::function<void(bool)> enableRefresh;
    QTimer* timer2 = nullptr; // its tick sets RefreshTick to the interval
};

// The refresh button's two pictures: refresh, or stop while the loop runs.
void ShowRefreshLook(QAbstractButton* button, bool stop);

// The usual window: its record's AutoRunning, its load, its refresh button
// (which shows the stop picture while the automatic refresh runs) and its
// Timer2. Every part checks that the window still exists: it may go while
// the automatic loop runs.
template <typename Window>
RefreshWindow RefreshWindowOf(Window* window, QAbstractButton* button, QTimer* timer2,
                              void (Window::*load)()) {
    QPointer<Window> self(window);
    QPointer<QAbstractButton> refresh(button);
    RefreshWindow w;
    w.slot = window->Tag();
    w.autoRunning = [self] { return self && self->record().AutoRunning; };
    w.setAutoRunning = [self](bool on) {
        if (self) self->record().AutoRunning = on;
    };
    w.loadData = [self, load] {
        if (self) (self.data()->*load)();
    };
    w.showStopLook = [refresh](bool stop) {
        if (refresh) ShowRefreshLook(refresh, stop);
    };
    w.enableRefresh = [refresh](bool on) {
        if (refresh) refresh->setEnabled(on);
    };
    w.timer2 = timer2;
    return w;
}
// cmdRefresh (or F5): the whole cycle.
void RunRefreshCycle(RefreshKind kind, const RefreshWindow& window);
// The end of the cycle's steps: the stop look off, flags cleared, timer off.
void EndAutoRefresh(RefreshKind kind, const RefreshWindow& window);
// F5 with no shift key refreshes.
bool IsRefreshKey(int key, Qt::KeyboardModifiers modifiers);

// The two timers every refreshing window keeps, made with the window as
// their parent: Timer1 ticks every millisecond with the window's own step
// (started by the caller once the window is built), Timer2 sets RefreshTick
// to the interval it waited.
struct RefreshTimers {
    QTimer* Timer1;
    QTimer* Timer2;
};
RefreshTimers MakeRefreshTimers(QObject* window, const std::function<void()>& timer1Tick);
// A window going away while its own automatic refresh runs ends that refresh.
void EndOwnAutoRefresh(RefreshKind kind, int slot, bool autoRunning);
