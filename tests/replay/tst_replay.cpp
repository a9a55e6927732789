// SPDX-License-Identifier: GPL-3.0-or-later
// Record files and their replay: the reader's failure table on real and
// broken files, the corrected samples, the frame clamp, the interval ladder,
// and the window on a file the simulator wrote.
#include "TestPlatform.h"

#include "Files.h"
#include "replay/RecordFile.h"
#include "replay/Replay.h"
#include "replay/frmRecordPlay.h"
#include "shared/LoadLanguage.h"
#include "shared/StringRES.h"
#include "sheet/DataSheet.h"
#include "sheet/SheetRecords.h"

#include "shared/Picture.h"
#include <QFile>
#include <QSlider>
#include <QToolButton>

#include <QtTest>
#include <zlib.h>

namespace {

QByteArray head(int source, int selected, int first, int last, bool ch1Valid, bool ch2Valid) {
    QByteArray h(kRecordHeadSize, '\0');
    auto put = [&h](int at, qint64 v, int bytes) {
        for (int i = 0; i < bytes; ++i)
            h[at + i] = static_cast<char>((v >> (8 * i)) & 0xFF);
    };
    put(0, 0xBABA, 2);
    put(8, source, 4);
    put(12, selected, 4);
    put(16, first, 2);
    put(18, last, 2);
    h[20] = ch1Valid ? 1 : 0;
    put(24, 500000, 4); // 0.5 V a division
    put(28, 25, 2);     // one division up
    h[30] = ch2Valid ? 1 : 0;
    put(32, 2000000, 4);
    put(40, 1000000000LL, 8); // 1 ms a division
    return h;
}

QByteArray compressed(const QByteArray& frames) {
    uLongf length = compressBound(static_cast<uLong>(frames.size()));
    QByteArray out(static_cast<qsizetype>(length), '\0');
    compress(reinterpret_cast<Bytef*>(out.data()), &length,
             reinterpret_cast<const Bytef*>(frames.constData()), static_cast<uLong>(frames.size()));
    out.resize(static_cast<qsizetype>(length));
    return out;
}

QByteArray frames(int count, unsigned char fill) {
    return QByteArray(count * kFrameBytes, static_cast<char>(fill));
}

QString simulatorRecord(const QString& path, int frames, int channel) {
    sim::RecordFileContent record;
    record.frames = frames;
    record.channel = channel;
    std::string error;
    return sim::WriteRecordFile(path.toStdString(), record, &error) ? path : QString();
}

} // namespace

class TestReplay : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void failures_data();
    void failures();
    void sourceAndSelected_data();
    void sourceAndSelected();
    void invalidChannelKeepsTheOtherFields();
    void samplesClampedToTheScreen();
    void simulatorFileLoads();
    void clamp_data();
    void clamp();
    void intervalLadder_data();
    void intervalLadder();
    void holdAcceleratesFromTheSixthTick();
    void lateTicksAdvanceByElapsedTime();
    void loopWrapsAndSingleRestsInPause();
    void stepBackFromTheFirstFrame();
    void windowPlaysAFile();
    void readoutTextsNeverOverlap_data();
    void readoutTextsNeverOverlap();

private:
    std::unique_ptr<TestPlatform> tp_;
};

void TestReplay::initTestCase() {
    RegisterRecordWindow();
}

void TestReplay::init() {
    tp_.reset(); // the old stand-ins go before the new ones come
    tp_ = std::make_unique<TestPlatform>();
    ApplyLanguage(kLanguageEnglish);
    RecordRecords[0] = RecordRecord();
}

void TestReplay::failures_data() {
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<int>("result");
    const QByteArray good = head(0, 0, 1, 2, true, false);
    QTest::newRow("empty") << QByteArray() << int(RecordLoad::FormatError);
    QTest::newRow("one byte") << QByteArray(1, '\xBA') << int(RecordLoad::FormatError);
    QTest::newRow("wrong magic") << QByteArray(100, 'x') << int(RecordLoad::FormatError);
    QTest::newRow("head only, 56 bytes") << good << int(RecordLoad::UtilityFail);
    QTest::newRow("short head") << good.left(20) << int(RecordLoad::UtilityFail);
    QTest::newRow("not zlib") << good + QByteArray(50, 'z') << int(RecordLoad::UtilityFail);
    const QByteArray block = compressed(frames(2, 100));
    QTest::newRow("cut block") << good + block.left(block.size() / 2)
                               << int(RecordLoad::UtilityFail);
    // More than the capacity unpacks: fails at the real capacity, no crash.
    QTest::newRow("bomb") << good + compressed(QByteArray(kRecordCapacity + 4096, '\x40'))
                          << int(RecordLoad::UtilityFail);
    QTest::newRow("more samples than kept")
        << good + compressed(frames(2060, 100)) << int(RecordLoad::UtilityFail);
    QTest::newRow("good") << good + block << int(RecordLoad::Ok);
}

