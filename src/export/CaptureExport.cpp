// SPDX-License-Identifier: GPL-3.0-or-later
#include "export/CaptureExport.h"

#include "platform/LargeArray.h"
#include "platform/SafeFile.h"
#include "replay/RecordFile.h"
#include "shared/LoadLanguage.h"
#include "shared/Picture.h"
#include "shared/ValueText.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <zlib.h>

extern "C" {
#include <libsigrok/libsigrok.h>
}

std::int64_t Capture::samples() const {
    std::int64_t n = hasLogic ? static_cast<std::int64_t>(logic.size()) : 0;
    for (const auto& a : analog)
        n = std::max<std::int64_t>(n, static_cast<std::int64_t>(a.size()));
    return n;
}

std::int64_t Capture::triggerSample() const {
    if (sampleRate <= 0) return -1;
    const double at = std::round(-firstTime * sampleRate);
    return at >= 0 && at < static_cast<double>(samples()) ? static_cast<std::int64_t>(at) : -1;
}

namespace {

bool chinese() {
    return CaptionLanguage() == kLanguageChinese;
}

QString nothingText() {
    return chinese() ? QString::fromUtf8("没有可导出的波形数据。")
                     : QStringLiteral("There is no waveform data to export.");
}

// Volts of a raw sample byte on a screen of 25 rows a division: the ground
// row lies offset rows above the middle (row 100).
float volts(int row, double groundRow, double scale) {
    return static_cast<float>((groundRow - row) * scale / 25);
}

} // namespace

// ---- the captures ------------------------------------------------------------------------------

float MemoryCaptureScale(const MemoryRecord& r, int channel) {
    const bool one = channel == 1;
    return one ? (r.CaptureScale1 != 0 ? r.CaptureScale1 : r.VoltDiv1)
               : (r.CaptureScale2 != 0 ? r.CaptureScale2 : r.VoltDiv2);
}

platform::LargeVector<float> MemoryVolts(const MemoryRecord& r, int channel, std::int64_t from,
                                         std::int64_t count) {
    const bool one = channel == 1;
    const auto& data = one ? r.Ch1Data : r.Ch2Data;
    const float scale = MemoryCaptureScale(r, channel);
    const float offset = one ? (r.CaptureScale1 != 0 ? r.CaptureOffset1 : r.OffsetVolt1)
                             : (r.CaptureScale2 != 0 ? r.CaptureOffset2 : r.OffsetVolt2);
    const double ground = 100 - (scale != 0 ? ValueToPoints(offset, scale) : 0);
    from = std::clamp<std::int64_t>(from, 0, static_cast<std::int64_t>(data.size()));
    count = std::clamp<std::int64_t>(count, 0, static_cast<std::int64_t>(data.size()) - from);
    // volts(sample - 25) as one multiply-add a sample, in float so that the
    // loop converts and scales several samples an instruction.
    const std::int16_t* in = data.data() + from;
    const auto k = static_cast<float>(scale / 25.0);
    const auto g = static_cast<float>((ground + 25) * scale / 25.0);
    platform::LargeVector<float> v;
    v.resize(static_cast<std::size_t>(count));
    float* out = v.data();
    for (std::int64_t i = 0; i < count; ++i)
        out[i] = g - k * static_cast<float>(in[i]);
    return v;
}

Capture CaptureOfMemory(const MemoryRecord& r, QString* error, bool withAnalog) {
    Capture c;
    const double rate = r.Alternate ? r.SampleRate1 : r.SampleRateMain;
    const std::int64_t points = r.Alternate ? r.Points1 : r.PointsMain;
    if ((!r.Loaded && !r.LAValid) || rate <= 0 || points <= 0) {
        if (error) *error = nothingText();
        return c;
    }
    c.sampleRate = rate;
    const double origin = r.Alternate ? r.TimeOrigin1 : r.TimeOriginMain;
    c.firstTime = origin - (points / 2.0) / rate; // the CSV's rule: t = dt (i - n/2) + t0
    auto channel = [&](int n) {
        const auto& data = n == 1 ? r.Ch1Data : r.Ch2Data;
        c.analogNames << QString("CH%1").arg(n);
        c.analog.push_back(MemoryVolts(
            r, n, 0, std::min<std::int64_t>(points, static_cast<std::int64_t>(data.size()))));
        c.voltsPerDiv.push_back(MemoryCaptureScale(r, n));
    };
    if (withAnalog && r.Ch1Valid && r.Ch1On) channel(1);
    if (withAnalog && r.Ch2Valid && r.Ch2On && !r.Alternate) channel(2);
    if (r.LAValid) {
        const int bytes = points > 524288 ? 1 : 2;
        const std::int64_t n =
            std::min<std::int64_t>(points, static_cast<std::int64_t>(r.LAData.size()) / bytes);
        c.hasLogic = true;
        c.logic.resize(static_cast<std::size_t>(n));
        for (std::int64_t i = 0; i < n; ++i) {
            const std::size_t at = static_cast<std::size_t>(i * bytes);
            c.logic[static_cast<std::size_t>(i)] =
                bytes == 2 ? static_cast<std::uint16_t>(r.LAData[at] | (r.LAData[at + 1] << 8))
                           : r.LAData[at];
        }
    }
    if (c.samples() == 0 && error) *error = nothingText();
    return c;
}

