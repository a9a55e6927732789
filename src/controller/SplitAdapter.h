// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// Fills a dialog's number box and unit list from a Split... result.
#include "shared/ValueText.h"

class QComboBox;
class QLineEdit;

// Returns the joined text (number and the selected unit word).
QString ApplySplit(QLineEdit* numberBox, QComboBox* unitList, const SplitResult& split);
