// SPDX-License-Identifier: GPL-3.0-or-later
#include "sheet/SheetFile.h"

#include "platform/Faults.h"
#include "platform/FileDialog.h"
#include "platform/MsgBox.h"
#include "platform/Pacing.h"
#include "platform/SafeFile.h"
#include "platform/TextCodec.h"
#include "shared/AppIdentity.h"
#include "shared/FileFunc.h"
#include "shared/LoadLanguage.h"
#include "shared/Picture.h"
#include "shared/StringRES.h"
#include "sheet/DataSheet.h"
#include "sheet/DocWindow.h"
#include "sheet/SheetRecords.h"

#include <QFile>
#include <QProgressDialog>
#include <QStringDecoder>
#include <algorithm>
#include <atomic>
#include <charconv>
#include <cstring>
#include <limits>
#include <span>
#include <stdexcept>
#include <thread>
#include <type_traits>

namespace {

// ---- writing ------------------------------------------------------------------------

class SheetWriter {
public:
    QByteArray out;
    // Where the text goes in pieces (a file being written); none: it all stays in out.
    std::function<bool(const QByteArray&)> sink;
    bool failed = false;
    // Hands what is in out to the sink once it is large: the file is written
    // (and its disk writing starts) while the rest is still being formatted.
    void spill(bool always = false) {
        if (!sink || failed || (!always && out.size() < (8 << 20))) return;
        failed = !sink(out);
        out.clear();
    }
    void str(const QString& s) {
        // The format has no escape: a quote inside a text would end it early.
        QString t = s;
        t.replace(QLatin1Char('"'), QLatin1Char('\''));
        out += '"';
        out += t.toUtf8();
        out += "\"\r\n";
    }
    void boolean(bool b) { out += b ? "#TRUE#\r\n" : "#FALSE#\r\n"; }
    template <typename T> void integer(T v) {
        char buf[24];
        const auto r = std::to_chars(buf, buf + sizeof buf, static_cast<long long>(v));
        out.append(buf, r.ptr - buf);
        out += "\r\n";
    }
    void f32(float v) { real(v, 7); }
    void f64(double v) { real(v, 15); }

    // Many integers, one a line, as integer() writes each: a long run is cut
    // into a block a core, formatted side by side and appended in order.
    template <typename T> void integers(const T* data, std::size_t n) {
        constexpr std::size_t kSerial = 1 << 18;
        const std::size_t cores =
            std::clamp<std::size_t>(std::thread::hardware_concurrency(), 1, 8);
        if (n < kSerial || cores == 1) {
            appendBlock(out, data, n);
            return;
        }
        std::vector<QByteArray> blocks(cores);
        std::vector<std::thread> workers;
        const std::size_t share = (n + cores - 1) / cores;
        for (std::size_t k = 1; k < cores; ++k) {
            const std::size_t a = std::min(n, k * share), b = std::min(n, a + share);
            workers.emplace_back(
                [&blocks, data, k, a, b] { appendBlock(blocks[k], data + a, b - a); });
        }
        appendBlock(out, data, std::min(n, share));
        for (std::thread& w : workers)
            w.join();
        for (std::size_t k = 1; k < cores; ++k)
            out += blocks[k];
    }

private:
    template <typename T> static void appendBlock(QByteArray& to, const T* data, std::size_t n) {
        const qsizetype start = to.size();
        to.resize(start + static_cast<qsizetype>(n) * 13); // "-2147483648\r\n" at the most
        char* p = to.data() + start;
        for (std::size_t i = 0; i < n; ++i) {
            p = std::to_chars(p, p + 11, static_cast<long long>(data[i])).ptr;
            *p++ = '\r';
            *p++ = '\n';
        }
        to.resize(p - to.data());
    }

