// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// The dispatcher of a double click in the controller tree: which row the
// path names, and what it does (a command acts at once, a value row opens the
// parameter dialog).
#include "controller/CtrlTree.h"

#include <QString>
#include <QStringList>
#include <functional>

struct CtrlPathParts {
    QString root, level1 = " ", level2 = " ", level3 = " "; // a missing level is one blank
};
// Splits at "\"; the last part loses its " [value]".
CtrlPathParts SplitCtrlPath(const QString& path);

enum class CtrlRowAction {
    Nothing,
    Dialog,
    QueryOnly,
    AutoSet,
    TrigTo50,
    ForceTrigger,
    DisplayClear,
    LaReset,
    VirtualPanel
};

struct CtrlRowMatch {
    CtrlRowAction action = CtrlRowAction::Nothing;
    QString key;              // CtrlDialogKey: the display captions joined without separators
    QStringList captions;     // the same levels by their English captions
    QString* field = nullptr; // the value row's field
};
// Compares the levels in tree order with the captions of the current tree.
CtrlRowMatch MatchCtrlPath(const CtrlPathParts& parts);

// Runs the row: sets CtrlDialogKey, acts or opens the dialog.
void PraseCtrlList(const QString& path);

// The running-control commands.
void RunAutoSet();
void RunSetTrigTo50();
void RunForceTrigger();
void RunDisplayClear();
void RunLaReset();

// The "Virtual Panel" row opens what the frame registers (the panel window).
void SetVirtualPanelOpener(std::function<void()> opener);
