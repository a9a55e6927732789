// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// The common open and save dialog. Filters are given in the
// "Description (*.ext)|*.ext|..." form and translated for Qt. Tests install a
// hook that returns a chosen path or a cancel.
#include <QString>
#include <QStringList>
#include <functional>
#include <optional>

namespace platform {

struct FileDialogRequest {
    bool save = false;
    QString title;
    QString filter;      // "Desc (*.ext)|*.ext|Desc2 (*.b)|*.b"
    QString initialPath; // folder or file
    bool fileMustExist = true;
    bool overwritePrompt = true;
};

// The chosen path, or nothing when the user cancelled.
std::optional<QString> ShowFileDialog(const FileDialogRequest& request);

// "A (*.x)|*.x|B (*.y)|*.y" -> "A (*.x);;B (*.y)"
QString QtFilterFromPipeFilter(const QString& pipeFilter);

using FileDialogHook = std::function<std::optional<QString>(const FileDialogRequest&)>;
void SetFileDialogHook(FileDialogHook hook);

} // namespace platform
