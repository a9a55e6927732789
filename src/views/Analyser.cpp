// SPDX-License-Identifier: GPL-3.0-or-later
#include "views/Analyser.h"

#include "shared/Picture.h"

#include <fftw3.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <memory>
#include <mutex>
#include <numbers>

namespace {

// A real transform of one length: its buffers and plan, made once and kept
// (FFTW's planner is not free, and a zoom asks for the same length again).
struct Plan {
    int n;
    double* in;
    fftw_complex* out;
    fftw_plan plan;
    // The weights of each window function at this length, with their sum
    // and sum of squares: made once, as the cosines cost more than the FFT.
    struct Weights {
        std::vector<double> w;
        double sum = 0, squares = 0;
    };
    std::array<Weights, 4> windows;
    const Weights& weights(FftWindow window) {
        Weights& k = windows[static_cast<std::size_t>(window)];
        if (k.w.empty()) {
            k.w = WindowWeights(window, n);
            for (double v : k.w)
                k.sum += v, k.squares += v * v;
        }
        return k;
    }
    explicit Plan(int length) : n(length) {
        in = fftw_alloc_real(static_cast<std::size_t>(n));
        out = fftw_alloc_complex(static_cast<std::size_t>(n / 2 + 1));
        plan = fftw_plan_dft_r2c_1d(n, in, out, FFTW_ESTIMATE);
    }
    ~Plan() {
        fftw_destroy_plan(plan);
        fftw_free(in);
        fftw_free(out);
    }
};

std::mutex plansLock; // FFTW's planner is one caller at a time

Plan& planFor(int n) {
    static std::map<int, std::unique_ptr<Plan>> plans;
    auto& p = plans[n];
    if (!p) {
        if (plans.size() > 16) { // a handful of lengths stay; the rest are made again
            plans.clear();
            return planFor(n);
        }
        p = std::make_unique<Plan>(n);
    }
    return *p;
}

} // namespace

int LobeHalfWidth(FftWindow window) {
    switch (window) {
    case FftWindow::Rectangle:
        return 12; // the sinc's side lobes hold a tenth of a dB out to here
    case FftWindow::Hanning:
    case FftWindow::Hamming:
        return 4;
    case FftWindow::Blackman:
        return 5;
    }
    return 4;
}

Spectrum ComputeRmsSpectrum(const double* volts, std::size_t n, double sampleRate, FftWindow window,
                            int averages) {
    Spectrum s;
    averages = std::max(1, averages);
    const auto length = static_cast<int>(n / static_cast<std::size_t>(averages));
    if (length < 16 || !(sampleRate > 0)) return s;
    s.sampleRate = sampleRate;
    s.length = length;
    s.binHz = sampleRate / length;
    s.window = window;
    s.averaged = averages;
    const int bins = length / 2 + 1;
    std::vector<double> power(static_cast<std::size_t>(bins), 0.0);
    std::lock_guard<std::mutex> guard(plansLock);
    Plan& p = planFor(length);
    const Plan::Weights& weights = p.weights(window);
    const std::vector<double>& w = weights.w;
    const double sum = weights.sum;
    s.enbwBins = length * weights.squares / (sum * sum);
    for (int b = 0; b < averages; ++b) {
        const double* block =
            volts + static_cast<std::size_t>(b) * static_cast<std::size_t>(length);
        for (int i = 0; i < length; ++i)
            p.in[i] = block[i] * w[static_cast<std::size_t>(i)];
        fftw_execute(p.plan);
        for (int k = 0; k < bins; ++k) {
            // Single-sided RMS, corrected for the window's coherent gain:
            // DC is its own level, every other bin counts twice, over root 2.
            const double squared =
                (p.out[k][0] * p.out[k][0] + p.out[k][1] * p.out[k][1]) / (sum * sum);
            power[static_cast<std::size_t>(k)] += k == 0 ? squared : 2 * squared; // RMS squared
        }
    }
    s.rms.resize(power.size());
    for (std::size_t k = 0; k < power.size(); ++k)
        s.rms[k] = std::sqrt(power[k] / averages);
    return s;
}

double Tone::dbv() const {
    return rms > 1e-10 ? 20 * std::log10(rms) : -200.0;
}

