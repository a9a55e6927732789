// SPDX-License-Identifier: GPL-3.0-or-later
// The memory waveform viewer on a 2,000,000-point capture (both channels and
// digital data): open to the first picture, one zoom or scroll step through
// the pipeline (and the same on a 10,000-point capture), the CSV export, and
// the peak memory above the program's idle size.
#include "BenchSupport.h"
#include "Files.h"
#include "export/CaptureExport.h"
#include "memwave/CsvExport.h"
#include "memwave/MemoryView.h"
#include "memwave/WaveformFile.h"
#include "shared/LoadLanguage.h"
#include "views/ScreenRenderer.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

namespace {
// The timing covers the pipeline; setting the zoom and place is a store each.
double stepMedian(MemoryRecord& rec, MemoryView& view) {
    const double timeDiv = rec.TimeDiv;
    return MedianMs(200, [&](int run) {
        rec.TimeDiv = timeDiv * (run % 2 ? 0.5 : 1.0); // zoom in and out
        rec.Delay = (run % 7) * timeDiv / 10;          // and scroll
        view.pipeline(rec, PipelinePart::All);
    });
}
} // namespace

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    ApplyLanguage(kLanguageEnglish);
    QTemporaryDir dir;
    for (int points : {10000, 2000000}) {
        const QString path = dir.filePath(QString("w%1.wfm").arg(points));
        sim::WaveformFileContent wave;
        wave.points = points;
        std::string error;
        if (!sim::WriteWaveformFile(path.toStdString(), wave, &error)) return 1;
        ResetPeakMemory();
        const long idle = PeakMemoryKiB();
        QElapsedTimer clock;
        clock.start();
        MemoryRecord rec;
        QString message;
        LoadWaveformFile(path, rec, &message);
        MemoryView view;
        view.attach(rec);
        view.pipeline(rec, PipelinePart::All);
        const QImage first = RenderScreen(view.screen(), 1.0, true);
        const double open = clock.nsecsElapsed() / 1e6;
        const double fileMiB = QFileInfo(path).size() / 1048576.0;
        std::printf("%7d points: open to first picture %.1f ms (target at most 50 ms)\n", points,
                    open);
        const double step = stepMedian(rec, view);
        std::printf("%7d points: zoom or scroll step median %.3f ms (target at most 2 ms)\n",
                    points, step);
        if (points == 2000000) {
            ReportFigure("memory wave open, 2 M points", "ms", 50, open);
            ReportFigure("memory wave zoom step, 2 M points", "ms", 2, step);
        }
        if (points == 2000000) {
            std::printf(
                "peak memory above idle: %.1f MiB for a %.1f MiB file (target at most %.1f)\n",
                (PeakMemoryKiB() - idle) / 1024.0, fileMiB, 3 * fileMiB);
            const QString csv = dir.filePath("w.csv");
            const double csvMs = MedianMs(3, [&](int) { ExportCsv(csv, rec, {}); });
            std::printf("CSV export of 2,000,000 rows (median of 3): %.0f ms, %.1f MiB (target at "
                        "most 120 ms)\n",
                        csvMs, QFileInfo(csv).size() / 1048576.0);
            ReportFigure("described CSV, 2,000,000 rows", "ms", 120, csvMs);
            // The exports for other tools, against the described CSV in the same run.
            QString error;
            const Capture capture = CaptureOfMemory(rec, &error);
            for (const char* kind : {"sr", "npz", "vcd", "csv"}) {
                const QString out = dir.filePath(QString("w-precise.") + kind);
                clock.restart();
                WriteCapture(out, capture, CaptureFormatOf(out));
                const double ms = clock.nsecsElapsed() / 1e6;
                std::printf("export .%s of 2,000,000 points: %.0f ms, %.1f MiB (%.2fx the CSV)\n",
                            kind, ms, QFileInfo(out).size() / 1048576.0, ms / csvMs);
                // Their target was a quarter of the described CSV's 0.46 s; the
                // CSV has since become four times faster, so the target stays in ms.
                const QByteArray name = QByteArray("export .") + kind + ", 2 M points";
                if (QByteArray(kind) == "sr" || QByteArray(kind) == "npz")
                    ReportFigure(name.constData(), "ms", 115, ms);
            }
        }
    }
    return 0;
}
