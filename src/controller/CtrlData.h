// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// CtrlData: the one record of every instrument setting, each field a display
// text. It is the program's image of the instrument and the content of a
// control file. Slot i of the LA and pattern arrays is channel 16 - i.
#include "platform/Faults.h"
#include "shared/LoadLanguage.h"

#include <QList>
#include <QString>

using ChannelSlots = platform::FixedArray<QString, 0, 17>; // slots 1..16 used

struct AltEdgeFields {
    QString Slope, Coupling, Level, Sensitivity, Holdoff;
    bool operator==(const AltEdgeFields&) const = default;
};
struct AltPulseFields {
    QString Mode, Width, Coupling, Level, Sensitivity, Holdoff;
    bool operator==(const AltPulseFields&) const = default;
};
struct AltVideoFields {
    QString Polarity, Sync, Standard, Line, Level, Sensitivity, Holdoff;
    bool operator==(const AltVideoFields&) const = default;
};
struct AltSlopeFields {
    QString Mode, Time, Window, Coupling, LevelA, LevelB, Sensitivity, Holdoff;
    bool operator==(const AltSlopeFields&) const = default;
};

struct CtrlDataRecord {
    QString RunStop;
    QString Ch1Display, Ch1VoltDiv, Ch1Offset, Ch1Coupling, Ch1BwLimit, Ch1Probe, Ch1Invert;
    QString Ch2Display, Ch2VoltDiv, Ch2Offset, Ch2Coupling, Ch2BwLimit, Ch2Probe, Ch2Invert;
    QString LaDisplay;
    ChannelSlots LaChannel, LaPosition;
    QString LaThreshold, LaGroupHigh, LaGroupLow;
    QString LaSizeHigh, LaSizeLow; // not in the control file
    QString MathDisplay, FftDisplay;
    QString TimeDiv, AltTimeDiv1, AltTimeDiv2, TimeDelay, AltDelay1, AltDelay2;
    QString TrigHoldoff, MemorySize, TimeBaseFlag, TimeFormat, TrigMethod;
    QString EdgeSlope, EdgeSource, EdgeSweep, EdgeCoupling, EdgeSensitivity, EdgeLevel;
    QString PulseSource, PulseMode, PulseWidth, PulseCoupling, PulseSensitivity, PulseLevel,
        PulseSweep;
    QString VideoSource, VideoPolarity, VideoSync, VideoStandard, VideoLine, VideoSensitivity,
        VideoLevel;
    QString SlopeSource, SlopeMode, SlopeTime, SlopeWindow, SlopeLevelA, SlopeLevelB, SlopeCoupling,
        SlopeSensitivity, SlopeSweep;
    QString AltType1, AltType2;
    AltEdgeFields AltEdge1, AltEdge2;
    AltPulseFields AltPulse1, AltPulse2;
    AltVideoFields AltVideo1, AltVideo2;
    AltSlopeFields AltSlope1, AltSlope2;
    QString PatternSource;
    ChannelSlots PatternLevel;
    QString PatternSweep, DurationQualifier;
    ChannelSlots DurationLevel;
    QString DurationTime, DurationSweep, DurationFlag;
    QString SamplingMode, Acquisition, Averages, Intensity, AntiAliasing;
    QString DisplayType, DisplayPersist, DisplayGrid;

    bool operator==(const CtrlDataRecord&) const = default;
};

extern CtrlDataRecord CtrlData;

// The values after New, in the current language.
CtrlDataRecord CtrlDataDefaults();
// The fields of lines 2 to 194 of a control file, in their order (193).
QList<QString*> ControlFileFields(CtrlDataRecord& record);
// The word-valued fields with their groups, for the language change.
QList<WordField> CtrlWordFields(CtrlDataRecord& record);
// Hands CtrlData's word fields to TranslateParameters.
void RegisterCtrlDataForTranslation();
