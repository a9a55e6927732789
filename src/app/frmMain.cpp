// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/frmMain.h"

#include "acquire/MeasureJob.h"
#include "acquire/TableJob.h"
#include "acquire/WaveJob.h"
#include "app/FrameLogic.h"
#include "app/OptionsLogic.h"
#include "app/frmAbout.h"
#include "app/frmNewDoc.h"
#include "app/frmOptions.h"
#include "controller/CtrlData.h"
#include "controller/CtrlFile.h"
#include "controller/CtrlState.h"
#include "controller/PraseCtrlList.h"
#include "controller/SettingsExchange.h"
#include "controller/frmCtrlList.h"
#include "link/Connection.h"
#include "link/LinkState.h"
#include "link/RS232Func.h"
#include "link/UsbFunc.h"
#include "logger/frmDataLogger.h"
#include "measure/frmMeasure.h"
#include "memwave/frmOpenWaveform.h"
#include "panel/frmV_Panel.h"
#include "platform/Desktop.h"
#include "platform/Faults.h"
#include "platform/MsgBox.h"
#include "platform/Pacing.h"
#include "platform/Printing.h"
#include "platform/Settings.h"
#include "platform/Status.h"
#include "platform/Visa.h"
#include "replay/frmRecordPlay.h"
#include "shared/AppIdentity.h"
#include "shared/ComPorts.h"
#include "shared/FileFunc.h"
#include "shared/Icons.h"
#include "shared/LoadLanguage.h"
#include "shared/SoftwareSetting.h"
#include "sheet/DataSheet.h"
#include "sheet/DocWindow.h"
#include "sheet/frmDataSheetTree.h"
#include "views/frmData.h"
#include "views/frmWave.h"
#include "views/frmWaveSetting.h"

#include <QApplication>
#include <QCloseEvent>
#include <QFile>
#include <QFileInfo>
#include <QLabel>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMenuBar>
#include <QScreen>
#include <QStatusBar>
#include <QTimer>
#include <QToolBar>
#include <utility>

frmMain* fMainForm = nullptr;

void DockPane::closeEvent(QCloseEvent* event) {
    QDockWidget::closeEvent(event);
    emit closedByUser();
}

namespace {

// A handler body behind the fault guard: a run-time fault ends it, not the program.
double screenDpi(const QWidget* w) {
    const QScreen* screen = w->screen() ? w->screen() : QGuiApplication::primaryScreen();
    return screen ? screen->logicalDotsPerInch() : 96.0;
}

void tileSubWindows(QMdiArea* mdi, bool horizontal) {
    QList<QMdiSubWindow*> windows;
    for (QMdiSubWindow* w : mdi->subWindowList())
        if (!w->isMinimized() && w->isVisible()) windows << w;
    if (windows.isEmpty()) return;
    const QRect area = mdi->viewport()->rect();
    const int n = static_cast<int>(windows.size());
    for (int i = 0; i < n; ++i) {
        QRect r = horizontal ? QRect(0, area.height() * i / n, area.width(), area.height() / n)
                             : QRect(area.width() * i / n, 0, area.width() / n, area.height());
        windows[i]->showNormal();
        windows[i]->setGeometry(r);
    }
}

void arrangeIcons(QMdiArea* mdi) {
    int x = 0;
    const int bottom = mdi->viewport()->height();
    for (QMdiSubWindow* w : mdi->subWindowList()) {
        if (!w->isMinimized()) continue;
        w->move(x, bottom - w->height());
        x += w->width();
    }
}

} // namespace

