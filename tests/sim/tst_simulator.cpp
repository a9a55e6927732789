// The simulated instrument from the outside: its reply spellings, the framing
// of both transports over real channels, discard-on-new-command, the fault
// modes, and the files it writes.
#include "Files.h"
#include "Simulator.h"

#include <QTemporaryDir>
#include <QtTest>
#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <termios.h>
#include <unistd.h>
#include <zlib.h>

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
    // True when the instrument closed the connection.
    bool closedByPeer(int timeoutMs = 2000) {
        pollfd p{fd_, POLLIN, 0};
        if (::poll(&p, 1, timeoutMs) <= 0) return false;
        char c;
        return ::recv(fd_, &c, 1, MSG_PEEK) == 0;
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

std::vector<std::uint8_t> readExactly(int fd, std::size_t n, int timeoutMs = 3000) {
    std::vector<std::uint8_t> out;
    while (out.size() < n) {
        pollfd p{fd, POLLIN, 0};
        if (::poll(&p, 1, timeoutMs) <= 0) break;
        std::uint8_t buffer[8192];
        const ssize_t got = ::read(fd, buffer, std::min(sizeof buffer, n - out.size()));
        if (got <= 0) break;
        out.insert(out.end(), buffer, buffer + got);
    }
    return out;
}

std::vector<std::uint8_t> slurp(const QString& path) {
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly)) return {};
    const QByteArray b = f.readAll();
    return std::vector<std::uint8_t>(b.begin(), b.end());
}

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
    void replySpellingsDifferFromSetWords_data();
    void replySpellingsDifferFromSetWords();
    void numbersWithUnitsAndProbe();
    void alternationLeavesSpeakOfTheChosenChannel();
    void digitalPackingRoundTrips();
    void keysActOnTheState();
    void identities();
    void measurementsAndStars();
    void blockFramings();
    void usbFaceReadsLikeUsbtmc();
    void usbFaceDiscardsOnNewCommand();
    void serialFaceOverAPseudoTerminal();
    void faultLatencySilenceGarbageTruncation();
    void faultDropAndPlugBack();
    void commandLogInOrder();
    void recordFile();
    void waveformFiles();
};

void TestSimulator::replySpellingsDifferFromSetWords_data() {
    QTest::addColumn<QString>("set");
    QTest::addColumn<QString>("query");
    QTest::addColumn<QString>("reply");
    QTest::newRow("format") << ":TIMEBASE:FORMAT SCANNING"
                            << ":TIMEBASE:FORMAT?"
                            << "SCANNING";
    QTest::newRow("format yt") << ":TIMEBASE:FORMAT YT"
                               << ":TIMEBASE:FORMAT?"
                               << "Y-T";
    QTest::newRow("format xy") << ":TIMEBASE:FORMAT XY"
                               << ":TIMEBASE:FORMAT?"
                               << "X-Y";
    QTest::newRow("pulse mode") << ":TRIGGER:PULSE:MODE -GREATERTHAN"
                                << ":TRIGGER:PULSE:MODE?"
                                << "-GREATER THAN";
    QTest::newRow("slope mode") << ":TRIGGER:SLOPE:MODE +EQUAL"
                                << ":TRIGGER:SLOPE:MODE?"
                                << "+EQUAL";
    QTest::newRow("video mode") << ":TRIGGER:VIDEO:MODE EVENfield"
                                << ":TRIGGER:VIDEO:MODE?"
                                << "EVEN FIELD";
    QTest::newRow("all lines") << ":TRIGGER:VIDEO:MODE ALLlines"
                               << ":TRIGGER:VIDEO:MODE?"
                               << "ALL LINES";
    QTest::newRow("standard") << ":TRIGGER:VIDEO:STANDARD PALSECAM"
                              << ":TRIGGER:VIDEO:STANDARD?"
                              << "PAL/SECAM";
    QTest::newRow("sampling") << ":ACQUIRE:MODE ETIME"
                              << ":ACQUIRE:MODE?"
                              << "EQUAL_TIME";
    QTest::newRow("qualifier") << ":TRIGGER:DURATION:QUALIFIER GREATERTHAN"
                               << ":TRIGGER:DURATION:QUALIFIER?"
                               << "GREATER THAN";
    QTest::newRow("source") << ":TRIGGER:EDGE:SOURCE CHANNEL2"
                            << ":TRIGGER:EDGE:SOURCE?"
                            << "CH2";
    QTest::newRow("digital source") << ":TRIGGER:EDGE:SOURCE DIGITAL7"
                                    << ":TRIGGER:EDGE:SOURCE?"
                                    << "D7";
    QTest::newRow("threshold family") << ":LA:THRESHOLD CMOS"
                                      << ":LA:THRESHOLD?"
                                      << "CMOS";
    QTest::newRow("threshold user") << ":LA:THRESHOLD 1.5v"
                                    << ":LA:THRESHOLD?"
                                    << "User 1.50";
    QTest::newRow("channel display") << ":CHANNEL2:DISPLAY OFF"
                                     << ":CHANNEL2:DISPLAY?"
                                     << "0";
    QTest::newRow("math") << ":MATH:DISPLAY ON"
                          << ":MATH:DISPLAY?"
                          << "ON";
    QTest::newRow("unknown word keeps the old") << ":DISPLAY:GRID QUARTER"
                                                << ":DISPLAY:GRID?"
                                                << "FULL";
    QTest::newRow("pattern with edge") << ":TRIGGER:PATTERN:PATTERN 65280,65535,3,1"
                                       << ":TRIGGER:PATTERN:PATTERN?"
                                       << "PATTERN,65280,65535,D3,Negative";
    QTest::newRow("pattern without edge") << ":TRIGGER:DURATION:PATTERN 5,255"
                                          << ":TRIGGER:DURATION:PATTERN?"
                                          << "DURATION,5,255,None,Positive";
}

