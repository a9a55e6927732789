// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// Modal message boxes as the program uses them: a prompt, a button set, an
// icon and a title; the answer is the button pressed. Tests install a hook
// that answers from a script, so no test ever waits on a real dialog.
#include <QString>
#include <functional>

namespace platform {

enum class MsgButtons { Ok, OkCancel, YesNo, YesNoCancel };
enum class MsgIcon { None, Exclamation, Critical, Information, Question };
enum class MsgResult { Ok, Cancel, Yes, No };

struct MsgBoxRequest {
    QString prompt;
    MsgButtons buttons = MsgButtons::Ok;
    MsgIcon icon = MsgIcon::None;
    QString title;
};

MsgResult MsgBox(const QString& prompt, MsgButtons buttons = MsgButtons::Ok,
                 MsgIcon icon = MsgIcon::None, const QString& title = QString());

using MsgBoxHook = std::function<MsgResult(const MsgBoxRequest&)>;
// Replaces the real dialog; an empty hook restores it.
void SetMsgBoxHook(MsgBoxHook hook);

} // namespace platform
