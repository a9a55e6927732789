// SPDX-License-Identifier: GPL-3.0-or-later
#include "controller/CtrlDialogEntry.h"

#include "controller/CtrlDialogAdjust.h"
#include "platform/MsgBox.h"
#include "shared/StringRES.h"

#include <QApplication>

namespace {
CtrlDialogHook& hook() {
    static CtrlDialogHook h;
    return h;
}
} // namespace

void SetCtrlDialogHook(CtrlDialogHook h) {
    hook() = std::move(h);
}

void ShowCtrlDialog(const CtrlRowMatch& row) {
    const CtrlDialogLayout layout = ShapeCtrlDialog(row);
    if (hook()) {
        hook()(row, layout);
        return;
    }
    switch (layout.shape) {
    case DialogShape::QueryOnly:
        platform::MsgBox(MsgQueryOnly, platform::MsgButtons::Ok, platform::MsgIcon::Exclamation);
        return;
    case DialogShape::Adjust: {
        const bool ch2 = row.captions.value(0) == QLatin1String("CH2");
        CtrlDialogAdjust dialog(ch2 ? 1 : 0, QApplication::activeWindow());
        dialog.exec();
        return;
    }
    default: {
        CtrlDialog dialog(row, layout, QApplication::activeWindow());
        dialog.exec();
        return;
    }
    }
}
