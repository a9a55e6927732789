// SPDX-License-Identifier: GPL-3.0-or-later
// The virtual panel: the screen image's framing and colours, the live
// refresh against the simulated instrument and its end, and every key's
// command with the hold steps.
#include "RecordingTransport.h"
#include "SimulatedLink.h"
#include "TestPlatform.h"

#include "link/LinkState.h"
#include "link/UsbFunc.h"
#include "panel/LcdImage.h"
#include "panel/VirtualKeys.h"
#include "panel/frmV_Panel.h"
#include "shared/LoadLanguage.h"
#include "shared/SoftwareSetting.h"
#include "shared/StringRES.h"

#include <QTimer>
#include <QToolButton>
#include <QWheelEvent>
#include <QtTest>

class TestPanel : public QObject {
    Q_OBJECT
private slots:
    void init();
    void cleanup();
    void replyFraming_data();
    void replyFraming();
    void palettes();
    void doubledByReplication();
    void screenAndKeysShareTheRoom_data();
    void screenAndKeysShareTheRoom();
    void fetchMatchesTheInstrumentsScreen();
    void readFailureSaysSoAndResetsTheLink();
    void panelNeedsUsb();
    void everyKeySendsItsCommand();
    void heldKeyRepeatsWithTheStepTable();
    void keysWorkTheSimulatedInstrument();
    void knobDetentsSendWhatTheirKeysSend_data();
    void knobDetentsSendWhatTheirKeysSend();
    void lampsFollowTheInstrument();
    void refreshLoopEndsWhenTheWindowCloses();
    void refreshLoopEndsWhenTheLinkDrops();

private:
    std::unique_ptr<TestPlatform> tp_;
};

void TestPanel::init() {
    tp_.reset();
    tp_ = std::make_unique<TestPlatform>();
    ResetControllerState();
    SoftwareSetting = SoftwareSettingRecord();
}

void TestPanel::cleanup() {
    tp_.reset();
}

void TestPanel::replyFraming_data() {
    QTest::addColumn<int>("returned");
    QTest::addColumn<int>("count");
    QTest::addColumn<int>("firstPixel");
    QTest::newRow("with header") << 74891 << 74880 << 100;
    QTest::newRow("74881 bytes: header too") << 74881 << 74880 << 100;
    QTest::newRow("pixels only") << 74880 << 74880 << 7;
    QTest::newRow("ten bytes") << 10 << -1 << 7;
    QTest::newRow("too long to count") << 100000 << -1 << 100;
}

void TestPanel::replyFraming() {
    QFETCH(int, returned);
    QFETCH(int, count);
    QFETCH(int, firstPixel);
    std::vector<std::uint8_t> image(kLcdReply, 0);
    for (int i = 0; i < 10; ++i)
        image[std::size_t(i)] = 7; // the header
    image[10] = 100;               // the first pixel after it
    QCOMPARE(LcdReplyCount(image, returned), count);
    QCOMPARE(int(image[0]), firstPixel);
}

void TestPanel::palettes() {
    const std::uint8_t raw[] = {0x00, 0xFF, 0xE0, 0x1C, 0x03, 0x0F, 0x08};
    std::uint32_t colour[7], grey[7];
    TransClr(raw, 7, colour);
    TransMono(raw, 7, grey);
    QCOMPARE(QColor::fromRgb(colour[0]), QColor(0, 0, 0));
    QCOMPARE(QColor::fromRgb(colour[1]), QColor(255, 255, 255));
    QCOMPARE(QColor::fromRgb(colour[2]), QColor(255, 0, 0));
    QCOMPARE(QColor::fromRgb(colour[3]), QColor(0, 255, 0));
    QCOMPARE(QColor::fromRgb(colour[4]), QColor(0, 0, 255));
    QCOMPARE(QColor::fromRgb(grey[5]), QColor(255, 255, 255));
    QCOMPARE(QColor::fromRgb(grey[6]), QColor(136, 136, 136));
    QCOMPARE(QColor::fromRgb(grey[1]), QColor(255, 255, 255)); // only the low four bits count
}

void TestPanel::doubledByReplication() {
    std::vector<std::uint32_t> pixels(kLcdPixels, 0xFF000000u);
    pixels[kLcdWidth + 1] = 0xFFFF0000u; // (1, 1)
    const QImage normal = LcdPicture(pixels, false);
    const QImage doubled = LcdPicture(pixels, true);
    QCOMPARE(normal.size(), QSize(320, 234));
    QCOMPARE(doubled.size(), QSize(640, 468));
    for (QPoint p : {QPoint(2, 2), QPoint(3, 2), QPoint(2, 3), QPoint(3, 3)})
        QCOMPARE(doubled.pixelColor(p), QColor(255, 0, 0));
    QCOMPARE(doubled.pixelColor(4, 2), QColor(0, 0, 0));
}

