// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// The spectrum analyser's calculations, free of any window: the single-sided
// RMS spectrum of a run of samples (any length, FFTW plans kept per length,
// optionally averaged over consecutive blocks), a tone's frequency and level
// read from the power of its whole main lobe (so the level does not depend on
// where the tone falls between two bins), its harmonics, and the frequency
// axis of a zoomed view.
#include "views/FftAnalysis.h"

#include <QString>
#include <vector>

struct Spectrum {
    double sampleRate = 0;
    int length = 0;   // samples a transform
    double binHz = 0; // sampleRate / length
    FftWindow window = FftWindow::Hanning;
    double enbwBins = 1;     // the window's noise bandwidth, in bins
    int averaged = 1;        // blocks averaged
    std::vector<double> rms; // volts RMS a bin, window gain corrected; bin 0 is DC
    bool empty() const { return rms.empty(); }
    double frequencyOf(double bin) const { return bin * binHz; }
};

// The spectrum of volts sampled at sampleRate. With averages > 1 the samples
// are cut into that many blocks whose powers are averaged (finer noise, a
// coarser bin). Fewer than 16 samples a block give an empty spectrum.
Spectrum ComputeRmsSpectrum(const double* volts, std::size_t n, double sampleRate, FftWindow window,
                            int averages = 1);

struct Tone {
    double frequency = 0; // Hz, interpolated between the bins
    double rms = 0;       // volts RMS
    int bin = -1;         // the highest bin; -1 when there is none
    double dbv() const;   // dB relative to 1 Vrms (-200 for nothing)
    bool valid() const { return bin >= 0; }
};

// Half the width of the window's main lobe, in bins, over which a tone's power is summed.
int LobeHalfWidth(FftWindow window);
// The highest tone between two frequencies (DC's main lobe left out).
Tone FindPeak(const Spectrum& s, double fromHz = 0, double toHz = 1e300);
// The tone around a bin: its lobe's power (over half bins each side; -1:
// the window's lobe) and its frequency, interpolated between bins.
Tone ToneAt(const Spectrum& s, int bin, int half = -1);
// Half the width of the window's main lobe, in bins (the first zero).
int MainLobeHalfWidth(FftWindow window);
// The spectrum's noise floor: the median level of its bins (DC's lobe left
// out), which a few tones and their lobes do not move.
double NoiseFloorRms(const Spectrum& s);

// Harmonic n of a fundamental, read at n times its interpolated frequency:
// the highest bin within half the main lobe of that frequency, never further.
// A harmonic that does not rise 12 dB over the noise floor there (nor
// above 80 dB under the fundamental, the plot's depth) is below noise: it
// keeps its order and frequency, and no level.
struct Harmonic {
    int order = 0;
    double frequency = 0; // n x f0
    Tone tone;            // invalid when below noise
    bool belowNoise() const { return !tone.valid(); }
};
// Harmonics 2 .. highest that lie below half the sample rate.
std::vector<Harmonic> Harmonics(const Spectrum& s, const Tone& fundamental, int highest = 10);
// "H3 3.000kHz -12.55dBV", or "H2 2.000kHz below noise" (belowNoise the
// caller's words for it): the one text of a harmonic, in the window and
// on the command line.
QString HarmonicText(const Spectrum& s, const Harmonic& h,
                     const QString& belowNoise = QStringLiteral("below noise"));

// A view of the spectrum: what frequencies the plot's width covers.
struct SpectrumView {
    double from = 0, to = 0; // Hz
    double span() const { return to - from; }
    double centre() const { return (from + to) / 2; }
};
SpectrumView FullView(const Spectrum& s);
// The view a spectrum opens on: 0 to just past the tenth harmonic of its
// peak, so the fundamental and its harmonics fill the plot; the whole span
// when they reach it.
SpectrumView OpeningView(const Spectrum& s, const Tone& peak);
// Zoom by factor (< 1 narrows) about a frequency that stays where it is,
// held inside 0 .. the top of the spectrum and to at least four bins.
SpectrumView ZoomView(const SpectrumView& v, const Spectrum& s, double about, double factor);
// The frequencies of the axis's labelled divisions: a 1-2-5 step giving
// about `divisions` of them across the view.
std::vector<double> AxisTicks(const SpectrumView& v, int divisions = 10);
// "1.000kHz", "250Hz", "12.50MHz": the program's frequency picture.
QString FrequencyText(double hz);
QString LevelText(double dbv); // "-3.01dBV"
// A tone's frequency as a marker shows it: to a sixteenth of a bin, the
// precision the interpolation between bins has (a 1 kHz tone estimated at
// 999.94 Hz with 167 Hz bins reads 1.000kHz).
double MarkerFrequency(const Spectrum& s, const Tone& t);
