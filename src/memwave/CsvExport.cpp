// SPDX-License-Identifier: GPL-3.0-or-later
#include "memwave/CsvExport.h"

#include "platform/SafeFile.h"
#include "shared/ValueText.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstring>
#include <thread>

namespace {

// The longest picture: "-1.00E-100" and a little room.
constexpr int kPictureMax = 16;

char* writeExpPicture(char* out, float value) {
    if (!std::isfinite(value)) value = 0;
    const bool plus = value >= 1; // "E+" shows its sign always, "E-" only when negative
    // Seven significant digits of the 32-bit value, then rounded half away from
    // zero to three, as the picture formatter rounds from the decimal form.
    char buf[32];
    const auto r = std::to_chars(buf, buf + sizeof buf, value, std::chars_format::scientific, 6);
    const char* p = buf;
    const bool negative = *p == '-';
    if (negative) ++p;
    int digits[7];
    digits[0] = p[0] - '0';
    for (int i = 1; i < 7; ++i)
        digits[i] = p[i + 1] - '0';
    // "d.dddddde-XX": the exponent's sign and digits follow the 'e' at p[8].
    int exponent = 0;
    for (const char* q = p + 10; q < r.ptr; ++q)
        exponent = exponent * 10 + (*q - '0');
    if (p[9] == '-') exponent = -exponent;
    int d0 = digits[0], d1 = digits[1], d2 = digits[2];
    if (digits[3] >= 5) {
        if (++d2 == 10) {
            d2 = 0;
            if (++d1 == 10) {
                d1 = 0;
                if (++d0 == 10) {
                    d0 = 1;
                    ++exponent;
                }
            }
        }
    }
    if (d0 == 0 && d1 == 0 && d2 == 0) exponent = 0; // zero has exponent 0
    char* text = out;
    if (negative) *text++ = '-';
    *text++ = static_cast<char>('0' + d0);
    *text++ = '.';
    *text++ = static_cast<char>('0' + d1);
    *text++ = static_cast<char>('0' + d2);
    *text++ = 'E';
    if (exponent < 0)
        *text++ = '-';
    else if (plus)
        *text++ = '+';
    const int e = std::abs(exponent);
    if (e >= 100) *text++ = static_cast<char>('0' + e / 100);
    *text++ = static_cast<char>('0' + e / 10 % 10);
    *text++ = static_cast<char>('0' + e % 10);
    return text;
}

struct ChannelRows {
    const platform::LargeVector<std::int16_t>* data = nullptr;
    std::int64_t n = 0;
    double dt = 0, mid = 0, t0 = 0;
    int a = 100;
    float voltDiv = 0;
    // A channel's volts depend on its raw sample alone: each distinct sample's
    // text is made once, from the lowest sample held up.
    int low = 0;
    std::vector<std::array<char, kPictureMax>> voltText;
    std::vector<std::uint8_t> voltLength;
};

float voltsOf(const ChannelRows& c, int sample) {
    return static_cast<float>((c.a - (sample - 25)) * static_cast<double>(c.voltDiv) / 25);
}

ChannelRows channelRows(const MemoryRecord& r, int channel) {
    ChannelRows c;
    const bool one = channel == 1;
    c.data = one ? &r.Ch1Data : &r.Ch2Data;
    const float rate = r.Alternate ? (one ? r.SampleRate1 : r.SampleRate2) : r.SampleRateMain;
    c.n = r.Alternate ? (one ? r.Points1 : r.Points2) : r.PointsMain;
    c.dt = rate != 0 ? 1.0 / rate : 0;
    c.mid = c.n / 2.0;
    c.t0 = r.Alternate ? (one ? r.TimeOrigin1 : r.TimeOrigin2) : r.TimeOriginMain;
    // The capture's own scale and offset: the view's Volt/Div and drag move
    // the picture, never the exported values. A sheet from before the scale
    // was kept falls back to the view's values.
    const float captureScale = one ? r.CaptureScale1 : r.CaptureScale2;
    c.voltDiv = captureScale != 0 ? captureScale : (one ? r.VoltDiv1 : r.VoltDiv2);
    const float offset = captureScale != 0 ? (one ? r.CaptureOffset1 : r.CaptureOffset2)
                                           : (one ? r.OffsetVolt1 : r.OffsetVolt2);
    c.a = 100 - (c.voltDiv != 0 ? ValueToPoints(offset, c.voltDiv) : 0);
    if (c.data->empty()) return c;
    const auto [mn, mx] = std::minmax_element(c.data->begin(), c.data->end());
    c.low = std::min<int>(*mn, 0); // a row past the samples shows sample 0
    const int high = std::max<int>(*mx, 0);
    c.voltText.resize(static_cast<std::size_t>(high - c.low + 1));
    c.voltLength.resize(c.voltText.size());
    for (int v = c.low; v <= high; ++v) {
        const auto k = static_cast<std::size_t>(v - c.low);
        c.voltLength[k] = static_cast<std::uint8_t>(
            writeExpPicture(c.voltText[k].data(), voltsOf(c, v)) - c.voltText[k].data());
    }
    return c;
}

char* writeTime(char* out, const ChannelRows& c, std::int64_t i) {
    return writeExpPicture(out, static_cast<float>(c.dt * (static_cast<double>(i) - c.mid) + c.t0));
}

char* writeVolts(char* out, const ChannelRows& c, std::int64_t i) {
    const int sample =
        i < static_cast<std::int64_t>(c.data->size()) ? (*c.data)[static_cast<std::size_t>(i)] : 0;
    if (c.voltText.empty()) return writeExpPicture(out, voltsOf(c, sample));
    const auto k = static_cast<std::size_t>(sample - c.low);
    std::memcpy(out, c.voltText[k].data(), kPictureMax);
    return out + c.voltLength[k];
}

// The rows of one export, prepared once: the tables are shared by the
// threads that write the blocks.
class CsvRows {
public:
    explicit CsvRows(const MemoryRecord& r)
        : r_(r), ch1_(r.Ch1On != 0), ch2_(r.Ch2On != 0), c1_(channelRows(r, 1)),
          c2_(channelRows(r, 2)) {}

