// SPDX-License-Identifier: GPL-3.0-or-later
// The main frame: start-up order, panes and View checks, lamps, closing.
#include "RecordingTransport.h"
#include "Simulator.h"
#include "TestPlatform.h"

#include "app/FrameLogic.h"
#include "app/frmAbout.h"
#include "app/frmMain.h"
#include "app/frmNewDoc.h"
#include "controller/CtrlData.h"
#include "controller/CtrlState.h"
#include "controller/PraseCtrlList.h"
#include "controller/frmCtrlList.h"
#include "link/LinkState.h"
#include "panel/VirtualKeys.h"
#include "panel/frmV_Panel.h"
#include "platform/Pacing.h"
#include "platform/Settings.h"
#include "platform/Visa.h"
#include "shared/AppIdentity.h"
#include "shared/FileFunc.h"
#include "shared/Icons.h"
#include "shared/LoadLanguage.h"
#include "shared/SoftwareSetting.h"
#include "shared/StringRES.h"
#include "sheet/DataSheet.h"

#include <QGuiApplication>
#include <QLabel>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMenu>
#include <QPointer>
#include <QScreen>
#include <QStatusBar>
#include <QTabBar>
#include <QTemporaryDir>
#include <QTimer>
#include <QToolBar>
#include <QToolButton>
#include <QTreeWidget>
#include <QtTest>
#include <memory>

class TestFrame : public QObject {
    Q_OBJECT
private slots:
    void placeOnScreens_data();
    void placeOnScreens();
    void init();
    void cleanup();
    void startsWithoutInstrumentAndWithoutMessages();
    void firstStartTakesThreeQuartersOfTheScreen();
    void titleNamesTheSheetAndItsChanges();
    void exitWithThePanelOpenEndsItsRefreshFirst_data();
    void exitWithThePanelOpenEndsItsRefreshFirst();
    void menusAndToolbarCarryTheirCaptions();
    void panesAndViewChecksStayInStep();
    void toolbarAndStatusBarToggle();
    void exactlyOneLampIsVisible();
    void recentRootsHiddenWhenEmpty();
    void cancelAtEitherQuestionKeepsTheProgram();
    void yesThenNoSavesTheSheetAndCloses();
    void unloadSavesSettingsAndUnlocksWhenConnected();
    void helpOpensThePageOfTheLanguage();
    void helpFailureShowsTheErrorText();
    void systemInfoUnavailableIsSaid();
    void connectAndDisconnectFromTheMenus();
    void chineseCaptionsDoWhatTheySay_data();
    void chineseCaptionsDoWhatTheySay();
    void languageSwitchTranslatesTheTree();
    void newControlFileFromTheFileMenuChoice();

private:
    std::unique_ptr<TestPlatform> tp_;
    std::unique_ptr<frmMain> frame_;
    void startFrame();
};

void TestFrame::init() {
    tp_ = std::make_unique<TestPlatform>();
    SheetDirty = false;
    CtrlDirty = false;
    Connected = false;
    SoftwareSetting = SoftwareSettingRecord();
    LanguageIndex = kLanguageEnglish;
    ApplyLanguage(kLanguageEnglish);
}

void TestFrame::cleanup() {
    if (frame_) {
        SheetDirty = CtrlDirty = false;
        frame_->close();
    }
    frame_.reset();
    tp_.reset();
}

void TestFrame::startFrame() {
    frame_ = std::make_unique<frmMain>();
    frame_->Load();
    frame_->show();
    QTRY_VERIFY(!frame_->timerInit()->isActive()); // TimerInit has fired once
}

void TestFrame::startsWithoutInstrumentAndWithoutMessages() {
    VisaRsrcIndex = 3; // a choice of the last run is not kept
    startFrame();
    QCOMPARE(VisaRsrcIndex, 0);
    QVERIFY(tp_->boxes.isEmpty());
    QVERIFY(!Connected);
    QCOMPARE(frame_->statusText(), QString("Status: "));
    QCOMPARE(frame_->pane("DataSheet")->objectName(), QString("DataSheet"));
    QCOMPARE(frame_->pane("Controller")->objectName(), QString("Controller"));
}