void TestReplay::failures() {
    QFETCH(QByteArray, file);
    QFETCH(int, result);
    RecordRecord rec;
    rec.VoltDiv = "before";
    QCOMPARE(int(LoadRecordBytes(file, rec)), result);
    if (result != int(RecordLoad::Ok)) {
        QCOMPARE(rec.VoltDiv, QString("before"));
        QVERIFY(!rec.Loaded);
    }
}

void TestReplay::sourceAndSelected_data() {
    QTest::addColumn<int>("source");
    QTest::addColumn<int>("selected");
    QTest::addColumn<QString>("channel");
    QTest::newRow("0 is CH1") << 0 << 1 << "CH1";
    QTest::newRow("1 is CH2") << 1 << 0 << "CH2";
    QTest::newRow("2 with 1 is CH2") << 2 << 1 << "CH2";
    QTest::newRow("2 with 0 is CH1") << 2 << 0 << "CH1";
}

void TestReplay::sourceAndSelected() {
    QFETCH(int, source);
    QFETCH(int, selected);
    QFETCH(QString, channel);
    RecordRecord rec;
    const QByteArray file = head(source, selected, 3, 7, true, true) + compressed(frames(5, 100));
    QCOMPARE(LoadRecordBytes(file, rec), RecordLoad::Ok);
    QCOMPARE(rec.Source, channel);
    QCOMPARE(rec.FrameCount, std::int16_t(5));
    QCOMPARE(rec.FirstFrame, std::int16_t(1));
    QCOMPARE(rec.CurrentFrame, std::int16_t(1));
    QCOMPARE(rec.VoltDiv, ShownForm(channel == "CH1" ? "500mV" : "2.00V"));
    QCOMPARE(rec.TimeDiv, ShownForm("1.000ms"));
}

void TestReplay::invalidChannelKeepsTheOtherFields() {
    RecordRecord rec;
    rec.VoltDiv = "kept";
    rec.FrameCount = 9;
    const QByteArray file = head(1, 0, 1, 2, true, false) + compressed(frames(2, 30));
    QCOMPARE(LoadRecordBytes(file, rec), RecordLoad::ChannelInvalid);
    QCOMPARE(RecordLoadMessage(RecordLoad::ChannelInvalid), MsgBadChannelData);
    QCOMPARE(rec.Source, QString("CH2"));
    QCOMPARE(int(rec.Samples.size()), 2 * kFrameBytes);
    QCOMPARE(rec.VoltDiv, QString("kept"));
    QCOMPARE(rec.FrameCount, std::int16_t(9));
    QVERIFY(!rec.Loaded);
}

void TestReplay::samplesClampedToTheScreen() {
    QByteArray f = frames(1, 100);
    f[kFrameSampleAt] = 3;             // above the screen: the top line
    f[kFrameSampleAt + 1] = char(250); // below: the bottom line
    RecordRecord rec;
    QCOMPARE(LoadRecordBytes(head(0, 0, 1, 1, true, false) + compressed(f), rec), RecordLoad::Ok);
    QCOMPARE(FrameSample(rec, 1, 0), 0);
    QCOMPARE(FrameSample(rec, 1, 1), 199);
    QCOMPARE(FrameSample(rec, 1, 2), 75);
    QCOMPARE(FrameSample(rec, 2, 0), -1); // a frame the record does not hold
}

void TestReplay::simulatorFileLoads() {
    const QString path = simulatorRecord(tp_->tempPath("sim.rcd"), 200, 2);
    QVERIFY(!path.isEmpty());
    RecordRecord rec;
    QString error;
    QCOMPARE(LoadRecordFile(path, rec, &error), RecordLoad::Ok);
    QCOMPARE(rec.FrameCount, std::int16_t(200));
    QCOMPARE(rec.Source, QString("CH2"));
    QCOMPARE(rec.FilePath, path);
    for (int k = 0; k < kFrameSamples; ++k) {
        const int s = FrameSample(rec, 200, k);
        QVERIFY(s >= 0 && s <= 199);
    }
}

void TestReplay::clamp_data() {
    QTest::addColumn<int>("wanted");
    QTest::addColumn<bool>("loop");
    QTest::addColumn<int>("frame");
    QTest::newRow("below, loop") << 0 << true << 1;
    QTest::newRow("below, single") << -3 << false << 1;
    QTest::newRow("inside") << 5 << false << 5;
    QTest::newRow("above, loop") << 11 << true << 1;
    QTest::newRow("above, single") << 11 << false << 10;
}

