// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// The controller tree as data: a projection of CtrlData whose shape follows
// the trigger method, the alternate types, the digital-source test and the
// acquisition. The widget mirrors it; tests read it directly.
#include "controller/CtrlData.h"

#include <QList>
#include <QString>

enum CtrlImage { kImageSection = 2, kImageValue = 3, kImageCommand = 4 };

struct CtrlTreeNode {
    QString caption;          // the label's English text: the row's identity
    QString* field = nullptr; // the value shown, for value rows
    int image = kImageValue;
    QList<CtrlTreeNode> children;

    QString text() const; // caption, " [", value, "]" in the current language
    const CtrlTreeNode* child(const QString& caption) const;
};

// The whole tree under the root (whose text is the model name).
CtrlTreeNode BuildCtrlTreeModel(CtrlDataRecord& data, bool modelHasLa);
// The row text: caption in the current language, and " [value]" when a value is given.
QString CtrlRowText(const QString& caption, const QString* value);
// Edge with a "D" source, or pulse with a "D" source: no coupling, level, sensitivity.
bool TriggerSourceIsDigital(const CtrlDataRecord& data);
// The source field of the current method (edge, pulse, slope or video).
QString* TriggerSourceField(CtrlDataRecord& data);