void TestSimulator::replySpellingsDifferFromSetWords() {
    QFETCH(QString, set);
    QFETCH(QString, query);
    QFETCH(QString, reply);
    Instrument instrument;
    QCOMPARE(instrument.Process(set.toStdString()).kind, Reply::Kind::None);
    QCOMPARE(QString::fromStdString(text(instrument.Process(query.toStdString()))), reply);
}

void TestSimulator::numbersWithUnitsAndProbe() {
    Instrument i;
    i.Process(":TIMEBASE:SCALE 10.00us");
    QCOMPARE(text(i.Process(":TIMEBASE:SCALE?")), std::string("1.000000e-05"));
    i.Process(":TRIGGER:EDGE:SENSITIVITY 0.10div");
    QCOMPARE(text(i.Process(":TRIGGER:EDGE:SENSITIVITY?")), std::string("1.000000e-01"));
    i.Process(":TRIGGER:HOLDOFF 2.500E-9");
    QCOMPARE(text(i.Process(":TRIGGER:HOLDOFF?")), std::string("2.500000e-09"));
    i.Process(":CHANNEL1:OFFSET -200000000.0nv");
    QCOMPARE(text(i.Process(":CHANNEL1:OFFSET?")), std::string("-2.000000e-01"));
    // The scale is set at 1X and read at the probe.
    i.Process(":CHANNEL1:PROBE 10");
    i.Process(":CHANNEL1:SCALE 1.00V");
    QCOMPARE(text(i.Process(":CHANNEL1:SCALE?")), std::string("1.000000e+01"));
    QCOMPARE(text(i.Process(":CHANNEL1:PROBE?")), std::string("1.000000e+01"));
    QCOMPARE(text(i.Process(":ACQUIRE:AVERAGES?")), std::string("16"));
    QCOMPARE(text(i.Process(":WAVEFORM:SYSMEMSIZE?")), std::string("4000"));
    QCOMPARE(i.Process(":NOT:A:COMMAND?").kind, Reply::Kind::None);
}

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