    template <typename T> void real(T v, int digits) {
        char buf[40];
        const auto r = std::to_chars(buf, buf + sizeof buf, v, std::chars_format::general, digits);
        for (char* p = buf; p < r.ptr; ++p)
            if (*p == 'e') *p = 'E';
        out.append(buf, r.ptr - buf);
        out += "\r\n";
    }
};

// ---- reading --------------------------------------------------------------------------

class SheetFault : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

class SheetReader {
public:
    SheetReader(const QByteArray& b, bool utf8)
        : p_(b.constData()), end_(p_ + b.size()), utf8_(utf8) {}
    SheetReader(const char* begin, const char* end, bool utf8)
        : p_(begin), end_(end), utf8_(utf8) {}

    // n integers, one a line, into out: the lines are cut into a run a core
    // and read side by side. False, with nothing taken, when the lines are
    // not all there or one does not read; the caller then reads them one by
    // one, which says what is wrong where.
    template <typename T> bool integerLines(T* out, std::size_t n) {
        if (n == 0) return true;
        const std::size_t cores =
            std::clamp<std::size_t>(std::thread::hardware_concurrency(), 1, 8);
        const std::size_t share = (n + cores - 1) / cores;
        std::vector<const char*> cuts{p_};
        for (std::size_t line = 0; line < n; line += share) {
            const char* next = afterLines(cuts.back(), std::min(share, n - line));
            if (!next) return false;
            cuts.push_back(next);
        }
        std::atomic<bool> good{true};
        auto run = [&](std::size_t k) {
            SheetReader part(cuts[k], cuts[k + 1], utf8_);
            const std::size_t first = k * share, last = std::min(n, first + share);
            try {
                for (std::size_t i = first; i < last; ++i)
                    out[i] = part.integer<T>();
                if (part.p_ != part.end_) good = false;
            } catch (const SheetFault&) {
                good = false;
            }
        };
        std::vector<std::thread> workers;
        for (std::size_t k = 1; k + 1 < cuts.size(); ++k)
            workers.emplace_back(run, k);
        run(0);
        for (std::thread& w : workers)
            w.join();
        if (good) p_ = cuts.back();
        return good;
    }

    QString str() {
        skipBlanks();
        if (p_ < end_ && *p_ == '"') {
            const char* start = ++p_;
            while (p_ < end_ && *p_ != '"')
                ++p_;
            if (p_ >= end_) throw SheetFault("Input past end of file");
            const QByteArray raw(start, p_ - start);
            ++p_;
            endValue();
            return decode(raw);
        }
        return decode(bare());
    }
    bool boolean() {
        const QByteArray t = bare().trimmed();
        if (t == "#TRUE#") return true;
        if (t == "#FALSE#") return false;
        throw SheetFault("Type mismatch");
    }
    template <typename T> T integer() {
        // The common field, digits and a line end, read in place; anything
        // else goes the long way, which says what is wrong with it.
        const char* start = p_;
        skipBlanks();
        long long fast = 0;
        const auto f = std::from_chars(p_, end_, fast);
        if (f.ec == std::errc() && fast >= std::numeric_limits<T>::min() &&
            fast <= std::numeric_limits<T>::max()) {
            const char* q = f.ptr;
            if (q < end_ && *q == '\r') ++q;
            if (q < end_ && *q == '\n') {
                p_ = q + 1;
                return static_cast<T>(fast);
            }
        }
        p_ = start;
        const QByteArray t = bare().trimmed();
        long long v = 0;
        const auto r = std::from_chars(t.constData(), t.constData() + t.size(), v);
        if (r.ec != std::errc() || r.ptr != t.constData() + t.size())
            throw SheetFault("Type mismatch");
        if (v < std::numeric_limits<T>::min() || v > std::numeric_limits<T>::max())
            throw SheetFault("Overflow");
        return static_cast<T>(v);
    }
    float f32() { return real<float>(); }
    double f64() { return real<double>(); }
    // Bytes not read yet: every value takes at least one (its delimiter), so
    // a count above this is a lie of the file, refused before any allocation.
    qint64 remaining() const { return end_ - p_; }
    double progress(qsizetype total) const {
        return total > 0 ? 1.0 - double(end_ - p_) / total : 1;
    }

private:
    // Just past the given number of line ends from `from`; nullptr when the
    // text has fewer. Whole blocks are counted (the compiler makes that a
    // vector loop), so finding the end of a million lines costs little.
    const char* afterLines(const char* from, std::size_t lines) const {
        constexpr std::ptrdiff_t kBlock = 1 << 16;
        const char* q = from;
        while (end_ - q > kBlock) {
            const auto inBlock = static_cast<std::size_t>(std::count(q, q + kBlock, '\n'));
            if (inBlock >= lines) break;
            lines -= inBlock;
            q += kBlock;
        }
        for (; lines > 0; --lines) {
            q = static_cast<const char*>(std::memchr(q, '\n', static_cast<std::size_t>(end_ - q)));
            if (!q) return nullptr;
            ++q;
        }
        return q;
    }

