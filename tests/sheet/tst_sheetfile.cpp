// SPDX-License-Identifier: GPL-3.0-or-later
// The data sheet file: exact lines, a round trip of every kind, the language
// quirk of the math block, refused and cut files, the save that keeps the
// old file, and reopening with windows.
#include "TestPlatform.h"

#include "app/FrameLogic.h"
#include "memwave/CsvExport.h"
#include "platform/Status.h"
#include "shared/AppIdentity.h"
#include "shared/LoadLanguage.h"
#include "shared/Picture.h"
#include "shared/StringRES.h"
#include "sheet/DataSheet.h"
#include "sheet/DocWindow.h"
#include "sheet/SheetFile.h"
#include "sheet/SheetRecords.h"

#include <QFile>
#include <QStringEncoder>
#include <QTreeWidgetItem>
#include <QtTest>
#include <csignal>
#include <sys/resource.h>

namespace {

std::int64_t CsvRows(const MemoryRecord& r) {
    return CsvRowCount(r);
}

// A sheet holding every kind of document, with data.
void fillEverything() {
    QVERIFY(NewDataSheet());
    SheetName = "Bench";
    for (DocKind k : {DocKind::Wave, DocKind::Wave, DocKind::Measure, DocKind::Data,
                      DocKind::Record, DocKind::MemoryWave})
        AddDocument(k);
    WaveRecord& w = WaveRecords[0];
    w.Loaded = w.ShowYT = w.ShowCh1 = w.ShowCh2 = w.ShowLA = w.ShowMath = true;
    w.TriggerMode = "EDGE";
    w.PointCount = 600;
    w.Ch1Scale = "1.00V";
    w.TimeScale = "1.00ms";
    w.Date = "23/11/2026";
    w.ActiveChannel = 2;
    w.MathDisplay = WordOn;
    w.FFTDisplay = WordOff;
    w.SysData.DrawEnd = 299;
    w.SysData.SysFloat20 = 0.25f;
    w.SysData.SysFloat56 = 1234.5f;
    w.SysData.LAEnableMask = -1;
    w.SysData.LAPosition[15] = 42;
    for (int i = 1; i <= 1024; ++i) {
        w.Ch1Samples[i] = i % 200;
        w.Ch2Samples[i] = (i * 7) % 200;
        w.MathSamples[i] = (i * 3) % 200;
    }
    for (int i = 1; i <= 2048; ++i)
        w.LASamples[i] = i % 256;
    WaveRecords[1].ShowCh1 = true; // a wave never fetched: no samples
    MeasureRecord& m = MeasureRecords[0];
    m.Loaded = true;
    m.SettingText = "CH1 1.00V  1.00ms 1.000MSa [Date:1] ";
    m.Items[0] = {"2.00V", true, 3.0, 1.0, ""};
    m.Items[7] = {"*****", true, 1100.5, 900.25, ""};
    DataRecord& d = DataRecords[0];
    d.Loaded = true;
    d.Source = "CH1";
    d.Title = "CH1 1.00V  1.00ms";
    d.RowCount = 3;
    d.VoltText = {"", "1.00E+00", "-5.00E-01", "2.00E-02"};
    d.TimeText = {"", "-6.00E-03", "-5.98E-03", "-5.96E-03", "-5.94E-03"};
    RecordRecord& r = RecordRecords[0];
    r.HasSamples = r.Loaded = true;
    r.FilePath = "/data/x.rcd";
    r.Source = "CH2";
    r.FirstFrame = 1;
    r.FrameCount = 2;
    r.CurrentFrame = 2;
    r.Loop = true;
    r.VoltDiv = "500mV";
    r.IntervalSeconds = 0.123;
    r.Samples.assign(2048, 0);
    for (std::size_t i = 0; i < r.Samples.size(); ++i)
        r.Samples[i] = static_cast<std::int16_t>(i % 200);
    MemoryRecord& mem = MemoryRecords[0];
    mem.Loaded = mem.Ch1Valid = mem.LAValid = true;
    mem.Ch1On = mem.LAOn = 1;
    mem.FilePath = "/data/deep.wfm";
    mem.TriggerMode = "EDGE";
    mem.PointsMain = 5;
    mem.SampleRateMain = 1e6f;
    mem.TimeDiv = 1e-3;
    mem.Delay = -2.5e-4;
    mem.VoltDiv1 = 0.5f;
    mem.LAEnableMask = 0xFF00;
    mem.LAPositionRow[3] = 186;
    mem.Ch1Data = {25, 100, 125, 224, 0, 0};
    mem.LAData = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10};
}

} // namespace

