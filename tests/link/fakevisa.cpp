// SPDX-License-Identifier: GPL-3.0-or-later
// A stand-in for a vendor VISA library: one instrument that answers *IDN?
// and :MATH:DISPLAY?, with the VISA calling convention of a 64-bit system.
#include <cstdint>
#include <cstring>
#include <string>

using ViStatus = std::int32_t;
using ViUInt32 = std::uint32_t;
using ViSession = ViUInt32;
using ViAttrState = std::uint64_t;

namespace {
std::string g_pending;
std::string g_log;
constexpr ViSession kRm = 1, kList = 2, kInstr = 3;
} // namespace

extern "C" {
ViStatus viOpenDefaultRM(ViSession* rm) {
    *rm = kRm;
    return 0;
}
ViStatus viFindRsrc(ViSession, const char*, ViSession* list, ViUInt32* count, char* name) {
    *list = kList;
    *count = 1;
    std::strcpy(name, "USB0::0x1234::0x5678::FAKE01::INSTR");
    return 0;
}
ViStatus viFindNext(ViSession, char*) {
    return static_cast<ViStatus>(0xBFFF0011u);
}
ViStatus viOpen(ViSession, const char*, ViUInt32, ViUInt32, ViSession* vi) {
    *vi = kInstr;
    return 0;
}
ViStatus viClose(ViSession) {
    return 0;
}
ViStatus viSetAttribute(ViSession, ViUInt32, ViAttrState) {
    return 0;
}
ViStatus viClear(ViSession) {
    g_log += "<clear>";
    g_pending.clear();
    return 0;
}
ViStatus viWrite(ViSession, const unsigned char* buffer, ViUInt32 count, ViUInt32* written) {
    const std::string command(reinterpret_cast<const char*>(buffer), count);
    g_log += command;
    if (command == "*IDN?\n")
        g_pending = "VEXOR TECHNOLOGIES,NQ4202CD,FAKE01,01.00\n";
    else if (command == ":MATH:DISPLAY?\n")
        g_pending = "ON\n";
    else
        g_pending.clear();
    *written = count;
    return 0;
}
ViStatus viRead(ViSession, unsigned char* buffer, ViUInt32 count, ViUInt32* got) {
    const std::size_t n = g_pending.size() < count ? g_pending.size() : count;
    std::memcpy(buffer, g_pending.data(), n);
    g_pending.erase(0, n);
    *got = static_cast<ViUInt32>(n);
    return n == count ? 0x3FFF0006 : 0;
}
// For the test: what the library was told.
const char* fakeVisaLog() {
    return g_log.c_str();
}
}