    void skipBlanks() {
        while (p_ < end_ && (*p_ == ' ' || *p_ == '\t'))
            ++p_;
    }
    // A value ends at a comma or a line end; the delimiter is taken.
    void endValue() {
        skipBlanks();
        if (p_ < end_ && *p_ == ',') {
            ++p_;
            return;
        }
        if (p_ < end_ && *p_ == '\r') ++p_;
        if (p_ < end_ && *p_ == '\n') ++p_;
    }
    QByteArray bare() {
        skipBlanks();
        if (p_ >= end_) throw SheetFault("Input past end of file");
        const char* start = p_;
        while (p_ < end_ && *p_ != ',' && *p_ != '\r' && *p_ != '\n')
            ++p_;
        QByteArray t(start, p_ - start);
        endValue();
        return t;
    }
    template <typename T> T real() {
        QByteArray t = bare().trimmed();
        if (t.startsWith('+')) t.remove(0, 1);
        T v = 0;
        const auto r = std::from_chars(t.constData(), t.constData() + t.size(), v);
        if (r.ec != std::errc() || r.ptr != t.constData() + t.size())
            throw SheetFault("Type mismatch");
        return v;
    }
    QString decode(const QByteArray& raw) const {
        return utf8_ ? QString::fromUtf8(raw) : DecodeSheetText(raw);
    }

