// SPDX-License-Identifier: GPL-3.0-or-later
#include "controller/CtrlDialog.h"

#include "controller/CtrlData.h"
#include "controller/CtrlDialogAdjust.h"
#include "controller/CtrlDialogEntry.h"
#include "controller/CtrlState.h"
#include "controller/PatternLevels.h"
#include "controller/TriggerReads.h"
#include "link/LinkState.h"
#include "link/NQ4000Cmd.h"
#include "platform/Faults.h"
#include "platform/MsgBox.h"
#include "platform/Pacing.h"
#include "shared/LoadLanguage.h"
#include "shared/Picture.h"
#include "shared/StringRES.h"
#include "shared/ValueText.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>
#include <cmath>

using namespace cmd;

namespace {

QString query(const QString& header) {
    return QueryText(header);
}
QString methodWord(const QString& method) {
    return ":" + TriggerMethodToCmd(method);
}
int digitalNumber(const QString& caption) {
    return caption.mid(1).toInt();
} // "D7" -> 7
double clampMagnitude(double v, double limit) {
    return std::clamp(v, -limit, limit);
}

const QStringList kProbes = {"1X", "5X", "10X", "50X", "100X", "500X", "1000X"};
const QStringList kTimeRows = {"Delay", "Holdoff", "Pulse width", "Slope time", "Duration time"};

QStringList onOff() {
    return {WordOn, WordOff};
}

struct AltFields {
    QString* type;
    AltEdgeFields* e;
    AltPulseFields* p;
    AltVideoFields* v;
    AltSlopeFields* s;
};
AltFields altFields(int channel) {
    CtrlDataRecord& d = CtrlData;
    return channel == 2
               ? AltFields{&d.AltType2, &d.AltEdge2, &d.AltPulse2, &d.AltVideo2, &d.AltSlope2}
               : AltFields{&d.AltType1, &d.AltEdge1, &d.AltPulse1, &d.AltVideo1, &d.AltSlope1};
}

// The leaf of an alternate row under its type.
QString altLeaf(const QString& row) {
    static const QHash<QString, QString> leaves = {{"Slope", Slope},
                                                   {"Coupling", Coupling},
                                                   {"Level", Level},
                                                   {"LevelA", LevelA},
                                                   {"LevelB", LevelB},
                                                   {"Sensitivity", Sensitivity},
                                                   {"Holdoff", Holdoff},
                                                   {"Pulse mode", Mode},
                                                   {"Pulse width", Time},
                                                   {"Polarity", Polarity},
                                                   {"Sync", Mode},
                                                   {"Line number", Line},
                                                   {"Video Standard", Standard},
                                                   {"Slope mode", Mode},
                                                   {"Slope time", Time}};
    return leaves.value(row);
}

} // namespace

// ---- list setters --------------------------------------------------------------

QStringList SetCtrlDialogTimeDivNum() {
    const QString format = query(Timebase + Format);
    if (format == QLatin1String("X-Y"))
        return {"1.000us", "2.000us", "5.000us", "10.00us", "20.00us", "50.00us", "100.0us",
                "200.0us", "500.0us", "1.000ms", "2.000ms", "5.000ms", "10.00ms"};
    // The fastest rungs by the bandwidth class, then the ladder all classes share.
    static const QStringList fast = {"1.000ns", "2.000ns", "5.000ns", "10.00ns"};
    const int first = BandwidthIndex == 0   ? 3
                      : BandwidthIndex == 1 ? 2
                      : BandwidthIndex == 2 ? 1
                                            : 0;
    QStringList list = fast.mid(first);
    list << "20.00ns"
         << "50.00ns"
         << "100.0ns"
         << "200.0ns"
         << "500.0ns"
         << "1.000us"
         << "2.000us"
         << "5.000us"
         << "10.00us"
         << "20.00us"
         << "50.00us"
         << "100.0us"
         << "200.0us"
         << "500.0us"
         << "1.000ms"
         << "2.000ms"
         << "5.000ms"
         << "10.00ms"
         << "20.00ms"
         << "50.00ms"
         << "100.0ms"
         << "200.0ms"
         << "500.0ms"
         << "1.000s"
         << "2.000s"
         << "5.000s"
         << "10.00s"
         << "20.00s"
         << "50.00s";
    return list;
}

QStringList SetCtrlDialogVoltDivNum(const QString& probe) {
    // The 1X ladder, 2 mV to 5 V, shown under the probe in the words the tree uses.
    static const double base[] = {0.002, 0.005, 0.01, 0.02, 0.05, 0.1, 0.2, 0.5, 1, 2, 5};
    const double factor = Val(probe) > 0 ? Val(probe) : 1;
    QStringList list;
    for (double b : base)
        list << NormVolt(CStrNumber(b * factor));
    return list;
}

QStringList SetCtrlDialogMemOffsetNum() {
    const int n = static_cast<int>(Val(query(Waveform + SysMemSize)));
    QStringList list;
    for (int i = 1; i < n; ++i)
        list << QString::number(i);
    return list;
}

QStringList SetCtrlDialogTrigLevelNum() {
    QStringList list;
    for (int k = 0; k <= 301; ++k)
        list << FormatPicture(6.0 - k * 0.04, "0.00div", Precision::Double);
    return list;
}

QStringList SetCtrlDialogTrigSensitivityNum() {
    QStringList list;
    for (int k = 0; k <= 91; ++k)
        list << FormatPicture(1.0 - k * 0.01, "0.00div", Precision::Double);
    return list;
}

QStringList AddLaSource() {
    QStringList list;
    for (int i = 0; i <= 15; ++i)
        list << "D" + QString::number(i);
    return list;
}

// ---- shape -----------------------------------------------------------------------

