// SPDX-License-Identifier: GPL-3.0-or-later
// The link end to end: the program's transports and connect procedure against
// the simulated instrument over its real USB socket and pseudo-terminal, and
// the read rules over a pseudo-terminal the test drives itself.
#include "TestPlatform.h"

#include "Simulator.h"
#include "app/OptionsLogic.h"
#include "controller/CtrlData.h"
#include "controller/CtrlState.h"
#include "controller/SettingsExchange.h"
#include "link/Connection.h"
#include "link/DlgResource.h"
#include "link/LinkState.h"
#include "link/NQ4000Cmd.h"
#include "link/RS232Func.h"
#include "link/UsbFunc.h"
#include "platform/Visa.h"
#include "shared/ComPorts.h"
#include "shared/SoftwareSetting.h"
#include "shared/StringRES.h"

#include <QTemporaryDir>
#include <QtTest>
#include <fcntl.h>
#include <memory>
#include <poll.h>
#include <termios.h>
#include <thread>
#include <unistd.h>

namespace {

// A pseudo-terminal whose master side the test plays as the instrument.
class FakeLine {
public:
    FakeLine() {
        master_ = ::posix_openpt(O_RDWR | O_NOCTTY);
        ::grantpt(master_);
        ::unlockpt(master_);
        slave_ = ::ptsname(master_);
        keep_ = ::open(slave_.c_str(), O_RDWR | O_NOCTTY); // no hang-up between openings
        termios t{};
        ::tcgetattr(keep_, &t);
        ::cfmakeraw(&t);
        ::tcsetattr(keep_, TCSANOW, &t);
    }
    ~FakeLine() {
        ::close(keep_);
        ::close(master_);
    }
    QString path() const { return QString::fromStdString(slave_); }
    void send(const QByteArray& bytes) {
        (void)!::write(master_, bytes.constData(), static_cast<size_t>(bytes.size()));
    }
    QByteArray received(int timeoutMs = 1000) {
        QByteArray all;
        pollfd p{master_, POLLIN, 0};
        while (::poll(&p, 1, timeoutMs) > 0) {
            char b[4096];
            const ssize_t n = ::read(master_, b, sizeof b);
            if (n <= 0) break;
            all.append(b, n);
            timeoutMs = 50;
        }
        return all;
    }

private:
    int master_ = -1, keep_ = -1;
    std::string slave_;
};

QStringList commands(sim::Simulator& s) {
    QStringList list;
    for (const auto& e : s.instrument().Log())
        list << QString::fromStdString(e.command);
    return list;
}

} // namespace

class TestLink : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void cleanup();
    void connectOverUsbSendsTheSequence();
    void refusalsEndDisconnectedAfterTheLock_data();
    void refusalsEndDisconnectedAfterTheLock();
    void lLabModelsConnect();
    void bandwidthFromTheModelWord_data();
    void bandwidthFromTheModelWord();
    void noDeviceSaysSo();
    void twoDevicesAskWhichOne();
    void disconnectUnlocksOnlyWhenConnected();
    void blockReadsCutTheHeader();
    void shortBlockIsTakenHeaderless();
    void nonUsbBusCountsRequestedLessEleven();
    void systemDataThroughParaConv();
    void colourOrMonoFromTheIdentity();
    void rs232ConnectOverThePseudoTerminal();
    void rs232ChunksJoinAndEndAtTheFirstLineFeed();
    void rs232ReplyWithoutLineFeedTimesOut();
    void rs232LateReplyWithinTheWaitIsTaken();
    void rs232BinaryReplyByItsPrefix();
    void rs232PortThatDisappearsFailsTheWrite();
    void rs232GarbageDownloadKeepsTheTree();
    void optionsListsTheUsbDevices();
    void usbtmcReadFillsTheRequestFromTransfers();
    void searchExpressions_data();
    void searchExpressions();