    const char* p_;
    const char* end_;
    bool utf8_;
};

// ---- the sections: one routine each, the same for writing and reading ---------------------

// The field order of a section, written once: a visitor writes or reads it.
struct Write {
    SheetWriter& w;
    void str(const QString& s) { w.str(s); }
    // A display text of a number ("2,00V" under a comma locale): the file
    // keeps the point, so a sheet reads the same on every machine.
    void value(const QString& s) { w.str(PointForm(s)); }
    void boolean(bool b) { w.boolean(b); }
    template <typename T> void integer(T v) { w.integer(v); }
    void f32(float v) { w.f32(v); }
    void f64(double v) { w.f64(v); }
};
struct Read {
    SheetReader& r;
    void str(QString& s) { s = r.str(); }
    void value(QString& s) { s = ShownForm(r.str()); }
    void boolean(bool& b) { b = r.boolean(); }
    template <typename T> void integer(T& v) { v = r.integer<T>(); }
    void f32(float& v) { v = r.f32(); }
    void f64(double& v) { v = r.f64(); }
};

template <typename IO, typename SysData> void systemData(IO& io, SysData& d) {
    io.integer(d.DrawStart);
    io.integer(d.DrawEnd);
    io.integer(d.AltStart1);
    io.integer(d.AltEnd1);
    io.integer(d.AltStart2);
    io.integer(d.AltEnd2);
    io.integer(d.RollMode);
    io.integer(d.Ch1On);
    io.integer(d.Ch2On);
    io.integer(d.MathOn);
    io.integer(d.SysByte16);
    io.f32(d.SysFloat20);
    io.integer(d.SysInt24);
    io.f32(d.SysFloat28);
    io.integer(d.SysInt32);
    io.integer(d.FFTOn);
    io.integer(d.SysByte35);
    io.integer(d.SysByte36);
    io.integer(d.FFTFullScreen);
    io.integer(d.SysByte38);
    io.f32(d.SysFloat40);
    io.integer(d.SysInt44);
    io.integer(d.SysInt46);
    io.f32(d.SysFloat48);
    io.integer(d.SysInt52);
    io.f32(d.SysFloat56);
    io.integer(d.SysInt60);
    io.f32(d.SysFloat64);
    io.integer(d.SysInt68);
    io.integer(d.LAOn);
    io.integer(d.LAEnableMask);
    for (auto& position : d.LAPosition)
        io.integer(position);
    io.integer(d.LAActiveChannel);
    io.integer(d.LAHeightLow);
    io.integer(d.LAHeightHigh);
}

template <typename IO, typename Rec> void waveFields(IO& io, Rec& r) {
    io.str(r.Name);
    io.boolean(r.Loaded);
    io.str(r.TriggerMode);
    io.integer(r.PointCount);
    io.boolean(r.Flag36);
    io.boolean(r.ShowYT);
    io.boolean(r.ShowRoll);
    io.integer(r.Int42);
    io.integer(r.Int44);
    for (auto* s :
         {&r.Ch1Offset, &r.Ch2Offset, &r.Ch1Scale, &r.Ch2Scale, &r.TimeScale, &r.TimeOffset,
          &r.AltTimeScale1, &r.AltTimeScale2, &r.AltTimeOffset1, &r.AltTimeOffset2})
        io.value(*s);
    io.str(r.Date);
    io.integer(r.ActiveChannel);
    for (auto* b :
         {&r.ColorDisplay, &r.GridOn, &r.SplitScreen, &r.BestFit, &r.Flag142, &r.SelCh1, &r.SelCh2,
          &r.SelMath, &r.SelLA, &r.ShowCh1, &r.ShowCh2, &r.ShowMath, &r.ShowLA})
        io.boolean(*b);
    systemData(io, r.SysData);
    io.boolean(r.ShowXY);
    io.str(r.MathDisplay);
    io.str(r.FFTDisplay);
}

// The samples of a loaded wave: the channels (interleaved when both), the
// digital bytes, then math or FFT by the current language's ON word.
template <typename IO, typename Rec> void waveSamples(IO& io, Rec& r) {
    if (r.ShowCh1 && r.ShowCh2) {
        for (int i = 1; i <= 1024; ++i) {
            io.integer(r.Ch1Samples[i]);
            io.integer(r.Ch2Samples[i]);
        }
    } else if (r.ShowCh1) {
        for (int i = 1; i <= 1024; ++i)
            io.integer(r.Ch1Samples[i]);
    } else if (r.ShowCh2) {
        for (int i = 1; i <= 1024; ++i)
            io.integer(r.Ch2Samples[i]);
    }
    if (r.ShowLA)
        for (int i = 1; i <= 2048; ++i)
            io.integer(r.LASamples[i]);
    if (r.ShowMath) {
        auto& samples = r.FFTDisplay != WordOn ? r.MathSamples : r.FFTSamples;
        for (int i = 1; i <= 1024; ++i)
            io.integer(samples[i]);
    }
}

template <typename IO, typename Rec> void measureSection(IO& io, Rec& r) {
    io.str(r.Name);
    io.boolean(r.Loaded);
    io.str(r.SettingText);
    if (!r.Loaded) return;
    for (auto& item : r.Items) {
        io.value(item.Text);
        io.boolean(item.LimitEnabled);
        io.f64(item.OverLimit);
        io.f64(item.UnderLimit);
    }
}

template <typename IO, typename Rec> void recordFields(IO& io, Rec& r) {
    io.str(r.Name);
    io.boolean(r.HasSamples);
    io.boolean(r.Loaded);
    io.boolean(r.ColorMode);
    io.str(r.FilePath);
    io.str(r.Source);
    io.boolean(r.Used);
    io.integer(r.FirstFrame);
    io.integer(r.FrameCount);
    io.integer(r.Status);
    io.integer(r.CurrentFrame);
    io.boolean(r.Loop);
    io.value(r.TimeDiv);
    io.value(r.Delay);
    io.value(r.VoltDiv);
    io.value(r.Offset);
    io.f64(r.IntervalSeconds);
}

// The memory wave's fixed part: the fields in the file's groups.
template <typename IO, typename Rec>
void memoryFields(IO& io, Rec& r, bool& reserved, QString& reservedText, float& reservedFloat,
                  std::int16_t& reservedShort, double& reservedDouble, std::uint8_t& reservedByte) {
    io.str(r.Name);
    io.str(r.FilePath);
    io.boolean(r.Loaded);
    io.str(r.TriggerMode);
    io.integer(r.ScreenPoints);
    io.boolean(r.Alternate);
    for (auto* f : {&r.SampleRateMain, &r.SampleRate1, &r.SampleRate2, &r.OffsetVolt1,
                    &r.OffsetVolt2, &r.VoltDiv1})
        io.f32(*f);
    io.integer(r.Ch1Extra);
    io.integer(r.Ch2Extra);
    for (auto* f : {&r.VoltDiv2, &r.Ch1ScaleStored, &r.Ch2ScaleStored})
        io.f32(*f);
    for (auto* d : {&r.TimeDiv, &r.Delay, &r.TimeDiv1, &r.Delay1, &r.TimeDiv2, &r.Delay2,
                    &r.TimeOriginMain, &r.TimeOrigin1, &r.TimeOrigin2, &r.TimeExtra})
        io.f64(*d);
    // Fourteen booleans: thirteen, and the thirteenth again.
    bool* flags[13] = {&r.Ch1Valid, &r.Ch2Valid, &r.LAValid,  &r.ColorDisplay, &r.GridOn,
                       &r.Used,     &reserved,   &reserved,   &reserved,       &reserved,
                       &reserved,   &reserved,   &r.Alternate};
    for (bool* b : flags)
        io.boolean(*b);
    io.boolean(r.Alternate);
    io.integer(r.Ch1On);
    io.integer(r.Ch2On);
    io.integer(r.LAOn);
    io.integer(r.LAEnableMask);
    for (auto& row : r.LAPositionRow)
        io.integer(row);
    io.integer(r.LASetting1);
    io.integer(r.LASetting2);
    io.integer(r.LASetting3);
    io.boolean(reserved);
    io.str(reservedText);
    io.str(reservedText);
    io.integer(r.PointsMain);
    io.integer(r.Points1);
    io.integer(r.Points2);
    for (auto* f : {&r.CaptureOffset1, &r.CaptureOffset2, &r.CaptureScale1, &r.CaptureScale2,
                    &reservedFloat, &reservedFloat})
        io.f32(*f);
    io.integer(r.ScreenStart);
    io.integer(r.ScreenStop);
    for (int i = 0; i < 10; ++i)
        io.f64(reservedDouble);
    for (int i = 0; i < 16; ++i)
        io.integer(reservedShort);
    io.integer(reservedByte);
}

template <typename T, typename A> void writeArray(SheetWriter& w, const std::vector<T, A>& a) {
    w.integer(static_cast<std::int32_t>(a.size()));
    w.integers(a.data(), a.size());
}

// Runs this long and longer are read over the cores; shorter ones one by one.
constexpr std::size_t kParallelRun = 1 << 18;

template <typename T, typename A>
void readArray(SheetReader& r, std::vector<T, A>& a, std::int64_t bound) {
    const auto n = r.integer<std::int32_t>();
    if (n < 0 || n > bound) throw SheetFault("Overflow");
    if (n > r.remaining()) throw SheetFault("Input past end of file");
    a.assign(static_cast<std::size_t>(n), 0);
    if (a.size() >= kParallelRun && r.integerLines(a.data(), a.size())) return;
    for (auto& v : a)
        v = r.integer<T>();
}

constexpr std::int64_t kMemoryArrayBound = 2100001 * 2;
constexpr std::int64_t kRecordSamplesBound = 2100001;

// The point counts of a memory wave must be what its arrays hold: a count
// read from the file drives the viewer and the CSV's row count.
void checkMemoryCounts(const MemoryRecord& m) {
    auto within = [](std::int32_t points, std::span<const std::int16_t> data, bool valid) {
        return points >= 0 && (!valid || points <= static_cast<std::int64_t>(data.size()));
    };
    auto withinLa = [&](std::int32_t points) {
        return !m.LAValid || points <= static_cast<std::int64_t>(m.LAData.size());
    };
    bool ok;
    if (!m.Alternate)
        ok = within(m.PointsMain, m.Ch1Data, m.Ch1Valid) &&
             within(m.PointsMain, m.Ch2Data, m.Ch2Valid) && withinLa(m.PointsMain) &&
             (m.Ch1Valid || m.Ch2Valid || m.LAValid || m.PointsMain == 0);
    else
        ok = within(m.Points1, m.Ch1Data, m.Ch1Valid) && within(m.Points2, m.Ch2Data, m.Ch2Valid) &&
             withinLa(m.Points1) && (m.Ch1Valid || m.Points1 == 0) &&
             (m.Ch2Valid || m.Points2 == 0);
    if (!ok) throw SheetFault("Subscript out of range");
}

} // namespace

