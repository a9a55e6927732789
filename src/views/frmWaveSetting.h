// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// The FFT setting dialog: a wave window, a channel, a window function and a
// scale; OK computes the channel's spectrum into the window's record and the
// window draws it.
#include <QDialog>

class QCheckBox;
class QComboBox;

class frmWaveSetting : public QDialog {
    Q_OBJECT
public:
    explicit frmWaveSetting(QWidget* parent = nullptr);
    QComboBox* targetCombo() const { return TargetCombo_; }
    QComboBox* sourceCombo() const { return SourceCombo_; }
    QComboBox* windowCombo() const { return WindowCombo_; }
    QComboBox* scaleCombo() const { return ScaleCombo_; }
    QCheckBox* optScreen() const { return OptScreen_; }
    void TargetCombo_Change();
    void OKButton_Click();

private:
    QComboBox* TargetCombo_;
    QComboBox* SourceCombo_;
    QComboBox* WindowCombo_;
    QComboBox* ScaleCombo_;
    QCheckBox* OptScreen_;
};
