// SPDX-License-Identifier: GPL-3.0-or-later
// The parameter dialog and the adjust dialog: the shapes and lists, cmdOK's
// commands and read-backs against the simulated instrument, and the steps.
#include "RecordingTransport.h"
#include "SimulatedLink.h"
#include "TestPlatform.h"

#include "Simulator.h"
#include "controller/CtrlData.h"
#include "controller/CtrlDialog.h"
#include "controller/CtrlDialogAdjust.h"
#include "controller/CtrlDialogEntry.h"
#include "controller/CtrlState.h"
#include "link/Connection.h"
#include "link/LinkState.h"
#include "link/NQ4000Cmd.h"
#include "link/UsbFunc.h"
#include "platform/Pacing.h"
#include "platform/Visa.h"
#include "shared/LoadLanguage.h"
#include "shared/Picture.h"
#include "shared/ValueText.h"

#include <QLineEdit>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTimer>
#include <QtTest>
#include <memory>

namespace {
// A display text as the machine's locale shows it (the suite runs under a
// comma locale too).
QString shown(const QString& withPoint) {
    return ShownForm(withPoint);
}
CtrlRowMatch rowAt(const QString& path) {
    return MatchCtrlPath(SplitCtrlPath(path));
}
} // namespace

class TestCtrlDialog : public QObject {
    Q_OBJECT
private slots:
    void init();
    void cleanup();
    void wordListsInTheirOrder_data();
    void wordListsInTheirOrder();
    void laddersAndNumbers();
    void timeDivListByBandwidthAndFormat();
    void voltDivUnderAProbeSendsTheBaseWord();
    void patternKeepsOneEdge();
    void xyRefusesAChangeOfMethod();
    void alternateLevelSendsTheSourceFirst();
    void numbersAreTestedClampedAndReadBack();
    void rowsReadBackAndKeepTheirValue_data();
    void rowsReadBackAndKeepTheirValue();
    void unitButtonsScaleTheNumber();
    void anInstrumentThatHasGoneStoresNothing();
    void methodChangeRebuildsAndReadsBack();
    void doubleClickShapesTheDialog();
    void coarseAndFineSteps_data();
    void coarseAndFineSteps();
    void adjustOkSendsProbeAndBaseScale();
    void holdingAStepButtonRepeats();
    void aStepButtonFromTheKeyboardStepsOnce();

private:
    std::unique_ptr<TestPlatform> tp_;
    std::unique_ptr<SimulatedLink> link_;
    QStringList log() const;
    void sync() { CmdQuery("*IDN?"); }
};

void TestCtrlDialog::init() {
    tp_ = std::make_unique<TestPlatform>();
    ResetControllerState();
    link_ = std::make_unique<SimulatedLink>();
    QVERIFY(link_->connected());
}

void TestCtrlDialog::cleanup() {
    SetCtrlDialogHook({});
    platform::SetPacingScale(0);
    link_.reset();
    tp_.reset();
}

QStringList TestCtrlDialog::log() const {
    return link_->log();
}

// The lists that change with the trigger method (the fixed ones are their
// tables and reach the instrument through the set-word checks).
void TestCtrlDialog::wordListsInTheirOrder_data() {
    QTest::addColumn<QString>("method");
    QTest::addColumn<QString>("path");
    QTest::addColumn<QStringList>("items");
    QStringList digital;
    for (int i = 0; i <= 15; ++i)
        digital << "D" + QString::number(i);
    QTest::newRow("edge source") << "EDGE"
                                 << "NQ4000L\\Trigger\\Source [CH1]"
                                 << (QStringList{"CH1", "CH2", "EXT", "AC"} + digital);
    QTest::newRow("pulse source") << "PULSE"
                                  << "NQ4000L\\Trigger\\Source [CH1]"
                                  << (QStringList{"CH1", "CH2", "EXT"} + digital);
    QTest::newRow("video source") << "VIDEO"
                                  << "NQ4000L\\Trigger\\Source [CH1]"
                                  << QStringList{"CH1", "CH2", "EXT"};
    QTest::newRow("alternate slope")
        << "ALTERNATIVE"
        << "NQ4000L\\Trigger\\CH1\\Slope [RISING]" << QStringList{"RISING", "FALLING"};
    QTest::newRow("pattern code") << "PATTERN"
                                  << "NQ4000L\\Trigger\\Code\\D3 [H]"
                                  << QStringList{"H", "L", "X", "RISING", "FALLING"};
    QTest::newRow("duration code")
        << "DURATION"
        << "NQ4000L\\Trigger\\Code\\D3 [H]" << QStringList{"H", "L", "X"};
}

