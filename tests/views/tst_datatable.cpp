// SPDX-License-Identifier: GPL-3.0-or-later
// The table job and the data window: rows per source, the offset rule, the
// time column with its doubled First, the export bytes, and the options.
#include "SimulatedLink.h"
#include "TestPlatform.h"

#include "acquire/Jobs.h"
#include "acquire/TableJob.h"
#include "controller/CtrlData.h"
#include "shared/AppIdentity.h"
#include "shared/LoadLanguage.h"
#include "shared/Picture.h"
#include "shared/SoftwareSetting.h"
#include "sheet/DataSheet.h"
#include "sheet/SheetRecords.h"
#include "views/frmData.h"

#include <QFile>
#include <QRadioButton>
#include <QTableView>
#include <QtTest>

class TestDataTable : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void cleanup();
    void offsetRows_data();
    void offsetRows();
    void numberPictures_data();
    void numberPictures();
    void channelTableMatchesTheScreen();
    void switchedOffChannelHasNoRows();
    void digitalTableHasTimesOnly();
    void firstColumnMovesTheTimes();
    void exportBytes();
    void windowRefreshesAndExports();
    void optionsFollowTheDisplayStates();

private:
    std::unique_ptr<TestPlatform> tp_;
    std::unique_ptr<SimulatedLink> link_;
};

void TestDataTable::initTestCase() {
    RegisterTableJobs();
    RegisterDataWindow();
}

void TestDataTable::init() {
    tp_ = std::make_unique<TestPlatform>();
    ResetControllerState();
    SoftwareSetting = SoftwareSettingRecord();
    ResetDataSheet();
    MakerName = "Vexor Technologies,Inc.";
    link_ = std::make_unique<SimulatedLink>();
    QVERIFY(link_->connected());
    link_->instrument().Process(":STOP");
}

void TestDataTable::cleanup() {
    ResetDataSheet();
    link_.reset();
    tp_.reset();
}

void TestDataTable::offsetRows_data() {
    QTest::addColumn<double>("offset");
    QTest::addColumn<double>("scale");
    QTest::addColumn<int>("rows");
    // x = offset * 25 / scale, half a row away from zero, halves to even.
    QTest::newRow("exactly 3 rows") << 0.12 << 1.0 << 4;
    QTest::newRow("exactly -3 rows") << -0.12 << 1.0 << -4;
    QTest::newRow("2.5 rows") << 0.1 << 1.0 << 3;
    QTest::newRow("zero") << 0.0 << 1.0 << 0;
    QTest::newRow("one division") << 1.0 << 1.0 << 26;
}

void TestDataTable::offsetRows() {
    QFETCH(double, offset);
    QFETCH(double, scale);
    QFETCH(int, rows);
    QCOMPARE(int(OffsetRows(offset, scale)), rows);
}

void TestDataTable::numberPictures_data() {
    QTest::addColumn<double>("value");
    QTest::addColumn<QString>("text");
    QTest::newRow("one") << 1.0 << "1.00E+00";
    QTest::newRow("half") << 0.5 << "5.00E-01";
    QTest::newRow("minus three") << -3.0 << "-3.00E00";
    QTest::newRow("large") << 1234.0 << "1.23E+03";
}

void TestDataTable::numberPictures() {
    QFETCH(double, value);
    QFETCH(QString, text);
    QCOMPARE(TableNumberText(value, true), text);
}

void TestDataTable::channelTableMatchesTheScreen() {
    QVERIFY(RunJob(kJobTableCh1, "table", 0));
    QCOMPARE(TableRowCount, 600);
    QVERIFY(SheetTitle.startsWith("CH1 "));
    QVERIFY(SheetTitle.contains(" Size=600  [Date:"));
    QVERIFY(SheetTitle.contains("Sa Size"));
    const auto trace = link_->instrument().ScreenTrace(1);
    const double scale = link_->instrument().ChannelScale(1);
    for (int i : {1, 100, 600}) {
        // Raw to row to volts about the ground row (offset 0: row 100 is 0 V).
        const int row = trace[std::size_t(i - 1)] - 25;
        const float volts = static_cast<float>((100 - row) * scale / 25);
        QCOMPARE(TableVoltText[std::size_t(i)], TableNumberText(volts, true));
    }
    // The time column: sample 300 is the trigger point at offset 0.
    QCOMPARE(TableTimeText[301], TableNumberText(0.0, false));
    QVERIFY(!TableTimeText[601].isEmpty()); // one time more than volts
    QVERIFY(TableTimeText[602].isEmpty());
}

void TestDataTable::switchedOffChannelHasNoRows() {
    link_->instrument().Process(":CHANNEL2:DISPLAY OFF");
    QVERIFY(RunJob(kJobTableCh2, "table", 0));
    QCOMPARE(TableRowCount, 0);
    QVERIFY(TableVoltText[1].isEmpty());
}