// The screen 320x234, the keys 550x450 in columns, 470x140 in pages, 6 px
// between: the larger screen when it fits with either form, columns first.
void TestPanel::screenAndKeysShareTheRoom_data() {
    QTest::addColumn<QSize>("room");
    QTest::addColumn<int>("chosenZoom");
    QTest::addColumn<int>("zoom");
    QTest::addColumn<bool>("below");
    QTest::newRow("full HD: twice, columns beside") << QSize(1600, 900) << -1 << 1 << false;
    QTest::newRow("1280x800: twice, pages below") << QSize(960, 660) << -1 << 1 << true;
    QTest::newRow("one pixel short of pages below twice") << QSize(960, 613) << -1 << 0 << false;
    QTest::newRow("800x600: own size, pages below") << QSize(480, 450) << -1 << 0 << true;
    QTest::newRow("user's own size: columns beside") << QSize(960, 660) << 0 << 0 << false;
    QTest::newRow("user's twice in a small room") << QSize(480, 450) << 1 << 1 << true;
    QTest::newRow("nothing fits: the smallest") << QSize(200, 200) << -1 << 0 << true;
}

void TestPanel::screenAndKeysShareTheRoom() {
    QFETCH(QSize, room);
    QFETCH(int, chosenZoom);
    QFETCH(int, zoom);
    QFETCH(bool, below);
    const PanelArrangement a = ChoosePanelArrangement(room, QSize(320, 234), QSize(550, 450),
                                                      QSize(470, 140), 6, chosenZoom);
    QCOMPARE(a.zoom, zoom);
    QCOMPARE(a.below, below);
}

void TestPanel::fetchMatchesTheInstrumentsScreen() {
    SimulatedLink link;
    QVERIFY(link.connected());
    link.instrument().Process(":STOP");
    std::vector<std::uint8_t> image;
    link.clearLog();
    GetLcdData(image);
    QCOMPARE(link.log(), QStringList{":LCD:DATA?"});
    const auto reply = link.instrument().Process(":LCD:DATA?");
    QCOMPARE(int(reply.data.size()), kLcdPixels);
    QVERIFY(std::equal(reply.data.begin(), reply.data.end(), image.begin()));
}

void TestPanel::readFailureSaysSoAndResetsTheLink() {
    SimulatedLink link;
    QVERIFY(link.connected());
    sim::Faults faults;
    faults.dropAtCommand = 1; // already passed: the next command, the image query, drops the link
    link.instrument().SetFaults(faults);
    std::vector<std::uint8_t> image;
    GetLcdData(image);
    QVERIFY(!Connected);
    QCOMPARE(tp_->boxes.size(), 1);
    QVERIFY(tp_->boxes[0].prompt == MsgCantRead || tp_->boxes[0].prompt == MsgCantConnect);
}

void TestPanel::panelNeedsUsb() {
    QVERIFY(PanelHasScreen(1));
    QVERIFY(!PanelHasScreen(0));
    QVERIFY(!PanelHasScreen(5));
    VisaBusType = 1;
    SoftwareSetting.ScopeIOType = kIoTypeRs232;
    std::unique_ptr<QWidget> w(OpenVirtualPanel());
    QVERIFY(qobject_cast<frmV_Key*>(w.get()));
    // Over RS232 no image is ever asked for.
    RecordingTransport transport;
    Connected = true;
    std::vector<std::uint8_t> image;
    GetLcdData(image);
    QVERIFY(transport.log.isEmpty());
    Connected = false;
}

void TestPanel::everyKeySendsItsCommand() {
    RecordingTransport transport;
    Connected = true;
    FrontPanel panel(false);
    int keys = 0;
    for (const VirtualKey& k : VirtualKeys()) {
        auto* b = qobject_cast<QToolButton*>(panel.key(k.control));
        QVERIFY2(b, k.control);
        transport.log.clear();
        QTest::mouseClick(b, Qt::LeftButton);
        panel.StopRepeat();
        const QString expected = k.kind == KeyKind::Hold ? QString(k.command) + " 0" : k.command;
        QCOMPARE(transport.log, QStringList{expected});
        ++keys;
    }
    QCOMPARE(keys, 42);
    QCOMPARE(QString(FindVirtualKey("VK_H_Pos_Dec")->command), QString(":KEY:H_POS_INC"));
    QCOMPARE(QString(FindVirtualKey("VK_H_Pos_Inc")->command), QString(":KEY:H_POS_DEC"));
    QCOMPARE(QString(FindVirtualKey("VK_Trig_Force")->command), QString(":FORCETRIG"));
    // The keyboard window: its V_POS_INC also sends on the click; its force method the key word.
    frmV_Key keyboard;
    transport.log.clear();
    QTest::mouseClick(qobject_cast<QToolButton*>(keyboard.panel()->key("VK_V_Pos_Inc")),
                      Qt::LeftButton);
    keyboard.panel()->StopRepeat();
    QCOMPARE(transport.log, (QStringList{":KEY:V_POS_INC 0", ":KEY:V_POS_INC"}));
    transport.log.clear();
    keyboard.VK_Trig_Force();
    QCOMPARE(transport.log, QStringList{":KEY:FORCE"});
    Connected = false;
}