frmMain::frmMain() {
    mdi_ = new QMdiArea(this);
    mdi_->setHorizontalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    mdi_->setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    setCentralWidget(mdi_);
    SetDocArea(mdi_);
    platform::SetSettingsWriteFailureHandler([](const QString& path) {
        platform::MsgBox(SettingsUnwritableText(path), platform::MsgButtons::Ok,
                         platform::MsgIcon::Exclamation, kAppTitle);
    });
    SetVirtualPanelOpener([this] {
        QWidget* window = OpenVirtualPanel();
        // Set on the widget: a sub-window whose widget has no icon of its own
        // shows the style's placeholder, not the application's.
        window->setWindowIcon(OwnIcon("korvane"));
        QMdiSubWindow* sub = mdi_->addSubWindow(window);
        sub->setAttribute(Qt::WA_DeleteOnClose);
        sub->show();
        // The frame around the widget (known once shown), then the widget at
        // the screen's largest whole zoom that the area holds, or the keys
        // alone no larger than the area (they turn to pages).
        const QSize frame = sub->size() - window->size();
        const QSize room = mdi_->viewport()->size() - frame;
        if (auto* panel = qobject_cast<frmV_Panel*>(window))
            sub->resize(panel->OpeningSize(room) + frame);
        else
            sub->resize(window->sizeHint().boundedTo(room) + frame);
        // Wholly in view: shown at its first size, it may have scrolled the area.
        const QSize free = mdi_->viewport()->size() - sub->size();
        sub->move(std::clamp(sub->x(), 0, std::max(0, free.width())),
                  std::clamp(sub->y(), 0, std::max(0, free.height())));
    });
    connect(mdi_, &QMdiArea::subWindowActivated, this, [](QMdiSubWindow* sub) {
        if (sub) DocWindowActivated(qobject_cast<DocWindow*>(sub->widget()));
    });
    buildMenus();
    buildToolBar();
    buildStatusBar();
    buildTimers();
    setDockNestingEnabled(true);

    SetRecentCtrlMenuView([this](const QStringList& entries) {
        showRecent(menu("mnuRecentCtrlRoot"), "mnuFileRecentCtrl", entries);
    });
    SetRecentSheetMenuView([this](const QStringList& entries) {
        showRecent(menu("mnuRecentSheetRoot"), "mnuFileRecentSheet", entries);
    });
    SetLampView([this](bool connected) { setLamps(connected); });
    SetStatusView([this](const QString& message) { SetStatusText(message); });
    platform::SetStatusSink([this](const QString& note) { statusBar()->showMessage(note, 6000); });
    OfferComPortsToVisa();
    captionRoutineId_ = AddCaptionRoutine([this](int index) { ApplyCaptions(index); });
    ApplyCaptions(CaptionLanguage());
}

frmMain::~frmMain() {
    RemoveCaptionRoutine(captionRoutineId_);
    SetRecentCtrlMenuView({});
    SetRecentSheetMenuView({});
    SetLampView({});
    SetStatusView({});
    SetSheetPresenceView({});
    SetDocArea(nullptr);
    SetVirtualPanelOpener({});
    platform::SetAsrlPortProvider({});
    if (fMainForm == this) fMainForm = nullptr;
}

// ---- construction ------------------------------------------------------------

QAction* frmMain::addAction(QMenu* m, const QString& name) {
    auto* a = m->addAction(name);
    a->setObjectName(name);
    actions_.insert(name, a);
    return a;
}

