// The virtual panel: converting and painting one screen image, and the live
// pictures a second against the simulated instrument over USB with the
// link's real pacing, with the share of the time that is mandated pauses.
#include "Simulator.h"
#include "controller/CtrlData.h"
#include "link/Connection.h"
#include "link/LinkState.h"
#include "link/UsbFunc.h"
#include "panel/LcdImage.h"
#include "panel/frmV_Panel.h"
#include "platform/MsgBox.h"
#include "platform/Pacing.h"
#include "platform/Visa.h"
#include "shared/LoadLanguage.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <algorithm>
#include <cstdio>
#include <vector>

namespace {
long long g_paused = 0;
void addPause(int ms) {
    g_paused += ms;
}
} // namespace

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    std::vector<std::uint8_t> raw(kLcdReply);
    for (std::size_t i = 0; i < raw.size(); ++i)
        raw[i] = static_cast<std::uint8_t>(i * 7);
    std::vector<std::uint32_t> pixels(kLcdReply);
    std::vector<double> times;
    for (int i = 0; i < 300; ++i) {
        QElapsedTimer clock;
        clock.start();
        TransClr(raw.data(), kLcdPixels, pixels.data());
        const QImage picture = LcdPicture(pixels, i % 2 == 1);
        times.push_back(clock.nsecsElapsed() / 1e6);
    }
    std::sort(times.begin(), times.end());
    std::printf("conversion and picture: median %.3f ms (target at most 1 ms)\n",
                times[times.size() / 2]);

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
    auto* panel = new frmV_Panel;
    panel->show();
    QElapsedTimer clock;
    clock.start();
    g_paused = 0;
    while (clock.elapsed() < 6000)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    const double seconds = clock.elapsed() / 1000.0;
    std::printf("live pictures: %.2f a second; mandated pauses %.0f %% of the time\n",
                panel->refreshes() / seconds, g_paused / (seconds * 10));
    panel->close();
    return 0;
}
