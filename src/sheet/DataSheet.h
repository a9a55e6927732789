#pragma once
// The data sheet document's head, as far as the frame needs it.
#include <QString>

extern bool SheetDirty;
extern QString SheetPath;

// Saves the sheet (the data sheet window's Save); false when nothing was saved.
bool SaveDataSheet();
// Opens a data sheet file (recent list, start-up load).
void OpenDataSheet(const QString& path);
