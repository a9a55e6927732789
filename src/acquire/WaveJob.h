// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// The wave job (kind 6): which commands go out in which order, how the
// binary replies are framed and cut on either transport, and how a raw
// sample becomes a screen row in the window's WaveRecord.
#include "platform/Faults.h"
#include "sheet/SheetRecords.h"

#include <QString>

constexpr int kJobWave = 6;

// The raw samples of the last block, from index 1.
extern platform::FixedArray<int, 0, 8192> RawSamples;

// Block lengths requested on USB: header, samples, line end.
constexpr int kTraceRequest = 611;
constexpr int kFftRequest = 523;
constexpr int kDigitalRequest = 1201;

// Reads the block the last command asked for into RawSamples and returns its
// count: on USB the ten header bytes are dropped when the reply is longer
// than the request less ten; on RS232 the length-prefixed payload, or 0 when
// the wait ran out or the link went down.
int ReadTraceBlock(int requested);
// Warnings for the job's window: a block shorter than a full trace, a reply
// that is not the number asked for.
void WarnShortBlock(const QString& source, int count, int expected);
void WarnUnreadable(const QString& what, const QString& reply);
// ":SYSTEM:DATA?" and its block, decoded.
SystemData ReadSystemData();

// Raw byte to screen row, by what the trace is.
enum class TraceKind { Channel, Math, Fft, Digital };
struct DecodeRules {
    bool invertOn = false;    // the channel's ":INVERT?" answered "ON"
    bool running = true;      // ":TRIGGER:STATUS?" did not answer "STOP"
    bool splitScreen = false; // the record's SplitScreen
};
int DecodeSample(TraceKind kind, int raw, const DecodeRules& rules);
// RawSamples 1..count into the array; places behind count are zero.
void DecodeTrace(TraceKind kind, int count, const DecodeRules& rules, SampleArray& out);

// Two half-height areas: alternate trigger, or an FFT that shares the screen.
bool ComputeSplitScreen(const QString& triggerMode, bool fftOn, int fftFullScreen);

// The whole job for the record in a slot (the requesting window's Tag).
void RunWaveJob(int slot);
// Registers kind 6 with the job dispatch.
void RegisterWaveJob();
