// SPDX-License-Identifier: GPL-3.0-or-later
#include "controller/SettingsExchange.h"

#include "acquire/Jobs.h"
#include "controller/CtrlData.h"
#include "controller/CtrlState.h"
#include "controller/PatternLevels.h"
#include "controller/TriggerReads.h"
#include "link/LinkState.h"
#include "link/NQ4000Cmd.h"
#include "platform/Faults.h"
#include "platform/MsgBox.h"
#include "platform/Pacing.h"
#include "platform/Status.h"
#include "shared/LoadLanguage.h"
#include "shared/Picture.h"
#include "shared/StringRES.h"
#include "shared/ValueText.h"

namespace {

using namespace cmd;

// Read-all counts the empty replies in a row: one is a step's placeholder,
// three mean the instrument is gone.
bool g_countSilence = false;
int g_silentReplies = 0;
constexpr int kSilentRepliesForLoss = 3;
bool g_lastReadAllComplete = false;

QString query(const QString& header) {
    const QString reply = QueryText(header);
    if (!g_countSilence || !(Connected || Connecting)) return reply;
    g_silentReplies = reply.isEmpty() ? g_silentReplies + 1 : 0;
    if (g_silentReplies >= kSilentRepliesForLoss) {
        platform::MsgBox(MsgCantRead);
        ResetLinkState(); // the rest of the download asks nothing and waits for nothing
    }
    return reply;
}
// A step of read-all: a fault in one conversion (a zero scale) skips that step only.
template <typename Fn> void step(Fn&& fn) {
    platform::TryStatement(static_cast<Fn&&>(fn));
}

// ---- write-all ---------------------------------------------------------------

void writeChannel(int channel, const QString& display, const QString& probe, const QString& voltDiv,
                  const QString& offset, const QString& coupling, const QString& bwLimit,
                  const std::function<void()>& progress) {
    const QString root = ChannelRoot(channel);
    CmdSet(root + DisplayLeaf, SwitchToCmd(display));
    progress();
    CmdSet(root + Probe, probe.left(probe.size() - 1));
    progress();
    CmdSet(root + Scale, voltDiv);
    progress();
    CmdSet(root + Offset, offset);
    progress();
    CmdSet(root + Coupling, CouplingToCmd(coupling));
    progress();
    CmdSet(root + BwLimit, SwitchToCmd(bwLimit));
    progress();
}

void writeLevel(const QString& method, const QString& leaf, const QString& level) {
    const QString source = query(Trigger + method + Source);
    CmdSet(Trigger + method + leaf, LevelFromDiv(level, source, CmdQuery));
}

void writeMethod(const CtrlDataRecord& d) {
    const QString& m = d.TrigMethod;
    if (m == WordEdge) {
        CmdSet(Trigger + Edge + Source, TriggerSourceToCmd(d.EdgeSource));
        CmdSet(Trigger + Edge + Slope, EdgeSlopeToCmd(d.EdgeSlope));
        CmdSet(Trigger + Edge + Sweep, SweepToCmd(d.EdgeSweep));
        CmdSet(Trigger + Edge + Coupling, CouplingToCmd(d.EdgeCoupling));
        CmdSet(Trigger + Edge + Sensitivity, d.EdgeSensitivity);
        writeLevel(Edge, Level, d.EdgeLevel);
    } else if (m == WordPulse) {
        CmdSet(Trigger + Pulse + Source, TriggerSourceToCmd(d.PulseSource));
        CmdSet(Trigger + Pulse + Mode, PulseModeToCmd(d.PulseMode));
        CmdSet(Trigger + Pulse + Width, d.PulseWidth);
        CmdSet(Trigger + Pulse + Sweep, SweepToCmd(d.PulseSweep));
        CmdSet(Trigger + Pulse + Coupling, CouplingToCmd(d.PulseCoupling));
        CmdSet(Trigger + Pulse + Sensitivity, d.PulseSensitivity);
        writeLevel(Pulse, Level, d.PulseLevel);
    } else if (m == WordVideo) {
        CmdSet(Trigger + Video + Source, TriggerSourceToCmd(d.VideoSource));
        CmdSet(Trigger + Video + Polarity, VideoPolarityToCmd(d.VideoPolarity));
        CmdSet(Trigger + Video + Mode, VideoSyncToCmd(d.VideoSync));
        CmdSet(Trigger + Video + Standard, VideoStandardToCmd(d.VideoStandard));
        CmdSet(Trigger + Video + Line, d.VideoLine);
        CmdSet(Trigger + Video + Sensitivity, d.VideoSensitivity);
        writeLevel(Video, Level, d.VideoLevel);
    } else if (m == WordSlope) {
        CmdSet(Trigger + Slope + Source, TriggerSourceToCmd(d.SlopeSource));
        CmdSet(Trigger + Slope + Mode, SlopeModeToCmd(d.SlopeMode));
        CmdSet(Trigger + Slope + Time, d.SlopeTime);
        CmdSet(Trigger + Slope + Window, d.SlopeWindow);
        CmdSet(Trigger + Slope + Sweep, SweepToCmd(d.SlopeSweep));
        CmdSet(Trigger + Slope + Coupling, CouplingToCmd(d.SlopeCoupling));
        CmdSet(Trigger + Slope + Sensitivity, d.SlopeSensitivity);
        writeLevel(Slope, LevelA, d.SlopeLevelA);
        writeLevel(Slope, LevelB, d.SlopeLevelB);
    } else if (m == WordAlternation) {
        struct Alt {
            int channel;
            const QString& type;
            const AltEdgeFields& e;
            const AltPulseFields& p;
            const AltVideoFields& v;
            const AltSlopeFields& s;
        };
        for (const Alt& a :
             {Alt{1, d.AltType1, d.AltEdge1, d.AltPulse1, d.AltVideo1, d.AltSlope1},
              Alt{2, d.AltType2, d.AltEdge2, d.AltPulse2, d.AltVideo2, d.AltSlope2}}) {
            const QString channel = a.channel == 1 ? "CH1" : "CH2";
            const QString alt = TriggerAlternation;
            CmdSet(AlternationSource, ChannelRoot(a.channel).mid(1));
            CmdSet(alt + Type, TriggerMethodToCmd(a.type));
            auto level = [&](const QString& value) {
                return LevelFromDiv(value, channel, CmdQuery);
            };
            if (a.type == WordEdge) {
                CmdSet(alt + Edge + Slope, EdgeSlopeToCmd(a.e.Slope));
                CmdSet(alt + Edge + Coupling, CouplingToCmd(a.e.Coupling));
                CmdSet(alt + Edge + Level, level(a.e.Level));
                CmdSet(alt + Edge + Sensitivity, a.e.Sensitivity);
                CmdSet(alt + Edge + Holdoff, a.e.Holdoff);
            } else if (a.type == WordPulse) {
                CmdSet(alt + Pulse + Mode, PulseModeToCmd(a.p.Mode));
                CmdSet(alt + Pulse + Time, a.p.Width);
                CmdSet(alt + Pulse + Coupling, CouplingToCmd(a.p.Coupling));
                CmdSet(alt + Pulse + Level, level(a.p.Level));
                CmdSet(alt + Pulse + Sensitivity, a.p.Sensitivity);
                CmdSet(alt + Pulse + Holdoff, a.p.Holdoff);
            } else if (a.type == WordVideo) {
                CmdSet(alt + Video + Polarity, VideoPolarityToCmd(a.v.Polarity));
                CmdSet(alt + Video + Mode, VideoSyncToCmd(a.v.Sync));
                CmdSet(alt + Video + Standard, VideoStandardToCmd(a.v.Standard));
                CmdSet(alt + Video + Line, a.v.Line);
                CmdSet(alt + Video + Sensitivity, a.v.Sensitivity);
                CmdSet(alt + Video + Holdoff, a.v.Holdoff);
                CmdSet(alt + Video + Level, level(a.v.Level));
            } else if (a.type == WordSlope) {
                CmdSet(alt + Slope + Mode, SlopeModeToCmd(a.s.Mode));
                CmdSet(alt + Slope + Time, a.s.Time);
                CmdSet(alt + Slope + LevelA, level(a.s.LevelA));
                CmdSet(alt + Slope + LevelB, level(a.s.LevelB));
                CmdSet(alt + Slope + Sensitivity, a.s.Sensitivity);
                CmdSet(alt + Slope + Holdoff, a.s.Holdoff);
                CmdSet(alt + Slope + Coupling, CouplingToCmd(a.s.Coupling));
            }
        }
    }
}

void writeDigital(CtrlDataRecord& d, const std::function<void()>& progress) {
    const QString saved = d.TrigMethod;
    if (d.TrigMethod == WordPattern) {
        SendPatternLevels();
        CmdSet(Trigger + Pattern + Sweep, SweepToCmd(d.PatternSweep));
    } else if (d.TrigMethod == WordDuration) {
        SendPatternLevels();
        CmdSet(Trigger + Duration + Qualifier, QualifierToCmd(d.DurationQualifier));
        CmdSet(Trigger + Duration + Time, d.DurationTime);
        CmdSet(Trigger + Duration + Sweep, SweepToCmd(d.DurationSweep));
    }
    d.TrigMethod = saved;
    progress();
    CmdSet(La + DisplayLeaf, SwitchToCmd(d.LaDisplay));
    long status = 0;
    for (int i = 1; i <= 16; ++i)
        if (d.LaChannel[i] == WordOn) status += 1L << (16 - i);
    CmdSet(La + Status, QString::number(status));
    CmdSet(La + Group2 + Size, SizeToCmd(d.LaSizeHigh));
    CmdSet(La + Group1 + Size, SizeToCmd(d.LaSizeLow));
    progress();
    qint64 high = 0, low = 0;
    for (int i = 1; i <= 8; ++i)
        high += static_cast<qint64>(Val(d.LaPosition[i])) << (4 * (8 - i));
    for (int i = 9; i <= 16; ++i)
        low += static_cast<qint64>(Val(d.LaPosition[i])) << (4 * (16 - i));
    // A list: its commas are separators, not decimal signs.
    CmdSend(SetCommand(La + Location, QString::number(high) + "," + QString::number(low)));
    CmdSet(La + Threshold, d.LaThreshold);
    progress();
}

// ---- read-all -------------------------------------------------------------------

void readAlternation(int channel, QString& type, AltEdgeFields& e, AltPulseFields& p,
                     AltVideoFields& v, AltSlopeFields& s) {
    const QString scale = query(ChannelRoot(channel) + Scale);
    CmdSet(AlternationSource, ChannelRoot(channel).mid(1));
    const QString alt = TriggerAlternation;
    auto level = [&](const QString& header) {
        QString sc = scale;
        return NormDiv(query(header), sc);
    };
    step([&] { type = TriggerMethodFromReply(query(alt + Type)); });
    step([&] { e.Slope = EdgeSlopeFromReply(query(alt + Edge + Slope)); });
    step([&] { e.Coupling = CouplingFromReply(query(alt + Edge + Coupling)); });
    step([&] { e.Level = level(alt + Edge + Level); });
    step([&] { e.Holdoff = NormTime3(query(alt + Edge + Holdoff)); });
    step([&] { e.Sensitivity = SensitivityText(query(alt + Edge + Sensitivity)); });
    step([&] { p.Mode = PulseModeFromReply(query(alt + Pulse + Mode)); });
    step([&] { p.Width = NormTime3(query(alt + Pulse + Time)); });
    step([&] { p.Coupling = CouplingFromReply(query(alt + Pulse + Coupling)); });
    step([&] { p.Level = level(alt + Pulse + Level); });
    step([&] { p.Holdoff = NormTime3(query(alt + Pulse + Holdoff)); });
    step([&] { p.Sensitivity = SensitivityText(query(alt + Pulse + Sensitivity)); });
    step([&] { v.Polarity = VideoPolarityFromReply(query(alt + Video + Polarity)); });
    step([&] { v.Sync = VideoSyncFromReply(query(alt + Video + Mode)); });
    step([&] { v.Line = query(alt + Video + Line); });
    step([&] { v.Standard = query(alt + Video + Standard); });
    step([&] { v.Level = level(alt + Video + Level); });
    step([&] { v.Sensitivity = SensitivityText(query(alt + Video + Sensitivity)); });
    step([&] { s.Coupling = CouplingFromReply(query(alt + Slope + Coupling)); });
    step([&] { s.Mode = SlopeModeFromReply(query(alt + Slope + Mode)); });
    step([&] { s.Time = NormTime3(query(alt + Slope + Time)); });
    step([&] { s.LevelA = level(alt + Slope + LevelA); });
    step([&] { s.LevelB = level(alt + Slope + LevelB); });
    step([&] { s.Sensitivity = SensitivityText(query(alt + Slope + Sensitivity)); });
}

// Four 4-bit positions from a 16-bit half, the first slot in the top nibble.
void unpackPositions(qint64 half, ChannelSlots& positions, int firstSlot) {
    for (int k = 0; k < 4; ++k)
        positions[firstSlot + k] = QString::number((half >> (4 * (3 - k))) & 0xF);
}

} // namespace

