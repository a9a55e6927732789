// SPDX-License-Identifier: GPL-3.0-or-later
#include "link/DlgResource.h"

#include "shared/LoadLanguage.h"

#include <QApplication>
#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace {
ResourceChooserHook& hook() {
    static ResourceChooserHook h;
    return h;
}
} // namespace

DlgResource::DlgResource(const QStringList& resources, QWidget* parent) : QDialog(parent) {
    setObjectName("DlgResource");
    setWindowTitle(FormText("DlgResource", "Caption"));
    auto* label = new QLabel(FormText("DlgResource", "lstRsource"));
    label->setObjectName("lstRsource");
    cmbResource_ = new QComboBox;
    cmbResource_->setObjectName("cmbResource");
    cmbResource_->addItems(resources);
    cmbResource_->setMinimumWidth(360);
    auto* ok = new QPushButton(FormText("DlgResource", "OKButton"));
    ok->setObjectName("OKButton");
    ok->setDefault(true);
    auto* cancel = new QPushButton(FormText("DlgResource", "CancelButton"));
    cancel->setObjectName("CancelButton");
    connect(ok, &QPushButton::clicked, this, &DlgResource::OKButton_Click);
    connect(cancel, &QPushButton::clicked, this, &DlgResource::CancelButton_Click);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(ok);
    buttons->addWidget(cancel);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(label);
    layout->addWidget(cmbResource_);
    layout->addLayout(buttons);
}

QString DlgResource::chosen() const {
    return cmbResource_->currentText();
}

void DlgResource::OKButton_Click() {
    result_ = true;
    accept();
}

void DlgResource::CancelButton_Click() {
    result_ = false;
    reject();
}

void SetResourceChooserHook(ResourceChooserHook h) {
    hook() = std::move(h);
}

std::optional<QString> ChooseResource(const QStringList& resources) {
    if (hook()) return hook()(resources);
    DlgResource dialog(resources, QApplication::activeWindow());
    dialog.exec();
    if (!dialog.result()) return std::nullopt;
    return dialog.chosen();
}
