// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// Value text: the contract between the instrument's words and numbers, the
// display text of the tree and dialogs, and the set-words sent back. Pure
// functions, but for the ValueTextValid flag, the display words of the
// current language, and the two that ask the instrument for a scale.
#include "platform/Faults.h"

#include <QString>
#include <QStringList>
#include <functional>

// ---- text to number --------------------------------------------------------
// Set by the five parsers: true when they delivered a number, false when they
// returned 0 for a text they could not read. Callers test it right after.
extern bool ValueTextValid;

double ParsePercentText(const QString& text);  // "25.0%" -> 0.25
double ParseFreqText(const QString& text);     // "1.000kHz" -> 1000 ("m" milli, "M" mega)
double ParseVoltText(const QString& text);     // "2.00mV" -> 0.002 (p n u m k)
double ParseTimeText(const QString& text);     // "10.0us" -> 1e-5 (p n u m)
double ParseVoltTextWide(const QString& text); // measure limits (u m k M)
// "2.5ns" -> "2.500E-9": the time as the instrument takes it; empty when unreadable.
QString TimeTextToExpText(const QString& text);

// ---- number to display text (read with Val into a 32-bit float) --------------
QString NormVolt(const QString& text);
QString NormTime3(const QString& text);
QString NormTime4(const QString& text);
QString NormTime5(const QString& text);
QString NormFreq(const QString& text);
QString NormDB(const QString& text);
QString NormPercent(const QString& text);
// value / scale as "0.10div"; writes the Val-normalised scale back. A zero
// scale is an arithmetic fault.
QString NormDiv(const QString& value, QString& scale);

// ---- number to dialog fields --------------------------------------------------
// The number box text, the unit row to select (-1: leave the selection as it
// is) and the number followed by the selected row's unit word.
struct SplitResult {
    QString number;
    int unitRow = -1;
    QString joined;
};
inline const QStringList kVoltUnits = {"MV", "kV", "V", "mV", "uV"};
inline const QStringList kFreqUnits = {"GHz", "MHz", "KHz", "Hz", "mHz"};
inline const QStringList kTimeUnits = {"ps", "ns", "us", "ms", "s"};
// currentRow: the row the unit list shows now (used when out of range).
SplitResult SplitVoltToUnit(double value, int currentRow = 2);
SplitResult SplitFreqToUnit(double value, int currentRow = 3);
SplitResult SplitTimeToUnit(double value, int currentRow = 4);
SplitResult SplitPercentToText(double value);

// ---- numbers for commands (always a point) --------------------------------------
QString TimeToCmdText(double seconds); // "1.0ns", "0.005us", "2.5s"
QString VoltToCmdText(double volts);   // "1.0nv", "500.0mv", "1.0v"
QString TimeToCmdTextDot(double seconds);

// ---- word mappings: display word <-> instrument word ---------------------------
// ...ToCmd: the display word of the current language to the set-word (an
// unknown word gives the last row's set-word). ...FromReply: the reply to the
// display word (an unmatched reply gives the last row's word, or as noted).
QString RunStateToCmd(const QString& word); // the whole command ":RUN" / ":STOP"
QString RunStateFromReply(const QString& reply);
QString SwitchToCmd(const QString& word);
QString SwitchFromReply(const QString& reply); // "ON" or "1" is on
QString SizeToCmd(const QString& word);
QString SizeFromReply(const QString& reply);
QString SamplingToCmd(const QString& word);
QString SamplingFromReply(const QString& reply);
QString AcquisitionToCmd(const QString& word);
QString AcquisitionFromReply(const QString& reply);
QString DisplayTypeToCmd(const QString& word);
QString DisplayTypeFromReply(const QString& reply);
QString GridToCmd(const QString& word);
QString GridFromReply(const QString& reply);
QString TriggerMethodToCmd(const QString& word);
QString TriggerMethodFromReply(const QString& reply);
QString SweepToCmd(const QString& word);
QString SweepFromReply(const QString& reply); // unmatched: empty
QString CouplingToCmd(const QString& word);
QString CouplingFromReply(const QString& reply);
QString EdgeSlopeToCmd(const QString& word);
QString EdgeSlopeFromReply(const QString& reply);
QString PulseModeToCmd(const QString& word);
QString PulseModeFromReply(const QString& reply);
QString SlopeModeToCmd(const QString& word);
QString SlopeModeFromReply(const QString& reply);
QString VideoPolarityToCmd(const QString& word);
QString VideoPolarityFromReply(const QString& reply);
QString VideoSyncToCmd(const QString& word);
QString VideoSyncFromReply(const QString& reply);
QString QualifierToCmd(const QString& word);
QString QualifierFromReply(const QString& reply);
QString TimeFormatToCmd(const QString& text);         // "Y-T" "X-Y" else "SCANNING"
QString TimeFormatFromReply(const QString& reply);    // "SCANNING" -> "Roll", else as is
QString VideoStandardToCmd(const QString& text);      // "PAL/SECAM" -> "PALSECAM"
QString TriggerSourceToCmd(const QString& source);    // "CH1" -> "CHANNEL1", "D7" -> "DIGITAL7"
QString TriggerSourceFromReply(const QString& reply); // "ACLINE" -> WordAcLine
QString ProbeToCmd(const QString& probe);             // "1000X" -> "1000"

QString ThresholdFromReply(const QString& reply); // "User 1.5" -> NormVolt of the value
QString ThresholdToDisplay(const QString& text);
QString ProbeFromReply(const QString& reply); // "10" -> "10X", unmatched "1000X"

// The 16 pattern levels, slot 1 is D15 and slot 16 is D0.
using PatternLevels = platform::FixedArray<QString, 0, 17>;
void PatternReplyToLevels(const QString& reply, PatternLevels& levels);

// ---- raw numbers of the record and waveform files --------------------------------
double HexTextToNumber(const QString& text);
double PicosecondsToSeconds(qint32 lowWord, qint32 highWord);
double PointsToValue(double points, double scale); // 25 points a division
short ValueToPoints(double value, double scale);   // half to even; overflow faults
// One rung down (direction < 1) or up the 1-2-5 ladder, in seconds.
double NextTimeScale(double seconds, double direction);
// The volts-per-division word under a probe to the 1X word sent to the instrument.
QString ProbeScaledToBase(const QString& scaleText, const QString& probeText);

// ---- values that need the instrument ----------------------------------------------
// The query is CmdQuery in the program; tests hand in their own.
using InstrumentQuery = std::function<QString(const QString& command)>;
QString TriggerScaleForSource(const QString& source, const InstrumentQuery& query);
// divisions * scale - offset of the source, as plain number text: the volts of a level.
QString LevelFromDiv(const QString& divText, const QString& source, const InstrumentQuery& query);