void TestCtrlDialog::wordListsInTheirOrder() {
    QFETCH(QString, method);
    QFETCH(QString, path);
    QFETCH(QStringList, items);
    CtrlData.TrigMethod = method;
    const CtrlDialogLayout l = ShapeCtrlDialog(rowAt(path));
    QCOMPARE(l.shape, DialogShape::WordList);
    QCOMPARE(l.items, items);
}

void TestCtrlDialog::laddersAndNumbers() {
    CtrlDialogLayout l = ShapeCtrlDialog(rowAt("NQ4000L\\Trigger\\Level [0.00div]"));
    QCOMPARE(l.shape, DialogShape::Ladder);
    QCOMPARE(l.items.first(), shown("6.00div"));
    QCOMPARE(l.items.last(), shown("-6.04div"));
    QCOMPARE(l.items.size(), 302);
    QVERIFY(l.items.contains(shown("0.00div")));
    l = ShapeCtrlDialog(rowAt("NQ4000L\\Trigger\\Sensitivity [0.10div]"));
    QCOMPARE(l.items.first(), shown("1.00div"));
    QCOMPARE(l.items.last(), shown("0.09div"));
    CtrlData.TrigMethod = WordVideo;
    QCOMPARE(ShapeCtrlDialog(rowAt("NQ4000L\\Trigger\\Line number [1]")).items.size(), 525);
    CtrlData.VideoStandard = "PAL/SECAM";
    QCOMPARE(ShapeCtrlDialog(rowAt("NQ4000L\\Trigger\\Line number [1]")).items.last(),
             QString("625"));
    l = ShapeCtrlDialog(rowAt("NQ4000L\\Trigger\\Holdoff [100ns]"));
    QCOMPARE(l.shape, DialogShape::Number);
    QCOMPARE(l.input, shown("100.000E-9"));
    QCOMPARE(l.unitButtons, (QList<int>{0, 1, 2, 3}));
    CtrlData.Ch1Offset = "-250mV";
    l = ShapeCtrlDialog(rowAt("NQ4000L\\CH1\\Offset [-250mV]"));
    QCOMPARE(l.shape, DialogShape::Volts);
    QCOMPARE(l.input, shown("-0.25"));
    QCOMPARE(l.unitButtons, QList<int>{4});
    QCOMPARE(ShapeCtrlDialog(rowAt("NQ4000L\\CH1\\Volt/Div [1.00V]")).shape, DialogShape::Adjust);
    CtrlData.LaThreshold = "1.50V";
    l = ShapeCtrlDialog(rowAt("NQ4000L\\LA\\Threshold [1.50V]"));
    QCOMPARE(l.selected, QString("USER"));
    QCOMPARE(l.input, shown("1.5"));
    QCOMPARE(ShapeCtrlDialog(rowAt("NQ4000L\\LA\\Position\\D0 [0]")).items.size(), 16);
    QCOMPARE(SetCtrlDialogVoltDivNum("10X").first(), shown("20.0mV"));
    QCOMPARE(SetCtrlDialogVoltDivNum("10X").last(), shown("50.0V"));
    QCOMPARE(SetCtrlDialogVoltDivNum("1000X").last(), shown("5.00kV"));
    QCOMPARE(SetCtrlDialogMemOffsetNum().size(), 3999);
}

