// SPDX-License-Identifier: GPL-3.0-or-later
// The wave job against the simulated instrument: the commands in their order
// for each screen format, the samples as the instrument drew them, over USB
// and RS232; and the decode rules and the system data block on their own.
#include "SimulatedLink.h"
#include "TestPlatform.h"

#include "Simulator.h"
#include "acquire/Jobs.h"
#include "acquire/WaveJob.h"
#include "controller/CtrlData.h"
#include "controller/CtrlState.h"
#include "link/Connection.h"
#include "link/LinkState.h"
#include "link/RS232Func.h"
#include "shared/ComPorts.h"
#include "shared/LoadLanguage.h"
#include "shared/Picture.h"
#include "shared/SoftwareSetting.h"
#include "shared/ValueText.h"
#include "sheet/SheetRecords.h"

#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QTimer>
#include <QtTest>
#include <memory>

class TestWaveJob : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void cleanup();
    void decodeRules_data();
    void decodeRules();
    void shortReplyKeepsZeroesBehind();
    void systemDataFieldsAtTheirPlaces();
    void splitScreen_data();
    void splitScreen();
    void yTFetchesEverySourceInOrder();
    void xyForcesBothChannelsOnAndRewritesTheTree();
    void rollFormatFetchesLikeYT();
    void alternateTriggerReadsEachChannelsTimeBase();
    void mathOffDropsTheMathSource();
    void fftFetchedInsteadOfMath();
    void serialFetchGivesTheSameSamples();
    void serialDataWaitEndsWhenTheLinkGoesDown();

private:
    std::unique_ptr<TestPlatform> tp_;
    std::unique_ptr<SimulatedLink> link_;
    QStringList jobCommands() const; // the log without the connect's own traffic
    void runJob(bool ch1, bool ch2, bool math, bool la);
};

void TestWaveJob::initTestCase() {
    RegisterWaveJob();
}

void TestWaveJob::init() {
    tp_ = std::make_unique<TestPlatform>();
    ResetControllerState();
    SoftwareSetting = SoftwareSettingRecord();
    WaveRecords[0] = WaveRecord();
    link_ = std::make_unique<SimulatedLink>();
    QVERIFY(link_->connected());
}

void TestWaveJob::cleanup() {
    link_.reset();
    tp_.reset();
}

QStringList TestWaveJob::jobCommands() const {
    QStringList l;
    for (const QString& c : link_->log())
        if (!c.startsWith('<')) l << c;
    return l;
}

void TestWaveJob::runJob(bool ch1, bool ch2, bool math, bool la) {
    WaveRecord& r = WaveRecords[0];
    r.SelCh1 = ch1;
    r.SelCh2 = ch2;
    r.SelMath = math;
    r.SelLA = la;
    link_->clearLog();
    QVERIFY(RunJob(kJobWave, "wave", 0));
}

void TestWaveJob::decodeRules_data() {
    QTest::addColumn<int>("kind");
    QTest::addColumn<int>("raw");
    QTest::addColumn<bool>("invert");
    QTest::addColumn<bool>("running");
    QTest::addColumn<bool>("split");
    QTest::addColumn<int>("row");
    const int ch = int(TraceKind::Channel), fft = int(TraceKind::Fft);
    const int math = int(TraceKind::Math), la = int(TraceKind::Digital);
    QTest::newRow("channel plain") << ch << 125 << false << true << false << 100;
    QTest::newRow("below 25 is the top row") << ch << 3 << false << true << false << 0;
    QTest::newRow("above 224 is the bottom row") << ch << 250 << false << true << false << 199;
    QTest::newRow("inverted while running is flipped") << ch << 75 << true << true << false << 150;
    QTest::newRow("inverted while stopped is not") << ch << 75 << true << false << false << 50;
    QTest::newRow("math is never flipped") << math << 75 << true << true << false << 50;
    QTest::newRow("fft full screen") << fft << 125 << false << true << false << 100;
    QTest::newRow("fft split: half to even, up") << fft << 38 << false << true << true << 26;
    QTest::newRow("fft split: half to even, down") << fft << 37 << false << true << true << 24;
    QTest::newRow("fft clamped at the top") << fft << 5 << false << true << true << 0;
    QTest::newRow("fft clamped at the bottom") << fft << 240 << false << true << false << 199;
    QTest::newRow("digital bytes as they are") << la << 0xA5 << false << true << false << 0xA5;
}

