// SPDX-License-Identifier: GPL-3.0-or-later
#include "memwave/WaveZoom.h"

#include <algorithm>
#include <cmath>

double CaptureTiming::sampleAt(double column) const {
    const double t = delay + (column - 150) / 25 * timeDiv;
    return (t - origin) * sampleRate + points / 2.0;
}

double CaptureTiming::columnOf(double sample) const {
    if (timeDiv == 0 || sampleRate == 0) return 150;
    const double t = (sample - points / 2.0) / sampleRate + origin;
    return 150 + (t - delay) / timeDiv * 25;
}

VisibleRange VisibleRangeFor(const CaptureTiming& t) {
    VisibleRange r;
    if (t.points <= 0 || !(t.sampleRate > 0) || !(t.timeDiv > 0) || !std::isfinite(t.sampleRate) ||
        !std::isfinite(t.timeDiv) || !std::isfinite(t.delay) || !std::isfinite(t.origin))
        return r;
    const double first = std::ceil(t.sampleAt(0) - 1e-9);
    const double last = std::floor(t.sampleAt(300) + 1e-9);
    const double from = std::max(0.0, first), to = std::min<double>(t.points - 1, last);
    if (from > to) return r;
    r.sourceStart = static_cast<std::int32_t>(from);
    r.sourceStop = static_cast<std::int32_t>(to);
    auto column = [&t](double sample) {
        const double c = std::floor(t.columnOf(sample));
        return static_cast<std::int16_t>(std::isfinite(c) ? std::clamp(c, 0.0, 299.0) : 0.0);
    };
    r.screenStart = column(from);
    r.screenStop = column(to);
    return r;
}

// ---- the pyramids: node j of level k covers samples [j 16 2^k, (j + 1) 16 2^k) -----

namespace {

// The levels above a first one, each node the union of two below.
template <typename T, typename Join>
void buildLevels(std::vector<std::vector<T>>& levels, Join join) {
    while (levels.back().size() > 1) {
        const auto& below = levels.back();
        std::vector<T> up((below.size() + 1) / 2);
        for (std::size_t j = 0; j < up.size(); ++j)
            up[j] = join(below[2 * j], below[std::min(2 * j + 1, below.size() - 1)]);
        levels.push_back(std::move(up));
    }
}

// Walks [first, last]: single elements at the ragged ends, whole blocks of the
// pyramid between them. take(i) for an element, node(k, j) for a block.
template <typename Element, typename Node>
void walkRange(std::int64_t first, std::int64_t last, int block, std::size_t levels,
               Element element, Node node) {
    std::int64_t lo = first, hi = last + 1;
    while (lo < hi && lo % block)
        element(lo++);
    while (hi > lo && hi % block)
        element(--hi);
    std::int64_t a = lo / block, b = hi / block;
    for (std::size_t k = 0; a < b && k < levels; ++k, a /= 2, b /= 2) {
        if (a & 1) node(k, a++);
        if (b & 1) node(k, --b);
    }
}

} // namespace

void MinMaxPyramid::build(std::span<const std::int16_t> samples) {
    min_.clear();
    max_.clear();
    size_ = static_cast<std::int64_t>(samples.size());
    if (samples.empty()) return;
    const std::size_t blocks = (samples.size() + kBlock - 1) / kBlock;
    std::vector<std::int16_t> lo(blocks), hi(blocks);
    for (std::size_t j = 0; j < blocks; ++j) {
        const auto from = samples.begin() + static_cast<std::ptrdiff_t>(j * kBlock);
        const auto to = samples.begin() +
                        static_cast<std::ptrdiff_t>(std::min(samples.size(), (j + 1) * kBlock));
        const auto [mn, mx] = std::minmax_element(from, to);
        lo[j] = *mn;
        hi[j] = *mx;
    }
    min_.push_back(std::move(lo));
    max_.push_back(std::move(hi));
    buildLevels(min_, [](std::int16_t x, std::int16_t y) { return std::min(x, y); });
    buildLevels(max_, [](std::int16_t x, std::int16_t y) { return std::max(x, y); });
}

