// SPDX-License-Identifier: GPL-3.0-or-later
// The control file: its bytes, a round trip of every field, the refusals,
// short and damaged files, and the New / Open / Save flows.
#include "TestPlatform.h"

#include "controller/CtrlData.h"
#include "controller/CtrlFile.h"
#include "controller/CtrlState.h"
#include "platform/Settings.h"
#include "shared/AppIdentity.h"
#include "shared/FileFunc.h"
#include "shared/LoadLanguage.h"
#include "shared/StringRES.h"

#include <QDir>
#include <QFile>
#include <QStringEncoder>
#include <QtTest>
#include <csignal>
#include <sys/resource.h>
#include <unistd.h>

namespace {
QByteArray bytesOf(const QString& path) {
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}
void writeBytes(const QString& path, const QByteArray& bytes) {
    QFile f(path);
    QVERIFY(f.open(QIODevice::WriteOnly));
    f.write(bytes);
}
// A record whose every field differs from the defaults.
CtrlDataRecord distinctRecord() {
    CtrlDataRecord r = CtrlDataDefaults();
    int n = 0;
    for (QString* f : ControlFileFields(r))
        *f = QString("v%1").arg(++n);
    r.LaSizeHigh = "SMALL";
    r.LaSizeLow = "SMALL";
    return r;
}
} // namespace

class TestCtrlFile : public QObject {
    Q_OBJECT
private slots:
    void init() {
        ApplyLanguage(kLanguageEnglish);
        CtrlData = CtrlDataDefaults();
        CtrlDirty = false;
        ControlFilePath.clear();
    }
    void cleanupTestCase() { ApplyLanguage(kLanguageEnglish); }
    void theFileHas194QuotedCrlfLines();
    void everyFieldRoundTripsButTheSizes();
    void aCommaLocaleFileKeepsThePoint();
    void wrongFirstLineIsRefused_data();
    void wrongFirstLineIsRefused();
    void shortFileReadsAsFarAsItCan();
    void quotesInsideAFieldCannotBreakTheReader();
    void failedSaveKeepsTheOldFile();
    void refusedFileDoesNotBecomeCurrent();
    void gbkFileFromChineseWindowsIsRead();
    void chineseFileOpensInEnglishWithItsWords();
    void newAsksAboutUnsavedChanges();
    void openCancelledAtThePromptChangesNothing();
    void saveWithoutPathAsksAndAddsTheExtension();
};

void TestCtrlFile::theFileHas194QuotedCrlfLines() {
    TestPlatform tp;
    const QString path = tp.tempPath("a.rmt");
    QVERIFY(WriteControlFile(path));
    const QByteArray bytes = bytesOf(path);
    QVERIFY(bytes.endsWith("\r\n"));
    const QList<QByteArray> lines = bytes.split('\n');
    QCOMPARE(lines.size(), 195); // 194 lines and the empty rest after the last line end
    QCOMPARE(lines[0], QByteArray("\"Vexor Technologies,Inc. NQ4000L Controller\"\r"));
    QCOMPARE(lines[1], QByteArray("\"RUN\"\r"));
    QCOMPARE(lines[2], QByteArray("\"ON\"\r"));       // Ch1Display
    QCOMPARE(lines[3], QByteArray("\"1.00V\"\r"));    // Ch1VoltDiv
    QCOMPARE(lines[49], QByteArray("\"TTL\"\r"));     // line 50: LaThreshold
    QCOMPARE(lines[52], QByteArray("\"\"\r"));        // line 53: MathDisplay, empty after New
    QCOMPARE(lines[54], QByteArray("\"10.00us\"\r")); // line 55: TimeDiv
    QCOMPARE(lines[148], QByteArray("\"D0\"\r"));     // line 149: PatternSource
    QCOMPARE(lines[193], QByteArray("\"FULL\"\r"));   // line 194: DisplayGrid
    for (int i = 0; i < 194; ++i)
        QVERIFY2(lines[i].startsWith('"') && lines[i].endsWith("\"\r"), lines[i]);
    QCOMPARE(ControlFileFields(CtrlData).size(), qsizetype(193));
}