namespace {
CtrlDialogLayout shapeWithPoint(const CtrlRowMatch& row) {
    CtrlDialogLayout l;
    const QStringList& caps = row.captions;
    const QString section = caps.value(0), row0 = caps.last();
    const QString group = caps.size() == 3 ? caps[1] : QString();
    const QString value = row.field ? *row.field : QString();
    const CtrlDataRecord& d = CtrlData;
    l.caption = TreeLabel(row0);
    l.selected = value;
    const bool altTrigger =
        section == QLatin1String("Trigger") && (group == "CH1" || group == "CH2");
    const int altChannel = group == "CH2" ? 2 : 1;

    if (row0 == QLatin1String("Memory Size")) {
        l.shape = DialogShape::QueryOnly;
        return l;
    }
    if (row0 == QLatin1String("Volt/Div")) {
        l.shape = DialogShape::Adjust;
        return l;
    }
    if (kTimeRows.contains(row0)) {
        l.shape = DialogShape::Number;
        l.input = TimeTextToExpText(value);
        l.unitButtons = {0, 1, 2, 3};
        return l;
    }
    if (row0 == QLatin1String("Offset")) {
        l.shape = DialogShape::Volts;
        l.input = CStrNumber(ParseVoltText(value));
        l.unitButtons = {4};
        return l;
    }
    if (row0 == QLatin1String("Threshold")) {
        l.shape = DialogShape::WordList;
        l.items = {"TTL", "ECL", "CMOS", WordUser};
        if (!l.items.mid(0, 3).contains(value)) {
            l.selected = WordUser;
            l.input = CStrNumber(ParseVoltText(value));
        } else {
            static const QHash<QString, QString> fixed = {
                {"TTL", "1.4"}, {"ECL", "-1.3"}, {"CMOS", "2.5"}};
            l.input = fixed.value(value);
            l.inputReadOnly = true;
        }
        l.unitButtons = {4};
        return l;
    }
    // The ladders.
    l.shape = DialogShape::Ladder;
    if (row0 == QLatin1String("Time/Div"))
        l.items = SetCtrlDialogTimeDivNum();
    else if (row0 == QLatin1String("Level") || row0 == QLatin1String("LevelA") ||
             row0 == QLatin1String("LevelB"))
        l.items = SetCtrlDialogTrigLevelNum();
    else if (row0 == QLatin1String("Sensitivity"))
        l.items = SetCtrlDialogTrigSensitivityNum();
    else if (row0 == QLatin1String("Line number")) {
        const QString standard = altTrigger ? altFields(altChannel).v->Standard : d.VideoStandard;
        const int lines = standard == QLatin1String("NTSC") ? 525 : 625;
        for (int i = 1; i <= lines; ++i)
            l.items << QString::number(i);
    } else if (group == QLatin1String("Position")) {
        for (int i = 0; i <= 15; ++i)
            l.items << QString::number(i);
    } else if (row0 == QLatin1String("Intensity")) {
        for (int i = 1; i <= 100; ++i)
            l.items << QString::number(i) + "%";
    }
    if (!l.items.isEmpty()) return l;

    // The word lists.
    l.shape = DialogShape::WordList;
    QStringList& w = l.items;
    if (row0 == QLatin1String("Run|Stop"))
        w = {WordRun, WordStop};
    else if (group == QLatin1String("Channel"))
        w = onOff();
    else if (group == QLatin1String("Size"))
        w = {WordBig, WordSmall};
    else if (group == QLatin1String("Code")) {
        w = {"H", "L", "X"};
        if (d.TrigMethod == WordPattern) w << WordRising << WordFalling;
    } else if (row0 == QLatin1String("Display") || row0 == QLatin1String("BW Limit") ||
               row0 == QLatin1String("Invert") || row0 == QLatin1String("Persist"))
        w = onOff();
    else if (row0 == QLatin1String("Coupling")) {
        if (section == QLatin1String("CH1") || section == QLatin1String("CH2"))
            w = {WordCouplingDc, WordCouplingAc, WordCouplingGnd};
        else
            w = {WordCouplingDc, WordCouplingAc, WordCouplingHf, WordCouplingLf};
    } else if (row0 == QLatin1String("Probe")) {
        w = kProbes;
        if (IsDigitalModel != 0 && IsDigitalModel != 1) w.insert(1, "2X");
    } else if (row0 == QLatin1String("Format"))
        w = {"Y-T", "X-Y", "Roll"};
    else if (row0 == QLatin1String("Method")) {
        w = {WordEdge, WordPulse, WordVideo, WordSlope, WordAlternation};
        if (ModelHasLa) w << WordPattern << WordDuration;
    } else if (row0 == QLatin1String("Source")) {
        w = {"CH1", "CH2", "EXT"};
        if (d.TrigMethod == WordEdge) w << WordAcLine;
        if (ModelHasLa && (d.TrigMethod == WordEdge || d.TrigMethod == WordPulse))
            w << AddLaSource();
    } else if (row0 == QLatin1String("Mode"))
        w = {WordSweepAuto, WordSweepNormal, WordSweepSingle};
    else if (row0 == QLatin1String("Slope")) {
        w = {WordRising, WordFalling};
        if (!altTrigger) w << WordBothEdges;
    } else if (row0 == QLatin1String("Polarity"))
        w = {WordNegative, WordPositive};
    else if (row0 == QLatin1String("Sync"))
        w = {WordAllLines, WordLine, WordOddField, WordEvenField};
    else if (row0 == QLatin1String("Video Standard"))
        w = {"NTSC", "PAL/SECAM"};
    else if (row0 == QLatin1String("Pulse mode"))
        w = {WordPlusLess,  WordPlusGreater,  WordPlusEqual,
             WordMinusLess, WordMinusGreater, WordMinusEqual};
    else if (row0 == QLatin1String("Slope mode"))
        w = {WordSlopePlusLess,  WordSlopePlusGreater,  WordSlopePlusEqual,
             WordSlopeMinusLess, WordSlopeMinusGreater, WordSlopeMinusEqual};
    else if (row0 == QLatin1String("Slope Window"))
        w = {"PA", "PB", "PAB", "NA", "NB", "NAB"};
    else if (row0 == QLatin1String("Qualifier"))
        w = {WordLess, WordGreater, WordEqual};
    else if (row0 == QLatin1String("Trig type"))
        w = {WordEdge, WordPulse, WordVideo, WordSlope};
    else if (row0 == QLatin1String("Sampling Mode"))
        w = {WordEqualTime, WordRealTime};
    else if (row0 == QLatin1String("Anti-aliasing"))
        w = {WordOn, WordOn};
    else if (row0 == QLatin1String("Acquisition"))
        w = {WordAcqNormal, WordAcqAverage, WordAcqPeak};
    else if (row0 == QLatin1String("Averages"))
        w = {"2", "4", "8", "16", "32", "64", "128", "256"};
    else if (row0 == QLatin1String("Type"))
        w = {WordVectors, WordDots};
    else if (row0 == QLatin1String("Grid"))
        w = {WordGridFull, WordGridHalf, WordGridNone};
    return l;
}
} // namespace

