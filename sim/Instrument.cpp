// SPDX-License-Identifier: GPL-3.0-or-later
#include "Instrument.h"

#include "Buses.h"

#include "Screen.h"

#include <algorithm>
#include <random>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstring>

namespace sim {

// ---- identity ------------------------------------------------------------------

std::string Identity::idn() const {
    if (silent) return "";
    return maker + "," + model + "," + serial + "," + version;
}

bool Identity::colour() const {
    return model.size() < 7 || model[6] != 'M';
}

bool Identity::digital() const {
    const auto ends = [this](const std::string& s) {
        return model.size() >= s.size() && model.compare(model.size() - s.size(), s.size(), s) == 0;
    };
    return ends("D") || ends("L-LAB");
}

Identity Identity::Mono() {
    Identity i;
    i.model = "NQ4102MD";
    return i;
}
Identity Identity::WithoutDigital() {
    Identity i;
    i.model = "NQ4102C";
    return i;
}
Identity Identity::OtherMaker() {
    Identity i;
    i.maker = "ACME INSTRUMENTS";
    return i;
}
Identity Identity::Empty() {
    Identity i;
    i.silent = true;
    return i;
}

Reply Reply::Text(const std::string& text) {
    Reply r;
    r.kind = Kind::Text;
    r.data.assign(text.begin(), text.end());
    return r;
}

Reply Reply::Block(std::vector<std::uint8_t> payload) {
    Reply r;
    r.kind = Kind::Block;
    r.data = std::move(payload);
    return r;
}

// ---- numbers ---------------------------------------------------------------------

double ParseNumberWithUnit(const std::string& text, bool* ok) {
    const char* begin = text.c_str();
    while (*begin == ' ')
        ++begin;
    const char* end = nullptr;
    double v = LeadingNumber(begin, begin + std::strlen(begin), &end);
    if (end == begin) {
        if (ok) *ok = false;
        return 0;
    }
    if (ok) *ok = true;
    switch (*end) {
    case 'p':
        return v * 1e-12;
    case 'n':
        return v * 1e-9;
    case 'u':
        return v * 1e-6;
    case 'm':
        return v * 1e-3;
    case 'k':
    case 'K':
        return v * 1e3;
    case 'M':
        return v * 1e6;
    case 'G':
        return v * 1e9;
    default:
        return v;
    }
}

std::string NumberText(double v, std::chars_format format, int precision) {
    char buffer[64];
    const auto r = std::to_chars(buffer, buffer + sizeof buffer, v, format, precision);
    return std::string(buffer, r.ptr);
}

double LeadingNumber(const char* begin, const char* end, const char** stop) {
    const char* p = begin;
    bool negative = false;
    if (p < end && (*p == '+' || *p == '-')) negative = *p++ == '-';
    double v = 0;
    const auto r = std::from_chars(p, end, v);
    if (r.ec == std::errc::invalid_argument) {
        *stop = begin;
        return 0;
    }
    *stop = r.ptr;
    return negative ? -v : v;
}

std::string FloatText(double v) {
    return NumberText(v, std::chars_format::scientific, 6);
}

namespace {

std::string upper(std::string s) {
    for (char& c : s)
        c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return s;
}

std::string trim(const std::string& s) {
    const auto b = s.find_first_not_of(" \t\r");
    if (b == std::string::npos) return "";
    return s.substr(b, s.find_last_not_of(" \t\r") - b + 1);
}

bool startsWith(const std::string& s, const std::string& p) {
    return s.compare(0, p.size(), p) == 0;
}

// The 1-2-5 ladders the knobs step on.
double ladderStep(double value, int direction, double lowest, double highest) {
    std::vector<double> rungs;
    for (double decade = 1e-12; decade <= 1e4; decade *= 10)
        for (double m : {1.0, 2.0, 5.0}) {
            const double r = m * decade;
            if (r >= lowest * 0.999 && r <= highest * 1.001) rungs.push_back(r);
        }
    if (direction > 0) {
        for (double r : rungs)
            if (r > value * 1.0001) return r;
        return rungs.back();
    }
    for (auto it = rungs.rbegin(); it != rungs.rend(); ++it)
        if (*it < value * 0.9999) return *it;
    return rungs.front();
}

} // namespace

// ---- parameters ------------------------------------------------------------------

struct ParamDef {
    enum class Kind { Word, Number, Integer, Text };
    Kind kind;
    std::string initial;
    std::vector<std::pair<std::string, std::string>> words; // set word -> reply word
};

namespace {

std::vector<std::pair<std::string, std::string>> same(std::initializer_list<const char*> words) {
    std::vector<std::pair<std::string, std::string>> w;
    for (const char* s : words)
        w.emplace_back(s, s);
    return w;
}

const std::vector<std::pair<std::string, std::string>> kOnOff = same({"ON", "OFF"});
const std::vector<std::pair<std::string, std::string>> kSweep = same({"AUTO", "NORMAL", "SINGLE"});
const std::vector<std::pair<std::string, std::string>> kTrigCoupling =
    same({"AC", "DC", "LF", "HF"});
const std::vector<std::pair<std::string, std::string>> kModes = {{"+LESSTHAN", "+LESS THAN"},
                                                                 {"-LESSTHAN", "-LESS THAN"},
                                                                 {"+GREATERTHAN", "+GREATER THAN"},
                                                                 {"-GREATERTHAN", "-GREATER THAN"},
                                                                 {"+EQUAL", "+EQUAL"},
                                                                 {"-EQUAL", "-EQUAL"}};
const std::vector<std::pair<std::string, std::string>> kSources = [] {
    std::vector<std::pair<std::string, std::string>> w = {{"CHANNEL1", "CH1"},
                                                          {"CHANNEL2", "CH2"},
                                                          {"EXT", "EXT"},
                                                          {"EXT5", "EXT5"},
                                                          {"ACLINE", "ACLINE"}};
    for (int i = 0; i < 16; ++i)
        w.emplace_back("DIGITAL" + std::to_string(i), "D" + std::to_string(i));
    return w;
}();
} // namespace

// The definition of a header with channel and digital numbers written as "n".
static const ParamDef* definitionOf(const std::string& pattern) {
    using K = ParamDef::Kind;
    static const std::map<std::string, ParamDef> defs = [] {
        std::map<std::string, ParamDef> d;
        auto word = [&d](const std::string& h, const std::string& init,
                         std::vector<std::pair<std::string, std::string>> w) {
            d[h] = {K::Word, init, std::move(w)};
        };
        auto num = [&d](const std::string& h, double init) {
            d[h] = {K::Number, FloatText(init), {}};
        };
        auto integer = [&d](const std::string& h, int init) {
            d[h] = {K::Integer, std::to_string(init), {}};
        };
        word(":TIMEBASE:FORMAT", "YT", {{"YT", "Y-T"}, {"XY", "X-Y"}, {"SCANNING", "SCANNING"}});
        num(":TIMEBASE:SCALE", 5e-4);
        num(":TIMEBASE:OFFSET", 0);
        word(":CHANNELn:DISPLAY", "ON", {{"ON", "1"}, {"OFF", "0"}, {"1", "1"}, {"0", "0"}});
        word(":CHANNELn:BWLIMIT", "OFF", kOnOff);
        word(":CHANNELn:COUPLING", "DC", same({"AC", "DC", "GND"}));
        num(":CHANNELn:PROBE", 1);
        num(":CHANNELn:SCALE", 0.5); // at the 1X probe
        num(":CHANNELn:OFFSET", 0);
        word(":CHANNELn:INVERT", "OFF", kOnOff);
        word(":CHANNEL:ACTIVE", "CHANNEL1", same({"CHANNEL1", "CHANNEL2"}));
        word(":ACQUIRE:TYPE", "NORMAL", same({"NORMAL", "PEAKDETECT", "AVERAGE"}));
        word(":ACQUIRE:MODE", "RTIME", {{"RTIME", "REAL_TIME"}, {"ETIME", "EQUAL_TIME"}});
        integer(":ACQUIRE:AVERAGES", 16);
        word(":DISPLAY:TYPE", "VECTORS", same({"VECTORS", "DOTS"}));
        word(":DISPLAY:GRID", "FULL", same({"FULL", "HALF", "NONE"}));
        word(":DISPLAY:PERSIST", "OFF", kOnOff);
        word(":MATH:DISPLAY", "OFF", kOnOff);
        word(":FFT:DISPLAY", "OFF", kOnOff);
        word(":LA:DISPLAY", "ON", kOnOff);
        word(":LA:GROUP1:SIZE", "SMALL", same({"BIG", "SMALL"}));
        word(":LA:GROUP2:SIZE", "SMALL", same({"BIG", "SMALL"}));
        integer(":LA:STATUS", 0xFFFF);
        word(":TRIGGER:MODE", "EDGE",
             same({"EDGE", "PULSE", "VIDEO", "SLOPE", "ALTERNATION", "PATTERN", "DURATION"}));
        num(":TRIGGER:HOLDOFF", 1e-7);
        for (const char* m : {"EDGE", "PULSE", "VIDEO", "SLOPE"}) {
            const std::string t = std::string(":TRIGGER:") + m;
            word(t + ":SOURCE", "CHANNEL1", kSources);
            num(t + ":SENSITIVITY", 0.1);
        }
        for (const char* m : {"EDGE", "PULSE", "SLOPE", "PATTERN", "DURATION"})
            word(std::string(":TRIGGER:") + m + ":SWEEP", "AUTO", kSweep);
        for (const char* m : {"EDGE", "PULSE", "SLOPE"})
            word(std::string(":TRIGGER:") + m + ":COUPLING", "DC", kTrigCoupling);
        for (const char* m : {"EDGE", "PULSE", "VIDEO"})
            num(std::string(":TRIGGER:") + m + ":LEVEL", 0);
        word(":TRIGGER:EDGE:SLOPE", "POSITIVE", same({"POSITIVE", "NEGATIVE", "ALTERNATION"}));
        word(":TRIGGER:PULSE:MODE", "+LESSTHAN", kModes);
        num(":TRIGGER:PULSE:WIDTH", 1e-6);
        word(":TRIGGER:VIDEO:POLARITY", "POSITIVE", same({"POSITIVE", "NEGATIVE"}));
        word(":TRIGGER:VIDEO:MODE", "LINE",
             {{"ODDFIELD", "ODD FIELD"},
              {"EVENFIELD", "EVEN FIELD"},
              {"LINE", "LINE"},
              {"ALLLINES", "ALL LINES"}});
        integer(":TRIGGER:VIDEO:LINE", 1);
        word(":TRIGGER:VIDEO:STANDARD", "NTSC", {{"NTSC", "NTSC"}, {"PALSECAM", "PAL/SECAM"}});
        word(":TRIGGER:SLOPE:MODE", "+LESSTHAN", kModes);
        num(":TRIGGER:SLOPE:TIME", 1e-6);
        num(":TRIGGER:SLOPE:LEVELA", 0);
        num(":TRIGGER:SLOPE:LEVELB", 0.2);
        d[":TRIGGER:SLOPE:WINDOW"] = {K::Text, "PA", {}};
        word(":TRIGGER:DURATION:QUALIFIER", "LESSTHAN",
             {{"LESSTHAN", "LESS THAN"}, {"GREATERTHAN", "GREATER THAN"}, {"EQUAL", "EQUAL"}});
        num(":TRIGGER:DURATION:TIME", 1e-6);
        d[":TRIGGER:PATTERN:PATTERN"] = {K::Text, "65535,65535", {}};
        d[":TRIGGER:DURATION:PATTERN"] = {K::Text, "65535,65535", {}};
        word(":TRIGGER:ALTERNATION:TYPE", "EDGE", same({"EDGE", "PULSE", "VIDEO", "SLOPE"}));
        word(":MEASURE:SOURCE", "CHANNEL1", same({"CHANNEL1", "CHANNEL2"}));
        integer(":RS232:BAUD", 9600);
        integer(":DIGITALn:POSITION", 0);
        word(":DIGITALn:TURN", "ON", kOnOff);
        d[":LA:THRESHOLD"] = {K::Text, "TTL", {}};
        d[":KEY:LOCK"] = {K::Text, "DISABLE", {}};
        d[":WAVEFORM:POINTS:MODE"] = {K::Text, "NORMAL", {}};
        return d;
    }();
    const auto it = defs.find(pattern);
    return it == defs.end() ? nullptr : &it->second;
}

namespace {
// ":CHANNEL2:SCALE" -> ":CHANNELn:SCALE"; the alternation leaves take the
// definition of their plain counterparts.
std::string patternOf(const std::string& header) {
    std::string p;
    for (std::size_t i = 0; i < header.size(); ++i) {
        p += header[i];
        for (const char* word : {"CHANNEL", "DIGITAL"}) {
            const std::size_t n = std::strlen(word);
            if (p.size() >= n && p.compare(p.size() - n, n, word) == 0 && i + 1 < header.size() &&
                std::isdigit(static_cast<unsigned char>(header[i + 1]))) {
                p += 'n';
                while (i + 1 < header.size() &&
                       std::isdigit(static_cast<unsigned char>(header[i + 1])))
                    ++i;
            }
        }
    }
    static const std::string alt = ":TRIGGER:ALTERNATION";
    if (startsWith(p, alt + ":") && p != alt + ":TYPE") {
        const std::string leaf = p.substr(alt.size());
        if (leaf == ":TIMESCALE") return ":TIMEBASE:SCALE";
        if (leaf == ":TIMEOFFSET") return ":TIMEBASE:OFFSET";
        if (leaf.size() > 8 && leaf.compare(leaf.size() - 8, 8, ":HOLDOFF") == 0)
            return ":TRIGGER:HOLDOFF";
        if (leaf == ":PULSE:TIME") return ":TRIGGER:PULSE:WIDTH";
        return ":TRIGGER" + leaf;
    }
    return p;
}
} // namespace

// ---- the instrument ------------------------------------------------------------------

Instrument::Instrument(Identity identity)
    : identity_(std::move(identity)), start_(std::chrono::steady_clock::now()) {
    gen_[1] = {Generator::Shape::Sine, 1000, 1.0, 0, 0.5};
    gen_[2] = {Generator::Shape::Square, 2000, 0.5, 0, 0.5};
    // Sixteen digital channels on sixteen rows, D0 at the bottom, as the
    // instrument shows them after a position reset with small groups.
    for (int n = 0; n < 16; ++n)
        value(":DIGITAL" + std::to_string(n) + ":POSITION") = std::to_string(n);
}

double Instrument::nowSeconds() const {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
}

std::string Instrument::altKey(const std::string& header) const {
    static const std::string alt = ":TRIGGER:ALTERNATION";
    return alt + std::to_string(altSource_) + header.substr(alt.size());
}

std::string& Instrument::value(const std::string& header) {
    std::string key = header;
    if (startsWith(header, ":TRIGGER:ALTERNATION:")) key = altKey(header);
    auto it = values_.find(key);
    if (it != values_.end()) return it->second;
    const ParamDef* def = definitionOf(patternOf(header));
    std::string initial = def ? def->initial : "";
    // Channel 2 and the alternation's second channel start somewhat differently.
    if (header == ":CHANNEL2:SCALE") initial = FloatText(0.2);
    if (header == ":TRIGGER:ALTERNATION:TIMESCALE")
        initial = FloatText(altSource_ == 1 ? 5e-4 : 2.5e-4);
    if (startsWith(header, ":DIGITAL") && header.find(":POSITION") != std::string::npos) {
        const int n = std::atoi(header.c_str() + 8);
        initial = std::to_string(n >= 8 ? n - 8 : n);
    }
    return values_[key] = initial;
}

double Instrument::number(const std::string& header) {
    return ParseNumberWithUnit(value(header));
}
void Instrument::setNumber(const std::string& header, double v) {
    value(header) = FloatText(v);
}
bool Instrument::on(const std::string& header) {
    const std::string& v = value(header);
    return v == "ON" || v == "1";
}

Reply Instrument::Process(const std::string& rawLine) {
    std::lock_guard<std::mutex> lock(mutex_);
    const std::string line = trim(rawLine);
    log_.push_back({nowSeconds(), line});
    ++commandCount_;
    if (faults_.dropAtCommand > 0 && commandCount_ >= faults_.dropAtCommand) dropped_ = true;
    if (dropped_ || line.empty()) return {};

    const auto blank = line.find(' ');
    const std::string header = upper(line.substr(0, blank));
    const std::string arg = blank == std::string::npos ? "" : trim(line.substr(blank + 1));
    const bool query = !header.empty() && header.back() == '?';
    Reply reply = dispatch(query ? header.substr(0, header.size() - 1) : header, arg, query);

    if (faults_.silent) return {};
    if (reply.kind != Reply::Kind::None && faults_.garbage) {
        std::vector<std::uint8_t> noise(reply.kind == Reply::Kind::Block ? reply.data.size() : 12);
        for (auto& b : noise)
            b = static_cast<std::uint8_t>('!' + (noise_ = noise_ * 1103515245 + 12345) % 90);
        reply.data = noise;
    }
    if (reply.kind == Reply::Kind::Block && faults_.truncateBlocks)
        reply.data.resize(reply.data.size() / 2);
    return reply;
}

Reply Instrument::dispatch(const std::string& header, const std::string& arg, bool query) {
    if (header == "*IDN") return Reply::Text(identity_.idn());
    if (header == "*RST" || header == "*CLS") return {};
    if (!query) {
        if (header == ":RUN" || header == ":STOP") {
            if (running_ && header == ":STOP") frozenAt_ = nowSeconds();
            running_ = header == ":RUN";
            return {};
        }
        if (header == ":AUTO") return autoSet(), Reply();
        if (header == ":FORCETRIG" || header == ":DISPLAY:CLEAR") return {};
        if (header == ":TRIG%50") return levelToMiddle(), Reply();
        if (header == ":LA:POSITION:RESET") return resetLaPositions(), Reply();
        if (startsWith(header, ":KEY:") && header != ":KEY:LOCK") return key(header.substr(5), arg);
        if (header == ":TRIGGER:ALTERNATION:SOURCE") {
            altSource_ = upper(arg) == "CHANNEL2" ? 2 : 1;
            activeChannel_ = altSource_;
            value(":CHANNEL:ACTIVE") = "CHANNEL" + std::to_string(altSource_);
            return {};
        }
        if (header == ":CHANNEL:ACTIVE") activeChannel_ = upper(arg) == "CHANNEL2" ? 2 : 1;
        if (header == ":LA:GROUP1" || header == ":LA:GROUP2") {
            const int first = header == ":LA:GROUP1" ? 0 : 8;
            auto status = static_cast<unsigned>(number(":LA:STATUS"));
            for (int n = first; n < first + 8; ++n) {
                if (upper(arg) == "ON")
                    status |= 1u << n;
                else
                    status &= ~(1u << n);
            }
            value(":LA:STATUS") = std::to_string(status);
            return {};
        }
        if (startsWith(header, ":DIGITAL") && header.find(":TURN") != std::string::npos) {
            const int n = std::atoi(header.c_str() + 8);
            if (n < 0 || n > 15) return {};
            auto status = static_cast<unsigned>(number(":LA:STATUS"));
            if (upper(arg) == "ON")
                status |= 1u << n;
            else
                status &= ~(1u << n);
            value(":LA:STATUS") = std::to_string(status);
            laActive_ = n;
            return {};
        }
        if (header == ":LA:LOCATION") {
            const auto comma = arg.find(',');
            const auto high = static_cast<std::uint32_t>(std::strtoul(arg.c_str(), nullptr, 10));
            const auto low = comma == std::string::npos
                                 ? 0u
                                 : static_cast<std::uint32_t>(
                                       std::strtoul(arg.c_str() + comma + 1, nullptr, 10));
            for (int i = 0; i < 8; ++i) {
                value(":DIGITAL" + std::to_string(15 - i) + ":POSITION") =
                    std::to_string((high >> (4 * (7 - i))) & 0xF);
                value(":DIGITAL" + std::to_string(7 - i) + ":POSITION") =
                    std::to_string((low >> (4 * (7 - i))) & 0xF);
            }
            return {};
        }
        if (header == ":LA:THRESHOLD") {
            const std::string u = upper(arg);
            if (u == "TTL" || u == "CMOS" || u == "ECL")
                value(header) = u;
            else {
                bool ok = false;
                const double v = ParseNumberWithUnit(arg, &ok);
                if (ok) {
                    value(header) = "User " + NumberText(v, std::chars_format::fixed, 2);
                }
            }
            return {};
        }
        if (header == ":CHANNEL1:SCALE" || header == ":CHANNEL2:SCALE") {
            bool ok = false;
            const double v = ParseNumberWithUnit(arg, &ok);
            if (ok && v > 0) setNumber(header, v);
            return {};
        }
        return generic(header, arg, false);
    }

    // Queries.
    if (header == ":TRIGGER:STATUS") return Reply::Text(running_ ? "RUN" : "STOP");
    if (header == ":SYSTEM:DATA") return Reply::Block(systemData());
    if (header == ":LCD:DATA") return Reply::Block(lcdImage());
    if (header == ":WAVEFORM:DATA") return waveformData(upper(arg));
    if (header == ":WAVEFORM:SYSMEMSIZE") return Reply::Text("4000");
    if (header == ":ACQUIRE:SAMP") return Reply::Text(FloatText(sampleRate()));
    if (startsWith(header, ":MEASURE:") && header != ":MEASURE:SOURCE")
        return measure(header.substr(9), arg);
    if (header == ":CHANNEL1:SCALE" || header == ":CHANNEL2:SCALE")
        return Reply::Text(FloatText(ChannelScale(header[8] - '0')));
    if (header == ":LA:LOCATION") {
        std::uint32_t high = 0, low = 0;
        for (int i = 0; i < 8; ++i) {
            high |= (static_cast<std::uint32_t>(
                         number(":DIGITAL" + std::to_string(15 - i) + ":POSITION")) &
                     0xF)
                    << (4 * (7 - i));
            low |= (static_cast<std::uint32_t>(
                        number(":DIGITAL" + std::to_string(7 - i) + ":POSITION")) &
                    0xF)
                   << (4 * (7 - i));
        }
        return Reply::Text(std::to_string(high) + "," + std::to_string(low));
    }
    if (header == ":TRIGGER:PATTERN:PATTERN") return Reply::Text(patternReply("PATTERN"));
    if (header == ":TRIGGER:DURATION:PATTERN") return Reply::Text(patternReply("DURATION"));
    return generic(header, arg, true);
}

Reply Instrument::generic(const std::string& header, const std::string& arg, bool query) {
    const ParamDef* def = definitionOf(patternOf(header));
    if (!def) return {}; // an unknown command: nothing happens, nothing is answered
    std::string& stored = value(header);
    using K = ParamDef::Kind;
    if (query) {
        switch (def->kind) {
        case K::Word:
            for (const auto& [set, reply] : def->words)
                if (set == stored) return Reply::Text(reply);
            return Reply::Text(stored);
        case K::Number:
            return Reply::Text(FloatText(ParseNumberWithUnit(stored)));
        case K::Integer:
            return Reply::Text(
                std::to_string(static_cast<long long>(std::llround(ParseNumberWithUnit(stored)))));
        case K::Text:
            return Reply::Text(stored);
        }
        return {};
    }
    switch (def->kind) {
    case K::Word: {
        const std::string u = upper(arg);
        for (const auto& [set, reply] : def->words)
            if (set == u) stored = set;
        break;
    }
    case K::Number:
    case K::Integer: {
        bool ok = false;
        const double v = ParseNumberWithUnit(arg, &ok);
        if (ok) stored = def->kind == K::Number ? FloatText(v) : std::to_string(std::llround(v));
        break;
    }
    case K::Text:
        stored = arg;
        break;
    }
    // Leaving X-Y for alternation, as the instrument does.
    if (header == ":TRIGGER:MODE" && stored == "ALTERNATION") value(":TIMEBASE:FORMAT") = "YT";
    return {};
}

std::string Instrument::patternReply(const std::string& method) {
    const std::string stored = value(":TRIGGER:" + method + ":PATTERN");
    // Stored as set: VALUE,MASK[,EDGE,POLARITY]
    std::vector<std::string> f;
    std::size_t start = 0;
    while (true) {
        const auto comma = stored.find(',', start);
        f.push_back(trim(stored.substr(start, comma - start)));
        if (comma == std::string::npos) break;
        start = comma + 1;
    }
    const std::string valueText = f.size() > 0 ? f[0] : "0";
    const std::string maskText = f.size() > 1 ? f[1] : "65535";
    std::string edge = "None", polarity = "Positive";
    if (f.size() > 3) {
        edge = "D" + std::to_string(std::atoi(f[2].c_str()));
        polarity = f[3] == "1" ? "Negative" : "Positive";
    }
    return method + "," + valueText + "," + maskText + "," + edge + "," + polarity;
}

// ---- keys --------------------------------------------------------------------------

Reply Instrument::key(const std::string& name, const std::string& arg) {
    const int step = std::max(1, std::atoi(arg.c_str()));
    const std::string ch = "CHANNEL" + std::to_string(activeChannel_);
    if (name == "RUN") {
        if (running_) frozenAt_ = nowSeconds();
        running_ = !running_;
    } else if (name == "AUTO") {
        autoSet();
    } else if (name == "TRIG%50") {
        levelToMiddle();
    } else if (name == "CHANNEL1" || name == "CHANNEL2") {
        activeChannel_ = name.back() - '0';
        value(":CHANNEL:ACTIVE") = name;
        value(":" + name + ":DISPLAY") = "ON";
    } else if (name == "OFF") {
        value(":" + ch + ":DISPLAY") = "OFF";
    } else if (name == "MATH") {
        value(":MATH:DISPLAY") = on(":MATH:DISPLAY") ? "OFF" : "ON";
    } else if (name == "LA") {
        value(":LA:DISPLAY") = on(":LA:DISPLAY") ? "OFF" : "ON";
    } else if (name == "V_SCALE_INC" || name == "V_SCALE_DEC") {
        stepChannelScale(activeChannel_, name == "V_SCALE_INC" ? 1 : -1);
    } else if (name == "H_SCALE_INC" || name == "H_SCALE_DEC") {
        stepTimeScale(name == "H_SCALE_INC" ? 1 : -1);
    } else if (name == "V_POS_INC" || name == "V_POS_DEC") {
        const double div = ChannelScale(activeChannel_);
        const double delta = div / 25 * step * (name == "V_POS_INC" ? 1 : -1);
        setNumber(":" + ch + ":OFFSET", number(":" + ch + ":OFFSET") + delta);
    } else if (name == "H_POS_INC" || name == "H_POS_DEC") {
        const double delta = number(":TIMEBASE:SCALE") / 50 * step * (name == "H_POS_INC" ? 1 : -1);
        setNumber(":TIMEBASE:OFFSET", number(":TIMEBASE:OFFSET") + delta);
    } else if (name == "TRIG_LVL_INC" || name == "TRIG_LVL_DEC") {
        const std::string mode = value(":TRIGGER:MODE");
        const std::string level =
            ":TRIGGER:" + (mode == "PULSE" || mode == "VIDEO" ? mode : std::string("EDGE")) +
            ":LEVEL";
        const double delta =
            ChannelScale(activeChannel_) / 25 * step * (name == "TRIG_LVL_INC" ? 1 : -1);
        setNumber(level, number(level) + delta);
    }
    // Menu keys, function keys and the rest change what the screen shows only.
    return {};
}

void Instrument::stepChannelScale(int channel, int direction) {
    const std::string h = ":CHANNEL" + std::to_string(channel) + ":SCALE";
    setNumber(h, ladderStep(number(h), direction, 2e-3, 10));
}

void Instrument::stepTimeScale(int direction) {
    setNumber(":TIMEBASE:SCALE", ladderStep(number(":TIMEBASE:SCALE"), direction, 2e-9, 50));
}

void Instrument::autoSet() {
    for (int c = 1; c <= 2; ++c) {
        const std::string ch = ":CHANNEL" + std::to_string(c);
        const double vpp = MeasureSignal(gen_[c], Measure::Vpp, 1).value;
        const double probe = std::max(1.0, number(ch + ":PROBE"));
        // About four divisions of signal, on the 1-2-5 ladder.
        const double wanted = std::max(vpp / 4 / probe, 2e-3);
        setNumber(ch + ":SCALE", ladderStep(wanted * 0.999, 1, 2e-3, 10));
        setNumber(ch + ":OFFSET", 0);
        value(ch + ":DISPLAY") = "ON";
    }
    const double f = gen_[1].frequency > 0 ? gen_[1].frequency : 1000;
    setNumber(":TIMEBASE:SCALE", ladderStep(2.5 / f / 12 * 0.999, 1, 2e-9, 50));
    setNumber(":TIMEBASE:OFFSET", 0);
    value(":TIMEBASE:FORMAT") = "YT";
    value(":TRIGGER:MODE") = "EDGE";
    value(":TRIGGER:EDGE:SOURCE") = "CHANNEL1";
    levelToMiddle();
    running_ = true;
}

void Instrument::levelToMiddle() {
    const std::string mode = value(":TRIGGER:MODE");
    const std::string m = mode == "PULSE" || mode == "VIDEO" || mode == "SLOPE" ? mode : "EDGE";
    const std::string source = value(":TRIGGER:" + m + ":SOURCE");
    const int c = source == "CHANNEL2" ? 2 : 1;
    const double middle = (MeasureSignal(gen_[c], Measure::Vmax, 1).value +
                           MeasureSignal(gen_[c], Measure::Vmin, 1).value) /
                          2;
    if (m == "SLOPE") {
        setNumber(":TRIGGER:SLOPE:LEVELA", middle);
    } else {
        setNumber(":TRIGGER:" + m + ":LEVEL", middle);
    }
    if (mode == "ALTERNATION")
        for (int s = 1; s <= 2; ++s)
            values_[":TRIGGER:ALTERNATION" + std::to_string(s) + ":EDGE:LEVEL"] =
                FloatText((MeasureSignal(gen_[s], Measure::Vmax, 1).value +
                           MeasureSignal(gen_[s], Measure::Vmin, 1).value) /
                          2);
}

void Instrument::resetLaPositions() {
    const bool highBig = value(":LA:GROUP2:SIZE") == "BIG";
    for (int n = 0; n < 16; ++n)
        value(":DIGITAL" + std::to_string(n) + ":POSITION") =
            std::to_string(n >= 8 && highBig ? n - 8 : n);
}

// ---- acquisition -----------------------------------------------------------------------

double Instrument::ChannelScale(int channel) {
    const std::string ch = ":CHANNEL" + std::to_string(channel);
    return number(ch + ":SCALE") * std::max(1.0, number(ch + ":PROBE"));
}

double Instrument::TimeScale() {
    return number(":TIMEBASE:SCALE");
}

double Instrument::sampleRate() {
    const double ts = number(":TIMEBASE:SCALE");
    const double rate = 4000 / (12 * (ts > 0 ? ts : 1e-3));
    return std::min(rate, 1e9);
}

// The time of the screen's middle sample: a triggered display keeps the
// trigger crossing there; an untriggered or rolling one drifts with time.
double Instrument::timeOrigin(int channel) {
    const double now = running_ ? nowSeconds() : frozenAt_;
    if (value(":TIMEBASE:FORMAT") == "SCANNING") return now;
    const std::string mode = value(":TRIGGER:MODE");
    const std::string m = mode == "PULSE" || mode == "VIDEO" || mode == "SLOPE" ? mode : "EDGE";
    const std::string source = value(":TRIGGER:" + m + ":SOURCE");
    const int c = mode == "ALTERNATION" ? channel : source == "CHANNEL2" ? 2 : 1;
    const Generator& g = gen_[c];
    if (source.rfind("CHANNEL", 0) != 0 && mode != "ALTERNATION") return now;
    if (g.frequency <= 0 || g.shape == Generator::Shape::Dc) return now;
    const double level =
        m == "SLOPE" ? number(":TRIGGER:SLOPE:LEVELA") : number(":TRIGGER:" + m + ":LEVEL");
    const bool falling = value(":TRIGGER:EDGE:SLOPE") == "NEGATIVE";
    const double period = 1 / g.frequency;
    const double base = std::floor(now / period) * period;
    for (int k = 0; k < 400; ++k) {
        const double t0 = base + period * k / 400, t1 = base + period * (k + 1) / 400;
        const double v0 = g.value(t0), v1 = g.value(t1);
        if (!falling && v0 < level && v1 >= level) return t1;
        if (falling && v0 > level && v1 <= level) return t1;
    }
    return now; // no crossing: free running
}

std::vector<std::uint8_t> Instrument::trace(int channel) {
    const std::string ch = ":CHANNEL" + std::to_string(channel);
    const bool displayedInverted = on(ch + ":INVERT");
    // A running instrument delivers an inverted channel uninverted.
    const bool invert = displayedInverted && !running_;
    const double scale = ChannelScale(channel);
    const double offsetRows = number(ch + ":OFFSET") * 25 / scale;
    double ts = number(":TIMEBASE:SCALE");
    if (value(":TRIGGER:MODE") == "ALTERNATION") {
        const auto it =
            values_.find(":TRIGGER:ALTERNATION" + std::to_string(channel) + ":TIMESCALE");
        ts = it != values_.end() ? ParseNumberWithUnit(it->second) : (channel == 1 ? 5e-4 : 2.5e-4);
    }
    const double delay = number(":TIMEBASE:OFFSET");
    const double origin = timeOrigin(channel);
    const bool ac = value(ch + ":COUPLING") == "AC";
    const bool ground = value(ch + ":COUPLING") == "GND";
    std::vector<std::uint8_t> samples(600);
    // The noise belongs to the acquisition: the same picture while stopped.
    auto noise = static_cast<std::uint32_t>(std::fmod(origin * 1e6, 4294967296.0)) +
                 static_cast<std::uint32_t>(channel);
    for (int i = 0; i < 600; ++i) {
        const double t = origin + (i - 300) * ts / 50 + delay;
        double v = ground ? 0 : gen_[channel].value(t) - (ac ? gen_[channel].offset : 0);
        noise = noise * 1664525u + 1013904223u;
        v += (static_cast<int>((noise >> 16) % 100) - 50) / 50.0 * scale * 0.01;
        if (invert) v = -v;
        const double row = 100 - offsetRows - v * 25 / scale;
        samples[static_cast<std::size_t>(i)] =
            static_cast<std::uint8_t>(std::clamp(std::lround(row) + 25, 0L, 255L));
    }
    return samples;
}

std::vector<std::uint8_t> Instrument::mathTrace() {
    std::vector<std::uint8_t> a = trace(1), b = trace(2), m(600);
    const double s1 = ChannelScale(1), s2 = ChannelScale(2);
    for (int i = 0; i < 600; ++i) {
        const double v1 = (125.0 - a[static_cast<std::size_t>(i)]) * s1 / 25;
        const double v2 = (125.0 - b[static_cast<std::size_t>(i)]) * s2 / 25;
        m[static_cast<std::size_t>(i)] =
            static_cast<std::uint8_t>(std::clamp(std::lround(125 - (v1 + v2) * 25 / s1), 0L, 255L));
    }
    return m;
}

std::vector<std::uint8_t> Instrument::fftTrace() {
    // Magnitude spectrum of channel 1 over the screen, in rows: 0 dB at the top.
    const std::vector<std::uint8_t> t = trace(1);
    std::vector<std::uint8_t> out(512);
    for (int k = 0; k < 512; ++k) {
        const int bin = k * 300 / 512;
        double re = 0, im = 0;
        for (int n = 0; n < 600; ++n) {
            const double x = 125.0 - t[static_cast<std::size_t>(n)];
            re += x * std::cos(2 * 3.14159265358979 * bin * n / 600);
            im -= x * std::sin(2 * 3.14159265358979 * bin * n / 600);
        }
        const double mag = std::sqrt(re * re + im * im) / 600;
        const double db = 20 * std::log10(mag + 1e-3);
        out[static_cast<std::size_t>(k)] =
            static_cast<std::uint8_t>(std::clamp(std::lround(25 + 60 - db * 4), 25L, 224L));
    }
    return out;
}

std::vector<std::uint8_t> Instrument::digitalTrace() {
    // The buses on D0..D6, triggered at the screen's left edge; above them
    // a counter that walks across the screen.
    const double now = running_ ? nowSeconds() : frozenAt_;
    const auto shift = static_cast<unsigned>(now * 20);
    const double column = 12 * number(":TIMEBASE:SCALE") / 600;
    std::vector<std::uint8_t> out(1200);
    for (unsigned i = 0; i < 600; ++i) {
        const auto word =
            static_cast<std::uint16_t>(((i / 2 + shift) << kBusLines) | BusLines(i * column));
        out[2 * i] = static_cast<std::uint8_t>(word & 0xFF);
        out[2 * i + 1] = static_cast<std::uint8_t>(word >> 8);
    }
    return out;
}

void Instrument::SetDrawRange(int first, int last) {
    std::lock_guard<std::mutex> lock(mutex_);
    drawStart_ = first;
    drawEnd_ = last;
}

std::vector<std::uint8_t> Instrument::ScreenTrace(int channel) {
    std::lock_guard<std::mutex> lock(mutex_);
    return trace(channel);
}

Reply Instrument::waveformData(const std::string& source) {
    if (source == "CHANNEL1") return Reply::Block(trace(1));
    if (source == "CHANNEL2") return Reply::Block(trace(2));
    if (source == "MATH") return Reply::Block(mathTrace());
    if (source == "FFT") return Reply::Block(fftTrace());
    if (source == "DIGITAL") return Reply::Block(digitalTrace());
    return {};
}

Reply Instrument::measure(const std::string& word, const std::string& arg) {
    int channel = value(":MEASURE:SOURCE") == "CHANNEL2" ? 2 : 1;
    if (upper(arg) == "CHANNEL1") channel = 1;
    if (upper(arg) == "CHANNEL2") channel = 2;
    for (int m = 0; m < kMeasureCount; ++m) {
        if (word != MeasureWord(static_cast<Measure>(m))) continue;
        if (!on(":CHANNEL" + std::to_string(channel) + ":DISPLAY")) return Reply::Text("*****");
        const Measurement r =
            MeasureSignal(gen_[channel], static_cast<Measure>(m), 12 * number(":TIMEBASE:SCALE"));
        double value = r.value;
        if (faults_.jitter > 0) { // a real signal's measures spread from one refresh to the next
            static std::mt19937 noise(12345);
            value *= 1 + std::normal_distribution<double>(0, faults_.jitter)(noise);
        }
        return Reply::Text(r.valid ? FloatText(value) : "*****");
    }
    return {};
}

// ---- system data -------------------------------------------------------------------

std::vector<std::uint8_t> Instrument::systemData() {
    std::vector<std::uint8_t> b(113, 0);
    auto put16 = [&b](std::size_t at, int v) {
        b[at] = static_cast<std::uint8_t>(v & 0xFF);
        b[at + 1] = static_cast<std::uint8_t>((v >> 8) & 0xFF);
    };
    auto putFloat = [&b](std::size_t at, float v) { std::memcpy(&b[at], &v, 4); };
    put16(0, drawStart_);
    put16(2, drawEnd_);
    put16(4, 0);
    put16(6, 299);
    put16(8, 0);
    put16(10, 299);
    b[12] = value(":TIMEBASE:FORMAT") == "SCANNING" ? 1 : 0;
    b[13] = on(":CHANNEL1:DISPLAY") ? 1 : 0;
    b[14] = on(":CHANNEL2:DISPLAY") ? 1 : 0;
    b[15] = on(":MATH:DISPLAY") ? 1 : 0;
    b[16] = on(":FFT:DISPLAY") ? 3 : 0; // math operator: 0 plus, 3 FFT
    putFloat(20, static_cast<float>(ChannelScale(1)));
    put16(24, 0);
    putFloat(28, static_cast<float>(ChannelScale(2)));
    b[34] = on(":FFT:DISPLAY") ? 1 : 0;
    b[37] = 1; // FFT on the whole screen
    putFloat(40, static_cast<float>(ChannelScale(1)));
    putFloat(48, static_cast<float>(number(":TIMEBASE:SCALE")));
    putFloat(56, static_cast<float>(sampleRate() / 20)); // FFT hertz a division
    putFloat(64, static_cast<float>(sampleRate()));
    b[70] = on(":LA:DISPLAY") ? 1 : 0;
    put16(72, static_cast<int>(number(":LA:STATUS")) & 0xFFFF);
    for (int n = 0; n < 16; ++n) {
        const int pos = static_cast<int>(number(":DIGITAL" + std::to_string(n) + ":POSITION"));
        put16(74 + 2 * static_cast<std::size_t>(n), 222 - pos * 12);
    }
    b[106] = static_cast<std::uint8_t>(laActive_);
    b[107] = value(":LA:GROUP1:SIZE") == "BIG" ? 10 : 5;
    b[108] = value(":LA:GROUP2:SIZE") == "BIG" ? 10 : 5;
    return b;
}

std::vector<std::uint8_t> Instrument::lcdImage() {
    ScreenContent content;
    content.colour = identity_.colour();
    content.running = running_;
    for (int c = 1; c <= 2; ++c) {
        content.channelOn[c - 1] = on(":CHANNEL" + std::to_string(c) + ":DISPLAY");
        content.trace[c - 1] = trace(c);
        content.scale[c - 1] = ChannelScale(c);
    }
    content.timeScale = number(":TIMEBASE:SCALE");
    content.grid = value(":DISPLAY:GRID");
    return DrawScreen(content);
}

// ---- the rest of the interface -------------------------------------------------------------

bool Instrument::LinkDropped() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return dropped_;
}

