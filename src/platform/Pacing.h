// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// Time as the program spends it: the blocking Sleep, the event pump, and the
// intervals of timers that logic depends on. One pacing scale multiplies every
// one of them; tests set it to 0 so a run keeps its order but loses its waits.
namespace platform {

void Sleep(int milliseconds); // blocks the GUI thread, as the link's pacing requires
void DoEvents();              // hands control to the event loop once
// A wall-clock wait that no pacing scale shortens (a user's --interval);
// with a pause hook set, the hook runs at least every 50 ms of it.
void Wait(int milliseconds);

void SetPacingScale(double scale); // 1 = real time (default), 0 = no waiting
double PacingScale();
int ScaledMs(int milliseconds); // an interval under the current scale

// Every Sleep, with its unscaled length, goes to the observer: tests assert
// the named waits through it without spending them.
using SleepObserver = void (*)(int milliseconds);
void SetSleepObserver(SleepObserver observer);

// Called at every pause of the program's own waiting (each Sleep, Wait and
// DoEvents, and every 50 ms of a long one): the command line ends there on a signal, between two
// commands.
using PauseHook = void (*)();
void SetPauseHook(PauseHook hook);

} // namespace platform
