// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/MsgBox.h"

#include <QApplication>
#include <QMessageBox>

namespace platform {
namespace {
MsgBoxHook& hook() {
    static MsgBoxHook h;
    return h;
}

QMessageBox::Icon toQt(MsgIcon icon) {
    switch (icon) {
    case MsgIcon::Exclamation:
        return QMessageBox::Warning;
    case MsgIcon::Critical:
        return QMessageBox::Critical;
    case MsgIcon::Information:
        return QMessageBox::Information;
    case MsgIcon::Question:
        return QMessageBox::Question;
    case MsgIcon::None:
        break;
    }
    return QMessageBox::NoIcon;
}

QMessageBox::StandardButtons toQt(MsgButtons buttons) {
    switch (buttons) {
    case MsgButtons::OkCancel:
        return QMessageBox::Ok | QMessageBox::Cancel;
    case MsgButtons::YesNo:
        return QMessageBox::Yes | QMessageBox::No;
    case MsgButtons::YesNoCancel:
        return QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel;
    case MsgButtons::Ok:
        break;
    }
    return QMessageBox::Ok;
}

MsgResult fromQt(int answer) {
    switch (answer) {
    case QMessageBox::Yes:
        return MsgResult::Yes;
    case QMessageBox::No:
        return MsgResult::No;
    case QMessageBox::Cancel:
        return MsgResult::Cancel;
    default:
        return MsgResult::Ok;
    }
}
} // namespace

void SetMsgBoxHook(MsgBoxHook h) {
    hook() = std::move(h);
}

MsgResult MsgBox(const QString& prompt, MsgButtons buttons, MsgIcon icon, const QString& title) {
    const MsgBoxRequest request{prompt, buttons, icon, title};
    if (hook()) return hook()(request);
    // An empty title shows the program's name, as a desktop user expects.
    QMessageBox box(toQt(icon), title.isEmpty() ? QApplication::applicationName() : title, prompt,
                    toQt(buttons), QApplication::activeWindow());
    return fromQt(box.exec());
}

} // namespace platform
