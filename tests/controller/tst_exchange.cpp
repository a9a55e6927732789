// SPDX-License-Identifier: GPL-3.0-or-later
// Write-all, read-all, the running-control rows and the job window, against
// the simulated instrument's command log.
#include "RecordingTransport.h"
#include "SimulatedLink.h"
#include "TestPlatform.h"

#include "Simulator.h"
#include "acquire/Jobs.h"
#include "acquire/MeasureJob.h"
#include "acquire/frmPrgress.h"
#include "controller/CtrlData.h"
#include "controller/CtrlState.h"
#include "controller/PraseCtrlList.h"
#include "controller/SettingsExchange.h"
#include "controller/frmCtrlList.h"
#include "link/Connection.h"
#include "link/LinkState.h"
#include "link/NQ4000Cmd.h"
#include "link/UsbFunc.h"
#include "measure/MeasureStats.h"
#include "measure/MeasureTable.h"
#include "platform/Pacing.h"
#include "platform/Status.h"
#include "platform/Visa.h"
#include "shared/LoadLanguage.h"
#include "shared/Picture.h"
#include "shared/StringRES.h"
#include "shared/ValueText.h"

#include <QApplication>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTreeWidgetItem>
#include <QtTest>
#include <memory>

namespace {
QList<int> g_sleeps;
void recordSleep(int ms) {
    g_sleeps << ms;
}
} // namespace

namespace {
// A display text as the machine's locale shows it (the suite runs under a
// comma locale too).
QString shown(const QString& withPoint) {
    return ShownForm(withPoint);
}
} // namespace

class TestExchange : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void cleanup();
    void writeAllForAnEdgeTrigger();
    void writeAllAlternationByType_data();
    void writeAllAlternationByType();
    void writeAllPacksTheDigitalChannels();
    void writeAllKeepsTheNamedWaits();
    void readAllGivesBackWhatWriteAllSent();
    void readAllStoresAThresholdForADigitalSource();
    void readAllRestoresTheActiveChannel();
    void readAllGoesOnThroughEmptyReplies();
    void aSilentInstrumentEndsTheDownloadAndKeepsTheTree();
    void aNoiseAnsweringInstrumentLeavesTheTree();
    void aLinkThatDropsHalfwayEndsTheJobUsable();
    void runningControlCommands();
    void setTrigTo50ReadsBackPerMethod();
    void laResetRefillsThePositions();
    void jobsRunInTheirWindow();
    void buttonsTurnTheInvertWordsOff();
    void autoSetWaitsThenReadsAll();
    void theTreeShowsEachDownload();
    void measureJobFillsTheSlots();
    void measureJobShowsWhatTheInstrumentCouldNotMeasure();
    void progressWindowPlace_data();
    void progressWindowPlace();

private:
    std::unique_ptr<TestPlatform> tp_;
    std::unique_ptr<SimulatedLink> link_;
    QStringList log() const;
    QStringList logFrom(const QString& first) const;
};

void TestExchange::initTestCase() {
    RegisterSettingsJobs();
    RegisterMeasureJobs();
}

void TestExchange::init() {
    tp_ = std::make_unique<TestPlatform>();
    ResetControllerState();
    link_ = std::make_unique<SimulatedLink>();
    QVERIFY(link_->connected());
    g_sleeps.clear();
}

void TestExchange::cleanup() {
    platform::SetSleepObserver(nullptr);
    link_.reset();
    tp_.reset();
}

QStringList TestExchange::log() const {
    return link_->log();
}

QStringList TestExchange::logFrom(const QString& first) const {
    const QStringList l = log();
    const qsizetype at = l.indexOf(first);
    return at < 0 ? QStringList() : l.mid(at);
}