class TestSheetFile : public QObject {
    Q_OBJECT
private slots:
    void init();
    void cleanup();
    void emptySheetIsSevenLines();
    void everyFieldComesBack();
    void channelsInterleavedOrSingle();
    void englishFftBlockReadsAsMathInChinese();
    void otherModelIsRefused();
    void cutFileKeepsWhatWasRead();
    void fullDiskKeepsTheOldFile();
    void gbkTextIsRead();
    void reopenBringsWindowsBackClean();
    void handWrittenFieldsLandInTheirPlaces();
    void lyingCountsStopTheRead_data();
    void lyingCountsStopTheRead();
    void aDamagedOpenIsNotBoundToItsFile();
    void longRunsReadByAnIndependentParser_data();
    void longRunsReadByAnIndependentParser();

private:
    std::unique_ptr<TestPlatform> tp_;
};

void TestSheetFile::init() {
    tp_.reset();
    tp_ = std::make_unique<TestPlatform>();
    ApplyLanguage(kLanguageEnglish);
    MakerName = "Vexor Technologies,Inc.";
    ProductName = "NQ4000L";
    ResetDataSheet();
}

void TestSheetFile::cleanup() {
    ApplyLanguage(kLanguageEnglish);
    ResetDataSheet();
}

void TestSheetFile::emptySheetIsSevenLines() {
    QVERIFY(NewDataSheet());
    QCOMPARE(SheetBytes(), QByteArray("\"Vexor Technologies,Inc. NQ4000L Data Sheet\"\r\n"
                                      "\"Untitle\"\r\n0\r\n0\r\n0\r\n0\r\n0\r\n"));
}

void TestSheetFile::everyFieldComesBack() {
    fillEverything();
    const QByteArray saved = SheetBytes();
    const WaveRecord w = WaveRecords[0];
    const MeasureRecord m = MeasureRecords[0];
    const DataRecord d = DataRecords[0];
    const RecordRecord r = RecordRecords[0];
    const MemoryRecord mem = MemoryRecords[0];
    ResetDataSheet();
    QString error;
    QCOMPARE(ParseSheet(saved, &error), SheetRead::Ok);
    QCOMPARE(SheetName, QString("Bench"));
    QCOMPARE(DocCount(DocKind::Wave), 2);
    const WaveRecord& w2 = WaveRecords[0];
    QCOMPARE(w2.Name, w.Name);
    QCOMPARE(w2.Date, w.Date);
    QCOMPARE(w2.ActiveChannel, 2);
    QVERIFY(w2.SysData == w.SysData);
    QVERIFY(w2.Ch1Samples == w.Ch1Samples);
    QVERIFY(w2.Ch2Samples == w.Ch2Samples);
    QVERIFY(w2.LASamples == w.LASamples);
    QVERIFY(w2.MathSamples == w.MathSamples);
    QCOMPARE(w2.MathDisplay, WordOn);
    QVERIFY(!WaveRecords[1].Loaded);
    const MeasureRecord& m2 = MeasureRecords[0];
    QCOMPARE(m2.SettingText, m.SettingText);
    QCOMPARE(m2.Items[7].Text, QString("*****"));
    QCOMPARE(m2.Items[7].OverLimit, 1100.5);
    QCOMPARE(m2.Items[7].UnderLimit, 900.25);
    QVERIFY(m2.Items[7].LimitEnabled);
    const DataRecord& d2 = DataRecords[0];
    QCOMPARE(d2.RowCount, 3);
    QCOMPARE(d2.VoltText[3], QString("2.00E-02"));
    QCOMPARE(d2.TimeText[1], QString("-6.00E-03"));
    const RecordRecord& r2 = RecordRecords[0];
    QCOMPARE(r2.FilePath, r.FilePath);
    QCOMPARE(r2.Source, QString("CH2"));
    QCOMPARE(r2.CurrentFrame, std::int16_t(2));
    QVERIFY(r2.Loop);
    QCOMPARE(r2.IntervalSeconds, 0.123);
    QVERIFY(r2.Samples == r.Samples);
    const MemoryRecord& mem2 = MemoryRecords[0];
    QCOMPARE(mem2.FilePath, mem.FilePath);
    QCOMPARE(mem2.PointsMain, 5);
    QCOMPARE(mem2.SampleRateMain, 1e6f);
    QCOMPARE(mem2.Delay, -2.5e-4);
    QCOMPARE(mem2.LAEnableMask, std::uint16_t(0xFF00));
    QCOMPARE(mem2.LAPositionRow[3], std::int16_t(186));
    QVERIFY(mem2.Ch1Data == mem.Ch1Data);
    QVERIFY(mem2.LAData == mem.LAData);
    QVERIFY(mem2.LAValid && !mem2.Ch2Valid);
    // And the same bytes again.
    QCOMPARE(SheetBytes(), saved);
}

