// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// The simulated instrument's state and its answer to each command line. It
// knows nothing of transports: a transport hands it one line (without the
// line feed) and frames what comes back.
#include "Signal.h"

#include <charconv>
#include <chrono>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace sim {

struct Identity {
    std::string maker = "VEXOR TECHNOLOGIES";
    std::string model = "NQ4102CD";
    std::string serial = "SIM0000001";
    std::string version = "00.01.06";
    bool silent = false; // answers *IDN? with an empty line

    std::string idn() const;
    bool colour() const;  // 7th character of the model
    bool digital() const; // model ends in "D" or "L-LAB"
    static Identity Mono();
    static Identity WithoutDigital();
    static Identity OtherMaker();
    static Identity Empty();
};

struct Reply {
    enum class Kind { None, Text, Block };
    Kind kind = Kind::None;
    std::vector<std::uint8_t> data; // text without its line end, or the block payload
    static Reply Text(const std::string& text);
    static Reply Block(std::vector<std::uint8_t> payload);
};

struct LogEntry {
    double seconds; // since the instrument was made
    std::string command;
};

// Faults on demand, for tests of the program's failure paths.
struct Faults {
    int latencyMs = 0;           // before every reply
    int dropAtCommand = 0;       // the link drops when this command (1-based) arrives; 0 never
    bool silent = false;         // nothing is answered
    bool garbage = false;        // replies are noise
    bool truncateBlocks = false; // blocks carry half their payload
    double jitter = 0;           // measured values vary by this fraction (a standard deviation)
};

class Instrument {
public:
    explicit Instrument(Identity identity = Identity());

    // One command line. Thread-safe.
    Reply Process(const std::string& line);

    // True once the drop fault fired; the transport then closes its link.
    bool LinkDropped() const;
    void ResetLink(); // plugged back in

    // A line event that is no command (a device clear), logged in angle brackets.
    void Note(const std::string& event);
    std::vector<LogEntry> Log() const;
    void ClearLog();
    Faults faults() const;
    void SetFaults(const Faults& faults);
    Identity identity() const;
    void SetIdentity(const Identity& identity);
    void SetGenerator(int channel, const Generator& g);
    // The screen columns the traces cover (system data DrawStart, DrawEnd):
    // a delayed or zoomed screen leaves columns at its edges empty.
    void SetDrawRange(int first, int last);

    // Samples as the screen shows them now (raw = row + 25), for files and tests.
    std::vector<std::uint8_t> ScreenTrace(int channel);
    std::string Value(const std::string& header); // the stored set-word or number
    double ChannelScale(int channel);             // volts per division at the probe
    double TimeScale();

private:
    Reply dispatch(const std::string& header, const std::string& arg, bool query);
    Reply generic(const std::string& header, const std::string& arg, bool query);
    Reply key(const std::string& name, const std::string& arg);
    Reply waveformData(const std::string& source);
    Reply measure(const std::string& word, const std::string& arg);
    std::vector<std::uint8_t> systemData();
    std::vector<std::uint8_t> lcdImage();
    std::vector<std::uint8_t> trace(int channel);
    std::vector<std::uint8_t> mathTrace();
    std::vector<std::uint8_t> fftTrace();
    std::vector<std::uint8_t> digitalTrace();
    double timeOrigin(int channel);
    double sampleRate();
    void autoSet();
    void levelToMiddle();
    void resetLaPositions();
    void stepChannelScale(int channel, int direction);
    void stepTimeScale(int direction);
    std::string& value(const std::string& header);
    double number(const std::string& header);
    void setNumber(const std::string& header, double v);
    bool on(const std::string& header);
    std::string altKey(const std::string& leaf) const;
    double nowSeconds() const;
    std::string patternReply(const std::string& method);

    mutable std::mutex mutex_;
    Identity identity_;
    Faults faults_;
    std::map<std::string, std::string> values_;
    std::vector<LogEntry> log_;
    std::chrono::steady_clock::time_point start_;
    Generator gen_[3];
    bool running_ = true;
    double frozenAt_ = 0; // acquisition time while stopped
    int altSource_ = 1;
    int drawStart_ = 0, drawEnd_ = 299;
    int activeChannel_ = 1;
    int laActive_ = 0;
    int commandCount_ = 0;
    bool dropped_ = false;
    std::uint32_t noise_ = 12345;
};

// A number text with an optional unit: "10.00us", "1.00V", "0.10div", "2.5E-9".
double ParseNumberWithUnit(const std::string& text, bool* ok = nullptr);
std::string FloatText(double v); // "%.6e"
// Number text of the instrument, never the PC's locale: the point always.
std::string NumberText(double v, std::chars_format format, int precision);
// The number at the start of [begin, end) (a sign allowed); *stop is where it
// ended, begin when there was none.
double LeadingNumber(const char* begin, const char* end, const char** stop);

} // namespace sim