// The lists and the box show numbers as the tree does, so the list opens on
// the tree's value whatever the locale.
CtrlDialogLayout ShapeCtrlDialog(const CtrlRowMatch& row) {
    CtrlDialogLayout l = shapeWithPoint(row);
    for (QString& item : l.items)
        item = ShownForm(item);
    l.selected = ShownForm(l.selected);
    l.input = ShownForm(l.input);
    return l;
}

// ---- read-backs --------------------------------------------------------------------

void GetTriggerMethod(const QString& method) {
    CtrlDataRecord& d = CtrlData;
    using platform::TryStatement;
    if (method == WordEdge) {
        TryStatement(
            [&] { d.EdgeSource = TriggerSourceFromReply(query(Trigger + Edge + Source)); });
        const QString scale = TriggerSourceScale(d.EdgeSource);
        TryStatement([&] { d.EdgeSlope = EdgeSlopeFromReply(query(Trigger + Edge + Slope)); });
        TryStatement([&] { d.EdgeSweep = SweepFromReply(query(Trigger + Edge + Sweep)); });
        TryStatement([&] { d.EdgeCoupling = CouplingFromReply(query(Trigger + Edge + Coupling)); });
        TryStatement([&] { d.EdgeLevel = TriggerLevelText(Edge, Level, d.EdgeSource, scale); });
        TryStatement(
            [&] { d.EdgeSensitivity = SensitivityText(query(Trigger + Edge + Sensitivity)); });
    } else if (method == WordPulse) {
        TryStatement(
            [&] { d.PulseSource = TriggerSourceFromReply(query(Trigger + Pulse + Source)); });
        const QString scale = TriggerSourceScale(d.PulseSource);
        TryStatement([&] { d.PulseMode = PulseModeFromReply(query(Trigger + Pulse + Mode)); });
        TryStatement([&] { d.PulseSweep = SweepFromReply(query(Trigger + Pulse + Sweep)); });
        TryStatement(
            [&] { d.PulseCoupling = CouplingFromReply(query(Trigger + Pulse + Coupling)); });
        TryStatement([&] { d.PulseLevel = TriggerLevelText(Pulse, Level, d.PulseSource, scale); });
        TryStatement(
            [&] { d.PulseSensitivity = SensitivityText(query(Trigger + Pulse + Sensitivity)); });
    } else if (method == WordVideo) {
        TryStatement(
            [&] { d.VideoSource = TriggerSourceFromReply(query(Trigger + Video + Source)); });
        const QString scale = TriggerSourceScale(d.VideoSource);
        TryStatement(
            [&] { d.VideoPolarity = VideoPolarityFromReply(query(Trigger + Video + Polarity)); });
        TryStatement([&] { d.VideoSync = VideoSyncFromReply(query(Trigger + Video + Mode)); });
        TryStatement([&] { d.VideoLevel = TriggerLevelText(Video, Level, d.VideoSource, scale); });
        TryStatement(
            [&] { d.VideoSensitivity = SensitivityText(query(Trigger + Video + Sensitivity)); });
    } else if (method == WordSlope) {
        TryStatement(
            [&] { d.SlopeSource = TriggerSourceFromReply(query(Trigger + Slope + Source)); });
        const QString scale = TriggerSourceScale(d.SlopeSource);
        TryStatement([&] { d.SlopeMode = SlopeModeFromReply(query(Trigger + Slope + Mode)); });
        TryStatement([&] { d.SlopeSweep = SweepFromReply(query(Trigger + Slope + Sweep)); });
        TryStatement(
            [&] { d.SlopeCoupling = CouplingFromReply(query(Trigger + Slope + Coupling)); });
        TryStatement(
            [&] { d.SlopeLevelA = TriggerLevelText(Slope, LevelA, d.SlopeSource, scale); });
        TryStatement(
            [&] { d.SlopeLevelB = TriggerLevelText(Slope, LevelB, d.SlopeSource, scale); });
        TryStatement(
            [&] { d.SlopeSensitivity = SensitivityText(query(Trigger + Slope + Sensitivity)); });
    } else if (method == WordPattern) {
        TryStatement(
            [&] { PatternReplyToLevels(query(Trigger + Pattern + Pattern), d.PatternLevel); });
        TryStatement([&] { d.PatternSweep = SweepFromReply(query(Trigger + Pattern + Sweep)); });
    } else if (method == WordDuration) {
        TryStatement(
            [&] { PatternReplyToLevels(query(Trigger + Duration + Pattern), d.DurationLevel); });
        TryStatement([&] {
            d.DurationQualifier = QualifierFromReply(query(Trigger + Duration + Qualifier));
        });
        TryStatement([&] { d.DurationTime = NormTime3(query(Trigger + Duration + Time)); });
        TryStatement([&] { d.DurationSweep = SweepFromReply(query(Trigger + Duration + Sweep)); });
    } else if (method == WordAlternation) {
        GetTriggerAltTrigType(1);
        GetTriggerAltTrigType(2);
    }
    CtrlTreeChanged(CtrlTreeChange::Texts);
}

