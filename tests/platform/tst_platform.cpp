// SPDX-License-Identifier: GPL-3.0-or-later
// The seams every later part relies on: the settings store, the file-dialog
// filter form, the fault guard, and the pacing scale.
#include "TestPlatform.h"

#include "platform/EndSignals.h"
#include "platform/Faults.h"
#include "platform/LargeArray.h"
#include "platform/Pacing.h"
#include "platform/SafeFile.h"
#include "platform/Settings.h"

#include <QDir>
#include <QTemporaryDir>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

#include <QFile>

#include <QtTest>
#include <csignal>

using namespace platform;

class TestPlatformSeams : public QObject {
    Q_OBJECT
private slots:
    void endSignalsReachTheEventLoop();
    void settingsRoundTripThroughTheRealFile();
    void settingsSectionsAndKeysWithBlanks();
    void typedReadsFallBackToDefaults_data();
    void typedReadsFallBackToDefaults();
    void unwritableStoreIsReportedOnce();
    void pipeFilterBecomesQtFilter_data();
    void pipeFilterBecomesQtFilter();
    void fixedArrayRefusesOutOfBoundsIndexes();
    void handlerGuardEndsOnlyTheHandler();
    void sleepKeepsOrderButNotTimeAtScaleZero();
    void safeWriterTargets_data();
    void safeWriterTargets();
    void safeWriterRemovesOnlyStaleTemporaries();
    void largeArraysGrowAndShrinkAcrossTheMappingSize();
};

// A deep capture's arrays: from 2 MB up in their own huge-page-aligned
// mapping (outside the sanitizer), below it on the heap; growing across the
// line keeps every value, and each free returns what was taken (a wrong
// length would unmap a neighbour and crash the next touch).
void TestPlatformSeams::largeArraysGrowAndShrinkAcrossTheMappingSize() {
    platform::LargeVector<float> small(1000, 1.5f);
    platform::LargeVector<float> neighbour(700000, 2.0f);
    platform::LargeVector<std::uint16_t> v;
    for (std::size_t n : {std::size_t(10), std::size_t(1) << 20, std::size_t(3) << 20,
                          std::size_t(1) << 22}) {
        const std::size_t was = v.size();
        v.resize(n);
        for (std::size_t i = was; i < n; ++i)
            v[i] = static_cast<std::uint16_t>(i * 7);
        for (std::size_t i = 0; i < n; i += 4093)
            QCOMPARE(v[i], static_cast<std::uint16_t>(i * 7));
        QCOMPARE(v[n - 1], static_cast<std::uint16_t>((n - 1) * 7));
    }
#if !defined(__SANITIZE_ADDRESS__)
    QCOMPARE(reinterpret_cast<std::uintptr_t>(v.data()) % (2u << 20), std::uintptr_t(0));
#endif
    v = platform::LargeVector<std::uint16_t>(5, 9); // the large mapping given back
    v.shrink_to_fit();
    QCOMPARE(v.size(), std::size_t(5));
    QCOMPARE(neighbour[699999], 2.0f);
    QCOMPARE(small[999], 1.5f);
}

void TestPlatformSeams::settingsRoundTripThroughTheRealFile() {
    TestPlatform tp;
    SaveSetting("Korvane", "General_NQ4000L", "StartupLoadCtrl", BoolSettingText(true));
    SaveSetting("Korvane", "IO Settings_NQ4000L", "BaudRate", "19200");
    // A second store over the same folder reads what the first wrote to disk.
    SetSettingsDirectory(tp.settingsDir() + "/config");
    QCOMPARE(GetSetting("Korvane", "General_NQ4000L", "StartupLoadCtrl"), QString("True"));
    QVERIFY(GetSettingBool("Korvane", "General_NQ4000L", "StartupLoadCtrl", false));
    QCOMPARE(GetSetting("Korvane", "IO Settings_NQ4000L", "BaudRate"), QString("19200"));
    QCOMPARE(GetSetting("Korvane", "IO Settings_NQ4000L", "Missing", "dflt"), QString("dflt"));
    QVERIFY(QFile::exists(SettingsFilePath("Korvane")));
}

void TestPlatformSeams::settingsSectionsAndKeysWithBlanks() {
    TestPlatform tp;
    SaveSetting("Korvane", "Recent Ctrl_NQ4000L", "RecentFile2", "/b.rmt");
    SaveSetting("Korvane", "Recent Ctrl_NQ4000L", "RecentFile1", "/a.rmt");
    SaveSetting("Korvane", "Refresh_NQ4000L", "Refresh Interval", "2000");
    const auto rows = GetAllSettings("Korvane", "Recent Ctrl_NQ4000L");
    QCOMPARE(rows.size(), 2);
    QCOMPARE(rows[0].first, QString("RecentFile1"));
    QCOMPARE(rows[0].second, QString("/a.rmt"));
    QCOMPARE(rows[1].second, QString("/b.rmt"));
    QCOMPARE(GetSettingInt("Korvane", "Refresh_NQ4000L", "Refresh Interval", 0), 2000);
}

