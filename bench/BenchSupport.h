// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// What the benchmarks share: the median time of a repeated step, and the
// simulated instrument connected through the program's real link with the
// real pacing, with a count of every pause the link makes so a benchmark can
// set the time it measured against the time it had to wait.
#include "Simulator.h"

#include <QTemporaryDir>
#include <functional>
#include <memory>

// Runs step(0) .. step(runs - 1), timing each; the median in milliseconds.
double MedianMs(int runs, const std::function<void(int run)>& step);

class BenchInstrument {
public:
    // Starts the simulator, lets prepare set it up, and connects in English
    // with the controller's defaults; connected() tells whether it worked.
    explicit BenchInstrument(const std::function<void(sim::Instrument&)>& prepare = {});
    ~BenchInstrument(); // stops counting, disconnects
    bool connected() const;

private:
    QTemporaryDir dir_;
    std::unique_ptr<sim::Simulator> simulator_;
};

// One figure for the closing table of make bench: its target, what it is now
// and, where the benchmark measures one, the machine's limit for the same
// work (limit <= 0: none). Printed as a tab-separated FIGURE line.
void ReportFigure(const char* name, const char* unit, double target, double now, double limit = 0);

// Counting the link's pauses: from startMs (waits the counter cannot see).
void CountPausesFrom(long long startMs);
long long PausedMs();
// "<name>: measured x ms, pauses y ms, overhead z % (target at most 1 %)".
void PrintPacingOverhead(const char* name, double measuredMs);
// One job of a kind run as a window runs it (its start 100 ms after the job
// window shows), against the simulator, and its time over its pauses printed.
void TimeJobOverItsPauses(int kind, const char* name);

// The process's peak resident size in KiB, and a new start for it from the
// present size (Linux: clear_refs 5).
long PeakMemoryKiB();
void ResetPeakMemory();