void TestCtrlDialog::timeDivListByBandwidthAndFormat() {
    BandwidthIndex = 0;
    QCOMPARE(SetCtrlDialogTimeDivNum().mid(0, 2), (QStringList{"10.00ns", "20.00ns"}));
    BandwidthIndex = 3;
    QCOMPARE(SetCtrlDialogTimeDivNum().mid(0, 5),
             (QStringList{"1.000ns", "2.000ns", "5.000ns", "10.00ns", "20.00ns"}));
    QCOMPARE(SetCtrlDialogTimeDivNum().last(), QString("50.00s"));
    BandwidthIndex = 5;
    QCOMPARE(SetCtrlDialogTimeDivNum().first(), QString("1.000ns"));
    CmdSend(":TIMEBASE:FORMAT XY");
    const QStringList xy = SetCtrlDialogTimeDivNum();
    QCOMPARE(xy.first(), QString("1.000us"));
    QCOMPARE(xy.last(), QString("10.00ms"));
    CmdSend(":TIMEBASE:FORMAT SCANNING");
    QCOMPARE(SetCtrlDialogTimeDivNum().first(), QString("1.000ns")); // roll shows the Y-T list
}

void TestCtrlDialog::voltDivUnderAProbeSendsTheBaseWord() {
    CtrlData.Ch1Probe = "10X";
    QVERIFY(CtrlDialogOK(rowAt("NQ4000L\\CH1\\Volt/Div [1.00V]"), "10.0V", QString()));
    sync();
    QVERIFY(log().contains(":CHANNEL1:SCALE 1.00V"));
    QCOMPARE(CtrlData.Ch1VoltDiv, shown("10.0V"));
    QVERIFY(CtrlDirty);
}

void TestCtrlDialog::patternKeepsOneEdge() {
    CtrlData.TrigMethod = WordPattern;
    QVERIFY(CtrlDialogOK(rowAt("NQ4000L\\Trigger\\Code\\D3 [H]"), WordRising, QString()));
    QVERIFY(CtrlDialogOK(rowAt("NQ4000L\\Trigger\\Code\\D5 [H]"), WordFalling, QString()));
    sync();
    QCOMPARE(CtrlData.PatternLevel[13], QString("X")); // D3's edge gave way
    QCOMPARE(CtrlData.PatternLevel[11], WordFalling);
    // All high but D3 (masked out) and D5 (the edge, neither high nor masked).
    QCOMPARE(log().filter(":TRIGGER:PATTERN:PATTERN").last(),
             QString(":TRIGGER:PATTERN:PATTERN 65495,65527,5,1"));
    QCOMPARE(CutAtLineFeed(CmdQuery(":TRIGGER:PATTERN:PATTERN?")),
             QString("PATTERN,65495,65527,D5,Negative"));
}

void TestCtrlDialog::xyRefusesAChangeOfMethod() {
    CtrlData.TimeFormat = "X-Y";
    QVERIFY(CtrlDialogOK(rowAt("NQ4000L\\Trigger\\Method [EDGE]"), WordPulse, QString()));
    sync();
    QCOMPARE(log(), (QStringList{"*IDN?", "*IDN?"})); // the guard, then nothing but the sync
    QCOMPARE(CtrlData.TrigMethod, WordEdge);
    QVERIFY(!CtrlDirty);
}

void TestCtrlDialog::alternateLevelSendsTheSourceFirst() {
    CtrlData.TrigMethod = WordAlternation;
    QVERIFY(CtrlDialogOK(rowAt("NQ4000L\\Trigger\\CH2\\Level [0.00div]"), "1.00div", QString()));
    sync();
    const QString a = ":TRIGGER:ALTERNATION";
    // 1 div of channel 2's 0.2 V, less its offset of 0.
    QCOMPARE(log(), (QStringList{"*IDN?", a + ":SOURCE CHANNEL2", ":CHANNEL2:SCALE?",
                                 ":CHANNEL2:OFFSET?", a + ":EDGE:LEVEL .2", "*IDN?"}));
    QCOMPARE(CtrlData.AltEdge2.Level, shown("1.00div"));
}

