// SPDX-License-Identifier: GPL-3.0-or-later
#include "controller/PatternLevels.h"

#include "controller/CtrlData.h"
#include "controller/CtrlState.h"
#include "link/NQ4000Cmd.h"
#include "shared/StringRES.h"

void SendPatternLevels(int changedBit) {
    const bool pattern = CtrlData.TrigMethod == WordPattern;
    ChannelSlots& levels = pattern ? CtrlData.PatternLevel : CtrlData.DurationLevel;
    auto isEdge = [](const QString& w) { return w == WordRising || w == WordFalling; };
    if (changedBit >= 0 && changedBit <= 15 && isEdge(levels[16 - changedBit])) {
        // Only one edge is allowed.
        for (int i = 1; i <= 16; ++i)
            if (i != 16 - changedBit && isEdge(levels[i])) levels[i] = "X";
        CtrlTreeChanged(CtrlTreeChange::Texts);
    }
    long value = 0, mask = 65535;
    QString edge, polarity;
    for (int c = 15; c >= 0; --c) {
        const QString& level = levels[16 - c];
        if (level == QLatin1String("H"))
            value += 1L << c;
        else if (level == QLatin1String("X"))
            mask -= 1L << c;
        else if (isEdge(level)) {
            edge = QString::number(c);
            polarity = level == WordRising ? "0" : "1";
        }
    }
    QString text = QString::number(value) + "," + QString::number(mask);
    if (!edge.isEmpty()) text += "," + edge + "," + polarity;
    CmdSend(
        SetCommand(cmd::Trigger + (pattern ? cmd::Pattern : cmd::Duration) + cmd::Pattern, text));
}