void frmMain::buildMenus() {
    auto addMenu = [this](QMenu* parentMenu, const QString& name) {
        QMenu* m = parentMenu ? parentMenu->addMenu(name) : menuBar()->addMenu(name);
        m->setObjectName(name);
        m->menuAction()->setObjectName(name);
        menus_.insert(name, m);
        return m;
    };

    QMenu* file = addMenu(nullptr, "mnuFile");
    addAction(file, "mnuFileNew")->setShortcut(QKeySequence::New);
    addAction(file, "mnuFileOpen")->setShortcut(QKeySequence::Open);
    file->addSeparator();
    addAction(file, "mnuFileSaveDataSheet");
    addAction(file, "mnuFileSaveCtrlFile");
    addAction(file, "mnuFileSaveAll")->setShortcut(QKeySequence::Save);
    file->addSeparator();
    addAction(file, "mnuFilePageSetup");
    file->addSeparator();
    QMenu* recentCtrl = addMenu(file, "mnuRecentCtrlRoot");
    QMenu* recentSheet = addMenu(file, "mnuRecentSheetRoot");
    for (int i = 0; i < kRecentCount; ++i) {
        QAction* c = addAction(recentCtrl, "mnuFileRecentCtrl" + QString::number(i));
        connect(c, &QAction::triggered, this, platform::Guarded("mnuFileRecentCtrl_Click", [c] {
                    OpenCtrl(c->data().toString());
                }));
        QAction* s = addAction(recentSheet, "mnuFileRecentSheet" + QString::number(i));
        connect(s, &QAction::triggered, this, platform::Guarded("mnuFileRecentSheet_Click", [s] {
                    OpenDataSheet(s->data().toString());
                }));
    }
    file->addSeparator();
    addAction(file, "mnuFileExit")->setShortcut(QKeySequence::Quit);

    QMenu* view = addMenu(nullptr, "mnuView");
    for (const char* name : {"mnuViewToolbar", "mnuViewStatusBar"}) {
        QAction* a = addAction(view, name);
        a->setCheckable(true);
        a->setChecked(true);
    }
    view->addSeparator();
    for (const char* name : {"mnuViewController", "mnuViewDataBrowser"})
        addAction(view, name)->setCheckable(true);

    QMenu* tools = addMenu(nullptr, "mnuTools");
    addAction(tools, "mnuToolsConnect");
    addAction(tools, "mnuToolsDisconnect");
    tools->addSeparator();
    addAction(tools, "mnuToolsDataLogger");
    addAction(tools, "mnuToolsOptions");

    QMenu* window = addMenu(nullptr, "mnuWindow");
    for (const char* name : {"mnuWindowCascade", "mnuWindowTileHorizontal", "mnuWindowTileVertical",
                             "mnuWindowArrangeIcons"})
        addAction(window, name);

    QMenu* help = addMenu(nullptr, "mnuHelp");
    addAction(help, "mnuHelpContents")->setShortcut(QKeySequence::HelpContents);
    help->addSeparator();
    addAction(help, "mnuHelpAbout");
    help->addSeparator();
    QMenu* language = addMenu(help, "mnuHelpLanguage");
    addAction(language, "mnuLanguageChinese")->setCheckable(true);
    addAction(language, "mnuLanguageEnglish")->setCheckable(true);

    auto on = [this](const char* name, const char* handler, auto fn) {
        connect(action(name), &QAction::triggered, this, platform::Guarded(handler, fn));
    };
    on("mnuFileSaveDataSheet", "mnuFileSaveDataSheet_Click", [] { SaveDataSheet(); });
    on("mnuFileSaveCtrlFile", "mnuFileSaveCtrlFile_Click", [] { SaveControlFile(); });
    on("mnuFileSaveAll", "mnuFileSaveAll_Click", [] {
        SaveControlFile();
        SaveDataSheet();
    });
    on("mnuFilePageSetup", "mnuFilePageSetup_Click", [] { platform::PageSetup("Page Setup"); });
    on("mnuFileExit", "mnuFileExit_Click", [this] { close(); });
    on("mnuViewToolbar", "mnuViewToolbar_Click", [this] { mnuViewToolbar_Click(); });
    on("mnuViewStatusBar", "mnuViewStatusBar_Click", [this] { mnuViewStatusBar_Click(); });
    on("mnuViewController", "mnuViewController_Click", [this] { mnuViewController_Click(); });
    on("mnuViewDataBrowser", "mnuViewDataBrowser_Click", [this] { mnuViewDataBrowser_Click(); });
    on("mnuToolsConnect", "mnuToolsConnect_Click", [this] { mnuToolsConnect_Click(); });
    on("mnuToolsDisconnect", "mnuToolsDisconnect_Click", [this] { mnuToolsDisconnect_Click(); });
    on("mnuToolsOptions", "mnuToolsOptions_Click", [this] { mnuToolsOptions_Click(); });
    on("mnuToolsDataLogger", "mnuToolsDataLogger_Click", [this] { mnuToolsDataLogger_Click(); });
    on("mnuWindowCascade", "mnuWindowCascade_Click", [this] { mdi_->cascadeSubWindows(); });
    on("mnuWindowTileHorizontal", "mnuWindowTileHorizontal_Click",
       [this] { tileSubWindows(mdi_, true); });
    on("mnuWindowTileVertical", "mnuWindowTileVertical_Click",
       [this] { tileSubWindows(mdi_, false); });
    on("mnuWindowArrangeIcons", "mnuWindowArrangeIcons_Click", [this] { arrangeIcons(mdi_); });
    on("mnuHelpContents", "mnuHelpContents_Click", [this] { mnuHelpContents_Click(); });
    on("mnuHelpAbout", "mnuHelpAbout_Click", [this] { mnuHelpAbout_Click(); });
    // After the switch the stored words are translated: the tree shows them anew.
    on("mnuLanguageChinese", "mnuLanguageChinese_Click", [] {
        SwitchLanguage(kLanguageChinese);
        CtrlTreeChanged(CtrlTreeChange::Shape);
    });
    on("mnuLanguageEnglish", "mnuLanguageEnglish_Click", [] {
        SwitchLanguage(kLanguageEnglish);
        CtrlTreeChanged(CtrlTreeChange::Shape);
    });
    on("mnuFileNew", "mnuFileNew_Click", [this] {
        DialogAccepted = false;
        frmNewDoc dialog(false, this);
        if (dialog.exec() == QDialog::Accepted && DialogAccepted) RunNewDocChoice(dialog.choice());
    });
    on("mnuFileOpen", "mnuFileOpen_Click", [this] {
        DialogAccepted = false;
        frmNewDoc dialog(true, this);
        if (dialog.exec() == QDialog::Accepted && DialogAccepted) RunOpenDocChoice(dialog.choice());
    });
}

