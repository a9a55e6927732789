// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// Printing a bitmap, with or without a preview, and the page set-up dialog.
// Tests install a hook that records the request instead of opening a dialog.
#include <QImage>
#include <QString>
#include <functional>

namespace platform {

enum class PrintAction { Print, Preview, PageSetup };

struct PrintRequest {
    PrintAction action = PrintAction::Print;
    QImage image;
    QString title;
};

// Returns false when the user cancelled the print dialog.
bool PrintBitmap(const QImage& image, const QString& title);
void PrintPreviewBitmap(const QImage& image, const QString& title);
void PageSetup(const QString& title);

using PrintHook = std::function<bool(const PrintRequest&)>;
void SetPrintHook(PrintHook hook);

} // namespace platform
