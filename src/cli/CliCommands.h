// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// The commands of korvane-cli, each over a checked request: the command line
// (Cli.cpp) reads and checks the words, connects, repeats and ends; these do
// the work with the program's own jobs, texts and files.
#include <QString>
#include <QStringList>
#include <cmath>
#include <functional>

struct CliRequest {
    QString command;
    QStringList args; // the positional words after the command
    QString resource, rs232;
    bool chinese = false;
    int repeat = 1;
    double interval = 0; // wall-clock seconds
    QString out, limits, png, lcd, ult;
    int frame = 1;
    bool json = false, verbose = false;
    QStringList decoders; // -P: one stack each
    int window = 1;       // spectrum: Rectangle, Hanning, Hamming, Blackman
    int channel = 1;      // spectrum of a file
    int averages = 1;
    int stats = 0; // measure --stats N: refreshes for the statistics
    double from = std::nan(""), to = std::nan(""); // seconds, spectrum of a file
    double threshold = 1.4;                        // volts, for CH1/CH2 as decoder channels
    double hysteresis = 0.2;
    // log and log-export
    QString db, instrument, fromTime, toTime; // times as given (ISO 8601)
    qint64 count = 0;
    double duration = 0; // seconds
    bool keepFailingScreens = false;
};

// The command's own words (a source, get or put), checked before anything is
// connected; empty when they read, else the one line to print.
QString CheckCommandWords(const CliRequest& r);
// What an instrument command reads before connecting (a control file for
// put, a limits file): 0, or the exit status after the message.
int PrepareInstrumentCommand(const CliRequest& r);
// One round of an instrument command (round counts from 0): its status.
int RunInstrumentCommand(const CliRequest& r, int round);
// A command on files alone.
int RunFileCommand(const CliRequest& r);

struct Capture;
// The capture of a deep-memory file or of a record's frame; empty with
// *error ("PATH: reason") when it cannot be read.
Capture CaptureOfFile(const QString& path, int frame, QString* error, bool withAnalog = true);
// decode: its -P texts read against the decoders (empty when fine), and the run.
QString CheckDecodeWords(const CliRequest& r);
int RunDecodeCommand(const CliRequest& r);
// spectrum: of a deep-memory file (no instrument), or of a fetched channel.
bool SpectrumOfFile(const CliRequest& r);
int RunSpectrumFile(const CliRequest& r);
int RunSpectrumFetch(const CliRequest& r, int round);

struct MeasureRecord;
// The limits of --limits, read before the instrument is connected.
const MeasureRecord& CliLimits();
// log: the words checked, the database opened (before the instrument is
// connected), the run; log-export: the CSV of a log.
QString CheckLogWords(const CliRequest& r);
int PrepareLog(const CliRequest& r);
int RunLogCommand(const CliRequest& r);
int RunLogExport(const CliRequest& r);

// One line on standard error for a failure, with what the link said of it
// (the message a window would show in a box) in brackets; the status.
int CliFail(const QString& message, int status = 2);
// A message the program would show in a box: kept for the failure's line,
// or printed as one line of its own at the end (CliFlushNotes).
void CliNote(const QString& message);
void CliFlushNotes();
// What a command still has to say when a signal ends it (the statistics
// gathered so far); run once, before the keys are unlocked. Empty: nothing.
void SetCliLastWords(std::function<void()> words);
void CliSayLastWords();
// Text on standard output, flushed at once (a pipe reader sees each round).
void CliOut(const QString& text);

// The file a repeated command writes in a round: NAME-001.EXT, NAME-002.EXT
// ... for two rounds or more; standard output ("-") stays itself.
QString RoundPath(const QString& path, int round, int rounds);