void TestExchange::writeAllForAnEdgeTrigger() {
    WriteAllSettings();
    CmdQuery("*IDN?"); // the last set has arrived once this is answered
    QStringList l = log();
    l.removeLast();
    QCOMPARE(l, (QStringList{":RUN",
                             ":TRIGGER:ALTERNATION:SOURCE CHANNEL1",
                             ":TRIGGER:ALTERNATION:TIMESCALE 10.00us",
                             ":TRIGGER:ALTERNATION:TIMEOFFSET 0.0000s",
                             ":TRIGGER:ALTERNATION:SOURCE CHANNEL2",
                             ":TRIGGER:ALTERNATION:TIMESCALE 10.00us",
                             ":TRIGGER:ALTERNATION:TIMEOFFSET 0.0000s",
                             ":TIMEBASE:FORMAT YT",
                             ":TIMEBASE:SCALE 10.00us",
                             ":TIMEBASE:OFFSET 0.0000s",
                             ":CHANNEL1:DISPLAY ON",
                             ":CHANNEL1:PROBE 1",
                             ":CHANNEL1:SCALE 1.00V",
                             ":CHANNEL1:OFFSET 0.00mV",
                             ":CHANNEL1:COUPLING AC",
                             ":CHANNEL1:BWLIMIT OFF",
                             ":CHANNEL2:DISPLAY OFF",
                             ":CHANNEL2:PROBE 1",
                             ":CHANNEL2:SCALE 1.00V",
                             ":CHANNEL2:OFFSET 0.00mV",
                             ":CHANNEL2:COUPLING AC",
                             ":CHANNEL2:BWLIMIT OFF",
                             ":TRIGGER:MODE EDGE",
                             ":TRIGGER:HOLDOFF 100ns",
                             ":TRIGGER:EDGE:SOURCE CHANNEL1",
                             ":TRIGGER:EDGE:SLOPE POSITIVE",
                             ":TRIGGER:EDGE:SWEEP AUTO",
                             ":TRIGGER:EDGE:COUPLING DC",
                             ":TRIGGER:EDGE:SENSITIVITY 0.10div",
                             ":TRIGGER:EDGE:SOURCE?",
                             ":CHANNEL1:SCALE?",
                             ":CHANNEL1:OFFSET?",
                             ":TRIGGER:EDGE:LEVEL 0",
                             ":LA:DISPLAY OFF",
                             ":LA:STATUS 0",
                             ":LA:GROUP2:SIZE BIG",
                             ":LA:GROUP1:SIZE BIG",
                             ":LA:LOCATION 0,0",
                             ":LA:THRESHOLD TTL",
                             ":ACQUIRE:MODE RTIME",
                             ":ACQUIRE:TYPE NORMAL",
                             ":ACQUIRE:AVERAGES 16",
                             ":DISPLAY:TYPE VECTORS",
                             ":DISPLAY:PERSIST OFF",
                             ":DISPLAY:GRID FULL"}));
    QVERIFY(!l.join('|').contains("INVERT")); // the invert state is never exchanged
}

void TestExchange::writeAllAlternationByType_data() {
    QTest::addColumn<QString>("type");
    QTest::addColumn<QStringList>("block");
    const QString a = ":TRIGGER:ALTERNATION";
    QTest::newRow("edge") << "EDGE"
                          << QStringList{
                                 a + ":SOURCE CHANNEL2",     a + ":TYPE EDGE",
                                 a + ":EDGE:SLOPE POSITIVE", a + ":EDGE:COUPLING DC",
                                 ":CHANNEL2:SCALE?",         ":CHANNEL2:OFFSET?",
                                 a + ":EDGE:LEVEL 0",        a + ":EDGE:SENSITIVITY 0.10div",
                                 a + ":EDGE:HOLDOFF 100ns"};
    QTest::newRow("pulse") << "PULSE" << QStringList{a + ":SOURCE CHANNEL2",
                                                     a + ":TYPE PULSE",
                                                     a + ":PULSE:MODE +LESSTHAN",
                                                     a + ":PULSE:TIME 1us",
                                                     a + ":PULSE:COUPLING DC",
                                                     ":CHANNEL2:SCALE?",
                                                     ":CHANNEL2:OFFSET?",
                                                     a + ":PULSE:LEVEL 0",
                                                     a + ":PULSE:SENSITIVITY 0.10div",
                                                     a + ":PULSE:HOLDOFF 100ns"};
    QTest::newRow("video") << "VIDEO"
                           << QStringList{a + ":SOURCE CHANNEL2",
                                          a + ":TYPE VIDEO",
                                          a + ":VIDEO:POLARITY POSITIVE",
                                          a + ":VIDEO:MODE LINE",
                                          a + ":VIDEO:STANDARD NTSC",
                                          a + ":VIDEO:LINE 1",
                                          a + ":VIDEO:SENSITIVITY 0.10div",
                                          a + ":VIDEO:HOLDOFF 100ns",
                                          ":CHANNEL2:SCALE?",
                                          ":CHANNEL2:OFFSET?",
                                          a + ":VIDEO:LEVEL 0"};
    QTest::newRow("slope") << "SLOPE"
                           << QStringList{a + ":SOURCE CHANNEL2",
                                          a + ":TYPE SLOPE",
                                          a + ":SLOPE:MODE +LESSTHAN",
                                          a + ":SLOPE:TIME 1us",
                                          ":CHANNEL2:SCALE?",
                                          ":CHANNEL2:OFFSET?",
                                          a + ":SLOPE:LEVELA 0",
                                          ":CHANNEL2:SCALE?",
                                          ":CHANNEL2:OFFSET?",
                                          a + ":SLOPE:LEVELB 0",
                                          a + ":SLOPE:SENSITIVITY 0.10div",
                                          a + ":SLOPE:HOLDOFF 100ns",
                                          a + ":SLOPE:COUPLING DC"};
}

