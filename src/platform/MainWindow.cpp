// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/MainWindow.h"

#include <QPointer>
#include <QWidget>

namespace platform {

namespace {
QPointer<QWidget>& mainWindow() {
    static QPointer<QWidget> window;
    return window;
}
} // namespace

QWidget* MainWindow() {
    return mainWindow().data();
}

void SetMainWindow(QWidget* window) {
    mainWindow() = window;
}

} // namespace platform
