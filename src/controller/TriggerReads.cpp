// SPDX-License-Identifier: GPL-3.0-or-later
#include "controller/TriggerReads.h"

#include "link/NQ4000Cmd.h"
#include "shared/Picture.h"
#include "shared/StringRES.h"
#include "shared/ValueText.h"

QString QueryText(const QString& header) {
    return CutAtLineFeed(CmdQuery(QueryCommand(header)));
}

QString TriggerSourceScale(const QString& source) {
    return TriggerScaleForSource(source == WordAcLine ? "AC" : source, CmdQuery);
}

QString TriggerLevelText(const QString& method, const QString& leaf, const QString& source,
                         const QString& scale) {
    if (source.startsWith('D')) return ThresholdToDisplay(QueryText(cmd::La + cmd::Threshold));
    QString s = scale;
    return NormDiv(QueryText(cmd::Trigger + method + leaf), s);
}

QString SensitivityText(const QString& reply) {
    return FormatPicture(Val(reply), "#0.00div", Precision::Double, MachineDecimalSign());
}