namespace {
// The toolbar's add buttons and what they add.
void (*addHandlerFor(const char* key))() {
    const QString k = QString::fromLatin1(key);
    if (k == "AddNewWaveform") return AddNewWaveform;
    if (k == "AddNewMeasure") return AddNewMeasure;
    if (k == "AddNewData") return AddNewData;
    if (k == "AddNewRecord") return AddNewRecord;
    if (k == "AddNewMemoryWaveform") return AddNewMemoryWave;
    return nullptr;
}
} // namespace

void frmMain::buildToolBar() {
    tbToolBar_ = addToolBar("tbToolBar");
    tbToolBar_->setObjectName("tbToolBar");
    tbToolBar_->setMovable(false);
    tbToolBar_->setIconSize(QSize(24, 24));
    struct Button {
        const char* key;
        const char* icon;    // freedesktop name, or the program's own
        const char* mirrors; // the menu item it acts as, if any
    };
    const Button buttons[] = {
        {"New", "document-new", "mnuFileNew"},
        {"Open", "document-open", "mnuFileOpen"},
        {"Save", "document-save", "mnuFileSaveAll"},
        {"Connect", "network-connect", "mnuToolsConnect"},
        {"Disconnect", "network-disconnect", "mnuToolsDisconnect"},
        {"Controller", "korvane-controller", "mnuViewController"},
        {"DataBrowser", "korvane-databrowser", "mnuViewDataBrowser"},
        {"AddNewWaveform", "korvane-wave", nullptr},
        {"AddNewMeasure", "korvane-measure", nullptr},
        {"AddNewData", "korvane-data", nullptr},
        {"AddNewRecord", "korvane-record", nullptr},
        {"AddNewMemoryWaveform", "korvane-memory", nullptr},
        {"Options", "preferences-system", "mnuToolsOptions"},
        {"FFT", "korvane-fft", nullptr},
    };
    for (const Button& b : buttons) {
        const QString icon = b.icon;
        QAction* a = tbToolBar_->addAction(
            icon.startsWith("korvane") ? OwnIcon(icon) : ThemeIcon(icon), b.key);
        if (b.mirrors && !icon.startsWith("korvane")) action(b.mirrors)->setIcon(a->icon());
        a->setObjectName(QString("tb") + b.key);
        actions_.insert(a->objectName(), a);
        if (QString(b.key) == "FFT") {
            connect(a, &QAction::triggered, this,
                    platform::Guarded("tbToolBar_ButtonClick", [this] {
                        frmWaveSetting dialog(this);
                        dialog.exec();
                    }));
        } else if (const auto add = addHandlerFor(b.key)) {
            connect(a, &QAction::triggered, this, platform::Guarded("tbToolBar_ButtonClick", add));
        } else if (b.mirrors) {
            // The buttons act as their menu items; the View items toggle, so
            // the button triggers the item to keep its check in step.
            QAction* item = action(b.mirrors);
            connect(a, &QAction::triggered, item, &QAction::trigger);
        }
    }
}

