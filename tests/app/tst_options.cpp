// SPDX-License-Identifier: GPL-3.0-or-later
// What the Options dialog shows when it opens and what its OK does.
#include "RecordingTransport.h"
#include "SimulatedLink.h"
#include "TestPlatform.h"

#include "app/OptionsLogic.h"
#include "app/frmOptions.h"
#include "link/Connection.h"
#include "link/LinkState.h"
#include "link/NQ4000Cmd.h"
#include "platform/Faults.h"
#include "shared/ComPorts.h"
#include "shared/SoftwareSetting.h"

#include <QComboBox>
#include <QLineEdit>
#include <QLocale>
#include <QPushButton>
#include <QRadioButton>
#include <QTabWidget>
#include <QtTest>

class TestOptions : public QObject {
    Q_OBJECT
private slots:
    void init();
    void serialFieldOfAResourceName_data();
    void serialFieldOfAResourceName();
    void openingWithoutDevicesShowsNoDevice();
    void openingWithDevicesFixesTheChosenIndex_data();
    void openingWithDevicesFixesTheChosenIndex();
    void openingRepairsABadComPort();
    void moreThanElevenDevicesIsABoundsFault();
    void openingWhileConnectedKeepsTheSession();
    void cancelThenConnectWorks();
    void okWhileConnectedSendsBaudThenUnlocks();
    void okWhileConnectedWithTheSameBaudStillDisconnects();
    void okWhileDisconnectedSendsNothing();
    void okStoresEveryField();
    void storedValuesOutsideTheListsAreKept();
    void okWithNoDeviceClearsTheChoice();
    void tabCyclingWraps_data();
    void tabCyclingWraps();
    void dialogCtrlTabCycles();
    void intervalReadsTheDisplaysDecimalSign_data();
    void intervalReadsTheDisplaysDecimalSign();
};

void TestOptions::init() {
    SoftwareSetting = SoftwareSettingRecord();
    Connected = false;
    Connecting = false;
    VisaRsrcIndex = 0;
    VisaRsrcName.clear();
    DialogAccepted = false;
}

void TestOptions::serialFieldOfAResourceName_data() {
    QTest::addColumn<QString>("resource");
    QTest::addColumn<QString>("serial");
    QTest::newRow("usb") << "USB0::0x5345::0x1234::NQ4A00001::INSTR"
                         << "NQ4A00001";
    QTest::newRow("no fourth") << "USB0::0x1::0x2::SER"
                               << "SER";
    QTest::newRow("short") << "ASRL1::INSTR"
                           << "";
}

void TestOptions::serialFieldOfAResourceName() {
    QFETCH(QString, resource);
    QFETCH(QString, serial);
    QCOMPARE(UsbSerialField(resource), serial);
}

void TestOptions::openingWithoutDevicesShowsNoDevice() {
    TestPlatform tp;
    VisaRsrcIndex = 2;
    const OptionsState st = OpenOptions({});
    QCOMPARE(st.deviceItems, QStringList{"No Device"});
    QCOMPARE(st.deviceIndex, 0);
    QCOMPARE(VisaRsrcIndex, 0);
    QVERIFY(!st.intervalEnabled());
    QCOMPARE(st.intervalText, QString("1"));
}

void TestOptions::openingWithDevicesFixesTheChosenIndex_data() {
    QTest::addColumn<int>("chosen");
    QTest::addColumn<int>("expectedIndex");
    QTest::newRow("none chosen becomes first") << 0 << 1;
    QTest::newRow("second stays") << 2 << 2;
    QTest::newRow("beyond the list becomes first") << 4 << 1;
}

void TestOptions::openingWithDevicesFixesTheChosenIndex() {
    QFETCH(int, chosen);
    QFETCH(int, expectedIndex);
    TestPlatform tp;
    VisaRsrcIndex = chosen;
    const QStringList found{"USB0::0x5345::0x1234::AAA::INSTR", "USB0::0x5345::0x1234::BBB::INSTR",
                            "USB0::0x5345::0x1234::CCC::INSTR"};
    const OptionsState st = OpenOptions(found);
    QCOMPARE(st.deviceItems, (QStringList{"AAA", "BBB", "CCC"}));
    QCOMPARE(VisaRsrcIndex, expectedIndex);
    QCOMPARE(st.deviceIndex, expectedIndex - 1);
}

void TestOptions::openingRepairsABadComPort() {
    TestPlatform tp;
    SoftwareSetting.COM_Port = 17;
    SoftwareSetting.RefreshType = "Auto";
    SoftwareSetting.RefreshInterval = 20000;
    const OptionsState st = OpenOptions({});
    QCOMPARE(SoftwareSetting.COM_Port, 1);
    QCOMPARE(st.portIndex, 0);
    QVERIFY(st.intervalEnabled());
    QCOMPARE(st.intervalText, QString("20"));
}