void GetTriggerAltTrigType(int channel) {
    const AltFields f = altFields(channel);
    CmdSet(AlternationSource, ChannelRoot(channel).mid(1));
    const QString scale = query(ChannelRoot(channel) + Scale);
    const QString alt = TriggerAlternation;
    auto level = [&](const QString& header) {
        QString s = scale;
        return NormDiv(query(header), s);
    };
    using platform::TryStatement;
    TryStatement([&] { *f.type = TriggerMethodFromReply(query(alt + Type)); });
    const QString& t = *f.type;
    if (t == WordEdge) {
        TryStatement([&] { f.e->Slope = EdgeSlopeFromReply(query(alt + Edge + Slope)); });
        TryStatement([&] { f.e->Coupling = CouplingFromReply(query(alt + Edge + Coupling)); });
        TryStatement([&] { f.e->Level = level(alt + Edge + Level); });
        TryStatement([&] { f.e->Holdoff = NormTime3(query(alt + Edge + Holdoff)); });
        TryStatement([&] { f.e->Sensitivity = SensitivityText(query(alt + Edge + Sensitivity)); });
    } else if (t == WordPulse) {
        TryStatement([&] { f.p->Mode = PulseModeFromReply(query(alt + Pulse + Mode)); });
        TryStatement([&] { f.p->Width = NormTime3(query(alt + Pulse + Time)); });
        TryStatement([&] { f.p->Coupling = CouplingFromReply(query(alt + Pulse + Coupling)); });
        TryStatement([&] { f.p->Level = level(alt + Pulse + Level); });
        TryStatement([&] { f.p->Holdoff = NormTime3(query(alt + Pulse + Holdoff)); });
        TryStatement([&] { f.p->Sensitivity = SensitivityText(query(alt + Pulse + Sensitivity)); });
    } else if (t == WordVideo) {
        TryStatement(
            [&] { f.v->Polarity = VideoPolarityFromReply(query(alt + Video + Polarity)); });
        TryStatement([&] { f.v->Sync = VideoSyncFromReply(query(alt + Video + Mode)); });
        TryStatement([&] { f.v->Line = query(alt + Video + Line); });
        TryStatement([&] { f.v->Standard = query(alt + Video + Standard); });
        TryStatement([&] { f.v->Level = level(alt + Video + Level); });
        TryStatement([&] { f.v->Sensitivity = SensitivityText(query(alt + Video + Sensitivity)); });
    } else if (t == WordSlope) {
        TryStatement([&] { f.s->Coupling = CouplingFromReply(query(alt + Slope + Coupling)); });
        TryStatement([&] { f.s->Mode = SlopeModeFromReply(query(alt + Slope + Mode)); });
        TryStatement([&] { f.s->Time = NormTime3(query(alt + Slope + Time)); });
        TryStatement([&] { f.s->LevelA = level(alt + Slope + LevelA); });
        TryStatement([&] { f.s->LevelB = level(alt + Slope + LevelB); });
        TryStatement([&] { f.s->Sensitivity = SensitivityText(query(alt + Slope + Sensitivity)); });
    }
}

void GetTimeBaseParameter() {
    CtrlData.TimeDelay = NormTime5(query(Timebase + Offset));
    CtrlTreeChanged(CtrlTreeChange::Texts);
}

// ---- cmdOK ---------------------------------------------------------------------------

double EnterUnit(int button) {
    switch (button) {
    case 1:
        return 1e-6;
    case 2:
        return 1e-9;
    case 3:
        return 1e-12;
    default:
        return 0.001;
    }
}

