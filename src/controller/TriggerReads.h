// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// The small reads the trigger read-backs share: a reply cut at its line
// feed, the scale of a trigger source, a level in divisions (or the
// threshold of a digital source) and a sensitivity in the tree's picture.
#include <QString>

QString QueryText(const QString& header); // CmdQuery of header + "?", cut at the line feed
QString TriggerSourceScale(const QString& source);
QString TriggerLevelText(const QString& method, const QString& leaf, const QString& source,
                         const QString& scale);
QString SensitivityText(const QString& reply); // "#0.00div"
