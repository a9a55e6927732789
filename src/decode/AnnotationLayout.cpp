// SPDX-License-Identifier: GPL-3.0-or-later
#include "decode/AnnotationLayout.h"

#include <algorithm>
#include <cmath>

namespace decode {

void RowIndex::build(const DecodeResult& result) {
    rows_.assign(static_cast<std::size_t>(result.rows.size()), {});
    longest_.assign(rows_.size(), 0);
    for (std::size_t i = 0; i < result.annotations.size(); ++i) {
        const Annotation& a = result.annotations[i];
        if (a.row < 0 || a.row >= static_cast<int>(rows_.size())) continue;
        const auto r = static_cast<std::size_t>(a.row);
        rows_[r].push_back(static_cast<int>(i)); // the result is sorted by start
        longest_[r] = std::max(longest_[r], a.end - a.start);
    }
}

const std::vector<int>& RowIndex::row(int r) const {
    static const std::vector<int> none;
    return r >= 0 && r < static_cast<int>(rows_.size()) ? rows_[static_cast<std::size_t>(r)] : none;
}

std::int64_t RowIndex::longest(int r) const {
    return r >= 0 && r < static_cast<int>(longest_.size()) ? longest_[static_cast<std::size_t>(r)]
                                                           : 0;
}

namespace {

// The first of a row's annotations that may reach `sample` or beyond.
std::size_t firstReaching(const DecodeResult& result, const std::vector<int>& row,
                          std::int64_t longest, double sample) {
    const double from = sample - static_cast<double>(longest);
    return static_cast<std::size_t>(
        std::lower_bound(row.begin(), row.end(), from,
                         [&](int i, double s) {
                             return static_cast<double>(
                                        result.annotations[static_cast<std::size_t>(i)].start) < s;
                         }) -
        row.begin());
}

QString fittingText(const QStringList& texts, double room, const TextWidth& width) {
    for (const QString& t : texts) // longest first
        if (width(t) <= room) return t;
    if (texts.isEmpty()) return {};
    QString t = texts.last();
    while (!t.isEmpty()) {
        t.chop(1);
        const QString cut = t + QChar(0x2026);
        if (width(cut) <= room) return cut;
    }
    return {};
}

} // namespace

std::vector<AnnotationMark> LayoutRow(const DecodeResult& result, const RowIndex& index, int row,
                                      const PixelScale& scale, const TextWidth& width) {
    std::vector<AnnotationMark> marks;
    const std::vector<int>& list = index.row(row);
    if (list.empty() || scale.width <= 0 || scale.samplesPerPixel <= 0) return marks;
    std::size_t k = firstReaching(result, list, index.longest(row), scale.firstSample);
    const double right = scale.sampleOf(scale.width);
    while (k < list.size()) {
        const int i = list[k];
        const Annotation& a = result.annotations[static_cast<std::size_t>(i)];
        if (static_cast<double>(a.start) > right) break;
        const double x0 = scale.xOf(static_cast<double>(a.start));
        const double x1 = scale.xOf(static_cast<double>(a.end));
        ++k;
        if (x1 < 0) continue;
        if (x1 - x0 >= kMinBoxPixels) {
            AnnotationMark m{x0, x1, i, 1, false, {}};
            m.text = fittingText(a.texts, std::min(x1, double(scale.width)) - std::max(x0, 0.0) - 4,
                                 width);
            marks.push_back(m);
            continue;
        }
        // Narrow: into the block before it when they touch, else a new block.
        if (!marks.empty() && marks.back().block && x0 <= marks.back().x1 + 1) {
            marks.back().x1 = std::max(marks.back().x1, x1);
            ++marks.back().count;
        } else {
            marks.push_back({x0, std::max(x1, x0 + 1), i, 1, true, {}});
        }
        // Whatever else starts in this pixel column is in the block already:
        // skip to the next column, so the work follows the width.
        const double next = scale.sampleOf(std::floor(marks.back().x1) + 1);
        const auto skipTo = static_cast<std::size_t>(
            std::lower_bound(list.begin() + static_cast<std::ptrdiff_t>(k), list.end(), next,
                             [&](int j, double s) {
                                 return static_cast<double>(
                                            result.annotations[static_cast<std::size_t>(j)].start) <
                                        s;
                             }) -
            list.begin());
        marks.back().count += static_cast<int>(skipTo - k);
        k = skipTo;
    }
    return marks;
}

int AnnotationAt(const DecodeResult& result, const RowIndex& index, int row,
                 const PixelScale& scale, double x) {
    const std::vector<int>& list = index.row(row);
    const double sample = scale.sampleOf(x);
    const double slack = 2 * scale.samplesPerPixel;
    int best = -1;
    double bestDistance = slack;
    for (std::size_t k = firstReaching(result, list, index.longest(row), sample - slack);
         k < list.size(); ++k) {
        const Annotation& a = result.annotations[static_cast<std::size_t>(list[k])];
        if (static_cast<double>(a.start) > sample + slack) break;
        const double distance =
            sample < a.start ? a.start - sample : (sample > a.end ? sample - a.end : 0);
        if (distance <= bestDistance) {
            // Inside beats near; among those inside, the shortest (the innermost).
            if (best < 0 || distance < bestDistance ||
                a.end - a.start < result.annotations[static_cast<std::size_t>(best)].end -
                                      result.annotations[static_cast<std::size_t>(best)].start)
                best = list[k];
            bestDistance = distance;
        }
    }
    return best;
}

} // namespace decode
