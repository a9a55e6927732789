// SPDX-License-Identifier: GPL-3.0-or-later
// Measures and limits: the verdict rule, the limit texts, the pass and fail
// dialog's logic, the export bytes, and the measure window against the
// simulated instrument.
#include "SimulatedLink.h"
#include "TestPlatform.h"

#include "acquire/MeasureJob.h"
#include "controller/CtrlData.h"
#include "measure/MeasureStats.h"
#include "measure/MeasureTable.h"
#include "measure/PassFail.h"
#include "measure/frmMeasure.h"
#include "measure/frmPassFailed.h"
#include "shared/AppIdentity.h"
#include "shared/LoadLanguage.h"
#include "shared/Picture.h"
#include "shared/SoftwareSetting.h"
#include "shared/StringRES.h"
#include "shared/ValueText.h"
#include "sheet/DataSheet.h"
#include "sheet/SheetRecords.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QRadioButton>
#include <QToolButton>
#include <QTreeWidget>
#include <QtTest>

class TestMeasure : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void cleanup();
    void rowsSlotsAndIcons();
    void verdicts_data();
    void verdicts();
    void limitTexts_data();
    void limitTexts();
    void unitsOfEveryFamily_data();
    void unitsOfEveryFamily();
    void numericCheck_data();
    void numericCheck();
    void editorTypesAndKeepsLimits();
    void okChecksOnlyVpp();
    void dialogCancelLeavesTheLimits();
    void exportBytes();
    void windowFetchesShowsAndJudges();
    void channel2SelectedWhenChannel1IsOff();
    void bothChannelsOffRefreshDoesNothing();
    void statisticsOverScriptedReplies();
    void statisticsInTheWindow();

private:
    std::unique_ptr<TestPlatform> tp_;
};

void TestMeasure::initTestCase() {
    RegisterMeasureJobs();
    RegisterMeasureWindow();
}

void TestMeasure::init() {
    tp_ = std::make_unique<TestPlatform>();
    ResetControllerState();
    SoftwareSetting = SoftwareSettingRecord();
    ResetDataSheet();
    MakerName = "Vexor Technologies,Inc.";
}

void TestMeasure::cleanup() {
    ResetDataSheet();
    tp_.reset();
}

void TestMeasure::rowsSlotsAndIcons() {
    // Row order and icon order differ on purpose: Period has icon 12 in row 14.
    const auto& rows = MeasureRows();
    QCOMPARE(QString(rows[4].english), QString("Vamp"));
    QCOMPARE(rows[4].slot, 15);
    QCOMPARE(QString(rows[13].english), QString("Period"));
    QCOMPARE(rows[13].icon, 12);
    QCOMPARE(rows[11].icon, 13);
    QSet<int> slotSet, icons, names;
    for (const MeasureRow& r : rows) {
        slotSet << r.slot;
        icons << r.icon;
        names << r.nameIndex;
        QCOMPARE(MeasureRowName(r), QString(r.english));
    }
    QCOMPARE(slotSet.size(), 18);
    QCOMPARE(icons.size(), 18);
    QCOMPARE(names.size(), 18);
}

void TestMeasure::verdicts_data() {
    QTest::addColumn<int>("family");
    QTest::addColumn<QString>("text");
    QTest::addColumn<double>("under");
    QTest::addColumn<double>("over");
    QTest::addColumn<QString>("verdict");
    const int v = int(MeasureFamily::Volt), f = int(MeasureFamily::Frequency);
    const int t = int(MeasureFamily::Time), p = int(MeasureFamily::Percent);
    QTest::newRow("inside") << v << "1.50V" << 1.0 << 2.0 << "Pass";
    QTest::newRow("on the under limit") << v << "1.00V" << 1.0 << 2.0 << "Pass";
    QTest::newRow("on the over limit") << v << "2.00V" << 1.0 << 2.0 << "Pass";
    QTest::newRow("below") << v << "500mV" << 1.0 << 2.0 << "Fail [Under Limit]";
    QTest::newRow("above") << t << "10.0us" << 0.0 << 5e-6 << "Fail [Over Limit]";
    QTest::newRow("unmeasured") << v << "*****" << 0.0 << 1.0 << "Fail";
    QTest::newRow("frequency") << f << "1.000kHz" << 999.0 << 1001.0 << "Pass";
    QTest::newRow("percent") << p << "50.0%" << 0.4 << 0.6 << "Pass";
    QTest::newRow("over below under fails all")
        << v << "1.50V" << 2.0 << 1.0 << "Fail [Under Limit]";
    QTest::newRow("comma made text") << v << "1,50V" << 1.4 << 1.6 << "Pass";
}

