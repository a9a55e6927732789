// SPDX-License-Identifier: GPL-3.0-or-later
#include "acquire/WaveJob.h"

#include "acquire/Jobs.h"
#include "controller/CtrlData.h"
#include "controller/CtrlState.h"
#include "link/LinkState.h"
#include "link/NQ4000Cmd.h"
#include "link/RS232Func.h"
#include "link/UsbFunc.h"
#include "platform/Clock.h"
#include "platform/Pacing.h"
#include "shared/LoadLanguage.h"
#include "shared/SoftwareSetting.h"
#include "shared/StringRES.h"
#include "shared/ValueText.h"

#include <QLocale>
#include <algorithm>
#include <cmath>

platform::FixedArray<int, 0, 8192> RawSamples;

namespace {

QString query(const QString& command) {
    return CutAtLineFeed(CmdQuery(command));
}

bool onReply(const QString& reply) {
    return reply == QLatin1String("ON") || reply == QLatin1String("1");
}

bool onSerial() {
    return SoftwareSetting.ScopeIOType == kIoTypeRs232;
}

// The serial block: the payload as it arrived, place 0 to index 1.
int copySerialBlock() {
    if (!Rs232WaitBinary()) return 0;
    const int count = RxWriteIndex;
    for (int i = 1; i <= count; ++i)
        RawSamples[i] = RxBuffer[i - 1];
    return count;
}

// The samples a full block of a trace kind holds.
int expectedSamples(TraceKind kind) {
    switch (kind) {
    case TraceKind::Fft:
        return 512;
    case TraceKind::Digital:
        return 1200;
    default:
        return 600;
    }
}

// One trace: its block asked for, read, decoded; the bar advanced.
void fetchTrace(const QString& source, TraceKind kind, int requested, const DecodeRules& rules,
                SampleArray& out) {
    CmdSend(QueryCommand(cmd::WaveformData, source));
    StartProgressCreep();
    const int count = ReadTraceBlock(requested);
    StopProgressCreep();
    // A request may be shorter than the trace (the digital one is): a full
    // read gives the request less the block's ten header bytes.
    WarnShortBlock(source, count, std::min(expectedSamples(kind), requested - 10));
    DecodeTrace(kind, count, rules, out);
    AdvanceProgress();
    ProgressTarget = std::min(100.0, ProgressTarget + ProgressStep());
}

void fetchChannel(int channel, bool running, bool split, SampleArray& out) {
    ProgressCreep = 3;
    DecodeRules rules;
    rules.invertOn = query(QueryCommand(cmd::ChannelRoot(channel) + cmd::Invert)) == cmd::On;
    rules.running = running;
    rules.splitScreen = split;
    fetchTrace(channel == 2 ? cmd::ArgChannel2 : cmd::ArgChannel1, TraceKind::Channel,
               kTraceRequest, rules, out);
}

// X-Y shows both channels: the controller's display states follow.
void forceChannelsOn() {
    bool changed = false;
    for (QString* display : {&CtrlData.Ch1Display, &CtrlData.Ch2Display}) {
        if (*display != WordOn) {
            *display = WordOn;
            changed = true;
        }
    }
    if (changed) CtrlTreeChanged(CtrlTreeChange::Texts);
}

} // namespace

void WarnShortBlock(const QString& source, int count, int expected) {
    if (!Connected || count >= expected) return;
    AddJobWarning(
        CaptionLanguage() == kLanguageChinese
            ? QString::fromUtf8("%1: 只收到 %2/%3 个采样点。").arg(source).arg(count).arg(expected)
            : QStringLiteral("%1: only %2 of %3 samples arrived.")
                  .arg(source)
                  .arg(count)
                  .arg(expected));
}

void WarnUnreadable(const QString& what, const QString& reply) {
    if (!Connected) return;
    AddJobWarning(CaptionLanguage() == kLanguageChinese
                      ? QString::fromUtf8("无法读取%1的回复 \"%2\"。").arg(what, reply.left(20))
                      : QStringLiteral("The reply to %1 was not understood (\"%2\").")
                            .arg(what, reply.left(20)));
}

int ReadTraceBlock(int requested) {
    if (!Connected && !Connecting) return 0;
    if (onSerial()) return copySerialBlock();
    int count = 0;
    VisaReadBlock(count, requested);
    for (int i = 1; i <= count; ++i)
        RawSamples[i] = BinaryData[i];
    return count;
}

