// korvane-cli end to end: the real executable against the simulated
// instrument, its files compared with the windows' exports, its exit codes.
#include "SimulatedLink.h"
#include "TestPlatform.h"

#include "Files.h"
#include "Simulator.h"
#include "acquire/Jobs.h"
#include "acquire/TableJob.h"
#include "cli/Cli.h"
#include "link/Connection.h"
#include "link/LinkState.h"
#include "link/UsbFunc.h"
#include "platform/Visa.h"
#include "shared/AppIdentity.h"
#include "shared/LoadLanguage.h"
#include "sheet/SheetRecords.h"
#include "views/frmData.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

class TestCli : public QObject {
    Q_OBJECT
private slots:
    void init();
    void cleanup();
    void limitsText_data();
    void limitsText();
    void tableIsTheWindowsExport();
    void measureExitsOneWhenAVerdictFails();
    void settingsGetThenPutLeaveTheInstrumentAsItWas();
    void screenWritesAPicture();
    void filesWithoutAnInstrument();
    void exitCodesForWhatGoesWrong();

private:
    struct Result {
        int status;
        QByteArray out, err;
    };
    Result run(const QStringList& args);
    std::unique_ptr<TestPlatform> tp_;
    std::unique_ptr<QTemporaryDir> runtime_;
    std::unique_ptr<sim::Simulator> sim_;
};

void TestCli::init() {
    tp_.reset();
    tp_ = std::make_unique<TestPlatform>();
    ApplyLanguage(kLanguageEnglish);
    // The simulator where the command line looks for it: $XDG_RUNTIME_DIR/nq4000l-sim.
    runtime_ = std::make_unique<QTemporaryDir>();
    sim::SimulatorOptions o;
    o.usbDirectory = runtime_->filePath("nq4000l-sim").toStdString();
    sim_ = std::make_unique<sim::Simulator>(o);
    QVERIFY(sim_->Start());
    sim_->instrument().Process(":STOP"); // a still screen: two fetches see the same
}

void TestCli::cleanup() {
    sim_.reset();
    runtime_.reset();
    tp_.reset();
}

TestCli::Result TestCli::run(const QStringList& args) {
    QProcess p;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert("XDG_RUNTIME_DIR", runtime_->path());
    env.insert("XDG_CONFIG_HOME", runtime_->filePath("config"));
    env.insert("QT_QPA_PLATFORM", "offscreen");
    env.insert("KORVANE_PACING", "0"); // the simulator needs no pauses
    p.setProcessEnvironment(env);
    p.start(KORVANE_CLI, args);
    p.waitForFinished(60000);
    return {p.exitCode(), p.readAllStandardOutput(), p.readAllStandardError()};
}

void TestCli::limitsText_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("ok");
    QTest::newRow("two limits") << "# bench\nVpp=1.5,2.5\nFrequency = 990, 1010\n" << true;
    QTest::newRow("unknown name") << "Vp=1,2" << false;
    QTest::newRow("one limit") << "Vpp=1" << false;
    QTest::newRow("not a number") << "Vpp=a,2" << false;
}

void TestCli::limitsText() {
    QFETCH(QString, text);
    QFETCH(bool, ok);
    MeasureRecord rec;
    QString error;
    QCOMPARE(ApplyLimitsText(text, rec, &error), ok);
    if (ok) {
        QVERIFY(rec.Items[0].LimitEnabled);
        QCOMPARE(rec.Items[0].OverLimit, 2.5);
        QCOMPARE(rec.Items[7].UnderLimit, 990.0);
    } else {
        QVERIFY(error.startsWith("limits line"));
    }
}

void TestCli::tableIsTheWindowsExport() {
    const QString path = runtime_->filePath("t.txt");
    const Result r = run({"table", "CH1", "--out", path});
    QCOMPARE(r.status, 0);
    QFile f(path);
    QVERIFY(f.open(QIODevice::ReadOnly));
    const QByteArray cli = f.readAll();
    // The data window's export of the same still screen, fetched in-process.
    platform::SetSimulatedUsbDirectory(runtime_->filePath("nq4000l-sim"));
    MakerName = "Vexor Technologies,Inc.";
    RegisterTableJobs();
    OpenVisaRM();
    VisaRsrcIndex = 0;
    ConnectToDevice();
    QVERIFY(Connected);
    QVERIFY(RunJob(kJobTableCh1, "table", 0));
    DisconnectFromDevice();
    VisaCloseInstr();
    DataRecord d;
    d.Loaded = true;
    d.RowCount = TableRowCount;
    d.Title = SheetTitle;
    d.VoltText = TableVoltText;
    d.TimeText = TableTimeText;
    QCOMPARE(cli, DataExportBytes(d));
}