void TestSimulator::identities() {
    QCOMPARE(Instrument().Process("*IDN?").data.size(),
             std::string("VEXOR TECHNOLOGIES,NQ4102CD,SIM0000001,00.01.06").size());
    const std::string idn = text(Instrument().Process("*IDN?"));
    QCOMPARE(idn[25], 'C'); // the 26th character tells a colour screen
    QCOMPARE(text(Instrument(Identity::Mono()).Process("*IDN?"))[25], 'M');
    QVERIFY(Identity().digital());
    QVERIFY(!Identity::WithoutDigital().digital());
    QCOMPARE(text(Instrument(Identity::OtherMaker()).Process("*IDN?")).substr(0, 17),
             std::string("ACME INSTRUMENTS,"));
    QCOMPARE(Instrument(Identity::Empty()).Process("*IDN?").kind, Reply::Kind::Text);
    QVERIFY(Instrument(Identity::Empty()).Process("*IDN?").data.empty());
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

void TestSimulator::serialFaceOverAPseudoTerminal() {
    QTemporaryDir dir;
    SimulatorOptions o;
    o.usb = false;
    o.rs232 = true;
    o.serialLink = dir.filePath("ttySIM").toStdString();
    Simulator s(o);
    std::string error;
    QVERIFY2(s.Start(&error), error.c_str());
    QCOMPARE(s.serialPath(), o.serialLink);
    const int fd = ::open(s.serialPath().c_str(), O_RDWR | O_NOCTTY);
    QVERIFY(fd >= 0);
    termios t{};
    ::tcgetattr(fd, &t);
    ::cfmakeraw(&t);
    ::tcsetattr(fd, TCSANOW, &t);
    const std::string q = "*IDN?\n:WAVEFORM:DATA? CHANNEL2\n";
    QCOMPARE(::write(fd, q.data(), q.size()), ssize_t(q.size()));
    const std::string idn = "VEXOR TECHNOLOGIES,NQ4102CD,SIM0000001,00.01.06\n";
    const auto line = readExactly(fd, idn.size());
    QCOMPARE(std::string(line.begin(), line.end()), idn);
    const auto block = readExactly(fd, 604);
    QCOMPARE(block.size(), std::size_t(604));
    QCOMPARE(le(block, 0, 4), 600u); // length prefix, no line end behind the samples
    QVERIFY(readExactly(fd, 1, 200).empty());
    ::close(fd);
    s.Stop();
}

void TestSimulator::faultLatencySilenceGarbageTruncation() {
    Instrument i;
    Faults f;
    f.truncateBlocks = true;
    i.SetFaults(f);
    QCOMPARE(i.Process(":WAVEFORM:DATA? CHANNEL1").data.size(), std::size_t(300));
    f = Faults();
    f.garbage = true;
    i.SetFaults(f);
    QVERIFY(text(i.Process("*IDN?")).find("VEXOR") == std::string::npos);
    f = Faults();
    f.silent = true;
    i.SetFaults(f);
    QCOMPARE(i.Process("*IDN?").kind, Reply::Kind::None);

    QTemporaryDir dir;
    SimulatorOptions o;
    o.usbDirectory = dir.path().toStdString();
    Simulator s(o);
    QVERIFY(s.Start());
    f = Faults();
    f.latencyMs = 150;
    s.instrument().SetFaults(f);
    UsbClient c(s.usbSocketPath());
    QElapsedTimer clock;
    clock.start();
    c.write("*IDN?");
    QVERIFY(c.read(256));
    QVERIFY(clock.elapsed() >= 140);
    s.Stop();
}

void TestSimulator::faultDropAndPlugBack() {
    QTemporaryDir dir;
    SimulatorOptions o;
    o.usbDirectory = dir.path().toStdString();
    Simulator s(o);
    QVERIFY(s.Start());
    Faults f;
    f.dropAtCommand = 2;
    s.instrument().SetFaults(f);
    {
        UsbClient c(s.usbSocketPath());
        c.write("*IDN?");
        QVERIFY(c.read(256));
        c.write("*IDN?"); // the second command pulls the cable
        QVERIFY(c.closedByPeer());
    }
    QTRY_VERIFY(!QFile::exists(QString::fromStdString(s.usbSocketPath())));
    QVERIFY(!UsbClient(s.usbSocketPath()).ok());
    QVERIFY(s.Plug());
    UsbClient again(s.usbSocketPath());
    QVERIFY(again.ok());
    again.write("*IDN?");
    QVERIFY(again.read(256));
    s.Stop();
}

void TestSimulator::commandLogInOrder() {
    Instrument i;
    i.Process(":KEY:LOCK ENABLE");
    i.Process(":WAVeform:POINts:MODE NORmal");
    i.Process("*IDN?");
    const auto log = i.Log();
    QCOMPARE(log.size(), std::size_t(3));
    QCOMPARE(log[1].command, std::string(":WAVeform:POINts:MODE NORmal")); // as received
    QVERIFY(log[0].seconds <= log[2].seconds);
    i.ClearLog();
    QVERIFY(i.Log().empty());
}

void TestSimulator::recordFile() {
    QTemporaryDir dir;
    RecordFileContent plan;
    plan.channel = 2;
    plan.frames = 7;
    plan.voltsPerDiv = 0.2;
    plan.offsetRows = -10;
    plan.secondsPerDiv = 1e-3;
    plan.delaySeconds = -2e-3;
    const QString path = dir.filePath("r.rcd");
    std::string error;
    QVERIFY2(WriteRecordFile(path.toStdString(), plan, &error), error.c_str());
    const auto b = slurp(path);
    QVERIFY(b.size() > 56);
    QCOMPARE(le(b, 0, 2), 0xBABAu);
    QCOMPARE(le(b, 8, 4), 1u);       // source CH2
    QCOMPARE(le(b, 16, 2), 1u);      // first frame
    QCOMPARE(le(b, 18, 2), 7u);      // last frame
    QCOMPARE(int(b[30]), 1);         // CH2 valid
    QCOMPARE(le(b, 32, 4), 200000u); // microvolts per division
    QCOMPARE(qint16(le(b, 36, 2)), qint16(-10));
    QCOMPARE(qint64(le(b, 40, 4)) | qint64(le(b, 44, 4)) << 32, qint64(1000000000));
    QCOMPARE(qint32(le(b, 48, 4)), qint32(-2000000000)); // low word of -2e9 ps
    std::vector<std::uint8_t> frames(7 * 1024 + 100);
    uLongf size = static_cast<uLongf>(frames.size());
    QCOMPARE(uncompress(frames.data(), &size, b.data() + 56, static_cast<uLong>(b.size() - 56)),
             Z_OK);
    QCOMPARE(size, uLongf(7 * 1024));
    for (int n = 0; n < 7; ++n)
        for (int k = 0; k < 300; ++k) {
            const int v = frames[static_cast<std::size_t>(n * 1024 + 214 + k)];
            QVERIFY(v >= 25 && v <= 224);
        }
}

void TestSimulator::waveformFiles() {
    QTemporaryDir dir;
    std::string error;
    WaveformFileContent plan;
    plan.points = 1000;
    const QString current = dir.filePath("c.wfm");
    QVERIFY(WriteWaveformFile(current.toStdString(), plan, &error));
    auto b = slurp(current);
    QCOMPARE(le(b, 0, 2), 0xA5A5u);
    QCOMPARE(le(b, 28, 4), 1000u);
    QCOMPARE(int(b[49]), 1);
    QCOMPARE(int(b[73]), 1);
    QCOMPARE(int(b[120]), 1);
    QCOMPARE(b.size(),
             std::size_t(272 + 4 + 1000 + 1000 + 2 * 1000)); // CH1, CH2, two bytes a point

    plan.points = 600000; // above 524288: one byte a digital point
    plan.ch1 = false;
    QVERIFY(WriteWaveformFile(current.toStdString(), plan, &error));
    QCOMPARE(slurp(current).size(), std::size_t(272 + 4 + 600000 + 600000));

    WaveformFileContent older;
    older.olderHead = true;
    older.points = 500;
    older.ch2 = false;
    const QString old = dir.filePath("o.wfm");
    QVERIFY(WriteWaveformFile(old.toStdString(), older, &error));
    b = slurp(old);
    QCOMPARE(le(b, 0, 2), 0xA5A1u);
    QCOMPARE(b.size(), std::size_t(252 + 4 + 500)); // no digital section in an older file
    QCOMPARE(int(b[120]), 0);                       // trigger mode, at its older place

    WaveformFileContent alternate;
    alternate.alternate = true;
    alternate.points = 800;
    alternate.points2 = 400;
    alternate.digital = false;
    const QString alt = dir.filePath("a.wfm");
    QVERIFY(WriteWaveformFile(alt.toStdString(), alternate, &error));
    b = slurp(alt);
    QCOMPARE(int(b[142]), 4);
    QCOMPARE(le(b, 232, 4), 400u);
    QCOMPARE(b.size(), std::size_t(272 + 4 + 800 + 400));
}

QTEST_GUILESS_MAIN(TestSimulator)
#include "tst_simulator.moc"