void TestSheetFile::channelsInterleavedOrSingle() {
    QVERIFY(NewDataSheet());
    AddDocument(DocKind::Wave);
    WaveRecord& w = WaveRecords[0];
    w.Loaded = w.ShowCh1 = w.ShowCh2 = true;
    w.Ch1Samples[1] = 11;
    w.Ch2Samples[1] = 22;
    w.Ch1Samples[2] = 33;
    const QList<QByteArray> both = SheetBytes().split('\n');
    // 7 head lines and 87 fields; then CH1[1], CH2[1], CH1[2].
    QCOMPARE(both[7 + 87], QByteArray("11\r"));
    QCOMPARE(both[7 + 88], QByteArray("22\r"));
    QCOMPARE(both[7 + 89], QByteArray("33\r"));
    QCOMPARE(both.size(), 7 + 87 + 2048 + 1);
    w.ShowCh2 = false;
    const QList<QByteArray> one = SheetBytes().split('\n');
    QCOMPARE(one[7 + 88], QByteArray("33\r"));
    QCOMPARE(one.size(), 7 + 87 + 1024 + 1);
}

void TestSheetFile::englishFftBlockReadsAsMathInChinese() {
    QVERIFY(NewDataSheet());
    AddDocument(DocKind::Wave);
    WaveRecord& w = WaveRecords[0];
    w.Loaded = w.ShowMath = true;
    w.FFTDisplay = WordOn; // "ON": the FFT block is written
    w.FFTSamples[5] = 77;
    const QByteArray saved = SheetBytes();
    ApplyLanguage(kLanguageChinese);
    QString error;
    QCOMPARE(ParseSheet(saved, &error), SheetRead::Ok);
    QCOMPARE(WaveRecords[0].MathSamples[5], 77); // "ON" is not the Chinese ON word
    QCOMPARE(WaveRecords[0].FFTSamples[5], 0);
}

void TestSheetFile::otherModelIsRefused() {
    const QString path = tp_->tempPath("other.ult");
    QFile f(path);
    QVERIFY(f.open(QIODevice::WriteOnly));
    f.write("\"Vexor Technologies,Inc. NQ3000 Data Sheet\"\r\n\"x\"\r\n1\r\n0\r\n0\r\n0\r\n0\r\n");
    f.close();
    OpenDataSheet(path);
    QCOMPARE(tp_->prompts(), QStringList{MsgBadSheetFile});
    QCOMPARE(tp_->boxes[0].icon, platform::MsgIcon::Critical);
    QVERIFY(!SheetExists());
    QCOMPARE(DocCount(DocKind::Wave), 0);
}

