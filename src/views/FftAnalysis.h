// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// The spectrum of a channel of a fetched screen, computed on the PC: the
// selected channel's samples in volts, a window function, a real FFT
// (FFTW), and one value a frequency bin in dBVrms or Vrms.
#include "sheet/SheetRecords.h"

#include <QString>
#include <QStringList>
#include <vector>

enum class FftWindow { Rectangle = 0, Hanning = 1, Hamming = 2, Blackman = 3 };
enum class FftScale { DbVrms = 0, Vrms = 1 };
inline const QStringList kFftWindowNames = {"Rectangle", "Hanning", "Hamming", "Blackman"};
inline const QStringList kFftScaleNames = {"dBVrms", "Vrms"};

constexpr int kSpectrumCount = 1024;  // values kept, bin 0 (DC) first
constexpr int kSpectrumLength = 2048; // transform length: the samples zero-padded

// The samples 1..PointCount of a channel (1 or 2) in volts, by the record's
// scale and offset texts.
std::vector<double> ChannelVolts(const WaveRecord& rec, int channel);
// Samples a second of the record's screen: 50 a division.
double ScreenSampleRate(const WaveRecord& rec);
// The window's weights for n samples.
std::vector<double> WindowWeights(FftWindow window, int n);
// kSpectrumCount values: the single-sided RMS level of each bin, corrected
// for the window's gain, in volts or in dB relative to 1 Vrms.
std::vector<double> ComputeSpectrum(const std::vector<double>& volts, FftWindow window,
                                    FftScale scale);
// The frequency dialog's OK: computes the source's spectrum into the record.
// False when the record holds no data of that channel.
bool ApplyLocalFFT(WaveRecord& rec, int channel, FftWindow window, FftScale scale,
                   bool showOnScreen);
