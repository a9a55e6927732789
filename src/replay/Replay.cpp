// SPDX-License-Identifier: GPL-3.0-or-later
#include "replay/Replay.h"

#include <algorithm>
#include <cmath>

int ClampFrame(int wanted, int frameCount, bool loop) {
    if (wanted < 1) return 1;
    if (wanted > frameCount) return loop ? 1 : std::max(1, frameCount);
    return wanted;
}

double IntervalStep(double interval) {
    return interval <= 1.0 + 1e-9 ? 0.001 : 0.01;
}

int HoldMultiplier(int ticks) {
    if (ticks <= 5) return 0;
    if (ticks <= 10) return 2;
    if (ticks <= 15) return 5;
    if (ticks <= 20) return 10;
    if (ticks <= 50) return 20;
    return 50;
}

double StepInterval(double interval, bool up, int multiple) {
    const double step = IntervalStep(interval) * multiple;
    const double next = std::clamp(interval + (up ? step : -step), kMinInterval, kMaxInterval);
    return std::round(next * 1e6) / 1e6; // whole microseconds: 0.999 + 0.001 is 1.0
}

ReplayController::ReplayController(std::function<RecordRecord&()> record)
    : record_(std::move(record)) {}

void ReplayController::goTo(int wanted) {
    RecordRecord& rec = record_();
    rec.CurrentFrame = static_cast<std::int16_t>(ClampFrame(wanted, rec.FrameCount, rec.Loop));
    if (setSlider) setSlider(rec.CurrentFrame);
}

void ReplayController::SliderChanged(int value) {
    RecordRecord& rec = record_();
    if (value != rec.CurrentFrame)
        rec.CurrentFrame = static_cast<std::int16_t>(ClampFrame(value, rec.FrameCount, rec.Loop));
    if ((rec.HasSamples || rec.Loaded) && drawFrame) drawFrame();
    // A single replay comes to rest on its last frame, paused.
    if (!rec.Loop && rec.CurrentFrame == rec.FrameCount) SetStatus(ReplayStatus::Pause);
}

void ReplayController::Tick() {
    RecordRecord& rec = record_();
    int steps = 1;
    if (clock) {
        const double intervalMs = std::max(1.0, rec.IntervalSeconds * 1000);
        const double now = clock();
        if (lastTickMs_ < 0) lastTickMs_ = now - intervalMs;
        steps = std::max(1, static_cast<int>((now - lastTickMs_) / intervalMs));
        lastTickMs_ += steps * intervalMs;
    }
    const int count = std::max(1, static_cast<int>(rec.FrameCount));
    int next = rec.CurrentFrame + steps;
    if (next > count) next = rec.Loop ? (next - 1) % count + 1 : count;
    goTo(next);
}

void ReplayController::SetStatus(ReplayStatus status) {
    RecordRecord& rec = record_();
    rec.Status = static_cast<std::uint8_t>(status);
    lastTickMs_ = -1; // the clock starts again with the next tick
    if (status == ReplayStatus::Replaying) {
        if (startTimer) startTimer(static_cast<int>(std::lround(rec.IntervalSeconds * 1000)));
    } else if (stopTimer) {
        stopTimer();
    }
    if (statusChanged) statusChanged();
}

void ReplayController::Start() {
    RecordRecord& rec = record_();
    if (!rec.Loaded) return;
    if (!rec.Loop && rec.CurrentFrame == rec.FrameCount) goTo(1);
    SetStatus(ReplayStatus::Replaying);
    // A one-frame record ends at once, in Pause.
    if (!rec.Loop && rec.CurrentFrame == rec.FrameCount && rec.FrameCount <= 1)
        SetStatus(ReplayStatus::Pause);
}

void ReplayController::Pause() {
    SetStatus(ReplayStatus::Pause);
}

void ReplayController::Stop() {
    RecordRecord& rec = record_();
    if (stopTimer) stopTimer();
    rec.CurrentFrame = 1;
    if (setSlider) setSlider(1);
    SetStatus(ReplayStatus::Stop);
}

void ReplayController::First() {
    RecordRecord& rec = record_();
    goTo(rec.FirstFrame);
}

void ReplayController::Last() {
    RecordRecord& rec = record_();
    goTo(rec.FrameCount);
}

void ReplayController::Step(int direction) {
    RecordRecord& rec = record_();
    if (stopTimer) stopTimer();
    const bool wasReplaying = status() == ReplayStatus::Replaying;
    goTo(rec.CurrentFrame + (direction >= 0 ? 1 : -1));
    if (wasReplaying) SetStatus(ReplayStatus::Pause);
    if (statusChanged) statusChanged();
}

void ReplayController::ToggleLoop() {
    RecordRecord& rec = record_();
    rec.Loop = !rec.Loop;
    if (statusChanged) statusChanged();
}

void ReplayController::SpeedPress(bool up) {
    RecordRecord& rec = record_();
    holdTicks_ = 0;
    speedUp_ = up;
    rec.IntervalSeconds = StepInterval(rec.IntervalSeconds, up, 1);
}

void ReplayController::SpeedTick() {
    RecordRecord& rec = record_();
    ++holdTicks_;
    rec.IntervalSeconds = StepInterval(rec.IntervalSeconds, speedUp_, HoldMultiplier(holdTicks_));
}

void ReplayController::DefaultInterval() {
    RecordRecord& rec = record_();
    rec.IntervalSeconds = kDefaultInterval;
}
