// SPDX-License-Identifier: GPL-3.0-or-later
#include "BenchSupport.h"

#include "acquire/Jobs.h"
#include "controller/CtrlData.h"
#include "link/Connection.h"
#include "link/LinkState.h"
#include "link/UsbFunc.h"
#include "platform/MsgBox.h"
#include "platform/Pacing.h"
#include "platform/Visa.h"
#include "shared/LoadLanguage.h"

#include <QElapsedTimer>
#include <algorithm>
#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

double MedianMs(int runs, const std::function<void(int run)>& step) {
    std::vector<double> times;
    times.reserve(static_cast<std::size_t>(runs));
    for (int run = 0; run < runs; ++run) {
        QElapsedTimer clock;
        clock.start();
        step(run);
        times.push_back(clock.nsecsElapsed() / 1e6);
    }
    std::sort(times.begin(), times.end());
    return times[times.size() / 2];
}

namespace {
long long g_paused = 0;
void addPause(int ms) {
    g_paused += ms;
}
} // namespace

BenchInstrument::BenchInstrument(const std::function<void(sim::Instrument&)>& prepare) {
    sim::SimulatorOptions options;
    options.usbDirectory = dir_.path().toStdString();
    simulator_ = std::make_unique<sim::Simulator>(options);
    std::string error;
    if (!simulator_->Start(&error)) {
        std::fprintf(stderr, "simulator: %s\n", error.c_str());
        return;
    }
    if (prepare) prepare(simulator_->instrument());
    platform::SetSimulatedUsbDirectory(dir_.path());
    platform::SetMsgBoxHook([](const platform::MsgBoxRequest& r) {
        std::fprintf(stderr, "message: %s\n", qPrintable(r.prompt));
        return platform::MsgResult::Ok;
    });
    ApplyLanguage(kLanguageEnglish);
    CtrlData = CtrlDataDefaults();
    OpenVisaRM();
    ConnectToDevice();
    platform::SetSleepObserver(addPause);
}

BenchInstrument::~BenchInstrument() {
    platform::SetSleepObserver(nullptr);
    DisconnectFromDevice();
}

bool BenchInstrument::connected() const {
    return Connected;
}

void CountPausesFrom(long long startMs) {
    g_paused = startMs;
}

long long PausedMs() {
    return g_paused;
}

void PrintPacingOverhead(const char* name, double measuredMs) {
    const double overhead = (measuredMs - g_paused) / g_paused * 100;
    std::printf("%s: measured %.1f ms, pauses %lld ms, overhead %.2f %% (target at most 1 %%)\n",
                name, measuredMs, g_paused, overhead);
    const QByteArray figure = QByteArray(name) + " over its pauses";
    ReportFigure(figure.constData(), "%", 1.0, overhead);
}

void ReportFigure(const char* name, const char* unit, double target, double now, double limit) {
    if (limit > 0)
        std::printf("FIGURE\t%s\t%s\t%.3g\t%.3g\t%.3g\n", name, unit, target, now, limit);
    else
        std::printf("FIGURE\t%s\t%s\t%.3g\t%.3g\t-\n", name, unit, target, now);
    std::fflush(stdout);
}

void ResetPeakMemory() {
    std::ofstream("/proc/self/clear_refs") << "5";
}

long PeakMemoryKiB() {
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line))
        if (line.rfind("VmHWM:", 0) == 0) return std::stol(line.substr(6));
    return 0;
}

void TimeJobOverItsPauses(int kind, const char* name) {
    CountPausesFrom(100); // the job window starts its job 100 ms after it shows
    QElapsedTimer clock;
    clock.start();
    RunJob(kind, name, 0);
    PrintPacingOverhead(name, static_cast<double>(clock.nsecsElapsed()) / 1e6);
}
