// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// The adjust dialog: a channel's Volt/Div walked like the instrument's knob,
// in coarse steps on the 1-2-5 ladder or fine steps within a decade, with
// hold-to-repeat buttons; the scale goes to the instrument on OK.
#include <QDialog>

// 0 channel 1 Volt/Div, 1 channel 2 Volt/Div, 2 channel 1 offset, 3 channel 2 offset.
extern int AdjustTarget;
extern int AdjustModeCh1, AdjustModeCh2; // 0 coarse, 1 fine, per channel
extern double AdjustOffsetCh1, AdjustOffsetCh2;

int GetCHProbeNum(const QString& probeText); // "10X" -> 10
// Steps in whole microvolts on the 1X scale; the ends hold.
long StepVoltCoarse(long microvolts, int direction);
long StepVoltFine(long microvolts, int direction);
// The offset a step of 0.04 division further, held within +-limit volts (in microvolts).
double SetCHOffset(double limitVolts, double scale, double currentMicrovolts, int direction);
// One step of the dialog's value text under a probe, coarse or fine.
QString AdjustStep(const QString& text, const QString& probe, int mode, int direction);
// OK for the target: store, send, read back.
void AdjustOK(int target, const QString& text);

class QPushButton;
class QLineEdit;
class QRadioButton;
namespace platform {
class HoldRepeat;
}

class CtrlDialogAdjust : public QDialog {
    Q_OBJECT
public:
    CtrlDialogAdjust(int target, QWidget* parent = nullptr);
    QLineEdit* value() const { return txtDispValue_; }
    QPushButton* addButton() const { return DotAddRainBtn_; }
    QPushButton* subButton() const { return DotSubRainBtn_; }
    bool repeating() const; // a step button is held
    void OptVoltDiv_Click(int index);

private:
    void step(int direction);
    int target_;
    QLineEdit* txtDispValue_;
    QRadioButton* coarse_;
    QRadioButton* fine_;
    QPushButton* DotAddRainBtn_;
    QPushButton* DotSubRainBtn_;
    QList<platform::HoldRepeat*> repeaters_;
};