void TestWaveJob::decodeRules() {
    QFETCH(int, kind);
    QFETCH(int, raw);
    QFETCH(bool, invert);
    QFETCH(bool, running);
    QFETCH(bool, split);
    QFETCH(int, row);
    DecodeRules rules;
    rules.invertOn = invert;
    rules.running = running;
    rules.splitScreen = split;
    QCOMPARE(DecodeSample(static_cast<TraceKind>(kind), raw, rules), row);
}

void TestWaveJob::shortReplyKeepsZeroesBehind() {
    SampleArray out;
    out.fill(77);
    for (int i = 1; i <= 10; ++i)
        RawSamples[i] = 100;
    DecodeTrace(TraceKind::Channel, 10, DecodeRules(), out);
    QCOMPARE(out[10], 75);
    QCOMPARE(out[11], 0);
    QCOMPARE(out[600], 0);
}

void TestWaveJob::systemDataFieldsAtTheirPlaces() {
    SystemDataBlock116 block{};
    block[0] = 5;    // DrawStart
    block[2] = 0x2B; // DrawEnd 299
    block[3] = 0x01;
    block[12] = 1; // RollMode
    block[37] = 0; // FFTFullScreen
    block[38] = 7; // SysByte38
    const float f = 1.25e-3f;
    std::memcpy(&block[56], &f, 4); // SysFloat56
    block[72] = 0x01;               // LAEnableMask: D0 and D15
    block[73] = 0x80;
    block[74 + 2 * 15] = 42; // LAPosition[15]
    block[106] = 3;
    block[107] = 5;
    block[108] = 10;
    const SystemData d = SystemDataFromBlock(block);
    QCOMPARE(d.DrawStart, std::int16_t(5));
    QCOMPARE(d.DrawEnd, std::int16_t(299));
    QCOMPARE(d.RollMode, std::uint8_t(1));
    QCOMPARE(d.SysByte38, std::uint8_t(7));
    QCOMPARE(d.SysFloat56, f);
    QCOMPARE(static_cast<std::uint16_t>(d.LAEnableMask), std::uint16_t(0x8001));
    QCOMPARE(d.LAPosition[15], std::int16_t(42));
    QCOMPARE(d.LAActiveChannel, std::uint8_t(3));
    QCOMPARE(d.LAHeightHigh, std::uint8_t(10));
    // The fields kept only for the file go back byte for byte.
    SystemDataBlock116 noise{};
    for (std::size_t i = 0; i < noise.size(); ++i)
        noise[i] = static_cast<std::uint8_t>(i * 37 + 11);
    const SystemDataBlock116 back = BlockFromSystemData(SystemDataFromBlock(noise));
    for (std::size_t at : {16u, 20u, 21u, 22u, 23u, 24u, 28u, 32u, 35u, 36u,
                           40u, 44u, 46u, 48u, 52u, 60u, 64u, 68u, 69u, 108u})
        QCOMPARE(back[at], noise[at]);
}

void TestWaveJob::splitScreen_data() {
    QTest::addColumn<QString>("mode");
    QTest::addColumn<bool>("fftOn");
    QTest::addColumn<int>("full");
    QTest::addColumn<bool>("split");
    QTest::newRow("edge, no fft") << "EDGE" << false << 0 << false;
    QTest::newRow("edge, fft full screen") << "EDGE" << true << 1 << false;
    QTest::newRow("edge, fft shares") << "EDGE" << true << 0 << true;
    QTest::newRow("alternation") << "ALTERNATION" << false << 1 << true;
}

void TestWaveJob::splitScreen() {
    QFETCH(QString, mode);
    QFETCH(bool, fftOn);
    QFETCH(int, full);
    QFETCH(bool, split);
    QCOMPARE(ComputeSplitScreen(mode, fftOn, full), split);
}

