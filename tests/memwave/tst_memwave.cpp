// SPDX-License-Identifier: GPL-3.0-or-later
// Deep-memory files and their viewer: both heads, the sections, broken
// files, the zoom pipeline keeping peaks, the ladders, the CSV export.
#include "TestPlatform.h"

#include "Files.h"
#include "export/CaptureExport.h"
#include "memwave/CsvExport.h"
#include "memwave/MemoryView.h"
#include "memwave/WaveZoom.h"
#include "memwave/WaveformFile.h"
#include "memwave/frmOpenWaveform.h"
#include "shared/LoadLanguage.h"
#include "shared/Picture.h"
#include "shared/StringRES.h"
#include "sheet/DataSheet.h"
#include "sheet/SheetRecords.h"
#include "views/Analyser.h"
#include "views/frmWave.h"

#include <QComboBox>
#include <QFile>
#include <QRandomGenerator>
#include <QtTest>
#include <cstring>

namespace {

QByteArray simulatorFile(const sim::WaveformFileContent& wave) {
    QTemporaryDir dir;
    const QString path = dir.filePath("w.wfm");
    std::string error;
    if (!sim::WriteWaveformFile(path.toStdString(), wave, &error)) return QByteArray();
    QFile f(path);
    f.open(QIODevice::ReadOnly);
    return f.readAll();
}

MemoryRecord load(const QByteArray& file) {
    MemoryRecord rec;
    LoadWaveformBytes(file, rec);
    return rec;
}

} // namespace

class TestMemWave : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void bothHeadsGiveTheSameRecord();
    void olderHeadHasNoDigitalAndMovesSamplesUp();
    void digitalBytesPerPoint_data();
    void digitalBytesPerPoint();
    void onlyChannel2StartsAfterTheHead();
    void brokenFiles_data();
    void brokenFiles();
    void csvPictures_data();
    void csvPictures();
    void csvPicturesMatchTheFormatter();
    void csvHeadings_data();
    void csvHeadings();
    void csvRowsFollowTheRule();
    void voltLadder_data();
    void voltLadder();
    void timeLadder_data();
    void timeLadder();
    void visibleRangeOfTheWholeCapture();
    void aOneSampleGlitchShowsAtTheWidestZoom();
    void expansionUsesTrueTimes();
    void digitalTransitionInAColumnShows();
    void pyramidAnswersEveryRange();
    void viewerOpensZoomsStepsAndExports();
    void alternateChannelsKeepTheirOwnRates_data();
    void alternateChannelsKeepTheirOwnRates();

private:
    std::unique_ptr<TestPlatform> tp_;
};

void TestMemWave::initTestCase() {
    RegisterMemoryWaveWindow();
}

void TestMemWave::init() {
    tp_.reset();
    tp_ = std::make_unique<TestPlatform>();
    ApplyLanguage(kLanguageEnglish);
}

void TestMemWave::bothHeadsGiveTheSameRecord() {
    sim::WaveformFileContent wave;
    wave.points = 3000;
    wave.digital = false;
    wave.ch1VoltsPerDiv = wave.ch2VoltsPerDiv = 2.0; // traces inside the screen
    const MemoryRecord current = load(simulatorFile(wave));
    wave.olderHead = true;
    const MemoryRecord older = load(simulatorFile(wave));
    QVERIFY(current.Loaded && older.Loaded);
    QCOMPARE(older.PointsMain, current.PointsMain);
    QCOMPARE(older.VoltDiv1, current.VoltDiv1);
    QCOMPARE(older.TimeDiv, current.TimeDiv);
    QCOMPARE(older.SampleRateMain, current.SampleRateMain);
    QCOMPARE(older.TriggerMode, current.TriggerMode);
    // Element n lies past the section (the arrays hold 0..n): compare the samples.
    QCOMPARE(older.Ch2Data.size(), current.Ch2Data.size());
    for (std::size_t i = 0; i + 1 < older.Ch2Data.size(); ++i) {
        QCOMPARE(older.Ch1Data[i], current.Ch1Data[i]);
        QCOMPARE(older.Ch2Data[i], current.Ch2Data[i]);
    }
}

