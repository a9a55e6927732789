// SPDX-License-Identifier: GPL-3.0-or-later
// Deep-memory waveform files (.wfm), through the same mapped read as Open,
// and the viewer's zoom pipeline on what they hold.
#include "FuzzSupport.h"

#include "memwave/MemoryView.h"
#include "memwave/WaveformFile.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzSetUp();
    static MemoryRecord rec;
    rec = MemoryRecord();
    QString error;
    if (LoadWaveformFile(FuzzFile("fuzz.wfm", data, size), rec, &error) != WaveformLoad::Ok)
        return 0;
    // Any head's numbers go through the viewer's zoom pipeline without a fault.
    static MemoryView view;
    view.attach(rec);
    view.pipeline(rec, PipelinePart::All);
    return 0;
}