void frmMain::buildStatusBar() {
    statusPanel_ = new QLabel;
    statusPanel_->setObjectName("Status");
    statusPanel_->setMinimumWidth(240);
    statusBar()->addWidget(statusPanel_, 1);
    picLED_ON_ = new QLabel;
    picLED_ON_->setObjectName("picLED_ON");
    picLED_ON_->setPixmap(LampPixmap(true));
    picLED_OFF_ = new QLabel;
    picLED_OFF_->setObjectName("picLED_OFF");
    picLED_OFF_->setPixmap(LampPixmap(false));
    // Permanent widgets keep their place at the right of the bar on resize.
    statusBar()->addPermanentWidget(picLED_ON_);
    statusBar()->addPermanentWidget(picLED_OFF_);
    setLamps(false);
}

void frmMain::buildTimers() {
    auto makeTimer = [this](const char* name, int ms, bool singleShot) {
        auto* t = new QTimer(this);
        t->setObjectName(name);
        t->setInterval(ms);
        t->setSingleShot(singleShot);
        return t;
    };
    commTimer_ = makeTimer("CommTimer", 2000, true);
    connect(commTimer_, &QTimer::timeout, this,
            [this] { statusPanel_->setText(FormText("frmMain", "StatusIdle")); });
    commBusyTimer_ = makeTimer("CommBusyTimer", 200, false); // kept idle: its handler is empty
    // The title follows the sheet: its file name and the modified mark.
    titleTimer_ = makeTimer("TitleTimer", 250, false);
    connect(titleTimer_, &QTimer::timeout, this, [this] { UpdateTitle(); });
    titleTimer_->start();
    timerInit_ = makeTimer("TimerInit", 1, true);
    connect(timerInit_, &QTimer::timeout, this,
            platform::Guarded("TimerInit_Timer", [this] { timerInit_Timer(); }));
}

void frmMain::buildPanes() {
    dataSheetPane_ = new DockPane(this);
    dataSheetPane_->setObjectName("DataSheet");
    dataSheetPane_->setWidget(new frmDataSheetTree);
    controllerPane_ = new DockPane(this);
    controllerPane_->setObjectName("Controller");
    controllerPane_->setWidget(new frmCtrlList);
    addDockWidget(Qt::LeftDockWidgetArea, dataSheetPane_);
    addDockWidget(Qt::LeftDockWidgetArea, controllerPane_);
    dataSheetPane_->hide();
    controllerPane_->hide();
    connect(dataSheetPane_, &DockPane::closedByUser, this,
            [this] { action("mnuViewDataBrowser")->setChecked(false); });
    connect(controllerPane_, &DockPane::closedByUser, this,
            [this] { action("mnuViewController")->setChecked(false); });
    ApplyCaptions(CaptionLanguage());
}

// ---- Load and start-up -------------------------------------------------------