bool MinMaxPyramid::range(std::span<const std::int16_t> samples, std::int64_t first,
                          std::int64_t last, int* low, int* high) const {
    const std::int64_t n = std::min<std::int64_t>(size_, static_cast<std::int64_t>(samples.size()));
    first = std::max<std::int64_t>(first, 0);
    last = std::min<std::int64_t>(last, n - 1);
    if (first > last) return false;
    int lo = 32767, hi = -32768;
    walkRange(
        first, last, kBlock, min_.size(),
        [&](std::int64_t i) {
            lo = std::min<int>(lo, samples[static_cast<std::size_t>(i)]);
            hi = std::max<int>(hi, samples[static_cast<std::size_t>(i)]);
        },
        [&](std::size_t k, std::int64_t j) {
            lo = std::min<int>(lo, min_[k][static_cast<std::size_t>(j)]);
            hi = std::max<int>(hi, max_[k][static_cast<std::size_t>(j)]);
        });
    *low = lo;
    *high = hi;
    return true;
}

std::uint16_t DigitalPyramid::word(std::span<const std::uint8_t> section, std::int64_t i) const {
    const std::size_t at = static_cast<std::size_t>(i) * static_cast<std::size_t>(bytes_);
    if (i < 0 || at + static_cast<std::size_t>(bytes_) > section.size()) return 0;
    return bytes_ == 2 ? static_cast<std::uint16_t>(section[at] | (section[at + 1] << 8))
                       : section[at];
}

void DigitalPyramid::build(std::span<const std::uint8_t> section, std::int32_t points) {
    and_.clear();
    or_.clear();
    bytes_ = points > 524288 ? 1 : 2;
    size_ = std::min<std::int64_t>(points, static_cast<std::int64_t>(section.size()) / bytes_);
    if (size_ <= 0) {
        size_ = 0;
        return;
    }
    const std::size_t blocks = static_cast<std::size_t>((size_ + kBlock - 1) / kBlock);
    std::vector<std::uint16_t> all(blocks, 0xFFFF), any(blocks, 0);
    for (std::int64_t i = 0; i < size_; ++i) {
        const std::uint16_t w = word(section, i);
        all[static_cast<std::size_t>(i / kBlock)] &= w;
        any[static_cast<std::size_t>(i / kBlock)] |= w;
    }
    and_.push_back(std::move(all));
    or_.push_back(std::move(any));
    buildLevels(and_,
                [](std::uint16_t x, std::uint16_t y) { return static_cast<std::uint16_t>(x & y); });
    buildLevels(or_,
                [](std::uint16_t x, std::uint16_t y) { return static_cast<std::uint16_t>(x | y); });
}

bool DigitalPyramid::range(std::span<const std::uint8_t> section, std::int64_t first,
                           std::int64_t last, std::uint16_t* everLow, std::uint16_t* everHigh,
                           std::uint16_t* lastWord) const {
    first = std::max<std::int64_t>(first, 0);
    last = std::min<std::int64_t>(last, size_ - 1);
    if (first > last) return false;
    std::uint16_t all = 0xFFFF, any = 0;
    walkRange(
        first, last, kBlock, and_.size(),
        [&](std::int64_t i) {
            const std::uint16_t w = word(section, i);
            all &= w;
            any |= w;
        },
        [&](std::size_t k, std::int64_t j) {
            all &= and_[k][static_cast<std::size_t>(j)];
            any |= or_[k][static_cast<std::size_t>(j)];
        });
    *everLow = static_cast<std::uint16_t>(~all);
    *everHigh = any;
    *lastWord = word(section, last);
    return true;
}

// ---- the zooms -------------------------------------------------------------------------

namespace {
// A fractional sample place as a whole index held to [-1, points]: a head's
// numbers may make it huge or no number at all.
std::int64_t wholeSample(double place, std::int32_t points) {
    if (!(place > -1)) return -1; // below, or not a number
    if (place > points) return points;
    return static_cast<std::int64_t>(place);
}

void put(ScreenColumns& dest, int index, int value) {
    if (index >= 1 && index < static_cast<int>(dest.size()))
        dest[static_cast<std::size_t>(index)] = value;
}

int rowOf(int raw) {
    return std::clamp(raw - 25, 0, 199);
}
} // namespace

