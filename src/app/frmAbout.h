// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// The About box: title, version, and a button that starts the desktop's
// system information tool.
#include <QDialog>

class QLabel;

// Starts the first system information tool found; returns false (after
// saying so) when there is none.
bool StartSystemInfo();

class frmAbout : public QDialog {
    Q_OBJECT
public:
    explicit frmAbout(QWidget* parent = nullptr);
    QLabel* versionLabel() const { return labVersion_; }

private:
    QLabel* labVersion_;
};

// The splash shown while the frame loads.
class frmSplash : public QWidget {
    Q_OBJECT
public:
    frmSplash();
    QLabel* versionLabel() const { return labVersion_; }

private:
    QLabel* labVersion_;
};