QString SheetSignature() {
    return MakerName + " " + ProductName + " Data Sheet";
}

QString DecodeSheetText(const QByteArray& bytes) {
    return platform::DecodeText(bytes);
}

namespace {

void writeSheet(SheetWriter& w, const std::function<void(int)>& progress) {
    Write io{w};
    w.str(SheetSignature());
    w.str(SheetName);
    for (DocKind k :
         {DocKind::Wave, DocKind::Measure, DocKind::Data, DocKind::Record, DocKind::MemoryWave})
        w.integer(static_cast<std::int16_t>(DocCount(k)));
    for (int i = 0; i < DocCount(DocKind::Wave); ++i) {
        WaveRecord& r = WaveRecords[i];
        waveFields(io, r);
        if (r.Loaded) waveSamples(io, r);
    }
    for (int i = 0; i < DocCount(DocKind::Measure); ++i)
        measureSection(io, MeasureRecords[i]);
    for (int i = 0; i < DocCount(DocKind::Data); ++i) {
        DataRecord& r = DataRecords[i];
        w.str(r.Name);
        w.boolean(r.Loaded);
        w.str(r.Title);
        w.integer(r.RowCount);
        if (!r.Loaded) continue;
        for (int row = 1; row <= r.RowCount; ++row) {
            const auto at = static_cast<std::size_t>(row);
            w.str(at < r.VoltText.size() ? r.VoltText[at] : QString());
            w.str(at < r.TimeText.size() ? r.TimeText[at] : QString());
        }
    }
    for (int i = 0; i < DocCount(DocKind::Record); ++i) {
        RecordRecord& r = RecordRecords[i];
        recordFields(io, r);
        if (!r.HasSamples) continue;
        const auto n = static_cast<std::size_t>(std::max(0, r.FrameCount - r.FirstFrame + 1));
        const std::size_t held = std::min(n * 1024, r.Samples.size());
        w.integers(r.Samples.data(), held);
        for (std::size_t k = held; k < n * 1024; ++k) // a short record is padded with zeros
            w.integer(0);
        w.spill();
        if (progress) progress(50);
    }
    for (int i = 0; i < DocCount(DocKind::MemoryWave); ++i) {
        MemoryRecord& r = MemoryRecords[i];
        bool reserved = false;
        QString text;
        float f = 0;
        std::int16_t s = 0;
        double d = 0;
        std::uint8_t b = 0;
        memoryFields(io, r, reserved, text, f, s, d, b);
        if (!r.Loaded) continue;
        if (r.Ch1Valid) writeArray(w, r.Ch1Data);
        if (r.Ch2Valid) writeArray(w, r.Ch2Data);
        if (r.LAValid) writeArray(w, r.LAData);
        if (progress) progress(60 + 40 * (i + 1) / std::max(1, DocCount(DocKind::MemoryWave)));
        w.spill();
    }
    w.spill(true);
}

} // namespace