int WriteAllSteps(bool modelHasLa) {
    return modelHasLa ? 32 : 29;
}
int ReadAllSteps(bool modelHasLa) {
    return modelHasLa ? 76 : 67;
}

void WriteAllSettings(const std::function<void()>& progressHook) {
    CtrlDataRecord& d = CtrlData;
    SetProgressSteps(WriteAllSteps(ModelHasLa));
    const auto progress = [&progressHook] {
        AdvanceProgress();
        if (progressHook) progressHook();
    };
    CmdSend(RunStateToCmd(d.RunStop));
    progress();
    // The alternation's time bases go out whatever the method.
    CmdSet(AlternationSource, ArgChannel1);
    CmdSet(TriggerAlternation + TimeScale, d.AltTimeDiv1);
    CmdSet(TriggerAlternation + TimeOffset, d.AltDelay1);
    progress();
    CmdSet(AlternationSource, ArgChannel2);
    CmdSet(TriggerAlternation + TimeScale, d.AltTimeDiv2);
    CmdSet(TriggerAlternation + TimeOffset, d.AltDelay2);
    progress();
    CmdSet(Timebase + Format, TimeFormatToCmd(d.TimeFormat));
    platform::Sleep(500);
    progress();
    CmdSet(Timebase + Scale, d.TimeDiv);
    platform::Sleep(1000);
    progress();
    CmdSet(Timebase + Offset, d.TimeDelay);
    progress();
    writeChannel(1, d.Ch1Display, d.Ch1Probe, d.Ch1VoltDiv, d.Ch1Offset, d.Ch1Coupling,
                 d.Ch1BwLimit, progress);
    writeChannel(2, d.Ch2Display, d.Ch2Probe, d.Ch2VoltDiv, d.Ch2Offset, d.Ch2Coupling,
                 d.Ch2BwLimit, progress);
    CmdSet(Trigger + Mode, TriggerMethodToCmd(d.TrigMethod));
    progress();
    CmdSet(Trigger + Holdoff, d.TrigHoldoff);
    progress();
    writeMethod(d);
    progress();
    if (ModelHasLa) writeDigital(d, progress);
    CmdSet(Acquire + Mode, SamplingToCmd(d.SamplingMode));
    CmdSet(Acquire + Type, AcquisitionToCmd(d.Acquisition));
    CmdSet(Acquire + Averages, d.Averages);
    progress();
    CmdSet(Display + Type, DisplayTypeToCmd(d.DisplayType));
    CmdSet(Display + Persist, SwitchToCmd(d.DisplayPersist));
    CmdSet(Display + Grid, GridToCmd(d.DisplayGrid));
    progress();
}