void TestMeasure::verdicts() {
    QFETCH(int, family);
    QFETCH(QString, text);
    QFETCH(double, under);
    QFETCH(double, over);
    QFETCH(QString, verdict);
    MeasureItem item;
    item.Text = text;
    item.LimitEnabled = true;
    item.UnderLimit = under;
    item.OverLimit = over;
    QCOMPARE(Verdict(item, static_cast<MeasureFamily>(family)), verdict);
    item.LimitEnabled = false;
    QCOMPARE(Verdict(item, static_cast<MeasureFamily>(family)), QString());
}

void TestMeasure::limitTexts_data() {
    QTest::addColumn<int>("family");
    QTest::addColumn<double>("value");
    QTest::addColumn<QString>("joined");
    QTest::newRow("volt zero") << int(MeasureFamily::Volt) << 0.0 << "0.000uV";
    QTest::newRow("frequency zero") << int(MeasureFamily::Frequency) << 0.0 << "0.000mHz";
    QTest::newRow("time zero") << int(MeasureFamily::Time) << 0.0 << "0.000ps";
    QTest::newRow("percent zero") << int(MeasureFamily::Percent) << 0.0 << "0.00%";
    QTest::newRow("negative volt") << int(MeasureFamily::Volt) << -1.0 << "-1.000V";
}

void TestMeasure::limitTexts() {
    QFETCH(int, family);
    QFETCH(double, value);
    QFETCH(QString, joined);
    QCOMPARE(FormatLimit(static_cast<MeasureFamily>(family), value).joined, joined);
}

// A typed limit with each unit of its row's list, then judged through the row
// table as the window judges it: a unit list swapped, or a row given another
// family, fails here.
void TestMeasure::unitsOfEveryFamily_data() {
    QTest::addColumn<int>("nameIndex"); // the combo's entry
    QTest::addColumn<int>("slot");
    QTest::addColumn<int>("unit");
    QTest::addColumn<double>("limit");  // "1.5" typed with that unit
    QTest::addColumn<QString>("value"); // a reply inside 0.9 to 1.1 limit
    QTest::newRow("Frequency GHz") << 10 << 7 << 0 << 1.5e9 << "1.500GHz";
    QTest::newRow("Frequency MHz") << 10 << 7 << 1 << 1.5e6 << "1.500MHz";
    QTest::newRow("Frequency kHz") << 10 << 7 << 2 << 1.5e3 << "1.500kHz";
    QTest::newRow("Frequency Hz") << 10 << 7 << 3 << 1.5 << "1.500Hz";
    QTest::newRow("Frequency mHz") << 10 << 7 << 4 << 1.5e-3 << "1.500mHz";
    QTest::newRow("Duty+ percent") << 16 << 16 << 0 << 0.015 << "1.50%";
    QTest::newRow("Vover percent") << 9 << 13 << 0 << 0.015 << "1.50%";
    QTest::newRow("Vpp mV") << 0 << 0 << 3 << 1.5e-3 << "1.50mV";
}

void TestMeasure::unitsOfEveryFamily() {
    QFETCH(int, nameIndex);
    QFETCH(int, slot);
    QFETCH(int, unit);
    QFETCH(double, limit);
    QFETCH(QString, value);
    std::array<MeasureItem, 18> items;
    PassFailEditor e(items);
    e.SelectByNameIndex(nameIndex);
    QCOMPARE(e.selectedSlot, slot);
    e.SetEnabled(true);
    e.ChangeUnit(true, unit);
    e.ChangeUnit(false, unit);
    QVERIFY(e.EditNumber(false, "1.5"));
    QVERIFY(e.EditNumber(true, "1.4"));
    QVERIFY(qAbs(e.items[static_cast<std::size_t>(slot)].OverLimit - limit) < limit * 1e-9);
    MeasureRecord rec;
    rec.Loaded = true;
    rec.Items = e.items;
    rec.Items[static_cast<std::size_t>(slot)].Text = ShownForm(value);
    QCOMPARE(CellsFor(rec, RowOfSlot(slot)).verdict, QString("Pass"));
    rec.Items[static_cast<std::size_t>(slot)].OverLimit = limit * 0.99; // just below the value
    QCOMPARE(CellsFor(rec, RowOfSlot(slot)).verdict, QString("Fail [Over Limit]"));
}

void TestMeasure::numericCheck_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("numeric");
    QTest::newRow("exponent") << "1e3" << true;
    QTest::newRow("negative") << "-2.5" << true;
    QTest::newRow("blanks") << " 7 " << true;
    QTest::newRow("letters") << "abc" << false;
    QTest::newRow("empty") << "" << false;
}

