// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// The entry point of the parameter dialog for a value row of the tree.
#include "controller/CtrlDialog.h"

#include <functional>

// Shapes the dialog for the row and shows it modally (the adjust dialog for
// Volt/Div, a warning for a query-only row).
void ShowCtrlDialog(const CtrlRowMatch& row);

// Tests answer the dialog without a window: the hook gets the row and its shape.
using CtrlDialogHook = std::function<void(const CtrlRowMatch&, const CtrlDialogLayout&)>;
void SetCtrlDialogHook(CtrlDialogHook hook);