void TestMemWave::olderHeadHasNoDigitalAndMovesSamplesUp() {
    QByteArray older(kWfmOlderHeadSize + 4 + 11, '\0');
    older[0] = char(0xA1);
    older[1] = char(0xA5);
    older[28] = 10; // 10 points
    older[49] = 1;  // CH1
    for (int at = 120; at < 142; ++at)
        older[at] = char(0xFF); // what becomes 120..141 would say "digital" if copied
    const MemoryRecord rec = load(older);
    QVERIFY(!rec.LAValid);
    QCOMPARE(int(rec.Ch1Data.size()), 11);
    QCOMPARE(int(rec.Ch1Data[0]), 25);          // byte 0 is the top row
    QCOMPARE(rec.TriggerMode, QString("EDGE")); // older 120 is the trigger mode: 0xFF
}

void TestMemWave::digitalBytesPerPoint_data() {
    QTest::addColumn<int>("points");
    QTest::addColumn<int>("bytes");
    QTest::newRow("524288") << 524288 << 2;
    QTest::newRow("524289") << 524289 << 1;
}

void TestMemWave::digitalBytesPerPoint() {
    QFETCH(int, points);
    QFETCH(int, bytes);
    QCOMPARE(DigitalBytesPerPoint(points), bytes);
    sim::WaveformFileContent wave;
    wave.points = points;
    wave.ch2 = false;
    const QByteArray file = simulatorFile(wave);
    QCOMPARE(file.size(), qsizetype(kWfmHeadSize + 4 + points + qsizetype(points) * bytes));
    const MemoryRecord rec = load(file);
    QVERIFY(rec.LAValid);
    QCOMPARE(int(rec.LAData.size()), points * bytes);
}

void TestMemWave::onlyChannel2StartsAfterTheHead() {
    QByteArray f(kWfmHeadSize + 4 + 5, '\0');
    f[0] = char(0xA5);
    f[1] = char(0xA5);
    f[28] = 4;
    f[73] = 1; // CH2 only
    f[kWfmHeadSize + 4] = 77;
    const MemoryRecord rec = load(f);
    QVERIFY(rec.Loaded && rec.Ch2Valid && !rec.Ch1Valid);
    QCOMPARE(int(rec.Ch2Data[0]), 77);
}

void TestMemWave::brokenFiles_data() {
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<bool>("ok");
    QByteArray lying(kWfmHeadSize + 4, '\0');
    lying[0] = lying[1] = char(0xA5);
    lying[28] = lying[29] = lying[30] = char(0xFF);
    lying[31] = 0x7F; // 2^31 - 1 points
    lying[49] = 1;
    QByteArray promising(kWfmHeadSize + 4, '\0'); // 276 bytes claiming 2,100,000 points
    promising[0] = promising[1] = char(0xA5);
    const std::int32_t points = 2100000;
    std::memcpy(promising.data() + 28, &points, 4);
    promising[49] = 1;
    sim::WaveformFileContent wave;
    wave.points = 1000;
    const QByteArray whole = simulatorFile(wave);
    QTest::newRow("empty") << QByteArray() << false;
    QTest::newRow("wrong magic") << QByteArray(300, 'x') << false;
    QTest::newRow("a head promising billions") << lying << false;
    QTest::newRow("a bare head promising 2.1 M points") << promising << false;
    QTest::newRow("magic only") << QByteArray("\xA5\xA5", 2) << false;
    QTest::newRow("cut at 100 bytes") << whole.left(100) << false;
    QTest::newRow("cut in half") << whole.left(whole.size() / 2) << false;
    QTest::newRow("one byte short") << whole.left(whole.size() - 1) << false;
    QTest::newRow("whole") << whole << true;
}

void TestMemWave::brokenFiles() {
    QFETCH(QByteArray, file);
    QFETCH(bool, ok);
    MemoryRecord rec;
    rec.Name = "kept";
    QCOMPARE(LoadWaveformBytes(file, rec) == WaveformLoad::Ok, ok);
    QCOMPARE(rec.Name, QString("kept"));
    QCOMPARE(rec.Loaded, ok);
}

