// SPDX-License-Identifier: GPL-3.0-or-later
#include "memwave/CsvExport.h"

#include "platform/SafeFile.h"
#include "shared/ValueText.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>

void AppendExpPicture(QByteArray& out, float value) {
    if (!std::isfinite(value)) value = 0;
    const bool plus = value >= 1; // "E+" shows its sign always, "E-" only when negative
    // Seven significant digits of the 32-bit value, then rounded half away from
    // zero to three, as the picture formatter rounds from the decimal form.
    char buf[32];
    const auto r = std::to_chars(buf, buf + sizeof buf, value, std::chars_format::scientific, 6);
    *r.ptr = '\0';
    const char* p = buf;
    const bool negative = *p == '-';
    if (negative) ++p;
    int digits[7];
    digits[0] = p[0] - '0';
    for (int i = 1; i < 7; ++i)
        digits[i] = p[i + 1] - '0';
    int exponent = std::atoi(std::strchr(p, 'e') + 1);
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
    char text[16];
    int n = 0;
    if (negative) text[n++] = '-';
    text[n++] = static_cast<char>('0' + d0);
    text[n++] = '.';
    text[n++] = static_cast<char>('0' + d1);
    text[n++] = static_cast<char>('0' + d2);
    text[n++] = 'E';
    if (exponent < 0)
        text[n++] = '-';
    else if (plus)
        text[n++] = '+';
    const int e = std::abs(exponent);
    if (e >= 100) text[n++] = static_cast<char>('0' + e / 100);
    text[n++] = static_cast<char>('0' + e / 10 % 10);
    text[n++] = static_cast<char>('0' + e % 10);
    out.append(text, n);
}

namespace {

struct ChannelRows {
    const std::vector<std::int16_t>* data = nullptr;
    std::int64_t n = 0;
    double dt = 0, mid = 0, t0 = 0;
    int a = 100;
    float voltDiv = 0;
};

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
    return c;
}

void appendTime(QByteArray& out, const ChannelRows& c, std::int64_t i) {
    AppendExpPicture(out, static_cast<float>(c.dt * (static_cast<double>(i) - c.mid) + c.t0));
}

void appendVolts(QByteArray& out, const ChannelRows& c, std::int64_t i) {
    const int sample =
        i < static_cast<std::int64_t>(c.data->size()) ? (*c.data)[static_cast<std::size_t>(i)] : 0;
    const int b = sample - 25;
    AppendExpPicture(out, static_cast<float>((c.a - b) * static_cast<double>(c.voltDiv) / 25));
}

} // namespace

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
    const bool ch1 = r.Ch1On != 0, ch2 = r.Ch2On != 0;
    const ChannelRows c1 = channelRows(r, 1), c2 = channelRows(r, 2);
    for (std::int64_t i = from; i < to; ++i) {
        if (!r.Alternate) {
            appendTime(out, ch1 ? c1 : c2, i);
            if (ch1) {
                out += ',';
                appendVolts(out, c1, i);
            }
            if (ch2) {
                out += ',';
                appendVolts(out, c2, i);
            }
        } else {
            // Each channel with its own time column; a shorter one leaves its fields empty.
            if (i < c1.n) appendTime(out, c1, i);
            if (ch1) {
                out += ',';
                if (i < c1.n) appendVolts(out, c1, i);
            }
            if (ch2) {
                out += ',';
                if (i < c2.n) appendTime(out, c2, i);
                out += ',';
                if (i < c2.n) appendVolts(out, c2, i);
            }
        }
        out += "\r\n";
    }
}

QString ExportCsv(const QString& path, const MemoryRecord& rec,
                  const std::function<bool(int)>& progress) {
    platform::AtomicFileWriter writer;
    if (!writer.open(path)) return writer.error();
    QByteArray buffer = CsvHeading(rec);
    const std::int64_t rows = CsvRowCount(rec);
    const std::int64_t tenth = std::max<std::int64_t>(1, rows / 10);
    int percent = 0;
    for (std::int64_t from = 0; from < rows; from += tenth) {
        const std::int64_t to = std::min(rows, from + tenth);
        // In chunks of a tenth, flushed as they fill: memory stays small.
        for (std::int64_t chunk = from; chunk < to; chunk += 65536) {
            AppendCsvRows(buffer, rec, chunk, std::min(to, chunk + 65536));
            if (buffer.size() > (1 << 20)) {
                if (!writer.write(buffer)) return writer.error();
                buffer.clear();
            }
        }
        percent = std::min(100, percent + 10);
        if (progress && !progress(percent)) {
            writer.cancel();
            return QString();
        }
    }
    if (!writer.write(buffer) || !writer.commit()) return writer.error();
    return QString();
}