private:
    std::unique_ptr<TestPlatform> tp_;
    std::unique_ptr<QTemporaryDir> dir_;
    std::unique_ptr<sim::Simulator> sim_;
    QList<bool> lamps_;
    void startSimulator(sim::SimulatorOptions o = {});
    // The simulator on its RS232 face only, connected through COM `port`.
    void connectOverRs232(int port);
};

void TestLink::initTestCase() {
    OpenVisaRM();
    OfferComPortsToVisa();
    StartLinkTimers();
}

void TestLink::init() {
    tp_ = std::make_unique<TestPlatform>();
    dir_ = std::make_unique<QTemporaryDir>();
    platform::SetSimulatedUsbDirectory(dir_->path());
    SoftwareSetting = SoftwareSettingRecord();
    for (int i = 1; i <= kComPortCount; ++i)
        SetComPortOverride(i, QString());
    Connected = Connecting = LinkOpen = false;
    VisaRsrcIndex = 0;
    VisaRsrcName.clear();
    ModelName.clear();
    lamps_.clear();
    SetLampView([this](bool on) { lamps_ << on; });
    SetTickInterval(100);
}

void TestLink::cleanup() {
    DisconnectFromDevice();
    VisaCloseInstr();
    if (MSComm1().PortOpen()) MSComm1().SetPortOpen(false);
    SetResourceChooserHook({});
    SetLampView({});
    sim_.reset();
    tp_.reset();
}

void TestLink::startSimulator(sim::SimulatorOptions o) {
    o.usbDirectory = dir_->path().toStdString();
    sim_ = std::make_unique<sim::Simulator>(o);
    std::string error;
    QVERIFY2(sim_->Start(&error), error.c_str());
}

void TestLink::connectOverRs232(int port) {
    sim::SimulatorOptions o;
    o.usb = false;
    o.rs232 = true;
    o.serialLink = dir_->filePath("ttySIM").toStdString();
    startSimulator(o);
    SoftwareSetting.ScopeIOType = kIoTypeRs232;
    SoftwareSetting.COM_Port = port;
    SetComPortOverride(port, QString::fromStdString(sim_->serialPath()));
    ConnectToDevice();
    QVERIFY(Connected);
}

void TestLink::connectOverUsbSendsTheSequence() {
    startSimulator();
    ConnectToDevice();
    QVERIFY(Connected);
    QVERIFY(!Connecting);
    QCOMPARE(commands(*sim_),
             (QStringList{"<device clear>", ":KEY:LOCK ENABLE", ":WAVeform:POINts:MODE NORmal",
                          "*IDN?", ":MATH:DISPLAY?"}));
    QCOMPARE(ModelName, QString("NQ4102CD"));
    QCOMPARE(IsDigitalModel, 1);
    QCOMPARE(BandwidthIndex, 3);
    QCOMPARE(CtrlData.MathDisplay, QString("OFF"));
    QCOMPARE(VisaBusType, 1);
    QCOMPARE(VisaRsrcName, QString("USB0::0x5345::0x4102::SIM0000001::INSTR"));
    QCOMPARE(lamps_.last(), true);
    QVERIFY(tp_->boxes.isEmpty());
    // A query now goes through and comes back with its line end.
    QCOMPARE(CmdQuery(":TRIGGER:STATUS?"), QString("RUN\n"));
}

void TestLink::refusalsEndDisconnectedAfterTheLock_data() {
    QTest::addColumn<QString>("kind");
    QTest::newRow("no digital channels") << "no-digital";
    QTest::newRow("another maker") << "other-maker";
    QTest::newRow("empty identification") << "empty";
}

