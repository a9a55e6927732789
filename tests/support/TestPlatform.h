// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// Scripted stand-ins for every seam that would block a test: message boxes
// answer from a script and are recorded, file dialogs return a chosen path,
// printing and the desktop are recorded, the settings live in a temporary
// folder and the pacing scale is 0.
#include "platform/Desktop.h"
#include "platform/FileDialog.h"
#include "platform/MsgBox.h"
#include "platform/Printing.h"

#include <QList>
#include <QStringList>
#include <QTemporaryDir>
#include <optional>

class TestPlatform {
public:
    TestPlatform();  // installs every hook
    ~TestPlatform(); // removes them

    // Message boxes: answers are taken in order; with none left, the box is
    // answered with defaultAnswer.
    QList<platform::MsgResult> answers;
    platform::MsgResult defaultAnswer = platform::MsgResult::Ok;
    QList<platform::MsgBoxRequest> boxes;
    QStringList prompts() const;

    // File dialogs: the next chosen path; nullopt cancels.
    QList<std::optional<QString>> chosenPaths;
    QList<platform::FileDialogRequest> fileDialogs;

    QList<platform::PrintRequest> prints;
    QList<platform::DesktopRequest> desktopRequests;
    QString desktopError; // what OpenDocument / StartDetached return

    QString settingsDir() const { return dir_.path(); }
    QString tempPath(const QString& name) const { return dir_.filePath(name); }

private:
    QTemporaryDir dir_;
};