void TestCtrlDialog::numbersAreTestedClampedAndReadBack() {
    QVERIFY(!CtrlDialogOK(rowAt("NQ4000L\\Trigger\\Holdoff [100ns]"), QString(), "soon"));
    QCOMPARE(tp_->prompts(), QStringList{"Enter number only!"});
    QVERIFY(!CtrlDirty);
    QVERIFY(CtrlDialogOK(rowAt("NQ4000L\\Trigger\\Holdoff [100ns]"), QString(), "2.5E-7"));
    sync();
    QVERIFY(log().contains(":TRIGGER:HOLDOFF 0.25us"));
    QCOMPARE(CtrlData.TrigHoldoff, QString("250ns"));
    QVERIFY(CtrlDialogOK(rowAt("NQ4000L\\CH2\\Offset [0.00mV]"), QString(), "1e9"));
    sync();
    QVERIFY(log().contains(":CHANNEL2:OFFSET 400000")); // held within the offset's limit
    QCOMPARE(CtrlData.Ch2Offset, QString("400kV"));
}

// Every row that takes a number or a list entry stores what the instrument
// reads back (it rounds and clamps), in the row's own display form; and the
// dialog opened again and closed with OK, nothing touched, leaves the
// instrument and the tree as they were: the list opens on the current value
// and the box holds a number that reads back to it. Under a comma locale too,
// where the tree shows "1,20V".
void TestCtrlDialog::rowsReadBackAndKeepTheirValue_data() {
    QTest::addColumn<QString>("method");  // the trigger method set first
    QTest::addColumn<QString>("altType"); // for alternation: the channel's trigger type
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("input"); // empty: an entry of the row's list
    QTest::addColumn<QString>("query");
    QTest::addColumn<QString>("form"); // the read-back's display form; empty: the list's text
    const struct {
        const char *name, *altType, *path, *input, *query, *form;
        QString method;
    } rows[] = {
        {"holdoff", "", "Trigger\\Holdoff", "2.5E-9", ":TRIGGER:HOLDOFF?", "t3", WordEdge},
        {"pulse width", "", "Trigger\\Pulse width", "4.4E-6", ":TRIGGER:PULSE:WIDTH?", "t3",
         WordPulse},
        {"slope time", "", "Trigger\\Slope time", "5.5E-6", ":TRIGGER:SLOPE:TIME?", "t3",
         WordSlope},
        {"duration time", "", "Trigger\\Duration time", "6.6E-6", ":TRIGGER:DURATION:TIME?", "t3",
         WordDuration},
        {"delay", "", "Time Base\\Delay", "0.0012", ":TIMEBASE:OFFSET?", "t5", WordEdge},
        {"CH1 offset", "", "CH1\\Offset", "1.2", ":CHANNEL1:OFFSET?", "v", WordEdge},
        {"CH2 offset", "", "CH2\\Offset", "-0.35", ":CHANNEL2:OFFSET?", "v", WordEdge},
        {"level", "", "Trigger\\Level", "", ":TRIGGER:EDGE:LEVEL?", "", WordEdge},
        {"sensitivity", "", "Trigger\\Sensitivity", "", ":TRIGGER:EDGE:SENSITIVITY?", "", WordEdge},
        {"time/div", "", "Time Base\\Time/Div", "", ":TIMEBASE:SCALE?", "", WordEdge},
        {"LA threshold", "", "LA\\Threshold", "1.5", ":LA:THRESHOLD?", "", WordEdge},
        {"alternate CH1 holdoff", "EDGE", "Trigger\\CH1\\Holdoff", "7.7E-7",
         ":TRIGGER:ALTERNATION:EDGE:HOLDOFF?", "t3", WordAlternation},
        {"alternate CH2 pulse width", "PULSE", "Trigger\\CH2\\Pulse width", "8.8E-6",
         ":TRIGGER:ALTERNATION:PULSE:TIME?", "t3", WordAlternation},
        {"alternate CH1 slope time", "SLOPE", "Trigger\\CH1\\Slope time", "9.9E-6",
         ":TRIGGER:ALTERNATION:SLOPE:TIME?", "t3", WordAlternation},
        {"alternate CH2 delay", "", "Time Base\\CH2\\Delay", "0.0021",
         ":TRIGGER:ALTERNATION:TIMEOFFSET?", "t5", WordAlternation},
    };
    for (const auto& r : rows)
        QTest::newRow(r.name) << r.method << r.altType << QString("NQ4000L\\%1 [x]").arg(r.path)
                              << r.input << r.query << r.form;
}