void TestMemWave::csvPictures_data() {
    QTest::addColumn<double>("value");
    QTest::addColumn<QString>("text");
    QTest::newRow("one") << 1.0 << "1.00E+00";
    QTest::newRow("half") << 0.5 << "5.00E-01";
    QTest::newRow("minus three") << -3.0 << "-3.00E00";
    QTest::newRow("rounds up") << 9.996 << "1.00E+01";
    QTest::newRow("zero") << 0.0 << "0.00E00";
    QTest::newRow("micro") << 1.234e-6 << "1.23E-06";
}

void TestMemWave::csvPictures() {
    QFETCH(double, value);
    QFETCH(QString, text);
    QByteArray out;
    AppendExpPicture(out, static_cast<float>(value));
    QCOMPARE(QString::fromLatin1(out), text);
}

void TestMemWave::csvPicturesMatchTheFormatter() {
    QRandomGenerator random(99);
    for (int i = 0; i < 20000; ++i) {
        const float v = static_cast<float>((random.generateDouble() - 0.5) *
                                           std::pow(10.0, random.bounded(-12, 12)));
        QByteArray fast;
        AppendExpPicture(fast, v);
        const QString slow = FormatPicture(v, v >= 1 ? "0.00E+00" : "0.00E-00", Precision::Single);
        QCOMPARE(QString::fromLatin1(fast), slow);
    }
}

void TestMemWave::csvHeadings_data() {
    QTest::addColumn<bool>("alternate");
    QTest::addColumn<bool>("ch1");
    QTest::addColumn<bool>("ch2");
    QTest::addColumn<QByteArray>("heading");
    QTest::newRow("CH2 only") << false << false << true
                              << QByteArray("X,CH2\r\nSecond,Voltage\r\n");
    QTest::newRow("both") << false << true << true
                          << QByteArray("X,CH1,CH2\r\nSecond,Voltage,Voltage\r\n");
    QTest::newRow("alternate")
        << true << true << true
        << QByteArray("X(CH1),CH1,X(CH2),CH2\r\nSecond[S],Voltage[V],Second[S],Voltage[V]\r\n");
}

void TestMemWave::csvHeadings() {
    QFETCH(bool, alternate);
    QFETCH(bool, ch1);
    QFETCH(bool, ch2);
    QFETCH(QByteArray, heading);
    MemoryRecord rec;
    rec.Alternate = alternate;
    rec.Ch1On = ch1;
    rec.Ch2On = ch2;
    QCOMPARE(CsvHeading(rec), heading);
}

void TestMemWave::csvRowsFollowTheRule() {
    MemoryRecord rec;
    rec.Ch1On = 1;
    rec.Ch1Valid = true;
    rec.PointsMain = 4;
    rec.SampleRateMain = 1000; // 1 ms a sample
    rec.TimeOriginMain = 0;
    rec.VoltDiv1 = 1;
    rec.OffsetVolt1 = 0;
    rec.Ch1Data = {125, 100, 150, 125, 0}; // rows 100, 75, 125: 0 V, +1 V, -1 V
    QByteArray out;
    AppendCsvRows(out, rec, 0, 3);
    QCOMPARE(out, QByteArray("-2.00E-03,0.00E00\r\n-1.00E-03,1.00E+00\r\n0.00E00,-1.00E00\r\n"));
}

void TestMemWave::voltLadder_data() {
    QTest::addColumn<qint64>("from");
    QTest::addColumn<bool>("up");
    QTest::addColumn<qint64>("to");
    QTest::newRow("2 mV down stays") << qint64(2000) << false << qint64(2000);
    QTest::newRow("5 mV down") << qint64(5000) << false << qint64(2000);
    QTest::newRow("10 V up stays") << qint64(10000000) << true << qint64(10000000);
    QTest::newRow("10 mV down") << qint64(10000) << false << qint64(5000);
    QTest::newRow("2 mV up") << qint64(2000) << true << qint64(5000);
    QTest::newRow("between, down") << qint64(7000) << false << qint64(5000);
}

