// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// The instrument's own screen, 320 x 234 pixels, one palette code a pixel:
// RRRGGGBB on a colour screen, a grey level 0..15 on a mono one.
#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace sim {

constexpr int kLcdWidth = 320;
constexpr int kLcdHeight = 234;

struct ScreenContent {
    bool colour = true;
    bool running = true;
    std::array<bool, 2> channelOn{};
    std::array<std::vector<std::uint8_t>, 2> trace; // 600 raw samples each
    std::array<double, 2> scale{};
    double timeScale = 0;
    std::string grid = "FULL";
};

std::vector<std::uint8_t> DrawScreen(const ScreenContent& content);

} // namespace sim