void TestMeasure::numericCheck() {
    QFETCH(QString, text);
    QFETCH(bool, numeric);
    QCOMPARE(IsNumeric(text), numeric);
}

void TestMeasure::editorTypesAndKeepsLimits() {
    std::array<MeasureItem, 18> items;
    PassFailEditor e(items);
    QCOMPARE(e.selectedSlot, 0); // Vpp first
    e.SetEnabled(true);
    QCOMPARE(e.units, kVoltUnits);
    e.ChangeUnit(true, 3);             // mV
    QVERIFY(e.EditNumber(true, "-"));  // a lone minus waits for more
    QVERIFY(e.EditNumber(true, "-5")); // -5 mV
    QCOMPARE(e.items[0].UnderLimit, -0.005);
    QVERIFY(!e.EditNumber(false, "x1"));
    QVERIFY(e.overNum.isEmpty());
    e.ChangeUnit(false, 2); // V
    QVERIFY(e.EditNumber(false, "1e3"));
    QCOMPARE(e.items[0].OverLimit, 1000.0);
    // The combo's order is the language's: entry 11 is Period.
    e.SelectByNameIndex(11);
    QCOMPARE(e.selectedSlot, 10);
    QCOMPARE(e.units, kTimeUnits);
    QVERIFY(!e.enabled);
}

void TestMeasure::okChecksOnlyVpp() {
    std::array<MeasureItem, 18> items;
    items[1].UnderLimit = 2; // Vmax over below under: not checked
    items[1].OverLimit = 1;
    PassFailEditor vmax(items);
    QVERIFY(vmax.Accept());
    items[0].UnderLimit = 2; // Vpp over below under: the dialog stays
    items[0].OverLimit = 1;
    PassFailEditor vpp(items);
    vpp.SelectByNameIndex(0);
    QVERIFY(!vpp.Accept());
    QCOMPARE(vpp.items[0].OverLimit, 2.0); // raised to the under limit
    QVERIFY(vpp.Accept());
}

void TestMeasure::dialogCancelLeavesTheLimits() {
    MeasureRecords[0].Items[0].UnderLimit = 0.5;
    MeasureRecords[0].Items[0].OverLimit = 1;
    {
        frmPassFailed dialog(0, "Measure0");
        QCOMPARE(dialog.windowTitle(), QString("Pass & Fail Setting [Measure0]"));
        dialog.editor().SetEnabled(true);
        dialog.editor().EditNumber(true, "3");
        dialog.reject();
    }
    QVERIFY(!LimitsChanged);
    QCOMPARE(MeasureRecords[0].Items[0].UnderLimit, 0.5);
    QVERIFY(!MeasureRecords[0].Items[0].LimitEnabled);
    frmPassFailed dialog(0, "Measure0");
    dialog.enabledChk()->click();
    QVERIFY(dialog.underNum()->isEnabled());
    dialog.underNum()->setText("x");
    emit dialog.underNum()->textEdited("x");
    QCOMPARE(tp_->prompts(), QStringList{MsgBadNumber});
    QVERIFY(dialog.underNum()->text().isEmpty());
    dialog.OKButton_Click();
    QVERIFY(LimitsChanged);
    QVERIFY(MeasureRecords[0].Items[0].LimitEnabled);
}

void TestMeasure::exportBytes() {
    MeasureRecord r;
    r.SettingText = "CH1 1.00V  1.00ms 1.000MSa [Date:1/2/26] ";
    r.Items[0].Text = "2.00V";
    r.Items[0].LimitEnabled = true;
    r.Items[0].UnderLimit = 1;
    r.Items[0].OverLimit = 3;
    r.Items[0].Verdict = "Pass";
    r.Items[7].Text = "*****";
    const QByteArray bytes = MeasureExportBytes(r);
    const QList<QByteArray> lines = bytes.split('\n');
    QVERIFY(bytes.contains("\r\n"));
    QCOMPARE(lines[0], QByteArray("Vexor Technologies,Inc. -[Measure]\r"));
    for (int i = 1; i <= 4; ++i)
        QCOMPARE(lines[i], QByteArray("\r"));
    QCOMPARE(lines[5], r.SettingText.toUtf8() + "\r");
    QCOMPARE(lines[6], QByteArray("\r"));
    QCOMPARE(lines[7], QString::fromUtf8("  类型\t   值\t  下限\t  上限\t通过&失败\r").toUtf8());
    QCOMPARE(lines[8], QByteArray("Vpp\t2.00V\t1.000V\t3.000V\tPass\r"));
    QCOMPARE(lines[9], QByteArray("Vmax\t\t\t\t\r"));
    QCOMPARE(lines[18], QByteArray("Frequency\t*****\t\t\t\r"));
    QCOMPARE(lines.size(), 8 + 18 + 1);
}