QByteArray SheetBytes(const std::function<void(int)>& progress) {
    SheetWriter w;
    writeSheet(w, progress);
    return w.out;
}

SheetRead ParseSheet(const QByteArray& file, QString* error,
                     const std::function<void(int)>& progress) {
    SheetReader r(file, platform::IsValidUtf8(file));
    Read io{r};
    std::array<int, kDocKindCount> begun{};
    try {
        if (r.str() != SheetSignature()) return SheetRead::BadSignature;
        SheetName = r.str();
        std::array<int, kDocKindCount> counts{};
        for (int& c : counts)
            c = r.integer<std::int16_t>();
        for (int k = 0; k < kDocKindCount; ++k)
            if (counts[static_cast<std::size_t>(k)] < 0 ||
                counts[static_cast<std::size_t>(k)] > KindInfo(static_cast<DocKind>(k)).maxDocs)
                throw SheetFault("Subscript out of range");
        auto count = [&](DocKind k) { return counts[static_cast<std::size_t>(k)]; };
        auto start = [&](DocKind k, int i) { begun[static_cast<std::size_t>(k)] = i + 1; };
        for (int i = 0; i < count(DocKind::Wave); ++i) {
            start(DocKind::Wave, i);
            WaveRecord& w = WaveRecords[i];
            w = WaveRecord();
            waveFields(io, w);
            if (w.Loaded) waveSamples(io, w);
            if (progress) progress(static_cast<int>(r.progress(file.size()) * 100));
        }
        for (int i = 0; i < count(DocKind::Measure); ++i) {
            start(DocKind::Measure, i);
            MeasureRecords[i] = MeasureRecord();
            measureSection(io, MeasureRecords[i]);
        }
        for (int i = 0; i < count(DocKind::Data); ++i) {
            start(DocKind::Data, i);
            DataRecord& d = DataRecords[i];
            d = DataRecord();
            d.Name = r.str();
            d.Loaded = r.boolean();
            d.Title = r.str();
            d.RowCount = r.integer<std::int32_t>();
            if (!d.Loaded) continue;
            if (d.RowCount < 0 || d.RowCount > 17000) throw SheetFault("Subscript out of range");
            if (2 * static_cast<qint64>(d.RowCount) > r.remaining())
                throw SheetFault("Input past end of file");
            d.VoltText.assign(static_cast<std::size_t>(d.RowCount) + 1, QString());
            d.TimeText.assign(static_cast<std::size_t>(d.RowCount) + 1, QString());
            for (int row = 1; row <= d.RowCount; ++row) {
                d.VoltText[static_cast<std::size_t>(row)] = r.str();
                d.TimeText[static_cast<std::size_t>(row)] = r.str();
            }
        }
        for (int i = 0; i < count(DocKind::Record); ++i) {
            start(DocKind::Record, i);
            RecordRecord& rec = RecordRecords[i];
            rec = RecordRecord();
            recordFields(io, rec);
            if (!rec.HasSamples) continue;
            const std::int64_t n = static_cast<std::int64_t>(rec.FrameCount) - rec.FirstFrame + 1;
            if (n < 0 || n * 1024 > kRecordSamplesBound) throw SheetFault("Subscript out of range");
            if (n * 1024 > r.remaining()) throw SheetFault("Input past end of file");
            std::vector<std::int16_t> samples(static_cast<std::size_t>(n * 1024));
            if (samples.size() < kParallelRun || !r.integerLines(samples.data(), samples.size()))
                for (auto& v : samples)
                    v = r.integer<std::int16_t>();
            rec.Samples = std::move(samples); // into the record once the block is whole
            if (progress) progress(static_cast<int>(r.progress(file.size()) * 100));
        }
        for (int i = 0; i < count(DocKind::MemoryWave); ++i) {
            start(DocKind::MemoryWave, i);
            MemoryRecord& m = MemoryRecords[i];
            m = MemoryRecord();
            bool reserved = false;
            QString text;
            float f = 0;
            std::int16_t s = 0;
            double d = 0;
            std::uint8_t b = 0;
            memoryFields(io, m, reserved, text, f, s, d, b);
            if (!m.Loaded) continue;
            if (m.Ch1Valid) readArray(r, m.Ch1Data, kMemoryArrayBound);
            if (m.Ch2Valid) readArray(r, m.Ch2Data, kMemoryArrayBound);
            if (m.LAValid) readArray(r, m.LAData, kMemoryArrayBound);
            checkMemoryCounts(m);
            if (progress) progress(static_cast<int>(r.progress(file.size()) * 100));
        }
        for (int k = 0; k < kDocKindCount; ++k)
            begun[static_cast<std::size_t>(k)] = counts[static_cast<std::size_t>(k)];
        SetDocCounts(begun);
        return SheetRead::Ok;
    } catch (const std::exception& e) {
        // What was read stays: the documents begun are the sheet's.
        SetDocCounts(begun);
        if (error) *error = QString::fromUtf8(e.what());
        return SheetRead::Stopped;
    }
}