    void append(QByteArray& out, std::int64_t from, std::int64_t to) const {
        if (to <= from) return;
        const qsizetype start = out.size();
        // Four pictures, their commas and CR LF at the most a row.
        out.resize(start + (to - from) * (4 * (kPictureMax + 1) + 2));
        char* p = out.data() + start;
        for (std::int64_t i = from; i < to; ++i)
            p = row(p, i);
        out.resize(p - out.data());
    }

private:
    char* row(char* p, std::int64_t i) const {
        if (!r_.Alternate) {
            p = writeTime(p, ch1_ ? c1_ : c2_, i);
            if (ch1_) *p++ = ',', p = writeVolts(p, c1_, i);
            if (ch2_) *p++ = ',', p = writeVolts(p, c2_, i);
        } else {
            // Each channel with its own time column; a shorter one leaves its fields empty.
            if (i < c1_.n) p = writeTime(p, c1_, i);
            if (ch1_) {
                *p++ = ',';
                if (i < c1_.n) p = writeVolts(p, c1_, i);
            }
            if (ch2_) {
                *p++ = ',';
                if (i < c2_.n) p = writeTime(p, c2_, i);
                *p++ = ',';
                if (i < c2_.n) p = writeVolts(p, c2_, i);
            }
        }
        *p++ = '\r';
        *p++ = '\n';
        return p;
    }

    const MemoryRecord& r_;
    bool ch1_, ch2_;
    ChannelRows c1_, c2_;
};

} // namespace

void AppendExpPicture(QByteArray& out, float value) {
    char text[kPictureMax];
    out.append(text, writeExpPicture(text, value) - text);
}

QByteArray CsvHeading(const MemoryRecord& r) {
    QByteArray h;
    const bool ch1 = r.Ch1On != 0, ch2 = r.Ch2On != 0;
    if (!r.Alternate) {
        h += "X";
        if (ch1) h += ",CH1";
        if (ch2) h += ",CH2";
        h += "\r\nSecond";
        if (ch1) h += ",Voltage";
        if (ch2) h += ",Voltage";
    } else {
        h += "X(CH1)";
        if (ch1) h += ",CH1";
        if (ch2) h += ",X(CH2),CH2";
        h += "\r\nSecond[S]";
        if (ch1) h += ",Voltage[V]";
        if (ch2) h += ",Second[S],Voltage[V]";
    }
    return h + "\r\n";
}

std::int64_t CsvRowCount(const MemoryRecord& r) {
    // Never more rows than the capture holds samples, whatever a count says.
    auto held = [&](int channel, std::int64_t points) {
        const auto& data = channel == 1 ? r.Ch1Data : r.Ch2Data;
        const bool on = channel == 1 ? r.Ch1On != 0 : r.Ch2On != 0;
        return on ? std::clamp<std::int64_t>(points, 0, static_cast<std::int64_t>(data.size())) : 0;
    };
    if (!r.Alternate) return std::max(held(1, r.PointsMain), held(2, r.PointsMain));
    return std::max(held(1, r.Points1), held(2, r.Points2));
}

void AppendCsvRows(QByteArray& out, const MemoryRecord& r, std::int64_t from, std::int64_t to) {
    CsvRows(r).append(out, from, to);
}

QString ExportCsv(const QString& path, const MemoryRecord& rec,
                  const std::function<bool(int)>& progress) {
    platform::AtomicFileWriter writer;
    if (!writer.open(path)) return writer.error();
    if (!writer.write(CsvHeading(rec))) return writer.error();
    const CsvRows rows(rec);
    const std::int64_t count = CsvRowCount(rec);
    const std::int64_t tenth = std::max<std::int64_t>(1, (count + 9) / 10);
    // Each tenth is cut into a block a core, formatted side by side and
    // written in order; progress and cancel come between tenths.
    const int cores = static_cast<int>(std::clamp(std::thread::hardware_concurrency(), 1u, 8u));
    std::vector<QByteArray> blocks(static_cast<std::size_t>(cores));
    int percent = 0;
    for (std::int64_t from = 0; from < count; from += tenth) {
        const std::int64_t to = std::min(count, from + tenth);
        const std::int64_t share = (to - from + cores - 1) / cores;
        std::vector<std::thread> workers;
        for (int k = 0; k < cores; ++k) {
            const std::int64_t a = from + k * share, b = std::min(to, a + share);
            blocks[static_cast<std::size_t>(k)].clear();
            if (k == 0) continue; // the calling thread takes the first block itself
            workers.emplace_back([&rows, &blocks, k, a, b] {
                rows.append(blocks[static_cast<std::size_t>(k)], a, b);
            });
        }
        rows.append(blocks[0], from, std::min(to, from + share));
        for (std::thread& w : workers)
            w.join();
        for (const QByteArray& block : blocks)
            if (!writer.write(block)) return writer.error();
        percent = std::min(100, percent + 10);
        if (progress && !progress(percent)) {
            writer.cancel();
            return QString();
        }
    }
    if (!writer.commit()) return writer.error();
    return QString();
}
