// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// The control file (.rmt): CtrlData on disk, one quoted text a line, 194
// lines, CRLF, in the order of the record; the first line identifies the file.
#include <QString>

// "Vexor Technologies,Inc. NQ4000L Controller"
QString ControlFileIdentification();

// The reads and writes of the file. A wrong first line leaves the record as
// it was and says "File Format is Invaild !"; a short file reads as far as it
// can and shows its error's text. Both return false when they said something.
bool ReadControlFile(const QString& path); // true when the whole file was read
enum class CtrlFileRead { Whole, CutShort, Refused };
CtrlFileRead ReadControlFileChecked(const QString& path);
bool WriteControlFile(const QString& path); // a temporary file renamed into place

// The controller window's file commands.
void mnuNewCtrl_Click();
void mnuOpenCtrl_Click();
void OpenCtrl(const QString& path); // recent list and start-up load
void mnuSaveCtrl_Click();
void mnuSaveAsCtrl_Click();
bool SaveControlFile(); // Save for the frame's menus