void TestExchange::writeAllAlternationByType() {
    QFETCH(QString, type);
    QFETCH(QStringList, block);
    CtrlData.TrigMethod = WordAlternation;
    CtrlData.AltType2 = type;
    WriteAllSettings();
    CmdQuery("*IDN?");
    const QStringList l = log();
    // Channel 2's block: from the second source choice after the trigger mode to the digital part.
    const qsizetype mode = l.indexOf(":TRIGGER:MODE ALTERNATION");
    const qsizetype start = l.indexOf(":TRIGGER:ALTERNATION:SOURCE CHANNEL2", mode);
    const qsizetype end = l.indexOf(":LA:DISPLAY OFF", start);
    QVERIFY(mode > 0 && start > mode && end > start);
    QCOMPARE(l.mid(start, end - start), block);
    QCOMPARE(l[mode + 1], QString(":TRIGGER:HOLDOFF 100ns"));
    QCOMPARE(l[mode + 2], QString(":TRIGGER:ALTERNATION:SOURCE CHANNEL1")); // the source goes first
}

void TestExchange::writeAllPacksTheDigitalChannels() {
    CtrlData.LaChannel[1] = WordOn;  // D15
    CtrlData.LaChannel[16] = WordOn; // D0
    for (int i = 1; i <= 8; ++i)
        CtrlData.LaPosition[i] = QString::number(i - 1);
    for (int i = 9; i <= 16; ++i)
        CtrlData.LaPosition[i] = QString::number(24 - i);
    CtrlData.Ch1Probe = "1000X";
    WriteAllSettings();
    CmdQuery("*IDN?");
    const QStringList l = log();
    QVERIFY(l.contains(":LA:STATUS 32769"));
    QVERIFY(l.contains(":LA:LOCATION 19088743,4275878552")); // 0x01234567, 0xFEDCBA98
    QVERIFY(l.contains(":CHANNEL1:PROBE 1000"));
    // The instrument took the positions where the program put them.
    QCOMPARE(CutAtLineFeed(CmdQuery(":DIGITAL15:POSITION?")), QString("0"));
    QCOMPARE(CutAtLineFeed(CmdQuery(":DIGITAL8:POSITION?")), QString("7"));
    QCOMPARE(CutAtLineFeed(CmdQuery(":DIGITAL7:POSITION?")), QString("15"));
}

void TestExchange::writeAllKeepsTheNamedWaits() {
    platform::SetSleepObserver(recordSleep);
    WriteAllSettings();
    // 100 before each write and 200 after each send; 500 after the format, 1000 after the scale.
    const QString sleeps = [] {
        QStringList s;
        for (int ms : g_sleeps)
            s << QString::number(ms);
        return s.join(',');
    }();
    QVERIFY(sleeps.contains("100,200,500,100,200,1000,100,200"));
    QCOMPARE(g_sleeps.count(500), 1);
    QCOMPARE(g_sleeps.count(1000), 1);
}