void frmMain::Load() {
    DialogAccepted = false; // 1
    LoadRecentSheetMenu();  // 2
    LoadRecentCtrlMenu();
    commTimer_->stop(); // 3
    Connected = false;
    FillTraceColors(); // 4
    MakerName = "Vexor Technologies,Inc.";
    ProductName = "NQ4000L";
    ModelHasLa = true; // 5
    RegisterCtrlDataForTranslation();
    RegisterSettingsJobs();
    RegisterMeasureJobs();
    RegisterWaveJob();
    RegisterTableJobs();
    RegisterWaveWindow();
    RegisterDataWindow();
    RegisterMeasureWindow();
    RegisterRecordWindow();
    RegisterMemoryWaveWindow();
    SheetDirty = false;
    setLamps(Connected);   // 6
    StartLinkTimers();     // 7
    LoadSoftwareSetting(); // 8
    OpenVisaRM();
    ApplyLanguage(LanguageIndex); // 9
    RawBias = 25;                 // 10
    if (SoftwareSetting.StartupCheckHardware)
        platform::RunHandler("ConnectToDevice", [] { ConnectToDevice(); });
    timerInit_->start(); // 11
    // 12: the measurement slots come with the measure window.
    Connecting = false; // 13
    buildPanes();       // 14
    // The add buttons work only on a sheet.
    SetSheetPresenceView([this](bool exists) {
        for (const char* key : {"tbAddNewWaveform", "tbAddNewMeasure", "tbAddNewData",
                                "tbAddNewRecord", "tbAddNewMemoryWaveform"})
            action(key)->setEnabled(exists);
    });
}

void frmMain::timerInit_Timer() {
    timerInit_->stop();
    ShowDataSheet();
    ShowController();
    // The controller is the working tree: it gets most of the height.
    resizeDocks({dataSheetPane_, controllerPane_}, {height() / 4, height() * 3 / 4}, Qt::Vertical);
    resizeDocks({controllerPane_}, {300}, Qt::Horizontal);
    action("mnuViewController")->setChecked(true);
    action("mnuViewDataBrowser")->setChecked(true);
    const QString ctrl = action("mnuFileRecentCtrl0")->data().toString();
    if (SoftwareSetting.StartupLoadCtrl && !ctrl.isEmpty()) OpenCtrl(ctrl);
    const QString sheet = action("mnuFileRecentSheet0")->data().toString();
    if (SoftwareSetting.StartupLoadSheet && !sheet.isEmpty()) OpenDataSheet(sheet);
    for (const QString& path : std::exchange(openAtStart_, {}))
        platform::RunHandler("OpenAtStart", [&path] { OpenFileByKind(path); });
}

void OpenFileByKind(const QString& path) {
    const QString suffix = QFileInfo(path).suffix().toLower();
    if (suffix == QLatin1String("ult")) {
        OpenDataSheet(path);
        return;
    }
    if (suffix == QLatin1String("rmt")) {
        OpenCtrl(path);
        return;
    }
    const DocKind kind = suffix == QLatin1String("rcd") ? DocKind::Record : DocKind::MemoryWave;
    if (!SheetExists() && !NewDataSheet()) return;
    const int slot = AddDocument(kind);
    if (slot < 0) return;
    if (auto* record = qobject_cast<frmRecordPlay*>(DocForm(kind, slot)))
        record->LoadRecord(path);
    else if (auto* wave = qobject_cast<frmOpenWaveform*>(DocForm(kind, slot)))
        wave->LoadWaveform(path);
}

void frmMain::LoadSoftwareSetting() {
    const FramePlaceTwips place = ReadSoftwareSetting();
    VisaRsrcIndex = 0; // the link's part of loading: the device is chosen anew
    LoadComPortMap();
    const double dpi = screenDpi(this);
    const QRect wanted(
        qRound(TwipsToPixels(place.left, dpi)), qRound(TwipsToPixels(place.top, dpi)),
        qRound(TwipsToPixels(place.width, dpi)), qRound(TwipsToPixels(place.height, dpi)));
    QList<QRect> screens;
    for (const QScreen* s : QGuiApplication::screens())
        screens << s->availableGeometry();
    if (!place.remembered && !screens.isEmpty()) {
        const QScreen* primary = QGuiApplication::primaryScreen();
        setGeometry(FirstPlace(primary ? primary->availableGeometry() : screens.first()));
        return;
    }
    setGeometry(PlaceOnScreens(wanted, screens));
}

void frmMain::SaveSoftwareSetting() {
    FramePlaceTwips place;
    const double dpi = screenDpi(this);
    const QRect g = geometry();
    place.left = PixelsToTwips(g.x(), dpi);
    place.top = PixelsToTwips(g.y(), dpi);
    place.width = PixelsToTwips(g.width(), dpi);
    place.height = PixelsToTwips(g.height(), dpi);
    WriteSoftwareSetting(isMinimized() ? nullptr : &place);
    SaveComPortMap();
}

