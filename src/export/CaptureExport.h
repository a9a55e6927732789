// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// Captures that other tools open: a deep-memory file, a fetched screen or a
// record frame as one model (volts a sample per analogue channel, a 16-bit
// word of the logic channels a sample, the sample rate and the trigger), and
// its writers: a sigrok session (.sr, libsigrok's own srzip writer, for
// PulseView and sigrok-cli), VCD (GTKWave), a CSV at full precision, and a
// NumPy .npz. Every file goes through the program's safe writer.
#include "sheet/SheetRecords.h"

#include <QString>
#include <QStringList>
#include <cstdint>
#include <functional>
#include <vector>

struct Capture {
    double sampleRate = 0;                  // samples a second
    double firstTime = 0;                   // seconds of sample 0; the trigger is at time 0
    QStringList analogNames;                // "CH1", "CH2"
    std::vector<platform::LargeVector<float>> analog; // volts, one vector a channel
    std::vector<double> voltsPerDiv;        // the capture's scale a channel
    bool hasLogic = false;
    platform::LargeVector<std::uint16_t> logic; // D0 in bit 0 ... D15 in bit 15
    std::int64_t samples() const;
    // The sample at time 0, or -1 when the trigger lies outside the capture.
    std::int64_t triggerSample() const;
    double timeOf(std::int64_t i) const { return firstTime + static_cast<double>(i) / sampleRate; }
};

// The capture of a Memory Wave file (an alternate-trigger file: each channel
// has its own rate, so only CH1's part with the logic), of a fetched screen
// (600 samples a trace), of one frame of a record (300 samples). Empty
// (no samples) with *error when there is nothing to export.
// A memory wave channel's samples [from, from + count) in volts, at the
// capture's own scale and offset (what the exports write); and that scale.
platform::LargeVector<float> MemoryVolts(const MemoryRecord& rec, int channel,
                                         std::int64_t from, std::int64_t count);
float MemoryCaptureScale(const MemoryRecord& rec, int channel);
// withAnalog false leaves the analogue channels out (a logic decode needs none).
Capture CaptureOfMemory(const MemoryRecord& rec, QString* error, bool withAnalog = true);
Capture CaptureOfScreen(const WaveRecord& rec, QString* error);
Capture CaptureOfFrame(const RecordRecord& rec, int frame, QString* error);
// The math trace of a fetched screen, in divisions above the screen's middle:
// the instrument sends no scale for it. Empty when the record holds none.
std::vector<float> MathOfScreen(const WaveRecord& rec);
// A capture as a screen record the waveform window draws: 600 samples over
// its 12 divisions, each channel at its own scale about the middle, the lanes
// as the digital block. A fetched screen of zero offset comes back as it was
// fetched; a longer capture gives each of the 300 columns its lowest and its
// highest sample, so no peak falls between columns.
WaveRecord ScreenOfCapture(const Capture& capture);

enum class CaptureFormat { Sigrok, Vcd, PreciseCsv, Npz, Unknown };
// By the file's extension: .sr, .vcd, .csv, .npz.
CaptureFormat CaptureFormatOf(const QString& path);
// The save dialog's filter of the four formats, in the caption language.
QString CaptureFilter();

// Writes the capture; empty on success, else the error's text. progress gets
// percentages and returns false to stop (nothing is then written).
QString WriteCapture(const QString& path, const Capture& capture, CaptureFormat format,
                     const std::function<bool(int percent)>& progress = {});

// The writers' bytes, for tests and the fuzzers.
QByteArray PreciseCsvBytes(const Capture& capture);
QByteArray VcdBytes(const Capture& capture);
QByteArray NpzBytes(const Capture& capture);
