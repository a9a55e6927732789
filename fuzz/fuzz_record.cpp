// SPDX-License-Identifier: GPL-3.0-or-later
// Frame record files (.rcd).
#include "FuzzSupport.h"

#include "replay/RecordFile.h"

#include <algorithm>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzSetUp();
    static RecordRecord rec;
    rec = RecordRecord();
    const QByteArray file =
        QByteArray::fromRawData(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    if (LoadRecordBytes(file, rec) != RecordLoad::Ok) return 0;
    // Every frame the head promises reads inside the samples or not at all.
    for (int frame = 1; frame <= std::max<int>(1, rec.FrameCount); frame += 7)
        for (int k = 0; k < kFrameSamples; k += 50)
            FuzzRequire(FrameSample(rec, frame, k) <= 199, "a frame sample above the screen");
    return 0;
}
