// SPDX-License-Identifier: GPL-3.0-or-later
#include "Buses.h"

#include <cmath>

namespace sim {

namespace {

constexpr double kUartStart = 20e-6;
constexpr double kSpiStart = 30e-6;
constexpr double kI2cStart = 50e-6;

int uartLine(double t) {
    const std::string& text = UartText();
    const double bit = 1 / kUartBaud;
    const double at = (t - kUartStart) / bit;
    if (at < 0) return 1;
    const auto n = static_cast<std::size_t>(at);
    const std::size_t ch = n / 10;
    if (ch >= text.size()) return 1;
    const std::size_t slot = n % 10;
    if (slot == 0) return 0; // start bit
    if (slot == 9) return 1; // stop bit
    return (static_cast<unsigned char>(text[ch]) >> (slot - 1)) & 1;
}

// The I2C bus as states a quarter of a clock apart: bit 0 SCL, bit 1 SDA.
std::vector<std::uint8_t> i2cQuarters() {
    std::vector<std::uint8_t> q;
    auto put = [&q](int scl, int sda) { q.push_back(static_cast<std::uint8_t>(scl | sda << 1)); };
    auto start = [&] { put(1, 1), put(1, 1), put(1, 0), put(0, 0); };
    auto restart = [&] { put(0, 1), put(1, 1), put(1, 0), put(0, 0); };
    auto stop = [&] { put(0, 0), put(1, 0), put(1, 1), put(1, 1); };
    auto bit = [&](int b) { put(0, b), put(1, b), put(1, b), put(0, b); };
    auto byte = [&](int value, bool ack) {
        for (int k = 7; k >= 0; --k)
            bit((value >> k) & 1);
        bit(ack ? 0 : 1);
    };
    const int address = kEepromAddress << 1;
    const std::vector<std::uint8_t>& data = EepromData();
    start(); // the write: address, word address, data
    byte(address, true), byte(kEepromWordAddress, true);
    for (std::uint8_t d : data)
        byte(d, true);
    stop();
    for (int k = 0; k < 20; ++k)
        put(1, 1);
    start(); // the read back: word address, repeated start, data, NACK on the last
    byte(address, true), byte(kEepromWordAddress, true);
    restart();
    byte(address | 1, true);
    for (std::size_t k = 0; k < data.size(); ++k)
        byte(data[k], k + 1 < data.size());
    stop();
    return q;
}

int i2cLines(double t) {
    static const std::vector<std::uint8_t> quarters = i2cQuarters();
    const double at = (t - kI2cStart) * kI2cClock * 4;
    if (at < 0) return 3;
    const auto n = static_cast<std::size_t>(at);
    return n < quarters.size() ? quarters[n] : 3;
}

// SCK, MOSI, MISO, CS# in bits 0..3.
int spiLines(double t) {
    const std::vector<std::uint8_t>& mosi = SpiMosi();
    const std::vector<std::uint8_t>& miso = SpiMiso();
    const double period = 1 / kSpiClock;
    const double first = kSpiStart + period / 2; // CS# leads the clock by half a period
    const double end = first + period * 8 * static_cast<double>(mosi.size()) + period / 2;
    if (t < kSpiStart || t >= end) return 0b1000;
    const double at = (t - first) / period;
    if (at < 0) return 0;
    const auto n = static_cast<std::size_t>(at);
    if (n >= 8 * mosi.size()) return 0;
    const int sck = at - static_cast<double>(n) >= 0.5 ? 1 : 0;
    const int shift = 7 - static_cast<int>(n % 8);
    const int out = (mosi[n / 8] >> shift) & 1, in = (miso[n / 8] >> shift) & 1;
    return sck | out << 1 | in << 2;
}

} // namespace

const std::string& UartText() {
    static const std::string text = "Korvane UART 115200 8N1\r\n";
    return text;
}

const std::vector<std::uint8_t>& EepromData() {
    static const std::vector<std::uint8_t> data = {0x4B, 0x76, 0x2A};
    return data;
}

const std::vector<std::uint8_t>& SpiMosi() {
    static const std::vector<std::uint8_t> bytes = {0x9F, 0x00, 0x00, 0x00};
    return bytes;
}

const std::vector<std::uint8_t>& SpiMiso() {
    static const std::vector<std::uint8_t> bytes = {0xFF, 0xEF, 0x40, 0x18};
    return bytes;
}

std::uint8_t BusLines(double secondsFromStart) {
    const double t = std::fmod(secondsFromStart, kBusPeriod);
    return static_cast<std::uint8_t>(uartLine(t) | i2cLines(t) << 1 | spiLines(t) << 3);
}

} // namespace sim