void TestExchange::readAllGivesBackWhatWriteAllSent() {
    CtrlDataRecord& d = CtrlData;
    d.RunStop = WordStop;
    d.TimeDiv = shown("20.00us");
    d.AltTimeDiv2 = shown("2.000ms");
    d.Ch1VoltDiv = shown("2.00V");
    d.Ch2Display = WordOn;
    d.Ch2Coupling = WordCouplingDc;
    d.TrigMethod = WordVideo;
    d.VideoSync = WordOddField;
    d.VideoStandard = "PAL/SECAM";
    d.VideoPolarity = WordNegative;
    d.PulseMode = WordMinusGreater;
    d.Acquisition = WordAcqAverage;
    d.Averages = "64";
    d.DisplayGrid = WordGridHalf;
    d.LaDisplay = WordOn;
    d.LaThreshold = shown("1.50V");
    d.LaSizeHigh = WordSmall;
    for (int i = 1; i <= 16; ++i)
        d.LaPosition[i] = QString::number(i % 16);
    for (int i = 1; i <= 8; ++i)
        d.LaChannel[i] = WordOn;
    const CtrlDataRecord sent = d;
    WriteAllSettings();
    // Whatever the tree shows, the instrument gets its numbers with the point.
    for (const QString& command : log())
        QVERIFY2(!command.contains(QRegularExpression("\\d,\\d+[a-zA-Z%]+$")), qPrintable(command));
    CtrlData = CtrlDataDefaults();
    ReadAllSettings();
    QCOMPARE(d.RunStop, sent.RunStop);
    QCOMPARE(d.TimeDiv, sent.TimeDiv);
    QCOMPARE(d.AltTimeDiv2, sent.AltTimeDiv2);
    QCOMPARE(d.AltDelay1, QString("0.000s")); // the zero form is a fixed text in every locale
    QCOMPARE(d.Ch1VoltDiv, sent.Ch1VoltDiv);
    QCOMPARE(d.Ch1Probe, QString("1X"));
    QCOMPARE(d.Ch2Display, sent.Ch2Display);
    QCOMPARE(d.Ch2Coupling, sent.Ch2Coupling);
    QCOMPARE(d.TrigMethod, sent.TrigMethod);
    QCOMPARE(d.VideoSync, sent.VideoSync);
    QCOMPARE(d.VideoStandard, QString("PAL/SECAM"));
    QCOMPARE(d.VideoPolarity, sent.VideoPolarity);
    QCOMPARE(d.VideoSensitivity, shown("0.10div"));
    QCOMPARE(d.TrigHoldoff, QString("100ns"));
    QCOMPARE(d.Acquisition, sent.Acquisition);
    QCOMPARE(d.Averages, sent.Averages);
    QCOMPARE(d.DisplayGrid, sent.DisplayGrid);
    QCOMPARE(d.LaDisplay, sent.LaDisplay);
    QCOMPARE(d.LaThreshold, sent.LaThreshold);
    QCOMPARE(d.LaSizeHigh, sent.LaSizeHigh);
    for (int i = 1; i <= 16; ++i) {
        QCOMPARE(d.LaPosition[i], sent.LaPosition[i]);
        QCOMPARE(d.LaChannel[i], sent.LaChannel[i]);
    }
    QCOMPARE(d.LaGroupHigh, WordOn);
    QCOMPARE(d.LaGroupLow, WordOff);
    QCOMPARE(d.PatternLevel[1], QString("H")); // the instrument's pattern: all high, no mask
}

void TestExchange::readAllStoresAThresholdForADigitalSource() {
    CmdSend(":TRIGGER:EDGE:SOURCE DIGITAL3");
    CmdSend(":LA:THRESHOLD CMOS");
    ReadAllSettings();
    QCOMPARE(CtrlData.EdgeSource, QString("D3"));
    QCOMPARE(CtrlData.EdgeLevel, QString("CMOS"));
}

