// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include "sheet/SheetRecords.h"
// The table job (kinds 3 to 5): one channel's screen samples as voltage and
// time texts, formatted once at fetch time, and the settings line above them.
#include <QString>
#include <vector>

constexpr int kJobTableCh1 = 3;
constexpr int kJobTableCh2 = 4;
constexpr int kJobTableLa = 5;
constexpr int kTableTextBound = 17000; // the text arrays' last index

// The job's results, from index 1.
extern std::vector<QString> TableVoltText;
extern std::vector<QString> TableTimeText;
extern int TableRowCount;
extern QString SheetTitle;

// The offset in screen rows: offset x 25 / scale, moved half a row away from
// zero and rounded half to even. A zero scale is an arithmetic fault.
short OffsetRows(double offset, double scale);
// "0.00E-00" below 1, "0.00E+00" from 1 on.
QString TableNumberText(double value, bool single);

// The job for a source word: "CH1", "CH2" or "LA".
void RunTableJob(const QString& source);
void RegisterTableJobs();
// The last table job's result put into a record (its name, tree node and
// refresh state stay): what the Data window shows and exports, and what the
// command line writes.
void TakeTableJob(DataRecord& record, const QString& source);