// No remembered place: three quarters of the screen, centred, the toolbar
// unfolded; a remembered size wins the next time.
void TestFrame::firstStartTakesThreeQuartersOfTheScreen() {
    startFrame();
    const QRect screen = QGuiApplication::primaryScreen()->availableGeometry();
    QCOMPARE(frame_->geometry().size(), screen.size() * 3 / 4);
    QCOMPARE(frame_->geometry().center(), screen.center());
    frame_->setGeometry(QRect(screen.topLeft() + QPoint(10, 10), QSize(500, 400)));
    SheetDirty = CtrlDirty = false;
    frame_->close(); // the settings are written at the end
    frame_.reset();
    startFrame();
    QCOMPARE(frame_->geometry().size(), QSize(500, 400));
}

// The virtual panel opened from its tree leaf on a frame of a user's screen
// size: the screen at the largest whole zoom the area holds (twice its
// pixels from 1280x800 up, its own at 800x600), every key shown within the
// area's view, in columns beside the screen or in pages below it; a click on
// a page's tab and on a key there works the instrument; the program's icon on
// its window. Then the frame is left while the panel refreshes with the link's
// real pauses (File > Exit, or the window's close button): no message, the
// keys unlocked once as the last word to the instrument.
void TestFrame::exitWithThePanelOpenEndsItsRefreshFirst_data() {
    QTest::addColumn<QSize>("screen");
    QTest::addColumn<QSize>("lcd");
    QTest::addColumn<bool>("pages");
    QTest::addColumn<bool>("closeButton");
    QTest::newRow("800x600, File > Exit") << QSize(800, 600) << QSize(320, 234) << true << false;
    QTest::newRow("1280x800, close button") << QSize(1280, 800) << QSize(640, 468) << true << true;
    QTest::newRow("1920x1080, close button")
        << QSize(1920, 1080) << QSize(640, 468) << false << true;
}

void TestFrame::exitWithThePanelOpenEndsItsRefreshFirst() {
    QFETCH(QSize, screen);
    QFETCH(QSize, lcd);
    QFETCH(bool, pages);
    QFETCH(bool, closeButton);
    startFrame();
    frame_->setGeometry(QRect(QPoint(0, 0), screen));
    QTemporaryDir dir;
    sim::SimulatorOptions o;
    o.usbDirectory = dir.filePath("usb").toStdString();
    sim::Simulator simulator(o);
    QVERIFY(simulator.Start());
    platform::SetSimulatedUsbDirectory(dir.filePath("usb"));
    frame_->action("mnuToolsConnect")->trigger();
    QVERIFY(Connected);
    auto* tree = frame_->findChild<frmCtrlList*>();
    const QTreeWidgetItem* leaf = tree->RowStartingWith("Virtual Panel");
    QVERIFY(leaf);
    PraseCtrlList(frmCtrlList::FullPath(leaf));
    QPointer<frmV_Panel> panel = frame_->findChild<frmV_Panel*>();
    QVERIFY(panel);
    auto* sub = qobject_cast<QMdiSubWindow*>(panel->parentWidget());
    QVERIFY(sub);
    QCOMPARE(sub->windowIcon().pixmap(32).toImage(), OwnIcon("korvane").pixmap(32).toImage());
    QTRY_VERIFY_WITH_TIMEOUT(panel->refreshes() >= 1, 10000);
    QCOMPARE(panel->picture().size(), lcd);
    auto* picture = panel->findChild<QLabel*>("PanelWavePic");
    QVERIFY(picture);
    QCOMPARE(picture->size(), lcd);

    FrontPanel* keys = panel->panel();
    QCOMPARE(keys->form() == PanelForm::Pages, pages);
    if (pages) {
        QTabBar* tabs = keys->pageTabs();
        QVERIFY(!keys->key("VK_CH2")->isVisible());
        QTest::mouseClick(tabs, Qt::LeftButton, {}, tabs->tabRect(1).center());
    }
    auto* mdi = frame_->findChild<QMdiArea*>();
    const QRect view(mdi->viewport()->mapTo(frame_.get(), QPoint(0, 0)), mdi->viewport()->size());
    QTRY_VERIFY(keys->key("VK_CH2")->isVisible());
    QList<QWidget*> shown = {picture};
    for (QToolButton* key : keys->findChildren<QToolButton*>())
        if (key->isVisible()) shown << key;
    QVERIFY(shown.size() >= 9); // the vertical section's keys and knobs at least
    for (QWidget* w : shown) {
        const QRect at(w->mapTo(frame_.get(), QPoint(0, 0)), w->size());
        QVERIFY2(view.contains(at), qPrintable(QString("%1 at %2,%3 %4x%5, the view %6x%7")
                                                   .arg(w->objectName())
                                                   .arg(at.x() - view.x())
                                                   .arg(at.y() - view.y())
                                                   .arg(at.width())
                                                   .arg(at.height())
                                                   .arg(view.width())
                                                   .arg(view.height())));
    }
    simulator.instrument().ClearLog();
    QTest::mouseClick(keys->key("VK_CH2"), Qt::LeftButton);
    auto said = [&] {
        QStringList out;
        for (const sim::LogEntry& e : simulator.instrument().Log())
            out << QString::fromStdString(e.command);
        return out;
    };
    QTRY_VERIFY(said().contains(":KEY:CHANNEL2"));

    platform::SetPacingScale(1); // each round now takes the link's real pauses
    simulator.instrument().ClearLog();
    QTest::qWait(700);
    if (closeButton)
        frame_->close();
    else
        frame_->action("mnuFileExit")->trigger();
    QTRY_VERIFY(!frame_->isVisible());
    QTest::qWait(800); // a round that was under way has ended
    platform::SetPacingScale(0);
    QVERIFY(!panel);
    QVERIFY(!PanelOpen && !PanelRunning);
    QVERIFY2(tp_->boxes.isEmpty(), qPrintable(tp_->prompts().join("; ")));
    QCOMPARE(said().filter(":KEY:LOCK DISABLE").size(), 1);
    QCOMPARE(said().last(), QString(":KEY:LOCK DISABLE"));
    platform::SetSimulatedUsbDirectory(QString());
}

