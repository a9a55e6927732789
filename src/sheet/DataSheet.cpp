#include "sheet/DataSheet.h"

bool SheetDirty = false;
QString SheetPath;

// The document tree and its file format are not built yet: there is nothing
// to save, and nothing is opened.
bool SaveDataSheet() {
    return false;
}
void OpenDataSheet(const QString&) {}
