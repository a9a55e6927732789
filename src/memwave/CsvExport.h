// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// The CSV export of a deep-memory capture: headings by the file's kind, one
// row a sample with its time (a 32-bit float) and the voltage of each channel
// shown, in the "0.00E+00" / "0.00E-00" pictures. Written in one buffered
// pass through the program's safe file writer.
#include "sheet/SheetRecords.h"

#include <QByteArray>
#include <QString>
#include <functional>

// The picture "0.00E+00" (from 1 on) or "0.00E-00" (below 1) of a 32-bit
// value, appended; the same text the picture formatter gives, made fast.
void AppendExpPicture(QByteArray& out, float value);
QByteArray CsvHeading(const MemoryRecord& rec);
// Rows [from, to) of the export, each closed by CR LF.
void AppendCsvRows(QByteArray& out, const MemoryRecord& rec, std::int64_t from, std::int64_t to);
std::int64_t CsvRowCount(const MemoryRecord& rec);
// The whole file. progress(percent) every tenth of the rows; it returns false
// to stop. Empty on success, else the error's text.
QString ExportCsv(const QString& path, const MemoryRecord& rec,
                  const std::function<bool(int percent)>& progress);
