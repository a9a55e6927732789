// SPDX-License-Identifier: GPL-3.0-or-later
// The virtual panel: converting and painting one screen image, and the live
// pictures a second against the simulated instrument over USB with the
// link's real pacing, with the share of the time that is mandated pauses.
#include "BenchSupport.h"
#include "panel/LcdImage.h"
#include "panel/frmV_Panel.h"

#include <QApplication>
#include <QElapsedTimer>
#include <cstdio>
#include <vector>

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    std::vector<std::uint8_t> raw(kLcdReply);
    for (std::size_t i = 0; i < raw.size(); ++i)
        raw[i] = static_cast<std::uint8_t>(i * 7);
    std::vector<std::uint32_t> pixels(kLcdReply);
    const double median = MedianMs(300, [&](int run) {
        TransClr(raw.data(), kLcdPixels, pixels.data());
        const QImage picture = LcdPicture(pixels, run % 2 == 1);
    });
    std::printf("conversion and picture: median %.3f ms (target at most 1 ms)\n", median);

    BenchInstrument instrument;
    if (!instrument.connected()) return 1;
    auto* panel = new frmV_Panel;
    panel->show();
    QElapsedTimer clock;
    clock.start();
    CountPausesFrom(0);
    while (clock.elapsed() < 6000)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    const double seconds = clock.elapsed() / 1000.0;
    std::printf("live pictures: %.2f a second; mandated pauses %.0f %% of the time\n",
                panel->refreshes() / seconds, PausedMs() / (seconds * 10));
    panel->close();
    return 0;
}
