// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// What the memory waveform viewer shows of its record: the pyramids made at
// load, the zoom pipeline, the volts and time ladders, and the screen as a
// WaveRecord that the renderer and the cursors draw like any other.
#include "memwave/WaveZoom.h"
#include "sheet/SheetRecords.h"

// The volts-per-division ladder, in microvolts: 2 mV .. 10 V, 1-2-5.
std::int64_t StepVoltLadder(std::int64_t microvolts, bool up);
// The time-per-division ladder, in picoseconds: 1 ps .. 50 s, 1-2-5; going
// up, 2000 ps compares with 2001.
std::int64_t StepTimeLadder(std::int64_t picoseconds, bool up);

enum class PipelinePart { Ch1 = 0, Ch2 = 1, All = 3 };

class MemoryView {
public:
    // Builds the pyramids of the record's arrays (once a load).
    void attach(const MemoryRecord& rec);
    // Recomputes the screen's part from the record.
    void pipeline(MemoryRecord& rec, PipelinePart part);
    // The screen for the renderer and the cursors.
    const WaveRecord& screen() const { return screen_; }
    WaveRecord& screen() { return screen_; }
    CaptureTiming timing(const MemoryRecord& rec, int channel) const;

private:
    void fillTexts(const MemoryRecord& rec);
    MinMaxPyramid ch1_, ch2_;
    DigitalPyramid la_;
    WaveRecord screen_;
};
