// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// The data sheet file (.ult): one value a line, in a fixed order driven by
// the counts and flags read before it. Strings in quotes, booleans as
// #TRUE# / #FALSE#, numbers in decimal, CR LF line ends, UTF-8 (GBK files
// from older machines are read too).
#include <QByteArray>
#include <QString>
#include <functional>

// The first line: the maker, the model and " Data Sheet".
QString SheetSignature();

// The sheet in the records as the file's bytes, and back. ParseSheet fills
// the records and the sheet's head and counts; on a wrong value or a file
// cut short it stops with the error's text in *error and keeps what it read
// (the counts then tell the documents that were begun).
QByteArray SheetBytes(const std::function<void(int percent)>& progress = {});
enum class SheetRead { Ok, BadSignature, Stopped };
SheetRead ParseSheet(const QByteArray& file, QString* error,
                     const std::function<void(int percent)>& progress = {});

// The files themselves: false when nothing was written (the error is shown).
bool SaveSheet(const QString& path);
// Reads the file into the records (the caller has closed the old sheet).
SheetRead ReadSheet(const QString& path);
// The tree and a window for every record read.
void RestoreWindows();

// Text of a file: UTF-8 when it is valid UTF-8, otherwise GBK.
QString DecodeSheetText(const QByteArray& bytes);
