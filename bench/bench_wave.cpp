// SPDX-License-Identifier: GPL-3.0-or-later
// The waveform window's two costs: drawing a full record (both channels, math,
// sixteen digital lanes) at 100 % and 500 %, and one wave job against the
// simulated instrument with the link's real pacing, over the pauses it must make.
#include "BenchSupport.h"
#include "acquire/Jobs.h"
#include "acquire/WaveJob.h"
#include "sheet/SheetRecords.h"
#include "views/ScreenRenderer.h"

#include <memory>

#include <QApplication>
#include <QElapsedTimer>
#include <QPainter>
#include <cstdio>
#include <vector>

namespace {

void benchPaint(const WaveRecord& record, double z, double targetMs) {
    QImage image(ScreenPictureSize(z), QImage::Format_RGB32);
    const double median = MedianMs(200, [&](int) {
        QPainter painter(&image);
        DrawScrGrid(painter, record, z, image.size());
        DrawOSC(painter, record, z, true);
    });
    std::printf("paint at %3.0f %%: median %.3f ms (target at most %.0f ms)\n", z * 100, median,
                targetMs);
    const QByteArray name = QString("wave paint at %1 %").arg(z * 100).toUtf8();
    ReportFigure(name.constData(), "ms", targetMs, median);
}
} // namespace

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    RegisterWaveJob();
    auto instrument = std::make_unique<BenchInstrument>([](sim::Instrument& i) {
        i.Process(":MATH:DISPLAY ON");
        i.Process(":LA:STATUS 65535");
    });
    if (!instrument->connected()) return 1;

    WaveRecord& record = WaveRecords[0];
    record.SelCh1 = record.SelCh2 = record.SelMath = record.SelLA = true;
    CountPausesFrom(100); // the job window starts its job 100 ms after it shows
    QElapsedTimer clock;
    clock.start();
    RunJob(kJobWave, "wave", 0);
    PrintPacingOverhead("wave job", clock.nsecsElapsed() / 1e6);
    instrument.reset();

    record.Loaded = true;
    record.SysData.LAEnableMask = -1; // all sixteen lanes
    benchPaint(record, 1.0, 1);
    benchPaint(record, 5.0, 5);
    return 0;
}