void TestMemWave::voltLadder() {
    QFETCH(qint64, from);
    QFETCH(bool, up);
    QFETCH(qint64, to);
    QCOMPARE(qint64(StepVoltLadder(from, up)), to);
}

void TestMemWave::timeLadder_data() {
    QTest::addColumn<qint64>("from");
    QTest::addColumn<bool>("up");
    QTest::addColumn<qint64>("to");
    QTest::newRow("1 ps down stays") << qint64(1) << false << qint64(1);
    QTest::newRow("50 s up stays") << qint64(50000000000000) << true << qint64(50000000000000);
    QTest::newRow("2000 ps up") << qint64(2000) << true << qint64(5000);
    QTest::newRow("2001 ps up: the exception") << qint64(2001) << true << qint64(5000);
    QTest::newRow("20001 ps up") << qint64(20001) << true << qint64(100000);
    QTest::newRow("1 ms down") << qint64(1000000000) << false << qint64(500000000);
}

void TestMemWave::timeLadder() {
    QFETCH(qint64, from);
    QFETCH(bool, up);
    QFETCH(qint64, to);
    QCOMPARE(qint64(StepTimeLadder(from, up)), to);
}

void TestMemWave::visibleRangeOfTheWholeCapture() {
    CaptureTiming t{1000, 3000, 0, 0, 0.25}; // 3 s of samples on a 3 s screen
    const VisibleRange r = VisibleRangeFor(t);
    QCOMPARE(r.sourceStart, 0);
    QCOMPARE(r.sourceStop, 2999);
    QCOMPARE(int(r.screenStart), 0);
    QCOMPARE(int(r.screenStop), 299);
    t.delay = 10; // the screen lies after the capture
    QVERIFY(VisibleRangeFor(t).empty());
}

void TestMemWave::aOneSampleGlitchShowsAtTheWidestZoom() {
    const int n = 2000000;
    std::vector<std::int16_t> data(static_cast<std::size_t>(n) + 1, 125);
    data[1234567] = 25; // one sample at the top of the screen
    MinMaxPyramid pyramid;
    pyramid.build(data);
    CaptureTiming t{static_cast<float>(n / 12.0), n, 0, 0, 1.0};
    const VisibleRange r = VisibleRangeFor(t);
    ScreenColumns columns{};
    WaveZoom(columns, data, pyramid, t, r);
    int top = 0;
    for (int i = 2 * r.screenStart + 1; i <= 2 * r.screenStop + 2; ++i)
        if (columns[std::size_t(i)] == 0) ++top;
    QCOMPARE(top, 1);
    QCOMPARE(columns[301], 100); // elsewhere the centre line
}

void TestMemWave::expansionUsesTrueTimes() {
    std::vector<std::int16_t> data = {25, 225, 25}; // three samples
    MinMaxPyramid pyramid;
    pyramid.build(data);
    // 3 samples at 1 s apart over a 300 s screen: far fewer samples than columns.
    CaptureTiming t{1.0f, 3, 0, 0, 25.0};
    const VisibleRange r = VisibleRangeFor(t);
    ScreenColumns columns{};
    WaveZoom(columns, data, pyramid, t, r);
    // The middle is n / 2 = 1.5 samples in: sample 1 lies at -0.5 s, column
    // 149.5, the first at column 148.5.
    QCOMPARE(int(r.screenStart), 148);
    QCOMPARE(columns[2 * 149 + 2], 199);
    QCOMPARE(columns[2 * 150 + 1], 100); // halfway to the next sample, halfway down
}

void TestMemWave::digitalTransitionInAColumnShows() {
    std::vector<std::uint8_t> section;
    for (int i = 0; i < 6000; ++i) {
        const std::uint16_t word = i == 3001 ? 0x0001 : 0x0000; // D0 high for one sample
        section.push_back(word & 0xFF);
        section.push_back(word >> 8);
    }
    DigitalPyramid pyramid;
    pyramid.build(section, 6000);
    CaptureTiming t{500, 6000, 0, 0, 1.0};
    ScreenColumns words{};
    LAZoom(words, section, pyramid, t, VisibleRangeFor(t));
    int edges = 0;
    for (std::size_t i = 1; i < words.size(); ++i)
        if ((words[i] & 1) != (words[i - 1] & 1)) ++edges;
    QVERIFY(edges >= 1);
}

