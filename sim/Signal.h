// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// The simulated inputs: a generator per analogue channel, and what the
// instrument measures on a signal.
#include <array>
#include <string>
#include <vector>

namespace sim {

struct Generator {
    enum class Shape { Sine, Square, Triangle, Sawtooth, Dc };
    Shape shape = Shape::Sine;
    double frequency = 1000; // Hz
    double amplitude = 1;    // volts, peak
    double offset = 0;       // volts
    double duty = 0.5;       // square only

    double value(double seconds) const;
    // "sine:1000:1.0[:offset]"; false on a malformed text.
    static bool parse(const std::string& text, Generator& out);
};

// The eighteen automatic measures, in the order of their query words.
enum class Measure {
    Vpp,
    Vmax,
    Vmin,
    Vamplitude,
    Vtop,
    Vbase,
    Vaverage,
    Vrms,
    Overshoot,
    Preshoot,
    Frequency,
    Period,
    RiseTime,
    FallTime,
    PWidth,
    NWidth,
    PDuty,
    NDuty
};
constexpr int kMeasureCount = 18;
// Query word (":MEASURE:" + word + "?") of each measure.
const char* MeasureWord(Measure m);

// Measures a signal over a window of the given length (the screen's width in
// time); nullopt-like: `valid` false where it cannot be measured (fewer than
// two edges on screen for time measures, no signal at all).
struct Measurement {
    bool valid = false;
    double value = 0;
};
Measurement MeasureSignal(const Generator& g, Measure m, double windowSeconds);

} // namespace sim
