// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// The controller's state that the rest of the program looks at.
#include "link/LinkState.h" // ModelHasLa

#include <QString>
#include <functional>

extern bool CtrlDirty;
extern QString ControlFilePath;

extern bool CtrlTreeBuilt;    // the tree has been built once
extern QString CtrlTreePath;  // full path of the node last clicked, sections joined by "\"
extern QString CtrlDialogKey; // the parameter the dialog edits; one blank when none

// The tree window listens: rebuild (the set of rows changed) or rewrite the
// row texts in place (only values changed).
enum class CtrlTreeChange { Texts, Shape };
using CtrlTreeListener = std::function<void(CtrlTreeChange)>;
void SetCtrlTreeListener(CtrlTreeListener listener);
void CtrlTreeChanged(CtrlTreeChange change);