void TestMemWave::pyramidAnswersEveryRange() {
    std::vector<std::int16_t> data(1000);
    QRandomGenerator random(5);
    for (auto& v : data)
        v = static_cast<std::int16_t>(random.bounded(256));
    MinMaxPyramid pyramid;
    pyramid.build(data);
    for (int round = 0; round < 500; ++round) {
        const int a = random.bounded(1000), b = a + random.bounded(1000 - a);
        int low, high;
        QVERIFY(pyramid.range(data, a, b, &low, &high));
        const auto [mn, mx] = std::minmax_element(data.begin() + a, data.begin() + b + 1);
        QCOMPARE(low, int(*mn));
        QCOMPARE(high, int(*mx));
    }
}

void TestMemWave::viewerOpensZoomsStepsAndExports() {
    ResetDataSheet();
    QVERIFY(NewDataSheet());
    QCOMPARE(AddDocument(DocKind::MemoryWave), 0);
    auto* w = qobject_cast<frmOpenWaveform*>(DocForm(DocKind::MemoryWave, 0));
    QVERIFY(w);
    w->Timer1_Timer();
    sim::WaveformFileContent wave;
    wave.points = 20000;
    const QString path = tp_->tempPath("view.wfm");
    std::string error;
    QVERIFY(sim::WriteWaveformFile(path.toStdString(), wave, &error));
    tp_->chosenPaths = {path};
    w->OpenWaveformFile();
    QCOMPARE(tp_->fileDialogs[0].title, QString("Open Waveform Files"));
    QVERIFY(MemoryRecords[0].Loaded);
    QVERIFY(w->windowTitle().endsWith("(" + path + ")"));
    int yellow = 0;
    const QImage& picture = w->picture();
    for (int y = 25; y < 225; ++y)
        for (int x = 25; x < 325; ++x)
            if (picture.pixelColor(x, y) == QColor(255, 255, 0)) ++yellow;
    QVERIFY(yellow > 100);
    // Zoom: "0%" is 1 %; text without a sign is refused.
    w->zoomCombo()->setEditText("0%");
    w->ZoomCombo_Commit();
    QCOMPARE(w->ZoomFactor(), 0.01);
    w->zoomCombo()->setEditText("200");
    w->ZoomCombo_Commit();
    QCOMPARE(tp_->prompts(), QStringList{MsgBadZoom});
    w->zoomCombo()->setEditText("100%");
    w->ZoomCombo_Commit();
    // The volts ladder keeps the trace where it is: the offset scales too.
    MemoryRecords[0].OffsetVolt1 = 0.5f;
    const float before = MemoryRecords[0].VoltDiv1;
    w->Step(HoldTarget::Ch1Div, true);
    QVERIFY(MemoryRecords[0].VoltDiv1 > before);
    QCOMPARE(MemoryRecords[0].OffsetVolt1, 0.5f * MemoryRecords[0].VoltDiv1 / before);
    // Dragging the trace moves the delay.
    const double delay = MemoryRecords[0].Delay;
    w->Mouse(QEvent::MouseButtonPress, {150, 120}, Qt::LeftButton);
    w->Mouse(QEvent::MouseMove, {175, 120}, Qt::LeftButton);
    w->Mouse(QEvent::MouseButtonRelease, {175, 120}, Qt::NoButton);
    QCOMPARE(MemoryRecords[0].Delay, delay - MemoryRecords[0].TimeDiv);
    // CSV: a heading of two lines and a row a sample.
    const QString csv = tp_->tempPath("view.csv");
    tp_->chosenPaths = {csv};
    w->ExportCsv();
    QFile f(csv);
    QVERIFY(f.open(QIODevice::ReadOnly));
    const QByteArray content = f.readAll();
    QVERIFY(content.startsWith("X,CH1,CH2\r\nSecond,Voltage,Voltage\r\n"));
    QCOMPARE(content.count('\n'), 2 + 20000);
    // The view moved (Volt/Div, delay, a vertical drag): the CSV still holds
    // the capture's own values, byte for byte what the command line writes
    // from the file.
    w->Mouse(QEvent::MouseButtonPress, {150, 120}, Qt::LeftButton);
    w->Mouse(QEvent::MouseMove, {150, 160}, Qt::LeftButton);
    w->Mouse(QEvent::MouseButtonRelease, {150, 160}, Qt::NoButton);
    tp_->chosenPaths = {csv};
    w->ExportCsv();
    QFile again(csv);
    QVERIFY(again.open(QIODevice::ReadOnly));
    MemoryRecord fresh;
    QString loadError;
    QVERIFY(LoadWaveformFile(path, fresh, &loadError) == WaveformLoad::Ok);
    const QString cli = tp_->tempPath("cli.csv");
    QVERIFY(::ExportCsv(cli, fresh, {}).isEmpty());
    QFile cliFile(cli);
    QVERIFY(cliFile.open(QIODevice::ReadOnly));
    QCOMPARE(again.readAll(), cliFile.readAll());
    ResetDataSheet();
}

