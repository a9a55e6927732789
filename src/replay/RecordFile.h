// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// Frame record files (.rcd): a 56-byte head and one zlib block of 1024-byte
// frames, each holding 300 screen rows at byte 214. Read into a RecordRecord;
// safe on any bytes: every read is bounded, memory is bounded by the buffers.
#include "sheet/SheetRecords.h"

#include <QByteArray>
#include <QString>

constexpr int kRecordHeadSize = 56;
constexpr int kRecordFileBuffer = 2000001;  // bytes of a file read; a longer one is cut
constexpr int kRecordCapacity = 10000000;   // bytes the decompression may deliver
constexpr int kRecordSampleBound = 2100000; // the samples' last index
constexpr int kFrameBytes = 1024;
constexpr int kFrameSampleAt = 214;
constexpr int kFrameSamples = 300;

enum class RecordLoad { Ok, FormatError, UtilityFail, ChannelInvalid };

// Steps 2 to 4 of a load on the file's bytes: the head, the block, the
// corrected samples and the texts. What a failure leaves is as described:
// nothing for a wrong magic or a failed block; Samples and Source for an
// invalid channel.
RecordLoad LoadRecordBytes(const QByteArray& file, RecordRecord& rec);
// Reads the file (at most kRecordFileBuffer bytes) and loads it.
RecordLoad LoadRecordFile(const QString& path, RecordRecord& rec, QString* error);
// The message of a failed load, in the current language.
QString RecordLoadMessage(RecordLoad result);

// The sample k of frame n (from 1), or -1 when the record does not hold it.
int FrameSample(const RecordRecord& rec, int frame, int k);