SystemData ReadSystemData() {
    CmdSend(QueryCommand(cmd::SystemData));
    if (onSerial()) {
        SystemDataBlock116 block{};
        if (Rs232WaitBinary()) {
            const int count = std::min<int>(RxWriteIndex, static_cast<int>(block.size()));
            for (int i = 0; i < count; ++i)
                block[static_cast<std::size_t>(i)] = RxBuffer[i];
        }
        return SystemDataFromBlock(block);
    }
    SystemDataBlock.fill(0);
    VisaReadSystemData();
    return SystemDataFromBlock(SystemDataBlock);
}

int DecodeSample(TraceKind kind, int raw, const DecodeRules& rules) {
    switch (kind) {
    case TraceKind::Digital:
        return raw;
    case TraceKind::Fft: {
        int row = rules.splitScreen ? static_cast<int>(std::nearbyint(raw - 12.5)) : raw - 25;
        return std::clamp(row, 0, 199);
    }
    case TraceKind::Channel:
        if (rules.invertOn && rules.running) return 200 - (std::clamp(raw, 25, 224) - 25);
        [[fallthrough]];
    case TraceKind::Math:
        break;
    }
    return std::clamp(raw, 25, 224) - 25;
}

void DecodeTrace(TraceKind kind, int count, const DecodeRules& rules, SampleArray& out) {
    out.fill(0);
    for (int i = 1; i <= count; ++i)
        out[i] = DecodeSample(kind, RawSamples[i], rules);
}

bool ComputeSplitScreen(const QString& triggerMode, bool fftOn, int fftFullScreen) {
    if (triggerMode != QLatin1String("ALTERNATION") && (!fftOn || fftFullScreen != 0)) return false;
    return true;
}

namespace {
bool isNumberReply(const QString& reply) {
    bool ok = false;
    reply.trimmed().toDouble(&ok);
    return ok;
}

// A scale or offset reply read through NormVolt / NormTime3; one that is not a
// number leaves a warning instead of a silent zero.
QString voltReply(const QString& command, const QString& what) {
    const QString reply = query(command);
    if (!isNumberReply(reply)) WarnUnreadable(what, reply);
    return NormVolt(reply);
}
QString timeReply(const QString& command, const QString& what) {
    const QString reply = query(command);
    if (!isNumberReply(reply)) WarnUnreadable(what, reply);
    return NormTime3(reply);
}
} // namespace

