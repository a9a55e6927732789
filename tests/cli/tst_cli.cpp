// SPDX-License-Identifier: GPL-3.0-or-later
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

#include <QElapsedTimer>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>
#include <csignal>

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
    void wrongWordsTouchNoInstrument_data();
    void wrongWordsTouchNoInstrument();
    void outputGoesWhereItIsSent_data();
    void outputGoesWhereItIsSent();
    void aSignalUnlocksTheKeys_data();
    void aSignalUnlocksTheKeys();
    void repeatsNameTheirFilesAndLines();
    void intervalIsWallClock();
    void sigrokHabits();
    void spectrumReadsTheTone();
    void spectrumHarmonicsOfASquare();
    void decodeMatchesSigrokOverTheWholeCapture_data();
    void decodeMatchesSigrokOverTheWholeCapture();
    void decodeCutsTheAnalogueChannels_data();
    void decodeCutsTheAnalogueChannels();
    void measureStatistics();
    void aSignalEndsStatisticsWithWhatWasGathered_data();
    void aSignalEndsStatisticsWithWhatWasGathered();
    void aTerminalHearsAtOnceWhatIsHappening();

private:
    struct Result {
        int status;
        QByteArray out, err;
    };
    Result run(const QStringList& args, const QMap<QString, QString>& extraEnv = {});
    QStringList simulatorCommands() const;
    // A command-line process that finds the simulator, at a pacing scale.
    void prepare(QProcess& p, const QString& pacing) const;
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

