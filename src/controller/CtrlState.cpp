// SPDX-License-Identifier: GPL-3.0-or-later
#include "controller/CtrlState.h"

bool CtrlDirty = false;
QString ControlFilePath;
bool CtrlTreeBuilt = false;
QString CtrlTreePath;
QString CtrlDialogKey = " ";

namespace {
CtrlTreeListener g_treeListener;
}

void SetCtrlTreeListener(CtrlTreeListener listener) {
    g_treeListener = std::move(listener);
}

void CtrlTreeChanged(CtrlTreeChange change) {
    if (g_treeListener) g_treeListener(change);
}
