// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// korvane-cli: the instrument and the program's files from scripts. The same
// jobs, pacing, texts and file formats as the windows, without a window.
#include <QString>
#include <QStringList>

// Runs one command line (the program's name first); the exit status.
int CliMain(int argc, char** argv);

// The limits file of `measure --limits`: one line a measure, its English name,
// "=", the under and the over limit in base units (V, s, Hz, a fraction for
// the percentages), e.g. "Vpp=1.5,2.5". Lines starting with "#" are notes.
// False with the line's number in *error when a line does not read.
struct MeasureRecord;
bool ApplyLimitsText(const QString& text, MeasureRecord& record, QString* error);
// The measure window's values as the command prints them: one line a row,
// name, value and verdict separated by tabs, or one JSON document whose
// values are numbers in base units (V, s, Hz, a fraction) beside their
// texts; oneLine gives a JSON document on a single line (JSON Lines).
QString MeasureText(const MeasureRecord& record, bool json, bool oneLine = false);