Capture CaptureOfScreen(const WaveRecord& r, QString* error) {
    Capture c;
    const double timeScale = ParseTimeText(PointForm(r.TimeScale));
    if (!r.Loaded || timeScale <= 0 || r.ShowXY) {
        if (error) *error = nothingText();
        return c;
    }
    c.sampleRate = 50 / timeScale; // 600 samples over 12 divisions
    c.firstTime = -300 * timeScale / 50 + ParseTimeText(PointForm(r.TimeOffset));
    auto channel = [&](int n) {
        const SampleArray& data = n == 1 ? r.Ch1Samples : r.Ch2Samples;
        const double scale = ParseVoltTextWide(PointForm(n == 1 ? r.Ch1Scale : r.Ch2Scale));
        const double offset = ParseVoltTextWide(PointForm(n == 1 ? r.Ch1Offset : r.Ch2Offset));
        const double ground = 100 - (scale != 0 ? offset * 25 / scale : 0);
        platform::LargeVector<float> v(600);
        for (int i = 0; i < 600; ++i)
            v[static_cast<std::size_t>(i)] = volts(data[i + 1], ground, scale);
        c.analogNames << QString("CH%1").arg(n);
        c.analog.push_back(std::move(v));
        c.voltsPerDiv.push_back(scale);
    };
    if (r.ShowCh1) channel(1);
    if (r.ShowCh2) channel(2);
    if (r.ShowLA) {
        c.hasLogic = true;
        c.logic.resize(600);
        for (int i = 0; i < 600; ++i) // two bytes a column, low byte first
            c.logic[static_cast<std::size_t>(i)] =
                static_cast<std::uint16_t>(r.LASamples[2 * i + 2] * 256 + r.LASamples[2 * i + 1]);
    }
    if (c.samples() == 0 && error) *error = nothingText();
    return c;
}

Capture CaptureOfFrame(const RecordRecord& r, int frame, QString* error) {
    Capture c;
    const double timeScale = ParseTimeText(PointForm(r.TimeDiv));
    if (!r.Loaded || timeScale <= 0 || frame < 1 || frame > r.FrameCount) {
        if (error) *error = nothingText();
        return c;
    }
    c.sampleRate = 25 / timeScale; // 300 samples over 12 divisions
    c.firstTime = -150 / c.sampleRate + ParseTimeText(PointForm(r.Delay));
    const double scale = ParseVoltTextWide(PointForm(r.VoltDiv));
    const double offset = ParseVoltTextWide(PointForm(r.Offset));
    const double ground = 100 - (scale != 0 ? offset * 25 / scale : 0);
    platform::LargeVector<float> v;
    for (int k = 0; k < 300; ++k) {
        const int row = FrameSample(r, frame, k);
        if (row < 0) break;
        v.push_back(volts(row, ground, scale));
    }
    c.analogNames << r.Source;
    c.analog.push_back(std::move(v));
    c.voltsPerDiv.push_back(scale);
    if (c.samples() == 0 && error) *error = nothingText();
    return c;
}

std::vector<float> MathOfScreen(const WaveRecord& r) {
    std::vector<float> v;
    if (!r.Loaded || !r.ShowMath || r.FFTDisplay == WordOn) return v;
    v.resize(600);
    for (int i = 0; i < 600; ++i) // row 100 is the middle, 25 rows a division
        v[static_cast<std::size_t>(i)] = static_cast<float>((100 - r.MathSamples[i + 1]) / 25.0);
    return v;
}

