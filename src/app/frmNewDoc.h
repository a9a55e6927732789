// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// The File > New and File > Open choosers: which kind of document.
#include <QDialog>

class QButtonGroup;

class frmNewDoc : public QDialog {
    Q_OBJECT
public:
    // open: the two kinds that can be opened (data sheet, controller).
    explicit frmNewDoc(bool open, QWidget* parent = nullptr);
    int choice() const; // 1 data sheet, 2 control file, 3 wave ... 7 memory wave

private:
    QButtonGroup* types_;
};

// What New does for a choice: 1 new data sheet, 2 new control file, 3 to 7
// a new window of a kind; anything else nothing.
void RunNewDocChoice(int choice);
// What Open does: 1 a data sheet, 2 a control file.
void RunOpenDocChoice(int choice);
