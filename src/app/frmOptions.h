// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// The Options dialog: three tabs over OptionsState (see OptionsLogic.h).
#include "app/OptionsLogic.h"

#include <QDialog>

class QButtonGroup;
class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QRadioButton;
class QTabWidget;

class frmOptions : public QDialog {
    Q_OBJECT
public:
    explicit frmOptions(QWidget* parent = nullptr);
    void reject() override; // Cancel, Escape, the close box: nothing changes

    OptionsState state() const; // what the controls show now
    QTabWidget* tabs() const { return tbsOptions_; }
    void cmdOK_Click();

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    void applyCaptions();
    void showState(const OptionsState& st);
    void portChanged(int index);

    QStringList usbResources_;
    QTabWidget* tbsOptions_;
    QRadioButton* portUsb_;
    QRadioButton* portRs232_;
    QCheckBox* ctrlStartLoad_;
    QCheckBox* sheetStartLoad_;
    QCheckBox* hardwareCheck_;
    QLabel* labCurDevice_;
    QComboBox* portCombo_;
    QLineEdit* portDevice_;
    QComboBox* baudCombo_;
    QComboBox* deviceCombo_;
    QComboBox* gpibCombo_;
    QRadioButton* refreshSingle_;
    QRadioButton* refreshAuto_;
    QComboBox* intervalCombo_;
    QList<QWidget*> captioned_; // widgets whose objectName is their caption key
    int chosenIndexBefore_ = 0;
    QString chosenNameBefore_;
};
