// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// The pass and fail limits dialog of one measure window.
#include "measure/PassFail.h"

#include <QDialog>

class QCheckBox;
class QComboBox;
class QLineEdit;

extern bool LimitsChanged; // the dialog closed through OK

class frmPassFailed : public QDialog {
    Q_OBJECT
public:
    frmPassFailed(int windowSlot, const QString& windowCaption, QWidget* parent = nullptr);
    PassFailEditor& editor() { return editor_; }
    QComboBox* typeCombo() const { return MTypeCombo_; }
    QLineEdit* underNum() const { return UnderNum_; }
    QLineEdit* overNum() const { return OverNum_; }
    QComboBox* underUnit() const { return UnderUnit_; }
    QComboBox* overUnit() const { return OverUnit_; }
    QCheckBox* enabledChk() const { return EnabledChk_; }
    void OKButton_Click();

private:
    void showEditor(); // the editor's fields into the controls
    void numberEdited(bool under, const QString& text);
    int slot_;
    PassFailEditor editor_;
    QComboBox* MTypeCombo_;
    QCheckBox* EnabledChk_;
    QLineEdit* UnderNum_;
    QLineEdit* OverNum_;
    QComboBox* UnderUnit_;
    QComboBox* OverUnit_;
    bool filling_ = false;
};
