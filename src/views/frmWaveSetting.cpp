// SPDX-License-Identifier: GPL-3.0-or-later
#include "views/frmWaveSetting.h"

#include "platform/Faults.h"
#include "shared/LoadLanguage.h"
#include "sheet/DataSheet.h"
#include "sheet/DocWindow.h"
#include "sheet/SheetRecords.h"
#include "views/FftAnalysis.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QStandardItemModel>
#include <QTabWidget>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace {
bool chinese() {
    return CaptionLanguage() == kLanguageChinese;
}

// Enables a row of a combo box's list.
void enableRow(QComboBox* combo, int row, bool on) {
    auto* model = qobject_cast<QStandardItemModel*>(combo->model());
    if (QStandardItem* item = model ? model->item(row) : nullptr) item->setEnabled(on);
}
} // namespace

frmWaveSetting::frmWaveSetting(QWidget* parent) : QDialog(parent) {
    setObjectName("frmWaveSetting");
    setWindowTitle(chinese() ? QString::fromUtf8("波形设置") : QStringLiteral("Wave Setting"));
    auto* tabs = new QTabWidget;
    auto* page = new QWidget;
    auto* row = new QHBoxLayout(page);
    auto* tree = new QTreeWidget;
    tree->setHeaderHidden(true);
    tree->addTopLevelItem(new QTreeWidgetItem(QStringList("FFT")));
    tree->setMaximumWidth(90);
    row->addWidget(tree);
    auto* form = new QFormLayout;
    TargetCombo_ = new QComboBox;
    SourceCombo_ = new QComboBox;
    WindowCombo_ = new QComboBox;
    ScaleCombo_ = new QComboBox;
    OptScreen_ = new QCheckBox(chinese() ? QString::fromUtf8("在波形窗口中显示")
                                         : QStringLiteral("Show on the wave window"));
    OptScreen_->setChecked(true);
    SourceCombo_->addItems({"CH1", "CH2"});
    WindowCombo_->addItems(
        chinese() ? QStringList{QString::fromUtf8("矩形窗"), QString::fromUtf8("汉宁窗"),
                                QString::fromUtf8("汉明窗"), QString::fromUtf8("布莱克曼窗")}
                  : kFftWindowNames);
    ScaleCombo_->addItems(kFftScaleNames);
    const bool zh = chinese();
    form->addRow(zh ? QString::fromUtf8("目标窗口") : QStringLiteral("Target"), TargetCombo_);
    form->addRow(zh ? QString::fromUtf8("信源") : QStringLiteral("Source"), SourceCombo_);
    form->addRow(zh ? QString::fromUtf8("窗函数") : QStringLiteral("Window"), WindowCombo_);
    form->addRow(zh ? QString::fromUtf8("刻度") : QStringLiteral("Scale"), ScaleCombo_);
    form->addRow(OptScreen_);
    row->addLayout(form);
    tabs->addTab(page, "FFT");
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(tabs);
    layout->addWidget(buttons);
    connect(buttons, &QDialogButtonBox::accepted, this,
            [this] { platform::RunHandler("OKButton_Click", [this] { OKButton_Click(); }); });
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);

    // The wave windows of the sheet, or "None".
    for (int slot = 0; slot < DocCount(DocKind::Wave); ++slot)
        TargetCombo_->addItem(WaveRecords[slot].Name, slot);
    if (TargetCombo_->count() == 0)
        TargetCombo_->addItem(chinese() ? QString::fromUtf8("无") : QStringLiteral("None"), -1);
    connect(TargetCombo_, &QComboBox::currentIndexChanged, this, [this] {
        platform::RunHandler("TargetCombo_Change", [this] { TargetCombo_Change(); });
    });
    TargetCombo_Change();
}

void frmWaveSetting::TargetCombo_Change() {
    const int slot = TargetCombo_->currentData().toInt();
    const bool none = slot < 0;
    for (QWidget* w : {static_cast<QWidget*>(SourceCombo_), static_cast<QWidget*>(WindowCombo_),
                       static_cast<QWidget*>(ScaleCombo_), static_cast<QWidget*>(OptScreen_)})
        w->setEnabled(!none);
    if (none) return;
    const WaveRecord& r = WaveRecords[slot];
    // The rows of the channels the record holds: 1 CH1, 2 CH2, 3 both, 4 neither.
    const int active = r.Loaded ? r.ActiveChannel : 4;
    const bool ch1 = r.Loaded && (active == 1 || active == 3 || (active == 2 && r.ShowCh1));
    const bool ch2 = r.Loaded && (active == 2 || active == 3);
    enableRow(SourceCombo_, 0, ch1);
    enableRow(SourceCombo_, 1, ch2);
    SourceCombo_->setCurrentIndex(ch1 ? 0 : ch2 ? 1 : -1);
}

void frmWaveSetting::OKButton_Click() {
    const int slot = TargetCombo_->currentData().toInt();
    if (slot < 0 || SourceCombo_->currentIndex() < 0) {
        reject();
        return;
    }
    WaveRecord& r = WaveRecords[slot];
    if (ApplyLocalFFT(r, SourceCombo_->currentIndex() + 1,
                      static_cast<FftWindow>(WindowCombo_->currentIndex()),
                      static_cast<FftScale>(ScaleCombo_->currentIndex()),
                      OptScreen_->isChecked())) {
        SheetDirty = true;
        if (DocWindow* w = DocForm(DocKind::Wave, slot)) w->ShowRecord();
    }
    accept();
}
