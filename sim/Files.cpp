// SPDX-License-Identifier: GPL-3.0-or-later
#include "Files.h"

#include "Buses.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <zlib.h>

namespace sim {

namespace {

void put(std::vector<std::uint8_t>& b, std::size_t at, std::uint64_t v, int bytes) {
    for (int i = 0; i < bytes; ++i)
        b[at + static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(v >> (8 * i));
}

void putFloat(std::vector<std::uint8_t>& b, std::size_t at, float v) {
    std::memcpy(&b[at], &v, 4);
}

std::uint8_t rowByte(const Generator& g, double t, double voltsPerDiv, int offsetRows) {
    const double row = 100 - offsetRows - g.value(t) * 25 / voltsPerDiv;
    return static_cast<std::uint8_t>(std::clamp(std::lround(row) + 25, 0L, 255L));
}

std::int64_t picoseconds(double seconds) {
    return static_cast<std::int64_t>(std::llround(seconds * 1e12));
}

} // namespace

bool WriteFileAtomically(const std::string& path, const std::vector<std::uint8_t>& bytes,
                         std::string* error) {
    const std::string temporary = path + ".part";
    std::FILE* f = std::fopen(temporary.c_str(), "wb");
    if (!f) {
        if (error) *error = "cannot write " + temporary + ": " + std::strerror(errno);
        return false;
    }
    const bool written = std::fwrite(bytes.data(), 1, bytes.size(), f) == bytes.size();
    const bool closed = std::fclose(f) == 0;
    if (!written || !closed || std::rename(temporary.c_str(), path.c_str()) != 0) {
        if (error) *error = "cannot write " + path + ": " + std::strerror(errno);
        std::remove(temporary.c_str());
        return false;
    }
    return true;
}

bool WriteRecordFile(const std::string& path, const RecordFileContent& s, std::string* error) {
    if (s.frames < 1 || s.frames > 30000) {
        if (error) *error = "frames must lie between 1 and 30000";
        return false;
    }
    std::vector<std::uint8_t> head(56, 0);
    put(head, 0, 0xBABA, 2);
    put(head, 8, static_cast<std::uint32_t>(s.sourceField >= 0 ? s.sourceField : s.channel - 1), 4);
    put(head, 12, s.channel == 2 ? 1 : 0, 4);
    put(head, 16, static_cast<std::uint16_t>(s.firstFrame), 2);
    put(head, 18, static_cast<std::uint16_t>(s.firstFrame + s.frames - 1), 2);
    const auto microvolts = static_cast<std::uint32_t>(std::llround(s.voltsPerDiv * 1e6));
    const std::size_t scaleAt = s.channel == 2 ? 32 : 24;
    head[s.channel == 2 ? 30 : 20] = s.channelValid ? 1 : 0;
    put(head, scaleAt, microvolts, 4);
    put(head, scaleAt + 4, static_cast<std::uint16_t>(static_cast<std::int16_t>(s.offsetRows)), 2);
    put(head, 40, static_cast<std::uint64_t>(picoseconds(s.secondsPerDiv)), 8);
    put(head, 48, static_cast<std::uint64_t>(picoseconds(s.delaySeconds)), 8);

    // Frames of 1024 bytes: a frame header of the instrument's, 300 samples at 214.
    std::vector<std::uint8_t> frames(static_cast<std::size_t>(s.frames) * 1024, 0);
    const double period = s.generator.frequency > 0 ? 1 / s.generator.frequency : 1e-3;
    for (int n = 0; n < s.frames; ++n) {
        std::uint8_t* frame = &frames[static_cast<std::size_t>(n) * 1024];
        frame[0] = 0x5A;
        frame[2] = static_cast<std::uint8_t>(n & 0xFF);
        frame[3] = static_cast<std::uint8_t>(n >> 8);
        const double start = n * period / 7; // the picture drifts from frame to frame
        for (int k = 0; k < 300; ++k)        // rows of the screen: 25 top, 224 bottom
            frame[214 + k] = std::clamp<std::uint8_t>(
                rowByte(s.generator, start + (k - 150) * s.secondsPerDiv / 25, s.voltsPerDiv,
                        s.offsetRows),
                25, 224);
    }
    uLongf packedSize = compressBound(static_cast<uLong>(frames.size()));
    std::vector<std::uint8_t> packed(packedSize);
    if (compress(packed.data(), &packedSize, frames.data(), static_cast<uLong>(frames.size())) !=
        Z_OK) {
        if (error) *error = "compression failed";
        return false;
    }
    packed.resize(packedSize);
    head.insert(head.end(), packed.begin(), packed.end());
    return WriteFileAtomically(path, head, error);
}

bool WriteWaveformFile(const std::string& path, const WaveformFileContent& s, std::string* error) {
    if (s.points < 1 || s.points > 2000000) {
        if (error) *error = "points must lie between 1 and 2000000";
        return false;
    }
    const int points2 = s.alternate && s.points2 > 0 ? s.points2 : s.points;
    // Built in the current layout, then cut down for the older head.
    std::vector<std::uint8_t> h(272, 0);
    put(h, 0, 0xA5A5, 2);
    put(h, 28, static_cast<std::uint32_t>(s.points), 4);
    put(h, 36, static_cast<std::uint32_t>(std::llround(s.ch1VoltsPerDiv * 1e6)), 4);
    put(h, 40, static_cast<std::uint16_t>(static_cast<std::int16_t>(s.ch1OffsetRows)), 2);
    h[49] = s.ch1 ? 1 : 0;
    put(h, 52, static_cast<std::uint32_t>(std::llround(s.ch1VoltsPerDiv * 1e6)), 4);
    put(h, 60, static_cast<std::uint32_t>(std::llround(s.ch2VoltsPerDiv * 1e6)), 4);
    put(h, 64, static_cast<std::uint16_t>(static_cast<std::int16_t>(s.ch2OffsetRows)), 2);
    h[73] = s.ch2 ? 1 : 0;
    put(h, 76, static_cast<std::uint32_t>(std::llround(s.ch2VoltsPerDiv * 1e6)), 4);
    put(h, 84, static_cast<std::uint64_t>(picoseconds(s.secondsPerDiv)), 8);
    put(h, 92, static_cast<std::uint64_t>(picoseconds(s.delaySeconds)), 8);
    const float rate =
        s.sampleRate > 0 ? s.sampleRate : static_cast<float>(s.points / (12 * s.secondsPerDiv));
    putFloat(h, 100, rate);
    // The time origin is the time of the middle sample, the one at t = 0 below.
    put(h, 112, 0, 8);
    const bool digital = s.digital && !s.olderHead;
    h[120] = digital ? 1 : 0;
    put(h, 122, s.digitalMask, 2);
    for (int n = 0; n < 16; ++n)
        h[124 + static_cast<std::size_t>(n)] = static_cast<std::uint8_t>(n);
    h[142] = s.alternate ? 4 : 0;
    put(h, 232, static_cast<std::uint32_t>(points2), 4);
    put(h, 236, static_cast<std::uint64_t>(picoseconds(s.secondsPerDiv2)), 8);
    put(h, 244, static_cast<std::uint64_t>(picoseconds(s.delaySeconds)), 8);
    putFloat(h, 252, static_cast<float>(points2 / (12 * s.secondsPerDiv2)));
    put(h, 264, 0, 8);

    std::vector<std::uint8_t> file;
    if (s.olderHead) {
        // 0..119 stay, 142..147 go to 120..125, 148..271 to 128..251.
        file.assign(252, 0);
        std::copy(h.begin(), h.begin() + 120, file.begin());
        put(file, 0, 0xA5A1, 2);
        std::copy(h.begin() + 142, h.begin() + 148, file.begin() + 120);
        std::copy(h.begin() + 148, h.end(), file.begin() + 128);
    } else {
        file = h;
    }
    file.insert(file.end(), 4, 0); // four bytes the reader skips
    const int correction = s.olderHead ? 25 : 0;
    auto section = [&](const Generator& g, double vpd, int offsetRows, double spd, int n) {
        for (int k = 0; k < n; ++k) {
            const double t = (k - n / 2.0) * (12 * spd) / n;
            file.push_back(static_cast<std::uint8_t>(
                std::max(0, rowByte(g, t, vpd, offsetRows) - correction)));
        }
    };
    if (s.ch1)
        section(s.ch1Generator, s.ch1VoltsPerDiv, s.ch1OffsetRows, s.secondsPerDiv, s.points);
    if (s.ch2)
        section(s.ch2Generator, s.ch2VoltsPerDiv, s.ch2OffsetRows,
                s.alternate ? s.secondsPerDiv2 : s.secondsPerDiv, points2);
    if (digital) {
        const bool oneByte = s.points > 524288;
        // The buses on D0..D6 at the file's rate; a counter above them.
        for (int k = 0; k < s.points; ++k) {
            const auto word = static_cast<std::uint16_t>((k / 4) << kBusLines |
                                                         BusLines(k / static_cast<double>(rate)));
            file.push_back(static_cast<std::uint8_t>(word & 0xFF));
            if (!oneByte) file.push_back(static_cast<std::uint8_t>(word >> 8));
        }
    }
    return WriteFileAtomically(path, file, error);
}

} // namespace sim