void TestExchange::readAllRestoresTheActiveChannel() {
    CmdSend(":CHANNEL:ACTIVE CHANNEL1");
    ReadAllSettings();
    QCOMPARE(CutAtLineFeed(CmdQuery(":CHANNEL:ACTIVE?")), QString("CHANNEL1"));
    QVERIFY(log().contains(":TRIGGER:ALTERNATION:SOURCE CHANNEL2")); // which had switched it
    QCOMPARE(log().first(), QString(":CHANNEL:ACTIVE CHANNEL1"));
    QCOMPARE(log()[1], QString(":CHANNEL:ACTIVE?"));
}

namespace {
// Answers every query but every third one, which it leaves empty.
class SometimesSilent : public RecordingTransport {
public:
    QString Query(const QString& command) override {
        log << command;
        const bool silent = ++count_ % 3 == 0;
        if (command == ":CHANNEL:ACTIVE?") return QStringLiteral("CHANNEL1");
        return silent ? QString() : QStringLiteral("1");
    }

private:
    int count_ = 0;
};
} // namespace

void TestExchange::readAllGoesOnThroughEmptyReplies() {
    SometimesSilent transport; // one empty reply at a time: a placeholder, and on
    ReadAllSettings();
    QCOMPARE(transport.log.last(),
             QString(":CHANNEL:ACTIVE CHANNEL1")); // the sequence ran to its end
    QVERIFY(tp_->boxes.isEmpty());
    QVERIFY(LastReadAllComplete());
    QCOMPARE(CtrlData.Ch1Probe, QString("1X"));
}

void TestExchange::aNoiseAnsweringInstrumentLeavesTheTree() {
    CtrlData.TimeDiv = "2.000ms";
    const CtrlDataRecord before = CtrlData;
    sim::Faults noise;
    noise.garbage = true;
    link_->instrument().SetFaults(noise);
    ReadAllSettings();
    QCOMPARE(tp_->prompts(), QStringList{MsgCantRead});
    QVERIFY(!Connected);
    QVERIFY(CtrlData == before);
    QVERIFY(!CtrlDirty);
}

void TestExchange::aSilentInstrumentEndsTheDownloadAndKeepsTheTree() {
    const CtrlDataRecord before = CtrlData;
    RecordingTransport silent; // every query answers nothing
    ReadAllSettings();
    QCOMPARE(tp_->prompts(), QStringList{MsgCantRead});
    QVERIFY(!Connected);
    QVERIFY(!LastReadAllComplete());
    QVERIFY(CtrlData == before);                // an interrupted download leaves the tree as it was
    QCOMPARE(silent.log.filter("?").size(), 3); // and asks nothing after the third silence
    CtrlDirty = false;
    cmdDownload_Click(); // not connected: only the message
    QVERIFY(!CtrlDirty);
}

void TestExchange::aLinkThatDropsHalfwayEndsTheJobUsable() {
    sim::Faults f;
    f.dropAtCommand = 30;
    link_->instrument().SetFaults(f);
    QElapsedTimer clock;
    clock.start();
    QVERIFY(RunJob(kJobDownload, "Data Downloading..."));
    QVERIFY(clock.elapsed() < 15000);
    QVERIFY(JobDone && !JobRunning);
    QVERIFY(!Connected);
    QCOMPARE(tp_->boxes.size(), 1);
    // The program stays usable: a second job runs and ends.
    QVERIFY(RunJob(kJobDownload, "Data Downloading..."));
    QCOMPARE(tp_->boxes.size(), 1);
}

void TestExchange::runningControlCommands() {
    PraseCtrlList("NQ4000L\\Running Control\\Force Trigger");
    PraseCtrlList("NQ4000L\\Display\\Clear");
    CmdQuery("*IDN?");
    QCOMPARE(log(), (QStringList{":FORCETRIG", ":DISPLAY:CLEAR", "*IDN?"}));
    QCOMPARE(CtrlDialogKey, QString(" "));
}

