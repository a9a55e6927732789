// One write-all and one read-all against the simulated instrument with the
// link's real pacing: the time measured against the sum of the pauses the
// sequences must make (every Sleep they call, named waits included).
#include "Simulator.h"
#include "controller/CtrlData.h"
#include "controller/CtrlState.h"
#include "controller/SettingsExchange.h"
#include "link/Connection.h"
#include "link/LinkState.h"
#include "link/UsbFunc.h"
#include "platform/MsgBox.h"
#include "platform/Pacing.h"
#include "platform/Visa.h"
#include "shared/LoadLanguage.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <cstdio>

namespace {
long long g_paused = 0;
void addPause(int ms) {
    g_paused += ms;
}

void measure(const char* name, void (*sequence)()) {
    g_paused = 0;
    QElapsedTimer clock;
    clock.start();
    sequence();
    const double measured = clock.nsecsElapsed() / 1e6;
    std::printf(
        "%-10s measured %8.1f ms, pauses %8lld ms, overhead %.2f %% (target at most 1 %%)\n", name,
        measured, g_paused, (measured - g_paused) / g_paused * 100);
}
} // namespace

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    QTemporaryDir dir;
    sim::SimulatorOptions options;
    options.usbDirectory = dir.path().toStdString();
    sim::Simulator simulator(options);
    if (!simulator.Start()) return 1;
    platform::SetSimulatedUsbDirectory(dir.path());
    platform::SetMsgBoxHook([](const platform::MsgBoxRequest& r) {
        std::fprintf(stderr, "message: %s\n", qPrintable(r.prompt));
        return platform::MsgResult::Ok;
    });
    ApplyLanguage(kLanguageEnglish);
    CtrlData = CtrlDataDefaults();
    OpenVisaRM();
    ConnectToDevice();
    if (!Connected) return 1;
    platform::SetSleepObserver(addPause);
    measure("write-all", [] { WriteAllSettings(); });
    measure("read-all", [] { ReadAllSettings(); });
    DisconnectFromDevice();
    return 0;
}
