// SPDX-License-Identifier: GPL-3.0-or-later
// Saving and reopening a full data sheet: 16 wave, 16 measure and 16 data
// windows with data, 4 records of 500 frames and 3 memory waves of two
// million points each.
#include "BenchSupport.h"
#include "platform/SafeFile.h"
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
#include <algorithm>
#include <cstdio>
#include <vector>

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
    const QByteArray text = SheetBytes();
    const double formatting = clock.nsecsElapsed() / 1e6;
    // The machine's limit for a save: the same bytes through the same safe
    // writer (a temporary file, fsync, rename), with nothing to format.
    clock.restart();
    platform::WriteFileAtomically(dir.filePath("limit.ult"), text);
    const double writeLimit = clock.nsecsElapsed() / 1e6;
    std::printf("the sheet's text alone (%.1f MB): %.0f ms; the same bytes written and synced: "
                "%.0f ms\n",
                text.size() / 1e6, formatting, writeLimit);
    bool saved = true;
    const double save = MedianMs(3, [&](int) { saved = saved && SaveSheet(path); });
    if (!saved) return 1;
    const double mb = QFileInfo(path).size() / 1e6;
    std::printf("save (median of 3): %.0f ms, %.1f MB, %.0f MB/s (target at most 300 ms)\n", save,
                mb, mb / (save / 1000));
    ReportFigure("sheet save, full sheet", "ms", 300, save, writeLimit);
    ResetDataSheet();
    const long idle = PeakMemoryKiB();
    ResetPeakMemory();
    clock.restart();
    if (ReadSheet(path) != SheetRead::Ok) return 1;
    const double firstOpen = clock.nsecsElapsed() / 1e6;
    const double peak = (PeakMemoryKiB() - idle) / 1024.0;
    std::vector<double> opens{firstOpen};
    for (int run = 0; run < 2; ++run) {
        ResetDataSheet();
        clock.restart();
        ReadSheet(path);
        opens.push_back(clock.nsecsElapsed() / 1e6);
    }
    std::sort(opens.begin(), opens.end());
    const double open = opens[1];
    std::printf("reading peaks %.0f MiB above the empty sheet for a %.0f MiB file (%.2fx, target "
                "at most 2x)\n",
                peak, mb / 1.048576, peak / (mb / 1.048576));
    ReportFigure("sheet open, peak memory / file size", "x", 2, peak / (mb / 1.048576));
    std::printf("reopen (median of 3): %.0f ms, %.0f MB/s (target at most 300 ms)\n", open,
                mb / (open / 1000));
    ReportFigure("sheet open, full sheet", "ms", 300, open);
    // Where the open's time goes.
    ResetDataSheet();
    {
        QFile f(path);
        f.open(QIODevice::ReadOnly);
        QElapsedTimer parse;
        parse.start();
        const QByteArray bytes = f.readAll();
        const double readMs = parse.nsecsElapsed() / 1e6;
        QString why;
        ParseSheet(bytes, &why);
        std::printf("reading the file: %.0f ms; parsing it: %.0f ms\n", readMs,
                    parse.nsecsElapsed() / 1e6 - readMs);
    }
    return 0;
}
