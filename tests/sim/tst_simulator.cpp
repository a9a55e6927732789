// SPDX-License-Identifier: GPL-3.0-or-later
// The simulated instrument from the outside: its reply spellings, the USB
// face's framing over a real socket and its discard-on-new-command. Its
// serial face, fault modes and command log are held by the link's tests,
// which drive them through the program.
#include "Simulator.h"

#include <QTemporaryDir>
#include <QtTest>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

using namespace sim;

namespace {

std::string text(const Reply& r) {
    return std::string(r.data.begin(), r.data.end());
}

// A bare client of the USB face's message protocol.
class UsbClient {
public:
    explicit UsbClient(const std::string& path) {
        fd_ = ::socket(AF_UNIX, SOCK_STREAM, 0);
        sockaddr_un a{};
        a.sun_family = AF_UNIX;
        std::strncpy(a.sun_path, path.c_str(), sizeof a.sun_path - 1);
        if (::connect(fd_, reinterpret_cast<sockaddr*>(&a), sizeof a) != 0) {
            ::close(fd_);
            fd_ = -1;
        }
    }
    ~UsbClient() {
        if (fd_ >= 0) ::close(fd_);
    }
    bool ok() const { return fd_ >= 0; }
    void write(const std::string& command) {
        const std::string line = command + "\n";
        std::vector<std::uint8_t> m = {'W'};
        append32(m, static_cast<std::uint32_t>(line.size()));
        m.insert(m.end(), line.begin(), line.end());
        send(m);
    }
    void clear() { send({'C'}); }
    // Asks for at most count bytes; empty when nothing came within the time.
    std::optional<std::vector<std::uint8_t>> read(std::uint32_t count, int timeoutMs = 2000) {
        std::vector<std::uint8_t> m = {'R', ++tag_};
        append32(m, count);
        send(m);
        while (true) {
            std::vector<std::uint8_t> head;
            if (!receive(head, 6, timeoutMs)) return std::nullopt;
            const std::uint32_t n =
                head[2] | head[3] << 8 | head[4] << 16 | static_cast<std::uint32_t>(head[5]) << 24;
            std::vector<std::uint8_t> body;
            if (!receive(body, n, timeoutMs)) return std::nullopt;
            if (head[1] == tag_) return body;
        }
    }
    std::string readText(std::uint32_t count = 256) {
        const auto r = read(count);
        return r ? std::string(r->begin(), r->end()) : std::string("<timeout>");
    }

private:
    static void append32(std::vector<std::uint8_t>& m, std::uint32_t v) {
        for (int i = 0; i < 4; ++i)
            m.push_back(static_cast<std::uint8_t>(v >> (8 * i)));
    }
    void send(const std::vector<std::uint8_t>& m) { (void)!::write(fd_, m.data(), m.size()); }
    bool receive(std::vector<std::uint8_t>& out, std::size_t n, int timeoutMs) {
        while (out.size() < n) {
            pollfd p{fd_, POLLIN, 0};
            if (::poll(&p, 1, timeoutMs) <= 0) return false;
            std::uint8_t buffer[65536];
            const ssize_t got = ::recv(fd_, buffer, std::min(sizeof buffer, n - out.size()), 0);
            if (got <= 0) return false;
            out.insert(out.end(), buffer, buffer + got);
        }
        return true;
    }
    int fd_ = -1;
    std::uint8_t tag_ = 0;
};

std::uint32_t le(const std::vector<std::uint8_t>& b, std::size_t at, int bytes) {
    std::uint32_t v = 0;
    for (int i = 0; i < bytes; ++i)
        v |= static_cast<std::uint32_t>(b[at + static_cast<std::size_t>(i)]) << (8 * i);
    return v;
}

} // namespace

class TestSimulator : public QObject {
    Q_OBJECT
private slots:
    void alternationLeavesSpeakOfTheChosenChannel();
    void digitalPackingRoundTrips();
    void keysActOnTheState();
    void measurementsAndStars();
    void blockFramings();
    void usbFaceReadsLikeUsbtmc();
    void usbFaceDiscardsOnNewCommand();
};

