// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// The data logger's run: every interval, the measure job of each channel
// the measures name, one sample stored; a lost link is a gap, bridged by
// reconnecting with a growing pause (0.5 s doubling to 10 s), and the run
// still reaches its count. Used by korvane-cli log and the Data Logger window.
#include "logger/LogStore.h"

#include <functional>

struct LogRun {
    QList<LoggedMeasure> measures;
    double interval = 1; // seconds from one sample's start to the next
    qint64 count = 0;    // samples to store; 0: until the duration ends
    double duration = 0; // seconds; 0: until the count is reached
    bool keepFailingScreens = false;
    MeasureRecord limits; // by measure name; a failing sample keeps its screen
};

struct LogEvents {
    std::function<bool()> reconnect;        // the link again; true when it is up
    std::function<QByteArray()> screenshot; // the instrument's screen as PNG, or empty
    std::function<void(qint64 samples, const QString& state)> progress;
    std::function<bool()> stopRequested;               // the window's Stop
    std::function<void(const QList<LogRow>&)> sampled; // each sample as stored (the plot)
};

struct LogResult {
    qint64 samples = 0; // stored or held for the database
    qint64 gaps = 0;
    QString error; // why the run stopped early; empty when it ran out
};

// The pause before reconnect attempt n (from 0): 500 ms doubling, at most 10 s.
int ReconnectDelayMs(int attempt);
// The channels whose measure job a sample runs (bit 1 CH1, bit 2 CH2).
int LoggedChannels(const QList<LoggedMeasure>& measures);

LogResult RunDataLog(const LogRun& run, LogStore& store, const QString& instrument,
                     const LogEvents& events);
