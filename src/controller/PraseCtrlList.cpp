// SPDX-License-Identifier: GPL-3.0-or-later
#include "controller/PraseCtrlList.h"

#include "controller/CtrlDialogEntry.h"
#include "controller/CtrlState.h"
#include "controller/SettingsExchange.h"
#include "controller/TriggerReads.h"
#include "link/NQ4000Cmd.h"
#include "platform/MsgBox.h"
#include "platform/Pacing.h"
#include "shared/StringRES.h"
#include "shared/ValueText.h"

#include <QApplication>

CtrlPathParts SplitCtrlPath(const QString& path) {
    const QStringList parts = path.split('\\');
    CtrlPathParts p;
    p.root = parts.value(0);
    QString* levels[3] = {&p.level1, &p.level2, &p.level3};
    for (int i = 1; i < parts.size() && i <= 3; ++i)
        *levels[i - 1] = parts[i];
    // The value in the last part's text is no part of the level word.
    const int last = std::min<int>(static_cast<int>(parts.size()) - 1, 3);
    if (last >= 1) {
        QString& word = *levels[last - 1];
        const qsizetype bracket = word.indexOf('[');
        if (bracket > 0) word = word.left(bracket - 1);
    }
    return p;
}

CtrlRowMatch MatchCtrlPath(const CtrlPathParts& parts) {
    CtrlRowMatch m;
    const CtrlTreeNode root = BuildCtrlTreeModel(CtrlData, ModelHasLa);
    const QString levels[3] = {parts.level1, parts.level2, parts.level3};
    const CtrlTreeNode* node = &root;
    QStringList display;
    for (const QString& level : levels) {
        if (level == QLatin1String(" ")) break;
        const CtrlTreeNode* next = nullptr;
        for (const CtrlTreeNode& child : node->children) // in tree order
            if (TreeLabel(child.caption) == level) {
                next = &child;
                break;
            }
        if (!next) return m;
        node = next;
        display << level;
        m.captions << node->caption;
    }
    if (node == &root) return m;
    const QString& c = node->caption;
    if (node->image == kImageCommand) {
        if (c == QLatin1String("Auto Set"))
            m.action = CtrlRowAction::AutoSet;
        else if (c == QLatin1String("Set Trig to 50%"))
            m.action = CtrlRowAction::TrigTo50;
        else if (c == QLatin1String("Force Trigger"))
            m.action = CtrlRowAction::ForceTrigger;
        else if (c == QLatin1String("Clear"))
            m.action = CtrlRowAction::DisplayClear;
        else if (c == QLatin1String("Reset"))
            m.action = CtrlRowAction::LaReset;
        else if (c == QLatin1String("Virtual Panel"))
            m.action = CtrlRowAction::VirtualPanel;
        return m;
    }
    if (!node->field) return m; // a section or group alone does nothing
    if (c == QLatin1String("Memory Size")) {
        m.action = CtrlRowAction::QueryOnly;
        return m;
    }
    m.action = CtrlRowAction::Dialog;
    m.field = node->field;
    // "Run|Stop" stands alone; every other key joins its section's caption too.
    m.key = m.captions.first() == QLatin1String("Running Control") ? display.mid(1).join(QString())
                                                                   : display.join(QString());
    return m;
}

namespace {
std::function<void()>& virtualPanelOpener() {
    static std::function<void()> opener;
    return opener;
}
} // namespace

void SetVirtualPanelOpener(std::function<void()> opener) {
    virtualPanelOpener() = std::move(opener);
}

void PraseCtrlList(const QString& path) {
    CtrlDialogKey = " ";
    const CtrlRowMatch row = MatchCtrlPath(SplitCtrlPath(path));
    switch (row.action) {
    case CtrlRowAction::Nothing:
        return;
    case CtrlRowAction::QueryOnly:
        platform::MsgBox(MsgQueryOnly, platform::MsgButtons::Ok, platform::MsgIcon::Exclamation);
        return;
    case CtrlRowAction::AutoSet:
        return RunAutoSet();
    case CtrlRowAction::TrigTo50:
        return RunSetTrigTo50();
    case CtrlRowAction::ForceTrigger:
        return RunForceTrigger();
    case CtrlRowAction::DisplayClear:
        return RunDisplayClear();
    case CtrlRowAction::LaReset:
        return RunLaReset();
    case CtrlRowAction::VirtualPanel:
        if (virtualPanelOpener()) virtualPanelOpener()();
        return;
    case CtrlRowAction::Dialog:
        CtrlDialogKey = row.key;
        ShowCtrlDialog(row);
        return;
    }
}

