// SPDX-License-Identifier: GPL-3.0-or-later
#include "panel/LcdImage.h"

#include "link/Connection.h"
#include "link/LinkState.h"
#include "link/NQ4000Cmd.h"
#include "link/UsbFunc.h"
#include "platform/MsgBox.h"
#include "platform/Pacing.h"
#include "shared/SoftwareSetting.h"
#include "shared/StringRES.h"

#include <QBuffer>
#include <algorithm>
#include <cstring>

int LcdReplyCount(std::vector<std::uint8_t>& image, int returned) {
    if (returned > kLcdPixels && image.size() >= static_cast<std::size_t>(kLcdPixels + 10))
        std::memmove(image.data(), image.data() + 10, kLcdPixels); // the header goes
    if (returned >= 11 && returned <= 99999) return kLcdPixels;
    return -1;
}

void VisaReadLcd(int& count, std::vector<std::uint8_t>& image) {
    if (image.size() < static_cast<std::size_t>(kLcdReply)) image.resize(kLcdReply);
    ViUInt32 returned = 0;
    const ViStatus status = viRead(VisaInstr, image.data(), kLcdReply, &returned);
    if (VisaStatusFailed(status)) {
        platform::MsgBox(MsgCantRead, platform::MsgButtons::Ok, platform::MsgIcon::None,
                         MsgDeviceRead);
        ResetLinkState();
        return;
    }
    const int c = LcdReplyCount(image, static_cast<int>(returned));
    if (c >= 0) count = c;
}

void GetLcdData(std::vector<std::uint8_t>& image) {
    if (!Connected && !Connecting) return;
    if (SoftwareSetting.ScopeIOType != kIoTypeUsb) return; // never over RS232
    CmdSend(QueryCommand(cmd::LcdData));
    if (!Connected && !Connecting) return; // the send failed and said so: no second message
    int count = 0;
    VisaReadLcd(count, image);
    platform::DoEvents();
}

void TransClr(const std::uint8_t* raw, int count, std::uint32_t* pixels) {
    for (int i = 0; i < count; ++i) {
        const std::uint8_t b = raw[i];
        const std::uint32_t r = (b >> 5) * 255 / 7, g = ((b >> 2) & 7) * 255 / 7,
                            bl = (b & 3) * 255 / 3;
        pixels[i] = 0xFF000000u | (r << 16) | (g << 8) | bl;
    }
}

void TransMono(const std::uint8_t* raw, int count, std::uint32_t* pixels) {
    for (int i = 0; i < count; ++i) {
        const std::uint32_t level = (raw[i] & 0x0F) * 17;
        pixels[i] = 0xFF000000u | (level << 16) | (level << 8) | level;
    }
}

QImage LcdPicture(const std::vector<std::uint32_t>& pixels, bool doubled) {
    const int scale = doubled ? 2 : 1;
    QImage image(kLcdWidth * scale, kLcdHeight * scale, QImage::Format_RGB32);
    const std::size_t n = std::min<std::size_t>(pixels.size(), kLcdPixels);
    for (int y = 0; y < kLcdHeight; ++y) {
        const std::size_t row = static_cast<std::size_t>(y) * kLcdWidth;
        if (row + kLcdWidth > n) break;
        const std::uint32_t* src = pixels.data() + row;
        for (int s = 0; s < scale; ++s) {
            auto* dst = reinterpret_cast<std::uint32_t*>(image.scanLine(y * scale + s));
            if (!doubled) {
                std::memcpy(dst, src, kLcdWidth * sizeof(std::uint32_t));
            } else {
                for (int x = 0; x < kLcdWidth; ++x)
                    dst[2 * x] = dst[2 * x + 1] = src[x];
            }
        }
    }
    return image;
}

QByteArray ReadLcdPng() {
    std::vector<std::uint8_t> raw(kLcdReply);
    GetLcdData(raw);
    if (!Connected) return {};
    std::vector<std::uint32_t> pixels(kLcdReply);
    (IsColorDevice() ? TransClr : TransMono)(raw.data(), kLcdPixels, pixels.data());
    QByteArray png;
    QBuffer buffer(&png);
    buffer.open(QIODevice::WriteOnly);
    LcdPicture(pixels, false).save(&buffer, "PNG");
    return png;
}