void TestSimulator::alternationLeavesSpeakOfTheChosenChannel() {
    Instrument i;
    i.Process(":TRIGGER:ALTERNATION:SOURCE CHANNEL2");
    i.Process(":TRIGGER:ALTERNATION:TYPE PULSE");
    i.Process(":TRIGGER:ALTERNATION:TIMESCALE 1ms");
    QCOMPARE(text(i.Process(":CHANNEL:ACTIVE?")), std::string("CHANNEL2"));
    i.Process(":TRIGGER:ALTERNATION:SOURCE CHANNEL1");
    QCOMPARE(text(i.Process(":TRIGGER:ALTERNATION:TYPE?")), std::string("EDGE"));
    QCOMPARE(text(i.Process(":TRIGGER:ALTERNATION:TIMESCALE?")), std::string("5.000000e-04"));
    i.Process(":TRIGGER:ALTERNATION:SOURCE CHANNEL2");
    QCOMPARE(text(i.Process(":TRIGGER:ALTERNATION:TYPE?")), std::string("PULSE"));
    QCOMPARE(text(i.Process(":TRIGGER:ALTERNATION:TIMESCALE?")), std::string("1.000000e-03"));
    QCOMPARE(text(i.Process(":TRIGGER:ALTERNATION:PULSE:MODE?")), std::string("+LESS THAN"));
    i.Process(":CHANNEL:ACTIVE CHANNEL1");
    QCOMPARE(text(i.Process(":CHANNEL:ACTIVE?")), std::string("CHANNEL1"));
}

void TestSimulator::digitalPackingRoundTrips() {
    Instrument i;
    // D15..D8 at 15..8 and D7..D0 at 7..0, first channel in the top nibble.
    i.Process(":LA:LOCATION 4275878552,1985229328");
    QCOMPARE(text(i.Process(":LA:LOCATION?")), std::string("4275878552,1985229328"));
    QCOMPARE(text(i.Process(":DIGITAL15:POSITION?")), std::string("15"));
    QCOMPARE(text(i.Process(":DIGITAL0:POSITION?")), std::string("0"));
    i.Process(":LA:GROUP2 OFF");
    QCOMPARE(text(i.Process(":LA:STATUS?")), std::string("255"));
    i.Process(":DIGITAL9:TURN ON");
    QCOMPARE(text(i.Process(":LA:STATUS?")), std::string("767"));
    i.Process(":LA:GROUP2:SIZE BIG");
    i.Process(":LA:POSITION:RESET");
    QCOMPARE(text(i.Process(":DIGITAL15:POSITION?")), std::string("7"));
    QCOMPARE(text(i.Process(":DIGITAL7:POSITION?")), std::string("7"));
}

void TestSimulator::keysActOnTheState() {
    Instrument i;
    i.Process(":KEY:LOCK ENABLE");
    QCOMPARE(i.Value(":KEY:LOCK"), std::string("ENABLE"));
    QCOMPARE(text(i.Process(":TRIGGER:STATUS?")), std::string("RUN"));
    i.Process(":KEY:RUN");
    QCOMPARE(text(i.Process(":TRIGGER:STATUS?")), std::string("STOP"));
    i.Process(":RUN");
    QCOMPARE(text(i.Process(":TRIGGER:STATUS?")), std::string("RUN"));
    i.Process(":KEY:V_SCALE_INC");
    QCOMPARE(text(i.Process(":CHANNEL1:SCALE?")), std::string("1.000000e+00"));
    i.Process(":KEY:H_SCALE_DEC");
    QCOMPARE(text(i.Process(":TIMEBASE:SCALE?")), std::string("2.000000e-04"));
    i.Process(":KEY:CHANNEL2");
    i.Process(":KEY:V_POS_INC 50");
    QCOMPARE(text(i.Process(":CHANNEL2:OFFSET?")),
             std::string("4.000000e-01")); // 50 rows of 0.2 V/div
    i.Process(":TRIG%50");
    QCOMPARE(text(i.Process(":TRIGGER:EDGE:LEVEL?")), std::string("0.000000e+00"));
    i.Process(":AUTO"); // some periods of the 1 kHz sine on the twelve divisions
    QCOMPARE(text(i.Process(":TIMEBASE:SCALE?")), std::string("5.000000e-04"));
    QCOMPARE(text(i.Process(":CHANNEL1:SCALE?")), std::string("5.000000e-01"));
}

