// SPDX-License-Identifier: GPL-3.0-or-later
// Captures read back by tools nobody here wrote: the sigrok session and the
// VCD by sigrok-cli, the .npz by NumPy, the precise CSV by NumPy's parser,
// each against the capture's own samples.
#include "TestPlatform.h"

#include "Files.h"
#include "export/CaptureExport.h"
#include "memwave/WaveformFile.h"

#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QtTest>
#include <cmath>
#include <map>

namespace {
QByteArray runTool(const QString& program, const QStringList& args, int* status = nullptr) {
    QProcess p;
    p.start(program, args);
    p.waitForFinished(60000);
    if (status) *status = p.exitCode();
    return p.readAllStandardOutput();
}

QByteArray logicBytes(const Capture& c) {
    return QByteArray(reinterpret_cast<const char*>(c.logic.data()),
                      static_cast<qsizetype>(c.logic.size() * 2));
}
} // namespace

class TestExport : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void sigrokSessionReadsBack();
    void vcdReadsBack();
    void vcdHoldsEveryLaneFromTimeZero();
    void numpyReadsTheArraysAndTheCsvExactly();
    void screenAndFrameCaptures();
    void capturesGoOnTheScreenAndBack();

private:
    QTemporaryDir dir_;
    Capture capture_;
    QString sigrokCli_, python_;
};

void TestExport::initTestCase() {
    sim::WaveformFileContent wave;
    wave.points = 100000;
    const QString path = dir_.filePath("deep.wfm");
    std::string error;
    QVERIFY(sim::WriteWaveformFile(path.toStdString(), wave, &error));
    MemoryRecord rec;
    QString loadError;
    QVERIFY(LoadWaveformFile(path, rec, &loadError) == WaveformLoad::Ok);
    capture_ = CaptureOfMemory(rec, &loadError);
    QCOMPARE(capture_.samples(), std::int64_t(100000));
    QCOMPARE(capture_.analogNames, (QStringList{"CH1", "CH2"}));
    QVERIFY(capture_.hasLogic);
    sigrokCli_ = QStandardPaths::findExecutable("sigrok-cli");
    python_ = QStandardPaths::findExecutable("python3", {"/usr/bin"});
}

void TestExport::sigrokSessionReadsBack() {
    if (sigrokCli_.isEmpty()) QSKIP("sigrok-cli is not installed (scripts/install-deps.sh)");
    const QString sr = dir_.filePath("deep.sr");
    QCOMPARE(WriteCapture(sr, capture_, CaptureFormatOf(sr)), QString());
    const QString show = QString::fromUtf8(runTool(sigrokCli_, {"-i", sr, "--show"}));
    QVERIFY2(show.contains(QString("Samplerate: %1").arg(std::llround(capture_.sampleRate))),
             qPrintable(show));
    for (int bit = 0; bit < 16; ++bit)
        QVERIFY(show.contains(QString("- D%1: logic").arg(bit)));
    QVERIFY(show.contains("- CH1: analog") && show.contains("- CH2: analog"));
    QVERIFY(show.contains("Logic sample count: 100000"));
    // The logic samples, as sigrok-cli's binary output gives them (the
    // analogue data follows them there).
    const QByteArray binary = runTool(sigrokCli_, {"-i", sr, "-O", "binary"});
    QCOMPARE(binary.left(200000), logicBytes(capture_));
}

void TestExport::vcdReadsBack() {
    if (sigrokCli_.isEmpty()) QSKIP("sigrok-cli is not installed (scripts/install-deps.sh)");
    const QString vcd = dir_.filePath("deep.vcd");
    QCOMPARE(WriteCapture(vcd, capture_, CaptureFormatOf(vcd)), QString());
    // The time unit counts a sample in whole ticks; sigrok reads one a tick.
    const QByteArray text = VcdBytes(capture_).left(200);
    QVERIFY(text.contains("$timescale 1 ns $end"));
    const int ticks = static_cast<int>(std::lround(1e9 / capture_.sampleRate));
    QByteArray out = runTool(
        sigrokCli_, {"-i", vcd, "-I", QString("vcd:downsample=%1").arg(ticks), "-O", "binary"});
    out = out.mid(out.indexOf('\n') + 1); // its META line
    QCOMPARE(out.left(200000), logicBytes(capture_));
}

