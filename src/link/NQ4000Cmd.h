// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// The instrument's wire protocol as the program uses it: one constant per
// command word, the composition of set and query lines, and the two
// operations everything above the transport calls, CmdSend and CmdQuery.
#include "shared/ReplyText.h"

#include <QString>
#include <QStringList>

namespace cmd {
// Roots.
inline const QString Timebase = QStringLiteral(":TIMEBASE");
inline const QString Channel1 = QStringLiteral(":CHANNEL1");
inline const QString Channel2 = QStringLiteral(":CHANNEL2");
inline const QString Channel = QStringLiteral(":CHANNEL"); // with :ACTIVE
inline const QString Acquire = QStringLiteral(":ACQUIRE");
inline const QString Display = QStringLiteral(":DISPLAY");
inline const QString Math = QStringLiteral(":MATH");
inline const QString Fft = QStringLiteral(":FFT");
inline const QString La = QStringLiteral(":LA");
inline const QString Digital = QStringLiteral(":DIGITAL"); // followed by the channel number
inline const QString Trigger = QStringLiteral(":TRIGGER");
inline const QString Measure = QStringLiteral(":MEASURE");
inline const QString Waveform = QStringLiteral(":WAVEFORM");
inline const QString System = QStringLiteral(":SYSTEM");
inline const QString Lcd = QStringLiteral(":LCD");
inline const QString Key = QStringLiteral(":KEY");
inline const QString Rs232 = QStringLiteral(":RS232");
// Plain commands.
inline const QString Idn = QStringLiteral("*IDN?");
inline const QString Run = QStringLiteral(":RUN");
inline const QString Stop = QStringLiteral(":STOP");
inline const QString ForceTrig = QStringLiteral(":FORCETRIG");
inline const QString AutoSet = QStringLiteral(":AUTO");
inline const QString Trig50 = QStringLiteral(":TRIG%50");
// The one command sent in long form with lower-case letters, spelled as it goes out.
inline const QString PointsModeNormal = QStringLiteral(":WAVeform:POINts:MODE NORmal");
// Leaves.
inline const QString Format = QStringLiteral(":FORMAT");
inline const QString Scale = QStringLiteral(":SCALE");
inline const QString Offset = QStringLiteral(":OFFSET");
inline const QString DisplayLeaf = QStringLiteral(":DISPLAY");
inline const QString BwLimit = QStringLiteral(":BWLIMIT");
inline const QString Coupling = QStringLiteral(":COUPLING");
inline const QString Probe = QStringLiteral(":PROBE");
inline const QString Invert = QStringLiteral(":INVERT");
inline const QString Active = QStringLiteral(":ACTIVE");
inline const QString Type = QStringLiteral(":TYPE");
inline const QString Mode = QStringLiteral(":MODE");
inline const QString Averages = QStringLiteral(":AVERAGES");
inline const QString Samp = QStringLiteral(":SAMP");
inline const QString Grid = QStringLiteral(":GRID");
inline const QString Persist = QStringLiteral(":PERSIST");
inline const QString Clear = QStringLiteral(":CLEAR");
inline const QString Status = QStringLiteral(":STATUS");
inline const QString Location = QStringLiteral(":LOCATION");
inline const QString Threshold = QStringLiteral(":THRESHOLD");
inline const QString Group1 = QStringLiteral(":GROUP1");
inline const QString Group2 = QStringLiteral(":GROUP2");
inline const QString Size = QStringLiteral(":SIZE");
inline const QString Turn = QStringLiteral(":TURN");
inline const QString Position = QStringLiteral(":POSITION");
inline const QString Reset = QStringLiteral(":RESET");
inline const QString Holdoff = QStringLiteral(":HOLDOFF");
inline const QString Edge = QStringLiteral(":EDGE");
inline const QString Pulse = QStringLiteral(":PULSE");
inline const QString Video = QStringLiteral(":VIDEO");
inline const QString Slope = QStringLiteral(":SLOPE");
inline const QString Alternation = QStringLiteral(":ALTERNATION");
inline const QString Pattern = QStringLiteral(":PATTERN");
inline const QString Duration = QStringLiteral(":DURATION");
inline const QString Source = QStringLiteral(":SOURCE");
inline const QString Sweep = QStringLiteral(":SWEEP");
inline const QString Level = QStringLiteral(":LEVEL");
inline const QString LevelA = QStringLiteral(":LEVELA");
inline const QString LevelB = QStringLiteral(":LEVELB");
inline const QString Sensitivity = QStringLiteral(":SENSITIVITY");
inline const QString Width = QStringLiteral(":WIDTH");
inline const QString Polarity = QStringLiteral(":POLARITY");
inline const QString Line = QStringLiteral(":LINE");
inline const QString Standard = QStringLiteral(":STANDARD");
inline const QString Time = QStringLiteral(":TIME");
inline const QString Window = QStringLiteral(":WINDOW");
inline const QString Qualifier = QStringLiteral(":QUALIFIER");
inline const QString TimeScale = QStringLiteral(":TIMESCALE");
inline const QString TimeOffset = QStringLiteral(":TIMEOFFSET");
inline const QString Data = QStringLiteral(":DATA");
inline const QString SysMemSize = QStringLiteral(":SYSMEMSIZE");
inline const QString Lock = QStringLiteral(":LOCK");
inline const QString Baud = QStringLiteral(":BAUD");
// Value words.
inline const QString On = QStringLiteral("ON");
inline const QString Off = QStringLiteral("OFF");
inline const QString Enable = QStringLiteral("ENABLE");
inline const QString Disable = QStringLiteral("DISABLE");
inline const QString ArgChannel1 = QStringLiteral("CHANNEL1");
inline const QString ArgChannel2 = QStringLiteral("CHANNEL2");
inline const QString ArgMath = QStringLiteral("MATH");
inline const QString ArgFft = QStringLiteral("FFT");
inline const QString ArgDigital = QStringLiteral("DIGITAL");
// Composed headers used by more than one part.
inline const QString KeyLock = Key + Lock;
inline const QString Rs232Baud = Rs232 + Baud;
inline const QString MathDisplay = Math + DisplayLeaf;
inline const QString FftDisplay = Fft + DisplayLeaf;
inline const QString TriggerStatus = Trigger + Status;
inline const QString SystemData = System + Data;
inline const QString LcdData = Lcd + Data;
inline const QString WaveformData = Waveform + Data;
inline const QString DisplayClear = Display + Clear;
inline const QString LaPositionReset = La + Position + Reset;
inline const QString TriggerAlternation = Trigger + Alternation;
inline const QString AlternationSource = TriggerAlternation + Source;

// The measure query words, in the order of the eighteen measures' slots.
inline const QStringList MeasureWords = {
    QStringLiteral(":VPP"),        QStringLiteral(":VMAX"),       QStringLiteral(":VMIN"),
    QStringLiteral(":VAVERAGE"),   QStringLiteral(":VTOP"),       QStringLiteral(":VBASE"),
    QStringLiteral(":VRMS"),       QStringLiteral(":FREQUENCY"),  QStringLiteral(":RISETIME"),
    QStringLiteral(":FALLTIME"),   QStringLiteral(":PERIOD"),     QStringLiteral(":PWIDTH"),
    QStringLiteral(":NWIDTH"),     QStringLiteral(":OVERSHOOT"),  QStringLiteral(":PRESHOOT"),
    QStringLiteral(":VAMPLITUDE"), QStringLiteral(":PDUTYCYCLE"), QStringLiteral(":NDUTYCYCLE")};

// The front panel keys: ":KEY:" followed by the name.
inline const QStringList KeyNames = {
    "ACQUIRE",     "AUTO",         "CHANNEL1",     "CHANNEL2",    "COPY",         "CURSOR",
    "DISPLAY",     "F1",           "F2",           "F3",          "F4",           "F5",
    "FORCE",       "+FUNCTION",    "-FUNCTION",    "FUNCTION",    "H_POS_DEC",    "H_POS_INC",
    "H_SCALE_DEC", "H_SCALE_INC",  "LA",           "MATH",        "MEASURE",      "MNUOFF",
    "MNUTIME",     "MNUTRIG",      "OFF",          "PROMPT_H",    "PROMPT_H_POS", "PROMPT_TRIG_LVL",
    "PROMPT_V",    "PROMPT_V_POS", "REF",          "RUN",         "STORAGE",      "TRIG%50",
    "TRIG_AUTO",   "TRIG_LVL_DEC", "TRIG_LVL_INC", "TRIG_NORMAL", "UTILITY",      "V_POS_DEC",
    "V_POS_INC",   "V_SCALE_DEC",  "V_SCALE_INC"};
QString KeyCommand(const QString& name); // ":KEY:" + name
QString ChannelRoot(int channel);        // ":CHANNEL1" or ":CHANNEL2"
QString DigitalRoot(int channel);        // ":DIGITAL7"
} // namespace cmd

// A set is header, one blank, value; a query is header and "?"; a query with
// an argument puts it behind the "?" with one blank.
QString SetCommand(const QString& header, const QString& value);
QString QueryCommand(const QString& header);
QString QueryCommand(const QString& header, const QString& argument);

// Fire and forget: the transport's write, then 200 ms on USB, 100 ms on RS232.
void CmdSend(const QString& text);
// CmdSend of a set command whose value is a display text: the tree keeps
// numbers as the display shows them ("1,20V" under a comma locale), the
// instrument reads only the point.
void CmdSet(const QString& header, const QString& shownValue);
// Send and read one reply line; empty text is the sign of failure.
QString CmdQuery(const QString& text);
// Every command and text reply as it goes ("> " and "< " before them), for a
// log of the exchange (the command line's -v); nullptr stops it.
using CommandLog = void (*)(const QString& line);
void SetCommandLog(CommandLog log);

// A stand-in for both transports, for tests of the parts above the link.
class LinkTransport {
public:
    virtual ~LinkTransport() = default;
    virtual void Send(const QString& command) = 0;
    virtual QString Query(const QString& command) = 0;
};
void SetLinkTransport(LinkTransport* transport); // nullptr: the real transports