void TestExchange::setTrigTo50ReadsBackPerMethod() {
    sim::Generator g;
    sim::Generator::parse("sine:1000:1.0:0.5", g);
    link_->instrument().SetGenerator(1, g);
    PraseCtrlList("NQ4000L\\Running Control\\Set Trig to 50%");
    QCOMPARE(log(), (QStringList{":TRIG%50", ":TRIGGER:EDGE:SOURCE?", ":CHANNEL1:SCALE?",
                                 ":TRIGGER:EDGE:LEVEL?"}));
    QCOMPARE(CtrlData.EdgeSource, QString("CH1"));
    QCOMPARE(CtrlData.EdgeLevel, shown("1.00div")); // 0.5 V at 0.5 V a division

    CmdSend(":TRIGGER:MODE ALTERNATION");
    CmdQuery("*IDN?"); // every command before has arrived
    link_->instrument().ClearLog();
    CtrlData.TrigMethod = WordAlternation;
    CtrlData.AltType2 = WordSlope;
    PraseCtrlList("NQ4000L\\Running Control\\Set Trig to 50%");
    const QString a = ":TRIGGER:ALTERNATION";
    QCOMPARE(log(), (QStringList{":TRIG%50", a + ":SOURCE CHANNEL1", ":CHANNEL1:SCALE?",
                                 a + ":EDGE:LEVEL?", a + ":SOURCE CHANNEL2", ":CHANNEL2:SCALE?",
                                 a + ":SLOPE:LEVELA?", a + ":SLOPE:LEVELB?"}));
    QCOMPARE(CtrlData.AltEdge1.Level, shown("1.00div"));
}

void TestExchange::laResetRefillsThePositions() {
    CmdSend(":LA:GROUP2:SIZE SMALL");
    CmdQuery("*IDN?"); // every command before has arrived
    link_->instrument().ClearLog();
    PraseCtrlList("NQ4000L\\LA\\Reset");
    QCOMPARE(log(), (QStringList{":LA:POSITION:RESET", ":LA:GROUP2:SIZE?", ":LA:GROUP1:SIZE?"}));
    QCOMPARE(CtrlData.LaSizeHigh, WordSmall);
    QCOMPARE(CtrlData.LaPosition[1], QString("15"));
    QCOMPARE(CtrlData.LaPosition[8], QString("8"));
    QCOMPARE(CtrlData.LaPosition[9], QString("7"));
    QCOMPARE(CtrlData.LaPosition[16], QString("0"));
    CmdSend(":LA:GROUP2:SIZE BIG");
    PraseCtrlList("NQ4000L\\LA\\Reset");
    QCOMPARE(CtrlData.LaPosition[1], QString("7"));
    QCOMPARE(CtrlData.LaPosition[8], QString("0"));
}

void TestExchange::jobsRunInTheirWindow() {
    bool stillOpen = false, refused = false;
    SetJobBody(98, [&] {
        auto* window = qApp->findChild<frmPrgress*>() ? qApp->findChild<frmPrgress*>() : nullptr;
        for (QWidget* w : QApplication::topLevelWidgets())
            if (auto* p = qobject_cast<frmPrgress*>(w)) window = p;
        QVERIFY(window);
        refused = !window->close(); // the user's close during a job
        stillOpen = window->isVisible();
        refused = refused && !RunJob(99, "second"); // only one job at a time
    });
    QVERIFY(RunJob(98, "Test job"));
    QVERIFY(JobDone && !JobRunning);
    QVERIFY(refused);
    QVERIFY(stillOpen);
    QCOMPARE(log().first(), QString(":TRIGGER:STATUS?")); // at the head of every job
    // An unknown kind ends at once.
    QVERIFY(RunJob(77, "Nothing"));
    QVERIFY(JobDone);
    QTRY_VERIFY([] {
        for (QWidget* w : QApplication::topLevelWidgets())
            if (qobject_cast<frmPrgress*>(w) && w->isVisible()) return false;
        return true;
    }());
}

