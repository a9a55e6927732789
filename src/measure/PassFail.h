// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// The pass and fail limits dialog's logic, without its widgets: the dialog's
// own copy of the eighteen measures, the selected one, what the number boxes
// and unit lists show, the guarded edits and the check at OK.
#include "measure/MeasureTable.h"

#include <QString>
#include <array>

// A lone "-" is no number (IsNumeric) but is let through while typing, see
// PassFailEditor::EditNumber.

class PassFailEditor {
public:
    explicit PassFailEditor(const std::array<MeasureItem, 18>& items);

    std::array<MeasureItem, 18> items; // the dialog's copy
    int selectedSlot = 0;
    bool ShowDone = false;
    bool UnderSetDone = true;
    // What the controls show for the selected measure.
    bool enabled = false;
    QString underNum, overNum;
    int underUnit = 0, overUnit = 0;
    QStringList units;

    // The combo's entry (the language's measure-name order) becomes the selection.
    void SelectByNameIndex(int nameIndex);
    void SetEnabled(bool on);
    void Display();
    // A typed number or a new unit. False when the text was refused: the
    // caller shows "Invalid Numeric!" and the box is emptied.
    bool EditNumber(bool under, const QString& text);
    void ChangeUnit(bool under, int row);
    // OK: true when the dialog may close (the copy is then the result).
    bool Accept();

private:
    MeasureFamily family() const;
    void SetUnderNum();
    void SetOverNum();
    void SetOverNumLimit();
};
