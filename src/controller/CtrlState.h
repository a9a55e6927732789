#pragma once
// The controller's state that the rest of the program looks at.
#include <QString>

extern bool CtrlDirty;
extern QString ControlFilePath;
extern bool ModelHasLa;     // the digital channels are presented
extern QString MathDisplay; // the instrument's math display switch, as a display word

// Saves the control file (the controller's Save); false when nothing was saved.
bool SaveControlFile();
// Opens a control file (recent list, start-up load).
void OpenCtrl(const QString& path);
