// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// The files the instrument writes: frame records (.rcd) and deep-memory
// waveform files (.wfm).
#include "Signal.h"

#include <cstdint>
#include <string>
#include <vector>

namespace sim {

struct RecordFileContent {
    int channel = 1;      // 1 or 2
    int sourceField = -1; // the head's source field; -1 = by channel (0 CH1, 1 CH2)
    int frames = 100;
    int firstFrame = 1;
    Generator generator;
    double voltsPerDiv = 0.5;
    int offsetRows = 0;
    double secondsPerDiv = 5e-4;
    double delaySeconds = 0;
    bool channelValid = true;
};
// Writes the file; false with a reason on failure.
bool WriteRecordFile(const std::string& path, const RecordFileContent& record, std::string* error);

struct WaveformFileContent {
    bool olderHead = false; // the 252-byte head whose samples are stored 25 rows lower
    int points = 4000;
    int points2 = 0; // CH2 points in alternate-trigger files (0 = same as points)
    bool ch1 = true, ch2 = true, digital = true;
    bool alternate = false;
    Generator ch1Generator, ch2Generator;
    double ch1VoltsPerDiv = 0.5, ch2VoltsPerDiv = 0.2;
    int ch1OffsetRows = 0, ch2OffsetRows = 0;
    double secondsPerDiv = 5e-4, secondsPerDiv2 = 2.5e-4;
    double delaySeconds = 0;
    float sampleRate = 0; // 0 = points / (12 divisions)
    std::uint16_t digitalMask = 0xFFFF;
};
bool WriteWaveformFile(const std::string& path, const WaveformFileContent& wave,
                       std::string* error);

// Writes bytes to path through a temporary file and a rename.
bool WriteFileAtomically(const std::string& path, const std::vector<std::uint8_t>& bytes,
                         std::string* error);

} // namespace sim