void TestWaveJob::yTFetchesEverySourceInOrder() {
    link_->instrument().Process(":MATH:DISPLAY ON");
    link_->instrument().Process(":STOP"); // a still screen to compare with
    runJob(true, true, true, true);
    QCOMPARE(
        jobCommands(),
        (QStringList{":TRIGGER:STATUS?", ":TRIGGER:STATUS?", ":MATH:DISPLAY?", ":FFT:DISPLAY?",
                     ":SYSTEM:DATA?", ":TRIGGER:MODE?", ":TIMEBASE:FORMAT?", ":CHANNEL1:SCALE?",
                     ":CHANNEL1:OFFSET?", ":CHANNEL2:SCALE?", ":CHANNEL2:OFFSET?",
                     ":TIMEBASE:SCALE?", ":TIMEBASE:OFFSET?", ":CHANNEL1:INVERT?",
                     ":WAVEFORM:DATA? CHANNEL1", ":CHANNEL2:INVERT?", ":WAVEFORM:DATA? CHANNEL2",
                     ":WAVEFORM:DATA? MATH", ":WAVEFORM:DATA? DIGITAL"}));
    const WaveRecord& r = WaveRecords[0];
    QVERIFY(r.ShowYT && !r.ShowXY && !r.ShowRoll);
    QCOMPARE(r.PointCount, 600);
    QCOMPARE(r.ActiveChannel, 2);
    // The scales the instrument is set to, read back from the record's texts.
    QCOMPARE(ParseVoltTextWide(PointForm(r.Ch1Scale)), link_->instrument().ChannelScale(1));
    QCOMPARE(ParseTimeText(PointForm(r.TimeScale)), link_->instrument().TimeScale());
    const auto trace = link_->instrument().ScreenTrace(1);
    for (int i = 1; i <= 600; ++i)
        QCOMPARE(r.Ch1Samples[i], std::clamp<int>(trace[std::size_t(i - 1)], 25, 224) - 25);
    QCOMPARE(r.SysData.DrawEnd, std::int16_t(299));
    QCOMPARE(r.SysData.Ch1On, std::uint8_t(1));
    // The digital block: 1201 bytes asked, ten of header dropped, words low byte first.
    QCOMPARE(r.LASamples[1191 + 1], 0);
    // The simulator's counter above its buses (D7 up) steps by one every second word.
    auto word = [&r](int i) {
        return (r.LASamples[2 * i + 1] + 256 * r.LASamples[2 * i + 2]) >> 7;
    };
    QCOMPARE(word(100) - word(99), 1);
    QCOMPARE(word(101) - word(100), 0);
}

void TestWaveJob::xyForcesBothChannelsOnAndRewritesTheTree() {
    link_->instrument().Process(":TIMEBASE:FORMAT XY");
    CtrlData.Ch2Display = WordOff;
    int treeChanges = 0;
    SetCtrlTreeListener([&treeChanges](CtrlTreeChange) { ++treeChanges; });
    runJob(true, false, false, true);
    SetCtrlTreeListener({});
    const WaveRecord& r = WaveRecords[0];
    QVERIFY(r.ShowXY && !r.ShowYT && !r.ShowRoll);
    QVERIFY(r.ShowCh1 && r.ShowCh2);
    QCOMPARE(CtrlData.Ch2Display, WordOn);
    QVERIFY(treeChanges > 0);
    const QStringList fetches = jobCommands().filter(":WAVEFORM:DATA?");
    QCOMPARE(fetches, (QStringList{":WAVEFORM:DATA? CHANNEL1", ":WAVEFORM:DATA? CHANNEL2"}));
}

void TestWaveJob::rollFormatFetchesLikeYT() {
    link_->instrument().Process(":TIMEBASE:FORMAT SCANNING");
    runJob(true, false, false, false);
    const WaveRecord& r = WaveRecords[0];
    QVERIFY(r.ShowRoll && !r.ShowYT && !r.ShowXY);
    QCOMPARE(jobCommands().filter(":WAVEFORM:DATA?"), (QStringList{":WAVEFORM:DATA? CHANNEL1"}));
}