void TestPlatformSeams::typedReadsFallBackToDefaults_data() {
    QTest::addColumn<QString>("stored");
    QTest::addColumn<int>("asInt");
    QTest::addColumn<bool>("asBool");
    QTest::newRow("number") << "12" << 12 << true;
    QTest::newRow("zero") << "0" << 0 << false;
    QTest::newRow("false word") << "False" << 7 << false;
    QTest::newRow("true word lower") << "true" << 7 << true;
    QTest::newRow("garbage") << "twelve" << 7 << true;
    QTest::newRow("empty") << "" << 7 << true;
    QTest::newRow("huge") << "1e20" << 7 << true;
}

void TestPlatformSeams::typedReadsFallBackToDefaults() {
    QFETCH(QString, stored);
    QFETCH(int, asInt);
    QFETCH(bool, asBool);
    TestPlatform tp;
    SaveSetting("Korvane", "S", "K", stored);
    QCOMPARE(GetSettingInt("Korvane", "S", "K", 7), asInt);
    QCOMPARE(GetSettingBool("Korvane", "S", "K", true), asBool);
}

namespace {
int g_reports = 0;
void countReport(const QString&) {
    ++g_reports;
}
} // namespace

void TestPlatformSeams::unwritableStoreIsReportedOnce() {
    TestPlatform tp;
    // A plain file where the folder should be: nothing can be written below it.
    const QString blocker = tp.tempPath("blocker");
    QFile f(blocker);
    QVERIFY(f.open(QIODevice::WriteOnly));
    f.close();
    SetSettingsDirectory(blocker + "/config");
    g_reports = 0;
    SetSettingsWriteFailureHandler(countReport);
    SaveSetting("Korvane", "S", "A", "1");
    SaveSetting("Korvane", "S", "B", "2");
    SetSettingsWriteFailureHandler(nullptr);
    QCOMPARE(g_reports, 1);
    // Reads still answer (with what the store holds in memory or the default).
    QCOMPARE(GetSetting("Korvane", "S", "Missing", "d"), QString("d"));
}

void TestPlatformSeams::pipeFilterBecomesQtFilter_data() {
    QTest::addColumn<QString>("pipe");
    QTest::addColumn<QString>("qt");
    QTest::newRow("one") << "Control File (*.rmt)|*.rmt"
                         << "Control File (*.rmt)";
    QTest::newRow("two") << "Data Sheet (*.ult)|*.ult|All Files (*.*)|*.*"
                         << "Data Sheet (*.ult);;All Files (*.*)";
    QTest::newRow("no parentheses") << "Text|*.txt;*.xls"
                                    << "Text (*.txt *.xls)";
}

void TestPlatformSeams::pipeFilterBecomesQtFilter() {
    QFETCH(QString, pipe);
    QFETCH(QString, qt);
    QCOMPARE(QtFilterFromPipeFilter(pipe), qt);
}

void TestPlatformSeams::fixedArrayRefusesOutOfBoundsIndexes() {
    FixedArray<int, 1, 16> cells;
    cells[1] = 5;
    cells[16] = 7;
    QCOMPARE(cells[1] + cells[16], 12);
    QVERIFY_THROWS_EXCEPTION(BoundsFault, cells[0]);
    QVERIFY_THROWS_EXCEPTION(BoundsFault, cells[17]);
    QCOMPARE((FixedArray<int, 0, 8192>::size()), 8193);
}

void TestPlatformSeams::handlerGuardEndsOnlyTheHandler() {
    const int before = FaultCount();
    FixedArray<int, 0, 3> a;
    int reached = 0;
    const bool ok = RunHandler("test_Click", [&] {
        reached = 1;
        a[4] = 1; // out of bounds: ends the handler here
        reached = 2;
    });
    QVERIFY(!ok);
    QCOMPARE(reached, 1);
    QCOMPARE(FaultCount(), before + 1);
    // A procedure that skips failing statements goes on after one.
    int after = 0;
    TryStatement([&] { a[-1] = 0; });
    TryStatement([&] { after = 1; });
    QCOMPARE(after, 1);
}

namespace {
QList<int> g_sleeps;
void recordSleep(int ms) {
    g_sleeps << ms;
}
} // namespace

void TestPlatformSeams::sleepKeepsOrderButNotTimeAtScaleZero() {
    SetPacingScale(0);
    g_sleeps.clear();
    SetSleepObserver(recordSleep);
    QElapsedTimer t;
    t.start();
    Sleep(4000);
    Sleep(100);
    SetSleepObserver(nullptr);
    QVERIFY(t.elapsed() < 1000);
    QCOMPARE(g_sleeps, (QList<int>{4000, 100}));
    QCOMPARE(ScaledMs(100), 0);
    SetPacingScale(0.5);
    QCOMPARE(ScaledMs(100), 50);
    SetPacingScale(1);
    QCOMPARE(ScaledMs(100), 100);
}

