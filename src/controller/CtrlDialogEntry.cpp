#include "controller/CtrlDialogEntry.h"

// The parameter dialog is not built yet: a value row opens nothing.
void ShowCtrlDialog(const CtrlRowMatch&) {}