void TestDataTable::digitalTableHasTimesOnly() {
    link_->clearLog();
    QVERIFY(RunJob(kJobTableLa, "table", 0));
    QCOMPARE(TableRowCount, 600);
    QVERIFY(TableVoltText[1].isEmpty());
    QVERIFY(!TableTimeText[1].isEmpty());
    const QStringList log = link_->log();
    QVERIFY(log.contains(":CHANNEL1:SCALE?")); // the digital table reads channel 1's
    QVERIFY(log.contains(":WAVEFORM:DATA? DIGITAL"));
    QVERIFY(log.filter(":ACQUIRE:SAMP?").isEmpty());
    QVERIFY(SheetTitle.startsWith("LA "));
}

void TestDataTable::firstColumnMovesTheTimes() {
    link_->instrument().SetDrawRange(10, 289);
    link_->instrument().Process(":TIMEBASE:SCALE 0.001");
    link_->instrument().Process(":TIMEBASE:OFFSET 0");
    QVERIFY(RunJob(kJobTableCh1, "table", 0));
    QCOMPARE(TableRowCount, 560);
    // First x 2 added twice: the first time is that of sample 20 + 20.
    const double sampleTime = 0.001 / 50;
    QCOMPARE(TableTimeText[1], TableNumberText(sampleTime * (20 - 300 + 20), false));
    const auto trace = link_->instrument().ScreenTrace(1);
    const int row = trace[std::size_t(1 + 20 - 1)] - 25;
    const double scale = link_->instrument().ChannelScale(1);
    QCOMPARE(TableVoltText[1], TableNumberText(float((100 - row) * scale / 25), true));
}

void TestDataTable::exportBytes() {
    DataRecord r;
    r.Title = "CH1 1.00V  1.00ms 50.00kSa Size=2  [Date:1/2/26]";
    r.RowCount = 2;
    r.VoltText = {"", "1.00E+00", "-5.00E-01"};
    r.TimeText = {"", "-6.00E-03", "-5.98E-03", "-5.96E-03"};
    const QByteArray expected = "Vexor Technologies,Inc. -[Data]\r\n"
                                "\r\n\r\n\r\n"
                                "CH1 1.00V  1.00ms 50.00kSa Size=2  [Date:1/2/26]\r\n"
                                "\r\n\r\n"
                                "NO.\tTime\tVoltage\r\n"
                                "\r\n"
                                " 1 \t-6.00E-03\t1.00E+00\r\n"
                                " 2 \t-5.98E-03\t-5.00E-01\r\n";
    QCOMPARE(DataExportBytes(r), expected);
}

void TestDataTable::windowRefreshesAndExports() {
    CtrlData.Ch1Display = CtrlData.Ch2Display = CtrlData.LaDisplay = WordOn;
    QVERIFY(NewDataSheet());
    AddDocument(DocKind::Data);
    auto* w = qobject_cast<frmData*>(DocForm(DocKind::Data, 0));
    w->Timer1_Timer();
    QVERIFY(w->option(0)->isChecked());
    w->cmdRefresh_Click();
    QVERIFY(DataRecords[0].Loaded);
    QCOMPARE(DataRecords[0].RowCount, 600);
    QCOMPARE(w->view()->model()->rowCount(), 600);
    QCOMPARE(w->view()->model()->index(0, 1).data().toString(), DataRecords[0].TimeText[1]);
    const QString path = tp_->tempPath("t.txt");
    tp_->chosenPaths = {path};
    w->cmdExport_Click();
    QCOMPARE(tp_->fileDialogs[0].filter,
             QString("Microsoft Excel Files (*.xls)|*.xls|Text Files (*.txt)|*.txt|All Files "
                     "(*.*)|*.*"));
    QFile f(path);
    QVERIFY(f.open(QIODevice::ReadOnly));
    QCOMPARE(f.readAll(), DataExportBytes(DataRecords[0]));
}

void TestDataTable::optionsFollowTheDisplayStates() {
    CtrlData.Ch1Display = CtrlData.Ch2Display = CtrlData.LaDisplay = WordOn;
    QVERIFY(NewDataSheet());
    AddDocument(DocKind::Data);
    DataRecords[0].Source = "CH2";
    auto* w = qobject_cast<frmData*>(DocForm(DocKind::Data, 0));
    w->Timer1_Timer();
    QVERIFY(w->option(1)->isChecked());
    CtrlData.Ch2Display = WordOff;
    w->Timer1_Timer();
    QVERIFY(!w->option(1)->isEnabled());
    QVERIFY(w->option(2)->isChecked()); // the next available
    QCOMPARE(DataRecords[0].Source, QString("LA"));
}

QTEST_MAIN(TestDataTable)
#include "tst_datatable.moc"
