// SPDX-License-Identifier: GPL-3.0-or-later
#include "controller/CtrlTree.h"

#include "link/LinkState.h"
#include "shared/StringRES.h"

namespace {

CtrlTreeNode row(const char* caption, QString* field) {
    return {caption, field, kImageValue, {}};
}
CtrlTreeNode command(const char* caption) {
    return {caption, nullptr, kImageCommand, {}};
}
CtrlTreeNode group(const char* caption, QList<CtrlTreeNode> children) {
    return {caption, nullptr, kImageSection, std::move(children)};
}

// Sixteen rows D15 to D0 from slots 1 to 16.
QList<CtrlTreeNode> channelRows(ChannelSlots& values) {
    static const char* const names[16] = {"D15", "D14", "D13", "D12", "D11", "D10", "D9", "D8",
                                          "D7",  "D6",  "D5",  "D4",  "D3",  "D2",  "D1", "D0"};
    QList<CtrlTreeNode> rows;
    for (int i = 1; i <= 16; ++i)
        rows << row(names[i - 1], &values[i]);
    return rows;
}

CtrlTreeNode channelSection(const char* name, QString& display, QString& voltDiv, QString& offset,
                            QString& coupling, QString& bwLimit, QString& probe) {
    return group(name,
                 {row("Display", &display), row("Volt/Div", &voltDiv), row("Offset", &offset),
                  row("Coupling", &coupling), row("BW Limit", &bwLimit), row("Probe", &probe)});
}

CtrlTreeNode altGroup(const char* channel, QString& type, AltEdgeFields& e, AltPulseFields& p,
                      AltVideoFields& v, AltSlopeFields& s) {
    QList<CtrlTreeNode> rows = {row("Trig type", &type)};
    if (type == WordEdge) {
        rows << row("Slope", &e.Slope) << row("Coupling", &e.Coupling) << row("Level", &e.Level)
             << row("Sensitivity", &e.Sensitivity) << row("Holdoff", &e.Holdoff);
    } else if (type == WordPulse) {
        rows << row("Pulse mode", &p.Mode) << row("Pulse width", &p.Width)
             << row("Coupling", &p.Coupling) << row("Level", &p.Level)
             << row("Sensitivity", &p.Sensitivity) << row("Holdoff", &p.Holdoff);
    } else if (type == WordVideo) {
        rows << row("Polarity", &v.Polarity) << row("Sync", &v.Sync) << row("Line number", &v.Line)
             << row("Video Standard", &v.Standard) << row("Level", &v.Level)
             << row("Sensitivity", &v.Sensitivity) << row("Holdoff", &v.Holdoff);
    } else if (type == WordSlope) {
        rows << row("Slope mode", &s.Mode) << row("Slope time", &s.Time)
             << row("Coupling", &s.Coupling) << row("LevelA", &s.LevelA) << row("LevelB", &s.LevelB)
             << row("Sensitivity", &s.Sensitivity) << row("Holdoff", &s.Holdoff);
    }
    return group(channel, rows);
}

CtrlTreeNode triggerSection(CtrlDataRecord& d) {
    const QString& m = d.TrigMethod;
    const bool edge = m == WordEdge, pulse = m == WordPulse, video = m == WordVideo,
               slope = m == WordSlope;
    const bool alternation = m == WordAlternation, pattern = m == WordPattern,
               duration = m == WordDuration;
    const bool analogueSource = !TriggerSourceIsDigital(d);
    QList<CtrlTreeNode> rows = {row("Method", &d.TrigMethod)};
    if (edge) rows << row("Slope", &d.EdgeSlope);
    if (!pattern && !duration && !alternation) rows << row("Source", TriggerSourceField(d));
    if (pulse) rows << row("Pulse mode", &d.PulseMode) << row("Pulse width", &d.PulseWidth);
    if (slope) rows << row("Slope mode", &d.SlopeMode) << row("Slope time", &d.SlopeTime);
    if (alternation) {
        rows << altGroup("CH1", d.AltType1, d.AltEdge1, d.AltPulse1, d.AltVideo1, d.AltSlope1);
        rows << altGroup("CH2", d.AltType2, d.AltEdge2, d.AltPulse2, d.AltVideo2, d.AltSlope2);
    }
    if (pattern || duration)
        rows << group("Code", channelRows(pattern ? d.PatternLevel : d.DurationLevel));
    if (duration)
        rows << row("Qualifier", &d.DurationQualifier) << row("Duration time", &d.DurationTime);
    if (edge) rows << row("Mode", &d.EdgeSweep);
    if (pulse) rows << row("Mode", &d.PulseSweep);
    if (slope) rows << row("Mode", &d.SlopeSweep);
    if (pattern) rows << row("Mode", &d.PatternSweep);
    if (duration) rows << row("Mode", &d.DurationSweep);
    if (analogueSource) {
        if (edge) rows << row("Coupling", &d.EdgeCoupling);
        if (pulse) rows << row("Coupling", &d.PulseCoupling);
        if (slope) rows << row("Coupling", &d.SlopeCoupling);
    }
    if (video)
        rows << row("Polarity", &d.VideoPolarity) << row("Sync", &d.VideoSync)
             << row("Line number", &d.VideoLine) << row("Video Standard", &d.VideoStandard);
    if (analogueSource) {
        if (edge) rows << row("Level", &d.EdgeLevel) << row("Sensitivity", &d.EdgeSensitivity);
        if (pulse) rows << row("Level", &d.PulseLevel) << row("Sensitivity", &d.PulseSensitivity);
        if (video) rows << row("Level", &d.VideoLevel) << row("Sensitivity", &d.VideoSensitivity);
        if (slope)
            rows << row("LevelA", &d.SlopeLevelA) << row("LevelB", &d.SlopeLevelB)
                 << row("Sensitivity", &d.SlopeSensitivity);
    }
    if (!alternation) rows << row("Holdoff", &d.TrigHoldoff);
    return group("Trigger", rows);
}

} // namespace