void TestCtrlDialog::rowsReadBackAndKeepTheirValue() {
    QFETCH(QString, method);
    QFETCH(QString, altType);
    QFETCH(QString, path);
    QFETCH(QString, input);
    QFETCH(QString, query);
    QFETCH(QString, form);
    const QString channel = path.contains("\\CH2\\") ? "CH2" : "CH1";
    if (CtrlData.TrigMethod != method)
        QVERIFY(CtrlDialogOK(rowAt("NQ4000L\\Trigger\\Method [x]"), method, {}));
    if (!altType.isEmpty())
        QVERIFY(
            CtrlDialogOK(rowAt("NQ4000L\\Trigger\\" + channel + "\\Trig type [x]"), altType, {}));
    const CtrlRowMatch row = rowAt(path);
    QVERIFY(row.field);
    // The instrument's answer, asked of the row's channel.
    const auto instrumentValue = [&] {
        if (query.contains("ALTERNATION"))
            CmdSend(":TRIGGER:ALTERNATION:SOURCE CHANNEL" + channel.right(1));
        return CutAtLineFeed(CmdQuery(query));
    };

    CtrlDialogLayout shape = ShapeCtrlDialog(row);
    *row.field = "before";
    if (input.isEmpty()) {
        QVERIFY(shape.items.size() > 3);
        QVERIFY(CtrlDialogOK(row, shape.items.at(shape.items.size() / 3 + 1), QString()));
    } else {
        QVERIFY(CtrlDialogOK(row, shape.selected, input));
    }
    const QString reply = instrumentValue();
    QVERIFY(!reply.isEmpty());
    if (!form.isEmpty())
        QCOMPARE(*row.field, form == "v"    ? NormVolt(reply)
                             : form == "t5" ? NormTime5(reply)
                                            : NormTime3(reply));
    QVERIFY(*row.field != "before");

    const QString shown = *row.field;
    shape = ShapeCtrlDialog(row);
    if (shape.shape == DialogShape::WordList || shape.shape == DialogShape::Ladder) {
        QVERIFY2(shape.items.contains(shape.selected), qPrintable(shape.selected));
        if (input.isEmpty()) QCOMPARE(shape.selected, shown);
    }
    QVERIFY(CtrlDialogOK(row, shape.selected, shape.input));
    QCOMPARE(instrumentValue(), reply);
    QCOMPARE(*row.field, shown);
}

void TestCtrlDialog::unitButtonsScaleTheNumber() {
    QString input = "2.5";
    QVERIFY(CtrlDialogEnter(rowAt("NQ4000L\\Trigger\\Holdoff [100ns]"), 2, input));
    QCOMPARE(input, QString("2.5E-09"));
    sync();
    QVERIFY(log().contains(":TRIGGER:HOLDOFF 0.0025us"));
    QCOMPARE(CtrlData.TrigHoldoff, shown("2.50ns"));
    QCOMPARE(EnterUnit(0), 0.001);
    QCOMPARE(EnterUnit(1), 1e-6);
    QCOMPARE(EnterUnit(3), 1e-12);
    QCOMPARE(EnterUnit(4), 0.001);
    input = "x";
    QVERIFY(!CtrlDialogEnter(rowAt("NQ4000L\\Trigger\\Holdoff [2.50ns]"), 0, input));
    // The threshold's "mV" keeps the list's choice: the number goes out with it.
    CtrlData.LaThreshold = "1.50V";
    input = "800";
    QVERIFY(CtrlDialogEnter(rowAt("NQ4000L\\LA\\Threshold [1.50V]"), 4, input, WordUser));
    sync();
    const QStringList sent = log().filter(":LA:THRESHOLD ");
    QVERIFY(!sent.isEmpty());
    QVERIFY2(sent.last() != ":LA:THRESHOLD ", qPrintable(sent.last()));
    QVERIFY(!CtrlData.LaThreshold.isEmpty());
}