namespace {
// A measure window with both channels shown, after its first tick.
frmMeasure* openMeasureWindow() {
    CtrlData.Ch1Display = CtrlData.Ch2Display = WordOn;
    if (!NewDataSheet()) return nullptr;
    AddDocument(DocKind::Measure);
    auto* w = qobject_cast<frmMeasure*>(DocForm(DocKind::Measure, 0));
    if (w) w->Timer1_Timer();
    return w;
}
} // namespace

void TestMeasure::windowFetchesShowsAndJudges() {
    SimulatedLink link;
    QVERIFY(link.connected());
    frmMeasure* w = openMeasureWindow();
    QVERIFY(w);
    QVERIFY(w->option(0)->isChecked());
    QCOMPARE(w->view()->topLevelItemCount(), 18);
    QVERIFY(w->view()->topLevelItem(0)->text(1).isEmpty());
    MeasureRecords[0].Items[7].LimitEnabled = true; // Frequency: 1 kHz within 900..1100
    MeasureRecords[0].Items[7].UnderLimit = 900;
    MeasureRecords[0].Items[7].OverLimit = 1100;
    link.clearLog();
    w->cmdRefresh_Click();
    QVERIFY(link.log().contains(":MEASURE:SOURCE CHANNEL1"));
    QVERIFY(MeasureRecords[0].Loaded);
    QVERIFY(MeasureRecords[0].SettingText.startsWith("CH1 "));
    QTreeWidgetItem* frequency = w->view()->topLevelItem(10);
    QCOMPARE(frequency->text(0), QString("Frequency"));
    QCOMPARE(frequency->text(1), ShownForm("1.000kHz")); // the simulator's 1 kHz sine
    QCOMPARE(frequency->text(4), QString("Pass"));
    QVERIFY(frequency->text(2).endsWith("Hz"));
    QCOMPARE(MeasureRecords[0].Items[7].Verdict, QString("Pass"));
    // The export writes what the list shows.
    const QString path = tp_->tempPath("m.xls");
    tp_->chosenPaths = {path};
    w->cmdExport_Click();
    QFile f(path);
    QVERIFY(f.open(QIODevice::ReadOnly));
    QCOMPARE(f.readAll(), MeasureExportBytes(MeasureRecords[0]));
}

void TestMeasure::channel2SelectedWhenChannel1IsOff() {
    QVERIFY(NewDataSheet());
    AddDocument(DocKind::Measure);
    auto* w = qobject_cast<frmMeasure*>(DocForm(DocKind::Measure, 0));
    CtrlData.Ch1Display = WordOff;
    CtrlData.Ch2Display = WordOn;
    w->Timer1_Timer();
    QVERIFY(!w->option(0)->isEnabled() && !w->option(0)->isChecked());
    QVERIFY(w->option(1)->isEnabled() && w->option(1)->isChecked());
}

void TestMeasure::bothChannelsOffRefreshDoesNothing() {
    SimulatedLink link;
    QVERIFY(NewDataSheet());
    AddDocument(DocKind::Measure);
    auto* w = qobject_cast<frmMeasure*>(DocForm(DocKind::Measure, 0));
    CtrlData.Ch1Display = CtrlData.Ch2Display = WordOff;
    w->Timer1_Timer();
    link.clearLog();
    w->cmdRefresh_Click();
    QVERIFY(tp_->boxes.isEmpty());
    QVERIFY(link.log().isEmpty());
    QVERIFY(!MeasureRecords[0].Loaded);
}