void TestFrame::titleNamesTheSheetAndItsChanges() {
    startFrame();
    QCOMPARE(frame_->windowTitle(), FormText("frmMain", "Caption"));
    QVERIFY(NewDataSheet());
    SheetDirty = true;
    QTRY_VERIFY(frame_->isWindowModified());
    QCOMPARE(frame_->windowTitle(), SheetName + "[*] \u2014 " + FormText("frmMain", "Caption"));
    SheetDirty = false;
    QTRY_VERIFY(!frame_->isWindowModified());
}

void TestFrame::menusAndToolbarCarryTheirCaptions() {
    startFrame();
    QCOMPARE(frame_->menu("mnuFile")->title(), QString("&File"));
    QCOMPARE(frame_->action("mnuFileSaveCtrlFile")->text(), QString("Save C&ontroller"));
    QCOMPARE(frame_->action("mnuToolsConnect")->text(), QString("&Connect to Oscilloscope"));
    QCOMPARE(frame_->action("tbSave")->toolTip(), QString("Save All"));
    QCOMPARE(frame_->action("tbDataBrowser")->toolTip(), QString("Data Browser "));
    QStringList keys;
    for (QAction* a : frame_->toolBar()->actions())
        keys << a->objectName();
    QCOMPARE(keys,
             (QStringList{"tbNew", "tbOpen", "tbSave", "tbConnect", "tbDisconnect", "tbController",
                          "tbDataBrowser", "tbAddNewWaveform", "tbAddNewMeasure", "tbAddNewData",
                          "tbAddNewRecord", "tbAddNewMemoryWaveform", "tbOptions", "tbFFT"}));
    QVERIFY(frame_->action("mnuLanguageEnglish")->isChecked());
    QVERIFY(!frame_->action("mnuLanguageChinese")->isChecked());
}

void TestFrame::panesAndViewChecksStayInStep() {
    startFrame();
    QAction* viewCtrl = frame_->action("mnuViewController");
    QAction* viewSheet = frame_->action("mnuViewDataBrowser");
    QVERIFY(viewCtrl->isChecked() && viewSheet->isChecked());
    QVERIFY(frame_->pane("Controller")->isVisible());
    QVERIFY(frame_->pane("DataSheet")->isVisible());

    frame_->pane("Controller")->close(); // the user closes the pane
    QVERIFY(!viewCtrl->isChecked());
    QVERIFY(!frame_->pane("Controller")->isVisible());

    viewCtrl->trigger(); // and brings it back from the View menu
    QVERIFY(viewCtrl->isChecked());
    QVERIFY(frame_->pane("Controller")->isVisible());

    frame_->action("tbDataBrowser")->trigger(); // the toolbar acts as the View item
    QVERIFY(!viewSheet->isChecked());
    QVERIFY(!frame_->pane("DataSheet")->isVisible());
}