namespace {
// Screen rows of volts at `scale` a division about the middle, clipped to the screen.
int rowOfVolts(double volts, double scale) {
    const double row = std::round(100 - volts * 25 / (scale > 0 ? scale : 1));
    return static_cast<int>(std::clamp(row, 0.0, 199.0));
}
} // namespace

WaveRecord ScreenOfCapture(const Capture& c) {
    WaveRecord s;
    const std::int64_t n = c.samples();
    if (n <= 0 || c.sampleRate <= 0) return s;
    s.Loaded = s.ShowYT = true;
    s.PointCount = 600;
    s.FFTDisplay = s.MathDisplay = WordOff;
    s.TimeScale = NormTime3(QString::number(static_cast<double>(n) / c.sampleRate / 12, 'g', 6));
    s.TimeOffset =
        NormTime3(QString::number(c.firstTime + static_cast<double>(n) / c.sampleRate / 2, 'g', 6));
    // Up to 600 samples: sample k of the screen is the capture's sample
    // k n / 600. A longer capture gives each of the 300 columns the lowest
    // and the highest sample of its span, in the order they came.
    auto sampleAt = [n](int k) { return std::min<std::int64_t>(k * n / 600, n - 1); };
    for (std::size_t a = 0; a < c.analog.size() && a < 2; ++a) {
        const bool one = c.analogNames.value(static_cast<int>(a)) != QLatin1String("CH2");
        const double scale = a < c.voltsPerDiv.size() ? c.voltsPerDiv[a] : 1.0;
        const auto& v = c.analog[a];
        SampleArray& out = one ? s.Ch1Samples : s.Ch2Samples;
        for (int column = 0; column < 300; ++column) {
            float first = v[static_cast<std::size_t>(sampleAt(2 * column))];
            float second = v[static_cast<std::size_t>(sampleAt(2 * column + 1))];
            if (n > 600) {
                const auto from = v.begin() + column * n / 300;
                const auto to = v.begin() + std::max((column + 1) * n / 300, column * n / 300 + 1);
                const auto [low, high] = std::minmax_element(from, to);
                first = low < high ? *low : *high;
                second = low < high ? *high : *low;
            }
            out[2 * column + 1] = rowOfVolts(first, scale);
            out[2 * column + 2] = rowOfVolts(second, scale);
        }
        (one ? s.Ch1Scale : s.Ch2Scale) = NormVolt(QString::number(scale, 'g', 6));
        (one ? s.Ch1Offset : s.Ch2Offset) = NormVolt(QStringLiteral("0"));
        (one ? s.ShowCh1 : s.ShowCh2) = true;
        (one ? s.SysData.Ch1On : s.SysData.Ch2On) = 1;
    }
    if (c.hasLogic) {
        s.ShowLA = true;
        s.SysData.LAOn = 1;
        for (int k = 0; k < 600; ++k) {
            const std::uint16_t word = c.logic[static_cast<std::size_t>(sampleAt(k))];
            s.LASamples[2 * k + 1] = word & 0xFF;
            s.LASamples[2 * k + 2] = (word >> 8) & 0xFF;
        }
        s.SysData.LAEnableMask = static_cast<std::int16_t>(0xFFFF);
        s.SysData.LAActiveChannel = 255;
        s.SysData.LAHeightLow = s.SysData.LAHeightHigh = 8;
        for (int lane = 0; lane < 16; ++lane) // D0 at the bottom, 12 rows a lane
            s.SysData.LAPosition[static_cast<std::size_t>(lane)] =
                static_cast<std::int16_t>(222 - lane * 12);
    }
    s.SysData.DrawStart = 0;
    s.SysData.DrawEnd = 299;
    s.ActiveChannel = s.ShowCh2 && !s.ShowCh1 ? 2 : 1;
    return s;
}

CaptureFormat CaptureFormatOf(const QString& path) {
    const QString suffix = QFileInfo(path).suffix().toLower();
    if (suffix == "sr") return CaptureFormat::Sigrok;
    if (suffix == "vcd") return CaptureFormat::Vcd;
    if (suffix == "csv") return CaptureFormat::PreciseCsv;
    if (suffix == "npz") return CaptureFormat::Npz;
    return CaptureFormat::Unknown;
}