// A scripted run of Vpp and Frequency replies: "*****" is not counted in
// the statistics, and fails the verdict where limits apply, as the list says.
void TestMeasure::statisticsOverScriptedReplies() {
    const QStringList vpp{"2.00V", "*****", "2.10V", "1.90V", "2.00V"};
    const QStringList freq{"1.000kHz", "999.0Hz", "*****", "1.001kHz", "*****"};
    MeasureRecord rec;
    MeasureItem& v = rec.Items[static_cast<std::size_t>(RowOfSlot(0).slot)];
    v.LimitEnabled = true;
    v.UnderLimit = 1.95;
    v.OverLimit = 2.05;
    MeasureStats stats;
    const MeasureRow* frequency = nullptr;
    for (const MeasureRow& row : MeasureRows())
        if (QByteArray(row.english) == "Frequency") frequency = &row;
    QVERIFY(frequency);
    const QStringList duty{"50.0%", "48.0%", "52.0%", "*****", "50.0%"};
    for (int i = 0; i < vpp.size(); ++i) {
        rec.Items[0].Text = vpp[i];
        rec.Items[static_cast<std::size_t>(frequency->slot)].Text = freq[i];
        rec.Items[16].Text = duty[i]; // Duty+
        AddRefresh(stats, rec);
    }
    const MeasureStat& s = stats.items[0];
    QCOMPARE(stats.refreshes, 5);
    QCOMPARE(s.count, 4);
    QCOMPARE(s.min, 1.9);
    QCOMPARE(s.max, 2.1);
    QVERIFY(std::abs(s.mean - 2.0) < 1e-12);
    QVERIFY(std::abs(s.stddev() - std::sqrt(0.02 / 3)) < 1e-12); // sample standard deviation
    QCOMPARE(s.current, 2.0);
    QCOMPARE(s.passed, 2); // 2.00 twice
    QCOMPARE(s.failed, 3); // "*****", 2.10, 1.90
    QCOMPARE(s.trend.size(), std::size_t(4));
    const MeasureStat& f = stats.items[static_cast<std::size_t>(frequency->slot)];
    QCOMPARE(f.count, 3);
    QCOMPARE(f.min, 999.0);
    QCOMPARE(f.max, 1001.0);
    QCOMPARE(f.passed + f.failed, 0);    // no limits: no verdicts
    QCOMPARE(stats.items[16].mean, 0.5); // a fraction, as the limits are
    // The second export: a line a measure with its figures in the value
    // column's pictures (a percentage as the instrument's "50.0%").
    const QList<QByteArray> lines = MeasureStatsExportBytes(rec, stats).split('\n');
    QVERIFY(lines[3].startsWith("Refreshes\t5"));
    QVERIFY2(lines[5].startsWith("Vpp\t2.00V\t1.90V\t2.10V\t2.00V\t"), lines[5].constData());
    QVERIFY(lines[5].endsWith("\t4\t2\t3\r"));
    // Duty+: current, min, max, mean, stddev (of 48, 50, 50, 52: 1.63 %).
    QVERIFY2(lines[5 + 16].startsWith("Duty+\t50.0%\t48.0%\t52.0%\t50.0%\t1.63%\t4\t"),
             lines[5 + 16].constData());
    stats.reset();
    QCOMPARE(stats.items[0].count, 0);
}

// The window counts each refresh: the simulator's CH1 amplitude changed
// between three refreshes shows as Vpp's minimum, maximum and count.
void TestMeasure::statisticsInTheWindow() {
    SimulatedLink link;
    QVERIFY(link.connected());
    frmMeasure* w = openMeasureWindow();
    QVERIFY(w);
    w->findChild<QToolButton*>("cmdStats")->click();
    QCOMPARE(w->view()->columnCount(), 8);
    for (double amplitude : {1.0, 1.5, 0.5}) {
        sim::Generator g;
        g.amplitude = amplitude;
        link.instrument().SetGenerator(1, g);
        w->cmdRefresh_Click();
    }
    QTreeWidgetItem* vpp = w->view()->topLevelItem(0);
    QCOMPARE(vpp->text(0), QString("Vpp"));
    // In the display's decimal sign, as the value column (a comma under de_DE).
    QCOMPARE(vpp->text(1), ShownForm("1.00V")); // the last
    QCOMPARE(vpp->text(2), ShownForm("1.00V")); // min
    QCOMPARE(vpp->text(3), ShownForm("3.00V")); // max
    QCOMPARE(vpp->text(4), ShownForm("2.00V")); // mean
    QCOMPARE(vpp->text(6), QString("3"));
    QTreeWidgetItem* duty = w->view()->topLevelItem(16);
    QCOMPARE(duty->text(0), QString("Duty+"));
    QCOMPARE(duty->text(4), ShownForm("50.0%")); // the mean of a 50 % duty, not 0.50%
    const QString dutyMean = duty->text(4);
    w->findChild<QToolButton*>("cmdStatsReset")->click();
    QCOMPARE(w->view()->topLevelItem(0)->text(6), QString("0"));
    w->findChild<QToolButton*>("cmdStats")->click(); // back to the described list
    QCOMPARE(w->view()->columnCount(), 5);
    QCOMPARE(w->view()->topLevelItem(0)->text(1), ShownForm("1.00V"));
    QCOMPARE(w->view()->topLevelItem(16)->text(1), dutyMean); // the value column says the same
}

QTEST_MAIN(TestMeasure)
#include "tst_measure.moc"