void TestSimulator::measurementsAndStars() {
    Instrument i;
    QCOMPARE(text(i.Process(":MEASURE:VPP? CHANNEL1")), std::string("2.000000e+00"));
    QCOMPARE(text(i.Process(":MEASURE:FREQUENCY? CHANNEL1")), std::string("1.000000e+03"));
    QCOMPARE(text(i.Process(":MEASURE:PDUTYCYCLE? CHANNEL2")), std::string("5.000000e-01"));
    i.Process(":TIMEBASE:SCALE 10us"); // less than two periods on the screen
    QCOMPARE(text(i.Process(":MEASURE:PERIOD? CHANNEL1")), std::string("*****"));
    i.Process(":CHANNEL1:DISPLAY OFF");
    QCOMPARE(text(i.Process(":MEASURE:VPP? CHANNEL1")), std::string("*****"));
}

void TestSimulator::blockFramings() {
    const std::vector<std::uint8_t> payload(600, 125);
    const auto usb = FrameBlock488(payload);
    QCOMPARE(usb.size(), std::size_t(611));
    QCOMPARE(std::string(usb.begin(), usb.begin() + 10), std::string("#800000600"));
    QCOMPARE(usb.back(), std::uint8_t('\n'));
    const auto serial = FrameBlockSerial(std::vector<std::uint8_t>(74880, 1));
    QCOMPARE(serial.size(), std::size_t(74884));
    QCOMPARE(le(serial, 0, 4), 74880u);
    Instrument i;
    QCOMPARE(i.Process(":WAVEFORM:DATA? CHANNEL1").data.size(), std::size_t(600));
    QCOMPARE(i.Process(":WAVEFORM:DATA? FFT").data.size(), std::size_t(512));
    QCOMPARE(i.Process(":WAVEFORM:DATA? DIGITAL").data.size(), std::size_t(1200));
    QCOMPARE(i.Process(":SYSTEM:DATA?").data.size(), std::size_t(113));
    QCOMPARE(i.Process(":LCD:DATA?").data.size(), std::size_t(74880));
    const auto system = i.Process(":SYSTEM:DATA?").data;
    QCOMPARE(le(system, 2, 2), 299u);     // DrawEnd
    QCOMPARE(int(system[13]), 1);         // Ch1On
    QCOMPARE(le(system, 72, 2), 0xFFFFu); // LAEnableMask
}

void TestSimulator::usbFaceReadsLikeUsbtmc() {
    QTemporaryDir dir;
    SimulatorOptions o;
    o.usbDirectory = dir.path().toStdString();
    Simulator s(o);
    std::string error;
    QVERIFY2(s.Start(&error), error.c_str());
    UsbClient c(s.usbSocketPath());
    QVERIFY(c.ok());
    c.write("*IDN?");
    QCOMPARE(c.readText(5), std::string("VEXOR"));
    QCOMPARE(c.readText(), std::string(" TECHNOLOGIES,NQ4102CD,SIM0000001,00.01.06\n"));
    c.write(":WAVEFORM:DATA? CHANNEL1");
    const auto block = c.read(605);
    QVERIFY(block && block->size() == 605);
    QCOMPARE(std::string(block->begin(), block->begin() + 10), std::string("#800000600"));
    const auto rest = c.read(100);
    QVERIFY(rest && rest->size() == 6 && rest->back() == '\n');
    // A set command leaves nothing to read: the read goes unanswered.
    c.write(":CHANNEL1:COUPLING AC");
    QVERIFY(!c.read(10, 200));
    s.Stop();
}

void TestSimulator::usbFaceDiscardsOnNewCommand() {
    QTemporaryDir dir;
    SimulatorOptions o;
    o.usbDirectory = dir.path().toStdString();
    Simulator s(o);
    QVERIFY(s.Start());
    UsbClient c(s.usbSocketPath());
    c.write(":TIMEBASE:FORMAT?");
    QCOMPARE(c.readText(2), std::string("Y-"));
    c.write(":ACQUIRE:MODE?"); // the rest of the first reply is gone
    QCOMPARE(c.readText(), std::string("REAL_TIME\n"));
    c.write("*IDN?");
    c.clear(); // device clear drops the reply too
    QVERIFY(!c.read(10, 200));
    s.Stop();
}

QTEST_GUILESS_MAIN(TestSimulator)
#include "tst_simulator.moc"