// The tree under a comma locale shows "1,20V"; the file holds "1.20V", so a
// file moves between machines of either locale and means the same.
void TestCtrlFile::aCommaLocaleFileKeepsThePoint() {
    TestPlatform tp;
    const QLocale before;
    QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
    CtrlData.Ch1VoltDiv = "1,00V";
    CtrlData.Ch2Offset = "-1,20V";
    CtrlData.TrigMethod = "EDGE";
    const QString path = tp.tempPath("comma.rmt");
    QVERIFY(WriteControlFile(path));
    const QList<QByteArray> lines = bytesOf(path).split('\n');
    QCOMPARE(lines[3], QByteArray("\"1.00V\"\r"));
    QVERIFY(bytesOf(path).contains("\"-1.20V\""));
    CtrlData = CtrlDataDefaults();
    QVERIFY(ReadControlFile(path));
    QCOMPARE(CtrlData.Ch1VoltDiv, QString("1,00V"));
    QCOMPARE(CtrlData.Ch2Offset, QString("-1,20V"));
    QCOMPARE(CtrlData.TrigMethod, QString("EDGE"));
    QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
    QVERIFY(ReadControlFile(path));
    QCOMPARE(CtrlData.Ch1VoltDiv, QString("1.00V"));
    QLocale::setDefault(before);
}

void TestCtrlFile::everyFieldRoundTripsButTheSizes() {
    TestPlatform tp;
    const QString path = tp.tempPath("b.rmt");
    CtrlData = distinctRecord();
    const CtrlDataRecord written = CtrlData;
    QVERIFY(WriteControlFile(path));
    CtrlData = CtrlDataDefaults(); // sizes BIG
    QVERIFY(ReadControlFile(path));
    CtrlDataRecord expected = written;
    expected.LaSizeHigh = expected.LaSizeLow = "BIG"; // not in the file: left as they were
    QVERIFY(CtrlData == expected);
    QVERIFY(tp.boxes.isEmpty());
}

void TestCtrlFile::wrongFirstLineIsRefused_data() {
    QTest::addColumn<QByteArray>("firstLine");
    QTest::newRow("other case") << QByteArray("\"vexor technologies,inc. NQ4000L Controller\"\r\n");
    QTest::newRow("other product")
        << QByteArray("\"Vexor Technologies,Inc. NQ3000 Controller\"\r\n");
    QTest::newRow("empty file") << QByteArray();
}

void TestCtrlFile::wrongFirstLineIsRefused() {
    QFETCH(QByteArray, firstLine);
    TestPlatform tp;
    const QString path = tp.tempPath("c.rmt");
    writeBytes(path, firstLine + "\"STOP\"\r\n");
    const CtrlDataRecord before = CtrlData;
    QVERIFY(!ReadControlFile(path));
    QVERIFY(CtrlData == before);
    QCOMPARE(tp.prompts(), QStringList{"File Format is Invaild !"});
    QCOMPARE(tp.boxes[0].icon, platform::MsgIcon::Critical);
}

void TestCtrlFile::shortFileReadsAsFarAsItCan() {
    TestPlatform tp;
    const QString path = tp.tempPath("d.rmt");
    writeBytes(path, "\"Vexor Technologies,Inc. NQ4000L Controller\"\r\n\"STOP\"\r\n\"OFF\"\r\n");
    QVERIFY(!ReadControlFile(path));
    QCOMPARE(CtrlData.RunStop, QString("STOP"));
    QCOMPARE(CtrlData.Ch1Display, QString("OFF"));
    QCOMPARE(CtrlData.Ch1VoltDiv, QString("1.00V")); // the rest stays
    QCOMPARE(tp.prompts(), QStringList{"Input past end of file"});
    // A missing file says the system's words.
    tp.boxes.clear();
    QVERIFY(!ReadControlFile(tp.tempPath("missing.rmt")));
    QCOMPARE(tp.boxes.size(), 1);
    QCOMPARE(tp.boxes[0].icon, platform::MsgIcon::Critical);
}

