// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/frmNewDoc.h"

#include "app/OptionsLogic.h"
#include "controller/CtrlFile.h"
#include "shared/LoadLanguage.h"
#include "sheet/DataSheet.h"

#include <QButtonGroup>
#include <QDialogButtonBox>
#include <QGroupBox>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

frmNewDoc::frmNewDoc(bool open, QWidget* parent) : QDialog(parent) {
    const char* form = open ? "frmOpenDoc" : "frmNewDoc";
    setObjectName(form);
    setWindowTitle(FormText(form, "Caption"));
    auto* frame = new QGroupBox(FormText(form, "fraFileType"));
    auto* frameLayout = new QVBoxLayout(frame);
    types_ = new QButtonGroup(this);
    const int count = open ? 2 : 7;
    for (int i = 1; i <= count; ++i) {
        auto* option =
            new QRadioButton(FormText(form, QString("optType%1").arg(i).toUtf8().constData()));
        types_->addButton(option, i);
        frameLayout->addWidget(option);
    }
    types_->button(open ? 1 : 2)->setChecked(true);
    auto* buttons = new QDialogButtonBox;
    buttons->addButton(FormText(form, "cmdOK"), QDialogButtonBox::AcceptRole);
    buttons->addButton(FormText(form, "cmdCancel"), QDialogButtonBox::RejectRole);
    connect(buttons, &QDialogButtonBox::accepted, this, [this] {
        DialogAccepted = true;
        accept();
    });
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(frame);
    layout->addWidget(buttons);
}

int frmNewDoc::choice() const {
    return types_->checkedId();
}

void RunNewDocChoice(int choice) {
    switch (choice) {
    case 1:
        NewDataSheet();
        break;
    case 2:
        mnuNewCtrl_Click();
        break;
    case 3:
        AddNewWaveform();
        break;
    case 4:
        AddNewMeasure();
        break;
    case 5:
        AddNewData();
        break;
    case 6:
        AddNewRecord();
        break;
    case 7:
        AddNewMemoryWave();
        break;
    default:
        break;
    }
}

void RunOpenDocChoice(int choice) {
    if (choice == 1) OpenDataSheetWithDialog();
    if (choice == 2) mnuOpenCtrl_Click();
}
