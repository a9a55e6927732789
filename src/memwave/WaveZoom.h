// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// From a deep-memory capture to the 300 columns of the screen: where the
// screen lies in the capture, horizontal decimation that keeps every peak
// (each column shows the lowest and highest sample it covers) or expansion
// at the samples' true times, vertical scaling, and the same for digital
// data. A min/max pyramid made once at load makes any range cost about the
// screen's width, however long the capture.
#include <array>
#include <cstdint>
#include <span>
#include <vector>

// Where the screen lies: the first and last sample shown, and the columns they
// fall on (0..299). Empty when screenStart > screenStop.
struct VisibleRange {
    std::int32_t sourceStart = 0, sourceStop = -1;
    std::int16_t screenStart = 1, screenStop = 0;
    bool empty() const { return screenStart > screenStop; }
};

// The capture's timing: sample i lies at (i - points / 2) / rate + origin;
// the screen's centre column 150 lies at the delay, 25 columns a division.
struct CaptureTiming {
    float sampleRate = 0;
    std::int32_t points = 0;
    double delay = 0, origin = 0, timeDiv = 0;
    double sampleAt(double column) const; // fractional sample index of a column
    double columnOf(double sample) const;
};
VisibleRange VisibleRangeFor(const CaptureTiming& timing);

// Lowest and highest of any range of a sample array, in about log2(n) steps.
// It keeps blocks of 16 samples and up (an eighth of the samples' size); the
// samples themselves are handed in at each query, so nothing is held twice.
class MinMaxPyramid {
public:
    static constexpr int kBlock = 16;
    void build(std::span<const std::int16_t> samples);
    bool empty() const { return size_ == 0; }
    // [first, last] inclusive, clipped to the samples; false when nothing is left.
    bool range(std::span<const std::int16_t> samples, std::int64_t first, std::int64_t last,
               int* low, int* high) const;

private:
    std::vector<std::vector<std::int16_t>> min_, max_; // level k: blocks of 16 << k
    std::int64_t size_ = 0;
};

// Digital words of a range: which bits were ever low and ever high.
class DigitalPyramid {
public:
    static constexpr int kBlock = 16;
    void build(std::span<const std::uint8_t> section, std::int32_t points);
    bool range(std::span<const std::uint8_t> section, std::int64_t first, std::int64_t last,
               std::uint16_t* everLow, std::uint16_t* everHigh, std::uint16_t* lastWord) const;
    std::uint16_t word(std::span<const std::uint8_t> section, std::int64_t i) const;
    std::int64_t size() const { return size_; }

private:
    std::vector<std::vector<std::uint16_t>> and_, or_; // level k: blocks of 16 << k
    std::int64_t size_ = 0;
    int bytes_ = 2;
};

// The screen's values: index 2c + 1 and 2c + 2 are the two halves of column c
// (the renderer's walk), up to 601; rows 0 (top) .. 199 (bottom).
using ScreenColumns = std::array<int, 603>;

// Horizontal zoom of one channel: rows (raw - 25) into the columns of the range.
void WaveZoom(ScreenColumns& dest, std::span<const std::int16_t> source,
              const MinMaxPyramid& pyramid, const CaptureTiming& timing, const VisibleRange& range);
// Vertical zoom about the centre: rows drawn at the capture's scale and offset
// moved to the shown scale and offset; held to the screen.
struct VerticalZoom {
    double capturedScale = 1, capturedOffset = 0; // volts a division, volts
    double shownScale = 1, shownOffset = 0;
};
int ZoomRow(int row, const VerticalZoom& v);
void WaveZoomV(ScreenColumns& columns, const VisibleRange& range, const VerticalZoom& v);
// Digital data: the words of each column, a changing bit shown as an edge in it.
void LAZoom(ScreenColumns& dest, std::span<const std::uint8_t> section,
            const DigitalPyramid& pyramid, const CaptureTiming& timing, const VisibleRange& range);
