// SPDX-License-Identifier: GPL-3.0-or-later
#include "sheet/SheetRecords.h"

#include <cstring>

platform::FixedArray<WaveRecord, 0, 17> WaveRecords;
platform::FixedArray<MeasureRecord, 0, 17> MeasureRecords;
platform::FixedArray<DataRecord, 0, 17> DataRecords;
platform::FixedArray<RecordRecord, 0, 4> RecordRecords;
platform::FixedArray<MemoryRecord, 0, 3> MemoryRecords;

namespace {

// One field of the block: its place, and how to move it between the block
// and the record. Read and write go through the same table, so the two can
// not disagree on a place.
template <typename T> void get(const SystemDataBlock116& b, std::size_t at, T& field) {
    std::memcpy(&field, b.data() + at, sizeof(T)); // little-endian host, as the wire
}
template <typename T> void put(SystemDataBlock116& b, std::size_t at, const T& field) {
    std::memcpy(b.data() + at, &field, sizeof(T));
}

template <typename Block, typename Data, typename Op> void eachField(Block& b, Data& d, Op op) {
    op(b, 0, d.DrawStart);
    op(b, 2, d.DrawEnd);
    op(b, 4, d.AltStart1);
    op(b, 6, d.AltEnd1);
    op(b, 8, d.AltStart2);
    op(b, 10, d.AltEnd2);
    op(b, 12, d.RollMode);
    op(b, 13, d.Ch1On);
    op(b, 14, d.Ch2On);
    op(b, 15, d.MathOn);
    op(b, 16, d.SysByte16);
    op(b, 20, d.SysFloat20);
    op(b, 24, d.SysInt24);
    op(b, 28, d.SysFloat28);
    op(b, 32, d.SysInt32);
    op(b, 34, d.FFTOn);
    op(b, 35, d.SysByte35);
    op(b, 36, d.SysByte36);
    op(b, 37, d.FFTFullScreen);
    op(b, 38, d.SysByte38);
    op(b, 40, d.SysFloat40);
    op(b, 44, d.SysInt44);
    op(b, 46, d.SysInt46);
    op(b, 48, d.SysFloat48);
    op(b, 52, d.SysInt52);
    op(b, 56, d.SysFloat56);
    op(b, 60, d.SysInt60);
    op(b, 64, d.SysFloat64);
    op(b, 68, d.SysInt68);
    op(b, 70, d.LAOn);
    op(b, 72, d.LAEnableMask);
    for (std::size_t n = 0; n < 16; ++n)
        op(b, 74 + 2 * n, d.LAPosition[n]);
    op(b, 106, d.LAActiveChannel);
    op(b, 107, d.LAHeightLow);
    op(b, 108, d.LAHeightHigh);
}

} // namespace

SystemData SystemDataFromBlock(const SystemDataBlock116& block) {
    SystemData d;
    eachField(block, d,
              [](const SystemDataBlock116& b, std::size_t at, auto& f) { get(b, at, f); });
    return d;
}

SystemDataBlock116 BlockFromSystemData(const SystemData& data) {
    SystemDataBlock116 block{};
    eachField(block, data,
              [](SystemDataBlock116& b, std::size_t at, const auto& f) { put(b, at, f); });
    return block;
}