void frmMain::OpenVisaRM() {
    ::OpenVisaRM();
}
void frmMain::CloseVisaRM() {
    ::CloseVisaRM();
}

// ---- panes -------------------------------------------------------------------

void frmMain::HideController() {
    if (controllerPane_) controllerPane_->hide();
}
void frmMain::ShowController() {
    if (controllerPane_) controllerPane_->show();
}
void frmMain::HideDataSheet() {
    if (dataSheetPane_) dataSheetPane_->hide();
}
void frmMain::ShowDataSheet() {
    if (dataSheetPane_) dataSheetPane_->show();
}

DockPane* frmMain::pane(const QString& key) const {
    if (key == "DataSheet") return dataSheetPane_;
    if (key == "Controller") return controllerPane_;
    return nullptr;
}

void frmMain::mnuViewToolbar_Click() {
    tbToolBar_->setVisible(action("mnuViewToolbar")->isChecked());
}

void frmMain::mnuViewStatusBar_Click() {
    statusBar()->setVisible(action("mnuViewStatusBar")->isChecked());
}

void frmMain::mnuViewController_Click() {
    if (action("mnuViewController")->isChecked())
        ShowController();
    else
        HideController();
}

void frmMain::mnuViewDataBrowser_Click() {
    if (action("mnuViewDataBrowser")->isChecked())
        ShowDataSheet();
    else
        HideDataSheet();
}

// ---- Tools and Help ----------------------------------------------------------

void frmMain::mnuToolsConnect_Click() {
    QApplication::setOverrideCursor(Qt::WaitCursor);
    platform::RunHandler("ConnectToDevice", [] { ConnectToDevice(); });
    QApplication::restoreOverrideCursor();
}

void frmMain::mnuToolsDisconnect_Click() {
    DisconnectFromDevice();
    VisaCloseInstr();
}

// One Data Logger window: the menu brings it forward when it is open.
void frmMain::mnuToolsDataLogger_Click() {
    for (QMdiSubWindow* sub : mdi_->subWindowList())
        if (qobject_cast<frmDataLogger*>(sub->widget())) {
            mdi_->setActiveSubWindow(sub);
            return;
        }
    auto* logger = new frmDataLogger;
    logger->setWindowIcon(OwnIcon("korvane"));
    QMdiSubWindow* sub = mdi_->addSubWindow(logger);
    sub->setAttribute(Qt::WA_DeleteOnClose);
    sub->resize(mdi_->viewport()->size().boundedTo(QSize(720, 520)));
    sub->show();
}

void frmMain::mnuToolsOptions_Click() {
    frmOptions dialog(this);
    dialog.exec();
}

void frmMain::mnuHelpContents_Click() {
    // Beside the program in a build tree; under share/ when installed.
    QString path = QCoreApplication::applicationDirPath() + "/" + HelpFileName();
    const QString installed =
        QCoreApplication::applicationDirPath() + "/../share/korvane/help/" + HelpFileName();
    if (!QFile::exists(path) && QFile::exists(installed))
        path = QFileInfo(installed).canonicalFilePath();
    const QString error = platform::OpenDocument(path);
    if (!error.isEmpty())
        platform::MsgBox(HelpUnavailableText(error), platform::MsgButtons::Ok,
                         platform::MsgIcon::Exclamation, kAppTitle);
}

void frmMain::mnuHelpAbout_Click() {
    frmAbout about(this);
    about.exec();
}

// ---- status bar and lamps ----------------------------------------------------

void frmMain::setLamps(bool connected) {
    picLED_ON_->setVisible(connected);
    picLED_OFF_->setVisible(!connected);
}

QString frmMain::statusText() const {
    return statusPanel_->text();
}

void frmMain::SetStatusText(const QString& text) {
    statusPanel_->setText(FormText("frmMain", "StatusIdle") + text);
    commTimer_->start();
}