void TestLink::refusalsEndDisconnectedAfterTheLock() {
    QFETCH(QString, kind);
    sim::SimulatorOptions o;
    o.identity = kind == "no-digital"    ? sim::Identity::WithoutDigital()
                 : kind == "other-maker" ? sim::Identity::OtherMaker()
                                         : sim::Identity::Empty();
    startSimulator(o);
    ConnectToDevice();
    QVERIFY(!Connected);
    QCOMPARE(lamps_.last(), false);
    QCOMPARE(tp_->prompts(), QStringList{"Device not found!"});
    QCOMPARE(tp_->boxes[0].title, QString("Connect to Oscilloscope"));
    QCOMPARE(tp_->boxes[0].icon, platform::MsgIcon::Exclamation);
    const QStringList log = commands(*sim_);
    QVERIFY(log.contains(":KEY:LOCK ENABLE")); // the panel stays locked
    QVERIFY(!log.contains(":MATH:DISPLAY?"));
    QCOMPARE(CtrlData.MathDisplay, QString("OFF"));
    // Further sends do nothing.
    const auto before = log.size();
    CmdSend(":RUN");
    QCOMPARE(commands(*sim_).size(), before);
}

void TestLink::lLabModelsConnect() {
    sim::SimulatorOptions o;
    o.identity.model = "NQ4062CL-LAB";
    startSimulator(o);
    ConnectToDevice();
    QVERIFY(Connected);
    QCOMPARE(BandwidthIndex, 2);
}

void TestLink::bandwidthFromTheModelWord_data() {
    QTest::addColumn<QString>("model");
    QTest::addColumn<int>("index");
    QTest::newRow("2") << "NQ402CD" << 0; // characters 4 and 5 are "2C": 2 reads, then stops
    QTest::newRow("20") << "NQ4202CD" << 4;
    QTest::newRow("15") << "NQ4152CD" << 3;
    QTest::newRow("04") << "NQ4042CD" << 1;
    QTest::newRow("not numeric") << "NQ4XYCD" << 5;
}

void TestLink::bandwidthFromTheModelWord() {
    QFETCH(QString, model);
    QFETCH(int, index);
    sim::SimulatorOptions o;
    o.identity.model = model.toStdString();
    startSimulator(o);
    ConnectToDevice();
    QVERIFY(Connected);
    QCOMPARE(BandwidthIndex, index);
}

void TestLink::noDeviceSaysSo() {
    ConnectToDevice();
    QVERIFY(!Connected);
    QVERIFY(!LinkOpen);
    QCOMPARE(tp_->prompts(), QStringList{"Can't Connect to Device!"});
    QCOMPARE(tp_->boxes[0].title, QString("Device Init"));
}

void TestLink::twoDevicesAskWhichOne() {
    startSimulator();
    sim::SimulatorOptions second;
    second.usbDirectory = dir_->path().toStdString();
    second.usbResource = "USB0::0x5345::0x4102::SIM0000002::INSTR";
    sim::Simulator other(second);
    QVERIFY(other.Start());
    QStringList offered;
    SetResourceChooserHook([&offered](const QStringList& names) {
        offered = names;
        return std::optional<QString>(names.last());
    });
    ConnectToDevice();
    QCOMPARE(offered.size(), 2);
    QVERIFY(Connected);
    QCOMPARE(VisaRsrcName, QString("USB0::0x5345::0x4102::SIM0000002::INSTR"));
    QVERIFY(commands(other).contains("*IDN?"));
    QVERIFY(!commands(*sim_).contains("*IDN?"));
    DisconnectFromDevice();
    VisaCloseInstr();
    // Cancel: nothing opens and nothing is said.
    SetResourceChooserHook([](const QStringList&) { return std::optional<QString>(); });
    tp_->boxes.clear();
    ConnectToDevice();
    QVERIFY(!Connected);
    QVERIFY(!LinkOpen);
    QVERIFY(tp_->boxes.isEmpty());
}

void TestLink::disconnectUnlocksOnlyWhenConnected() {
    startSimulator();
    DisconnectFromDevice();
    QVERIFY(commands(*sim_).isEmpty());
    QCOMPARE(lamps_.last(), false);
    ConnectToDevice();
    sim_->instrument().ClearLog();
    DisconnectFromDevice();
    QTRY_COMPARE(commands(*sim_), QStringList{":KEY:LOCK DISABLE"});
    QVERIFY(!Connected);
    QCOMPARE(lamps_.last(), false);
}

