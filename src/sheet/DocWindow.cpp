// SPDX-License-Identifier: GPL-3.0-or-later
#include "sheet/DocWindow.h"

#include "platform/Faults.h"
#include "shared/Icons.h"
#include "shared/LoadLanguage.h"

#include <QCloseEvent>
#include <QLabel>
#include <QVBoxLayout>

DocWindow::DocWindow(DocKind kind, int slot, QWidget* parent)
    : QWidget(parent), kind_(kind), tag_(slot) {
    setWindowIcon(DocKindIcon(static_cast<int>(kind)));
}

DocWindow::~DocWindow() = default;

void DocWindow::closeEvent(QCloseEvent* event) {
    if (!MayClose()) {
        event->ignore(); // a job or a refresh of this window runs
        return;
    }
    platform::RunHandler("Form_Unload", [this] { Unload(); });
    event->accept(); // only hidden: the record and the window stay with the sheet
}

EmptyDocWindow::EmptyDocWindow(DocKind kind, int slot) : DocWindow(kind, slot) {
    auto* layout = new QVBoxLayout(this);
    auto* label = new QLabel;
    label->setAlignment(Qt::AlignCenter);
    layout->addWidget(label);
    resize(480, 320);
}
