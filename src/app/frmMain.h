// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// The one frame of the program: menus, toolbar, status bar with the two
// connection lamps, the docking bar with the Data Sheet and Controller panes,
// and the child-window area.
#include <QDockWidget>
#include <QHash>
#include <QMainWindow>

class QAction;
class QLabel;
class QMdiArea;
class QMenu;
class QTimer;
class QToolBar;

// A docked pane that tells when the user closes it.
class DockPane : public QDockWidget {
    Q_OBJECT
public:
    using QDockWidget::QDockWidget;
signals:
    void closedByUser();

protected:
    void closeEvent(QCloseEvent* event) override;
};

// Opens a file by its kind (.ult, .rmt, .rcd, .wfm), each in its place.
void OpenFileByKind(const QString& path);

class frmMain : public QMainWindow {
    Q_OBJECT
public:
    frmMain();
    ~frmMain() override;

    // Load: the start-up steps, in order. Main calls it once before showing.
    void Load();

    void LoadSoftwareSetting();
    void SaveSoftwareSetting();
    void OpenVisaRM();
    void CloseVisaRM();
    void HideController();
    void ShowController();
    void HideDataSheet();
    void ShowDataSheet();

    // For the parts that act on the frame, and for tests.
    QAction* action(const QString& name) const;
    QMenu* menu(const QString& name) const;
    QToolBar* toolBar() const { return tbToolBar_; }
    QMdiArea* mdiArea() const { return mdi_; }
    DockPane* pane(const QString& key) const;
    QLabel* lampOn() const { return picLED_ON_; }
    QLabel* lampOff() const { return picLED_OFF_; }
    QString statusText() const;
    void SetStatusText(const QString& text); // panel "Status"; CommTimer restores it
    QTimer* timerInit() const { return timerInit_; }

    void ApplyCaptions(int index);
    // The title: the sheet's file name, the modified mark, the caption.
    void UpdateTitle();
    // The end of the program without the questions about unsaved files (a
    // signal asked for it): settings saved, instrument unlocked, link closed.
    void EndWithoutQuestions();
    // Files named on the command line, opened once the frame is up: a sheet,
    // a control file, a record or a waveform file (each in its window).
    void OpenAtStart(const QStringList& paths) { openAtStart_ = paths; }

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void buildMenus();
    void buildToolBar();
    void buildStatusBar();
    void buildTimers();
    void buildPanes();
    QAction* addAction(QMenu* menu, const QString& name);
    void showRecent(QMenu* root, const QString& prefix, const QStringList& entries);
    void setLamps(bool connected);
    void timerInit_Timer();
    void unload();

    // View, Help and Tools handlers.
    void mnuViewToolbar_Click();
    void mnuViewStatusBar_Click();
    void mnuViewController_Click();
    void mnuViewDataBrowser_Click();
    void mnuHelpContents_Click();
    void mnuHelpAbout_Click();
    void mnuToolsOptions_Click();
    void mnuToolsDataLogger_Click();
    void mnuToolsConnect_Click();
    void mnuToolsDisconnect_Click();

    QMdiArea* mdi_ = nullptr;
    QToolBar* tbToolBar_ = nullptr;
    QLabel* statusPanel_ = nullptr;
    QLabel* picLED_ON_ = nullptr;
    QLabel* picLED_OFF_ = nullptr;
    DockPane* dataSheetPane_ = nullptr;
    DockPane* controllerPane_ = nullptr;
    QTimer* commTimer_ = nullptr;
    QTimer* commBusyTimer_ = nullptr;
    QTimer* timerInit_ = nullptr;
    QTimer* titleTimer_ = nullptr;
    QStringList openAtStart_;
    QHash<QString, QAction*> actions_;
    QHash<QString, QMenu*> menus_;
    int captionRoutineId_ = 0;
    bool unloaded_ = false;
};

extern frmMain* fMainForm;

// The entry point: language, splash, frame, event loop.
int Main(int argc, char** argv);
// Main's start before its event loop: the language, the splash, the frame
// loaded and shown (fMainForm).
void StartFrame();
