// SPDX-License-Identifier: GPL-3.0-or-later
// The program's start-up: loading the program itself (its libraries and
// their initialisation, timed as a `korvane --version` process), then what
// Main does up to the shown frame (the application object, the language,
// the splash, the frame's load and first paint), and the resident memory
// at that point.
#include "BenchSupport.h"
#include "app/frmMain.h"
#include "platform/Settings.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QProcess>
#include <QTemporaryDir>
#include <cstdio>

int main(int argc, char** argv) {
    const double load = MedianMs(5, [](int) {
        QProcess p;
        p.setStandardOutputFile(QProcess::nullDevice());
        p.start(KORVANE_APP, {"--version"});
        p.waitForFinished(10000);
    });
    QElapsedTimer clock;
    clock.start();
    QApplication app(argc, argv);
    QTemporaryDir dir;
    platform::SetSettingsDirectory(dir.path());
    StartFrame();
    fMainForm->repaint();
    QApplication::processEvents();
    const double shown = clock.nsecsElapsed() / 1e6;
    const double resident = PeakMemoryKiB() / 1024.0;
    std::printf("start-up: the program loaded %.1f ms + to the shown frame %.1f ms = %.1f ms "
                "(target at most 100); resident %.1f MiB (target at most 37)\n",
                load, shown, load + shown, resident);
    ReportFigure("start-up to the shown frame", "ms", 100, load + shown);
    ReportFigure("resident memory at start-up", "MiB", 37, resident);
    delete fMainForm;
    return 0;
}
