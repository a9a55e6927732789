// The waveform window's two costs: drawing a full record (both channels, math,
// sixteen digital lanes) at 100 % and 500 %, and one wave job against the
// simulated instrument with the link's real pacing, over the pauses it must make.
#include "Simulator.h"
#include "acquire/Jobs.h"
#include "acquire/WaveJob.h"
#include "controller/CtrlData.h"
#include "link/Connection.h"
#include "link/LinkState.h"
#include "link/UsbFunc.h"
#include "platform/MsgBox.h"
#include "platform/Pacing.h"
#include "platform/Visa.h"
#include "shared/LoadLanguage.h"
#include "sheet/SheetRecords.h"
#include "views/ScreenRenderer.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QPainter>
#include <QTemporaryDir>
#include <algorithm>
#include <cstdio>
#include <vector>

namespace {
long long g_paused = 0;
void addPause(int ms) {
    g_paused += ms;
}

void benchPaint(const WaveRecord& record, double z, double targetMs) {
    QImage image(ScreenPictureSize(z), QImage::Format_RGB32);
    std::vector<double> times;
    for (int i = 0; i < 200; ++i) {
        QElapsedTimer clock;
        clock.start();
        QPainter painter(&image);
        DrawScrGrid(painter, record, z, image.size());
        DrawOSC(painter, record, z, true);
        painter.end();
        times.push_back(clock.nsecsElapsed() / 1e6);
    }
    std::sort(times.begin(), times.end());
    std::printf("paint at %3.0f %%: median %.3f ms (target at most %.0f ms)\n", z * 100,
                times[times.size() / 2], targetMs);
}
} // namespace

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    QTemporaryDir dir;
    sim::SimulatorOptions options;
    options.usbDirectory = dir.path().toStdString();
    sim::Simulator simulator(options);
    if (!simulator.Start()) return 1;
    simulator.instrument().Process(":MATH:DISPLAY ON");
    simulator.instrument().Process(":LA:STATUS 65535");
    platform::SetSimulatedUsbDirectory(dir.path());
    platform::SetMsgBoxHook([](const platform::MsgBoxRequest& r) {
        std::fprintf(stderr, "message: %s\n", qPrintable(r.prompt));
        return platform::MsgResult::Ok;
    });
    ApplyLanguage(kLanguageEnglish);
    CtrlData = CtrlDataDefaults();
    RegisterWaveJob();
    OpenVisaRM();
    ConnectToDevice();
    if (!Connected) return 1;

    WaveRecord& record = WaveRecords[0];
    record.SelCh1 = record.SelCh2 = record.SelMath = record.SelLA = true;
    platform::SetSleepObserver(addPause);
    g_paused = 100; // the job window starts its job 100 ms after it shows
    QElapsedTimer clock;
    clock.start();
    RunJob(kJobWave, "wave", 0);
    const double measured = clock.nsecsElapsed() / 1e6;
    std::printf("wave job: measured %.1f ms, pauses %lld ms, overhead %.2f %% (target at most "
                "1 %%)\n",
                measured, g_paused, (measured - g_paused) / g_paused * 100);
    platform::SetSleepObserver(nullptr);
    DisconnectFromDevice();

    record.Loaded = true;
    record.SysData.LAEnableMask = -1; // all sixteen lanes
    benchPaint(record, 1.0, 1);
    benchPaint(record, 5.0, 5);
    return 0;
}