void TestCli::measureExitsOneWhenAVerdictFails() {
    const QString limits = runtime_->filePath("limits.txt");
    QFile f(limits);
    QVERIFY(f.open(QIODevice::WriteOnly));
    f.write("Frequency=900,1100\n"); // the simulator's 1 kHz sine passes
    f.close();
    Result r = run({"measure", "CH1", "--limits", limits, "--json"});
    QCOMPARE(r.status, 0);
    const QJsonObject doc = QJsonDocument::fromJson(r.out).object();
    QCOMPARE(doc["measures"].toArray().size(), 18);
    QVERIFY(QString::fromUtf8(r.out).contains("\"verdict\": \"Pass\""));
    QVERIFY(f.open(QIODevice::WriteOnly));
    f.write("Frequency=2000,3000\n");
    f.close();
    r = run({"measure", "CH1", "--limits", limits});
    QCOMPARE(r.status, 1);
    QVERIFY(r.out.contains("Frequency\t"));
    QVERIFY(r.out.contains("Fail [Under Limit]"));
}

void TestCli::settingsGetThenPutLeaveTheInstrumentAsItWas() {
    const QString path = runtime_->filePath("s.rmt");
    const std::string scale = sim_->instrument().Value(":CHANNEL1:SCALE");
    const std::string mode = sim_->instrument().Value(":TRIGGER:MODE");
    QCOMPARE(run({"settings", "get", path}).status, 0);
    QVERIFY(QFile(path).size() > 1000);
    QCOMPARE(run({"settings", "put", path}).status, 0);
    QCOMPARE(sim_->instrument().Value(":CHANNEL1:SCALE"), scale);
    QCOMPARE(sim_->instrument().Value(":TRIGGER:MODE"), mode);
}

void TestCli::screenWritesAPicture() {
    const QString path = runtime_->filePath("screen.png");
    QCOMPARE(run({"screen", "--png", path}).status, 0);
    QImage image(path);
    QCOMPARE(image.size(), QSize(700, 500));
    const QString lcd = runtime_->filePath("lcd.png");
    QCOMPARE(run({"screen", "--lcd", lcd}).status, 0);
    QCOMPARE(QImage(lcd).size(), QSize(320, 234));
}

void TestCli::filesWithoutAnInstrument() {
    sim_.reset(); // nothing is plugged in
    const QString wfm = runtime_->filePath("w.wfm");
    sim::WaveformFileContent wave;
    wave.points = 1000;
    std::string error;
    QVERIFY(sim::WriteWaveformFile(wfm.toStdString(), wave, &error));
    const QString csv = runtime_->filePath("w.csv");
    QCOMPARE(run({"wfm2csv", wfm, csv}).status, 0);
    QFile f(csv);
    QVERIFY(f.open(QIODevice::ReadOnly));
    QCOMPARE(f.readAll().count('\n'), 2 + 1000);
    const QString rcd = runtime_->filePath("r.rcd");
    sim::RecordFileContent record;
    record.frames = 5;
    QVERIFY(sim::WriteRecordFile(rcd.toStdString(), record, &error));
    const QString png = runtime_->filePath("r.png");
    QCOMPARE(run({"rcd2png", rcd, "--frame", "3", png}).status, 0);
    QVERIFY(!QImage(png).isNull());
    QVERIFY(run({"rcd2png", rcd, "--frame", "9", png}).status != 0);
}

void TestCli::exitCodesForWhatGoesWrong() {
    sim_.reset();
    Result r = run({"idn"});
    QCOMPARE(r.status, 3);
    QVERIFY(r.err.contains("no instrument answers"));
    const QString bad = runtime_->filePath("bad.ult");
    QFile f(bad);
    QVERIFY(f.open(QIODevice::WriteOnly));
    f.write("\"Someone Else Data Sheet\"\r\n");
    f.close();
    r = run({"sheet-info", bad});
    QVERIFY(r.status != 0);
    QVERIFY(r.err.contains("Invaild"));
    QCOMPARE(run({"no-such-command"}).status, 2);
}

QTEST_MAIN(TestCli)
#include "tst_cli.moc"