void TestExchange::buttonsTurnTheInvertWordsOff() {
    CtrlData.Ch1Invert = WordOn;
    CtrlData.Ch2Invert = WordOn;
    CtrlData.TimeBaseFlag = WordOn;
    cmdUpload_Click();
    QCOMPARE(CtrlData.Ch1Invert, WordOff);
    QCOMPARE(CtrlData.TimeBaseFlag, WordOff);
    QCOMPARE(logFrom(":RUN").size() > 40, true);
    CtrlData.Ch2Invert = WordOn;
    CtrlDirty = false;
    cmdDownload_Click();
    QCOMPARE(CtrlData.Ch2Invert, WordOff);
    QVERIFY(CtrlDirty);
    // Without a connection the buttons only warn.
    DisconnectFromDevice();
    tp_->boxes.clear();
    cmdUpload_Click();
    QCOMPARE(tp_->prompts(), QStringList{"Please Connect Oscilloscope First!"});
}

void TestExchange::autoSetWaitsThenReadsAll() {
    platform::SetSleepObserver(recordSleep);
    PraseCtrlList("NQ4000L\\Running Control\\Auto Set");
    QCOMPARE(log().first(), QString(":AUTO"));
    QVERIFY(g_sleeps.contains(4000));
    QCOMPARE(log()[1], QString(":TRIGGER:STATUS?")); // the read-all job
    QCOMPARE(CtrlData.TimeDiv, shown("500.0us"));    // what the instrument chose
    QCOMPARE(CtrlData.Ch1VoltDiv, QString("500mV"));
}

// What the tree's rows say after a download (and after Auto Set), read
// from the tree widget itself: the values just read, never the ones before.
void TestExchange::theTreeShowsEachDownload() {
    frmCtrlList pane;
    pane.Form_Load();
    auto timeDivRow = [&pane]() -> QString {
        const QTreeWidgetItem* row = pane.RowStartingWith("Time/Div");
        return row ? row->text(0) : QString();
    };
    const std::pair<const char*, const char*> scales[] = {
        {"5ms", "5.000ms"}, {"2ms", "2.000ms"}, {"50us", "50.00us"}};
    for (const auto& [scale, text] : scales) {
        link_->instrument().Process(std::string(":TIMEBASE:SCALE ") + scale);
        QVERIFY(RunJob(kJobDownload, "Data Downloading..."));
        QCOMPARE(timeDivRow(), "Time/Div [" + shown(text) + "]");
    }
    PraseCtrlList("NQ4000L\\Running Control\\Auto Set");
    QCOMPARE(timeDivRow(), "Time/Div [" + shown("500.0us") + "]");
    DownloadfromDSO(); // the button's way: the status bar says what happened
    QCOMPARE(platform::LastStatus(), DownloadedText());
}

void TestExchange::measureJobFillsTheSlots() {
    CmdSend(":TIMEBASE:SCALE 500us");
    QVERIFY(RunJob(1, "Measure Data Loading..."));
    // Every slot holds its own measure's answer (the slot table written out
    // here from the slot order, so two answers swapped in the job fail).
    struct SlotQuery {
        int slot;
        const char* word;
        char family; // v volt, t time, f frequency, p percent
    };
    const SlotQuery measures[18] = {
        {0, "VPP", 'v'},       {1, "VMAX", 'v'},        {2, "VMIN", 'v'},
        {3, "VAVERAGE", 'v'},  {15, "VAMPLITUDE", 'v'}, {4, "VTOP", 'v'},
        {5, "VBASE", 'v'},     {6, "VRMS", 'v'},        {13, "OVERSHOOT", 'p'},
        {14, "PRESHOOT", 'p'}, {7, "FREQUENCY", 'f'},   {8, "RISETIME", 't'},
        {9, "FALLTIME", 't'},  {10, "PERIOD", 't'},     {11, "PWIDTH", 't'},
        {12, "NWIDTH", 't'},   {16, "PDUTYCYCLE", 'p'}, {17, "NDUTYCYCLE", 'p'}};
    for (const SlotQuery& q : measures) {
        const QString reply = CutAtLineFeed(CmdQuery(QString(":MEASURE:%1? CHANNEL1").arg(q.word)));
        QString expected = q.family == 'v'   ? NormVolt(reply)
                           : q.family == 't' ? NormTime3(reply)
                           : q.family == 'f' ? NormFreq(reply)
                                             : NormPercent(reply);
        if (reply.contains('*')) expected = q.slot == 13 || q.slot == 14 ? reply : "*****";
        QVERIFY2(CurrentMeasure.values[static_cast<std::size_t>(q.slot)] == expected, q.word);
    }
    QCOMPARE(CurrentMeasure.values[0], shown("2.00V"));    // Vpp
    QCOMPARE(CurrentMeasure.values[7], shown("1.000kHz")); // Frequency
    QCOMPARE(CurrentMeasure.values[10], shown("1.00ms"));  // Period
    QCOMPARE(CurrentMeasure.values[16], shown("50.0%"));   // Duty+
    QVERIFY(CurrentMeasure.setting.startsWith("CH1 500mV  500us "));
    QVERIFY(CurrentMeasure.setting.contains("Sa [Date:"));
    QVERIFY(log().contains(":MEASURE:FREQUENCY? CHANNEL1"));
}

