#include "sheet/DataSheet.h"

// The sheet's file format is a module of its own still to come: until then
// a sheet lives in memory, nothing is saved, and nothing is opened.
bool SaveDataSheet() {
    return false;
}
bool SaveDataSheetAs() {
    return false;
}
void OpenDataSheet(const QString&) {}
void OpenDataSheetWithDialog() {}
