// SPDX-License-Identifier: GPL-3.0-or-later
// korvane-cli: converting a 2,000,000-point file to CSV, and the start-up of
// `idn` against the simulated instrument beyond the pauses its commands must
// make (connect: 350 + 300 + 100 + 100 ms, the query 100 ms, the unlock 300 ms).
#include "BenchSupport.h"
#include "Files.h"
#include "Simulator.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QProcess>
#include <QTemporaryDir>
#include <cstdio>

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    QTemporaryDir dir;
    const QString wfm = dir.filePath("deep.wfm");
    sim::WaveformFileContent wave;
    wave.points = 2000000;
    std::string error;
    if (!sim::WriteWaveformFile(wfm.toStdString(), wave, &error)) return 1;
    auto run = [&dir](const QStringList& args) {
        QProcess p;
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert("XDG_RUNTIME_DIR", dir.path());
        env.insert("XDG_CONFIG_HOME", dir.filePath("config"));
        p.setProcessEnvironment(env);
        QElapsedTimer clock;
        clock.start();
        p.start(KORVANE_CLI, args);
        p.waitForFinished(120000);
        return std::make_pair(p.exitCode(), clock.nsecsElapsed() / 1e6);
    };
    const auto [csvStatus, csvMs] = run({"wfm2csv", wfm, dir.filePath("deep.csv")});
    std::printf("wfm2csv of 2,000,000 points: %.0f ms, exit %d (target at most 1000 ms)\n", csvMs,
                csvStatus);
    ReportFigure("wfm2csv, 2,000,000 points (process)", "ms", 1000, csvMs);
    sim::SimulatorOptions options;
    options.usbDirectory = dir.filePath("nq4000l-sim").toStdString();
    sim::Simulator simulator(options);
    if (!simulator.Start()) return 1;
    const double pauses = 350 + 300 + 100 + 100 + 100 + 300;
    const auto [idnStatus, idnMs] = run({"idn"});
    std::printf(
        "idn: %.0f ms, %.0f ms beyond the %.0f ms of pauses, exit %d (target at most 50 ms)\n",
        idnMs, idnMs - pauses, pauses, idnStatus);
    ReportFigure("idn beyond its pauses", "ms", 50, idnMs - pauses);
    return 0;
}
