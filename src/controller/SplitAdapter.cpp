// SPDX-License-Identifier: GPL-3.0-or-later
#include "controller/SplitAdapter.h"

#include <QComboBox>
#include <QLineEdit>

QString ApplySplit(QLineEdit* numberBox, QComboBox* unitList, const SplitResult& split) {
    numberBox->setText(split.number);
    if (split.unitRow >= 0) unitList->setCurrentIndex(split.unitRow);
    return split.number + unitList->currentText();
}
