// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// Deep-memory waveform files (.wfm): a head of one of two forms, four
// skipped bytes, then the CH1, CH2 and digital sections. Read into a
// MemoryRecord in one pass; safe on any bytes: a file shorter than its head
// promises is a format error, nothing is read outside the file.
#include "sheet/SheetRecords.h"

#include <QByteArray>
#include <QString>

constexpr std::uint16_t kWfmMagic = 0xA5A5;      // the current head, 272 bytes
constexpr std::uint16_t kWfmOlderMagic = 0xA5A1; // the older head, 252 bytes, samples 25 rows low
constexpr int kWfmHeadSize = 272;
constexpr int kWfmOlderHeadSize = 252;
constexpr int kWfmMaxPoints = 2100000; // the viewer's buffers
constexpr int kDigitalTwoBytesUpTo = 524288;

enum class WaveformLoad { Ok, FormatError };

// The older head rewritten in the current layout.
QByteArray ConvertOlderHead(const QByteArray& olderHead);
// Bytes a digital point takes for a point count.
int DigitalBytesPerPoint(std::int32_t points);
// The file size a head (in the current layout) promises: head, gap and the
// sections it marks valid. A shorter file does not load.
qint64 PromisedWaveformSize(const QByteArray& currentHead, int headSize);

WaveformLoad LoadWaveformBytes(const QByteArray& file, MemoryRecord& rec);
// Maps the file and loads it; an unreadable file is reported in *error.
WaveformLoad LoadWaveformFile(const QString& path, MemoryRecord& rec, QString* error);
