// SPDX-License-Identifier: GPL-3.0-or-later
#include "TestPlatform.h"

#include "platform/Pacing.h"
#include "platform/Settings.h"

namespace {
// The stand-ins in force: a new set replaces the old before the old one goes,
// so only the newest may take the hooks away.
TestPlatform* g_current = nullptr;
} // namespace

TestPlatform::TestPlatform() {
    g_current = this;
    platform::SetSettingsDirectory(dir_.path() + "/config");
    platform::SetPacingScale(0);
    platform::SetMsgBoxHook([this](const platform::MsgBoxRequest& r) {
        boxes << r;
        return answers.isEmpty() ? defaultAnswer : answers.takeFirst();
    });
    platform::SetFileDialogHook([this](const platform::FileDialogRequest& r) {
        fileDialogs << r;
        return chosenPaths.isEmpty() ? std::optional<QString>() : chosenPaths.takeFirst();
    });
    platform::SetPrintHook([this](const platform::PrintRequest& r) {
        prints << r;
        return true;
    });
    platform::SetDesktopHook([this](const platform::DesktopRequest& r) {
        desktopRequests << r;
        return desktopError;
    });
}

TestPlatform::~TestPlatform() {
    if (g_current != this) return;
    g_current = nullptr;
    platform::SetMsgBoxHook({});
    platform::SetFileDialogHook({});
    platform::SetPrintHook({});
    platform::SetDesktopHook({});
    platform::SetSettingsDirectory(QString());
    platform::SetPacingScale(1);
}

QStringList TestPlatform::prompts() const {
    QStringList list;
    for (const auto& b : boxes)
        list << b.prompt;
    return list;
}