bool LastReadAllComplete() {
    return g_lastReadAllComplete;
}

void ReadAllSettings(const std::function<void()>& progressHook) {
    // Into a copy: the tree changes only when the whole download came in.
    CtrlDataRecord copy = CtrlData;
    CtrlDataRecord& d = copy;
    g_lastReadAllComplete = false;
    g_countSilence = true;
    g_silentReplies = 0;
    struct Finish {
        CtrlDataRecord& copy;
        ~Finish() { g_countSilence = false; }
        // The copy goes in place first and the tree is rebuilt from it after,
        // so the tree shows this download, never the one before.
        void commit() {
            g_countSilence = false;
            if (!Connected) return; // interrupted: the tree stays as it was
            CtrlData = copy;
            g_lastReadAllComplete = true;
            CtrlTreeChanged(CtrlTreeChange::Shape);
        }
    } finish{copy};
    SetProgressSteps(ReadAllSteps(ModelHasLa));
    const auto progress = [&progressHook] {
        AdvanceProgress();
        if (progressHook) progressHook();
    };
    // Each group of queries is followed by one step of the bar.
    const auto read = [&progress](auto&& fn) {
        step(fn);
        progress();
    };
    const QString active = query(Channel + Active);
    // An instrument that answers its first question with noise (a serial
    // line at the wrong baud rate, say) is not understood: nothing it says
    // goes into the tree, and the link is down until the user connects again.
    if (!active.isEmpty() && active.compare("CHANNEL1", Qt::CaseInsensitive) != 0 &&
        active.compare("CHANNEL2", Qt::CaseInsensitive) != 0) {
        platform::MsgBox(MsgCantRead);
        ResetLinkState();
        return;
    }
    progress();
    read([&] {
        d.RunStop =
            RunStateFromReply(query(TriggerStatus) == QLatin1String("STOP") ? "STOP" : "RUN");
    });
    CmdSet(AlternationSource, ArgChannel1);
    read([&] { d.AltTimeDiv1 = NormTime4(query(TriggerAlternation + TimeScale)); });
    read([&] { d.AltDelay1 = NormTime4(query(TriggerAlternation + TimeOffset)); });
    CmdSet(AlternationSource, ArgChannel2);
    read([&] { d.AltTimeDiv2 = NormTime4(query(TriggerAlternation + TimeScale)); });
    read([&] { d.AltDelay2 = NormTime4(query(TriggerAlternation + TimeOffset)); });
    read([&] { d.TimeFormat = TimeFormatFromReply(query(Timebase + Format)); });
    read([&] { d.TimeDiv = NormTime4(query(Timebase + Scale)); });
    read([&] { d.TimeDelay = NormTime4(query(Timebase + Offset)); });
    struct ChannelFields {
        int n;
        QString &probe, &voltDiv, &coupling, &bwLimit, &display, &offset;
    };
    for (const ChannelFields& c : {ChannelFields{1, d.Ch1Probe, d.Ch1VoltDiv, d.Ch1Coupling,
                                                 d.Ch1BwLimit, d.Ch1Display, d.Ch1Offset},
                                   ChannelFields{2, d.Ch2Probe, d.Ch2VoltDiv, d.Ch2Coupling,
                                                 d.Ch2BwLimit, d.Ch2Display, d.Ch2Offset}}) {
        const QString root = ChannelRoot(c.n);
        read([&] { c.probe = ProbeFromReply(query(root + Probe)); });
        read([&] { c.voltDiv = NormVolt(query(root + Scale)); });
        read([&] { c.coupling = CouplingFromReply(query(root + Coupling)); });
        read([&] { c.bwLimit = SwitchFromReply(query(root + BwLimit)); });
        read([&] { c.display = SwitchFromReply(query(root + DisplayLeaf)); });
        read([&] { c.offset = NormVolt(query(root + Offset)); });
    }
    read([&] { d.TrigMethod = TriggerMethodFromReply(query(Trigger + Mode)); });
    read([&] { d.TrigHoldoff = NormTime3(query(Trigger + Holdoff)); });

    // Edge.
    read([&] { d.EdgeSource = TriggerSourceFromReply(query(Trigger + Edge + Source)); });
    QString scale;
    read([&] { scale = TriggerSourceScale(d.EdgeSource); });
    read([&] { d.EdgeSlope = EdgeSlopeFromReply(query(Trigger + Edge + Slope)); });
    read([&] { d.EdgeSweep = SweepFromReply(query(Trigger + Edge + Sweep)); });
    read([&] { d.EdgeCoupling = CouplingFromReply(query(Trigger + Edge + Coupling)); });
    read([&] { d.EdgeLevel = TriggerLevelText(Edge, Level, d.EdgeSource, scale); });
    read([&] { d.EdgeSensitivity = SensitivityText(query(Trigger + Edge + Sensitivity)); });
    // Pulse.
    read([&] { d.PulseSource = query(Trigger + Pulse + Source); });
    read([&] { scale = TriggerSourceScale(d.PulseSource); });
    read([&] { d.PulseMode = PulseModeFromReply(query(Trigger + Pulse + Mode)); });
    read([&] { d.PulseWidth = NormTime3(query(Trigger + Pulse + Width)); });
    read([&] { d.PulseSweep = SweepFromReply(query(Trigger + Pulse + Sweep)); });
    read([&] { d.PulseCoupling = CouplingFromReply(query(Trigger + Pulse + Coupling)); });
    read([&] { d.PulseLevel = TriggerLevelText(Pulse, Level, d.PulseSource, scale); });
    read([&] { d.PulseSensitivity = SensitivityText(query(Trigger + Pulse + Sensitivity)); });
    // Video.
    read([&] { d.VideoSource = TriggerSourceFromReply(query(Trigger + Video + Source)); });
    read([&] { scale = TriggerSourceScale(d.VideoSource); });
    read([&] { d.VideoPolarity = VideoPolarityFromReply(query(Trigger + Video + Polarity)); });
    read([&] { d.VideoSync = VideoSyncFromReply(query(Trigger + Video + Mode)); });
    read([&] { d.VideoLine = query(Trigger + Video + Line); });
    read([&] { d.VideoStandard = query(Trigger + Video + Standard); });
    read([&] { d.VideoLevel = TriggerLevelText(Video, Level, d.VideoSource, scale); });
    read([&] { d.VideoSensitivity = SensitivityText(query(Trigger + Video + Sensitivity)); });
    // Slope.
    read([&] { d.SlopeSource = TriggerSourceFromReply(query(Trigger + Slope + Source)); });
    read([&] { scale = TriggerSourceScale(d.SlopeSource); });
    read([&] { d.SlopeCoupling = CouplingFromReply(query(Trigger + Slope + Coupling)); });
    read([&] { d.SlopeSweep = SweepFromReply(query(Trigger + Slope + Sweep)); });
    read([&] { d.SlopeMode = SlopeModeFromReply(query(Trigger + Slope + Mode)); });
    read([&] { d.SlopeTime = NormTime3(query(Trigger + Slope + Time)); });
    read([&] { d.SlopeLevelA = TriggerLevelText(Slope, LevelA, d.SlopeSource, scale); });
    read([&] { d.SlopeLevelB = TriggerLevelText(Slope, LevelB, d.SlopeSource, scale); });
    read([&] { d.SlopeSensitivity = SensitivityText(query(Trigger + Slope + Sensitivity)); });
    if (ModelHasLa) {
        read([&] { PatternReplyToLevels(query(Trigger + Pattern + Pattern), d.PatternLevel); });
        read([&] { d.PatternSweep = SweepFromReply(query(Trigger + Pattern + Sweep)); });
        read([&] { PatternReplyToLevels(query(Trigger + Duration + Pattern), d.DurationLevel); });
        read([&] {
            d.DurationQualifier = QualifierFromReply(query(Trigger + Duration + Qualifier));
        });
        read([&] { d.DurationTime = NormTime3(query(Trigger + Duration + Time)); });
        read([&] { d.DurationSweep = SweepFromReply(query(Trigger + Duration + Sweep)); });
    }
    // All four type groups of both alternate channels, whatever the method.
    read(
        [&] { readAlternation(1, d.AltType1, d.AltEdge1, d.AltPulse1, d.AltVideo1, d.AltSlope1); });
    read(
        [&] { readAlternation(2, d.AltType2, d.AltEdge2, d.AltPulse2, d.AltVideo2, d.AltSlope2); });
    if (ModelHasLa) {
        read([&] { d.LaDisplay = SwitchFromReply(query(La + DisplayLeaf)); });
        read([&] {
            const auto status = static_cast<qint64>(Val(query(La + Status)));
            for (int i = 1; i <= 16; ++i)
                d.LaChannel[i] = (status >> (16 - i)) & 1 ? WordOn : WordOff;
            for (int i = 1; i <= 8; ++i)
                d.LaGroupHigh = d.LaChannel[i]; // the last slot wins
            for (int i = 9; i <= 16; ++i)
                d.LaGroupLow = d.LaChannel[i];
        });
        read([&] { d.LaSizeHigh = SizeFromReply(query(La + Group2 + Size)); });
        read([&] { d.LaSizeLow = SizeFromReply(query(La + Group1 + Size)); });
        read([&] {
            const QStringList parts = query(La + Location).split(',');
            const auto high = static_cast<qint64>(Val(parts.value(0)));
            const auto low = static_cast<qint64>(Val(parts.value(1)));
            unpackPositions(high / 65536, d.LaPosition, 1);
            unpackPositions(high % 65536, d.LaPosition, 5);
            unpackPositions(low / 65536, d.LaPosition, 9);
            unpackPositions(low % 65536, d.LaPosition, 13);
        });
        read([&] { d.LaThreshold = ThresholdFromReply(query(La + Threshold)); });
    }
    read([&] { d.SamplingMode = SamplingFromReply(query(Acquire + Mode)); });
    read([&] { d.Acquisition = AcquisitionFromReply(query(Acquire + Type)); });
    read([&] { d.Averages = query(Acquire + Averages); });
    read([&] { d.DisplayType = DisplayTypeFromReply(query(Display + Type)); });
    read([&] { d.DisplayPersist = SwitchFromReply(query(Display + Persist)); });
    read([&] { d.DisplayGrid = GridFromReply(query(Display + Grid)); });
    CmdSet(Channel + Active, active); // the alternate queries switched it
    finish.commit();
}