void TestCtrlFile::quotesInsideAFieldCannotBreakTheReader() {
    TestPlatform tp;
    const QString path = tp.tempPath("e.rmt");
    CtrlData.Averages = "say \"16\", twice";
    CtrlData.Intensity = "line\r\nbreak";
    QVERIFY(WriteControlFile(path));
    CtrlData = CtrlDataDefaults();
    QVERIFY(ReadControlFile(path));
    QCOMPARE(CtrlData.Averages, QString("say \"16\", twice"));
    QCOMPARE(CtrlData.Intensity, QString("line  break"));
    QCOMPARE(CtrlData.DisplayGrid, QString("FULL")); // nothing shifted
}

void TestCtrlFile::failedSaveKeepsTheOldFile() {
    TestPlatform tp;
    const QString path = tp.tempPath("f.rmt");
    ControlFilePath = path;
    QVERIFY(WriteControlFile(path));
    const QByteArray old = bytesOf(path);
    // A disk that is full after 1 KiB: the save fails at a write, says so,
    // keeps the old file and leaves the controller unsaved.
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    rlimit full = before;
    full.rlim_cur = 1024;
    setrlimit(RLIMIT_FSIZE, &full);
    CtrlData.RunStop = "STOP";
    CtrlDirty = true;
    const bool saved = SaveControlFile();
    setrlimit(RLIMIT_FSIZE, &before);
    QVERIFY(!saved);
    QVERIFY(CtrlDirty);
    QCOMPARE(tp.boxes.size(), 1);
    QCOMPARE(tp.boxes[0].icon, platform::MsgIcon::Critical);
    QCOMPARE(bytesOf(path), old);
    QCOMPARE(QDir(tp.tempPath("")).entryList(QDir::Files | QDir::Hidden).filter("f.rmt").size(), 1);
}

void TestCtrlFile::refusedFileDoesNotBecomeCurrent() {
    TestPlatform tp;
    const QString good = tp.tempPath("good.rmt");
    QVERIFY(WriteControlFile(good));
    OpenCtrl(good);
    QCOMPARE(ControlFilePath, good);
    const QString other = tp.tempPath("other.rmt");
    QFile f(other);
    QVERIFY(f.open(QIODevice::WriteOnly));
    f.write("\"Someone Else,Inc. X1 Controller\"\r\n");
    f.close();
    OpenCtrl(other);
    QCOMPARE(tp.prompts(), QStringList{MsgBadFile});
    QCOMPARE(ControlFilePath, good); // a later Save writes the good file, not the refused one
    QVERIFY(!platform::GetAllSettings(kAppTitle, "Recent Ctrl_NQ4000L")
                 .contains({"RecentFile1", other}));
    QCOMPARE(bytesOf(other), QByteArray("\"Someone Else,Inc. X1 Controller\"\r\n"));
}

void TestCtrlFile::gbkFileFromChineseWindowsIsRead() {
    TestPlatform tp;
    ApplyLanguage(kLanguageChinese);
    CtrlData = CtrlDataDefaults();
    const QString path = tp.tempPath("gbk.rmt");
    QVERIFY(WriteControlFile(path));
    // The same file as a Chinese Windows machine writes it.
    QStringEncoder gbk("GB18030");
    if (!gbk.isValid()) QSKIP("no GB18030 converter in this Qt");
    const QByteArray encoded = gbk(QString::fromUtf8(bytesOf(path)));
    QFile f(path);
    QVERIFY(f.open(QIODevice::WriteOnly));
    f.write(encoded);
    f.close();
    QVERIFY(encoded != bytesOf(tp.tempPath("none")));
    CtrlData = CtrlDataDefaults();
    CtrlData.TrigMethod.clear();
    QVERIFY(ReadControlFile(path));
    QCOMPARE(CtrlData.TrigMethod, QString::fromUtf8("边沿触发"));
    ApplyLanguage(kLanguageEnglish);
}