void TestCtrlDialog::anInstrumentThatHasGoneStoresNothing() {
    RecordingTransport gone; // answers nothing
    const CtrlDataRecord before = CtrlData;
    QVERIFY(CtrlDialogOK(rowAt("NQ4000L\\CH1\\Coupling [AC]"), WordCouplingDc, QString()));
    QCOMPARE(gone.log, QStringList{"*IDN?"});
    QVERIFY(CtrlData == before);
    QVERIFY(!CtrlDirty);
}

void TestCtrlDialog::methodChangeRebuildsAndReadsBack() {
    QList<CtrlTreeChange> changes;
    SetCtrlTreeListener([&changes](CtrlTreeChange c) { changes << c; });
    QVERIFY(CtrlDialogOK(rowAt("NQ4000L\\Trigger\\Method [EDGE]"), WordPulse, QString()));
    SetCtrlTreeListener({});
    QCOMPARE(CtrlData.TrigMethod, WordPulse);
    QVERIFY(changes.contains(CtrlTreeChange::Shape));
    QCOMPARE(CtrlData.PulseMode, QString("+Less Than")); // read back from the instrument
    const QStringList l = log();
    QCOMPARE(l[1], QString(":TRIGGER:MODE PULSE"));
    QVERIFY(l.contains(":LA:DISPLAY?"));
    QVERIFY(l.contains(":TRIGGER:PULSE:SOURCE?"));
    // Alternation brings the format back to Y-T.
    CtrlData.TimeFormat = "Roll";
    QVERIFY(CtrlDialogOK(rowAt("NQ4000L\\Trigger\\Method [PULSE]"), WordAlternation, QString()));
    QCOMPARE(CtrlData.TimeFormat, QString("Y-T"));
}

void TestCtrlDialog::doubleClickShapesTheDialog() {
    CtrlRowMatch seen;
    CtrlDialogLayout shape;
    SetCtrlDialogHook([&](const CtrlRowMatch& r, const CtrlDialogLayout& l) {
        seen = r;
        shape = l;
    });
    PraseCtrlList("NQ4000L\\Display\\Grid [FULL]");
    QCOMPARE(CtrlDialogKey, QString("DisplayGrid"));
    QCOMPARE(seen.field, &CtrlData.DisplayGrid);
    QCOMPARE(shape.items, (QStringList{"FULL", "HALF", "NONE"}));
    QCOMPARE(shape.selected, QString("FULL"));
    QCOMPARE(shape.caption, QString("Grid"));
}

void TestCtrlDialog::coarseAndFineSteps_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("probe");
    QTest::addColumn<int>("mode");
    QTest::addColumn<int>("direction");
    QTest::addColumn<QString>("result");
    QTest::newRow("coarse up under 10X at 100 mV base") << "1.00V"
                                                        << "10X" << 0 << 1 << "2.00V";
    QTest::newRow("coarse up holds at the top") << "10.0V"
                                                << "1X" << 0 << 1 << "10.0V";
    QTest::newRow("coarse down holds at the bottom") << "2.00mV"
                                                     << "1X" << 0 << -1 << "2.00mV";
    QTest::newRow("coarse down from 5 mV") << "5.00mV"
                                           << "1X" << 0 << -1 << "2.00mV";
    QTest::newRow("coarse down between rungs") << "7.00mV"
                                               << "1X" << 0 << -1 << "5.00mV";
    QTest::newRow("coarse up between rungs") << "7.00mV"
                                             << "1X" << 0 << 1 << "10.0mV";
    QTest::newRow("fine up from 5 mV takes the next row") << "5.00mV"
                                                          << "1X" << 1 << 1 << "5.10mV";
    QTest::newRow("fine down from 5 mV stays in its row") << "5.00mV"
                                                          << "1X" << 1 << -1 << "4.95mV";
    QTest::newRow("fine up at the top stays") << "10.0V"
                                              << "1X" << 1 << 1 << "10.0V";
    QTest::newRow("fine down at the bottom stays") << "2.00mV"
                                                   << "1X" << 1 << -1 << "2.00mV";
    QTest::newRow("fine up in volts") << "1.00V"
                                      << "1X" << 1 << 1 << "1.02V";
    QTest::newRow("fine under 100X") << "1.00V"
                                     << "100X" << 1 << 1 << "1.02V"; // 10 mV at 1X steps by 200 uV
}