namespace {

bool numberFrom(const QString& input, double& value) {
    if (!IsNumeric(input)) {
        platform::MsgBox(MsgNumberOnly, platform::MsgButtons::Ok, platform::MsgIcon::Exclamation);
        return false;
    }
    value = PointForm(input.trimmed()).toDouble();
    return true;
}

// The rows under "Trigger", "CH1" or "CH2" of the alternate trigger.
bool applyAlternateRow(int channel, const QString& row, const QString& sel, const QString& input) {
    const AltFields f = altFields(channel);
    const QString channelWord = channel == 2 ? "CH2" : "CH1";
    if (row == QLatin1String("Trig type")) {
        CmdSet(AlternationSource, ChannelRoot(channel).mid(1));
        CmdSet(TriggerAlternation + Type, TriggerMethodToCmd(sel));
        *f.type = sel;
        GetTriggerAltTrigType(channel);
        CtrlTreeChanged(CtrlTreeChange::Shape);
        return true;
    }
    const bool numberRow = row == QLatin1String("Holdoff") || row == QLatin1String("Pulse width") ||
                           row == QLatin1String("Slope time");
    double number = 0;
    if (numberRow && !numberFrom(input, number)) return false;
    CmdSet(AlternationSource, ChannelRoot(channel).mid(1));
    platform::Sleep(numberRow ? 50 : 100);
    const QString& type = *f.type;
    const QString header = TriggerAlternation + methodWord(type) + altLeaf(row);
    QString value = sel;
    QString* field = nullptr;
    if (type == WordEdge) {
        if (row == QLatin1String("Slope"))
            value = EdgeSlopeToCmd(sel), field = &f.e->Slope;
        else if (row == QLatin1String("Coupling"))
            value = CouplingToCmd(sel), field = &f.e->Coupling;
        else if (row == QLatin1String("Level"))
            field = &f.e->Level;
        else if (row == QLatin1String("Sensitivity"))
            field = &f.e->Sensitivity;
        else if (row == QLatin1String("Holdoff"))
            field = &f.e->Holdoff;
    } else if (type == WordPulse) {
        if (row == QLatin1String("Pulse mode"))
            value = PulseModeToCmd(sel), field = &f.p->Mode;
        else if (row == QLatin1String("Pulse width"))
            field = &f.p->Width;
        else if (row == QLatin1String("Coupling"))
            value = CouplingToCmd(sel), field = &f.p->Coupling;
        else if (row == QLatin1String("Level"))
            field = &f.p->Level;
        else if (row == QLatin1String("Sensitivity"))
            field = &f.p->Sensitivity;
        else if (row == QLatin1String("Holdoff"))
            field = &f.p->Holdoff;
    } else if (type == WordVideo) {
        if (row == QLatin1String("Polarity"))
            value = VideoPolarityToCmd(sel), field = &f.v->Polarity;
        else if (row == QLatin1String("Sync"))
            value = VideoSyncToCmd(sel), field = &f.v->Sync;
        else if (row == QLatin1String("Line number"))
            field = &f.v->Line;
        else if (row == QLatin1String("Video Standard"))
            value = VideoStandardToCmd(sel), field = &f.v->Standard;
        else if (row == QLatin1String("Level"))
            field = &f.v->Level;
        else if (row == QLatin1String("Sensitivity"))
            field = &f.v->Sensitivity;
        else if (row == QLatin1String("Holdoff"))
            field = &f.v->Holdoff;
    } else if (type == WordSlope) {
        if (row == QLatin1String("Slope mode"))
            value = SlopeModeToCmd(sel), field = &f.s->Mode;
        else if (row == QLatin1String("Slope time"))
            field = &f.s->Time;
        else if (row == QLatin1String("Coupling"))
            value = CouplingToCmd(sel), field = &f.s->Coupling;
        else if (row == QLatin1String("LevelA"))
            field = &f.s->LevelA;
        else if (row == QLatin1String("LevelB"))
            field = &f.s->LevelB;
        else if (row == QLatin1String("Sensitivity"))
            field = &f.s->Sensitivity;
        else if (row == QLatin1String("Holdoff"))
            field = &f.s->Holdoff;
    }
    if (!field) return true;
    if (row.startsWith(QLatin1String("Level"))) value = LevelFromDiv(sel, channelWord, CmdQuery);
    if (numberRow) value = TimeToCmdText(clampMagnitude(number, 1e20));
    CmdSet(header, value);
    *field = numberRow ? *field : sel;
    if (numberRow)
        *field = NormTime3(
            query(TriggerAlternation + methodWord(type) + (row == "Holdoff" ? Holdoff : Time)));
    if (row == QLatin1String("Video Standard")) {
        platform::Sleep(100);
        f.v->Line = query(TriggerAlternation + Video + Line);
    }
    CtrlTreeChanged(CtrlTreeChange::Texts);
    return true;
}

bool applyChannelRow(int channel, const QString& row, const QString& sel, const QString& input) {
    CtrlDataRecord& d = CtrlData;
    const QString root = ChannelRoot(channel);
    QString& display = channel == 2 ? d.Ch2Display : d.Ch1Display;
    QString& voltDiv = channel == 2 ? d.Ch2VoltDiv : d.Ch1VoltDiv;
    QString& offset = channel == 2 ? d.Ch2Offset : d.Ch1Offset;
    QString& coupling = channel == 2 ? d.Ch2Coupling : d.Ch1Coupling;
    QString& bwLimit = channel == 2 ? d.Ch2BwLimit : d.Ch1BwLimit;
    QString& probe = channel == 2 ? d.Ch2Probe : d.Ch1Probe;
    QString& invert = channel == 2 ? d.Ch2Invert : d.Ch1Invert;
    if (row == QLatin1String("Display")) {
        CmdSet(root + DisplayLeaf, SwitchToCmd(sel));
        display = SwitchFromReply(query(root + DisplayLeaf));
    } else if (row == QLatin1String("Volt/Div")) {
        voltDiv = sel;
        CmdSet(root + Scale, ProbeScaledToBase(sel, probe));
    } else if (row == QLatin1String("Offset")) {
        double number = 0;
        if (!numberFrom(input, number)) return false;
        CmdSet(root + Offset, CStrNumber(clampMagnitude(number, 400000)));
        platform::Sleep(200);
        offset = NormVolt(query(root + Offset));
    } else if (row == QLatin1String("Coupling")) {
        coupling = sel;
        CmdSet(root + Coupling, CouplingToCmd(sel));
    } else if (row == QLatin1String("BW Limit")) {
        bwLimit = sel;
        CmdSet(root + BwLimit, SwitchToCmd(sel));
    } else if (row == QLatin1String("Probe")) {
        probe = sel;
        CmdSet(root + Probe, sel.left(sel.size() - 1));
        platform::Sleep(200);
        voltDiv = NormVolt(query(root + Scale));
        offset = NormVolt(query(root + Offset));
    } else if (row == QLatin1String("Invert")) {
        invert = sel;
        CmdSet(root + Invert, SwitchToCmd(sel));
    }
    CtrlTreeChanged(CtrlTreeChange::Texts);
    return true;
}

bool applyLaRow(const QStringList& caps, const QString& sel, const QString& input) {
    CtrlDataRecord& d = CtrlData;
    const QString row = caps.last();
    const QString group = caps.size() == 3 ? caps[1] : QString();
    if (group == QLatin1String("Channel")) {
        if (row == QLatin1String("D15-D8") || row == QLatin1String("D7-D0")) {
            const bool high = row == QLatin1String("D15-D8");
            CmdSet(La + (high ? Group2 : Group1), SwitchToCmd(sel));
            (high ? d.LaGroupHigh : d.LaGroupLow) = sel;
            for (int i = high ? 1 : 9; i <= (high ? 8 : 16); ++i)
                d.LaChannel[i] = sel;
        } else {
            const int n = digitalNumber(row);
            CmdSet(DigitalRoot(n) + Turn, SwitchToCmd(sel));
            d.LaChannel[16 - n] = sel;
            d.LaGroupHigh = d.LaChannel[8]; // the last slot's word is the group's word
            d.LaGroupLow = d.LaChannel[16];
        }
    } else if (group == QLatin1String("Position")) {
        const int n = digitalNumber(row);
        CmdSet(DigitalRoot(n) + Position, sel);
        d.LaPosition[16 - n] = query(DigitalRoot(n) + Position);
    } else if (group == QLatin1String("Size")) {
        const bool high = row == QLatin1String("D15-D8");
        CmdSet(La + (high ? Group2 : Group1) + Size, SizeToCmd(sel));
        (high ? d.LaSizeHigh : d.LaSizeLow) = sel;
    } else if (row == QLatin1String("Display")) {
        CmdSet(La + DisplayLeaf, SwitchToCmd(sel));
        d.LaDisplay = SwitchFromReply(query(La + DisplayLeaf));
    } else if (row == QLatin1String("Threshold")) {
        if (sel == WordUser) {
            double number = 0;
            if (!numberFrom(input, number)) return false;
            CmdSet(La + Threshold, VoltToCmdText(number));
            platform::Sleep(100);
            const QString reply = query(La + Threshold);
            if (reply.startsWith(QLatin1String("User"))) d.LaThreshold = NormVolt(reply.mid(5));
        } else {
            CmdSet(La + Threshold, sel);
            d.LaThreshold = sel;
        }
    }
    CtrlTreeChanged(CtrlTreeChange::Texts);
    return true;
}

bool applyTimeBaseRow(const QStringList& caps, const QString& sel, const QString& input) {
    CtrlDataRecord& d = CtrlData;
    const QString row = caps.last();
    const QString group = caps.size() == 3 ? caps[1] : QString();
    if (group == QLatin1String("CH1") || group == QLatin1String("CH2")) {
        const int channel = group == QLatin1String("CH2") ? 2 : 1;
        CmdSet(AlternationSource, ChannelRoot(channel).mid(1));
        platform::Sleep(50);
        if (row == QLatin1String("Time/Div")) {
            CmdSet(TriggerAlternation + TimeScale, sel);
            platform::Sleep(50);
            (channel == 2 ? d.AltTimeDiv2 : d.AltTimeDiv1) =
                NormTime4(query(TriggerAlternation + TimeScale));
        } else {
            double number = 0;
            if (!numberFrom(input, number)) return false;
            query(TriggerAlternation + TimeScale); // asked first, as the instrument expects
            CmdSet(TriggerAlternation + TimeOffset, TimeToCmdTextDot(clampMagnitude(number, 1e20)));
            platform::Sleep(50);
            (channel == 2 ? d.AltDelay2 : d.AltDelay1) =
                NormTime5(query(TriggerAlternation + TimeOffset));
        }
    } else if (row == QLatin1String("Time/Div")) {
        CmdSet(Timebase + Scale, sel);
        d.TimeDiv = NormTime4(query(Timebase + Scale));
    } else if (row == QLatin1String("Delay")) {
        double number = 0;
        if (!numberFrom(input, number)) return false;
        query(Timebase + Scale);
        CmdSet(Timebase + Offset, TimeToCmdTextDot(clampMagnitude(number, 1e20)));
        platform::Sleep(100);
        GetTimeBaseParameter();
    } else if (row == QLatin1String("Format")) {
        CmdSet(Timebase + Format, TimeFormatToCmd(sel));
        platform::Sleep(100);
        d.TimeFormat = TimeFormatFromReply(query(Timebase + Format));
        if (d.TimeFormat == QLatin1String("X-Y")) d.Ch1Display = d.Ch2Display = WordOn;
        d.LaDisplay = SwitchFromReply(query(La + DisplayLeaf));
        platform::Sleep(100);
        d.TimeDiv = NormTime4(query(Timebase + Scale));
    }
    CtrlTreeChanged(CtrlTreeChange::Texts);
    return true;
}

bool applyTriggerRow(const QStringList& caps, const QString& sel, const QString& input) {
    CtrlDataRecord& d = CtrlData;
    const QString row = caps.last();
    const QString group = caps.size() == 3 ? caps[1] : QString();
    if (group == QLatin1String("CH1") || group == QLatin1String("CH2"))
        return applyAlternateRow(group == QLatin1String("CH2") ? 2 : 1, row, sel, input);
    if (group == QLatin1String("Code")) {
        const int n = digitalNumber(row);
        (d.TrigMethod == WordPattern ? d.PatternLevel : d.DurationLevel)[16 - n] = sel;
        SendPatternLevels(n);
        CtrlTreeChanged(CtrlTreeChange::Texts);
        return true;
    }
    const QString m = methodWord(d.TrigMethod);
    double number = 0;
    const bool numberRow = kTimeRows.contains(row);
    if (numberRow && !numberFrom(input, number)) return false;
    number = clampMagnitude(number, 1e20);
    if (row == QLatin1String("Method")) {
        CmdSet(Trigger + Mode, TriggerMethodToCmd(sel));
        d.TrigMethod = sel;
        if (sel == WordAlternation) d.TimeFormat = "Y-T"; // the instrument leaves X-Y
        CtrlTreeChanged(CtrlTreeChange::Shape);
        platform::Sleep(100);
        d.LaDisplay = SwitchFromReply(query(La + DisplayLeaf));
        GetTriggerMethod(d.TrigMethod);
    } else if (row == QLatin1String("Source")) {
        CmdSet(Trigger + m + Source, TriggerSourceToCmd(sel));
        GetTriggerMethod(d.TrigMethod);
        CtrlTreeChanged(CtrlTreeChange::Shape);
    } else if (row == QLatin1String("Mode")) {
        CmdSet(Trigger + m + Sweep, SweepToCmd(sel));
        GetTriggerMethod(d.TrigMethod);
    } else if (row == QLatin1String("Coupling")) {
        CmdSet(Trigger + m + Coupling, CouplingToCmd(sel));
        GetTriggerMethod(d.TrigMethod);
    } else if (row == QLatin1String("Level")) {
        CmdSet(Trigger + m + Level, LevelFromDiv(sel, query(Trigger + m + Source), CmdQuery));
        GetTriggerMethod(d.TrigMethod);
    } else if (row == QLatin1String("Sensitivity")) {
        CmdSet(Trigger + m + Sensitivity, sel);
        GetTriggerMethod(d.TrigMethod);
    } else if (row == QLatin1String("Holdoff")) {
        CmdSet(Trigger + Holdoff, TimeToCmdText(number));
        platform::Sleep(100);
        d.TrigHoldoff = NormTime3(query(Trigger + Holdoff));
        GetTriggerMethod(d.TrigMethod);
    } else if (row == QLatin1String("Slope")) {
        d.EdgeSlope = sel;
        CmdSet(Trigger + Edge + Slope, EdgeSlopeToCmd(sel));
    } else if (row == QLatin1String("Pulse mode")) {
        d.PulseMode = sel;
        CmdSet(Trigger + Pulse + Mode, PulseModeToCmd(sel));
    } else if (row == QLatin1String("Pulse width")) {
        CmdSet(Trigger + Pulse + Width, TimeToCmdText(number));
        d.PulseWidth = NormTime3(query(Trigger + Pulse + Width));
    } else if (row == QLatin1String("Polarity")) {
        d.VideoPolarity = sel;
        CmdSet(Trigger + Video + Polarity, VideoPolarityToCmd(sel));
    } else if (row == QLatin1String("Sync")) {
        d.VideoSync = sel;
        CmdSet(Trigger + Video + Mode, VideoSyncToCmd(sel));
    } else if (row == QLatin1String("Line number")) {
        d.VideoLine = sel;
        CmdSet(Trigger + Video + Line, sel);
    } else if (row == QLatin1String("Video Standard")) {
        d.VideoStandard = sel;
        CmdSet(Trigger + Video + Standard, VideoStandardToCmd(sel));
        platform::Sleep(100);
        d.VideoLine = query(Trigger + Video + Line);
    } else if (row == QLatin1String("Slope mode")) {
        d.SlopeMode = sel;
        CmdSet(Trigger + Slope + Mode, SlopeModeToCmd(sel));
    } else if (row == QLatin1String("Slope time")) {
        CmdSet(Trigger + Slope + Time, TimeToCmdText(number));
        d.SlopeTime = NormTime3(query(Trigger + Slope + Time));
    } else if (row == QLatin1String("LevelA") || row == QLatin1String("LevelB")) {
        const bool a = row == QLatin1String("LevelA");
        CmdSet(Trigger + Slope + (a ? LevelA : LevelB),
               LevelFromDiv(sel, query(Trigger + Slope + Source), CmdQuery));
        (a ? d.SlopeLevelA : d.SlopeLevelB) = sel;
    } else if (row == QLatin1String("Slope Window")) {
        d.SlopeWindow = sel;
        CmdSet(Trigger + Slope + Window, sel);
    } else if (row == QLatin1String("Qualifier")) {
        d.DurationQualifier = sel;
        CmdSet(Trigger + Duration + Qualifier, QualifierToCmd(sel));
    } else if (row == QLatin1String("Duration time")) {
        CmdSet(Trigger + Duration + Time, TimeToCmdText(number));
        platform::Sleep(100);
        d.DurationTime = NormTime3(query(Trigger + Duration + Time));
    }
    CtrlTreeChanged(CtrlTreeChange::Texts);
    return true;
}

bool applyOtherRow(const QString& row, const QString& sel) {
    CtrlDataRecord& d = CtrlData;
    if (row == QLatin1String("Run|Stop")) {
        d.RunStop = sel;
        CmdSend(RunStateToCmd(sel));
        if (query(Timebase + Format) != QLatin1String("SCANNING"))
            d.TimeDiv = NormTime4(query(Timebase + Scale));
    } else if (row == QLatin1String("Sampling Mode")) {
        CmdSet(Acquire + Mode, SamplingToCmd(sel));
        platform::Sleep(50);
        d.SamplingMode = SamplingFromReply(query(Acquire + Mode));
    } else if (row == QLatin1String("Acquisition")) {
        d.Acquisition = sel;
        CmdSet(Acquire + Type, AcquisitionToCmd(sel));
        CtrlTreeChanged(CtrlTreeChange::Shape);
        return true;
    } else if (row == QLatin1String("Averages")) {
        d.Averages = sel;
        CmdSet(Acquire + Averages, sel);
    } else if (row == QLatin1String("Type")) {
        CmdSet(Display + Type, DisplayTypeToCmd(sel));
        d.DisplayType = DisplayTypeFromReply(query(Display + Type));
    } else if (row == QLatin1String("Persist")) {
        d.DisplayPersist = sel;
        CmdSet(Display + Persist, SwitchToCmd(sel));
    } else if (row == QLatin1String("Grid")) {
        d.DisplayGrid = sel;
        CmdSet(Display + Grid, GridToCmd(sel));
    } else if (row == QLatin1String("Intensity")) {
        d.Intensity = sel;
    } else if (row == QLatin1String("Anti-aliasing")) {
        d.AntiAliasing = sel;
    }
    CtrlTreeChanged(CtrlTreeChange::Texts);
    return true;
}

} // namespace

