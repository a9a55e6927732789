// 100 queries against the simulated instrument over its USB face, with the
// link's real pacing: the time measured against the time the pacing alone
// requires (100 ms before every write).
#include "Simulator.h"
#include "link/Connection.h"
#include "link/LinkState.h"
#include "link/NQ4000Cmd.h"
#include "link/UsbFunc.h"
#include "platform/MsgBox.h"
#include "platform/Pacing.h"
#include "platform/Visa.h"
#include "shared/SoftwareSetting.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <cstdio>

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    QTemporaryDir dir;
    sim::SimulatorOptions options;
    options.usbDirectory = dir.path().toStdString();
    sim::Simulator simulator(options);
    std::string error;
    if (!simulator.Start(&error)) {
        std::fprintf(stderr, "simulator: %s\n", error.c_str());
        return 1;
    }
    platform::SetSimulatedUsbDirectory(dir.path());
    platform::SetMsgBoxHook([](const platform::MsgBoxRequest& r) {
        std::fprintf(stderr, "message: %s\n", qPrintable(r.prompt));
        return platform::MsgResult::Ok;
    });
    OpenVisaRM();
    ConnectToDevice();
    if (!Connected) return 1;

    constexpr int kQueries = 100;
    QElapsedTimer clock;
    clock.start();
    int answered = 0;
    for (int i = 0; i < kQueries; ++i)
        if (!CmdQuery(":TRIGGER:STATUS?").isEmpty()) ++answered;
    const double measured = clock.nsecsElapsed() / 1e6;
    const double pacing = kQueries * 100.0;
    std::printf("queries:            %d (%d answered)\n", kQueries, answered);
    std::printf("measured:           %.1f ms\n", measured);
    std::printf("pacing alone:       %.1f ms\n", pacing);
    std::printf("overhead:           %.2f %% (target at most 1 %%)\n",
                (measured - pacing) / pacing * 100);
    DisconnectFromDevice();
    return 0;
}