void TestCtrlFile::chineseFileOpensInEnglishWithItsWords() {
    TestPlatform tp;
    ApplyLanguage(kLanguageChinese);
    CtrlData = CtrlDataDefaults();
    const QString path = tp.tempPath("g.rmt");
    QVERIFY(WriteControlFile(path));
    ApplyLanguage(kLanguageEnglish);
    CtrlData = CtrlDataDefaults();
    QVERIFY(ReadControlFile(path)); // the identification line does not change with language
    QCOMPARE(CtrlData.TrigMethod, QString::fromUtf8("边沿触发"));
    QCOMPARE(CtrlData.Ch1Coupling, QString::fromUtf8("交流"));
}

void TestCtrlFile::newAsksAboutUnsavedChanges() {
    TestPlatform tp;
    CtrlData.RunStop = "STOP";
    CtrlDirty = true;
    ControlFilePath = tp.tempPath("h.rmt");
    tp.answers = {platform::MsgResult::No};
    mnuNewCtrl_Click();
    QCOMPARE(tp.prompts(),
             QStringList{tp.tempPath("h.rmt") + "Save the changes to the Control File? "});
    QCOMPARE(CtrlData.RunStop, QString("RUN"));
    QVERIFY(ControlFilePath.isEmpty());
    QVERIFY(!CtrlDirty);
    // Yes saves first.
    CtrlDirty = true;
    ControlFilePath = tp.tempPath("i.rmt");
    tp.answers = {platform::MsgResult::Yes};
    mnuNewCtrl_Click();
    QVERIFY(QFile::exists(tp.tempPath("i.rmt")));
}

void TestCtrlFile::openCancelledAtThePromptChangesNothing() {
    TestPlatform tp;
    CtrlData.RunStop = "STOP";
    CtrlDirty = true;
    tp.answers = {platform::MsgResult::Cancel};
    mnuOpenCtrl_Click();
    QVERIFY(tp.fileDialogs.isEmpty());
    QCOMPARE(CtrlData.RunStop, QString("STOP"));
    QVERIFY(CtrlDirty);
    QCOMPARE(tp.prompts(), QStringList{"Save the changes to the Control File? "});
}

void TestCtrlFile::saveWithoutPathAsksAndAddsTheExtension() {
    TestPlatform tp;
    CtrlDirty = true;
    tp.chosenPaths = {tp.tempPath("chosen")};
    mnuSaveCtrl_Click();
    QCOMPARE(tp.fileDialogs.size(), 1);
    QCOMPARE(tp.fileDialogs[0].title, QString("Save"));
    QCOMPARE(tp.fileDialogs[0].filter, QString("Control Files (*.rmt)|*.rmt"));
    QCOMPARE(ControlFilePath, tp.tempPath("chosen.rmt"));
    QVERIFY(QFile::exists(ControlFilePath));
    QVERIFY(!CtrlDirty);
    QCOMPARE(RecentEntries(kRecentCtrlSection), QStringList{tp.tempPath("chosen.rmt")});
    // Open reads it back and keeps it as the current file.
    CtrlData.RunStop = "STOP";
    tp.chosenPaths = {tp.tempPath("chosen.rmt")};
    mnuOpenCtrl_Click();
    QCOMPARE(tp.fileDialogs.last().title, QString("Open"));
    QCOMPARE(CtrlData.RunStop, QString("RUN"));
    // Save As offers the wider filter.
    tp.chosenPaths = {tp.tempPath("other.txt")};
    mnuSaveAsCtrl_Click();
    QCOMPARE(tp.fileDialogs.last().filter,
             QString("Control Files (*.rmt)|*.rmt|Text Files (*.txt)|*.txt|All Files (*.*)|*.*"));
    QCOMPARE(ControlFilePath, tp.tempPath("other.txt"));
}

QTEST_GUILESS_MAIN(TestCtrlFile)
#include "tst_ctrlfile.moc"
