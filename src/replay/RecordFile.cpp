// SPDX-License-Identifier: GPL-3.0-or-later
#include "replay/RecordFile.h"

#include "shared/StringRES.h"
#include "shared/ValueText.h"

#include <QFile>
#include <algorithm>
#include <cstring>
#include <memory>
#include <zlib.h>

namespace {

// Little-endian fields of the head, read from a zero-filled copy so that a
// short file reads zeroes, never past its end.
struct Head {
    std::array<unsigned char, kRecordHeadSize> b{};
    template <typename T> T at(int offset) const {
        T v;
        std::memcpy(&v, b.data() + offset, sizeof(T));
        return v;
    }
};

} // namespace

RecordLoad LoadRecordBytes(const QByteArray& raw, RecordRecord& rec) {
    const QByteArray file = raw.left(kRecordFileBuffer);
    Head head;
    std::memcpy(head.b.data(), file.constData(),
                static_cast<std::size_t>(std::min<qsizetype>(file.size(), kRecordHeadSize)));
    if (file.size() < 2 || head.at<std::uint16_t>(0) != 0xBABA) return RecordLoad::FormatError;

    // The block: the destination really holds what its capacity says.
    if (file.size() <= kRecordHeadSize) return RecordLoad::UtilityFail;
    std::unique_ptr<Bytef[]> out(new Bytef[kRecordCapacity]);
    uLongf length = kRecordCapacity;
    const int status = uncompress(
        out.get(), &length, reinterpret_cast<const Bytef*>(file.constData()) + kRecordHeadSize,
        static_cast<uLong>(file.size() - kRecordHeadSize));
    if (status != Z_OK || length > static_cast<uLongf>(kRecordSampleBound) + 1)
        return RecordLoad::UtilityFail;

    // The samples, clamped to the screen and moved up to row 0.
    rec.Samples.resize(length);
    for (uLongf i = 0; i < length; ++i)
        rec.Samples[i] = static_cast<std::int16_t>(std::clamp<int>(out[i], 25, 224) - 25);
    const std::int32_t source = head.at<std::int32_t>(8);
    const bool ch2 = source == 1 || (source == 2 && head.at<std::int32_t>(12) != 0);
    rec.Source = ch2 ? "CH2" : "CH1";
    const bool valid = ch2 ? head.b[30] != 0 : head.b[20] != 0;
    if (!valid) return RecordLoad::ChannelInvalid;

    const double scale = head.at<std::int32_t>(ch2 ? 32 : 24) / 1e6;
    const std::int16_t offset = head.at<std::int16_t>(ch2 ? 36 : 28);
    rec.VoltDiv = NormVolt(QString::number(scale, 'g', 15));
    rec.Offset = NormVolt(QString::number(PointsToValue(offset, scale), 'g', 15));
    const double timeDiv =
        PicosecondsToSeconds(head.at<std::int32_t>(40), head.at<std::int32_t>(44));
    const double delay = PicosecondsToSeconds(head.at<std::int32_t>(48), head.at<std::int32_t>(52));
    rec.TimeDiv = NormTime4(QString::number(timeDiv, 'g', 15));
    rec.Delay = NormTime5(QString::number(delay, 'g', 15));
    rec.FirstFrame = 1;
    rec.FrameCount =
        static_cast<std::int16_t>(head.at<std::int16_t>(18) - head.at<std::int16_t>(16) + 1);
    rec.CurrentFrame = 1;
    rec.HasSamples = rec.Loaded = true;
    return RecordLoad::Ok;
}

RecordLoad LoadRecordFile(const QString& path, RecordRecord& rec, QString* error) {
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly)) {
        if (error) *error = f.errorString();
        return RecordLoad::UtilityFail;
    }
    const RecordLoad result = LoadRecordBytes(f.read(kRecordFileBuffer), rec);
    if (result == RecordLoad::Ok) rec.FilePath = path;
    return result;
}

QString RecordLoadMessage(RecordLoad result) {
    switch (result) {
    case RecordLoad::FormatError:
        return MsgFileError;
    case RecordLoad::UtilityFail:
        return MsgFileFail;
    case RecordLoad::ChannelInvalid:
        return MsgBadChannelData;
    case RecordLoad::Ok:
        break;
    }
    return QString();
}

int FrameSample(const RecordRecord& rec, int frame, int k) {
    const long long at = static_cast<long long>(frame - 1) * kFrameBytes + kFrameSampleAt + k;
    if (frame < 1 || k < 0 || at >= static_cast<long long>(rec.Samples.size())) return -1;
    return rec.Samples[static_cast<std::size_t>(at)];
}