void TestFrame::toolbarAndStatusBarToggle() {
    startFrame();
    frame_->action("mnuViewToolbar")->trigger();
    QVERIFY(!frame_->toolBar()->isVisible());
    frame_->action("mnuViewStatusBar")->trigger();
    QVERIFY(!frame_->statusBar()->isVisible());
    frame_->action("mnuViewToolbar")->trigger();
    QVERIFY(frame_->toolBar()->isVisible());
}

void TestFrame::exactlyOneLampIsVisible() {
    startFrame();
    QVERIFY(frame_->lampOff()->isVisible() && !frame_->lampOn()->isVisible());
    QCOMPARE(frame_->lampOff()->toolTip(), QString("Connection Status-[Disconnected]"));
    QCOMPARE(frame_->lampOn()->toolTip(), QString("Connection Status-[Connected]"));
    ShowLamps(true);
    QVERIFY(frame_->lampOn()->isVisible() && !frame_->lampOff()->isVisible());
    frame_->resize(frame_->width() + 200, frame_->height() + 100);
    QVERIFY(frame_->lampOn()->isVisible());
    ResetLinkState();
    QVERIFY(frame_->lampOff()->isVisible() && !frame_->lampOn()->isVisible());
}

void TestFrame::recentRootsHiddenWhenEmpty() {
    platform::SaveSetting(kAppTitle, kRecentCtrlSection, "RecentFile1", "/data/a.rmt");
    startFrame();
    QVERIFY(!frame_->menu("mnuRecentSheetRoot")->menuAction()->isVisible());
    QVERIFY(frame_->menu("mnuRecentCtrlRoot")->menuAction()->isVisible());
    QCOMPARE(frame_->action("mnuFileRecentCtrl0")->text(), QString("/data/a.rmt"));
    QVERIFY(frame_->action("mnuFileRecentCtrl0")->isVisible());
    QVERIFY(!frame_->action("mnuFileRecentCtrl1")->isVisible());
}

void TestFrame::cancelAtEitherQuestionKeepsTheProgram() {
    startFrame();
    SheetDirty = true;
    CtrlDirty = true;
    SheetPath = "/data/run.ult";
    tp_->answers = {platform::MsgResult::No, platform::MsgResult::Cancel};
    QVERIFY(!frame_->close());
    QVERIFY(frame_->isVisible());
    QCOMPARE(tp_->prompts(), (QStringList{"Save the changes to the Data Sheet File? /data/run.ult",
                                          "Save the changes to the Control File? "}));
    QCOMPARE(tp_->boxes[0].buttons, platform::MsgButtons::YesNoCancel);

    tp_->boxes.clear();
    tp_->answers = {platform::MsgResult::Cancel};
    QVERIFY(!frame_->close());
    QCOMPARE(tp_->boxes.size(), 1); // the second question is not asked after a Cancel
    // Nothing of the end ran: the settings were not written.
    QVERIFY(platform::GetSetting(kAppTitle, "Settings_NQ4000L", "MainWidth").isEmpty());
}

void TestFrame::yesThenNoSavesTheSheetAndCloses() {
    startFrame();
    SheetDirty = true;
    CtrlDirty = true;
    // A Yes whose save does not happen (the save dialog cancelled) keeps the
    // program open: closing would lose the changes.
    tp_->answers = {platform::MsgResult::Yes};
    tp_->chosenPaths = {std::nullopt};
    QVERIFY(!frame_->close());
    QCOMPARE(tp_->boxes.size(), 1);
    QVERIFY(SheetDirty);
    tp_->boxes.clear();
    tp_->answers = {platform::MsgResult::No, platform::MsgResult::No};
    QVERIFY(frame_->close());
    QCOMPARE(tp_->boxes.size(), 2);
}

void TestFrame::unloadSavesSettingsAndUnlocksWhenConnected() {
    startFrame();
    RecordingTransport link;
    Connected = true;
    SoftwareSetting.BaudRate = "2400";
    QVERIFY(frame_->close());
    QCOMPARE(link.log, QStringList{":KEY:LOCK DISABLE"});
    QCOMPARE(platform::GetSetting(kAppTitle, "IO Settings_NQ4000L", "BaudRate"), QString("2400"));
    QVERIFY(!platform::GetSetting(kAppTitle, "Settings_NQ4000L", "MainWidth").isEmpty());
    Connected = false;
}