Tone ToneAt(const Spectrum& s, int bin, int half) {
    Tone t;
    if (s.empty() || bin < 0 || bin >= static_cast<int>(s.rms.size())) return t;
    if (half < 0) half = LobeHalfWidth(s.window);
    const int last = static_cast<int>(s.rms.size()) - 1;
    double power = 0;
    for (int k = std::max(1, bin - half); k <= std::min(last, bin + half); ++k)
        power += s.rms[static_cast<std::size_t>(k)] * s.rms[static_cast<std::size_t>(k)];
    t.bin = bin;
    // The lobe's power holds the tone's power spread over the window's noise
    // bandwidth: divided by it, the level is the tone's wherever it falls.
    t.rms = std::sqrt(power / s.enbwBins);
    // The frequency from the peak and its two neighbours, through a Gaussian
    // (a parabola in the logarithm): exact on a bin, a small fraction of a
    // bin off between two.
    double offset = 0;
    if (bin > 0 && bin < last) {
        const double a = s.rms[static_cast<std::size_t>(bin - 1)],
                     b = s.rms[static_cast<std::size_t>(bin)],
                     c = s.rms[static_cast<std::size_t>(bin + 1)];
        if (a > 0 && b > 0 && c > 0) {
            const double la = std::log(a), lb = std::log(b), lc = std::log(c);
            const double curve = la - 2 * lb + lc;
            if (curve < 0) offset = std::clamp(0.5 * (la - lc) / curve, -0.5, 0.5);
        }
    }
    t.frequency = s.frequencyOf(bin + offset);
    return t;
}

Tone FindPeak(const Spectrum& s, double fromHz, double toHz) {
    if (s.empty()) return {};
    // DC's own main lobe is left out (a tone two bins up is still found).
    const int first =
        std::max(MainLobeHalfWidth(s.window), static_cast<int>(std::ceil(fromHz / s.binHz)));
    const double top = static_cast<double>(s.rms.size() - 1);
    const int last = static_cast<int>(std::min(top, std::floor(toHz / s.binHz)));
    int best = -1;
    for (int k = first; k <= last; ++k)
        if (best < 0 || s.rms[static_cast<std::size_t>(k)] > s.rms[static_cast<std::size_t>(best)])
            best = k;
    return best < 0 ? Tone() : ToneAt(s, best);
}

int MainLobeHalfWidth(FftWindow window) {
    switch (window) {
    case FftWindow::Rectangle:
        return 1;
    case FftWindow::Hanning:
    case FftWindow::Hamming:
        return 2;
    case FftWindow::Blackman:
        return 3;
    }
    return 2;
}

double NoiseFloorRms(const Spectrum& s) {
    const std::size_t first = static_cast<std::size_t>(MainLobeHalfWidth(s.window)) + 1;
    if (s.rms.size() <= first) return 0;
    std::vector<double> levels(s.rms.begin() + static_cast<std::ptrdiff_t>(first), s.rms.end());
    const auto middle = levels.begin() + static_cast<std::ptrdiff_t>(levels.size() / 2);
    std::nth_element(levels.begin(), middle, levels.end());
    return *middle;
}

std::vector<Harmonic> Harmonics(const Spectrum& s, const Tone& fundamental, int highest) {
    std::vector<Harmonic> out;
    if (!fundamental.valid() || s.empty()) return out;
    // 12 dB over the median bin: a bin of Gaussian noise passes it about
    // once in 50,000 (Rayleigh), a tone's lobe always does. A capture with
    // no noise at all (a file made by a program) has a floor of rounding
    // only: nothing 80 dB under the fundamental counts, the plot's own depth.
    const double threshold =
        std::max(NoiseFloorRms(s) * std::pow(10.0, 12.0 / 20), fundamental.rms * 1e-4);
    const int lobe = MainLobeHalfWidth(s.window);
    const int last = static_cast<int>(s.rms.size()) - 1;
    // The level sums the lobe's power, but never into the next harmonic's.
    // n times the fundamental as its marker reads it, so H3 of an M1 at
    // 1.000kHz is 3.000kHz.
    const double f0 = MarkerFrequency(s, fundamental);
    const double binsApart = f0 / s.binHz;
    const int half = std::clamp(static_cast<int>(binsApart / 2.5), 1, LobeHalfWidth(s.window));
    for (int n = 2; n <= highest; ++n) {
        Harmonic h;
        h.order = n;
        h.frequency = n * f0;
        if (h.frequency > s.sampleRate / 2) break;
        const double centre = h.frequency / s.binHz;
        const int from = std::max(1, static_cast<int>(std::ceil(centre - lobe)));
        const int to = std::min(last, static_cast<int>(std::floor(centre + lobe)));
        int best = -1;
        for (int k = from; k <= to; ++k)
            if (best < 0 ||
                s.rms[static_cast<std::size_t>(k)] > s.rms[static_cast<std::size_t>(best)])
                best = k;
        if (best >= 0 && s.rms[static_cast<std::size_t>(best)] > threshold)
            h.tone = ToneAt(s, best, half);
        out.push_back(h);
    }
    return out;
}