void TestSheetFile::cutFileKeepsWhatWasRead() {
    fillEverything();
    const QByteArray saved = SheetBytes();
    ResetDataSheet();
    // Cut inside the first wave's samples.
    QString error;
    QCOMPARE(ParseSheet(saved.left(saved.indexOf("\r\n", 4000)), &error), SheetRead::Stopped);
    QCOMPARE(error, QString("Input past end of file"));
    QCOMPARE(DocCount(DocKind::Wave), 1);
    QCOMPARE(DocCount(DocKind::Measure), 0);
    QCOMPARE(WaveRecords[0].TriggerMode, QString("EDGE"));
    // A wrong value where a number stands.
    QByteArray wrong = saved;
    wrong.replace("\r\n600\r\n", "\r\nsix\r\n");
    QCOMPARE(ParseSheet(wrong, &error), SheetRead::Stopped);
    QCOMPARE(error, QString("Type mismatch"));
}

void TestSheetFile::fullDiskKeepsTheOldFile() {
    const QString path = tp_->tempPath("kept.ult");
    fillEverything();
    QVERIFY(SaveSheet(path));
    QFile f(path);
    QVERIFY(f.open(QIODevice::ReadOnly));
    const QByteArray before = f.readAll();
    f.close();
    // A disk that fills after 4 KiB: the write fails, the old file stays.
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit old{};
    getrlimit(RLIMIT_FSIZE, &old);
    rlimit small = old;
    small.rlim_cur = 4096;
    setrlimit(RLIMIT_FSIZE, &small);
    SheetName = "changed";
    const bool saved = SaveSheet(path);
    setrlimit(RLIMIT_FSIZE, &old);
    QVERIFY(!saved);
    QCOMPARE(tp_->boxes.size(), 1);
    QCOMPARE(tp_->boxes[0].icon, platform::MsgIcon::Critical);
    QVERIFY(f.open(QIODevice::ReadOnly));
    QCOMPARE(f.readAll(), before);
    // And no temporary file is left beside it.
    QCOMPARE(QDir(tp_->tempPath("")).entryList(QDir::Files | QDir::Hidden).filter("kept").size(),
             1);
}

void TestSheetFile::gbkTextIsRead() {
    QStringEncoder gbk("GB18030");
    if (!gbk.isValid()) QSKIP("no GB18030 converter in this Qt");
    const QByteArray bytes = gbk(QString::fromUtf8("波形0"));
    QCOMPARE(DecodeSheetText(bytes), QString::fromUtf8("波形0"));
    QCOMPARE(DecodeSheetText(QString::fromUtf8("波形0").toUtf8()), QString::fromUtf8("波形0"));
}

void TestSheetFile::reopenBringsWindowsBackClean() {
    fillEverything();
    const QString path = tp_->tempPath("bench.ult");
    SheetPath.clear();
    tp_->chosenPaths = {path};
    QVERIFY(SaveDataSheet());
    QVERIFY(!SheetDirty);
    QCOMPARE(SheetPath, path);
    QCOMPARE(platform::LastStatus(), SavedToText(path));
    QCOMPARE(FrameTitle("Korvane"), QString("bench.ult[*] \u2014 Korvane"));
    ResetDataSheet();
    OpenDataSheet(path);
    QVERIFY(tp_->prompts().isEmpty());
    QCOMPARE(SheetName, QString("Bench"));
    QCOMPARE(DocCount(DocKind::Wave), 2);
    QCOMPARE(SheetRootNode()->childCount(), 6);
    for (DocKind k :
         {DocKind::Wave, DocKind::Measure, DocKind::Data, DocKind::Record, DocKind::MemoryWave})
        QVERIFY(DocForm(k, 0) != nullptr);
    QVERIFY(!SheetDirty);
    QCOMPARE(SheetPath, path);
}

