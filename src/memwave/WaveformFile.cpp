// SPDX-License-Identifier: GPL-3.0-or-later
#include "memwave/WaveformFile.h"

#include "platform/LargeArray.h"
#include "shared/ValueText.h"

#include <QFile>
#include <cstring>

namespace {

// Where the bytes come from: a buffer, or the file read piece by piece, so
// that a large capture is never held twice.
class ByteSource {
public:
    virtual ~ByteSource() = default;
    virtual qint64 size() const = 0;
    // Up to length bytes at offset into out; the count read.
    virtual qint64 read(qint64 offset, qint64 length, char* out) = 0;
    QByteArray head(qint64 length) {
        QByteArray b(static_cast<qsizetype>(std::min(length, size())), '\0');
        b.resize(static_cast<qsizetype>(read(0, b.size(), b.data())));
        return b;
    }
};

class BufferSource : public ByteSource {
public:
    explicit BufferSource(const QByteArray& b) : b_(b) {}
    qint64 size() const override { return b_.size(); }
    qint64 read(qint64 offset, qint64 length, char* out) override {
        if (offset >= b_.size() || offset < 0) return 0;
        const qint64 n = std::min(length, b_.size() - offset);
        std::memcpy(out, b_.constData() + offset, static_cast<std::size_t>(n));
        return n;
    }

private:
    const QByteArray& b_;
};

class FileSource : public ByteSource {
public:
    explicit FileSource(QFile& f) : f_(f) {}
    qint64 size() const override { return f_.size(); }
    qint64 read(qint64 offset, qint64 length, char* out) override {
        if (!f_.seek(offset)) return 0;
        const qint64 n = f_.read(out, length);
        return std::max<qint64>(n, 0);
    }

private:
    QFile& f_;
};

struct HeadView {
    QByteArray b; // the current layout, kWfmHeadSize bytes
    template <typename T> T at(int offset) const {
        T v;
        std::memcpy(&v, b.constData() + offset, sizeof(T));
        return v;
    }
    double seconds(int offset) const {
        return PicosecondsToSeconds(at<std::int32_t>(offset), at<std::int32_t>(offset + 4));
    }
};

// n + 1 samples from the source at p, corrected; what lies past its end is 0.
platform::LargeVector<std::int16_t> section(ByteSource& source, qint64 p, std::int32_t n, int c) {
    const auto count = static_cast<std::size_t>(n) + 1;
    platform::LargeVector<std::int16_t> out;
    out.reserve(count);
    std::vector<unsigned char> chunk(65536);
    while (out.size() < count) {
        const qint64 want = static_cast<qint64>(std::min(chunk.size(), count - out.size()));
        const qint64 got = source.read(p + static_cast<qint64>(out.size()), want,
                                       reinterpret_cast<char*>(chunk.data()));
        const std::size_t at = out.size();
        out.insert(out.end(), chunk.begin(), chunk.begin() + std::max<qint64>(got, 0));
        for (std::size_t i = at; i < out.size(); ++i) // in place, vectorised
            out[i] = static_cast<std::int16_t>(out[i] + c);
        if (got < want) break; // the rest lies past the end: zero, corrected
    }
    out.resize(count, static_cast<std::int16_t>(c));
    return out;
}

WaveformLoad load(ByteSource& source, MemoryRecord& rec);

} // namespace

QByteArray ConvertOlderHead(const QByteArray& older) {
    QByteArray head(kWfmHeadSize, '\0');
    QByteArray o = older.leftJustified(kWfmOlderHeadSize, '\0', true);
    std::memcpy(head.data(), o.constData(), 120);             // 0..119 stay
    std::memcpy(head.data() + 142, o.constData() + 120, 6);   // 120..125 to 142..147
    std::memcpy(head.data() + 148, o.constData() + 128, 124); // 128..251 to 148..271
    return head;
}

int DigitalBytesPerPoint(std::int32_t points) {
    return points > kDigitalTwoBytesUpTo ? 1 : 2;
}

qint64 PromisedWaveformSize(const QByteArray& currentHead, int headSize) {
    HeadView head;
    head.b = currentHead.leftJustified(kWfmHeadSize, '\0', true);
    const bool alternate = head.at<std::uint8_t>(142) == 4;
    const qint64 points = std::max(0, head.at<std::int32_t>(28));
    const qint64 points2 = alternate ? std::max(0, head.at<std::int32_t>(232)) : points;
    qint64 size = headSize + 4;
    if (head.at<std::uint8_t>(49) == 1) size += points;
    if (head.at<std::uint8_t>(73) == 1) size += points2;
    if (head.at<std::uint8_t>(120) == 1)
        size += points * DigitalBytesPerPoint(static_cast<std::int32_t>(points));
    return size;
}

WaveformLoad LoadWaveformBytes(const QByteArray& file, MemoryRecord& rec) {
    BufferSource source(file);
    return load(source, rec);
}

