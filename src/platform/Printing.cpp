// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/Printing.h"

#include <QApplication>
#include <QPageSetupDialog>
#include <QPainter>
#include <QPrintDialog>
#include <QPrintPreviewDialog>
#include <QPrinter>

namespace platform {
namespace {
PrintHook& hook() {
    static PrintHook h;
    return h;
}

// The one printer of the session, so page set-up choices carry over to prints.
QPrinter& sessionPrinter() {
    static QPrinter printer(QPrinter::HighResolution);
    return printer;
}

void paintImage(QPrinter* printer, const QImage& image) {
    QPainter painter(printer);
    const QRect page = painter.viewport();
    QSize size = image.size();
    size.scale(page.size(), Qt::KeepAspectRatio);
    painter.setViewport(page.x(), page.y(), size.width(), size.height());
    painter.setWindow(image.rect());
    painter.drawImage(0, 0, image);
}
} // namespace

void SetPrintHook(PrintHook h) {
    hook() = std::move(h);
}

bool PrintBitmap(const QImage& image, const QString& title) {
    if (hook()) return hook()({PrintAction::Print, image, title});
    QPrintDialog dialog(&sessionPrinter(), QApplication::activeWindow());
    dialog.setWindowTitle(title);
    if (dialog.exec() != QDialog::Accepted) return false;
    paintImage(&sessionPrinter(), image);
    return true;
}

void PrintPreviewBitmap(const QImage& image, const QString& title) {
    if (hook()) {
        hook()({PrintAction::Preview, image, title});
        return;
    }
    QPrintPreviewDialog preview(&sessionPrinter(), QApplication::activeWindow());
    preview.setWindowTitle(title);
    QObject::connect(&preview, &QPrintPreviewDialog::paintRequested,
                     [&image](QPrinter* printer) { paintImage(printer, image); });
    preview.exec();
}

void PageSetup(const QString& title) {
    if (hook()) {
        hook()({PrintAction::PageSetup, QImage(), title});
        return;
    }
    QPageSetupDialog dialog(&sessionPrinter(), QApplication::activeWindow());
    dialog.setWindowTitle(title);
    dialog.exec();
}

} // namespace platform
