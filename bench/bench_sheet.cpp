// SPDX-License-Identifier: GPL-3.0-or-later
// Saving and reopening a full data sheet: 16 wave, 16 measure and 16 data
// windows with data, 4 records of 500 frames and 3 memory waves of two
// million points each.
#include "BenchSupport.h"
#include "shared/AppIdentity.h"
#include "shared/LoadLanguage.h"
#include "sheet/DataSheet.h"
#include "sheet/SheetFile.h"
#include "sheet/SheetRecords.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <cstdio>

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    ApplyLanguage(kLanguageEnglish);
    MakerName = "Vexor Technologies,Inc.";
    ProductName = "NQ4000L";
    NewDataSheet();
    for (int i = 0; i < 16; ++i) {
        AddDocument(DocKind::Wave);
        AddDocument(DocKind::Measure);
        AddDocument(DocKind::Data);
        WaveRecord& w = WaveRecords[i];
        w.Loaded = w.ShowCh1 = w.ShowCh2 = w.ShowLA = w.ShowMath = true;
        for (int k = 1; k <= 2048; ++k)
            w.LASamples[k] = k % 256;
        MeasureRecords[i].Loaded = true;
        DataRecord& d = DataRecords[i];
        d.Loaded = true;
        d.RowCount = 600;
        d.VoltText.assign(601, "1.00E+00");
        d.TimeText.assign(602, "-6.00E-03");
    }
    for (int i = 0; i < 4; ++i) {
        AddDocument(DocKind::Record);
        RecordRecord& r = RecordRecords[i];
        r.HasSamples = r.Loaded = true;
        r.FrameCount = 500;
        r.Samples.assign(500 * 1024, 100);
    }
    for (int i = 0; i < 3; ++i) {
        AddDocument(DocKind::MemoryWave);
        MemoryRecord& m = MemoryRecords[i];
        m.Loaded = m.Ch1Valid = m.Ch2Valid = m.LAValid = true;
        m.PointsMain = 2000000;
        m.Ch1Data.assign(2000001, 125);
        m.Ch2Data.assign(2000001, 100);
        m.LAData.assign(2000000, 7);
    }
    QTemporaryDir dir;
    const QString path = dir.filePath("full.ult");
    QElapsedTimer clock;
    clock.start();
    if (!SaveSheet(path)) return 1;
    const double save = clock.nsecsElapsed() / 1e6;
    const double mb = QFileInfo(path).size() / 1e6;
    std::printf("save: %.0f ms, %.1f MB, %.0f MB/s (target at most 300 ms)\n", save, mb,
                mb / (save / 1000));
    ReportFigure("sheet save, full sheet", "ms", 300, save);
    ResetDataSheet();
    clock.restart();
    if (ReadSheet(path) != SheetRead::Ok) return 1;
    const double open = clock.nsecsElapsed() / 1e6;
    std::printf("reopen: %.0f ms, %.0f MB/s (target at most 300 ms)\n", open, mb / (open / 1000));
    ReportFigure("sheet open, full sheet", "ms", 300, open);
    return 0;
}
