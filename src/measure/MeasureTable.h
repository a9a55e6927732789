// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// The eighteen automatic measures: their rows, slots, families and icons,
// the limit texts, the verdict rule, and the export file of a measure
// window. Plain functions over MeasureRecord.
#include "sheet/SheetRecords.h"

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <array>
#include <optional>

enum class MeasureFamily { Volt, Frequency, Time, Percent };

struct MeasureRow {
    const char* english;
    int slot; // place in MeasureItems and CurrentMeasure
    MeasureFamily family;
    int icon;      // image number in the list, 1..18
    int nameIndex; // row of the language's measure names (the dialog's order)
};
// In the list's row order (Vpp ... Duty-).
const std::array<MeasureRow, 18>& MeasureRows();
const MeasureRow& RowOfSlot(int slot);
QString MeasureRowName(const MeasureRow& row); // in the caption language

// The unit list of a family, in list order.
QStringList FamilyUnits(MeasureFamily family);
// Text to number by the family's parser; *ok false for a text it can't read.
double ParseByFamily(MeasureFamily family, const QString& text, bool* ok);
// A measure in base units (V, s, Hz, a fraction for a percentage), as
// scripts and the data logger take it; nothing for "*****" or a text that
// does not read. And the unit's word: "V", "s", "Hz", "fraction".
std::optional<double> MeasureBaseValue(const MeasureRow& row, const QString& text);
QString MeasureUnit(const MeasureRow& row);
// The row of an English measure name ("Vpp", "duty+"), in any letter case;
// null for none.
const MeasureRow* MeasureRowNamed(const QString& english);

// A limit as the list and the export show it ("0.000uV"), and its parts for
// the dialog's number box and unit row.
struct LimitText {
    QString number;
    int unitRow = 0;
    QString joined;
};
LimitText FormatLimit(MeasureFamily family, double value);

// The verdict of one measure, empty when none applies (no limits or no value).
QString Verdict(const MeasureItem& item, MeasureFamily family);
bool VerdictPasses(const QString& verdict);

// The texts of the list's under, over and verdict columns for a row.
struct MeasureCells {
    QString value, under, over, verdict;
};
MeasureCells CellsFor(const MeasureRecord& rec, const MeasureRow& row);

// The export: tab-separated text with CR LF line ends, the heading always in
// Chinese (the file is written in UTF-8).
QByteArray MeasureExportBytes(const MeasureRecord& rec);
// The measure job's result copied into a record: texts and settings line,
// limits kept.
void TakeCurrentMeasure(MeasureRecord& rec);
