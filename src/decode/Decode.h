// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// Running the decoders over a capture: its lanes packed as the library
// takes them, the stacks fed in blocks (each block a chance to report
// progress or stop), and the annotations and binary output collected.
#include "decode/DecodeStacks.h"

#include <QByteArray>
#include <QMap>
#include <QString>
#include <QStringList>
#include <cstdint>
#include <functional>
#include <span>
#include <vector>

struct Capture;

namespace decode {

// The samples as the library takes them: a unit of 2 bytes (D0..D15) or 4
// (with CH1 and CH2 cut at the threshold in bits 16 and 17) a sample.
struct DecodeInput {
    double sampleRate = 0;
    double firstTime = 0; // seconds of sample 0
    int unitSize = 2;
    std::vector<std::uint8_t> bytes;
    std::int64_t samples() const { return static_cast<std::int64_t>(bytes.size()) / unitSize; }
};
// The capture's lanes; with withAnalog, CH1 and CH2 through the setup's
// threshold and hysteresis (a channel the capture lacks stays low).
DecodeInput InputOfCapture(const Capture& capture, const DecodeSetup& setup);
// One analogue channel to logic with hysteresis, starting from the side the
// first sample lies on.
std::vector<bool> ThresholdLane(std::span<const float> volts, double threshold,
                                double hysteresis);

struct Annotation {
    std::int64_t start = 0, end = 0; // samples
    int row = 0;                     // into DecodeResult::rows
    int cls = 0;                     // the decoder's annotation class
    QStringList texts;               // longest first, as the decoder gives them
};

struct AnnotationRow {
    int stack = 0;
    QString decoder, id, desc;
    QString title() const { return decoder + ": " + desc; }
};

struct DecodeResult {
    QList<AnnotationRow> rows;
    std::vector<Annotation> annotations; // by start sample, then row
    QMap<QString, QByteArray> binary;    // "decoder/class": the bytes in order
    double sampleRate = 0, firstTime = 0;
    QString error; // the library's or a decoder's message; annotations until then stay
    bool cancelled = false;
    double timeOf(std::int64_t sample) const {
        return sampleRate > 0 ? firstTime + static_cast<double>(sample) / sampleRate : 0;
    }
};

// Blocks of this many samples go to the library between two progress calls.
constexpr std::int64_t kDecodeBlock = 1 << 18;
// progress gets 0..100 and returns false to stop (then cancelled is set).
using DecodeProgress = std::function<bool(int percent)>;
DecodeResult RunDecode(const DecodeSetup& setup, const DecodeInput& input,
                       const DecodeProgress& progress = {});

// The annotations as a table: sample range, time, row and text, with a head
// line; rows picks which (all when empty).
QByteArray AnnotationsCsv(const DecodeResult& result, const std::vector<int>& rows = {});
// One line a annotation as the command line prints it:
// "START-END DECODER: ROW: TEXT".
QString AnnotationLine(const DecodeResult& result, const Annotation& a);

} // namespace decode
