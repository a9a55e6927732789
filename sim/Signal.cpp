// SPDX-License-Identifier: GPL-3.0-or-later
#include "Signal.h"

#include "Instrument.h"

#include <cmath>
#include <cstdlib>
#include <sstream>

namespace sim {

namespace {
constexpr double kPi = 3.14159265358979323846;

double phase(double seconds, double frequency) {
    const double p = seconds * frequency;
    return p - std::floor(p);
}
} // namespace

double Generator::value(double t) const {
    const double p = phase(t, frequency);
    double unit = 0;
    switch (shape) {
    case Shape::Sine:
        unit = std::sin(2 * kPi * p);
        break;
    case Shape::Square:
        unit = p < duty ? 1 : -1;
        break;
    case Shape::Triangle:
        unit = p < 0.5 ? 4 * p - 1 : 3 - 4 * p;
        break;
    case Shape::Sawtooth:
        unit = 2 * p - 1;
        break;
    case Shape::Dc:
        unit = 1;
        break;
    }
    return offset + amplitude * unit;
}

bool Generator::parse(const std::string& text, Generator& out) {
    std::stringstream ss(text);
    std::string part;
    std::vector<std::string> parts;
    while (std::getline(ss, part, ':'))
        parts.push_back(part);
    if (parts.empty()) return false;
    Generator g;
    const std::string& s = parts[0];
    if (s == "sine")
        g.shape = Shape::Sine;
    else if (s == "square")
        g.shape = Shape::Square;
    else if (s == "triangle")
        g.shape = Shape::Triangle;
    else if (s == "sawtooth")
        g.shape = Shape::Sawtooth;
    else if (s == "dc")
        g.shape = Shape::Dc;
    else
        return false;
    auto number = [](const std::string& text, double& out) {
        const char* stop = nullptr;
        out = LeadingNumber(text.data(), text.data() + text.size(), &stop);
        return stop == text.data() + text.size() && !text.empty();
    };
    if (parts.size() > 1 && !number(parts[1], g.frequency)) return false;
    if (parts.size() > 2 && !number(parts[2], g.amplitude)) return false;
    if (parts.size() > 3 && !number(parts[3], g.offset)) return false;
    if (g.frequency < 0 || parts.size() > 4) return false;
    out = g;
    return true;
}

const char* MeasureWord(Measure m) {
    static const char* const words[kMeasureCount] = {
        "VPP",      "VMAX",     "VMIN",      "VAMPLITUDE", "VTOP",       "VBASE",
        "VAVERAGE", "VRMS",     "OVERSHOOT", "PRESHOOT",   "FREQUENCY",  "PERIOD",
        "RISETIME", "FALLTIME", "PWIDTH",    "NWIDTH",     "PDUTYCYCLE", "NDUTYCYCLE"};
    return words[static_cast<int>(m)];
}

Measurement MeasureSignal(const Generator& g, Measure m, double window) {
    using Shape = Generator::Shape;
    const double a = std::fabs(g.amplitude);
    const double top = g.offset + a, base = g.offset - a;
    const bool periodic = g.shape != Shape::Dc && g.frequency > 0 && a > 0;
    const double period = periodic ? 1 / g.frequency : 0;
    // Time measures need two edges on the screen.
    const bool timeable = periodic && window >= 2 * period;
    const double duty = g.shape == Shape::Square ? g.duty : 0.5;
    auto ok = [](double v) { return Measurement{true, v}; };
    switch (m) {
    case Measure::Vpp:
        return ok(top - base);
    case Measure::Vmax:
        return ok(top);
    case Measure::Vmin:
        return ok(g.shape == Shape::Dc ? top : base);
    case Measure::Vamplitude:
        return ok(g.shape == Shape::Dc ? 0 : top - base);
    case Measure::Vtop:
        return ok(top);
    case Measure::Vbase:
        return ok(g.shape == Shape::Dc ? top : base);
    case Measure::Vaverage:
        return ok(g.shape == Shape::Square ? g.offset + a * (2 * duty - 1)
                  : g.shape == Shape::Dc   ? top
                                           : g.offset);
    case Measure::Vrms: {
        double acRms = 0;
        switch (g.shape) {
        case Shape::Sine:
            acRms = a / std::sqrt(2.0);
            break;
        case Shape::Square:
            acRms = a;
            break;
        case Shape::Triangle:
        case Shape::Sawtooth:
            acRms = a / std::sqrt(3.0);
            break;
        case Shape::Dc:
            return ok(std::fabs(top));
        }
        return ok(std::sqrt(acRms * acRms + g.offset * g.offset));
    }
    case Measure::Overshoot:
    case Measure::Preshoot:
        if (!periodic) return {};
        return ok(g.shape == Shape::Square ? 0.012 : 0.0);
    case Measure::Frequency:
        return timeable ? ok(g.frequency) : Measurement{};
    case Measure::Period:
        return timeable ? ok(period) : Measurement{};
    case Measure::RiseTime:
    case Measure::FallTime: {
        if (!timeable) return {};
        double t = 0;
        switch (g.shape) {
        case Shape::Sine:
            t = period * (std::asin(0.8) / kPi);
            break; // 10 % to 90 %
        case Shape::Square:
            t = std::min(period * 0.01, 5e-9 + period * 0.001);
            break;
        case Shape::Triangle:
            t = period * 0.4;
            break;
        case Shape::Sawtooth:
            t = m == Measure::RiseTime ? period * 0.8 : 1e-9;
            break;
        case Shape::Dc:
            break;
        }
        return ok(t);
    }
    case Measure::PWidth:
        return timeable ? ok(period * duty) : Measurement{};
    case Measure::NWidth:
        return timeable ? ok(period * (1 - duty)) : Measurement{};
    case Measure::PDuty:
        return timeable ? ok(duty) : Measurement{};
    case Measure::NDuty:
        return timeable ? ok(1 - duty) : Measurement{};
    }
    return {};
}

} // namespace sim