void TestReplay::clamp() {
    QFETCH(int, wanted);
    QFETCH(bool, loop);
    QFETCH(int, frame);
    QCOMPARE(ClampFrame(wanted, 10, loop), frame);
}

void TestReplay::intervalLadder_data() {
    QTest::addColumn<double>("interval");
    QTest::addColumn<bool>("up");
    QTest::addColumn<double>("next");
    QTest::newRow("0.999 up is 1.0") << 0.999 << true << 1.0;
    QTest::newRow("1.0 up is 1.001") << 1.0 << true << 1.001;
    QTest::newRow("1.001 up is 1.011") << 1.001 << true << 1.011;
    QTest::newRow("1 ms down stays") << 0.001 << false << 0.001;
    QTest::newRow("60 s up stays") << 60.0 << true << 60.0;
    QTest::newRow("default down") << 0.05 << false << 0.049;
}

void TestReplay::intervalLadder() {
    QFETCH(double, interval);
    QFETCH(bool, up);
    QFETCH(double, next);
    QCOMPARE(StepInterval(interval, up, 1), next);
}

// Ticks that come late (a busy machine) advance by the time that passed, so
// the replay keeps the speed the user chose.
void TestReplay::lateTicksAdvanceByElapsedTime() {
    RecordRecord rec;
    rec.Loaded = rec.HasSamples = true;
    rec.FrameCount = 10;
    rec.Loop = true;
    rec.IntervalSeconds = 0.010;
    double now = 0;
    ReplayController c([&rec]() -> RecordRecord& { return rec; });
    c.setSlider = [&c](int v) { c.SliderChanged(v); };
    c.clock = [&now] { return now; };
    c.Start();
    QCOMPARE(rec.CurrentFrame, std::int16_t(1));
    const std::pair<double, int> ticks[] = {
        {10, 2},  // on time: one frame
        {20, 3},  // on time
        {50, 6},  // 30 ms late: three frames
        {55, 7},  // early: one frame all the same (a tick never stands still)
        {70, 8},  // due at 60 and 70: one
        {200, 1}, // 130 ms stalled: thirteen frames on, the loop wrapping
        {210, 2}, {220, 3}, {250, 6},
    };
    for (const auto& [at, frame] : ticks) {
        now = at;
        c.Tick();
        QCOMPARE(int(rec.CurrentFrame), frame);
    }
}

void TestReplay::holdAcceleratesFromTheSixthTick() {
    RecordRecord rec;
    ReplayController c([&rec]() -> RecordRecord& { return rec; });
    c.SpeedPress(true);
    QCOMPARE(rec.IntervalSeconds, 0.051);
    for (int tick = 1; tick <= 5; ++tick)
        c.SpeedTick();
    QCOMPARE(rec.IntervalSeconds, 0.051); // five ticks change nothing
    c.SpeedTick();
    QCOMPARE(rec.IntervalSeconds, 0.053); // the sixth: twice the step
    for (int tick = 7; tick <= 11; ++tick)
        c.SpeedTick();
    QCOMPARE(rec.IntervalSeconds, 0.053 + 4 * 0.002 + 0.005);
    c.DefaultInterval();
    QCOMPARE(rec.IntervalSeconds, 0.05);
}

void TestReplay::loopWrapsAndSingleRestsInPause() {
    RecordRecord rec;
    rec.Loaded = rec.HasSamples = true;
    rec.FrameCount = 3;
    int draws = 0;
    ReplayController c([&rec]() -> RecordRecord& { return rec; });
    c.setSlider = [&c](int v) { c.SliderChanged(v); };
    c.drawFrame = [&draws] { ++draws; };
    rec.Loop = true;
    c.Start();
    QCOMPARE(c.status(), ReplayStatus::Replaying);
    c.Tick();
    c.Tick();
    QCOMPARE(rec.CurrentFrame, std::int16_t(3));
    c.Tick();
    QCOMPARE(rec.CurrentFrame, std::int16_t(1)); // the loop wraps
    QCOMPARE(c.status(), ReplayStatus::Replaying);
    rec.Loop = false;
    c.Tick();
    c.Tick();
    QCOMPARE(rec.CurrentFrame, std::int16_t(3));
    QCOMPARE(c.status(), ReplayStatus::Pause); // a single replay rests on its last frame
    c.Start();
    QCOMPARE(rec.CurrentFrame, std::int16_t(1)); // and starts again from the first
    QVERIFY(draws >= 5);
    // A one-frame record: Start runs and ends at once in Pause.
    rec.FrameCount = 1;
    rec.CurrentFrame = 1;
    c.Start();
    QCOMPARE(c.status(), ReplayStatus::Pause);
}