void TestOptions::moreThanElevenDevicesIsABoundsFault() {
    TestPlatform tp;
    QStringList found;
    for (int i = 0; i < 12; ++i)
        found << QString("USB0::0x1::0x2::S%1::INSTR").arg(i);
    QVERIFY_THROWS_EXCEPTION(platform::BoundsFault, OpenOptions(found));
    found.removeLast();
    QCOMPARE(OpenOptions(found).deviceItems.size(), 11);
}

// The search the dialog makes when it opens probes every instrument; the
// session with the connected one must go on undisturbed.
void TestOptions::openingWhileConnectedKeepsTheSession() {
    TestPlatform tp;
    SimulatedLink link;
    QVERIFY(link.connected());
    {
        frmOptions dialog;
        auto* devices = dialog.findChild<QComboBox*>("DeviceCombo");
        QVERIFY(devices);
        QCOMPARE(devices->count(), 1); // the connected instrument is found too
    }
    QVERIFY(!CutAtLineFeed(CmdQuery("*IDN?")).isEmpty());
    QVERIFY(Connected);
    QVERIFY(tp.boxes.isEmpty());
}

// Options opened and cancelled (the button clicked) before the first
// connect: the connect finds the instrument as if Options had never opened.
void TestOptions::cancelThenConnectWorks() {
    TestPlatform tp;
    SimulatedLink link;
    DisconnectFromDevice();
    VisaRsrcIndex = 0;
    VisaRsrcName.clear();
    {
        frmOptions dialog;
        dialog.show();
        auto* cancel = dialog.findChild<QPushButton*>("cmdCancel");
        QVERIFY(cancel);
        QTest::mouseClick(cancel, Qt::LeftButton);
        QCOMPARE(dialog.result(), int(QDialog::Rejected));
    }
    QCOMPARE(VisaRsrcIndex, 0);
    ConnectToDevice();
    QVERIFY(Connected);
    QVERIFY(tp.boxes.isEmpty());
}

void TestOptions::okWhileConnectedSendsBaudThenUnlocks() {
    TestPlatform tp;
    RecordingTransport link;
    Connected = true;
    OptionsState st = OpenOptions({});
    st.baudText = "19200 ";
    AcceptOptions(st, {});
    QCOMPARE(link.log, (QStringList{":RS232:BAUD 19200", ":KEY:LOCK DISABLE"}));
    QVERIFY(!Connected);
    QVERIFY(DialogAccepted);
}

void TestOptions::okWhileConnectedWithTheSameBaudStillDisconnects() {
    TestPlatform tp;
    RecordingTransport link;
    Connected = true;
    AcceptOptions(OpenOptions({}), {});
    QCOMPARE(link.log, QStringList{":KEY:LOCK DISABLE"});
    QVERIFY(!Connected);
}

void TestOptions::okWhileDisconnectedSendsNothing() {
    TestPlatform tp;
    RecordingTransport link;
    OptionsState st = OpenOptions({});
    st.baudText = "300";
    AcceptOptions(st, {});
    QVERIFY(link.log.isEmpty());
    QCOMPARE(SoftwareSetting.BaudRate, QString("300"));
}

void TestOptions::okStoresEveryField() {
    TestPlatform tp;
    const QStringList found{"USB0::0x5345::0x1234::AAA::INSTR", "USB0::0x5345::0x1234::BBB::INSTR"};
    OptionsState st = OpenOptions(found);
    st.ioType = 2;
    st.ctrlStartLoad = true;
    st.sheetStartLoad = true;
    st.hardwareCheck = true;
    st.portIndex = 3;
    st.portDevice = "/dev/pts/9";
    st.baudText = "4800";
    st.gpibIndex = 12;
    st.refreshTypeIndex = 1;
    st.intervalText = "2.5";
    st.deviceIndex = 1;
    AcceptOptions(st, found);
    const SoftwareSettingRecord& s = SoftwareSetting;
    QCOMPARE(s.ScopeIOType, 2);
    QVERIFY(s.StartupLoadCtrl && s.StartupLoadSheet && s.StartupCheckHardware);
    QCOMPARE(s.COM_Port, 4);
    QCOMPARE(ComPortDevice(4), QString("/dev/pts/9"));
    QCOMPARE(s.BaudRate, QString("4800"));
    QCOMPARE(s.GPIB_Addr, 12);
    QCOMPARE(s.RefreshType, QString("Auto"));
    QCOMPARE(s.RefreshInterval, 2500);
    QCOMPARE(VisaRsrcIndex, 2);
    QCOMPARE(VisaRsrcName, found[1]);
}

