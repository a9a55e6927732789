// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// The replay of a frame record, without widgets: the frame clamp, the one
// path every frame change takes (the slider's change), start, pause, stop,
// stepping, the loop, and the frame interval with its held speed buttons.
#include "sheet/SheetRecords.h"

#include <functional>

enum class ReplayStatus { Replaying = 0, Pause = 1, Stop = 2 };

constexpr double kMinInterval = 0.001;
constexpr double kMaxInterval = 60;
constexpr double kDefaultInterval = 0.05;

// The wanted frame held to the record: below 1 is 1; above the count is 1
// with the loop on, the count with it off.
int ClampFrame(int wanted, int frameCount, bool loop);
// The speed buttons' step: 0.001 s up to 1.0 s, 0.01 s above.
double IntervalStep(double interval);
// The multiplier of a held button after a number of 100 ms ticks.
int HoldMultiplier(int ticks);
// One step of the interval up or down by a multiple of the step, held to 1 ms .. 60 s.
double StepInterval(double interval, bool up, int multiple);

class ReplayController {
public:
    // The record is looked up at each use: the window's slot moves when a
    // document before it is removed.
    explicit ReplayController(std::function<RecordRecord&()> record);

    // What the window does for the controller.
    std::function<void(int value)> setSlider; // the slider shows a frame (may call SliderChanged)
    std::function<void()> drawFrame;          // the current frame is drawn
    std::function<void(int ms)> startTimer;   // TimerInterval on, with its interval
    std::function<void()> stopTimer;          // TimerInterval off
    std::function<void()> statusChanged;      // the buttons' pictures and the status line
    // A monotonic clock in milliseconds. With it, a tick that comes late
    // advances by the time that has passed (frames are skipped, as a video
    // player does), so the replay keeps the speed the user chose on a busy
    // machine; without it each tick is one frame.
    std::function<double()> clock;

    void SliderChanged(int value); // the one path of every frame change
    void Tick();                   // TimerInterval
    void Start();
    void Pause();
    void Stop();
    void First();
    void Last();
    void Step(int direction); // +1 next, -1 the frame before
    void ToggleLoop();
    void SetStatus(ReplayStatus status);
    ReplayStatus status() const { return static_cast<ReplayStatus>(record_().Status); }

    // The speed buttons: press steps once, each 100 ms tick of the hold steps again.
    void SpeedPress(bool up);
    void SpeedTick();
    void DefaultInterval();
    int holdTicks() const { return holdTicks_; }

private:
    void goTo(int wanted);
    std::function<RecordRecord&()> record_;
    bool speedUp_ = true;
    int holdTicks_ = 0;
    double lastTickMs_ = -1; // when the frame shown was due
};