void WaveZoom(ScreenColumns& dest, std::span<const std::int16_t> source,
              const MinMaxPyramid& pyramid, const CaptureTiming& t, const VisibleRange& r) {
    dest.fill(0);
    if (r.empty() || source.empty()) return;
    const double perColumn = t.sampleRate * t.timeDiv / 25;
    for (int c = r.screenStart; c <= r.screenStop; ++c) {
        for (int h = 0; h < 2; ++h) {
            const double u = c + h / 2.0;
            int value;
            if (perColumn > 1) {
                // Decimation: the half column's samples, their extreme by half.
                const auto from = wholeSample(std::ceil(t.sampleAt(u) - 1e-9), t.points);
                const auto to = wholeSample(std::ceil(t.sampleAt(u + 0.5) - 1e-9), t.points) - 1;
                int low, high;
                if (!pyramid.range(source, std::max<std::int64_t>(from, r.sourceStart),
                                   std::min<std::int64_t>(std::max(to, from), r.sourceStop), &low,
                                   &high))
                    continue;
                // Rows grow downwards: the top half shows the highest voltage (lowest row).
                value = h == 0 ? rowOf(low) : rowOf(high);
            } else {
                // Expansion: the value at the half column's true time, between two samples.
                const double at = t.sampleAt(u);
                if (!std::isfinite(at)) continue;
                const double s = std::clamp<double>(at, r.sourceStart, r.sourceStop);
                const auto i = static_cast<std::size_t>(std::floor(s));
                const std::size_t j = std::min(i + 1, source.size() - 1);
                const double f = s - static_cast<double>(i);
                value = rowOf(static_cast<int>(std::lround(source[i] * (1 - f) + source[j] * f)));
            }
            put(dest, 2 * c + 1 + h, value);
        }
    }
    // The renderer's first vertical starts one place before the first column.
    put(dest, 2 * r.screenStart, dest[static_cast<std::size_t>(2 * r.screenStart + 1)]);
}

int ZoomRow(int row, const VerticalZoom& v) {
    if (v.shownScale == 0) return row;
    const double volts = (100 - row) * v.capturedScale / 25 - v.capturedOffset;
    const double shown = 100 - (volts + v.shownOffset) * 25 / v.shownScale;
    return static_cast<int>(std::clamp(std::lround(shown), 0L, 199L));
}

void WaveZoomV(ScreenColumns& columns, const VisibleRange& r, const VerticalZoom& v) {
    if (r.empty()) return;
    for (int i = std::max(0, 2 * r.screenStart);
         i <= 2 * r.screenStop + 2 && i < static_cast<int>(columns.size()); ++i)
        columns[static_cast<std::size_t>(i)] = ZoomRow(columns[static_cast<std::size_t>(i)], v);
}

void LAZoom(ScreenColumns& dest, std::span<const std::uint8_t> section,
            const DigitalPyramid& pyramid, const CaptureTiming& t, const VisibleRange& r) {
    dest.fill(0);
    if (r.empty() || pyramid.size() == 0) return;
    for (int c = r.screenStart; c <= r.screenStop; ++c) {
        for (int h = 0; h < 2; ++h) {
            const double u = c + h / 2.0;
            const auto from = wholeSample(std::floor(t.sampleAt(u)), t.points);
            const auto to = std::max<std::int64_t>(
                from, wholeSample(std::ceil(t.sampleAt(u + 0.5) - 1e-9), t.points) - 1);
            std::uint16_t everLow, everHigh, last;
            if (!pyramid.range(section, std::max<std::int64_t>(from, r.sourceStart),
                               std::min<std::int64_t>(to, r.sourceStop), &everLow, &everHigh,
                               &last))
                continue;
            // A bit that was both low and high in the half column shows an edge:
            // its first half has the opposite of where it ends.
            const std::uint16_t changed = everLow & everHigh;
            put(dest, 2 * c + 1 + h, h == 0 ? (last ^ changed) : last);
        }
    }
}