void TestFrame::placeOnScreens_data() {
    QTest::addColumn<QRect>("wanted");
    QTest::addColumn<QRect>("placed");
    // One 1920 x 1040 screen at the origin.
    QTest::newRow("inside stays") << QRect(100, 100, 800, 600) << QRect(100, 100, 800, 600);
    QTest::newRow("partly out but grabbable stays")
        << QRect(1700, 100, 800, 600) << QRect(1700, 100, 800, 600);
    QTest::newRow("on a monitor that is gone")
        << QRect(2500, 100, 800, 600) << QRect(560, 220, 800, 600);
    QTest::newRow("title bar above the screen")
        << QRect(100, -400, 800, 600) << QRect(560, 220, 800, 600);
    QTest::newRow("larger than the screen")
        << QRect(-5000, 0, 4000, 3000) << QRect(0, 0, 1920, 1040);
}

void TestFrame::placeOnScreens() {
    QFETCH(QRect, wanted);
    QFETCH(QRect, placed);
    QCOMPARE(PlaceOnScreens(wanted, {QRect(0, 0, 1920, 1040)}), placed);
}

void TestFrame::helpOpensThePageOfTheLanguage() {
    startFrame();
    frame_->action("mnuHelpContents")->trigger();
    QCOMPARE(tp_->desktopRequests.size(), 1);
    QVERIFY(tp_->desktopRequests[0].target.endsWith("/NQ4000help.html"));
    frame_->action("mnuLanguageChinese")->trigger();
    QVERIFY(frame_->action("mnuLanguageChinese")->isChecked());
    QCOMPARE(frame_->menu("mnuFile")->title(), QString::fromUtf8("文件(&F)"));
    frame_->action("mnuHelpContents")->trigger();
    QVERIFY(tp_->desktopRequests[1].target.endsWith("/NQ4000help_Chinese.html"));
    // The choice is stored at once.
    QCOMPARE(platform::GetSetting(kAppTitle, "Korvane_Language", "Language"), QString("0"));
    frame_->action("mnuLanguageEnglish")->trigger();
    QCOMPARE(frame_->menu("mnuFile")->title(), QString("&File"));
    QVERIFY(tp_->boxes.isEmpty());
}

void TestFrame::helpFailureShowsTheErrorText() {
    startFrame();
    tp_->desktopError = "No program is set up to open the page";
    frame_->action("mnuHelpContents")->trigger();
    QCOMPARE(tp_->prompts(),
             QStringList{"The help page cannot be opened: No program is set up to open the page"});
    // The program's own messages speak the chosen language too.
    ApplyLanguage(kLanguageChinese);
    frame_->action("mnuHelpContents")->trigger();
    QVERIFY(tp_->prompts().last().startsWith(QString::fromUtf8("无法打开帮助页面：")));
    QCOMPARE(RuntimeErrorText("Input past end of file"), QString::fromUtf8("输入超出文件尾"));
    QVERIFY(SettingsUnwritableText("/x").contains(QString::fromUtf8("设置无法保存")));
    ApplyLanguage(kLanguageEnglish);
    QCOMPARE(RuntimeErrorText("Input past end of file"), QString("Input past end of file"));
}

void TestFrame::systemInfoUnavailableIsSaid() {
    tp_->desktopError = "Cannot start";
    QVERIFY(!StartSystemInfo());
    QCOMPARE(tp_->prompts(), QStringList{"System Information Is Unavailable At This Time!"});
    frmAbout about;
    QCOMPARE(about.versionLabel()->text(), QString("Version 00.01.06"));
}

void TestFrame::connectAndDisconnectFromTheMenus() {
    QTemporaryDir dir;
    sim::SimulatorOptions o;
    o.usbDirectory = dir.path().toStdString();
    sim::Simulator simulator(o);
    QVERIFY(simulator.Start());
    platform::SetSimulatedUsbDirectory(dir.path());
    startFrame();
    frame_->action("tbConnect")->trigger();
    QVERIFY(Connected);
    QVERIFY(frame_->lampOn()->isVisible() && !frame_->lampOff()->isVisible());
    QVERIFY(tp_->boxes.isEmpty());
    frame_->action("mnuToolsDisconnect")->trigger();
    QVERIFY(!Connected);
    QVERIFY(frame_->lampOff()->isVisible() && !frame_->lampOn()->isVisible());
    auto said = [&simulator](const char* command) {
        int n = 0;
        for (const auto& e : simulator.instrument().Log())
            n += e.command == command;
        return n;
    };
    QTRY_COMPARE(said(":KEY:LOCK DISABLE"), 1);
    frame_->action("mnuToolsConnect")->trigger(); // a second connect after a disconnect
    QVERIFY(Connected);
    QVERIFY(frame_->close()); // unlocks at the end
    QTRY_COMPARE(said(":KEY:LOCK DISABLE"), 2);
    frame_.reset();
    Connected = false;
}

