// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// The records a data sheet is made of: one fixed array per document kind,
// packed from slot 0. A window finds its record through its slot (its Tag);
// the records outlive their windows until the document is removed.
#include "platform/Faults.h"
#include "platform/LargeArray.h"

#include <QString>
#include <array>
#include <cstdint>
#include <vector>

class QTreeWidgetItem;

// The instrument's parameter block as ":SYSTEM:DATA?" delivers it (116 bytes,
// little-endian, places as on the wire). The fields without a known meaning
// are kept and written back unchanged.
struct SystemData {
    std::int16_t DrawStart = 0, DrawEnd = 0, AltStart1 = 0, AltEnd1 = 0, AltStart2 = 0, AltEnd2 = 0;
    std::uint8_t RollMode = 0, Ch1On = 0, Ch2On = 0, MathOn = 0, SysByte16 = 0;
    float SysFloat20 = 0;
    std::int16_t SysInt24 = 0;
    float SysFloat28 = 0;
    std::int16_t SysInt32 = 0;
    std::uint8_t FFTOn = 0, SysByte35 = 0, SysByte36 = 0, FFTFullScreen = 0, SysByte38 = 0;
    float SysFloat40 = 0;
    std::int16_t SysInt44 = 0, SysInt46 = 0;
    float SysFloat48 = 0;
    std::int16_t SysInt52 = 0;
    float SysFloat56 = 0;
    std::int16_t SysInt60 = 0;
    float SysFloat64 = 0;
    std::int16_t SysInt68 = 0;
    std::uint8_t LAOn = 0;
    std::int16_t LAEnableMask = 0; // bit n for Dn
    std::array<std::int16_t, 16> LAPosition{};
    std::uint8_t LAActiveChannel = 0, LAHeightLow = 0, LAHeightHigh = 0;

    bool operator==(const SystemData&) const = default;
};
using SystemDataBlock116 = std::array<std::uint8_t, 116>;
SystemData SystemDataFromBlock(const SystemDataBlock116& block);
SystemDataBlock116 BlockFromSystemData(const SystemData& data); // the fields' places only

// Samples from index 1; a fetch fills up to 8192.
using SampleArray = platform::FixedArray<int, 0, 8192>;

struct WaveRecord {
    QString Name;
    bool Loaded = false;
    bool NeedsInit = false;
    bool AutoRunning = false;
    QString TriggerMode;
    SampleArray Ch1Samples, Ch2Samples, FFTSamples;
    QString Ch1Offset, Ch2Offset, Ch1Scale, Ch2Scale, TimeScale, TimeOffset;
    QString AltTimeScale1, AltTimeScale2, AltTimeOffset1, AltTimeOffset2;
    QString Date;
    int PointCount = 0;
    int ActiveChannel = 0;
    bool Flag36 = false;
    bool ShowYT = false, ShowRoll = false;
    std::int16_t Int42 = 0, Int44 = 0;
    bool ColorDisplay = true, GridOn = true, SplitScreen = false, BestFit = true;
    bool Flag142 = false;
    bool SelCh1 = false, SelCh2 = false, SelMath = false, SelLA = false;
    bool ShowCh1 = false, ShowCh2 = false, ShowMath = false, ShowLA = false;
    SampleArray MathSamples, LASamples;
    SystemData SysData;
    bool ShowXY = false;
    QString MathDisplay, FFTDisplay;
    // The spectrum computed on the PC (the FFT setting dialog), not saved.
    std::vector<double> Spectrum;
    int SpectrumCount = 0;
    QString SpectrumSource;
    int SpectrumWindow = 0, SpectrumScale = 0;
    bool LocalFFT = false; // drawn over the screen
    QTreeWidgetItem* TreeNode = nullptr;
};

struct MeasureItem {
    QString Text;
    bool LimitEnabled = false;
    double OverLimit = 0, UnderLimit = 0;
    QString Verdict;
};
struct MeasureRecord {
    QString Name;
    bool Used = false, Loaded = false, AutoRunning = false;
    std::array<MeasureItem, 18> Items;
    QString SettingText;
    QTreeWidgetItem* TreeNode = nullptr;
};

struct DataRecord {
    QString Name;
    QString Source;
    std::vector<QString> VoltText, TimeText; // from index 1
    int RowCount = 0;
    QString Title;
    bool Loaded = false, AutoRunning = false;
    QTreeWidgetItem* TreeNode = nullptr;
};

struct RecordRecord {
    QString Name, FilePath;
    bool Used = false, HasSamples = false, Loaded = false, ColorMode = true;
    std::vector<std::int16_t> Samples;
    QString Source;
    std::int16_t FirstFrame = 1, FrameCount = 0;
    std::uint8_t Status = 2;
    std::int16_t CurrentFrame = 1;
    bool Loop = false;
    QString TimeDiv, Delay, VoltDiv, Offset;
    double IntervalSeconds = 0.05;
    QString StatusText;
    bool AutoRunning = false;
    QTreeWidgetItem* TreeNode = nullptr;
};

struct MemoryRecord {
    QString Name, FilePath;
    bool Loaded = false, Used = false, AutoRunning = false;
    QString TriggerMode;                        // "ALTERNATION" or "EDGE"
    platform::LargeVector<std::int16_t> Ch1Data, Ch2Data; // screen rows + 25, indexes 0..n
    platform::LargeVector<std::uint8_t> LAData;           // the digital section as it came
    bool Ch1Valid = false, Ch2Valid = false, LAValid = false;
    std::uint8_t Ch1On = 0, Ch2On = 0, LAOn = 0;
    std::int32_t PointsMain = 0, Points1 = 0, Points2 = 0;
    float SampleRateMain = 0, SampleRate1 = 0, SampleRate2 = 0;
    double TimeDiv = 0, Delay = 0, TimeDiv1 = 0, Delay1 = 0, TimeDiv2 = 0, Delay2 = 0;
    double TimeOriginMain = 0, TimeOrigin1 = 0, TimeOrigin2 = 0;
    float OffsetVolt1 = 0, OffsetVolt2 = 0, VoltDiv1 = 0, VoltDiv2 = 0;
    float Ch1ScaleStored = 0, Ch2ScaleStored = 0; // volts a division at capture
    float CaptureOffset1 = 0, CaptureOffset2 = 0; // volts at capture
    // Volts a division the samples were written at (the file's head); the
    // CSV export reads the capture with these, whatever the view shows.
    float CaptureScale1 = 0, CaptureScale2 = 0;
    std::int16_t Ch1Extra = 0, Ch2Extra = 0;
    double TimeExtra = 0;
    std::uint16_t LAEnableMask = 0;
    std::array<std::int16_t, 16> LAPositionRow{};
    std::uint8_t LASetting1 = 0, LASetting2 = 0, LASetting3 = 0;
    std::int32_t ScreenPoints = 0;
    bool Alternate = false;
    // The viewer's choices.
    bool ColorDisplay = true, GridOn = true;
    std::int32_t SourceStart = 0, SourceStop = 0;
    std::int16_t ScreenStart = 0, ScreenStop = 0;
    QTreeWidgetItem* TreeNode = nullptr;
};

extern platform::FixedArray<WaveRecord, 0, 17> WaveRecords;
extern platform::FixedArray<MeasureRecord, 0, 17> MeasureRecords;
extern platform::FixedArray<DataRecord, 0, 17> DataRecords;
extern platform::FixedArray<RecordRecord, 0, 4> RecordRecords;
extern platform::FixedArray<MemoryRecord, 0, 3> MemoryRecords;
