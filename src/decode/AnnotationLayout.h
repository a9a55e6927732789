// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// Where annotations fall on a row of pixels at any zoom. Like the traces'
// peak-keeping rule: annotations narrower than a few pixels that follow each
// other merge into one filled block (nothing vanishes at full zoom-out);
// wider ones get their box and the longest of their texts that fits, or the
// shortest cut with an ellipsis. The work is bounded by the row's width,
// however many annotations it holds.
#include "decode/Decode.h"

#include <functional>
#include <vector>

namespace decode {

// The annotations of each row by start sample, made once a result.
class RowIndex {
public:
    void build(const DecodeResult& result);
    const std::vector<int>& row(int r) const; // indices into result.annotations
    std::int64_t longest(int r) const;        // the row's longest annotation, samples

private:
    std::vector<std::vector<int>> rows_;
    std::vector<std::int64_t> longest_;
};

struct AnnotationMark {
    double x0 = 0, x1 = 0; // pixels
    int first = -1;        // the annotation (the first of a block)
    int count = 1;         // annotations merged into a block
    bool block = false;
    QString text; // empty for a block or a box too narrow for any text
};

// The pixel columns: sample = firstSample + x * samplesPerPixel, x in [0, width).
struct PixelScale {
    double firstSample = 0, samplesPerPixel = 1;
    int width = 0;
    double xOf(double sample) const { return (sample - firstSample) / samplesPerPixel; }
    double sampleOf(double x) const { return firstSample + x * samplesPerPixel; }
};

// Narrower than this many pixels, an annotation joins a block.
constexpr double kMinBoxPixels = 4;
using TextWidth = std::function<int(const QString&)>;
std::vector<AnnotationMark> LayoutRow(const DecodeResult& result, const RowIndex& index, int row,
                                      const PixelScale& scale, const TextWidth& width);
// The annotation of a row under pixel x (the nearest within two pixels), or -1.
int AnnotationAt(const DecodeResult& result, const RowIndex& index, int row,
                 const PixelScale& scale, double x);

} // namespace decode
