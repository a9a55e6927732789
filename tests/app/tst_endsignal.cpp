// SPDX-License-Identifier: GPL-3.0-or-later
// The real program, in its own process, ended by a real signal while a sheet
// has unsaved changes: no question, the instrument's keys unlocked, the
// settings written, the exit status of the signal. And --help and --version
// answer without a window.
#include "Files.h"
#include "Simulator.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>
#include <csignal>

class TestEndSignal : public QObject {
    Q_OBJECT
private slots:
    void signalEndsWithoutQuestions_data();
    void signalEndsWithoutQuestions();
    void helpAndVersionNeedNoWindow();
};

namespace {
bool logHas(const sim::Instrument& instrument, const std::string& command) {
    for (const sim::LogEntry& e : instrument.Log())
        if (e.command == command) return true;
    return false;
}
} // namespace

void TestEndSignal::signalEndsWithoutQuestions_data() {
    QTest::addColumn<int>("signal");
    QTest::newRow("SIGTERM") << int(SIGTERM);
    QTest::newRow("SIGINT") << int(SIGINT);
    QTest::newRow("SIGHUP") << int(SIGHUP);
}

void TestEndSignal::signalEndsWithoutQuestions() {
    QFETCH(int, signal);
    QTemporaryDir dir;
    QVERIFY(QFile::setPermissions(dir.path(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
    sim::SimulatorOptions o;
    o.usbDirectory = dir.filePath("nq4000l-sim").toStdString();
    sim::Simulator simulator(o);
    QVERIFY(simulator.Start());
    sim::WaveformFileContent wave;
    std::string error;
    const QString capture = dir.filePath("capture.wfm");
    QVERIFY(sim::WriteWaveformFile(capture.toStdString(), wave, &error));
    // Connect at start; the capture opens in a new sheet, which is then unsaved.
    QVERIFY(QDir(dir.path()).mkpath("config/Korvane"));
    QFile ini(dir.filePath("config/Korvane/Korvane.ini"));
    QVERIFY(ini.open(QIODevice::WriteOnly));
    ini.write("[General_NQ4000L]\nStartupCheckHardware=True\n");
    ini.close();

    QProcess app;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert("XDG_RUNTIME_DIR", dir.path());
    env.insert("XDG_CONFIG_HOME", dir.filePath("config"));
    env.insert("QT_QPA_PLATFORM", "offscreen");
    env.insert("KORVANE_PACING", "0");
    app.setProcessEnvironment(env);
    app.start(KORVANE_APP, {capture});
    QVERIFY(app.waitForStarted());
    QElapsedTimer t;
    t.start();
    while (!logHas(simulator.instrument(), ":KEY:LOCK ENABLE") && t.elapsed() < 20000)
        QTest::qWait(50);
    QVERIFY(logHas(simulator.instrument(), ":KEY:LOCK ENABLE"));
    QTest::qWait(1500); // the capture's window is up and the sheet changed
    QVERIFY(app.state() == QProcess::Running);

    ::kill(static_cast<pid_t>(app.processId()), signal);
    QVERIFY2(app.waitForFinished(10000), "the program waits on a question");
    QCOMPARE(app.exitStatus(), QProcess::NormalExit);
    QCOMPARE(app.exitCode(), 128 + signal);
    QVERIFY(logHas(simulator.instrument(), ":KEY:LOCK DISABLE"));
    QVERIFY(ini.open(QIODevice::ReadOnly));
    QVERIFY(ini.readAll().contains("MainWidth")); // the settings were saved at the end
}

void TestEndSignal::helpAndVersionNeedNoWindow() {
    for (const QString option : {"--help", "--version", "-V"}) {
        QProcess app;
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.remove("DISPLAY");
        env.remove("WAYLAND_DISPLAY");
        env.insert("QT_QPA_PLATFORM", "xcb"); // would fail if a window were made
        app.setProcessEnvironment(env);
        app.start(KORVANE_APP, {option});
        QVERIFY(app.waitForFinished(10000));
        QCOMPARE(app.exitCode(), 0);
        const QByteArray out = app.readAllStandardOutput();
        QVERIFY2(option == "--help" ? out.startsWith("Usage: korvane") : out.startsWith("korvane "),
                 out.constData());
    }
}

QTEST_GUILESS_MAIN(TestEndSignal)
#include "tst_endsignal.moc"