namespace {
bool okWithPoint(const CtrlRowMatch& row, const QString& selected, const QString& input) {
    // An instrument that has gone answers nothing: close and store nothing.
    if (CmdQuery(Idn).isEmpty()) return true;
    const QStringList& caps = row.captions;
    const QString section = caps.value(0);
    if (caps.last() == QLatin1String("Method") && CtrlData.TimeFormat == QLatin1String("X-Y"))
        return true; // X-Y refuses a change of method
    bool done = true;
    if (section == QLatin1String("CH1") || section == QLatin1String("CH2"))
        done =
            applyChannelRow(section == QLatin1String("CH2") ? 2 : 1, caps.last(), selected, input);
    else if (section == QLatin1String("LA"))
        done = applyLaRow(caps, selected, input);
    else if (section == QLatin1String("Time Base"))
        done = applyTimeBaseRow(caps, selected, input);
    else if (section == QLatin1String("Trigger"))
        done = applyTriggerRow(caps, selected, input);
    else
        done = applyOtherRow(caps.last(), selected);
    if (!done) return false;
    CtrlDirty = true;
    return true;
}
} // namespace

bool CtrlDialogOK(const CtrlRowMatch& row, const QString& shownSelected, const QString& input) {
    // What the lists show goes to the instrument with the point; the row
    // then shows its value the display's way again.
    const bool closes = okWithPoint(row, PointForm(shownSelected), input);
    if (row.field) *row.field = ShownForm(*row.field);
    return closes;
}

