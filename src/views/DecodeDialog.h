// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// The decoder dialog: find a decoder by name, map its channels to the lanes
// (D0..D15, or CH1/CH2 through the threshold), set its options from their
// allowed values, stack a decoder on its output, and collect stacks. Each
// stack shows, and can be edited, as its command-line text.
#include "decode/DecodeStacks.h"

#include <QDialog>

class QComboBox;
class QDoubleSpinBox;
class QFormLayout;
class QLabel;
class QLineEdit;
class QListWidget;
class QPushButton;

class DecodeDialog : public QDialog {
    Q_OBJECT
public:
    explicit DecodeDialog(const decode::DecodeSetup& setup, QWidget* parent = nullptr);
    // What OK takes: the listed stacks (the one being composed added when
    // the list is empty). Stacks that do not read are said and keep the dialog open.
    decode::DecodeSetup setup() const { return result_; }

    void selectDecoder(const QString& id); // as a click on the list would
    decode::DecodeStack composed() const;  // the stack the editors show
    void addComposed();                    // the "Add" button

    void accept() override;

private:
    void filter(const QString& text);
    void showDecoder(const QString& id);
    QComboBox* laneBox(bool optional);

    QLineEdit* search_;
    QListWidget* list_;
    QLabel* about_;
    QFormLayout* channelForm_;
    QFormLayout* optionForm_;
    QComboBox* stackOn_;
    QListWidget* stacks_;
    QDoubleSpinBox* threshold_;
    QDoubleSpinBox* hysteresis_;
    QString current_;
    QList<QPair<QString, QComboBox*>> channelBoxes_;
    QList<QPair<QString, QWidget*>> optionBoxes_;
    decode::DecodeSetup result_;
};