// An alternate-trigger file whose CH2 runs at twice CH1's rate (CH1 the
// simulator's 1 kHz sine, CH2 its 2 kHz square): each channel's spectrum
// reads its own tone only through its own rate field. The same file with
// CH2's rate field halved by hand puts CH2's tone at 1 kHz and leaves CH1's.
void TestMemWave::alternateChannelsKeepTheirOwnRates_data() {
    QTest::addColumn<float>("ch2RateFactor");
    QTest::addColumn<double>("ch2Hz");
    QTest::newRow("as written") << 1.0f << 2000.0;
    QTest::newRow("CH2's rate field halved") << 0.5f << 1000.0;
}

void TestMemWave::alternateChannelsKeepTheirOwnRates() {
    QFETCH(float, ch2RateFactor);
    QFETCH(double, ch2Hz);
    sim::WaveformFileContent wave;
    wave.alternate = true;
    wave.points = 40000;
    wave.secondsPerDiv = 5e-4;
    wave.secondsPerDiv2 = 2.5e-4;
    wave.ch2Generator.shape = sim::Generator::Shape::Square;
    wave.ch2Generator.frequency = 2000;
    const QString path = tp_->tempPath("alternate.wfm");
    std::string error;
    QVERIFY(sim::WriteWaveformFile(path.toStdString(), wave, &error));
    QFile f(path);
    QVERIFY(f.open(QIODevice::ReadWrite));
    QByteArray bytes = f.readAll();
    float ch2Rate = 0; // CH2's sample rate, a little-endian float at byte 252 of the head
    std::memcpy(&ch2Rate, bytes.constData() + 252, 4);
    QVERIFY(std::abs(ch2Rate - 40000 / (12 * 2.5e-4)) < 1);
    ch2Rate *= ch2RateFactor;
    std::memcpy(bytes.data() + 252, &ch2Rate, 4);
    QVERIFY(f.seek(0) && f.write(bytes) == bytes.size());
    f.close();

    MemoryRecord rec;
    QString loadError;
    QCOMPARE(LoadWaveformFile(path, rec, &loadError), WaveformLoad::Ok);
    MemoryView view;
    for (int channel : {1, 2}) {
        const CaptureTiming t = view.timing(rec, channel);
        const auto v = MemoryVolts(rec, channel, 0, t.points);
        const std::vector<double> volts(v.begin(), v.end());
        const Spectrum s =
            ComputeRmsSpectrum(volts.data(), volts.size(), t.sampleRate, FftWindow::Hanning);
        const double expected = channel == 1 ? 1000 : ch2Hz;
        QVERIFY2(std::abs(FindPeak(s).frequency - expected) < s.binHz / 4,
                 qPrintable(QString("CH%1 peak at %2 Hz, %3 expected")
                                .arg(channel)
                                .arg(FindPeak(s).frequency)
                                .arg(expected)));
    }
}

QTEST_MAIN(TestMemWave)
#include "tst_memwave.moc"