void TestReplay::stepBackFromTheFirstFrame() {
    for (bool loop : {false, true}) {
        RecordRecord rec;
        rec.Loaded = true;
        rec.FrameCount = 4;
        rec.Loop = loop;
        ReplayController c([&rec]() -> RecordRecord& { return rec; });
        c.setSlider = [&c](int v) { c.SliderChanged(v); };
        c.Step(-1);
        QCOMPARE(rec.CurrentFrame, std::int16_t(1));
    }
}

void TestReplay::windowPlaysAFile() {
    ResetDataSheet();
    QVERIFY(NewDataSheet());
    QCOMPARE(AddDocument(DocKind::Record), 0);
    auto* w = qobject_cast<frmRecordPlay*>(DocForm(DocKind::Record, 0));
    QVERIFY(w);
    w->Timer1_Timer();
    QCOMPARE(w->StatusLine(), QString("Please open the waveform record file."));
    QVERIFY(!w->playButton(0)->isEnabled());
    const QString path = simulatorRecord(tp_->tempPath("play.rcd"), 30, 1);
    tp_->chosenPaths = {path};
    w->OpenRecordFile();
    QCOMPARE(tp_->fileDialogs[0].title, QString("Open Record Files"));
    QCOMPARE(tp_->fileDialogs[0].filter, QString("Record Files (*.rcd)|*.rcd"));
    QVERIFY(RecordRecords[0].Loaded);
    QVERIFY(w->windowTitle().endsWith("(" + path + ")"));
    QCOMPARE(w->controller().status(), ReplayStatus::Replaying);
    QVERIFY(w->slider()->isEnabled());
    QCOMPARE(w->slider()->maximum(), 30);
    w->controller().Step(1);
    QCOMPARE(RecordRecords[0].CurrentFrame, std::int16_t(2));
    QCOMPARE(w->controller().status(), ReplayStatus::Pause);
    QCOMPARE(w->StatusLine(), QString("Pause 2/30"));
    QCOMPARE(w->slider()->value(), 2);
    // The trace is drawn in the channel's colour.
    int yellow = 0;
    const QImage& picture = w->picture();
    for (int y = 0; y < picture.height(); ++y)
        for (int x = 30; x < picture.width() - 30; ++x)
            if (picture.pixelColor(x, y) == QColor(255, 255, 0)) ++yellow;
    QVERIFY(yellow > 100);
    w->SetColour(false);
    QCOMPARE(w->picture().pixelColor(2, 2), QColor(Qt::white));
    const QString bmp = tp_->tempPath("frame.bmp");
    tp_->chosenPaths = {bmp};
    w->SaveBitmap();
    QCOMPARE(QImage(bmp).size(), w->picture().size());
    ResetDataSheet();
}

// The two read-out texts under the picture, drawn as the window draws them
// at its smallest and a large size: no pixel column of the channel's text
// (yellow) on a row band shares that band with the time text (orange) to its
// right, so "TimeDiv: 500.0us" never writes over "Offset: 0.00uV".
void TestReplay::readoutTextsNeverOverlap_data() {
    QTest::addColumn<QSize>("size");
    QTest::newRow("800x600 window") << QSize(350, 250);
    QTest::newRow("small") << QSize(420, 300);
    QTest::newRow("large") << QSize(900, 640);
}

void TestReplay::readoutTextsNeverOverlap() {
    QFETCH(QSize, size);
    RecordRecord rec;
    QString error;
    QCOMPARE(LoadRecordFile(simulatorRecord(tp_->tempPath("texts.rcd"), 3, 1), rec, &error),
             RecordLoad::Ok);
    rec.CurrentFrame = 1;
    RecordFrameRenderer renderer;
    const QImage picture = renderer.draw(rec, size);
    const double z = RecordZoom(size);
    const int top = static_cast<int>(200 * z + 27);
    // Per row: the rightmost channel-text pixel and the leftmost time-text one.
    for (int y = top; y < picture.height(); ++y) {
        int lastYellow = -1, firstOrange = picture.width();
        for (int x = 0; x < picture.width(); ++x) {
            const QColor c = picture.pixelColor(x, y);
            if (c == QColor(255, 255, 0)) lastYellow = x;
            if (c == QColor(255, 128, 0)) firstOrange = std::min(firstOrange, x);
        }
        if (lastYellow < 0 || firstOrange == picture.width()) continue;
        QVERIFY2(lastYellow < firstOrange,
                 qPrintable(QString("row %1: channel text to x=%2, time text from x=%3")
                                .arg(y)
                                .arg(lastYellow)
                                .arg(firstOrange)));
    }
}

QTEST_MAIN(TestReplay)
#include "tst_replay.moc"