void TestPlatformSeams::endSignalsReachTheEventLoop() {
    QList<int> received;
    platform::InstallEndSignals([&received](int signal) { received << signal; });
    for (int s : {SIGTERM, SIGINT, SIGHUP})
        ::raise(s); // the process goes on: the handler only notes it
    QTRY_COMPARE(received, (QList<int>{SIGTERM, SIGINT, SIGHUP}));
    platform::RemoveEndSignals();
}

// What each kind of path becomes after a save: a regular file is replaced
// with its mode kept, a symbolic link still links to the new content, a FIFO
// is written through, /dev/full fails with its error.
void TestPlatformSeams::safeWriterTargets_data() {
    QTest::addColumn<QString>("kind");
    QTest::newRow("new file") << "new";
    QTest::newRow("regular file, mode 0640") << "regular";
    QTest::newRow("symbolic link") << "link";
    QTest::newRow("FIFO") << "fifo";
    QTest::newRow("full device") << "full";
}

void TestPlatformSeams::safeWriterTargets() {
    QFETCH(QString, kind);
    QTemporaryDir dir;
    const QString path = dir.filePath("out.txt");
    const QString target = dir.filePath("target.txt");
    const QByteArray data = "new content\n";
    auto read = [](const QString& p) {
        QFile f(p);
        return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray("<unreadable>");
    };
    if (kind == "new") {
        QCOMPARE(WriteFileAtomically(path, data), QString());
        QCOMPARE(read(path), data);
    } else if (kind == "regular") {
        QFile f(path);
        QVERIFY(f.open(QIODevice::WriteOnly));
        f.write("old");
        f.close();
        QVERIFY(::chmod(QFile::encodeName(path).constData(), 0640) == 0);
        QCOMPARE(WriteFileAtomically(path, data), QString());
        QCOMPARE(read(path), data);
        struct stat st {};
        QVERIFY(::stat(QFile::encodeName(path).constData(), &st) == 0);
        QCOMPARE(int(st.st_mode & 0777), 0640);
    } else if (kind == "link") {
        QFile f(target);
        QVERIFY(f.open(QIODevice::WriteOnly));
        f.close();
        QVERIFY(QFile::link(target, path));
        QCOMPARE(WriteFileAtomically(path, data), QString());
        QVERIFY(QFileInfo(path).isSymLink());
        QCOMPARE(read(target), data);
    } else if (kind == "fifo") {
        QVERIFY(::mkfifo(QFile::encodeName(path).constData(), 0600) == 0);
        QByteArray got;
        std::thread reader([&] { got = read(path); });
        QCOMPARE(WriteFileAtomically(path, data), QString());
        reader.join();
        QCOMPARE(got, data);
        struct stat st {};
        QVERIFY(::stat(QFile::encodeName(path).constData(), &st) == 0 && S_ISFIFO(st.st_mode));
    } else if (kind == "full") {
        if (!QFileInfo::exists("/dev/full")) QSKIP("no /dev/full here");
        QCOMPARE(WriteFileAtomically("/dev/full", data), QString::fromLocal8Bit(strerror(ENOSPC)));
    }
    // Nothing is left beside the target.
    QCOMPARE(
        QDir(dir.path()).entryList(QDir::Files | QDir::Hidden | QDir::System).filter("korvane"),
        QStringList());
}

// A killed save leaves its temporary; the next save of that target removes
// it, but never a temporary that a running save still holds.
void TestPlatformSeams::safeWriterRemovesOnlyStaleTemporaries() {
    QTemporaryDir dir;
    const QString path = dir.filePath("big.csv");
    const QString prefix = TemporaryPrefix(path);
    QVERIFY(prefix.endsWith("/.big.csv.korvane-"));
    QFile stale(prefix + "AAAAAA");
    QVERIFY(stale.open(QIODevice::WriteOnly));
    stale.write("left by a killed export");
    stale.close();
    const QByteArray held = QFile::encodeName(prefix + "BBBBBB");
    const int fd = ::open(held.constData(), O_RDWR | O_CREAT, 0600);
    QVERIFY(fd >= 0 && ::flock(fd, LOCK_EX) == 0);
    const QString other = dir.filePath(".other.csv.korvane-CCCCCC"); // another target's
    QFile otherFile(other);
    QVERIFY(otherFile.open(QIODevice::WriteOnly));
    otherFile.close();

    QCOMPARE(WriteFileAtomically(path, "x"), QString());
    QVERIFY(!QFileInfo::exists(prefix + "AAAAAA"));
    QVERIFY(QFileInfo::exists(QFile::decodeName(held)));
    QVERIFY(QFileInfo::exists(other));
    ::close(fd);
}

QTEST_GUILESS_MAIN(TestPlatformSeams)
#include "tst_platform.moc"