QString HarmonicText(const Spectrum& s, const Harmonic& h, const QString& belowNoise) {
    const QString head = QString("H%1 ").arg(h.order);
    if (h.belowNoise()) return head + FrequencyText(h.frequency) + " " + belowNoise;
    return head + FrequencyText(MarkerFrequency(s, h.tone)) + " " + LevelText(h.tone.dbv());
}

SpectrumView OpeningView(const Spectrum& s, const Tone& peak) {
    const SpectrumView full = FullView(s);
    if (!peak.valid()) return full;
    const double to = 11 * peak.frequency;
    return to < full.to ? SpectrumView{0, to} : full;
}

SpectrumView FullView(const Spectrum& s) {
    return {0, s.empty() ? 1.0 : s.frequencyOf(static_cast<double>(s.rms.size() - 1))};
}

SpectrumView ZoomView(const SpectrumView& v, const Spectrum& s, double about, double factor) {
    const SpectrumView full = FullView(s);
    const double minimum = 4 * std::max(s.binHz, 1e-9);
    double span = std::clamp(v.span() * factor, minimum, full.span());
    const double share = v.span() > 0 ? (about - v.from) / v.span() : 0.5;
    double from = about - share * span;
    from = std::clamp(from, full.from, full.to - span);
    return {from, from + span};
}

std::vector<double> AxisTicks(const SpectrumView& v, int divisions) {
    std::vector<double> ticks;
    if (!(v.span() > 0) || divisions < 1) return ticks;
    const double rough = v.span() / divisions;
    const double decade = std::pow(10, std::floor(std::log10(rough)));
    double step = decade;
    for (double m : {1.0, 2.0, 5.0, 10.0})
        if (m * decade >= rough) {
            step = m * decade;
            break;
        }
    for (double f = std::ceil(v.from / step) * step; f <= v.to + step * 1e-9; f += step)
        ticks.push_back(std::abs(f) < step * 1e-9 ? 0 : f);
    return ticks;
}

QString FrequencyText(double hz) {
    if (hz == 0 || !std::isfinite(hz)) return QStringLiteral("0Hz");
    // Four significant figures first, so 999.97 Hz reads 1.000kHz, not 1000.0Hz.
    const double figure = std::pow(10, std::floor(std::log10(std::abs(hz))) - 3);
    hz = std::round(hz / figure) * figure;
    static const struct {
        double scale;
        const char* unit;
    } units[] = {{1e9, "GHz"}, {1e6, "MHz"}, {1e3, "kHz"}, {1, "Hz"}};
    for (const auto& u : units)
        if (std::abs(hz) >= u.scale || u.scale == 1) {
            const double v = hz / u.scale;
            const int decimals = std::abs(v) >= 100 ? 1 : std::abs(v) >= 10 ? 2 : 3;
            return ShownForm(QString::number(v, 'f', decimals)) + QLatin1String(u.unit);
        }
    return QStringLiteral("0Hz");
}

QString LevelText(double dbv) {
    return ShownForm(QString::number(dbv, 'f', 2)) + QStringLiteral("dBV");
}

double MarkerFrequency(const Spectrum& s, const Tone& t) {
    const double step = s.binHz / 16;
    return step > 0 ? std::round(t.frequency / step) * step : t.frequency;
}
