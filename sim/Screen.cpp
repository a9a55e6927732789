// SPDX-License-Identifier: GPL-3.0-or-later
#include "Screen.h"

#include "Instrument.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>

namespace sim {

namespace {

// A 3 x 5 pixel font: five rows of three bits, top row first.
const std::map<char, std::array<std::uint8_t, 5>>& font() {
    static const std::map<char, std::array<std::uint8_t, 5>> glyphs = {
        {'0', {7, 5, 5, 5, 7}}, {'1', {2, 6, 2, 2, 7}}, {'2', {7, 1, 7, 4, 7}},
        {'3', {7, 1, 7, 1, 7}}, {'4', {5, 5, 7, 1, 1}}, {'5', {7, 4, 7, 1, 7}},
        {'6', {7, 4, 7, 5, 7}}, {'7', {7, 1, 1, 1, 1}}, {'8', {7, 5, 7, 5, 7}},
        {'9', {7, 5, 7, 1, 7}}, {'.', {0, 0, 0, 0, 2}}, {'/', {1, 1, 2, 4, 4}},
        {'-', {0, 0, 7, 0, 0}}, {':', {0, 2, 0, 2, 0}}, {' ', {0, 0, 0, 0, 0}},
        {'A', {2, 5, 7, 5, 5}}, {'C', {7, 4, 4, 4, 7}}, {'D', {6, 5, 5, 5, 6}},
        {'H', {5, 5, 7, 5, 5}}, {'K', {5, 5, 6, 5, 5}}, {'M', {5, 7, 7, 5, 5}},
        {'N', {7, 5, 5, 5, 5}}, {'O', {7, 5, 5, 5, 7}}, {'P', {7, 5, 7, 4, 4}},
        {'R', {7, 5, 6, 5, 5}}, {'S', {7, 4, 7, 1, 7}}, {'T', {7, 2, 2, 2, 2}},
        {'U', {5, 5, 5, 5, 7}}, {'V', {5, 5, 5, 5, 2}}, {'m', {0, 0, 7, 7, 5}},
        {'n', {0, 0, 6, 5, 5}}, {'u', {0, 0, 5, 5, 7}}, {'s', {0, 3, 6, 1, 6}},
        {'k', {4, 5, 6, 5, 5}},
    };
    return glyphs;
}

class Canvas {
public:
    explicit Canvas(bool colour) : colour_(colour), pixels_(kLcdWidth * kLcdHeight, 0) {}
    // Colours given as RGB; mono screens turn them into a grey level.
    void set(int x, int y, int r, int g, int b) {
        if (x < 0 || y < 0 || x >= kLcdWidth || y >= kLcdHeight) return;
        std::uint8_t code;
        if (colour_) {
            code = static_cast<std::uint8_t>(((r * 7 / 255) << 5) | ((g * 7 / 255) << 2) |
                                             (b * 3 / 255));
        } else {
            code = static_cast<std::uint8_t>(std::lround((0.3 * r + 0.59 * g + 0.11 * b) / 17));
        }
        pixels_[static_cast<std::size_t>(y * kLcdWidth + x)] = code;
    }
    void text(int x, int y, const std::string& s, int r, int g, int b) {
        for (char c : s) {
            const auto it = font().find(c);
            if (it != font().end())
                for (int row = 0; row < 5; ++row)
                    for (int col = 0; col < 3; ++col)
                        if (it->second[static_cast<std::size_t>(row)] & (4 >> col))
                            set(x + col, y + row, r, g, b);
            x += 4;
        }
    }
    std::vector<std::uint8_t> take() { return std::move(pixels_); }

private:
    bool colour_;
    std::vector<std::uint8_t> pixels_;
};

std::string engineering(double v, const char* unit) {
    const char* prefixes[] = {"n", "u", "m", "", "k"};
    int p = 3;
    double m = v;
    while (std::fabs(m) < 1 && m != 0 && p > 0) {
        m *= 1000;
        --p;
    }
    while (std::fabs(m) >= 1000 && p < 4) {
        m /= 1000;
        ++p;
    }
    return NumberText(m, std::chars_format::general, 3) + prefixes[p] + unit;
}

} // namespace

std::vector<std::uint8_t> DrawScreen(const ScreenContent& c) {
    Canvas canvas(c.colour);
    const int left = 10, top = 17; // the 300 x 200 graticule
    // Frame and grid dots.
    for (int x = 0; x <= 300; ++x) {
        canvas.set(left + x, top, 120, 120, 120);
        canvas.set(left + x, top + 200, 120, 120, 120);
    }
    for (int y = 0; y <= 200; ++y) {
        canvas.set(left, top + y, 120, 120, 120);
        canvas.set(left + 300, top + y, 120, 120, 120);
    }
    if (c.grid != "NONE") {
        const int step = c.grid == "HALF" ? 50 : 25;
        for (int x = step; x < 300; x += step)
            for (int y = 5; y < 200; y += 5)
                canvas.set(left + x, top + y, 90, 90, 90);
        for (int y = step; y < 200; y += step)
            for (int x = 5; x < 300; x += 5)
                canvas.set(left + x, top + y, 90, 90, 90);
    }
    // Traces: two samples a column.
    const int colours[2][3] = {{255, 255, 0}, {0, 255, 255}};
    for (int ch = 0; ch < 2; ++ch) {
        if (!c.channelOn[static_cast<std::size_t>(ch)] ||
            c.trace[static_cast<std::size_t>(ch)].size() < 600)
            continue;
        const auto& t = c.trace[static_cast<std::size_t>(ch)];
        int previous = -1;
        for (int i = 0; i < 600; i += 2) {
            const int row =
                std::clamp(static_cast<int>(t[static_cast<std::size_t>(i)]) - 25, 0, 199);
            const int x = left + i / 2;
            if (previous >= 0)
                for (int y = std::min(previous, row); y <= std::max(previous, row); ++y)
                    canvas.set(x, top + y, colours[ch][0], colours[ch][1], colours[ch][2]);
            canvas.set(x, top + row, colours[ch][0], colours[ch][1], colours[ch][2]);
            previous = row;
        }
        canvas.text(left + 2 + ch * 80, 222,
                    (ch == 0 ? "CH1 " : "CH2 ") +
                        engineering(c.scale[static_cast<std::size_t>(ch)], "V"),
                    colours[ch][0], colours[ch][1], colours[ch][2]);
    }
    canvas.text(left, 6, c.running ? "RUN" : "STOP", c.running ? 0 : 255, c.running ? 255 : 0, 0);
    canvas.text(left + 200, 6, "M " + engineering(c.timeScale, "s"), 255, 255, 255);
    canvas.text(left + 240, 222, "NQ4000L", 200, 200, 200);
    return canvas.take();
}

} // namespace sim