// A file written by hand, line by line from the format's description, so a
// field moved in both the writer and the reader is caught.
void TestSheetFile::handWrittenFieldsLandInTheirPlaces() {
    QStringList lines = {"\"Vexor Technologies,Inc. NQ4000L Data Sheet\"", "\"Bench\"", "0", "1",
                         "1", "0", "0", // wave, measure, data, record, memory counts
                         // measure: name, loaded, setting line, 18 x (text, enabled, over, under)
                         "\"M0\"", "#TRUE#", "\"CH1 1.00V\""};
    for (int slot = 0; slot < 18; ++slot)
        lines << QString("\"%1.5V\"").arg(slot) << (slot == 3 ? "#TRUE#" : "#FALSE#")
              << QString::number(slot + 100) << QString::number(-slot);
    lines << "\"D0\""
          << "#TRUE#"
          << "\"CH2 title\""
          << "2" // data: name, loaded, title, rows
          << "\"1.00E+00\""
          << "\"-6.00E-03\""
          << "\"-5.00E-01\""
          << "\"-5.98E-03\"";
    QString error;
    QCOMPARE(ParseSheet((lines.join("\r\n") + "\r\n").toUtf8(), &error), SheetRead::Ok);
    QCOMPARE(SheetName, QString("Bench"));
    const MeasureRecord& m = MeasureRecords[0];
    QCOMPARE(m.Name, QString("M0"));
    QCOMPARE(m.SettingText, QString("CH1 1.00V"));
    for (int slot = 0; slot < 18; ++slot) {
        const MeasureItem& item = m.Items[static_cast<std::size_t>(slot)];
        QCOMPARE(PointForm(item.Text), QString("%1.5V").arg(slot));
        QCOMPARE(item.LimitEnabled, slot == 3);
        QCOMPARE(item.OverLimit, double(slot + 100));
        QCOMPARE(item.UnderLimit, double(-slot));
    }
    const DataRecord& d = DataRecords[0];
    QCOMPARE(d.Title, QString("CH2 title"));
    QCOMPARE(d.RowCount, 2);
    QCOMPARE(d.VoltText[2], QString("-5.00E-01"));
    QCOMPARE(d.TimeText[1], QString("-6.00E-03"));
    // Written back, the same lines.
    QCOMPARE(QString::fromUtf8(SheetBytes()), lines.join("\r\n") + "\r\n");
}

// Counts that promise more than the file holds stop the read at once; none
// becomes a row count or an allocation.
void TestSheetFile::lyingCountsStopTheRead_data() {
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<QString>("error");
    fillEverything();
    const QByteArray good = SheetBytes();
    const QByteArray memoryFrom = "\"" + MemoryRecords[0].Name.toUtf8() + "\"";
    const qsizetype memory = good.indexOf(memoryFrom);
    QVERIFY(memory > 0);
    // The memory wave's point count made larger than its arrays.
    MemoryRecords[0].PointsMain = 2147483647;
    const QByteArray points = SheetBytes();
    QTest::newRow("memory points beyond its arrays") << points << "Subscript out of range";
    // A data table whose rows the file does not hold.
    QByteArray rows = good.left(good.indexOf("\"" + DataRecords[0].Name.toUtf8() + "\""));
    rows += "\"D\"\r\n#TRUE#\r\n\"t\"\r\n16000\r\n\"1\"\r\n";
    QTest::newRow("table rows beyond the file") << rows << "Input past end of file";
    // A memory array count beyond the file (566 bytes promising millions).
    QByteArray array = good.left(memory);
    QTest::newRow("cut before the memory wave") << array << "Input past end of file";
}

void TestSheetFile::lyingCountsStopTheRead() {
    QFETCH(QByteArray, file);
    QFETCH(QString, error);
    ResetDataSheet();
    QString got;
    QCOMPARE(ParseSheet(file, &got), SheetRead::Stopped);
    QCOMPARE(got, error);
    for (int i = 0; i < DocCount(DocKind::MemoryWave); ++i)
        QVERIFY(CsvRows(MemoryRecords[i]) <= 2100001);
}