namespace {
// A bar for a long save or open: it shows itself only after half a second.
class SheetProgress {
public:
    explicit SheetProgress(const QString& title) : dialog_(title, QString(), 0, 100) {
        dialog_.setWindowModality(Qt::NonModal);
        dialog_.setMinimumDuration(500);
        dialog_.setCancelButton(nullptr);
        dialog_.setValue(0);
    }
    std::function<void(int)> callback() {
        return [this](int percent) {
            dialog_.setValue(std::clamp(percent, 0, 99));
            platform::DoEvents();
        };
    }

private:
    QProgressDialog dialog_;
};
} // namespace

bool SaveSheet(const QString& path) {
    SheetProgress progress(path);
    platform::AtomicFileWriter file;
    QString error;
    if (file.open(path)) {
        SheetWriter w;
        w.sink = [&file](const QByteArray& bytes) { return file.write(bytes); };
        writeSheet(w, progress.callback());
        if (!w.failed && file.commit()) return true;
    }
    error = file.error();
    platform::MsgBox(error, platform::MsgButtons::Ok, platform::MsgIcon::Critical);
    return false;
}

SheetRead ReadSheet(const QString& path) {
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly)) {
        platform::MsgBox(f.errorString(), platform::MsgButtons::Ok, platform::MsgIcon::Critical);
        return SheetRead::Stopped;
    }
    const QByteArray bytes = f.readAll();
    QString error;
    SheetProgress progress(path);
    const SheetRead result = ParseSheet(bytes, &error, progress.callback());
    if (result == SheetRead::BadSignature)
        platform::MsgBox(MsgBadSheetFile, platform::MsgButtons::Ok, platform::MsgIcon::Critical);
    else if (result == SheetRead::Stopped)
        platform::MsgBox(RuntimeErrorText(error), platform::MsgButtons::Ok,
                         platform::MsgIcon::Critical);
    return result;
}
