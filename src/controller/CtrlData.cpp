// SPDX-License-Identifier: GPL-3.0-or-later
#include "controller/CtrlData.h"

#include "link/Connection.h"
#include "link/NQ4000Cmd.h"
#include "shared/StringRES.h"
#include "shared/ValueText.h"

CtrlDataRecord CtrlData;

CtrlDataRecord CtrlDataDefaults() {
    CtrlDataRecord d;
    d.RunStop = WordRun;
    for (QString* ch : {&d.Ch1Display, &d.Ch2Display})
        *ch = WordOff;
    d.Ch1Display = WordOn;
    d.Ch1VoltDiv = d.Ch2VoltDiv = "1.00V";
    d.Ch1Offset = d.Ch2Offset = "0.00mV";
    d.Ch1Coupling = d.Ch2Coupling = WordCouplingAc;
    d.Ch1BwLimit = d.Ch2BwLimit = WordOff;
    d.Ch1Probe = d.Ch2Probe = "1X";
    d.Ch1Invert = d.Ch2Invert = WordOff;
    d.LaDisplay = WordOff;
    for (int i = 1; i <= 16; ++i) {
        d.LaChannel[i] = WordOff;
        d.LaPosition[i] = "0";
        d.PatternLevel[i] = "H";
        d.DurationLevel[i] = "H";
    }
    d.LaThreshold = "TTL";
    d.LaGroupHigh = d.LaGroupLow = WordOff;
    d.LaSizeHigh = d.LaSizeLow = WordBig;
    d.TimeDiv = d.AltTimeDiv1 = d.AltTimeDiv2 = "10.00us";
    d.TimeDelay = d.AltDelay1 = d.AltDelay2 = "0.0000s";
    d.TrigHoldoff = "100ns";
    d.MemorySize = "4000";
    d.TimeFormat = "Y-T";
    d.TrigMethod = WordEdge;
    d.EdgeSlope = WordRising;
    d.EdgeSource = "CH1";
    d.EdgeSweep = WordSweepAuto;
    d.EdgeCoupling = WordCouplingDc;
    d.EdgeSensitivity = "0.10div";
    d.EdgeLevel = "0.00div";
    d.PulseSource = "CH1";
    d.PulseMode = WordPlusLess;
    d.PulseWidth = "1us";
    d.PulseCoupling = WordCouplingDc;
    d.PulseSensitivity = "0.10div";
    d.PulseLevel = "0.00div";
    d.PulseSweep = WordSweepAuto;
    d.VideoSource = "CH1";
    d.VideoPolarity = WordPositive;
    d.VideoSync = WordLine;
    d.VideoStandard = "NTSC";
    d.VideoLine = "1";
    d.VideoSensitivity = "0.10div";
    d.VideoLevel = "0.00div";
    d.SlopeSource = "CH1";
    d.SlopeMode = WordPlusLess; // the pulse row, not the slope row
    d.SlopeTime = "1us";
    d.SlopeWindow = "PA";
    d.SlopeLevelA = "0.00div";
    d.SlopeLevelB = "0.20div";
    d.SlopeCoupling = WordCouplingDc;
    d.SlopeSensitivity = "0.10div";
    d.SlopeSweep = WordSweepAuto;
    d.AltType1 = d.AltType2 = WordEdge;
    for (AltEdgeFields* e : {&d.AltEdge1, &d.AltEdge2})
        *e = {WordRising, WordCouplingDc, "0.00div", "0.10div", "100ns"};
    d.AltPulse1 = {WordPlusLess, "1us", WordCouplingDc, "0.00div", "0.10div", "100ns"};
    d.AltPulse2 = d.AltPulse1;
    d.AltPulse2.Mode = "+Less Than"; // fixed English in either language
    for (AltVideoFields* v : {&d.AltVideo1, &d.AltVideo2})
        *v = {WordPositive, WordLine, "NTSC", "1", "0.00div", "0.10div", "100ns"};
    for (AltSlopeFields* s : {&d.AltSlope1, &d.AltSlope2})
        *s = {WordPlusLess, "1us", "PA", WordCouplingDc, "0.00div", "0.00div", "0.10div", "100ns"};
    d.PatternSource = "D0";
    d.PatternSweep = WordSweepAuto;
    d.DurationQualifier = WordLess;
    d.DurationTime = "1us";
    d.DurationSweep = WordSweepAuto;
    d.DurationFlag = "H";
    d.SamplingMode = WordRealTime;
    d.Acquisition = WordAcqNormal;
    d.Averages = "16";
    d.Intensity = "3%";
    d.AntiAliasing = WordOff;
    d.DisplayType = WordVectors;
    d.DisplayPersist = WordOff;
    d.DisplayGrid = WordGridFull;
    return d;
}

