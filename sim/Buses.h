// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// Real buses on the low logic channels, so captures decode: a UART on D0, an
// I2C bus with a 24xx EEPROM on D1/D2 and an SPI flash's ID read on D3..D6.
// Each is a function of the time since the capture's first sample and
// repeats every kBusPeriod; the channels above D6 keep a counter.
#include <cstdint>
#include <string>
#include <vector>

namespace sim {

constexpr double kBusPeriod = 0.006; // seconds
constexpr double kUartBaud = 115200; // 8N1, idle high
constexpr double kI2cClock = 100e3;  // standard mode
constexpr double kSpiClock = 100e3;  // mode 0, CS# active low
constexpr int kBusLines = 7;         // D0..D6

// What the buses carry, for tests that compare decoded payloads.
const std::string& UartText();
constexpr int kEepromAddress = 0x50;           // 7-bit
constexpr int kEepromWordAddress = 0x10;       // one byte, as a 24C02 takes it
const std::vector<std::uint8_t>& EepromData(); // written, then read back
const std::vector<std::uint8_t>& SpiMosi();
const std::vector<std::uint8_t>& SpiMiso();

// D0 UART TX, D1 SCL, D2 SDA, D3 SCK, D4 MOSI, D5 MISO, D6 CS#: bits 0..6.
std::uint8_t BusLines(double secondsFromStart);

} // namespace sim