void frmMain::showRecent(QMenu* root, const QString& prefix, const QStringList& entries) {
    root->menuAction()->setVisible(!entries.isEmpty());
    for (int i = 0; i < kRecentCount; ++i) {
        QAction* item = action(prefix + QString::number(i));
        const bool used = i < entries.size();
        item->setVisible(used);
        item->setData(used ? entries[i] : QString());
        item->setText(used ? QString(entries[i]).replace('&', "&&") : QString());
    }
}

// ---- captions ----------------------------------------------------------------

void frmMain::UpdateTitle() {
    const QString title = FrameTitle(FormText("frmMain", "Caption"));
    if (windowTitle() != title) setWindowTitle(title);
    const bool modified = SheetDirty && title.contains(QLatin1String("[*]"));
    if (isWindowModified() != modified) setWindowModified(modified);
}

void frmMain::ApplyCaptions(int index) {
    if (index != kLanguageChinese && index != kLanguageEnglish) return;
    UpdateTitle();
    for (auto it = menus_.cbegin(); it != menus_.cend(); ++it) {
        const QString text = FormText("frmMain", it.key().toUtf8().constData());
        if (!text.isEmpty()) it.value()->setTitle(text);
    }
    for (auto it = actions_.cbegin(); it != actions_.cend(); ++it) {
        if (it.key().startsWith("mnuFileRecent")) continue;
        const QString text = FormText("frmMain", it.key().toUtf8().constData());
        if (text.isEmpty()) continue;
        if (it.key().startsWith("tb"))
            it.value()->setToolTip(text);
        else
            it.value()->setText(text);
    }
    action("mnuLanguageChinese")->setChecked(index == kLanguageChinese);
    action("mnuLanguageEnglish")->setChecked(index == kLanguageEnglish);
    picLED_ON_->setToolTip(FormText("frmMain", "picLED_ON"));
    picLED_OFF_->setToolTip(FormText("frmMain", "picLED_OFF"));
    if (!commTimer_->isActive()) statusPanel_->setText(FormText("frmMain", "StatusIdle"));
    if (dataSheetPane_) dataSheetPane_->setWindowTitle(FormText("frmMain", "paneDataSheet"));
    if (controllerPane_) controllerPane_->setWindowTitle(FormText("frmMain", "paneController"));
}

QAction* frmMain::action(const QString& name) const {
    return actions_.value(name);
}
QMenu* frmMain::menu(const QString& name) const {
    return menus_.value(name);
}

// ---- closing -----------------------------------------------------------------

void frmMain::closeEvent(QCloseEvent* event) {
    if (unloaded_) { // ended already (a signal): no questions
        event->accept();
        return;
    }
    bool mayClose = true;
    platform::RunHandler("Form_QueryUnload", [&mayClose] {
        mayClose = QueryUnload([] { return SaveDataSheet(); }, [] { return SaveControlFile(); });
    });
    if (!mayClose) {
        event->ignore();
        return;
    }
    unload();
    event->accept();
}

void frmMain::EndWithoutQuestions() {
    for (QWidget* w : QApplication::topLevelWidgets())
        if (w != this && w->isVisible()) w->close();
    unload();
}

void frmMain::unload() {
    if (unloaded_) return;
    unloaded_ = true;
    platform::RunHandler("Form_Unload", [this] {
        // A running data log stops (its run returns once this handler has):
        // it does not reconnect to a link that is being closed.
        for (frmDataLogger* logger : findChildren<frmDataLogger*>())
            logger->RequestStop();
        // The panel's refresh stops and its window goes before the link
        // closes: nothing may ask the instrument, or draw, for a frame that
        // is going.
        PanelRunning = false;
        PanelOpen = false;
        for (QWidget* panel : findChildren<QWidget*>())
            if (qobject_cast<frmV_Panel*>(panel) || qobject_cast<frmV_Key*>(panel)) {
                if (auto* sub = qobject_cast<QMdiSubWindow*>(panel->parentWidget()))
                    sub->close();
                else
                    panel->close();
            }
        SaveSoftwareSetting();
        UnloadLink();
    });
}
