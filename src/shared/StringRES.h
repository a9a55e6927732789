// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// The message texts and the display words of the instrument's enumerated
// values, one global text each, in the current language. Every part of the
// program uses the variable and so gets the chosen language.
#include <QList>
#include <QString>

// ---- messages --------------------------------------------------------------
extern QString MsgDeviceNotFound, MsgConnectTitle, MsgRefreshStub, MsgSysInfoUnavailable,
    MsgConnectFirst, MsgQueryOnly, MsgNumberOnly, MsgRootNameFixed, MsgBadZoom, MsgBadSheetFile,
    MsgTooManyFiles, MsgOpenSheetFirst, MsgBadFile, MsgCantConnect, MsgDeviceInit, MsgDeviceSend,
    MsgDeviceRead, MsgReadTimeout, MsgCantRead, MsgBadNumber, MsgFileFail, MsgBadChannelData,
    MsgFileError, MsgBadWaveform, MsgRs232Init, MsgBadPort, MsgRs232Send, MsgSaveSheet, MsgSaveCtrl,
    MsgPositionLimit;

// ---- display words ---------------------------------------------------------
extern QString WordRun, WordStop;  // run state
extern QString WordOn, WordOff;    // switch
extern QString WordUser;           // threshold
extern QString WordBig, WordSmall; // group size
extern QString WordEdge, WordPulse, WordVideo, WordSlope, WordAlternation, WordPattern,
    WordDuration;          // trigger method
extern QString WordAcLine; // mains as source
extern QString WordCouplingAc, WordCouplingDc, WordCouplingLf, WordCouplingHf, WordCouplingGnd;
extern QString WordSweepAuto, WordSweepNormal, WordSweepSingle;
extern QString WordRising, WordFalling, WordBothEdges; // edge
extern QString WordPlusLess, WordMinusLess, WordPlusGreater, WordMinusGreater, WordPlusEqual,
    WordMinusEqual;                                                 // pulse condition
extern QString WordPositive, WordNegative;                          // polarity
extern QString WordAllLines, WordLine, WordOddField, WordEvenField; // video sync
extern QString WordSlopePlusLess, WordSlopeMinusLess, WordSlopePlusGreater, WordSlopeMinusGreater,
    WordSlopePlusEqual, WordSlopeMinusEqual;               // slope condition
extern QString WordLess, WordGreater, WordEqual;           // duration qualifier
extern QString WordRealTime, WordEqualTime;                // sampling
extern QString WordAcqNormal, WordAcqPeak, WordAcqAverage; // acquire type
extern QString WordVectors, WordDots;                      // display type
extern QString WordGridFull, WordGridHalf, WordGridNone;   // grid

// The enumerated parameters; a word belongs to exactly one group, so words
// that read alike ("AC", "NORMAL") translate by their own group.
enum class WordGroup {
    RunState,
    Switch,
    Threshold,
    GroupSize,
    TriggerMethod,
    AcLineSource,
    Coupling,
    Sweep,
    Edge,
    PulseCondition,
    Polarity,
    VideoSync,
    SlopeCondition,
    Qualifier,
    Sampling,
    AcquireType,
    DisplayType,
    Grid
};

// Language 0 is Chinese, 1 English; any other index changes nothing.
void ApplyMessageTable(int index);
void ApplyDisplayWords(int index);

// The word of a group's row in a language (0 or 1), and the row of a word.
QList<QString> GroupWords(WordGroup group, int index);
int GroupRowOf(WordGroup group, int index, const QString& word); // -1 when absent

// Every message row: variable name, English, Chinese (for completeness checks).
struct TextRow {
    const char* key;
    const char* english;
    const char* chinese;
};
QList<TextRow> MessageRows();
QList<TextRow> DisplayWordRows();

// The program's own messages beside the table: a run-time error's text (the
// ones the file readers give), the settings folder that cannot be
// written, the help page that cannot be opened; in the caption language.
QString RuntimeErrorText(const QString& english);
QString SettingsUnwritableText(const QString& path);
QString HelpUnavailableText(const QString& error);
// Short notes for the status bar about what just happened.
QString SavedToText(const QString& path);
QString ExportedToText(const QString& path);
QString DownloadedText();
QString UploadedText();