// The VCD read by the test's own parser: every lane (the low ones too) and
// both channels have a value in the #0 block, and the changes after it give
// back every sample's logic word.
void TestExport::vcdHoldsEveryLaneFromTimeZero() {
    const QByteArray text = VcdBytes(capture_);
    QMap<QByteArray, QByteArray> names;             // identifier -> name
    std::map<long long, QList<QByteArray>> changes; // time -> "1!" / "r0.5 1" lines
    long long now = -1;
    bool inDefinitions = true;
    for (const QByteArray& raw : text.split('\n')) {
        const QByteArray line = raw.trimmed();
        if (line.isEmpty()) continue;
        if (inDefinitions) {
            const QList<QByteArray> w = line.split(' ');
            if (w.value(0) == "$var") names[w.value(3)] = w.value(4);
            if (line.startsWith("$enddefinitions")) inDefinitions = false;
            continue;
        }
        if (line.startsWith('#')) {
            now = line.mid(1).toLongLong();
            changes[now];
        } else if (!line.startsWith('$')) {
            QVERIFY2(now >= 0, "a value before the first time mark");
            changes[now] << line;
        }
    }
    QCOMPARE(names.size(), 18);
    QVERIFY(!changes.empty() && changes.begin()->first == 0);
    QSet<QByteArray> atZero;
    for (const QByteArray& change : changes.begin()->second)
        atZero << names.value(change.startsWith('r') ? change.split(' ').value(1) : change.mid(1));
    for (int bit = 0; bit < 16; ++bit)
        QVERIFY2(atZero.contains("D" + QByteArray::number(bit)),
                 qPrintable(QString("D%1 has no value at #0").arg(bit)));
    QVERIFY(atZero.contains("CH1") && atZero.contains("CH2"));
    // Replayed sample by sample: the logic words the capture holds.
    const double tick = 1e9 / capture_.sampleRate;
    std::uint16_t word = 0;
    auto next = changes.begin();
    for (std::int64_t i = 0; i < capture_.samples(); ++i) {
        const long long t = std::llround(static_cast<double>(i) * tick);
        for (; next != changes.end() && next->first <= t; ++next)
            for (const QByteArray& change : next->second) {
                if (change.startsWith('r')) continue;
                const int bit = names.value(change.mid(1)).mid(1).toInt();
                word = static_cast<std::uint16_t>(change[0] == '1' ? word | (1u << bit)
                                                                   : word & ~(1u << bit));
            }
        if (word != capture_.logic[static_cast<std::size_t>(i)])
            QFAIL(qPrintable(QString("sample %1: %2, the capture holds %3")
                                 .arg(i)
                                 .arg(word)
                                 .arg(capture_.logic[static_cast<std::size_t>(i)])));
    }
}

void TestExport::numpyReadsTheArraysAndTheCsvExactly() {
    if (python_.isEmpty() ||
        runTool(python_, {"-c", "import numpy; print('yes')"}).trimmed() != "yes")
        QSKIP("python3-numpy is not installed (scripts/install-deps.sh)");
    const QString npz = dir_.filePath("deep.npz"), csv = dir_.filePath("deep.csv");
    QCOMPARE(WriteCapture(npz, capture_, CaptureFormatOf(npz)), QString());
    QCOMPARE(WriteCapture(csv, capture_, CaptureFormatOf(csv)), QString());
    const QString script = QString(R"(
import numpy as np
z = np.load('%1')
assert z['CH1'].dtype == np.float32 and z['CH2'].dtype == np.float32, 'volts are float32'
assert z['logic'].dtype == np.uint16, 'logic words are uint16'
t = z['first_time'] + np.arange(len(z['CH1'])) / z['sample_rate']
c = np.loadtxt('%2', delimiter=',', skiprows=1, dtype=np.float64)
assert c.shape == (100000, 19), c.shape
assert np.array_equal(c[:, 1].astype(np.float32), z['CH1']), 'CSV CH1 reads back exactly'
assert np.array_equal(c[:, 2].astype(np.float32), z['CH2']), 'CSV CH2 reads back exactly'
assert np.array_equal(c[:, 0], t), 'CSV times are the times'
bits = sum(c[:, 3 + b].astype(np.uint16) << b for b in range(16))
assert np.array_equal(bits, z['logic']), 'CSV bits are the logic words'
print(len(z['CH1']), z['trigger_sample'], repr(float(z['CH1'][12345])), repr(float(z['CH2'][777])),
      int(z['logic'][99999]), list(z['volts_per_div']))
)")
                               .arg(npz, csv);
    int status = 0;
    const QString out = QString::fromUtf8(runTool(python_, {"-c", script}, &status)).trimmed();
    QVERIFY2(status == 0, qPrintable(out));
    const QStringList f = out.split(' ');
    QCOMPARE(f.value(0), QString("100000"));
    QCOMPARE(f.value(1).toLongLong(), capture_.triggerSample());
    QCOMPARE(f.value(2).toFloat(), capture_.analog[0][12345]);
    QCOMPARE(f.value(3).toFloat(), capture_.analog[1][777]);
    QCOMPARE(f.value(4).toInt(), int(capture_.logic[99999]));
}