bool CtrlDialogEnter(const CtrlRowMatch& row, int button, QString& input, const QString& choice) {
    if (!IsNumeric(input)) {
        platform::MsgBox(MsgNumberOnly, platform::MsgButtons::Ok, platform::MsgIcon::Exclamation);
        return false;
    }
    input = CStrNumber(PointForm(input.trimmed()).toDouble() * EnterUnit(button));
    return CtrlDialogOK(row, choice, input);
}

// ---- the window -------------------------------------------------------------------------

CtrlDialog::CtrlDialog(const CtrlRowMatch& row, const CtrlDialogLayout& layout, QWidget* parent)
    : QDialog(parent), row_(row) {
    setObjectName("CtrlDialog");
    setWindowTitle(FormText("frmCtrlList", "Caption"));
    Frame_ = new QGroupBox(layout.caption);
    Combo_ = new QComboBox;
    Combo_->setObjectName("Combo");
    Combo_->addItems(layout.items);
    Combo_->setCurrentIndex(std::max(0, static_cast<int>(layout.items.indexOf(layout.selected))));
    Combo_->setVisible(!layout.items.isEmpty());
    inputTxt_ = new QLineEdit(layout.input);
    inputTxt_->setObjectName("inputTxt");
    inputTxt_->setReadOnly(layout.inputReadOnly);
    inputTxt_->setVisible(!layout.unitButtons.isEmpty());
    auto* units = new QHBoxLayout;
    const char* captions[5] = {"mS", "uS", "nS", "pS", "mV"};
    for (int i = 0; i < 5; ++i) {
        auto* b = new QPushButton(captions[i]);
        b->setObjectName(QString("cmdEnter%1").arg(i));
        b->setVisible(layout.unitButtons.contains(i));
        connect(b, &QPushButton::clicked, this, [this, i] {
            platform::RunHandler("cmdEnter_Click", [this, i] { cmdEnter_Click(i); });
        });
        units->addWidget(b);
        cmdEnter_ << b;
    }
    // The threshold's fixed values show in the box; a user value can be typed.
    if (row.captions.last() == QLatin1String("Threshold")) {
        connect(Combo_, &QComboBox::currentTextChanged, this, [this](const QString& text) {
            static const QHash<QString, QString> fixed = {
                {"TTL", "1.4"}, {"ECL", "-1.3"}, {"CMOS", "2.5"}};
            inputTxt_->setText(ShownForm(fixed.value(text, "1.0")));
            inputTxt_->setReadOnly(fixed.contains(text));
        });
    }
    auto* frameLayout = new QVBoxLayout(Frame_);
    frameLayout->addWidget(Combo_);
    frameLayout->addWidget(inputTxt_);
    frameLayout->addLayout(units);
    auto* buttons = new QDialogButtonBox;
    auto* ok =
        buttons->addButton(FormText("CtrlDialogAdjust", "cmdOK"), QDialogButtonBox::AcceptRole);
    ok->setObjectName("cmdOK");
    auto* cancel =
        buttons->addButton(FormText("CtrlDialogAdjust", "cmdCancel"), QDialogButtonBox::RejectRole);
    cancel->setObjectName("cmdCancel");
    connect(ok, &QPushButton::clicked, this,
            [this] { platform::RunHandler("cmdOK_Click", [this] { cmdOK_Click(); }); });
    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
    auto* layoutBox = new QVBoxLayout(this);
    layoutBox->addWidget(Frame_);
    layoutBox->addWidget(buttons);
}

void CtrlDialog::cmdOK_Click() {
    if (CtrlDialogOK(row_, Combo_->currentText(), inputTxt_->text())) accept();
}

void CtrlDialog::cmdEnter_Click(int index) {
    QString text = inputTxt_->text();
    const bool done = CtrlDialogEnter(row_, index, text, Combo_->currentText());
    inputTxt_->setText(text);
    if (done) accept();
}