void TestOptions::okWithNoDeviceClearsTheChoice() {
    TestPlatform tp;
    VisaRsrcIndex = 1;
    VisaRsrcName = "USB0::old";
    AcceptOptions(OpenOptions({}), {});
    QCOMPARE(VisaRsrcIndex, 0);
    QVERIFY(VisaRsrcName.isEmpty());
    QCOMPARE(SoftwareSetting.RefreshType, QString("Single"));
    QCOMPARE(SoftwareSetting.RefreshInterval, 1000);
}

void TestOptions::tabCyclingWraps_data() {
    QTest::addColumn<int>("current");
    QTest::addColumn<bool>("backwards");
    QTest::addColumn<int>("next");
    QTest::newRow("forward") << 0 << false << 1;
    QTest::newRow("last to first") << 2 << false << 0;
    QTest::newRow("back") << 2 << true << 1;
    QTest::newRow("first to last") << 0 << true << 2;
}

void TestOptions::tabCyclingWraps() {
    QFETCH(int, current);
    QFETCH(bool, backwards);
    QFETCH(int, next);
    QCOMPARE(NextTabIndex(current, 3, backwards), next);
}

void TestOptions::dialogCtrlTabCycles() {
    TestPlatform tp;
    frmOptions dialog;
    QCOMPARE(dialog.tabs()->count(), 3);
    QCOMPARE(dialog.tabs()->tabText(2), QString("Communication Setting"));
    QCOMPARE(dialog.findChild<QComboBox*>("DeviceCombo")->currentText(), QString("No Device"));
    QCOMPARE(dialog.findChild<QComboBox*>("PortCombo")->count(), 16);
    dialog.tabs()->setCurrentIndex(2);
    QTest::keyClick(&dialog, Qt::Key_Tab, Qt::ControlModifier);
    QCOMPARE(dialog.tabs()->currentIndex(), 0);
    QTest::keyClick(&dialog, Qt::Key_Backtab, Qt::ControlModifier | Qt::ShiftModifier);
    QCOMPARE(dialog.tabs()->currentIndex(), 2);
    // Cancel changes nothing.
    dialog.reject();
    QVERIFY(!DialogAccepted);
}

void TestOptions::storedValuesOutsideTheListsAreKept() {
    TestPlatform tp;
    SoftwareSetting.BaudRate = "115200"; // not one of the list's rates
    SoftwareSetting.GPIB_Addr = 42;      // outside 0..30
    frmOptions dialog;
    QCOMPARE(dialog.findChild<QComboBox*>("BaudCombo")->currentText(), QString("115200"));
    QCOMPARE(dialog.findChild<QComboBox*>("GPIB_AddrCombo")->currentText(), QString("42"));
    const OptionsState st = dialog.state();
    QCOMPARE(st.baudText, QString("115200"));
    QCOMPARE(st.gpibIndex, 42);
}

// The interval typed as a user types it, in the display's decimal sign (the
// comma run types "1,5"): OK stores 1.5 s, the dialog shows it back in the
// same sign. A point reads the same in either locale.
void TestOptions::intervalReadsTheDisplaysDecimalSign_data() {
    QTest::addColumn<QString>("typed");
    QTest::addColumn<int>("stored");
    const QString sign = QLocale().decimalPoint();
    QTest::newRow("display sign") << "1" + sign + "5" << 1500;
    QTest::newRow("point") << "2.5" << 2500;
    QTest::newRow("whole") << "5" << 5000;
}

void TestOptions::intervalReadsTheDisplaysDecimalSign() {
    QFETCH(QString, typed);
    QFETCH(int, stored);
    TestPlatform tp;
    const QString sign = QLocale().decimalPoint();
    if (qEnvironmentVariableIntValue("KORVANE_EXPECT_COMMA_LOCALE") == 1) QCOMPARE(sign, ",");
    {
        frmOptions dialog;
        dialog.show();
        dialog.findChild<QRadioButton*>("OptRefreshType1")->click(); // Auto
        auto* interval = dialog.findChild<QComboBox*>("IntervalCombo");
        QVERIFY(interval && interval->isEnabled());
        interval->lineEdit()->selectAll();
        QTest::keyClicks(interval->lineEdit(), typed);
        QTest::mouseClick(dialog.findChild<QPushButton*>("cmdOK"), Qt::LeftButton);
    }
    QCOMPARE(SoftwareSetting.RefreshInterval, stored);
    frmOptions again;
    const QString shown = again.findChild<QComboBox*>("IntervalCombo")->currentText();
    QCOMPARE(shown, QString::number(stored / 1000.0).replace('.', sign));
}

QTEST_MAIN(TestOptions)
#include "tst_options.moc"
