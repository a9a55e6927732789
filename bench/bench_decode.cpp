// SPDX-License-Identifier: GPL-3.0-or-later
// Protocol decoding over a 1,048,576-point capture of the simulator's buses:
// UART + I2C + SPI through the program's engine, against sigrok-cli decoding
// the same samples from a session file with the same decoders; the
// annotation rows painted at full zoom-out and zoomed in; and the longest
// gap between two ticks of the window's event loop while a decode runs.
#include "BenchSupport.h"
#include "Files.h"
#include "decode/AnnotationLayout.h"
#include "decode/Decode.h"
#include "decode/DecodeTask.h"
#include "decode/Decoders.h"
#include "export/CaptureExport.h"
#include "memwave/WaveformFile.h"
#include "views/DecodePane.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QImage>
#include <QPainter>
#include <QProcess>
#include <QTimer>
#include <cstdio>

namespace {

const QStringList kStacks = {"uart:rx=D0:baudrate=115200", "i2c:scl=D1:sda=D2",
                             "spi:clk=D3:mosi=D4:miso=D5:cs=D6"};

decode::DecodeSetup setupOf() {
    decode::DecodeSetup setup;
    for (const QString& text : kStacks) {
        decode::DecodeStack stack;
        decode::ParseStack(text, &stack, nullptr);
        setup.stacks.push_back(stack);
    }
    return setup;
}

// A whole process, start to end, with its output thrown away.
double processMs(const QString& program, const QStringList& args) {
    return MedianMs(3, [&](int) {
        QProcess p;
        p.setStandardOutputFile(QProcess::nullDevice());
        p.start(program, args);
        p.waitForFinished(120000);
    });
}

QStringList decoderArgs() {
    QStringList args;
    for (const QString& s : kStacks)
        args << "-P" << s;
    return args;
}

} // namespace

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    QTemporaryDir dir;
    const QString wfm = dir.filePath("deep.wfm"), session = dir.filePath("deep.sr");
    sim::WaveformFileContent content;
    content.points = 1048576;
    content.secondsPerDiv = 5e-3; // 60 ms at 17.5 MHz: ten rounds of the buses
    std::string error;
    sim::WriteWaveformFile(wfm.toStdString(), content, &error);
    MemoryRecord rec;
    QString why;
    LoadWaveformFile(wfm, rec, &why);
    const Capture capture = CaptureOfMemory(rec, &why);
    WriteCapture(session, capture, CaptureFormat::Sigrok);
    if (!decode::DecodersReady(&why)) {
        std::printf("decode: %s\n", qPrintable(why));
        return 1;
    }
    const decode::DecodeSetup setup = setupOf();
    decode::DecodeResult result;
    // In the program: the file read, its logic lanes packed, the decoders run.
    const double ours = MedianMs(3, [&](int) {
        MemoryRecord loaded;
        LoadWaveformFile(wfm, loaded, &why);
        const Capture lanes = CaptureOfMemory(loaded, &why, false);
        result = decode::RunDecode(setup, decode::InputOfCapture(lanes, setup));
    });
    // Process against process: each starts, reads its file, starts Python and decodes.
    const double cli = processMs(KORVANE_CLI, QStringList{"decode", wfm} + decoderArgs());
    const double theirs = processMs("sigrok-cli", QStringList{"-i", session} + decoderArgs());
    std::printf("decode UART + I2C + SPI, 1,048,576 points, file to annotations: %.0f ms in the "
                "program, %zu annotations; sigrok-cli on the same samples %.0f ms (ratio %.2f, "
                "target at most 1.0); korvane-cli decode as a process %.0f ms (%.2f: the start of "
                "a Qt program, about 25 ms, is the difference)\n",
                ours, result.annotations.size(), theirs, ours / theirs, cli, cli / theirs);
    ReportFigure("decode 3 buses, 1 M points, vs sigrok-cli", "x", 1.0, ours / theirs);
    ReportFigure("korvane-cli decode process vs sigrok-cli", "x", 1.2, cli / theirs);

    // The rows painted as the window paints them, on a picture 1200 wide.
    DecodePane pane("Bench");
    decode::DecodeTask task;
    bool done = false;
    QObject::connect(&task, &decode::DecodeTask::finished, [&](const decode::DecodeResult& r) {
        result = r;
        done = true;
    });
    // The event loop's longest gap while the decode runs beside it.
    QElapsedTimer sinceTick;
    double longestGap = 0;
    QTimer tick;
    QObject::connect(&tick, &QTimer::timeout, [&] {
        longestGap = std::max(longestGap, double(sinceTick.elapsed()));
        sinceTick.restart();
    });
    tick.start(5);
    sinceTick.start();
    task.start(setup, decode::InputOfCapture(capture, setup));
    while (!done)
        QApplication::processEvents(QEventLoop::WaitForMoreEvents);
    tick.stop();
    std::printf("window event loop during a decode: longest gap %.0f ms (target at most 50)\n",
                longestGap);
    ReportFigure("event loop gap while decoding", "ms", 50, longestGap);

    // The rows painted by the pane, as under the window's picture.
    pane.ShowResult(result);
    QImage image(1200, pane.rowsHeight(), QImage::Format_RGB32);
    auto paint = [&](const decode::PixelScale& scale) {
        return MedianMs(21, [&](int) {
            QPainter p(&image);
            pane.paintRows(p, 0, 0, 1200, scale);
        });
    };
    const double out = paint({0, 1048576.0 / 1200, 1200});
    const double in = paint({400000, 2.0, 1200});
    std::printf("annotation rows (%d drawn, %zu annotations), 1200 px: full zoom-out %.2f ms, "
                "zoomed in %.2f ms (target at most 2)\n",
                pane.rowsHeight() / DecodePane::kRowHeight, result.annotations.size(), out, in);
    ReportFigure("annotation rows paint, zoomed out", "ms", 2, out);
    ReportFigure("annotation rows paint, zoomed in", "ms", 2, in);
    return 0;
}
