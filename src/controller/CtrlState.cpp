#include "controller/CtrlState.h"

bool CtrlDirty = false;
QString ControlFilePath;
bool ModelHasLa = true;
QString MathDisplay;

// The control file reader and writer are not built yet.
bool SaveControlFile() {
    return false;
}
void OpenCtrl(const QString&) {}