void TestPanel::heldKeyRepeatsWithTheStepTable() {
    RecordingTransport transport;
    Connected = true;
    KeyRepeater r;
    r.Down(":KEY:TRIG_LVL_INC");
    for (int tick = 1; tick <= 52; ++tick)
        r.Tick();
    QCOMPARE(transport.log.size(), 53);
    QCOMPARE(transport.log[0], QString(":KEY:TRIG_LVL_INC 0"));
    QCOMPARE(transport.log[5], QString(":KEY:TRIG_LVL_INC 0"));  // tick 5
    QCOMPARE(transport.log[6], QString(":KEY:TRIG_LVL_INC 2"));  // tick 6
    QCOMPARE(transport.log[11], QString(":KEY:TRIG_LVL_INC 5")); // tick 11
    QCOMPARE(transport.log[16], QString(":KEY:TRIG_LVL_INC 10"));
    QCOMPARE(transport.log[21], QString(":KEY:TRIG_LVL_INC 20"));
    QCOMPARE(transport.log[51], QString(":KEY:TRIG_LVL_INC 50"));
    r.RepeatCount = 60000;
    r.Tick();
    QCOMPARE(r.RepeatCount, 60000);
    QCOMPARE(transport.log.last(), QString(":KEY:TRIG_LVL_INC 50"));
    // Through the panel: the press sends 0 and the timer repeats until release.
    FrontPanel panel(false);
    auto* b = qobject_cast<QToolButton*>(panel.key("VK_V_Pos_Dec"));
    transport.log.clear();
    QTest::mousePress(b, Qt::LeftButton);
    QVERIFY(panel.ButtonPressTimer()->isActive());
    QTRY_VERIFY(transport.log.size() >= 3);
    QTest::mouseRelease(b, Qt::LeftButton);
    QVERIFY(!panel.ButtonPressTimer()->isActive());
    QCOMPARE(transport.log[0], QString(":KEY:V_POS_DEC 0"));
    Connected = false;
}

void TestPanel::keysWorkTheSimulatedInstrument() {
    SimulatedLink link;
    QVERIFY(link.connected());
    FrontPanel panel(false);
    link.instrument().Process(":CHANNEL2:DISPLAY OFF");
    panel.Press("VK_CH2");
    link.sync();
    QCOMPARE(QString::fromStdString(link.instrument().Value(":CHANNEL2:DISPLAY")), QString("ON"));
    const double scale = link.instrument().ChannelScale(2);
    panel.Press("VK_V_Inc");
    link.sync();
    QVERIFY(link.instrument().ChannelScale(2) > scale);
    const double time = link.instrument().TimeScale();
    panel.Press("VK_H_Dec");
    link.sync();
    QVERIFY(link.instrument().TimeScale() < time);
}

// A wheel notch on a knob sends what one click of the key beside it sends;
// a drag round the knob does the same per detent; a press is the knob's push.
void TestPanel::knobDetentsSendWhatTheirKeysSend_data() {
    QTest::addColumn<QString>("knob");
    QTest::addColumn<QString>("down");
    QTest::addColumn<QString>("up");
    QTest::newRow("vertical position") << "VK_P_V_P"
                                       << "VK_V_Pos_Dec"
                                       << "VK_V_Pos_Inc";
    QTest::newRow("volts/div") << "VK_P_V"
                               << "VK_V_Dec"
                               << "VK_V_Inc";
    QTest::newRow("horizontal position") << "VK_P_H_P"
                                         << "VK_H_Pos_Dec"
                                         << "VK_H_Pos_Inc";
    QTest::newRow("time/div") << "VK_P_H"
                              << "VK_H_Dec"
                              << "VK_H_Inc";
    QTest::newRow("trigger level") << "VK_P_L"
                                   << "VK_Trig_Lvl_Dec"
                                   << "VK_Trig_Lvl_Inc";
    QTest::newRow("function") << "VK_F_F"
                              << "VK_F_DEC"
                              << "VK_F_INC";
}