namespace {
WaveformLoad load(ByteSource& source, MemoryRecord& rec) {
    rec.Loaded = false;
    const QByteArray file = source.head(kWfmHeadSize);
    if (file.size() < 2) return WaveformLoad::FormatError;
    std::uint16_t magic;
    std::memcpy(&magic, file.constData(), 2);
    int headSize = 0, c = 0;
    HeadView head;
    if (magic == kWfmMagic) {
        headSize = kWfmHeadSize;
        head.b = file.left(kWfmHeadSize).leftJustified(kWfmHeadSize, '\0', true);
    } else if (magic == kWfmOlderMagic) {
        headSize = kWfmOlderHeadSize;
        c = 25;
        head.b = ConvertOlderHead(file.left(kWfmOlderHeadSize));
    } else {
        return WaveformLoad::FormatError;
    }
    const bool alternate = head.at<std::uint8_t>(142) == 4;
    const std::int32_t points = head.at<std::int32_t>(28);
    const std::int32_t points2 = alternate ? head.at<std::int32_t>(232) : points;
    // A head that promises more than the viewer can hold is not a capture.
    if (points < 0 || points > kWfmMaxPoints || points2 < 0 || points2 > kWfmMaxPoints)
        return WaveformLoad::FormatError;
    // A head that promises more samples than the file holds is a cut or
    // damaged file: showing the missing part as a flat line would mislead.
    if (source.size() < PromisedWaveformSize(head.b, headSize)) return WaveformLoad::FormatError;

    rec.TriggerMode = alternate ? "ALTERNATION" : "EDGE";
    rec.Alternate = alternate;
    const double scale1 = head.at<std::int32_t>(36) / 1e6, scale2 = head.at<std::int32_t>(60) / 1e6;
    rec.OffsetVolt1 = static_cast<float>(PointsToValue(head.at<std::int16_t>(40), scale1));
    rec.OffsetVolt2 = static_cast<float>(PointsToValue(head.at<std::int16_t>(64), scale2));
    rec.CaptureOffset1 = rec.OffsetVolt1;
    rec.CaptureOffset2 = rec.OffsetVolt2;
    rec.CaptureScale1 = static_cast<float>(scale1);
    rec.CaptureScale2 = static_cast<float>(scale2);
    rec.VoltDiv1 = static_cast<float>(scale1);
    rec.VoltDiv2 = static_cast<float>(scale2);
    rec.Ch1ScaleStored = static_cast<float>(head.at<std::int32_t>(52) / 1e6);
    rec.Ch2ScaleStored = static_cast<float>(head.at<std::int32_t>(76) / 1e6);
    rec.Ch1Extra = head.at<std::int16_t>(56);
    rec.Ch2Extra = head.at<std::int16_t>(80);
    rec.TimeExtra = head.seconds(104);
    if (!alternate) {
        rec.PointsMain = points;
        rec.SampleRateMain = head.at<float>(100);
        rec.TimeDiv = head.seconds(84);
        rec.Delay = head.seconds(92);
        rec.TimeOriginMain = head.seconds(112);
    } else {
        rec.Points1 = points;
        rec.SampleRate1 = head.at<float>(100);
        rec.TimeDiv1 = head.seconds(84);
        rec.Delay1 = head.seconds(92);
        rec.TimeOrigin1 = head.seconds(112);
        rec.Points2 = points2;
        rec.SampleRate2 = head.at<float>(252);
        rec.TimeDiv2 = head.seconds(236);
        rec.Delay2 = head.seconds(244);
        rec.TimeOrigin2 = head.seconds(264);
    }

    qint64 p = headSize + 4;
    rec.Ch1Valid = head.at<std::uint8_t>(49) == 1;
    rec.Ch1On = rec.Ch1Valid ? 1 : 0;
    rec.Ch1Data.clear();
    if (rec.Ch1Valid) {
        rec.Loaded = true;
        rec.Ch1Data = section(source, p, points, c);
        p += points;
    }
    rec.Ch2Valid = head.at<std::uint8_t>(73) == 1;
    rec.Ch2On = rec.Ch2Valid ? 1 : 0;
    rec.Ch2Data.clear();
    if (rec.Ch2Valid) {
        rec.Loaded = true;
        rec.Ch2Data = section(source, p, points2, c);
        p += points2;
    }
    rec.LAData.clear();
    rec.LAValid = head.at<std::uint8_t>(120) == 1;
    rec.LAOn = rec.LAValid ? 1 : 0;
    if (rec.LAValid) {
        const qint64 length = static_cast<qint64>(points) * DigitalBytesPerPoint(points);
        rec.LAData.clear();
        rec.LAData.resize(static_cast<std::size_t>(length), 0);
        source.read(p, length, reinterpret_cast<char*>(rec.LAData.data()));
        rec.LASetting1 = head.at<std::uint8_t>(121);
        rec.LAEnableMask = head.at<std::uint16_t>(122);
        for (int n = 0; n < 16; ++n)
            rec.LAPositionRow[static_cast<std::size_t>(n)] =
                static_cast<std::int16_t>(222 - head.at<std::uint8_t>(124 + n) * 12);
        rec.LASetting2 = head.at<std::uint8_t>(140);
        rec.LASetting3 = head.at<std::uint8_t>(141);
    }
    rec.ScreenPoints = 600;
    return WaveformLoad::Ok;
}
} // namespace

WaveformLoad LoadWaveformFile(const QString& path, MemoryRecord& rec, QString* error) {
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly)) {
        if (error) *error = f.errorString();
        return WaveformLoad::FormatError;
    }
    // One pass through the file, section by section: never held twice.
    FileSource source(f);
    const WaveformLoad result = load(source, rec);
    if (result == WaveformLoad::Ok && rec.Loaded) rec.FilePath = path;
    return result;
}
