// SPDX-License-Identifier: GPL-3.0-or-later
#include "views/FftAnalysis.h"

#include "views/ScreenRenderer.h"

#include <fftw3.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <numbers>

namespace {

// One plan for the one transform length, made on first use.
struct Plan {
    double* in;
    fftw_complex* out;
    fftw_plan plan;
    Plan() {
        in = fftw_alloc_real(kSpectrumLength);
        out = fftw_alloc_complex(kSpectrumLength / 2 + 1);
        plan = fftw_plan_dft_r2c_1d(kSpectrumLength, in, out, FFTW_ESTIMATE);
    }
    ~Plan() {
        fftw_destroy_plan(plan);
        fftw_free(in);
        fftw_free(out);
    }
};

Plan& plan() {
    static Plan p;
    return p;
}

} // namespace

std::vector<double> ChannelVolts(const WaveRecord& rec, int channel) {
    const SampleArray& rows = channel == 2 ? rec.Ch2Samples : rec.Ch1Samples;
    const double scale = ScreenVolt(channel == 2 ? rec.Ch2Scale : rec.Ch1Scale);
    const double offset = ScreenVolt(channel == 2 ? rec.Ch2Offset : rec.Ch1Offset);
    const double offsetRows = scale != 0 ? offset * 25 / scale : 0;
    const int n = std::clamp(rec.PointCount, 0, SampleArray::upper());
    std::vector<double> volts;
    volts.reserve(static_cast<std::size_t>(n));
    for (int i = 1; i <= n; ++i)
        volts.push_back((100 - offsetRows - rows[i]) * scale / 25);
    return volts;
}

double ScreenSampleRate(const WaveRecord& rec) {
    const double timeScale = ScreenTime(rec.TimeScale);
    return timeScale > 0 ? 50 / timeScale : 0;
}

std::vector<double> WindowWeights(FftWindow window, int n) {
    std::vector<double> w(static_cast<std::size_t>(std::max(n, 0)), 1.0);
    if (n < 2) return w;
    const double pi2 = 2 * std::numbers::pi;
    for (int i = 0; i < n; ++i) {
        const double a = pi2 * i / (n - 1);
        double v = 1;
        switch (window) {
        case FftWindow::Rectangle:
            break;
        case FftWindow::Hanning:
            v = 0.5 - 0.5 * std::cos(a);
            break;
        case FftWindow::Hamming:
            v = 0.54 - 0.46 * std::cos(a);
            break;
        case FftWindow::Blackman:
            v = 0.42 - 0.5 * std::cos(a) + 0.08 * std::cos(2 * a);
            break;
        }
        w[static_cast<std::size_t>(i)] = v;
    }
    return w;
}

std::vector<double> ComputeSpectrum(const std::vector<double>& volts, FftWindow window,
                                    FftScale scale) {
    const int n = std::min<int>(static_cast<int>(volts.size()), kSpectrumLength);
    const std::vector<double> w = WindowWeights(window, n);
    Plan& p = plan();
    double gain = 0;
    for (int i = 0; i < kSpectrumLength; ++i) {
        const bool inside = i < n;
        p.in[i] = inside ? volts[static_cast<std::size_t>(i)] * w[static_cast<std::size_t>(i)] : 0;
        if (inside) gain += w[static_cast<std::size_t>(i)];
    }
    fftw_execute(p.plan);
    std::vector<double> out(kSpectrumCount, scale == FftScale::DbVrms ? -200.0 : 0.0);
    if (gain <= 0) return out;
    for (int k = 0; k < kSpectrumCount; ++k) {
        const double magnitude = std::hypot(p.out[k][0], p.out[k][1]) / gain;
        // Single-sided: the DC bin is its own level, the others count twice, as RMS.
        const double rms = k == 0 ? magnitude : 2 * magnitude / std::numbers::sqrt2;
        out[static_cast<std::size_t>(k)] =
            scale == FftScale::Vrms ? rms : (rms > 1e-10 ? 20 * std::log10(rms) : -200.0);
    }
    return out;
}

bool ApplyLocalFFT(WaveRecord& rec, int channel, FftWindow window, FftScale scale,
                   bool showOnScreen) {
    if (!rec.Loaded || rec.PointCount <= 0) return false;
    rec.Spectrum = ComputeSpectrum(ChannelVolts(rec, channel), window, scale);
    rec.SpectrumCount = kSpectrumCount;
    rec.SpectrumSource = channel == 2 ? "CH2" : "CH1";
    rec.SpectrumWindow = static_cast<int>(window);
    rec.SpectrumScale = static_cast<int>(scale);
    rec.LocalFFT = showOnScreen;
    return true;
}