void TestExport::screenAndFrameCaptures() {
    WaveRecord w;
    w.Loaded = w.ShowYT = w.ShowCh1 = true;
    w.Ch1Scale = "1.00V";
    w.Ch1Offset = "0.00uV";
    w.TimeScale = "1.000ms";
    w.TimeOffset = "0.000s";
    for (int i = 1; i <= 600; ++i)
        w.Ch1Samples[i] = 100 - 25; // one division above the ground
    QString error;
    const Capture c = CaptureOfScreen(w, &error);
    QCOMPARE(c.samples(), std::int64_t(600));
    QCOMPARE(c.sampleRate, 50000.0);
    QCOMPARE(c.analog[0][0], 1.0f);
    QCOMPARE(c.triggerSample(), std::int64_t(300));
    const QByteArray csv = PreciseCsvBytes(c);
    QVERIFY(csv.startsWith("Time (s),CH1 (V)\n-0.006,1\n"));
    WaveRecord empty;
    QCOMPARE(CaptureOfScreen(empty, &error).samples(), std::int64_t(0));
    QVERIFY(!error.isEmpty());
    QVERIFY(!WriteCapture(dir_.filePath("x.csv"), Capture(), CaptureFormat::PreciseCsv).isEmpty());
}

// A capture drawn as a screen (the Python package's picture) and read back as
// the screen's capture: the same samples within half a row, the same time
// base, the same logic; in a long capture a one-sample spike keeps its column.
void TestExport::capturesGoOnTheScreenAndBack() {
    Capture c;
    c.sampleRate = 100e3; // 600 samples: 6 ms over 12 divisions of 500 us
    c.firstTime = -2e-3;
    c.analogNames = {"CH1", "CH2"};
    c.voltsPerDiv = {0.5, 2.0};
    c.hasLogic = true;
    for (int i = 0; i < 600; ++i) {
        c.analog.resize(2);
        c.analog[0].push_back(static_cast<float>(1.5 * std::sin(i / 30.0)));
        c.analog[1].push_back(i < 300 ? -3.0f : 5.0f);
        c.logic.push_back(static_cast<std::uint16_t>(i * 37));
    }
    QString error;
    const WaveRecord screen = ScreenOfCapture(c);
    const Capture back = CaptureOfScreen(screen, &error);
    QVERIFY2(back.samples() == 600, qPrintable(error));
    QCOMPARE(back.sampleRate, c.sampleRate);
    QVERIFY(std::abs(back.firstTime - c.firstTime) < 1e-9);
    QCOMPARE(back.voltsPerDiv, c.voltsPerDiv);
    QCOMPARE(back.logic, c.logic);
    for (std::size_t a = 0; a < 2; ++a)
        for (std::size_t i = 0; i < 600; ++i)
            QVERIFY2(std::abs(back.analog[a][i] - c.analog[a][i]) <= c.voltsPerDiv[a] / 50 + 1e-6,
                     qPrintable(QString("channel %1 sample %2").arg(a + 1).arg(i)));

    Capture deep;
    deep.sampleRate = 1e8;
    deep.analogNames = {"CH1"};
    deep.voltsPerDiv = {1.0};
    deep.analog = {platform::LargeVector<float>(600000, 0.0f)};
    deep.analog[0][123457] = 3.0f; // three divisions up: row 25
    const WaveRecord shown = ScreenOfCapture(deep);
    const int column = 123457 * 300 / 600000;
    QCOMPARE(std::min(shown.Ch1Samples[2 * column + 1], shown.Ch1Samples[2 * column + 2]), 25);
    QCOMPARE(shown.Ch1Samples[2 * (column + 1) + 1], 100);
}

QTEST_MAIN(TestExport)
#include "tst_export.moc"
