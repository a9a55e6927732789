// SPDX-License-Identifier: GPL-3.0-or-later
// One cursor drag step of the waveform window (the cursor moved, the
// read-outs recomputed, the picture redrawn over the kept screen) at 100 %
// and 500 %, and one spectrum of the screen's samples with each window.
#include "BenchSupport.h"
#include "shared/LoadLanguage.h"
#include "sheet/SheetRecords.h"
#include "views/Cursors.h"
#include "views/FftAnalysis.h"
#include "views/ScreenRenderer.h"

#include <QApplication>
#include <QPainter>
#include <cmath>
#include <cstdio>
#include <vector>

namespace {
WaveRecord fullRecord() {
    WaveRecord r;
    r.Loaded = r.ShowYT = r.ShowCh1 = r.ShowCh2 = true;
    r.PointCount = 600;
    r.TriggerMode = "EDGE";
    r.Ch1Scale = r.Ch2Scale = "1.00V";
    r.Ch1Offset = r.Ch2Offset = "0.00uV";
    r.TimeScale = "1.00ms";
    r.TimeOffset = "0.00s";
    r.ActiveChannel = 1;
    r.SysData.DrawEnd = 299;
    r.SysData.Ch1On = r.SysData.Ch2On = 1;
    for (int i = 1; i <= 600; ++i) {
        r.Ch1Samples[i] = static_cast<int>(100 + 60 * std::sin(i / 10.0));
        r.Ch2Samples[i] = static_cast<int>(100 + 40 * std::cos(i / 7.0));
    }
    return r;
}

void benchDrag(const WaveRecord& r, double z, const char* target) {
    const QImage screen = RenderScreen(r, z, true);
    CursorSet set;
    set.CursorXOn = set.CursorYOn = true;
    const double median = MedianMs(300, [&](int step) {
        DragCursor(set, CursorId::X1, QPointF(30 + step % 250 * z, 100), z);
        QImage picture = screen;
        QPainter painter(&picture);
        DisplayCursorM(painter, r, set, z);
    });
    std::printf("drag step at %3.0f %%: median %.3f ms (target %s)\n", z * 100, median, target);
}
} // namespace

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    ApplyLanguage(kLanguageEnglish);
    const WaveRecord r = fullRecord();
    benchDrag(r, 1.0, "at most 2 ms");
    benchDrag(r, 5.0, "reported");
    const std::vector<double> volts = ChannelVolts(r, 1);
    for (int w = 0; w < 4; ++w) {
        const double median = MedianMs(200, [&](int) {
            const auto spectrum =
                ComputeSpectrum(volts, static_cast<FftWindow>(w), FftScale::DbVrms);
        });
        std::printf("spectrum, %-9s: median %.3f ms for %d values\n",
                    qPrintable(kFftWindowNames[w]), median, kSpectrumCount);
    }
    return 0;
}
