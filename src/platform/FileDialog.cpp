// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/FileDialog.h"

#include <QApplication>
#include <QFileDialog>

namespace platform {
namespace {
FileDialogHook& hook() {
    static FileDialogHook h;
    return h;
}
} // namespace

void SetFileDialogHook(FileDialogHook h) {
    hook() = std::move(h);
}

QString QtFilterFromPipeFilter(const QString& pipeFilter) {
    const QStringList parts = pipeFilter.split('|');
    QStringList filters;
    for (int i = 0; i + 1 < parts.size(); i += 2) {
        QString description = parts[i].trimmed();
        const QString patterns = QString(parts[i + 1]).replace(';', ' ').trimmed();
        // Qt reads the patterns from the parentheses of the description.
        if (!description.contains('(')) description += " (" + patterns + ")";
        filters << description;
    }
    if (parts.size() % 2 == 1 && !parts.last().trimmed().isEmpty() && filters.isEmpty())
        filters << parts.last().trimmed();
    return filters.join(";;");
}

std::optional<QString> ShowFileDialog(const FileDialogRequest& request) {
    if (hook()) return hook()(request);
    QFileDialog dialog(QApplication::activeWindow(), request.title, request.initialPath,
                       QtFilterFromPipeFilter(request.filter));
    if (request.save) {
        dialog.setAcceptMode(QFileDialog::AcceptSave);
        dialog.setFileMode(QFileDialog::AnyFile);
        if (!request.overwritePrompt) dialog.setOption(QFileDialog::DontConfirmOverwrite);
        // A name typed without its ending gets the first filter's ending.
        const QString first = request.filter.section('|', 1, 1).section(';', 0, 0).trimmed();
        if (first.startsWith("*.") && first.size() > 2 && first.indexOf('*', 1) < 0)
            dialog.setDefaultSuffix(first.mid(2));
    } else {
        dialog.setAcceptMode(QFileDialog::AcceptOpen);
        dialog.setFileMode(request.fileMustExist ? QFileDialog::ExistingFile
                                                 : QFileDialog::AnyFile);
    }
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty()) return std::nullopt;
    return dialog.selectedFiles().first();
}

} // namespace platform
