// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// The parameter dialog: shaped from a value row of the tree (a word list, a
// number with unit buttons, volts, or a ladder list), and cmdOK's dispatch
// that stores the value, sends it and reads back what the instrument made of it.
#include "controller/PraseCtrlList.h"

#include <QDialog>
#include <QStringList>

enum class DialogShape { WordList, Number, Volts, Adjust, Ladder, QueryOnly };

struct CtrlDialogLayout {
    DialogShape shape = DialogShape::WordList;
    QString caption;        // the Frame's caption: the row's caption
    QStringList items;      // the list
    QString selected;       // the list's current text
    QString input;          // inputTxt
    QList<int> unitButtons; // the cmdEnter buttons shown
    bool inputReadOnly = false;
};

// The list setters.
QStringList SetCtrlDialogTimeDivNum(); // asks ":TIMEBASE:FORMAT?"
QStringList SetCtrlDialogVoltDivNum(const QString& probe);
QStringList SetCtrlDialogMemOffsetNum(); // asks ":WAVEFORM:SYSMEMSIZE?"
QStringList SetCtrlDialogTrigLevelNum();
QStringList SetCtrlDialogTrigSensitivityNum();
QStringList AddLaSource();

// The dialog's shape for a row (what PraseCtrlList prepares).
CtrlDialogLayout ShapeCtrlDialog(const CtrlRowMatch& row);

// cmdOK: the *IDN? guard, the numeric test, the clamps and the dispatch.
// Returns false when the dialog stays open (a text that is no number).
bool CtrlDialogOK(const CtrlRowMatch& row, const QString& selected, const QString& input);
// A unit button: the number times the button's unit, then cmdOK.
// choice: what the dialog's list shows (a unit button keeps it, so the
// threshold's "User" goes out with its number).
bool CtrlDialogEnter(const CtrlRowMatch& row, int button, QString& input,
                     const QString& choice = QString());
// The unit of a cmdEnter button: 0 and 4 milli, 1 micro, 2 nano, 3 pico.
double EnterUnit(int button);

// Read-backs.
void GetTriggerMethod(const QString& method);
void GetTriggerAltTrigType(int channel);
void GetTimeBaseParameter();

class QComboBox;
class QGroupBox;
class QLineEdit;
class QPushButton;

class CtrlDialog : public QDialog {
    Q_OBJECT
public:
    CtrlDialog(const CtrlRowMatch& row, const CtrlDialogLayout& layout, QWidget* parent = nullptr);
    QComboBox* combo() const { return Combo_; }
    QLineEdit* input() const { return inputTxt_; }
    void cmdOK_Click();
    void cmdEnter_Click(int index);

private:
    CtrlRowMatch row_;
    QGroupBox* Frame_;
    QComboBox* Combo_;
    QLineEdit* inputTxt_;
    QList<QPushButton*> cmdEnter_;
};