void TestPanel::knobDetentsSendWhatTheirKeysSend() {
    QFETCH(QString, knob);
    QFETCH(QString, down);
    QFETCH(QString, up);
    RecordingTransport transport;
    Connected = true;
    FrontPanel panel(false);
    panel.show();
    auto clickOf = [&](const QString& control) {
        transport.log.clear();
        QTest::mouseClick(qobject_cast<QToolButton*>(panel.key(control)), Qt::LeftButton);
        panel.StopRepeat();
        return transport.log;
    };
    const QStringList upClick = clickOf(up), downClick = clickOf(down);
    QWidget* k = panel.key(knob);
    QVERIFY(qobject_cast<PanelKnob*>(k));
    auto wheel = [&](int delta) {
        transport.log.clear();
        const QPointF at(k->width() / 2.0, k->height() / 2.0);
        QWheelEvent e(at, k->mapToGlobal(at), QPoint(), QPoint(0, delta), Qt::NoButton,
                      Qt::NoModifier, Qt::NoScrollPhase, false);
        QApplication::sendEvent(k, &e);
        return transport.log;
    };
    QCOMPARE(wheel(120), upClick);
    QCOMPARE(wheel(-120), downClick);
    QCOMPARE(wheel(240), upClick + upClick);
    // A drag a quarter turn clockwise from the top: three detents up.
    transport.log.clear();
    const QPoint centre(k->width() / 2, k->height() / 2);
    QTest::mousePress(k, Qt::LeftButton, {}, centre + QPoint(0, -15));
    QMouseEvent move(QEvent::MouseMove, QPointF(centre + QPoint(15, 0)),
                     k->mapToGlobal(QPointF(centre + QPoint(15, 0))), Qt::NoButton, Qt::LeftButton,
                     Qt::NoModifier);
    QApplication::sendEvent(k, &move);
    QTest::mouseRelease(k, Qt::LeftButton, {}, centre + QPoint(15, 0));
    QCOMPARE(transport.log, upClick + upClick + upClick);
    // A press without a turn is the push.
    transport.log.clear();
    QTest::mouseClick(k, Qt::LeftButton);
    QCOMPARE(transport.log, QStringList{FindVirtualKey(knob)->command});
    Connected = false;
}

void TestPanel::lampsFollowTheInstrument() {
    SimulatedLink link;
    FrontPanel panel(false);
    link.instrument().Process(":STOP");
    link.instrument().Process(":CHANNEL:ACTIVE CHANNEL2");
    PollPanelLamps(&panel);
    QVERIFY(!panel.runLamp());
    QCOMPARE(panel.channelLamp(), 2);
    link.instrument().Process(":RUN");
    link.instrument().Process(":CHANNEL:ACTIVE CHANNEL1");
    PollPanelLamps(&panel);
    QVERIFY(panel.runLamp());
    QCOMPARE(panel.channelLamp(), 1);
}

void TestPanel::refreshLoopEndsWhenTheWindowCloses() {
    SimulatedLink link;
    QVERIFY(link.connected());
    auto* panel = new frmV_Panel;
    QPointer<frmV_Panel> guard(panel);
    panel->show();
    QTRY_VERIFY_WITH_TIMEOUT(panel->refreshes() >= 2, 20000);
    QCOMPARE(panel->picture().size(), QSize(320, 234));
    panel->cmdZoom_Click();
    const int before = panel->refreshes();
    QTRY_VERIFY_WITH_TIMEOUT(panel->refreshes() > before, 20000);
    QCOMPARE(panel->picture().size(), QSize(640, 468));
    panel->close();
    QVERIFY(!PanelOpen && !PanelRunning);
    link.clearLog();
    QTRY_VERIFY(guard.isNull()); // deleted on close
    QTest::qWait(50);
    QVERIFY(link.log().filter(":LCD:DATA?").isEmpty());
}

void TestPanel::refreshLoopEndsWhenTheLinkDrops() {
    SimulatedLink link;
    QVERIFY(link.connected());
    auto* panel = new frmV_Panel;
    QPointer<frmV_Panel> guard(panel);
    panel->show();
    QTRY_VERIFY_WITH_TIMEOUT(panel->refreshes() >= 1, 20000);
    ResetLinkState();
    QTRY_VERIFY_WITH_TIMEOUT(guard.isNull(), 20000); // the panel closed itself
    QVERIFY(!PanelOpen);
}

QTEST_MAIN(TestPanel)
#include "tst_panel.moc"