TestCli::Result TestCli::run(const QStringList& args, const QMap<QString, QString>& extraEnv) {
    QProcess p;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert("XDG_RUNTIME_DIR", runtime_->path());
    env.insert("XDG_CONFIG_HOME", runtime_->filePath("config"));
    env.insert("QT_QPA_PLATFORM", "offscreen");
    env.insert("KORVANE_PACING", "0"); // the simulator needs no pauses
    for (auto it = extraEnv.cbegin(); it != extraEnv.cend(); ++it)
        if (it.value().isNull())
            env.remove(it.key());
        else
            env.insert(it.key(), it.value());
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
    TakeTableJob(d, "CH1");
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
    // convert: the same writer as the windows' "Export capture...".
    for (const char* kind : {"sr", "vcd", "csv", "npz"}) {
        const QString out = runtime_->filePath(QString("w.") + kind);
        QCOMPARE(run({"convert", wfm, out}).status, 0);
        QVERIFY(QFileInfo(out).size() > 1000);
    }
    QCOMPARE(run({"convert", rcd, runtime_->filePath("r.csv"), "--frame", "2"}).status, 0);
    const Result unknown = run({"convert", wfm, runtime_->filePath("w.xyz")});
    QCOMPARE(unknown.status, 2);
    QVERIFY(unknown.err.contains(".sr, .vcd, .csv or .npz"));
    // decode: the UART's bytes as the field's own command line reads them
    // from the same capture written as a session.
    const QString bus = runtime_->filePath("bus.wfm"); // 4000 points: 667 kHz
    QVERIFY(sim::WriteWaveformFile(bus.toStdString(), sim::WaveformFileContent(), &error));
    QCOMPARE(run({"convert", bus, runtime_->filePath("bus.sr")}).status, 0);
    const QStringList uart{"-P", "uart:rx=D0:baudrate=115200"};
    const Result lines = run(QStringList{"decode", bus} + uart);
    QCOMPARE(lines.status, 0);
    QStringList ours;
    for (const QByteArray& line : lines.out.split('\n'))
        if (line.contains(" uart: rx-data: ") && !line.endsWith("bit"))
            ours << line.split(' ').last();
    const Result json = run(QStringList{"decode", bus, "--json"} + uart);
    QStringList fromJson;
    for (const QByteArray& line : json.out.split('\n')) {
        const QJsonObject o = QJsonDocument::fromJson(line).object();
        if (o["row"] == "rx-data" && !o["texts"][0].toString().endsWith("bit"))
            fromJson << o["texts"][0].toString();
    }
    QCOMPARE(fromJson, ours);
    QProcess sigrok;
    sigrok.start("sigrok-cli", QStringList{"-i", runtime_->filePath("bus.sr"), "-P",
                                           "uart:rx=D0:baudrate=115200", "-A", "uart=rx-data"});
    QVERIFY(sigrok.waitForFinished(30000));
    QStringList theirs;
    for (const QByteArray& line : sigrok.readAllStandardOutput().split('\n'))
        if (line.startsWith("uart-1: ") && !line.endsWith("bit")) theirs << line.mid(8);
    QVERIFY(ours.size() >= 3);
    QCOMPARE(ours, theirs);
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

void TestCli::prepare(QProcess& p, const QString& pacing) const {
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert("XDG_RUNTIME_DIR", runtime_->path());
    env.insert("QT_QPA_PLATFORM", "offscreen");
    env.insert("KORVANE_PACING", pacing);
    p.setProcessEnvironment(env);
}

QStringList TestCli::simulatorCommands() const {
    QStringList lines;
    for (const sim::LogEntry& e : sim_->instrument().Log())
        lines << QString::fromStdString(e.command);
    return lines;
}

// A command line that does not read ends with one line and status 2, before
// the instrument hears anything.
void TestCli::wrongWordsTouchNoInstrument_data() {
    QTest::addColumn<QStringList>("args");
    QTest::addColumn<QString>("said");
    QTest::newRow("send without a command") << QStringList{"send"} << "usage: korvane-cli send";
    QTest::newRow("query without a command") << QStringList{"query"} << "usage: korvane-cli query";
    QTest::newRow("a language nobody speaks")
        << QStringList{"--language", "fr", "idn"} << "en or zh";
    QTest::newRow("repeat not a number") << QStringList{"idn", "--repeat", "abc"} << "--repeat";
    QTest::newRow("repeat below one") << QStringList{"idn", "--repeat", "-2"} << "--repeat";
    QTest::newRow("interval not a number")
        << QStringList{"idn", "--interval", "abc"} << "--interval";
    QTest::newRow("interval beyond a day")
        << QStringList{"idn", "--interval", "3000000"} << "--interval";
    QTest::newRow("extra words") << QStringList{"idn", "now"} << "usage: korvane-cli idn";
    QTest::newRow("table of CH3") << QStringList{"table", "CH3", "--out", "x"} << "CH1, CH2 or LA";
    QTest::newRow("measure of LA") << QStringList{"measure", "LA"} << "CH1 or CH2";
    QTest::newRow("an option of another command")
        << QStringList{"idn", "--out", "x"} << "--out does not apply";
    QTest::newRow("settings neither get nor put")
        << QStringList{"settings", "take", "f"} << "get|put";
    QTest::newRow("a control file that is not there")
        << QStringList{"settings", "put", "/missing.rmt"} << "/missing.rmt: cannot read";
    QTest::newRow("decode without a decoder") << QStringList{"decode", "x.wfm"} << "-P DECODER";
    QTest::newRow("decode with an unknown decoder")
        << QStringList{"decode", "x.wfm", "-P", "nosuch"} << "Unknown protocol decoder 'nosuch'";
    QTest::newRow("decode on a lane that is not there")
        << QStringList{"decode", "x.wfm", "-P", "uart:rx=D16"} << "use D0..D15, CH1 or CH2";
    QTest::newRow("decode with a value not allowed")
        << QStringList{"decode", "x.wfm", "-P", "uart:rx=D0:parity=maybe"} << "parity takes";
    QTest::newRow("spectrum of CH3") << QStringList{"spectrum", "CH3"} << "CH1, CH2 or a .wfm";
    QTest::newRow("spectrum with an unknown window")
        << QStringList{"spectrum", "CH1", "--window", "kaiser"} << "--window is rectangle";
    QTest::newRow("statistics of no refresh")
        << QStringList{"measure", "CH1", "--stats", "0"} << "--stats is a whole number";
    QTest::newRow("no such serial device")
        << QStringList{"--rs232", "/nonexistent", "idn"} << "/nonexistent: no such device";
}

void TestCli::wrongWordsTouchNoInstrument() {
    QFETCH(QStringList, args);
    QFETCH(QString, said);
    sim_->instrument().ClearLog();
    // No runtime folder: Qt's complaint about it is not the program's line.
    const Result r = run(args, {{"XDG_RUNTIME_DIR", QString()}});
    QCOMPARE(r.status, args.contains("/nonexistent") ? 3 : 2);
    const QStringList lines = QString::fromUtf8(r.err).split('\n', Qt::SkipEmptyParts);
    QCOMPARE(lines.size(), 1);
    QVERIFY2(lines[0].startsWith("korvane-cli: ") && lines[0].contains(said), qPrintable(lines[0]));
    QVERIFY(r.out.isEmpty());
    QCOMPARE(simulatorCommands(), QStringList());
}

// Standard output is written where it is (a FIFO and a link are the safe
// writer's own test); a full device fails with its error and status 2.
void TestCli::outputGoesWhereItIsSent_data() {
    QTest::addColumn<QString>("kind");
    QTest::newRow("-") << "-";
    QTest::newRow("/dev/stdout") << "/dev/stdout";
    QTest::newRow("/dev/full") << "full";
}

void TestCli::outputGoesWhereItIsSent() {
    QFETCH(QString, kind);
    const QString file = runtime_->filePath("t.txt");
    QVERIFY(run({"table", "CH1", "--out", file}).status == 0);
    QFile f(file);
    QVERIFY(f.open(QIODevice::ReadOnly));
    const QByteArray table = f.readAll();
    if (kind == "-" || kind == "/dev/stdout") {
        const Result r = run({"table", "CH1", "--out", kind});
        QCOMPARE(r.status, 0);
        QCOMPARE(r.out, table);
    } else {
        const Result r = run({"table", "CH1", "--out", "/dev/full"});
        QCOMPARE(r.status, 2);
        QVERIFY2(r.err.contains(QString::fromLocal8Bit(strerror(ENOSPC)).toUtf8()),
                 r.err.constData());
    }
}

// Ctrl+C or SIGTERM in the middle of a long exchange (settings get takes its
// real pauses here): the keys are unlocked, the status is 128 + the signal.
void TestCli::aSignalUnlocksTheKeys_data() {
    QTest::addColumn<int>("signal");
    QTest::newRow("SIGINT") << int(SIGINT);
    QTest::newRow("SIGTERM") << int(SIGTERM);
}

void TestCli::aSignalUnlocksTheKeys() {
    QFETCH(int, signal);
    QProcess p;
    prepare(p, "1");
    p.start(KORVANE_CLI, {"settings", "get", runtime_->filePath("s.rmt")});
    QVERIFY(p.waitForStarted());
    QTRY_VERIFY_WITH_TIMEOUT(simulatorCommands().contains(":KEY:LOCK ENABLE"), 10000);
    QTest::qWait(800); // well inside the download
    ::kill(static_cast<pid_t>(p.processId()), signal);
    QVERIFY(p.waitForFinished(5000));
    QCOMPARE(p.exitCode(), 128 + signal);
    QCOMPARE(simulatorCommands().last(), QString(":KEY:LOCK DISABLE"));
}

void TestCli::repeatsNameTheirFilesAndLines() {
    const QString path = runtime_->filePath("F.rmt");
    QCOMPARE(run({"settings", "get", path, "--repeat", "2"}).status, 0);
    QVERIFY(QFileInfo(runtime_->filePath("F-001.rmt")).size() > 1000);
    QVERIFY(QFileInfo(runtime_->filePath("F-002.rmt")).size() > 1000);
    QVERIFY(!QFileInfo::exists(path));
    // JSON Lines: one document a round; numbers in base units beside the texts.
    const Result r = run({"measure", "CH1", "--json", "--repeat", "2"});
    QCOMPARE(r.status, 0);
    const QList<QByteArray> lines = r.out.trimmed().split('\n');
    QCOMPARE(lines.size(), 2);
    for (const QByteArray& line : lines) {
        QJsonParseError error{};
        const QJsonObject doc = QJsonDocument::fromJson(line, &error).object();
        QCOMPARE(error.error, QJsonParseError::NoError);
        const QJsonObject vpp = doc["measures"].toArray()[0].toObject();
        QCOMPARE(vpp["name"].toString(), QString("Vpp"));
        QCOMPARE(vpp["unit"].toString(), QString("V"));
        QVERIFY(qAbs(vpp["value"].toDouble() - 2.0) < 0.05);
        QCOMPARE(vpp["text"].toString(), QString("2.00V")); // the point, in any locale
        const QJsonObject duty = doc["measures"].toArray()[16].toObject();
        QCOMPARE(duty["unit"].toString(), QString("fraction"));
        QVERIFY(qAbs(duty["value"].toDouble() - 0.5) < 0.01);
    }
    // The text keeps the point too, and the table file.
    QVERIFY(run({"measure", "CH1"}).out.contains("Vpp\t2.00V"));
}

void TestCli::intervalIsWallClock() {
    QElapsedTimer clock;
    clock.start();
    const Result r = run({"idn", "--repeat", "2", "--interval", "1.5"}); // pacing 0
    QCOMPARE(r.status, 0);
    QCOMPARE(r.out.count('\n'), 2);
    QVERIFY2(clock.elapsed() >= 1500, qPrintable(QString::number(clock.elapsed())));
}

void TestCli::sigrokHabits() {
    Result r = run({"-V"});
    QCOMPARE(r.status, 0);
    QVERIFY(r.out.startsWith("korvane-cli "));
    r = run({"table", "--help"});
    QCOMPARE(r.status, 0);
    QVERIFY(r.out.startsWith("Usage: korvane-cli [OPTION]... table CH1|CH2|LA"));
    // -v: each command and reply on standard error; the reply alone on standard output.
    r = run({"-v", "query", "*IDN?"});
    QCOMPARE(r.status, 0);
    QVERIFY(r.err.contains("> *IDN?\n"));
    QVERIFY(r.err.contains("< VEXOR"));
    QVERIFY(r.out.startsWith("VEXOR"));
    // send takes the rest of the line as the command's text.
    sim_->instrument().ClearLog();
    QCOMPARE(run({"send", ":CHANNEL1:SCALE", "2"}).status, 0);
    QVERIFY(simulatorCommands().contains(":CHANNEL1:SCALE 2"));
    QCOMPARE(sim_->instrument().ChannelScale(1), 2.0);
}

// The simulator's 1 kHz, 1 V sine on CH1 (-3.01 dBV) from a screen fetch, and
// the same tone in a deep file over a time range, for each window function:
// within a bin and 0.1 dB.
void TestCli::spectrumReadsTheTone() {
    const QString wfm = runtime_->filePath("tone.wfm");
    sim::WaveformFileContent wave;
    wave.points = 40000;
    std::string error;
    QVERIFY(sim::WriteWaveformFile(wfm.toStdString(), wave, &error));
    const QList<QStringList> runs = {
        {"spectrum", "CH1"},
        {"spectrum", "CH1", "--window", "blackman"},
        {"spectrum", wfm},
        {"spectrum", wfm, "--window", "rectangle", "--from", "-0.002", "--to", "0.0015"},
        {"spectrum", wfm, "--averages", "3"}};
    for (const QStringList& args : runs) {
        const Result r = run(args + QStringList{"--json"});
        QCOMPARE(r.status, 0);
        const QJsonObject o = QJsonDocument::fromJson(r.out).object();
        const double bin = o["bin_hz"].toDouble();
        const QJsonObject peak = o["peak"].toObject();
        QVERIFY2(std::abs(peak["frequency"].toDouble() - 1000) <= bin, r.out.constData());
        QVERIFY2(std::abs(peak["level_dbv"].toDouble() + 3.0103) < 0.1, r.out.constData());
    }
    // A sine's harmonics 2 to 10 are all below the noise, one a line.
    const Result text = run({"spectrum", "CH1"});
    QVERIFY2(text.out.contains("peak 1.000kHz -3.0"), text.out.constData());
    QCOMPARE(text.out.count("\nH"), 9);
    QCOMPARE(text.out.count(" below noise\n"), 9);
    QVERIFY(text.out.contains("\nH3 3.000kHz below noise\n"));
}

// The simulator's 2 kHz square on CH2: harmonic n at n times the peak, the
// odd ones 20 log10(n) under the fundamental (9.54, 13.98, 16.90 dB for 3,
// 5, 7: the Fourier series of a square), the even ones below the noise with
// a null level; the text says the same as the JSON.
void TestCli::spectrumHarmonicsOfASquare() {
    const Result r = run({"spectrum", "CH2", "--json"});
    QCOMPARE(r.status, 0);
    const QJsonObject o = QJsonDocument::fromJson(r.out).object();
    const double f0 = o["peak"].toObject()["frequency"].toDouble();
    const double level0 = o["peak"].toObject()["level_dbv"].toDouble();
    QVERIFY2(std::abs(f0 - 2000) < 1, r.out.constData());
    const QJsonArray list = o["harmonics"].toArray();
    QCOMPARE(list.size(), 9);
    const Result text = run({"spectrum", "CH2"});
    for (int k = 0; k < list.size(); ++k) {
        const QJsonObject h = list[k].toObject();
        const int n = k + 2;
        QCOMPARE(h["order"].toInt(), n);
        if (n % 2 == 0) {
            QVERIFY2(h["level_dbv"].isNull(), r.out.constData());
            QCOMPARE(h["frequency"].toDouble(), n * f0);
            QVERIFY(text.out.contains(
                QString("\nH%1 %2 below noise\n")
                    .arg(n)
                    .arg(QString::number(n * 2.0, 'f', n * 2 < 10 ? 3 : 2) + "kHz")
                    .toUtf8()));
            continue;
        }
        QVERIFY2(std::abs(h["frequency"].toDouble() - n * f0) < 0.01 * n * f0, r.out.constData());
        if (n <= 7) {
            const double below = level0 - h["level_dbv"].toDouble();
            QVERIFY2(std::abs(below - 20 * std::log10(double(n))) < 0.3, r.out.constData());
        }
    }
}

namespace {
// The text table's row of a measure, split at its tabs.
QStringList statsRow(const QByteArray& out, const QString& name) {
    for (const QString& line : QString::fromUtf8(out).split('\n'))
        if (line.startsWith(name + "\t")) return line.split('\t');
    return {};
}
} // namespace

// Three refreshes of CH1's measures, as a user reads them: the text table
// gives each figure in the value column's own picture (Duty+ of the 50 %
// signal reads "50.0%", as the measure command shows it), the JSON base
// units, a percentage as a fraction.
void TestCli::measureStatistics() {
    const Result r = run({"measure", "CH1", "--stats", "3", "--json"});
    QCOMPARE(r.status, 0);
    const QJsonObject o = QJsonDocument::fromJson(r.out).object();
    QCOMPARE(o["refreshes"].toInt(), 3);
    const QJsonObject vpp = o["measures"].toArray()[0].toObject();
    QCOMPARE(vpp["name"].toString(), QString("Vpp"));
    QCOMPARE(vpp["count"].toInt(), 3);
    QCOMPARE(vpp["mean"].toDouble(), 2.0);
    QCOMPARE(vpp["stddev"].toDouble(), 0.0);
    QCOMPARE(vpp["unit"].toString(), QString("V"));
    for (int row : {16, 17}) { // Duty+ and Duty-
        const QJsonObject duty = o["measures"].toArray()[row].toObject();
        QCOMPARE(duty["unit"].toString(), QString("fraction"));
        QVERIFY2(std::abs(duty["mean"].toDouble() - 0.5) < 0.005, r.out.constData());
    }
    QCOMPARE(simulatorCommands().filter(":MEASURE:VPP").size(), 3);

    const Result text = run({"measure", "CH1", "--stats", "3"});
    QCOMPARE(text.status, 0);
    // name, count, min, max, mean, stddev, pass, fail
    QCOMPARE(statsRow(text.out, "Duty+").mid(1, 5),
             QStringList({"3", "50.0%", "50.0%", "50.0%", "0.00%"}));
    QCOMPARE(statsRow(text.out, "Vpp").mid(1, 4), QStringList({"3", "2.00V", "2.00V", "2.00V"}));
    const Result once = run({"measure", "CH1"});
    QVERIFY2(once.out.contains("Duty+\t50.0%\t"), once.out.constData());
}

// Ctrl+C or SIGTERM in a long statistics run: it ends at once with the
// statistics of the refreshes it finished, in the format asked for, the
// keys unlocked, the status 128 + the signal.
void TestCli::aSignalEndsStatisticsWithWhatWasGathered_data() {
    QTest::addColumn<int>("signal");
    QTest::addColumn<bool>("json");
    QTest::newRow("SIGINT, text") << int(SIGINT) << false;
    QTest::newRow("SIGTERM, JSON") << int(SIGTERM) << true;
}

void TestCli::aSignalEndsStatisticsWithWhatWasGathered() {
    QFETCH(int, signal);
    QFETCH(bool, json);
    QProcess p;
    prepare(p, "0");
    QStringList args{"measure", "CH1", "--stats", "100000", "--interval", "5"};
    if (json) args << "--json";
    p.start(KORVANE_CLI, args);
    QVERIFY(p.waitForStarted());
    // Two refreshes done (preshoot is each one's last query), the run inside
    // its five-second pause.
    QTRY_VERIFY_WITH_TIMEOUT(simulatorCommands().filter(":MEASURE:PRESHOOT").size() == 2, 10000);
    QTest::qWait(300);
    QElapsedTimer clock;
    clock.start();
    ::kill(static_cast<pid_t>(p.processId()), signal);
    QVERIFY(p.waitForFinished(5000));
    QVERIFY2(clock.elapsed() < 1000,
             qPrintable(QString::number(clock.elapsed()))); // not after the pause
    QCOMPARE(p.exitCode(), 128 + signal);
    QTRY_COMPARE(simulatorCommands().last(), QString(":KEY:LOCK DISABLE"));
    QCOMPARE(simulatorCommands().filter(":MEASURE:VPP").size(), 2); // none after the signal
    const QByteArray out = p.readAllStandardOutput();
    if (json) {
        const QJsonObject o = QJsonDocument::fromJson(out).object();
        QCOMPARE(o["refreshes"].toInt(), 2);
        const QJsonObject vpp = o["measures"].toArray()[0].toObject();
        QCOMPARE(vpp["count"].toInt(), 2);
        QCOMPARE(vpp["mean"].toDouble(), 2.0);
    } else {
        QCOMPARE(statsRow(out, "Vpp").mid(1, 4), QStringList({"2", "2.00V", "2.00V", "2.00V"}));
        QCOMPARE(statsRow(out, "Duty+").value(4), QString("50.0%"));
    }
}

// On a terminal the first line says what the command does before the
// connection is made (its commands take their real pauses here, about two
// seconds before the keys are locked); a pipe gets none of it.
void TestCli::aTerminalHearsAtOnceWhatIsHappening() {
    QProcess p;
    prepare(p, "1");
    p.setProcessChannelMode(QProcess::MergedChannels);
    // script(1) gives the command a pseudo-terminal as its standard error.
    p.start("script", {"-qefc", QString("%1 idn").arg(KORVANE_CLI), "/dev/null"});
    QVERIFY(p.waitForStarted());
    QElapsedTimer clock;
    clock.start();
    QByteArray seen;
    while (!seen.contains("connecting to ") && clock.elapsed() < 5000) {
        p.waitForReadyRead(20);
        seen += p.readAll();
    }
    QVERIFY2(seen.contains("connecting to USB0::0x5345::0x4102::SIM0000001::INSTR"),
             seen.constData());
    QVERIFY(!simulatorCommands().contains(":KEY:LOCK ENABLE"));
    QVERIFY(p.waitForFinished(20000));
    seen += p.readAll();
    QCOMPARE(p.exitCode(), 0);
    QVERIFY(seen.contains("VEXOR"));

    const Result piped = run({"idn"}, {{"KORVANE_PACING", "1"}});
    QCOMPARE(piped.status, 0);
    QVERIFY2(piped.err.isEmpty(), piped.err.constData());
}

// A capture of 1,048,576 points (four feed blocks; the simulator's UART,
// I2C and SPI traffic runs past the first): every annotation's start, end
// and text, as sigrok-cli gives them for the same samples written as a
// session.
void TestCli::decodeMatchesSigrokOverTheWholeCapture_data() {
    QTest::addColumn<QString>("stack");
    QTest::addColumn<bool>("pastTheFirstBlock");
    QTest::newRow("uart") << "uart:rx=D0:baudrate=115200" << true;
    QTest::newRow("i2c, eeprom24xx") << "i2c:scl=D1:sda=D2,eeprom24xx" << false;
    QTest::newRow("spi") << "spi:clk=D3:mosi=D4:miso=D5:cs=D6" << false;
}

void TestCli::decodeMatchesSigrokOverTheWholeCapture() {
    QFETCH(QString, stack);
    QFETCH(bool, pastTheFirstBlock);
    const QString wfm = runtime_->filePath("deep.wfm"), sr = runtime_->filePath("deep.sr");
    if (!QFileInfo::exists(sr)) {
        sim::WaveformFileContent wave;
        wave.points = 1048576;
        std::string error;
        QVERIFY(sim::WriteWaveformFile(wfm.toStdString(), wave, &error));
        QCOMPARE(run({"convert", wfm, sr}).status, 0);
    }
    QProcess sigrok;
    sigrok.start("sigrok-cli", {"-i", sr, "-P", stack, "--protocol-decoder-samplenum"});
    QVERIFY(sigrok.waitForFinished(60000));
    QStringList theirs; // "start-end decoder: text"
    for (const QByteArray& line : sigrok.readAllStandardOutput().split('\n'))
        if (!line.isEmpty()) theirs << QString::fromUtf8(line).replace("-1: ", ": ");
    const Result ours = run({"decode", wfm, "-P", stack, "--json"});
    QCOMPARE(ours.status, 0);
    QStringList mine;
    for (const QByteArray& line : ours.out.split('\n')) {
        if (line.isEmpty()) continue;
        const QJsonObject o = QJsonDocument::fromJson(line).object();
        mine << QString("%1-%2 %3: %4")
                    .arg(o["start"].toInteger())
                    .arg(o["end"].toInteger())
                    .arg(o["decoder"].toString(), o["texts"][0].toString());
    }
    theirs.sort();
    mine.sort();
    QVERIFY(theirs.size() > 50);
    qint64 furthest = 0;
    for (const QString& a : theirs)
        furthest = std::max(furthest, a.section(' ', 0, 0).section('-', 1, 1).toLongLong());
    QCOMPARE(furthest > 262144, pastTheFirstBlock);
    QCOMPARE(mine, theirs);
}

// CH1 and CH2 as decoder lanes, cut at --threshold: the timing decoder's
// edge-to-edge times read the channel named (CH1's 1 kHz sine: 500 us at 0 V;
// 333 us high at 0.5 V, a third of its period; CH2's 2 kHz square, 0.5 V
// peak: 250 us at 0 V, no edge above its top).
void TestCli::decodeCutsTheAnalogueChannels_data() {
    QTest::addColumn<QString>("lane");
    QTest::addColumn<QString>("threshold");
    QTest::addColumn<QList<double>>("microseconds"); // the first two intervals; none: no edges
    QTest::newRow("CH1 at 0 V") << "CH1"
                                << "0" << QList<double>{500, 500};
    QTest::newRow("CH1 at 0.5 V") << "CH1"
                                  << "0.5" << QList<double>{1000.0 / 3, 2000.0 / 3};
    QTest::newRow("CH2 at 0 V") << "CH2"
                                << "0" << QList<double>{250, 250};
    QTest::newRow("CH2 above its top") << "CH2"
                                       << "0.6" << QList<double>{};
}

void TestCli::decodeCutsTheAnalogueChannels() {
    QFETCH(QString, lane);
    QFETCH(QString, threshold);
    QFETCH(QList<double>, microseconds);
    const QString wfm = runtime_->filePath("analog.wfm");
    sim::WaveformFileContent wave; // 40,000 points over 6 ms
    wave.points = 40000;
    wave.ch2Generator.shape = sim::Generator::Shape::Square;
    wave.ch2Generator.frequency = 2000;
    wave.ch2Generator.amplitude = 0.5;
    std::string error;
    QVERIFY(sim::WriteWaveformFile(wfm.toStdString(), wave, &error));
    const double rate = 40000 / (12 * 5e-4);
    const Result r = run({"decode", wfm, "-P", "timing:data=" + lane, "--threshold", threshold,
                          "--hysteresis", "0.05", "--json"});
    QCOMPARE(r.status, 0);
    QList<double> intervals;
    for (const QByteArray& line : r.out.split('\n')) {
        const QJsonObject o = QJsonDocument::fromJson(line).object();
        if (o["row"] == "time")
            intervals << (o["end"].toInteger() - o["start"].toInteger()) / rate * 1e6;
    }
    QCOMPARE(intervals.isEmpty(), microseconds.isEmpty());
    if (microseconds.isEmpty()) return;
    QVERIFY(intervals.size() >= 4);
    // Which of high and low comes first depends on where the capture starts.
    const bool swapped = std::abs(intervals[0] - microseconds[0]) > 5;
    for (int k = 0; k < 2; ++k)
        QVERIFY2(std::abs(intervals[k] - microseconds[swapped ? 1 - k : k]) < 5,
                 qPrintable(QString("interval %1: %2 us").arg(k).arg(intervals[k])));
}

QTEST_MAIN(TestCli)
#include "tst_cli.moc"