// Replies with a '*' from a scripted instrument: overshoot and preshoot keep
// the instrument's own text (it says how far it got), every other measure
// shows "*****"; the statistics count none of them.
void TestExchange::measureJobShowsWhatTheInstrumentCouldNotMeasure() {
    RecordingTransport instrument;
    const QHash<QString, QString> starred = {{"OVERSHOOT", "<12.5%*"}, {"PRESHOOT", "***%"},
                                             {"FREQUENCY", ">1.0E6*"}, {"VPP", "*2.00"},
                                             {"PDUTYCYCLE", "50*"},    {"RISETIME", "****"}};
    for (auto it = starred.cbegin(); it != starred.cend(); ++it)
        instrument.replies[QString(":MEASURE:%1? CHANNEL1").arg(it.key())] = it.value() + "\n";
    instrument.replies[":MEASURE:VMAX? CHANNEL1"] = "1.0\n";
    RunMeasureJob(1);
    QCOMPARE(CurrentMeasure.values[13], QString("<12.5%*")); // Vover: the instrument's text
    QCOMPARE(CurrentMeasure.values[14], QString("***%"));    // Vpre
    for (int slot : {7, 0, 16, 8})                           // Frequency, Vpp, Duty+, Rise Time
        QCOMPARE(CurrentMeasure.values[static_cast<std::size_t>(slot)], QString("*****"));
    QCOMPARE(CurrentMeasure.values[1], shown("1.00V")); // a plain reply beside them
    MeasureRecord rec;
    TakeCurrentMeasure(rec);
    MeasureStats stats;
    AddRefresh(stats, rec);
    for (int slot : {13, 14, 7, 0, 16, 8})
        QCOMPARE(stats.items[static_cast<std::size_t>(slot)].count, 0);
    QCOMPARE(stats.items[1].count, 1);
}

// The progress window: centred on the frame unless a remembered place is
// wholly on a screen (a place from another monitor, or the defaults of an
// older settings file, would put it out of sight).
void TestExchange::progressWindowPlace_data() {
    QTest::addColumn<bool>("remembered");
    QTest::addColumn<QPoint>("stored");
    QTest::addColumn<QPoint>("placed");
    const QPoint centred(100 + (1000 - 340) / 2, 50 + (700 - 60) / 2);
    QTest::newRow("first time: centred") << false << QPoint() << centred;
    QTest::newRow("on the screen") << true << QPoint(500, 300) << QPoint(500, 300);
    QTest::newRow("right of every screen") << true << QPoint(5000, 100) << centred;
    QTest::newRow("across the screen's edge") << true << QPoint(1200, 100) << centred;
    QTest::newRow("below the screen") << true << QPoint(500, 800) << centred;
    QTest::newRow("on the second screen") << true << QPoint(1700, 300) << QPoint(1700, 300);
}

void TestExchange::progressWindowPlace() {
    QFETCH(bool, remembered);
    QFETCH(QPoint, stored);
    QFETCH(QPoint, placed);
    const QList<QRect> screens{QRect(0, 0, 1280, 800), QRect(1280, 0, 1920, 1080)};
    const std::optional<QPoint> place = remembered ? std::optional<QPoint>(stored) : std::nullopt;
    QCOMPARE(frmPrgress::PlaceFor(place, QRect(100, 50, 1000, 700), QSize(340, 60), screens),
             placed);
}

QTEST_MAIN(TestExchange)
#include "tst_exchange.moc"