// ---- running control ---------------------------------------------------------

namespace {
QString query(const QString& command) {
    return CutAtLineFeed(CmdQuery(command));
}

// The level of a source in divisions, or its threshold for a digital source.
QString levelOf(const QString& method, const QString& source, const QString& leaf) {
    if (source.startsWith('D'))
        return ThresholdToDisplay(query(QueryCommand(cmd::La + cmd::Threshold)));
    QString scale = TriggerScaleForSource(source == WordAcLine ? "AC" : source, CmdQuery);
    return NormDiv(query(QueryCommand(cmd::Trigger + method + leaf)), scale);
}

void readAlternationLevels(int channel, const QString& type, AltEdgeFields& e, AltPulseFields& p,
                           AltVideoFields& v, AltSlopeFields& s) {
    CmdSend(SetCommand(cmd::AlternationSource, cmd::ChannelRoot(channel).mid(1)));
    QString scale = query(QueryCommand(cmd::ChannelRoot(channel) + cmd::Scale));
    auto level = [&](const QString& leaf) {
        QString s2 = scale;
        return NormDiv(
            query(QueryCommand(cmd::TriggerAlternation + ":" + TriggerMethodToCmd(type) + leaf)),
            s2);
    };
    if (type == WordEdge)
        e.Level = level(cmd::Level);
    else if (type == WordPulse)
        p.Level = level(cmd::Level);
    else if (type == WordVideo)
        v.Level = level(cmd::Level);
    else if (type == WordSlope) {
        s.LevelA = level(cmd::LevelA);
        s.LevelB = level(cmd::LevelB);
    }
}
} // namespace

void RunAutoSet() {
    CmdSend(cmd::AutoSet);
    QApplication::setOverrideCursor(Qt::WaitCursor);
    platform::Sleep(4000);
    QApplication::restoreOverrideCursor();
    DownloadfromDSO(); // so that the tree shows what the instrument chose
}

void RunSetTrigTo50() {
    CmdSend(cmd::Trig50);
    CtrlDataRecord& d = CtrlData;
    const QString& m = d.TrigMethod;
    auto readSource = [](const QString& method, QString& field) {
        field = TriggerSourceFromReply(query(QueryCommand(cmd::Trigger + method + cmd::Source)));
    };
    if (m == WordEdge) {
        readSource(cmd::Edge, d.EdgeSource);
        d.EdgeLevel = levelOf(cmd::Edge, d.EdgeSource, cmd::Level);
    } else if (m == WordPulse) {
        readSource(cmd::Pulse, d.PulseSource);
        d.PulseLevel = levelOf(cmd::Pulse, d.PulseSource, cmd::Level);
    } else if (m == WordVideo) {
        readSource(cmd::Video, d.VideoSource);
        d.VideoLevel = levelOf(cmd::Video, d.VideoSource, cmd::Level);
    } else if (m == WordSlope) {
        readSource(cmd::Slope, d.SlopeSource);
        d.SlopeLevelA = levelOf(cmd::Slope, d.SlopeSource, cmd::LevelA);
        d.SlopeLevelB = levelOf(cmd::Slope, d.SlopeSource, cmd::LevelB);
    } else if (m == WordAlternation) {
        readAlternationLevels(1, d.AltType1, d.AltEdge1, d.AltPulse1, d.AltVideo1, d.AltSlope1);
        readAlternationLevels(2, d.AltType2, d.AltEdge2, d.AltPulse2, d.AltVideo2, d.AltSlope2);
    }
    CtrlTreeChanged(CtrlTreeChange::Texts);
}

void RunForceTrigger() {
    CmdSend(cmd::ForceTrig);
}

void RunDisplayClear() {
    CmdSend(cmd::DisplayClear);
}

void RunLaReset() {
    CtrlDataRecord& d = CtrlData;
    CmdSend(cmd::LaPositionReset);
    platform::Sleep(100);
    d.LaSizeHigh = SizeFromReply(query(QueryCommand(cmd::La + cmd::Group2 + cmd::Size)));
    d.LaSizeLow = SizeFromReply(query(QueryCommand(cmd::La + cmd::Group1 + cmd::Size)));
    for (int i = 1; i <= 8; ++i)
        d.LaPosition[i] = QString::number(d.LaSizeHigh == WordBig ? 8 - i : 16 - i);
    for (int i = 9; i <= 16; ++i)
        d.LaPosition[i] = QString::number(16 - i);
    CtrlTreeChanged(CtrlTreeChange::Texts);
}