QString CaptureFilter() {
    return chinese()
               ? QString::fromUtf8("sigrok 会话 (*.sr)|*.sr|VCD 文件 (*.vcd)|*.vcd|"
                                   "全精度 CSV (*.csv)|*.csv|NumPy 数组 (*.npz)|*.npz")
               : QStringLiteral("sigrok session (*.sr)|*.sr|Value change dump (*.vcd)|*.vcd|"
                                "CSV at full precision (*.csv)|*.csv|NumPy arrays (*.npz)|*.npz");
}

// ---- the writers ------------------------------------------------------------------------------

namespace {

using Sink = std::function<bool(const QByteArray& bytes)>;

void appendNumber(QByteArray& out, double v) {
    char buf[32];
    const auto r = std::to_chars(buf, buf + sizeof buf, v); // the shortest that reads back
    out.append(buf, r.ptr - buf);
}
void appendNumber(QByteArray& out, float v) {
    char buf[32];
    const auto r = std::to_chars(buf, buf + sizeof buf, v);
    out.append(buf, r.ptr - buf);
}

// Rows in blocks: the sink takes each block, progress follows the rows.
bool writeRows(const Capture& c, const Sink& sink, const std::function<bool(int)>& progress,
               const std::function<void(QByteArray&, std::int64_t)>& row) {
    const std::int64_t n = c.samples();
    QByteArray block;
    block.reserve(1 << 21);
    int percent = -1;
    for (std::int64_t i = 0; i < n; ++i) {
        row(block, i);
        if (block.size() >= (1 << 21) || i + 1 == n) {
            if (!sink(block)) return false;
            block.clear();
            const int now = static_cast<int>((i + 1) * 100 / n);
            if (now != percent) {
                percent = now;
                if (progress && !progress(percent)) return false;
            }
        }
    }
    return true;
}

bool writePreciseCsv(const Capture& c, const Sink& sink, const std::function<bool(int)>& progress) {
    QByteArray head = "Time (s)";
    for (const QString& name : c.analogNames)
        head += "," + name.toUtf8() + " (V)";
    if (c.hasLogic)
        for (int bit = 0; bit < 16; ++bit)
            head += ",D" + QByteArray::number(bit);
    head += "\n";
    if (!sink(head)) return false;
    return writeRows(c, sink, progress, [&c](QByteArray& out, std::int64_t i) {
        appendNumber(out, c.timeOf(i));
        for (const auto& a : c.analog) {
            out += ',';
            if (i < static_cast<std::int64_t>(a.size()))
                appendNumber(out, a[static_cast<std::size_t>(i)]);
        }
        if (c.hasLogic) {
            const std::uint16_t w = i < static_cast<std::int64_t>(c.logic.size())
                                        ? c.logic[static_cast<std::size_t>(i)]
                                        : 0;
            for (int bit = 0; bit < 16; ++bit) {
                out += ',';
                out += (w >> bit) & 1 ? '1' : '0';
            }
        }
        out += '\n';
    });
}

// The VCD's time unit: the largest power of 1000 that counts each sample
// period in whole units.
std::pair<const char*, double> vcdTimescale(double rate) {
    const std::pair<const char*, double> units[] = {{"1 s", 1},      {"1 ms", 1e-3},
                                                    {"1 us", 1e-6},  {"1 ns", 1e-9},
                                                    {"1 ps", 1e-12}, {"1 fs", 1e-15}};
    const double period = 1 / rate;
    for (const auto& u : units) {
        const double ticks = period / u.second;
        if (ticks >= 1 && std::abs(ticks - std::round(ticks)) < 1e-6 * ticks) return u;
    }
    return units[5];
}

bool writeVcd(const Capture& c, const Sink& sink, const std::function<bool(int)>& progress) {
    const auto [unitText, unit] = vcdTimescale(c.sampleRate);
    const double ticksPerSample = 1 / c.sampleRate / unit;
    QByteArray head = "$version Korvane " KORVANE_VERSION " $end\n$timescale ";
    head += unitText;
    head += " $end\n$scope module nq4000l $end\n";
    // Identifiers: '!' onwards for the logic, then the analogue channels.
    if (c.hasLogic)
        for (int bit = 0; bit < 16; ++bit)
            head += "$var wire 1 " + QByteArray(1, char('!' + bit)) + " D" +
                    QByteArray::number(bit) + " $end\n";
    for (int a = 0; a < c.analogNames.size(); ++a)
        head += "$var real 64 " + QByteArray(1, char('!' + 16 + a)) + " " +
                c.analogNames[a].toUtf8() + " $end\n";
    head += "$upscope $end\n$enddefinitions $end\n";
    if (!sink(head)) return false;
    std::uint16_t previous = 0;
    std::vector<float> previousVolts(c.analog.size(), 0);
    const std::int64_t n = c.samples();
    return writeRows(c, sink, progress, [&](QByteArray& out, std::int64_t i) {
        QByteArray changes;
        const std::uint16_t w = c.hasLogic && i < static_cast<std::int64_t>(c.logic.size())
                                    ? c.logic[static_cast<std::size_t>(i)]
                                    : 0;
        if (c.hasLogic)
            for (int bit = 0; bit < 16; ++bit)
                if (i == 0 || ((w ^ previous) >> bit & 1)) {
                    changes += (w >> bit) & 1 ? '1' : '0';
                    changes += char('!' + bit);
                    changes += '\n';
                }
        for (std::size_t a = 0; a < c.analog.size(); ++a) {
            if (i >= static_cast<std::int64_t>(c.analog[a].size())) continue;
            const float v = c.analog[a][static_cast<std::size_t>(i)];
            if (i == 0 || v != previousVolts[a]) {
                changes += 'r';
                appendNumber(changes, v);
                changes += ' ';
                changes += char('!' + 16 + static_cast<int>(a));
                changes += '\n';
                previousVolts[a] = v;
            }
        }
        previous = w;
        auto stamp = [&](std::int64_t sample) {
            out += '#';
            out += QByteArray::number(
                static_cast<qint64>(std::llround(static_cast<double>(sample) * ticksPerSample)));
            out += '\n';
        };
        if (!changes.isEmpty()) {
            stamp(i);
            out += changes;
        }
        if (i + 1 == n) stamp(n); // the capture's end: the last sample lasts its period
    });
}

// ---- .npz: a zip of .npy arrays, stored -----------------------------------------------------

QByteArray npyHeader(const char* descr, const QByteArray& shape) {
    QByteArray dict =
        QByteArray("{'descr': '") + descr + "', 'fortran_order': False, 'shape': " + shape + ", }";
    const int total = 10 + static_cast<int>(dict.size()) + 1;
    dict += QByteArray((64 - total % 64) % 64, ' ') + "\n";
    QByteArray h("\x93NUMPY\x01\x00", 8);
    const auto len = static_cast<std::uint16_t>(dict.size());
    h += char(len & 0xFF);
    h += char(len >> 8);
    return h + dict;
}

template <typename Vector> QByteArray npyArray(const char* descr, const Vector& v) {
    using T = typename Vector::value_type;
    QByteArray a = npyHeader(descr, "(" + QByteArray::number(static_cast<qint64>(v.size())) + ",)");
    a.append(reinterpret_cast<const char*>(v.data()), static_cast<qsizetype>(v.size() * sizeof(T)));
    return a;
}

template <typename T> QByteArray npyScalar(const char* descr, T value) {
    QByteArray a = npyHeader(descr, "()");
    a.append(reinterpret_cast<const char*>(&value), sizeof(T));
    return a;
}

void put16(QByteArray& b, unsigned v) {
    b += char(v & 0xFF);
    b += char((v >> 8) & 0xFF);
}
void put32(QByteArray& b, std::uint32_t v) {
    put16(b, v & 0xFFFF);
    put16(b, v >> 16);
}

bool writeNpz(const Capture& c, const Sink& sink, const std::function<bool(int)>& progress) {
    std::vector<std::pair<QByteArray, QByteArray>> members;
    for (int a = 0; a < c.analogNames.size(); ++a)
        members.emplace_back(c.analogNames[a].toUtf8() + ".npy",
                             npyArray("<f4", c.analog[static_cast<std::size_t>(a)]));
    if (c.hasLogic) members.emplace_back("logic.npy", npyArray("<u2", c.logic));
    members.emplace_back("sample_rate.npy", npyScalar("<f8", c.sampleRate));
    members.emplace_back("first_time.npy", npyScalar("<f8", c.firstTime));
    members.emplace_back("trigger_sample.npy",
                         npyScalar("<i8", static_cast<std::int64_t>(c.triggerSample())));
    members.emplace_back("volts_per_div.npy", npyArray("<f8", c.voltsPerDiv));
    QByteArray central;
    std::uint32_t offset = 0;
    for (std::size_t m = 0; m < members.size(); ++m) {
        const auto& [name, data] = members[m];
        const auto crc = static_cast<std::uint32_t>(crc32(
            0, reinterpret_cast<const Bytef*>(data.constData()), static_cast<uInt>(data.size())));
        const auto size = static_cast<std::uint32_t>(data.size());
        QByteArray local;
        put32(local, 0x04034b50);
        put16(local, 20);
        put16(local, 0); // flags
        put16(local, 0); // stored
        put16(local, 0);
        put16(local, 0x21); // 1980-01-01: reproducible bytes
        put32(local, crc);
        put32(local, size);
        put32(local, size);
        put16(local, static_cast<unsigned>(name.size()));
        put16(local, 0);
        local += name;
        put32(central, 0x02014b50);
        put16(central, 20);
        put16(central, 20);
        put16(central, 0);
        put16(central, 0);
        put16(central, 0);
        put16(central, 0x21);
        put32(central, crc);
        put32(central, size);
        put32(central, size);
        put16(central, static_cast<unsigned>(name.size()));
        put16(central, 0);
        put16(central, 0);
        put16(central, 0);
        put16(central, 0);
        put32(central, 0);
        put32(central, offset);
        central += name;
        if (!sink(local) || !sink(data)) return false;
        offset += static_cast<std::uint32_t>(local.size()) + size;
        if (progress && !progress(static_cast<int>((m + 1) * 100 / members.size()))) return false;
    }
    QByteArray end;
    put32(end, 0x06054b50);
    put16(end, 0);
    put16(end, 0);
    put16(end, static_cast<unsigned>(members.size()));
    put16(end, static_cast<unsigned>(members.size()));
    put32(end, static_cast<std::uint32_t>(central.size()));
    put32(end, offset);
    put16(end, 0);
    return sink(central) && sink(end);
}

// ---- .sr: libsigrok's srzip writer --------------------------------------------------------

// The session as a sigrok device would feed it: a header, the sample rate,
// the logic words and each channel's volts, in blocks, and the end.
QString writeSigrok(const QString& path, const Capture& c,
                    const std::function<bool(int)>& progress) {
    static sr_context* context = [] {
        sr_context* ctx = nullptr;
        return sr_init(&ctx) == SR_OK ? ctx : nullptr;
    }();
    if (!context) return QStringLiteral("libsigrok could not be started");
    const sr_output_module* module = sr_output_find(const_cast<char*>("srzip"));
    if (!module) return QStringLiteral("libsigrok has no srzip writer");
    sr_dev_inst* device = sr_dev_inst_user_new("Korvane", "NQ4000L", KORVANE_VERSION);
    if (c.hasLogic)
        for (int bit = 0; bit < 16; ++bit)
            sr_dev_inst_channel_add(device, bit, SR_CHANNEL_LOGIC,
                                    qPrintable(QString("D%1").arg(bit)));
    std::vector<sr_channel*> analogChannels;
    for (int a = 0; a < c.analogNames.size(); ++a)
        sr_dev_inst_channel_add(device, 16 + a, SR_CHANNEL_ANALOG, qPrintable(c.analogNames[a]));
    for (GSList* l = sr_dev_inst_channels_get(device); l; l = l->next) {
        auto* ch = static_cast<sr_channel*>(l->data);
        if (ch->type == SR_CHANNEL_ANALOG) analogChannels.push_back(ch);
    }
    const sr_output* output =
        sr_output_new(module, nullptr, device, QFile::encodeName(path).constData());
    if (!output) return QStringLiteral("libsigrok could not open the session file");
    GString* ignored = nullptr;
    auto send = [&](int type, const void* payload) {
        sr_datafeed_packet packet{static_cast<std::uint16_t>(type), payload};
        const int result = sr_output_send(output, &packet, &ignored);
        if (ignored) {
            g_string_free(ignored, TRUE);
            ignored = nullptr;
        }
        return result == SR_OK;
    };
    bool ok = true;
    sr_datafeed_header header{1, {}};
    ok = ok && send(SR_DF_HEADER, &header);
    sr_config rate{SR_CONF_SAMPLERATE, g_variant_ref_sink(g_variant_new_uint64(
                                           static_cast<guint64>(std::llround(c.sampleRate))))};
    sr_datafeed_meta meta{g_slist_append(nullptr, &rate)};
    ok = ok && send(SR_DF_META, &meta);
    g_slist_free(meta.config);
    g_variant_unref(rate.data);
    // Equal blocks for every channel, as a device feeds them. (The session
    // format keeps no trigger: its place is in the other formats.)
    const std::int64_t n = c.samples();
    constexpr std::int64_t kBlock = 1 << 20; // few packets: the writer adds each to its zip
    for (std::int64_t from = 0; ok && from < n; from += kBlock) {
        const std::int64_t to = std::min(n, from + kBlock);
        if (c.hasLogic && from < static_cast<std::int64_t>(c.logic.size())) {
            const std::int64_t end =
                std::min<std::int64_t>(to, static_cast<std::int64_t>(c.logic.size()));
            sr_datafeed_logic logic{static_cast<std::uint64_t>((end - from) * 2), 2,
                                    const_cast<std::uint16_t*>(c.logic.data() + from)};
            ok = ok && send(SR_DF_LOGIC, &logic);
        }
        for (std::size_t a = 0; ok && a < c.analog.size(); ++a) {
            const auto& v = c.analog[a];
            if (from >= static_cast<std::int64_t>(v.size())) continue;
            const std::int64_t end =
                std::min<std::int64_t>(to, static_cast<std::int64_t>(v.size()));
            sr_analog_encoding encoding{4, TRUE, TRUE, FALSE, 6, TRUE, {1, 1}, {0, 1}};
            sr_analog_meaning meaning{SR_MQ_VOLTAGE, SR_UNIT_VOLT, static_cast<sr_mqflag>(0),
                                      g_slist_append(nullptr, analogChannels[a])};
            sr_analog_spec shownDigits{6};
            sr_datafeed_analog analog{const_cast<float*>(v.data() + from),
                                      static_cast<std::uint32_t>(end - from), &encoding, &meaning,
                                      &shownDigits};
            ok = ok && send(SR_DF_ANALOG, &analog);
            g_slist_free(meaning.channels);
        }
        if (progress && !progress(static_cast<int>(to * 100 / n))) ok = false;
    }
    ok = ok && send(SR_DF_END, nullptr);
    sr_output_free(output);
    return ok ? QString() : QStringLiteral("the sigrok session could not be written");
}

} // namespace