QList<QString*> ControlFileFields(CtrlDataRecord& d) {
    QList<QString*> f = {&d.RunStop,     &d.Ch1Display, &d.Ch1VoltDiv, &d.Ch1Offset,
                         &d.Ch1Coupling, &d.Ch1BwLimit, &d.Ch1Probe,   &d.Ch1Invert,
                         &d.Ch2Display,  &d.Ch2VoltDiv, &d.Ch2Offset,  &d.Ch2Coupling,
                         &d.Ch2BwLimit,  &d.Ch2Probe,   &d.Ch2Invert,  &d.LaDisplay};
    for (int i = 1; i <= 16; ++i)
        f << &d.LaChannel[i];
    for (int i = 1; i <= 16; ++i)
        f << &d.LaPosition[i];
    f << &d.LaThreshold << &d.LaGroupHigh << &d.LaGroupLow;
    f << &d.MathDisplay << &d.FftDisplay << &d.TimeDiv << &d.AltTimeDiv1 << &d.AltTimeDiv2
      << &d.TimeDelay << &d.AltDelay1 << &d.AltDelay2 << &d.TrigHoldoff << &d.MemorySize
      << &d.TimeBaseFlag << &d.TimeFormat << &d.TrigMethod;
    f << &d.EdgeSlope << &d.EdgeSource << &d.EdgeSweep << &d.EdgeCoupling << &d.EdgeSensitivity
      << &d.EdgeLevel;
    f << &d.PulseSource << &d.PulseMode << &d.PulseWidth << &d.PulseCoupling << &d.PulseSensitivity
      << &d.PulseLevel << &d.PulseSweep;
    f << &d.VideoSource << &d.VideoPolarity << &d.VideoSync << &d.VideoStandard << &d.VideoLine
      << &d.VideoSensitivity << &d.VideoLevel;
    f << &d.SlopeSource << &d.SlopeMode << &d.SlopeTime << &d.SlopeWindow << &d.SlopeLevelA
      << &d.SlopeLevelB << &d.SlopeCoupling << &d.SlopeSensitivity << &d.SlopeSweep;
    f << &d.AltType1 << &d.AltType2;
    for (AltEdgeFields* e : {&d.AltEdge1, &d.AltEdge2})
        f << &e->Slope << &e->Coupling << &e->Level << &e->Sensitivity << &e->Holdoff;
    for (AltPulseFields* p : {&d.AltPulse1, &d.AltPulse2})
        f << &p->Mode << &p->Width << &p->Coupling << &p->Level << &p->Sensitivity << &p->Holdoff;
    for (AltVideoFields* v : {&d.AltVideo1, &d.AltVideo2})
        f << &v->Polarity << &v->Sync << &v->Standard << &v->Line << &v->Level << &v->Sensitivity
          << &v->Holdoff;
    for (AltSlopeFields* s : {&d.AltSlope1, &d.AltSlope2})
        f << &s->Mode << &s->Time << &s->Window << &s->Coupling << &s->LevelA << &s->LevelB
          << &s->Sensitivity << &s->Holdoff;
    f << &d.PatternSource;
    for (int i = 1; i <= 16; ++i)
        f << &d.PatternLevel[i];
    f << &d.PatternSweep << &d.DurationQualifier;
    for (int i = 1; i <= 16; ++i)
        f << &d.DurationLevel[i];
    f << &d.DurationTime << &d.DurationSweep << &d.DurationFlag << &d.SamplingMode << &d.Acquisition
      << &d.Averages << &d.Intensity << &d.AntiAliasing << &d.DisplayType << &d.DisplayPersist
      << &d.DisplayGrid;
    return f;
}