void TestSheetFile::aDamagedOpenIsNotBoundToItsFile() {
    fillEverything();
    const QString path = tp_->tempPath("damaged.ult");
    QByteArray bytes = SheetBytes();
    // The data section's loaded flag made a wrong value: "Type mismatch"
    // after the waves and the measure are read.
    const qsizetype data = bytes.indexOf("\"" + DataRecords[0].Name.toUtf8() + "\"");
    bytes.replace(bytes.indexOf("#TRUE#", data), 6, "maybe!");
    QFile f(path);
    QVERIFY(f.open(QIODevice::WriteOnly));
    f.write(bytes);
    f.close();
    ResetDataSheet();
    OpenDataSheet(path);
    QCOMPARE(tp_->boxes.size(), 1);
    QVERIFY(SheetExists());
    QVERIFY(SheetPath.isEmpty());
    QCOMPARE(SheetIncompleteFrom, path);
    QVERIFY(FrameTitle("Korvane").startsWith("damaged.ult (incomplete)"));
    // Save asks for a name; cancelled, the file is untouched.
    tp_->chosenPaths = {std::nullopt};
    QVERIFY(!SaveDataSheet());
    QCOMPARE(tp_->fileDialogs.size(), 1);
    QVERIFY(f.open(QIODevice::ReadOnly));
    QCOMPARE(f.readAll(), bytes);
}

// Runs of 262,144 values and more (the reader cuts them into blocks, and a
// value falls across a block's edge): the file's own lines, read by the
// test's splitting alone, hold the values put in, one a line; the reader
// gives the same values back.
void TestSheetFile::longRunsReadByAnIndependentParser_data() {
    QTest::addColumn<bool>("record");
    QTest::addColumn<int>("count");
    QTest::newRow("record, 300 frames") << true << 300 * 1024;
    QTest::newRow("memory wave logic, 600,001 bytes") << false << 600001;
}

void TestSheetFile::longRunsReadByAnIndependentParser() {
    QFETCH(bool, record);
    QFETCH(int, count);
    QVERIFY(NewDataSheet());
    // Values of one, two and three digits mixed, so line lengths vary.
    auto value = [](int i) {
        return static_cast<int>((static_cast<std::uint32_t>(i) * 2654435761u >> 9) % 200);
    };
    if (record) {
        AddDocument(DocKind::Record);
        RecordRecord& r = RecordRecords[0];
        r.HasSamples = r.Loaded = true;
        r.FirstFrame = 1;
        r.FrameCount = static_cast<std::int16_t>(count / 1024);
        r.Samples.resize(static_cast<std::size_t>(count));
        for (int i = 0; i < count; ++i)
            r.Samples[static_cast<std::size_t>(i)] = static_cast<std::int16_t>(value(i));
    } else {
        AddDocument(DocKind::MemoryWave);
        MemoryRecord& m = MemoryRecords[0];
        m.Loaded = m.LAValid = true;
        m.LAOn = 1;
        m.PointsMain = count / 2;
        m.LAData.resize(static_cast<std::size_t>(count));
        for (int i = 0; i < count; ++i)
            m.LAData[static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(value(i));
    }
    const QByteArray bytes = SheetBytes();
    QVERIFY(bytes.endsWith("\r\n"));
    const QList<QByteArray> lines = bytes.left(bytes.size() - 2).split('\n');
    QVERIFY(lines.size() > count);
    const qsizetype first = lines.size() - count;                     // the run is the file's end
    if (!record) QCOMPARE(lines[first - 1].trimmed().toInt(), count); // its length before it
    for (int i = 0; i < count; ++i) {
        const QByteArray line = lines[first + i];
        if (line != QByteArray::number(value(i)) + "\r" &&
            !(i == count - 1 && line == QByteArray::number(value(i))))
            QFAIL(qPrintable(QString("value %1: the file says '%2', %3 was written")
                                 .arg(i)
                                 .arg(QString::fromLatin1(line.trimmed()))
                                 .arg(value(i))));
    }
    ResetDataSheet();
    QString error;
    QCOMPARE(ParseSheet(bytes, &error), SheetRead::Ok);
    for (int i = 0; i < count; ++i) {
        const int read = record ? RecordRecords[0].Samples[static_cast<std::size_t>(i)]
                                : MemoryRecords[0].LAData[static_cast<std::size_t>(i)];
        if (read != value(i))
            QFAIL(qPrintable(
                QString("value %1 read as %2, written %3").arg(i).arg(read).arg(value(i))));
    }
}

QTEST_MAIN(TestSheetFile)
#include "tst_sheetfile.moc"