void TestWaveJob::alternateTriggerReadsEachChannelsTimeBase() {
    link_->instrument().Process(":TRIGGER:MODE ALTERNATION");
    runJob(true, true, false, false);
    const QStringList l = jobCommands();
    const qsizetype at = l.indexOf(":TRIGGER:ALTERNATION:SOURCE CHANNEL1");
    QVERIFY(at > 0);
    QCOMPARE(
        l.mid(at, 6),
        (QStringList{":TRIGGER:ALTERNATION:SOURCE CHANNEL1", ":TRIGGER:ALTERNATION:TIMESCALE?",
                     ":TRIGGER:ALTERNATION:TIMEOFFSET?", ":TRIGGER:ALTERNATION:SOURCE CHANNEL2",
                     ":TRIGGER:ALTERNATION:TIMESCALE?", ":TRIGGER:ALTERNATION:TIMEOFFSET?"}));
    QVERIFY(!l.contains(":TIMEBASE:SCALE?"));
    const WaveRecord& r = WaveRecords[0];
    QCOMPARE(r.TriggerMode, QString("ALTERNATION"));
    QVERIFY(r.SplitScreen);
    QVERIFY(!r.AltTimeScale1.isEmpty() && !r.AltTimeScale2.isEmpty());
}

void TestWaveJob::mathOffDropsTheMathSource() {
    link_->instrument().Process(":MATH:DISPLAY OFF");
    runJob(false, false, true, false);
    QVERIFY(!WaveRecords[0].SelMath);
    QVERIFY(jobCommands().filter(":WAVEFORM:DATA?").isEmpty());
    QCOMPARE(CtrlData.MathDisplay, WordOff);
}

void TestWaveJob::fftFetchedInsteadOfMath() {
    link_->instrument().Process(":STOP"); // a frozen screen: the same block twice
    link_->instrument().Process(":MATH:DISPLAY ON");
    link_->instrument().Process(":FFT:DISPLAY ON");
    runJob(false, false, true, false);
    QCOMPARE(jobCommands().filter(":WAVEFORM:DATA?"), (QStringList{":WAVEFORM:DATA? FFT"}));
    QCOMPARE(WaveRecords[0].FFTDisplay, WordOn);
    // The samples kept are the block's payload, decoded, from its first byte
    // on (a header left in front would shift them).
    const sim::Reply block = link_->instrument().Process(":WAVEFORM:DATA? FFT");
    QCOMPARE(int(block.data.size()), 512);
    DecodeRules rules;
    rules.splitScreen = WaveRecords[0].SplitScreen;
    for (int i = 1; i <= 512; ++i)
        QCOMPARE(WaveRecords[0].FFTSamples[i],
                 DecodeSample(TraceKind::Fft, block.data[static_cast<std::size_t>(i - 1)], rules));
    QCOMPARE(WaveRecords[0].FFTSamples[513], 0);
}

void TestWaveJob::serialFetchGivesTheSameSamples() {
    link_.reset();
    QTemporaryDir dir;
    sim::SimulatorOptions o;
    o.usb = false;
    o.rs232 = true;
    o.serialLink = dir.filePath("ttySIM").toStdString();
    sim::Simulator simulator(o);
    QVERIFY(simulator.Start());
    SoftwareSetting.ScopeIOType = kIoTypeRs232;
    SoftwareSetting.COM_Port = 3;
    SetComPortOverride(3, QString::fromStdString(simulator.serialPath()));
    ConnectToDevice();
    QVERIFY(Connected);
    WaveRecord& r = WaveRecords[0];
    r.SelCh1 = r.SelLA = true;
    simulator.instrument().Process(":STOP");
    QVERIFY(RunJob(kJobWave, "wave", 0));
    const auto trace = simulator.instrument().ScreenTrace(1);
    for (int i = 1; i <= 600; ++i)
        QCOMPARE(r.Ch1Samples[i], std::clamp<int>(trace[std::size_t(i - 1)], 25, 224) - 25);
    QCOMPARE(r.Ch1Samples[601], 0); // no line end rides along on RS232
    QCOMPARE(r.SysData.DrawEnd, std::int16_t(299));
    DisconnectFromDevice();
    SoftwareSetting.ScopeIOType = kIoTypeUsb;
}

void TestWaveJob::serialDataWaitEndsWhenTheLinkGoesDown() {
    StartLinkTimers(); // real ticks: a full wait would be 10 s
    QTimer::singleShot(100, [] { ResetLinkState(); });
    QElapsedTimer clock;
    clock.start();
    QVERIFY(!Rs232WaitBinary());
    QVERIFY2(clock.elapsed() < 3000, qPrintable(QString::number(clock.elapsed())));
}

QTEST_MAIN(TestWaveJob)
#include "tst_wavejob.moc"
