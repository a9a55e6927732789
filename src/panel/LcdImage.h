// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// The instrument's own screen: the raw image fetched over USB (320 x 234
// pixels, one palette code each, after a 10-byte header), its colours, and
// the picture at normal or double size.
#include <QByteArray>
#include <QImage>
#include <cstdint>
#include <vector>

constexpr int kLcdWidth = 320;
constexpr int kLcdHeight = 234;
constexpr int kLcdPixels = kLcdWidth * kLcdHeight; // 74880
constexpr int kLcdReply = kLcdPixels + 11;         // header, pixels, line end: 74891

// What a read of `returned` bytes leaves in the image: a reply longer than the
// pixels carries the header, which moves out; the count is the pixels', or
// -1 when the reply was too short or too long to count (the image is left).
int LcdReplyCount(std::vector<std::uint8_t>& image, int returned);

// ":LCD:DATA?" and one read of the reply into image (at least kLcdReply
// bytes); USB only. A failed read says so and marks the link down.
void GetLcdData(std::vector<std::uint8_t>& image);
void VisaReadLcd(int& count, std::vector<std::uint8_t>& image);

// Palette codes to colours: RRRGGGBB on a colour screen, a grey level in
// the low four bits on a mono one.
void TransClr(const std::uint8_t* raw, int count, std::uint32_t* pixels);
void TransMono(const std::uint8_t* raw, int count, std::uint32_t* pixels);
// The picture of the pixels, 320 x 234 or doubled by pixel replication.
QImage LcdPicture(const std::vector<std::uint32_t>& pixels, bool doubled);
// The screen read now and its picture as PNG bytes (the command line's
// --lcd, the Python package, the data logger's failing screens); empty
// when the link went during the read.
QByteArray ReadLcdPng();