QList<WordField> CtrlWordFields(CtrlDataRecord& d) {
    using G = WordGroup;
    QList<WordField> f = {{&d.RunStop, G::RunState},
                          {&d.Ch1Display, G::Switch},
                          {&d.Ch1Coupling, G::Coupling},
                          {&d.Ch1BwLimit, G::Switch},
                          {&d.Ch1Invert, G::Switch},
                          {&d.Ch2Display, G::Switch},
                          {&d.Ch2Coupling, G::Coupling},
                          {&d.Ch2BwLimit, G::Switch},
                          {&d.Ch2Invert, G::Switch},
                          {&d.LaDisplay, G::Switch},
                          {&d.LaGroupHigh, G::Switch},
                          {&d.LaGroupLow, G::Switch},
                          {&d.LaSizeHigh, G::GroupSize},
                          {&d.LaSizeLow, G::GroupSize},
                          {&d.MathDisplay, G::Switch},
                          {&d.FftDisplay, G::Switch},
                          {&d.TimeBaseFlag, G::Switch},
                          {&d.TrigMethod, G::TriggerMethod},
                          {&d.EdgeSlope, G::Edge},
                          {&d.EdgeSource, G::AcLineSource},
                          {&d.EdgeSweep, G::Sweep},
                          {&d.EdgeCoupling, G::Coupling},
                          {&d.PulseSource, G::AcLineSource},
                          {&d.PulseMode, G::PulseCondition},
                          {&d.PulseCoupling, G::Coupling},
                          {&d.PulseSweep, G::Sweep},
                          {&d.VideoSource, G::AcLineSource},
                          {&d.VideoPolarity, G::Polarity},
                          {&d.VideoSync, G::VideoSync},
                          {&d.SlopeSource, G::AcLineSource},
                          {&d.SlopeMode, G::SlopeCondition},
                          {&d.SlopeCoupling, G::Coupling},
                          {&d.SlopeSweep, G::Sweep},
                          {&d.AltType1, G::TriggerMethod},
                          {&d.AltType2, G::TriggerMethod},
                          {&d.PatternSweep, G::Sweep},
                          {&d.DurationQualifier, G::Qualifier},
                          {&d.DurationSweep, G::Sweep},
                          {&d.SamplingMode, G::Sampling},
                          {&d.Acquisition, G::AcquireType},
                          {&d.AntiAliasing, G::Switch},
                          {&d.DisplayType, G::DisplayType},
                          {&d.DisplayPersist, G::Switch},
                          {&d.DisplayGrid, G::Grid}};
    // The slope mode's initial word is the pulse row's, and the language
    // change compares it in that family: pulse words first, then slope words.
    f << WordField{&d.SlopeMode, G::PulseCondition} << WordField{&d.SlopeMode, G::SlopeCondition};
    for (int i = 1; i <= 16; ++i) {
        f << WordField{&d.LaChannel[i], G::Switch} << WordField{&d.PatternLevel[i], G::Edge};
    }
    for (AltEdgeFields* e : {&d.AltEdge1, &d.AltEdge2})
        f << WordField{&e->Slope, G::Edge} << WordField{&e->Coupling, G::Coupling};
    for (AltPulseFields* p : {&d.AltPulse1, &d.AltPulse2})
        f << WordField{&p->Mode, G::PulseCondition} << WordField{&p->Coupling, G::Coupling};
    for (AltVideoFields* v : {&d.AltVideo1, &d.AltVideo2})
        f << WordField{&v->Polarity, G::Polarity} << WordField{&v->Sync, G::VideoSync};
    for (AltSlopeFields* s : {&d.AltSlope1, &d.AltSlope2})
        f << WordField{&s->Mode, G::PulseCondition} << WordField{&s->Mode, G::SlopeCondition}
          << WordField{&s->Coupling, G::Coupling};
    return f;
}

namespace {
// The math display is the controller's to keep: read at every connect, off
// when no instrument was identified. Registered with the link as this module
// is loaded, so every program and test that holds the record hears it.
void takeMathDisplayAtConnect(bool identified) {
    CtrlData.MathDisplay =
        identified ? SwitchFromReply(CutAtLineFeed(CmdQuery(QueryCommand(cmd::MathDisplay))))
                   : WordOff;
}
[[maybe_unused]] const bool g_hearsConnects = [] {
    SetConnectListener(takeMathDisplayAtConnect);
    return true;
}();
} // namespace

void RegisterCtrlDataForTranslation() {
    SetTranslatableFields([] { return CtrlWordFields(CtrlData); });
}
