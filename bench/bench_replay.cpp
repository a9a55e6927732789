// SPDX-License-Identifier: GPL-3.0-or-later
// Record replay: loading a 2000-frame record, drawing one frame at the
// window's default size, and the frames a replay at the 1 ms interval really
// draws in a second, over 5 s.
#include "BenchSupport.h"
#include "Files.h"
#include "replay/RecordFile.h"
#include "replay/frmRecordPlay.h"
#include "shared/LoadLanguage.h"
#include "sheet/DataSheet.h"
#include "sheet/SheetRecords.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <atomic>
#include <cstdio>
#include <thread>
#include <vector>

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    ApplyLanguage(kLanguageEnglish);
    QTemporaryDir dir;
    const QString path = dir.filePath("long.rcd");
    sim::RecordFileContent record;
    record.frames = 2000;
    std::string error;
    if (!sim::WriteRecordFile(path.toStdString(), record, &error)) return 1;

    QElapsedTimer clock;
    clock.start();
    RecordRecord loaded;
    QString message;
    if (LoadRecordFile(path, loaded, &message) != RecordLoad::Ok) return 1;
    std::printf("load of 2000 frames: %.1f ms\n", clock.nsecsElapsed() / 1e6);

    RecordFrameRenderer renderer;
    const double median = MedianMs(500, [&](int run) {
        loaded.CurrentFrame = static_cast<std::int16_t>(1 + run % 2000);
        const QImage frame = renderer.draw(loaded, QSize(536, 310));
    });
    std::printf("one frame at the default size: median %.3f ms (target at most 0.5 ms)\n", median);

    RegisterRecordWindow();
    NewDataSheet();
    AddDocument(DocKind::Record);
    auto* window = qobject_cast<frmRecordPlay*>(DocForm(DocKind::Record, 0));
    window->show();
    window->Timer1_Timer();
    window->LoadRecord(path);
    RecordRecords[0].Loop = true;
    window->controller().Pause();
    RecordRecords[0].IntervalSeconds = 0.001;
    // The frames the replay moves through per second, idle and with one core
    // kept busy: late ticks advance by the time that passed.
    auto framesPerSecond = [&](bool busy) {
        std::atomic<bool> spinning{busy};
        std::thread load([&spinning] {
            volatile double x = 1;
            while (spinning)
                x = x * 1.0000001 + 1e-9;
        });
        window->controller().Start();
        int previous = RecordRecords[0].CurrentFrame;
        long long advanced = 0;
        clock.restart();
        while (clock.elapsed() < 3000) {
            QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
            const int now = RecordRecords[0].CurrentFrame;
            advanced += (now - previous + 2000) % 2000;
            previous = now;
        }
        window->controller().Pause();
        spinning = false;
        load.join();
        return advanced / (clock.elapsed() / 1000.0);
    };
    const double idle = framesPerSecond(false);
    const double busy = framesPerSecond(true);
    std::printf("replay at 1 ms: %.0f frames a second idle, %.0f with a core busy (target 1000)\n",
                idle, busy);
    // As a time: the interval a frame took, against the 1 ms chosen.
    ReportFigure("replay frame interval at 1 ms, idle", "ms", 1.0, 1000.0 / idle, 1.0);
    ReportFigure("replay frame interval at 1 ms, busy", "ms", 1.0, 1000.0 / busy, 1.0);
    return 0;
}
