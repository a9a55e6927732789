// SPDX-License-Identifier: GPL-3.0-or-later
#include "measure/frmPassFailed.h"

#include "platform/Faults.h"
#include "platform/MsgBox.h"
#include "shared/LoadLanguage.h"
#include "shared/StringRES.h"
#include "sheet/DataSheet.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

bool LimitsChanged = false;

namespace {
bool chinese() {
    return CaptionLanguage() == kLanguageChinese;
}
QString zhOrEn(const char* zh, const char* en) {
    return chinese() ? QString::fromUtf8(zh) : QString::fromUtf8(en);
}
} // namespace

frmPassFailed::frmPassFailed(int windowSlot, const QString& windowCaption, QWidget* parent)
    : QDialog(parent), slot_(windowSlot), editor_(MeasureRecords[windowSlot].Items) {
    setObjectName("frmPassFailed");
    LimitsChanged = false;
    setWindowTitle(zhOrEn("通过&失败设置 [", "Pass & Fail Setting [") + windowCaption + "]");
    MTypeCombo_ = new QComboBox;
    for (int i = 0; i < kMeasureCount; ++i)
        MTypeCombo_->addItem(MeasureName(i));
    EnabledChk_ = new QCheckBox(zhOrEn("使能", "Enabled"));
    UnderNum_ = new QLineEdit;
    OverNum_ = new QLineEdit;
    UnderUnit_ = new QComboBox;
    OverUnit_ = new QComboBox;
    auto* type = new QGroupBox(zhOrEn("选择测量参数", "Select Measure Type"));
    auto* tl = new QHBoxLayout(type);
    tl->addWidget(MTypeCombo_, 1);
    tl->addWidget(EnabledChk_);
    auto* range = new QGroupBox(zhOrEn("通过参数范围设置", "Pass Range Settings"));
    auto* rl = new QFormLayout(range);
    auto pair = [](QLineEdit* number, QComboBox* unit) {
        auto* w = new QWidget;
        auto* l = new QHBoxLayout(w);
        l->setContentsMargins(0, 0, 0, 0);
        l->addWidget(number, 1);
        l->addWidget(unit);
        return w;
    };
    rl->addRow(zhOrEn("下限设置", "Under Limit Setting"), pair(UnderNum_, UnderUnit_));
    rl->addRow(zhOrEn("上限设置", "Over Limit Setting"), pair(OverNum_, OverUnit_));
    auto* buttons = new QDialogButtonBox;
    buttons->addButton(zhOrEn("确定", "OK"), QDialogButtonBox::AcceptRole);
    buttons->addButton(zhOrEn("取消", "Cancel"), QDialogButtonBox::RejectRole);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(type);
    layout->addWidget(range);
    layout->addWidget(buttons);

    connect(buttons, &QDialogButtonBox::accepted, this,
            [this] { platform::RunHandler("OKButton_Click", [this] { OKButton_Click(); }); });
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(MTypeCombo_, &QComboBox::currentIndexChanged, this, [this](int index) {
        if (filling_ || index < 0) return;
        platform::RunHandler("MTypeCombo_Click", [&] {
            editor_.SelectByNameIndex(index);
            showEditor();
        });
    });
    connect(EnabledChk_, &QCheckBox::clicked, this, [this](bool on) {
        platform::RunHandler("EnabledChk_Click", [&] {
            editor_.SetEnabled(on);
            showEditor();
        });
    });
    connect(UnderNum_, &QLineEdit::textEdited, this,
            [this](const QString& t) { numberEdited(true, t); });
    connect(OverNum_, &QLineEdit::textEdited, this,
            [this](const QString& t) { numberEdited(false, t); });
    connect(UnderUnit_, &QComboBox::currentIndexChanged, this, [this](int row) {
        if (!filling_) editor_.ChangeUnit(true, row);
    });
    connect(OverUnit_, &QComboBox::currentIndexChanged, this, [this](int row) {
        if (!filling_) editor_.ChangeUnit(false, row);
    });
    showEditor();
}

void frmPassFailed::showEditor() {
    filling_ = true;
    const PassFailEditor& e = editor_;
    int nameIndex = 0;
    for (const MeasureRow& row : MeasureRows())
        if (row.slot == e.selectedSlot) nameIndex = row.nameIndex;
    MTypeCombo_->setCurrentIndex(nameIndex);
    EnabledChk_->setChecked(e.enabled);
    for (QComboBox* unit : {UnderUnit_, OverUnit_}) {
        unit->clear();
        unit->addItems(e.units);
    }
    UnderNum_->setText(e.underNum);
    OverNum_->setText(e.overNum);
    UnderUnit_->setCurrentIndex(e.underUnit);
    OverUnit_->setCurrentIndex(e.overUnit);
    for (QWidget* w : {static_cast<QWidget*>(UnderNum_), static_cast<QWidget*>(UnderUnit_),
                       static_cast<QWidget*>(OverNum_), static_cast<QWidget*>(OverUnit_)})
        w->setEnabled(e.enabled);
    filling_ = false;
}

void frmPassFailed::numberEdited(bool under, const QString& text) {
    if (filling_) return;
    if (!editor_.EditNumber(under, text)) {
        platform::MsgBox(MsgBadNumber, platform::MsgButtons::Ok, platform::MsgIcon::Critical);
        (under ? UnderNum_ : OverNum_)->clear();
    }
}

void frmPassFailed::OKButton_Click() {
    if (!editor_.Accept()) {
        showEditor(); // Vpp's over limit below its under limit: the dialog stays
        return;
    }
    MeasureRecords[slot_].Items = editor_.items;
    SheetDirty = true;
    LimitsChanged = true;
    accept();
}