void TestLink::blockReadsCutTheHeader() {
    startSimulator();
    ConnectToDevice();
    CmdSend(":STOP");                                          // a frozen picture to compare with
    QCOMPARE(CmdQuery(":TRIGGER:STATUS?"), QString("STOP\n")); // the instrument has stopped
    const auto expected = sim_->instrument().ScreenTrace(1);
    CmdSend(":WAVEFORM:DATA? CHANNEL1");
    int count = -1;
    VisaReadBlock(count, 611);
    QCOMPARE(count, 601);
    for (int i = 1; i <= 600; ++i)
        QCOMPARE(BinaryData[i], int(expected[static_cast<std::size_t>(i - 1)]));
    QCOMPARE(BinaryData[601], 10); // the line end rides along
    // The screen image: 74880 bytes fit no block buffer of 10241.
    CmdSend(":WAVEFORM:DATA? DIGITAL");
    VisaReadBlock(count, 1201);
    QCOMPARE(count, 1191);
}

void TestLink::shortBlockIsTakenHeaderless() {
    startSimulator();
    ConnectToDevice();
    // The identification is 48 bytes with its line end.
    CmdSend("*IDN?");
    int count = 0;
    VisaReadBlock(count, 58); // 48 is exactly 58 - 10: no header
    QCOMPARE(count, 48);
    QCOMPARE(BinaryData[1], int('V'));
    CmdSend("*IDN?");
    VisaReadBlock(count, 57); // 48 > 47: ten header bytes are dropped
    QCOMPARE(count, 38);
    QCOMPARE(BinaryData[1], int('N')); // "VEXOR TECH" gone: "NOLOGIES,..."
}

void TestLink::nonUsbBusCountsRequestedLessEleven() {
    FakeLine line;
    SetComPortOverride(3, line.path());
    LinkOpen = true;
    FindVisaDevice(); // ASRL3::INSTR is the only resource: no chooser
    QCOMPARE(VisaRsrcName, QString("ASRL3::INSTR"));
    QCOMPARE(VisaBusType, 0);
    QVERIFY(LinkOpen);
    Connecting = true; // talk on the open line
    QByteArray block = "#800000600";
    for (int i = 0; i < 600; ++i)
        block.append(char(25 + i % 200));
    block.append('\n');
    line.send(block);
    int count = 0;
    VisaReadBlock(count, 611);
    QCOMPARE(count, 600); // taken as 610 returned: all but one byte, header dropped
    QCOMPARE(BinaryData[1], 25);
    QCOMPARE(BinaryData[600], 25 + 599 % 200);
    Connecting = false;
}

void TestLink::systemDataThroughParaConv() {
    startSimulator();
    ConnectToDevice();
    CmdSend(":SYSTEM:DATA?");
    SystemDataBlock.fill(0xEE);
    VisaReadSystemData();
    QCOMPARE(int(SystemDataBlock[2]) | int(SystemDataBlock[3]) << 8, 299); // DrawEnd
    QCOMPARE(int(SystemDataBlock[13]), 1);                                 // Ch1On
    QCOMPARE(int(SystemDataBlock[113]), 0);                                // beyond the raw bytes
    QCOMPARE(int(SystemDataBlock[115]), 0);
}

void TestLink::colourOrMonoFromTheIdentity() {
    startSimulator();
    QVERIFY(!IsColorDevice()); // no link open yet
    ConnectToDevice();
    QVERIFY(IsColorDevice());
    sim_->instrument().SetIdentity(sim::Identity::Mono());
    QVERIFY(!IsColorDevice());
}

void TestLink::rs232ConnectOverThePseudoTerminal() {
    connectOverRs232(2);
    QCOMPARE(commands(*sim_), (QStringList{":KEY:LOCK ENABLE", ":WAVeform:POINts:MODE NORmal",
                                           "*IDN?", ":MATH:DISPLAY?"}));
    // A serial reply comes without its line end.
    QCOMPARE(CmdQuery(":TIMEBASE:FORMAT?"), QString("Y-T"));
    QVERIFY(tp_->boxes.isEmpty());
}