namespace {
// The command of a menu or toolbar whose caption (a toolbar's: tool tip) reads text.
QAction* commandCaptioned(const QList<QAction*>& offered, const QString& text) {
    for (QAction* a : offered)
        if (a->text() == text || a->toolTip() == text) return a;
    return nullptr;
}
} // namespace

// Under Chinese the user picks a command by its caption: the command so
// captioned must do what the caption says, wherever it is offered.
void TestFrame::chineseCaptionsDoWhatTheySay_data() {
    QTest::addColumn<QString>("where");
    QTest::addColumn<QString>("connectCaption");
    QTest::addColumn<QString>("disconnectCaption");
    QTest::newRow("Tools menu") << "mnuTools" << QString::fromUtf8("连接示波器(&C)")
                                << QString::fromUtf8("断开连接(&D)");
    QTest::newRow("toolbar") << "toolbar" << QString::fromUtf8("连接示波器")
                             << QString::fromUtf8("断开连接");
    QTest::newRow("controller menu")
        << "popmenu1" << QString::fromUtf8("连接示波器(&C)") << QString::fromUtf8("断开连接(&I)");
}

void TestFrame::chineseCaptionsDoWhatTheySay() {
    QFETCH(QString, where);
    QFETCH(QString, connectCaption);
    QFETCH(QString, disconnectCaption);
    QTemporaryDir dir;
    sim::SimulatorOptions o;
    o.usbDirectory = dir.path().toStdString();
    sim::Simulator simulator(o);
    QVERIFY(simulator.Start());
    platform::SetSimulatedUsbDirectory(dir.path());
    startFrame();
    frame_->action("mnuLanguageChinese")->trigger();
    const QList<QAction*> offered = where == "toolbar" ? frame_->toolBar()->actions()
                                    : where == "mnuTools"
                                        ? frame_->menu(where)->actions()
                                        : frame_->findChild<QMenu*>(where)->actions();
    QAction* connect = commandCaptioned(offered, connectCaption);
    QAction* disconnect = commandCaptioned(offered, disconnectCaption);
    QVERIFY(connect && disconnect);
    connect->trigger();
    QVERIFY(Connected);
    disconnect->trigger();
    QVERIFY(!Connected);
    frame_->action("mnuLanguageEnglish")->trigger();
    frame_.reset();
    Connected = false;
}

void TestFrame::languageSwitchTranslatesTheTree() {
    startFrame();
    auto* ctrl = frame_->findChild<frmCtrlList*>();
    QVERIFY(ctrl);
    CtrlData.TrigMethod = "EDGE";
    frame_->action("mnuLanguageChinese")->trigger();
    QCOMPARE(CtrlData.TrigMethod, QString::fromUtf8("边沿触发"));
    const QString chinese = QString::fromUtf8("触发方式 [边沿触发]");
    QVERIFY(!ctrl->tree()->findItems(chinese, Qt::MatchRecursive | Qt::MatchExactly).isEmpty());
    frame_->action("mnuLanguageEnglish")->trigger();
    QCOMPARE(CtrlData.TrigMethod, QString("EDGE"));
    QVERIFY(
        !ctrl->tree()->findItems("Method [EDGE]", Qt::MatchRecursive | Qt::MatchExactly).isEmpty());
}

void TestFrame::newControlFileFromTheFileMenuChoice() {
    startFrame();
    CtrlData.RunStop = "STOP";
    RunNewDocChoice(1); // a data sheet: not the controller's
    QCOMPARE(CtrlData.RunStop, QString("STOP"));
    RunNewDocChoice(2);
    QCOMPARE(CtrlData.RunStop, QString("RUN"));
    RunNewDocChoice(9); // outside 1..7: nothing
    tp_->chosenPaths = {std::nullopt};
    RunOpenDocChoice(2);
    QCOMPARE(tp_->fileDialogs.size(), 1);
    QCOMPARE(tp_->fileDialogs[0].title, QString("Open"));
}

QTEST_MAIN(TestFrame)
#include "tst_frame.moc"