// ---- the buttons ------------------------------------------------------------------

void UploadToDSO() {
    RunJob(kJobUpload, CaptionLanguage() == kLanguageChinese ? QString::fromUtf8("数据上传中...")
                                                             : "Data Uploading...");
    if (JobSucceeded()) platform::ShowStatus(UploadedText());
}

void DownloadfromDSO() {
    RunJob(kJobDownload, CaptionLanguage() == kLanguageChinese ? QString::fromUtf8("数据下载中...")
                                                               : "Data Downloading...");
    if (JobSucceeded() && LastReadAllComplete()) platform::ShowStatus(DownloadedText());
}

void cmdUpload_Click() {
    if (!Connected) {
        platform::MsgBox(MsgConnectFirst, platform::MsgButtons::Ok, platform::MsgIcon::Exclamation);
        return;
    }
    if (JobRunning) return;
    // The invert state is not exchanged with the instrument at all.
    CtrlData.Ch1Invert = CtrlData.Ch2Invert = CtrlData.TimeBaseFlag = WordOff;
    UploadToDSO();
}

void cmdDownload_Click() {
    if (!Connected) {
        platform::MsgBox(MsgConnectFirst, platform::MsgButtons::Ok, platform::MsgIcon::Exclamation);
        return;
    }
    if (JobRunning) return;
    DownloadfromDSO();
    if (!LastReadAllComplete()) return; // nothing changed: nothing to save
    CtrlData.Ch1Invert = CtrlData.Ch2Invert = CtrlData.TimeBaseFlag = WordOff;
    CtrlDirty = true;
}

void RegisterSettingsJobs() {
    SetJobBody(kJobUpload, [] { WriteAllSettings(); });
    SetJobBody(kJobDownload, [] { ReadAllSettings(); });
}
