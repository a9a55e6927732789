// Deep-memory waveform files (.wfm), through the same mapped read as Open.
#include "FuzzSupport.h"

#include "memwave/WaveformFile.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzSetUp();
    static MemoryRecord rec;
    rec = MemoryRecord();
    QString error;
    LoadWaveformFile(FuzzFile("fuzz.wfm", data, size), rec, &error);
    return 0;
}