namespace {
using Writer = bool (*)(const Capture&, const Sink&, const std::function<bool(int)>&);
QByteArray bytesOf(Writer write, const Capture& c) {
    QByteArray out;
    write(c, [&out](const QByteArray& b) { return out += b, true; }, {});
    return out;
}
} // namespace

QByteArray PreciseCsvBytes(const Capture& c) {
    return bytesOf(writePreciseCsv, c);
}

QByteArray VcdBytes(const Capture& c) {
    return bytesOf(writeVcd, c);
}

QByteArray NpzBytes(const Capture& c) {
    return bytesOf(writeNpz, c);
}

QString WriteCapture(const QString& path, const Capture& c, CaptureFormat format,
                     const std::function<bool(int)>& progress) {
    if (c.samples() == 0 || c.sampleRate <= 0) return nothingText();
    if (format == CaptureFormat::Sigrok) {
        // libsigrok writes its zip by name: into a folder of our own, then
        // through the safe writer to the place asked for.
        QTemporaryDir dir;
        if (!dir.isValid()) return dir.errorString();
        const QString scratch = dir.filePath("capture.sr");
        const QString error = writeSigrok(scratch, c, progress);
        if (!error.isEmpty()) return error;
        QFile f(scratch);
        if (!f.open(QIODevice::ReadOnly)) return f.errorString();
        return platform::WriteFileAtomically(path, f.readAll());
    }
    platform::AtomicFileWriter writer;
    if (!writer.open(path)) return writer.error();
    const Sink sink = [&writer](const QByteArray& b) { return writer.write(b); };
    bool done = false;
    switch (format) {
    case CaptureFormat::Vcd:
        done = writeVcd(c, sink, progress);
        break;
    case CaptureFormat::PreciseCsv:
        done = writePreciseCsv(c, sink, progress);
        break;
    case CaptureFormat::Npz:
        done = writeNpz(c, sink, progress);
        break;
    default:
        writer.cancel();
        return chinese() ? QString::fromUtf8("未知的文件类型：") + path
                         : QStringLiteral("Unknown kind of file: ") + path;
    }
    if (!done) {
        const QString error = writer.error();
        writer.cancel();
        return error; // empty when the user stopped it
    }
    return writer.commit() ? QString() : writer.error();
}