void TestLink::rs232ChunksJoinAndEndAtTheFirstLineFeed() {
    RxStarted = false;
    RxBusy = true;
    RxText.clear();
    Rs232RecvText("RE");
    QVERIFY(RxBusy);
    Rs232RecvText("AL_TI");
    Rs232RecvText("ME\nrest\n");
    QVERIFY(!RxBusy);
    QCOMPARE(RxText, QString("REAL_TIME"));
    QCOMPARE(RxTotalCount, 14); // all bytes received, less the line end
}

void TestLink::rs232ReplyWithoutLineFeedTimesOut() {
    FakeLine line;
    SoftwareSetting.ScopeIOType = kIoTypeRs232;
    SetComPortOverride(1, line.path());
    Rs232Open();
    QVERIFY(MSComm1().PortOpen());
    Connected = true;
    SetTickInterval(5); // forty ticks in a fifth of a second
    QTimer::singleShot(20, [&line] { line.send("NO LINE END"); });
    QCOMPARE(CmdQuery("*IDN?"), QString());
    QVERIFY(tp_->boxes.isEmpty()); // a serial time-out says nothing
    QCOMPARE(line.received(), QByteArray("*IDN?\n"));
    Connected = false;
}

// A wrong baud rate looks like an instrument that answers noise with no line
// end: the download stops at the third silent reply and the tree stays.
void TestLink::rs232GarbageDownloadKeepsTheTree() {
    RegisterSettingsJobs();
    connectOverRs232(3);
    SetTickInterval(5);
    CtrlData = CtrlDataDefaults();
    CtrlData.TimeDiv = "2.000ms";
    CtrlDirty = false;
    const CtrlDataRecord before = CtrlData;
    sim::Faults garbage;
    garbage.garbage = true;
    sim_->instrument().SetFaults(garbage);
    ReadAllSettings();
    QCOMPARE(tp_->prompts(), QStringList{MsgCantRead});
    QVERIFY(!Connected);
    QVERIFY(CtrlData == before);
    QVERIFY(!CtrlDirty);
}

void TestLink::rs232LateReplyWithinTheWaitIsTaken() {
    connectOverRs232(2);
    StartLinkTimers();
    SetTickInterval(10); // the 40-tick wait lasts 400 ms
    sim::Faults slow;
    slow.latencyMs = 250; // late, but within the wait
    sim_->instrument().SetFaults(slow);
    QCOMPARE(CmdQuery("*IDN?"), QString("VEXOR TECHNOLOGIES,NQ4102CD,SIM0000001,00.01.06"));
    slow.latencyMs = 1500; // far past the wait: nothing, and no message
    sim_->instrument().SetFaults(slow);
    QCOMPARE(CmdQuery("*IDN?"), QString());
    QVERIFY(tp_->boxes.isEmpty());
    SetTickInterval(100);
}

void TestLink::rs232BinaryReplyByItsPrefix() {
    RxStarted = false;
    RxBusy = true;
    RxBinaryMode = true;
    RxText.clear();
    QByteArray first("\x05\x00\x00\x00"
                     "ab",
                     6);
    Rs232RecvBinary(first);
    QVERIFY(RxBusy);
    QCOMPARE(RxExpected, 5.0);
    Rs232RecvBinary("cde");
    QVERIFY(!RxBusy);
    QCOMPARE(RxBuffer[0], (unsigned char)'a');
    QCOMPARE(RxBuffer[4], (unsigned char)'e');
    // An overshoot never ends by itself.
    RxStarted = false;
    RxBusy = true;
    Rs232RecvBinary(QByteArray("\x02\x00\x00\x00"
                               "abc",
                               7));
    QVERIFY(RxBusy);
    RxBinaryMode = false;
}

