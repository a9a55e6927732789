#pragma once
// The entry point of the parameter dialog for a value row of the tree.
#include "controller/PraseCtrlList.h"

void ShowCtrlDialog(const CtrlRowMatch& row);