void Instrument::ResetLink() {
    std::lock_guard<std::mutex> lock(mutex_);
    dropped_ = false;
    faults_.dropAtCommand = 0;
    commandCount_ = 0;
}

void Instrument::Note(const std::string& event) {
    std::lock_guard<std::mutex> lock(mutex_);
    log_.push_back({nowSeconds(), "<" + event + ">"});
}

std::vector<LogEntry> Instrument::Log() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return log_;
}

void Instrument::ClearLog() {
    std::lock_guard<std::mutex> lock(mutex_);
    log_.clear();
}

Faults Instrument::faults() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return faults_;
}

void Instrument::SetFaults(const Faults& f) {
    std::lock_guard<std::mutex> lock(mutex_);
    faults_ = f;
    commandCount_ = 0;
}

Identity Instrument::identity() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return identity_;
}

void Instrument::SetIdentity(const Identity& i) {
    std::lock_guard<std::mutex> lock(mutex_);
    identity_ = i;
}

void Instrument::SetGenerator(int channel, const Generator& g) {
    std::lock_guard<std::mutex> lock(mutex_);
    if (channel == 1 || channel == 2) gen_[channel] = g;
}

std::string Instrument::Value(const std::string& header) {
    std::lock_guard<std::mutex> lock(mutex_);
    return value(upper(header));
}

} // namespace sim
