// SPDX-License-Identifier: GPL-3.0-or-later
#include "measure/PassFail.h"

#include "shared/Picture.h"

PassFailEditor::PassFailEditor(const std::array<MeasureItem, 18>& copy) : items(copy) {
    SelectByNameIndex(0);
}

MeasureFamily PassFailEditor::family() const {
    return RowOfSlot(selectedSlot).family;
}

void PassFailEditor::SelectByNameIndex(int nameIndex) {
    for (const MeasureRow& row : MeasureRows())
        if (row.nameIndex == nameIndex) selectedSlot = row.slot;
    enabled = items[static_cast<std::size_t>(selectedSlot)].LimitEnabled;
    Display();
}

void PassFailEditor::SetEnabled(bool on) {
    items[static_cast<std::size_t>(selectedSlot)].LimitEnabled = on;
    enabled = on;
    Display();
}

void PassFailEditor::Display() {
    ShowDone = false;
    const MeasureItem& item = items[static_cast<std::size_t>(selectedSlot)];
    units = FamilyUnits(family());
    const LimitText under = FormatLimit(family(), item.UnderLimit);
    const LimitText over = FormatLimit(family(), item.OverLimit);
    underNum = under.number;
    underUnit = under.unitRow;
    overNum = over.number;
    overUnit = over.unitRow;
    enabled = item.LimitEnabled;
    ShowDone = true;
}

bool PassFailEditor::EditNumber(bool under, const QString& text) {
    (under ? underNum : overNum) = text;
    if (!ShowDone || !UnderSetDone) return true;
    if (text.isEmpty()) return true;
    if (text.startsWith('-')) {
        const QString rest = text.mid(1);
        if (rest.isEmpty()) return true; // the user goes on typing
        if (!IsNumeric(rest)) {
            (under ? underNum : overNum).clear();
            return false;
        }
    } else if (!IsNumeric(text)) {
        (under ? underNum : overNum).clear();
        return false;
    }
    if (under)
        SetUnderNum();
    else
        SetOverNum();
    return true;
}

void PassFailEditor::ChangeUnit(bool under, int row) {
    (under ? underUnit : overUnit) = row;
    if (!ShowDone || !UnderSetDone) return;
    const QString& number = under ? underNum : overNum;
    if (number.isEmpty() || number == QLatin1String("-") || !IsNumeric(number)) return;
    if (under)
        SetUnderNum();
    else
        SetOverNum();
}

namespace {
double parseLimit(MeasureFamily family, QString number, const QString& unit, double previous) {
    number = PointForm(number.trimmed()); // the user's own decimal sign too
    bool ok = false;
    const double value = ParseByFamily(family, number + unit, &ok);
    return ok ? value : previous; // a limit that does not read keeps the old number
}
} // namespace

void PassFailEditor::SetUnderNum() {
    UnderSetDone = false;
    MeasureItem& item = items[static_cast<std::size_t>(selectedSlot)];
    item.UnderLimit = parseLimit(family(), underNum, units.value(underUnit), item.UnderLimit);
    UnderSetDone = true;
}

void PassFailEditor::SetOverNum() {
    MeasureItem& item = items[static_cast<std::size_t>(selectedSlot)];
    item.OverLimit = parseLimit(family(), overNum, units.value(overUnit), item.OverLimit);
}

void PassFailEditor::SetOverNumLimit() {
    MeasureItem& item = items[static_cast<std::size_t>(selectedSlot)];
    if (item.OverLimit < item.UnderLimit) {
        item.OverLimit = item.UnderLimit;
        overNum = underNum;
        overUnit = underUnit;
    }
}

bool PassFailEditor::Accept() {
    // Only Vpp's pair is checked, whichever measure is selected.
    if (items[0].OverLimit < items[0].UnderLimit) {
        SetOverNumLimit();
        Display();
        return false;
    }
    return true;
}