void TestLink::rs232PortThatDisappearsFailsTheWrite() {
    connectOverRs232(1);
    int statusWrites = 0;
    SetStatusView([&statusWrites](const QString&) { ++statusWrites; });
    sim_->Unplug(); // the terminal's other end closes
    SetTickInterval(5);
    QElapsedTimer clock;
    clock.start();
    int commands = 0;
    for (; commands < 3 && Connected; ++commands)
        CmdQuery("*IDN?");           // the line is gone
    QVERIFY(clock.elapsed() < 5000); // never a hang
    QVERIFY(!Connected);
    QCOMPARE(commands, 1); // known at the command that fails, not one later
    QCOMPARE(tp_->boxes.size(), 1);
    QCOMPARE(tp_->boxes[0].title, QString("RS232 Send Message"));
    QVERIFY(!tp_->boxes[0].prompt.isEmpty()); // the error's own text
    QTest::qWait(50);                         // a dead line keeps raising events for a while
    QVERIFY2(statusWrites <= 3, qPrintable(QString::number(statusWrites)));
    SetStatusView({});
}

void TestLink::optionsListsTheUsbDevices() {
    startSimulator();
    QCOMPARE(SearchUsbResources(), QStringList{"USB0::0x5345::0x4102::SIM0000001::INSTR"});
    const OptionsState st = OpenOptions(SearchUsbResources());
    QCOMPARE(st.deviceItems, QStringList{"SIM0000001"});
    QCOMPARE(VisaRsrcIndex, 1);
}

void TestLink::usbtmcReadFillsTheRequestFromTransfers() {
    FakeLine line;
    ViStatus status = VI_ERROR_IO;
    auto device = platform::OpenUsbtmcNode(line.path(), &status);
    QCOMPARE(status, VI_SUCCESS);
    device->setTimeout(2000);
    QByteArray block = "#800000600";
    block.append(QByteArray(600, 'x'));
    block.append('\n');
    // Three transfers, the first cut inside the header.
    line.send(block.left(6));
    std::thread later([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(30));
        line.send(block.mid(6, 300));
        std::this_thread::sleep_for(std::chrono::milliseconds(30));
        line.send(block.mid(306));
    });
    std::vector<ViByte> buffer(700);
    ViUInt32 got = 0;
    status = device->read(buffer.data(), 700, &got);
    later.join();
    QCOMPARE(got, ViUInt32(611));
    QCOMPARE(status, VI_SUCCESS); // the message ended before the request was filled
    line.send("0123456789");
    status = device->read(buffer.data(), 4, &got);
    QCOMPARE(status, VI_SUCCESS_MAX_CNT);
    QCOMPARE(got, ViUInt32(4));
}

void TestLink::searchExpressions_data() {
    QTest::addColumn<QString>("expression");
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("matches");
    QTest::newRow("usb any") << "USB?*INSTR"
                             << "USB0::0x5345::0x4102::S::INSTR" << true;
    QTest::newRow("usb not asrl") << "USB?*INSTR"
                                  << "ASRL1::INSTR" << false;
    QTest::newRow("either, usb") << "(USB0|ASRL)?*INSTR"
                                 << "USB0::0x1::0x2::S::INSTR" << true;
    QTest::newRow("either, asrl") << "(USB0|ASRL)?*INSTR"
                                  << "ASRL3::INSTR" << true;
    QTest::newRow("either, gpib") << "(USB0|ASRL)?*INSTR"
                                  << "GPIB0::7::INSTR" << false;
    QTest::newRow("usb1 not usb0") << "(USB0|ASRL)?*INSTR"
                                   << "USB1::0x1::0x2::S::INSTR" << false;
}

void TestLink::searchExpressions() {
    QFETCH(QString, expression);
    QFETCH(QString, name);
    QFETCH(bool, matches);
    QCOMPARE(platform::VisaExpressionMatches(expression, name), matches);
}

QTEST_GUILESS_MAIN(TestLink)
#include "tst_link.moc"
