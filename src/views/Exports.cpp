// SPDX-License-Identifier: GPL-3.0-or-later
#include "views/Exports.h"
#include "export/CaptureExport.h"
#include "platform/Desktop.h"
#include "platform/MainWindow.h"
#include "platform/MsgBox.h"
#include "platform/Pacing.h"
#include "shared/StringRES.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QProgressDialog>
#include <QStandardPaths>

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

QString ExportCaptureText() {
    return chinese() ? QString::fromUtf8("导出采集...") : QStringLiteral("Export capture...");
}

QString OpenInPulseViewText() {
    return chinese() ? QString::fromUtf8("在 PulseView 中打开")
                     : QStringLiteral("Open in PulseView");
}

namespace {
// A capture written with a bar that shows after a second and can stop it.
QString writeWithProgress(const QString& path, const Capture& capture) {
    QProgressDialog bar(path, chinese() ? QString::fromUtf8("取消") : QStringLiteral("Cancel"), 0,
                        100, platform::MainWindow());
    bar.setWindowModality(Qt::WindowModal);
    bar.setMinimumDuration(1000);
    return WriteCapture(path, capture, CaptureFormatOf(path), [&bar](int percent) {
        bar.setValue(percent);
        platform::DoEvents();
        return !bar.wasCanceled();
    });
}
} // namespace

void ExportCapture(const Capture& capture) {
    if (capture.samples() == 0) {
        platform::MsgBox(MsgBadWaveform);
        return;
    }
    platform::FileDialogRequest request;
    request.save = true;
    request.title = ExportCaptureText();
    request.filter = CaptureFilter();
    request.overwritePrompt = true;
    const std::optional<QString> chosen = platform::ShowFileDialog(request);
    if (!chosen || chosen->isEmpty()) return;
    QString path = *chosen;
    if (CaptureFormatOf(path) == CaptureFormat::Unknown) path += ".sr";
    const QString error = writeWithProgress(path, capture);
    if (!error.isEmpty())
        platform::MsgBox(error, platform::MsgButtons::Ok, platform::MsgIcon::Critical);
    else if (QFileInfo::exists(path))
        platform::ShowStatus(ExportedToText(path));
}

bool PulseViewInstalled() {
    return !QStandardPaths::findExecutable("pulseview").isEmpty();
}

void OpenInPulseView(const Capture& capture) {
    const QString path =
        QDir(QStandardPaths::writableLocation(QStandardPaths::TempLocation))
            .filePath(QString("korvane-capture-%1.sr").arg(QDateTime::currentMSecsSinceEpoch()));
    const QString error = writeWithProgress(path, capture);
    if (error.isEmpty()) {
        const QString failed = platform::StartDetached("pulseview", {"-i", path});
        if (!failed.isEmpty())
            platform::MsgBox(failed, platform::MsgButtons::Ok, platform::MsgIcon::Critical);
    } else {
        platform::MsgBox(error, platform::MsgButtons::Ok, platform::MsgIcon::Critical);
    }
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