void RunWaveJob(int slot) {
    // Fetched into a copy: the window's record changes only when the whole
    // fetch ends with the link up, so a drop keeps the picture shown before.
    WaveRecord rec = WaveRecords[slot];
    // 1, 2: run state and the math and FFT display states.
    const bool running = query(QueryCommand(cmd::TriggerStatus)) != QLatin1String("STOP");
    CtrlData.MathDisplay = onReply(query(QueryCommand(cmd::MathDisplay))) ? WordOn : WordOff;
    CtrlData.FftDisplay = onReply(query(QueryCommand(cmd::FftDisplay))) ? WordOn : WordOff;
    // 3 to 5: the sources of this fetch.
    if (CtrlData.MathDisplay != WordOn) rec.SelMath = false;
    const int selected = int(rec.SelCh1) + int(rec.SelCh2) + int(rec.SelMath) + int(rec.SelLA);
    if (selected > 0) {
        SetProgressSteps(selected);
        ProgressTarget = ProgressStep();
    }
    rec.ShowCh1 = rec.SelCh1;
    rec.ShowCh2 = rec.SelCh2;
    rec.ShowMath = rec.SelMath;
    rec.ShowLA = rec.SelLA;
    // 6, 7: system data, trigger mode, the screen's split.
    ProgressCreep = 1;
    StartProgressCreep();
    rec.SysData = ReadSystemData();
    StopProgressCreep();
    rec.TriggerMode = query(QueryCommand(cmd::Trigger + cmd::Mode));
    rec.MathDisplay = CtrlData.MathDisplay;
    rec.FFTDisplay = CtrlData.FftDisplay;
    const bool fftOn = rec.FFTDisplay == WordOn;
    rec.SplitScreen = ComputeSplitScreen(rec.TriggerMode, fftOn, rec.SysData.FFTFullScreen);
    rec.PointCount = 600;
    // 8: the time base format.
    const QString format = query(QueryCommand(cmd::Timebase + cmd::Format));
    if (format == QLatin1String("Y-T")) {
        rec.ShowYT = true;
        rec.ShowXY = false;
        rec.ShowRoll = rec.SysData.RollMode != 0;
    } else if (format == QLatin1String("X-Y")) {
        rec.ShowXY = true;
        rec.ShowYT = rec.ShowRoll = false;
        rec.ShowCh1 = rec.ShowCh2 = true;
        forceChannelsOn();
    } else {
        rec.ShowRoll = true;
        rec.ShowYT = rec.ShowXY = false;
    }
    rec.Flag36 = false; // 9
    // 10: the channels' scales and offsets.
    if (rec.ShowCh1) {
        rec.ActiveChannel = 1;
        rec.Ch1Scale = voltReply(QueryCommand(cmd::Channel1 + cmd::Scale), "CH1 Volt/Div");
        rec.Ch1Offset = voltReply(QueryCommand(cmd::Channel1 + cmd::Offset), "CH1 Offset");
    }
    if (rec.ShowCh2) {
        rec.ActiveChannel = 2;
        rec.Ch2Scale = voltReply(QueryCommand(cmd::Channel2 + cmd::Scale), "CH2 Volt/Div");
        rec.Ch2Offset = voltReply(QueryCommand(cmd::Channel2 + cmd::Offset), "CH2 Offset");
    }
    // 11: the time base, per channel under alternate trigger.
    if (rec.TriggerMode != QLatin1String("ALTERNATION")) {
        rec.TimeScale = timeReply(QueryCommand(cmd::Timebase + cmd::Scale), "Time/Div");
        rec.TimeOffset = timeReply(QueryCommand(cmd::Timebase + cmd::Offset), "Delay");
    } else {
        CmdSend(SetCommand(cmd::AlternationSource, cmd::ArgChannel1));
        platform::Sleep(100);
        rec.AltTimeScale1 =
            NormTime3(query(QueryCommand(cmd::TriggerAlternation + cmd::TimeScale)));
        rec.AltTimeOffset1 =
            NormTime3(query(QueryCommand(cmd::TriggerAlternation + cmd::TimeOffset)));
        CmdSend(SetCommand(cmd::AlternationSource, cmd::ArgChannel2));
        platform::Sleep(100);
        rec.AltTimeScale2 =
            NormTime3(query(QueryCommand(cmd::TriggerAlternation + cmd::TimeScale)));
        rec.AltTimeOffset2 =
            NormTime3(query(QueryCommand(cmd::TriggerAlternation + cmd::TimeOffset)));
    }
    rec.Date = QLocale().toString(platform::Today(), QLocale::ShortFormat); // 12
    // 13, 14: the traces.
    if (rec.ShowYT || rec.ShowRoll) {
        if (rec.ShowCh1) fetchChannel(1, running, rec.SplitScreen, rec.Ch1Samples);
        if (rec.ShowCh2) fetchChannel(2, running, rec.SplitScreen, rec.Ch2Samples);
        if (rec.ShowMath) {
            DecodeRules rules;
            rules.running = running;
            rules.splitScreen = rec.SplitScreen;
            if (!fftOn) {
                ProgressCreep = 3;
                fetchTrace(cmd::ArgMath, TraceKind::Math, kTraceRequest, rules, rec.MathSamples);
            } else {
                ProgressCreep = 1;
                fetchTrace(cmd::ArgFft, TraceKind::Fft, kFftRequest, rules, rec.FFTSamples);
            }
        }
        if (rec.ShowLA) {
            ProgressCreep = 1;
            ProgressTarget = 100;
            fetchTrace(cmd::ArgDigital, TraceKind::Digital, kDigitalRequest, DecodeRules(),
                       rec.LASamples);
        }
    } else if (rec.ShowXY) {
        fetchChannel(1, running, rec.SplitScreen, rec.Ch1Samples);
        fetchChannel(2, running, rec.SplitScreen, rec.Ch2Samples);
    }
    if (Connected) WaveRecords[slot] = std::move(rec);
}

void RegisterWaveJob() {
    SetJobBody(kJobWave, [] { RunWaveJob(JobTargetIndex); });
}