void TestCtrlDialog::coarseAndFineSteps() {
    QFETCH(QString, text);
    QFETCH(QString, probe);
    QFETCH(int, mode);
    QFETCH(int, direction);
    QFETCH(QString, result);
    QCOMPARE(AdjustStep(text, probe, mode, direction), shown(result));
}

void TestCtrlDialog::adjustOkSendsProbeAndBaseScale() {
    CtrlData.Ch2Probe = "10X";
    AdjustOK(1, "2.00V");
    sync();
    const QStringList l = log();
    QCOMPARE(l.mid(0, 3),
             (QStringList{":CHANNEL2:PROBE 10", ":CHANNEL2:SCALE 0.2v", ":CHANNEL2:OFFSET?"}));
    QCOMPARE(CtrlData.Ch2VoltDiv, shown("2.00V"));
    QCOMPARE(CutAtLineFeed(CmdQuery(":CHANNEL2:SCALE?")), QString("2.000000e+00"));
    QVERIFY(CtrlDirty);
    QCOMPARE(GetCHProbeNum("500X"), 500);
    QCOMPARE(SetCHOffset(400000, 0.5, 0, 1), 20000.0); // 0.04 div of 0.5 V, in microvolts
}

void TestCtrlDialog::holdingAStepButtonRepeats() {
    platform::SetPacingScale(0.25); // the 200 ms repeat runs at 50 ms
    CtrlData.Ch1VoltDiv = "2.00mV";
    AdjustModeCh1 = 0;
    CtrlDialogAdjust dialog(0);
    dialog.show();
    QTest::mousePress(dialog.addButton(), Qt::LeftButton);
    QCOMPARE(dialog.value()->text(), shown("5.00mV")); // the first step at once
    QTest::qWait(250);
    // Released away from the button: the repeat stops all the same.
    QTest::mouseRelease(dialog.addButton(), Qt::LeftButton, {}, QPoint(-50, -50));
    QVERIFY(!dialog.repeating());
    const QString held = dialog.value()->text();
    // Four or five repeats after the first step: 10, 20, 50, 100 (200) mV; a busy machine may lose
    // a tick.
    QVERIFY2(held == shown("50.0mV") || held == "100mV" || held == "200mV", qPrintable(held));
    QTest::qWait(150);
    QCOMPARE(dialog.value()->text(), held);
}

void TestCtrlDialog::aStepButtonFromTheKeyboardStepsOnce() {
    platform::SetPacingScale(0.25);
    CtrlData.Ch1VoltDiv = "2.00mV";
    AdjustModeCh1 = 0;
    CtrlDialogAdjust dialog(0);
    dialog.show();
    dialog.addButton()->setFocus();
    QTest::keyPress(dialog.addButton(), Qt::Key_Space);
    QTest::keyRelease(dialog.addButton(), Qt::Key_Space);
    QCOMPARE(dialog.value()->text(), shown("5.00mV"));
    QVERIFY(!dialog.repeating());
    QTest::qWait(150); // no repeat runs on until the next click
    QCOMPARE(dialog.value()->text(), shown("5.00mV"));
}

QTEST_MAIN(TestCtrlDialog)
#include "tst_ctrldialog.moc"