QString CtrlRowText(const QString& caption, const QString* value) {
    return value ? TreeLabel(caption) + " [" + *value + "]" : TreeLabel(caption);
}

QString CtrlTreeNode::text() const {
    return CtrlRowText(caption, field);
}

const CtrlTreeNode* CtrlTreeNode::child(const QString& c) const {
    for (const CtrlTreeNode& n : children)
        if (n.caption == c) return &n;
    return nullptr;
}

bool TriggerSourceIsDigital(const CtrlDataRecord& d) {
    return (d.TrigMethod == WordEdge && d.EdgeSource.startsWith('D')) ||
           (d.TrigMethod == WordPulse && d.PulseSource.startsWith('D'));
}

QString* TriggerSourceField(CtrlDataRecord& d) {
    if (d.TrigMethod == WordPulse) return &d.PulseSource;
    if (d.TrigMethod == WordSlope) return &d.SlopeSource;
    if (d.TrigMethod == WordVideo) return &d.VideoSource;
    return &d.EdgeSource;
}

CtrlTreeNode BuildCtrlTreeModel(CtrlDataRecord& d, bool modelHasLa) {
    CtrlTreeNode root{"NQ4000L", nullptr, kImageSection, {}};
    root.children << group("Running Control",
                           {row("Run|Stop", &d.RunStop), command("Auto Set"),
                            command("Set Trig to 50%"), command("Force Trigger")});
    root.children << channelSection("CH1", d.Ch1Display, d.Ch1VoltDiv, d.Ch1Offset, d.Ch1Coupling,
                                    d.Ch1BwLimit, d.Ch1Probe);
    root.children << channelSection("CH2", d.Ch2Display, d.Ch2VoltDiv, d.Ch2Offset, d.Ch2Coupling,
                                    d.Ch2BwLimit, d.Ch2Probe);
    if (modelHasLa) {
        QList<CtrlTreeNode> channel = {row("D15-D8", &d.LaGroupHigh), row("D7-D0", &d.LaGroupLow)};
        channel << channelRows(d.LaChannel);
        root.children << group(
            "LA", {row("Display", &d.LaDisplay), group("Channel", channel),
                   group("Position", channelRows(d.LaPosition)), row("Threshold", &d.LaThreshold),
                   group("Size", {row("D15-D8", &d.LaSizeHigh), row("D7-D0", &d.LaSizeLow)}),
                   command("Reset")});
    }
    if (d.TrigMethod != WordAlternation) {
        root.children << group("Time Base",
                               {row("Time/Div", &d.TimeDiv), row("Delay", &d.TimeDelay),
                                row("Format", &d.TimeFormat)});
    } else {
        root.children << group(
            "Time Base",
            {group("CH1", {row("Time/Div", &d.AltTimeDiv1), row("Delay", &d.AltDelay1)}),
             group("CH2", {row("Time/Div", &d.AltTimeDiv2), row("Delay", &d.AltDelay2)})});
    }
    root.children << triggerSection(d);
    QList<CtrlTreeNode> acquire = {row("Acquisition", &d.Acquisition),
                                   row("Sampling Mode", &d.SamplingMode)};
    if (d.Acquisition == WordAcqAverage) acquire << row("Averages", &d.Averages);
    root.children << group("Acquire", acquire);
    root.children << group("Display",
                           {row("Type", &d.DisplayType), row("Persist", &d.DisplayPersist),
                            command("Clear"), row("Grid", &d.DisplayGrid)});
    root.children << command("Virtual Panel");
    return root;
}
