// SPDX-License-Identifier: GPL-3.0-or-later
#include "views/Exports.h"

#include "platform/FileDialog.h"
#include "platform/MsgBox.h"
#include "platform/SafeFile.h"
#include "platform/Status.h"
#include "shared/LoadLanguage.h"
#include "shared/StringRES.h"

#include <QBuffer>

namespace {
bool chinese() {
    return CaptionLanguage() == kLanguageChinese;
}
QString exportTitle() {
    return chinese() ? QString::fromUtf8("导出文件") : QStringLiteral("Export File");
}
} // namespace

bool WriteExport(const QString& path, const QByteArray& bytes) {
    const QString error = platform::WriteFileAtomically(path, bytes);
    if (error.isEmpty()) {
        platform::ShowStatus(ExportedToText(path));
        return true;
    }
    platform::MsgBox(error, platform::MsgButtons::Ok, platform::MsgIcon::Critical);
    return false;
}

void ExportPicture(const QImage& picture) {
    platform::FileDialogRequest request;
    request.save = true;
    request.title = exportTitle();
    request.filter = chinese()
                         ? QString::fromUtf8("位图文件 (*.bmp)|*.bmp|PNG 图像 (*.png)|*.png")
                         : QStringLiteral("BitMap Files (*.bmp)|*.bmp|PNG Images (*.png)|*.png");
    request.fileMustExist = false;
    request.overwritePrompt = true;
    const std::optional<QString> path = platform::ShowFileDialog(request);
    if (!path || path->isEmpty()) return;
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    picture.save(&buffer, path->endsWith(".png", Qt::CaseInsensitive) ? "PNG" : "BMP");
    WriteExport(*path, bytes);
}

std::optional<QString> AskTextExportPath() {
    platform::FileDialogRequest request;
    request.save = true;
    request.title = exportTitle();
    request.filter = (chinese() ? QString::fromUtf8("微软Excel表格文件 ")
                                : QStringLiteral("Microsoft Excel Files ")) +
                     "(*.xls)|*.xls|Text Files (*.txt)|*.txt|All Files (*.*)|*.*";
    request.fileMustExist = false;
    request.overwritePrompt = true;
    const std::optional<QString> path = platform::ShowFileDialog(request);
    if (!path || path->isEmpty()) return std::nullopt;
    return path;
}
