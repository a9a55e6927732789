// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/FrameLogic.h"

#include "controller/CtrlState.h"
#include "link/LinkState.h"
#include "link/NQ4000Cmd.h"
#include "link/UsbFunc.h"
#include "platform/MsgBox.h"
#include "shared/AppIdentity.h"
#include "shared/LoadLanguage.h"
#include "shared/StringRES.h"
#include "sheet/DataSheet.h"

#include <QFileInfo>

std::array<QColor, 5> TraceColor;
QString MakerName = "Vexor Technologies,Inc.";
QString ProductName = "NQ4000L";

void FillTraceColors() {
    TraceColor = {QColor(255, 255, 0), QColor(0, 255, 255), QColor(128, 0, 255), QColor(0, 255, 0),
                  QColor(255, 0, 0)};
}

bool QueryUnload(const std::function<bool()>& saveSheet, const std::function<bool()>& saveCtrl) {
    using namespace platform;
    if (SheetDirty) {
        const MsgResult answer =
            MsgBox(MsgSaveSheet + SheetPath, MsgButtons::YesNoCancel, MsgIcon::Question, kAppTitle);
        if (answer == MsgResult::Cancel) return false;
        if (answer == MsgResult::Yes && !saveSheet()) return false;
    }
    if (CtrlDirty) {
        const MsgResult answer = MsgBox(MsgSaveCtrl + ControlFilePath, MsgButtons::YesNoCancel,
                                        MsgIcon::Question, kAppTitle);
        if (answer == MsgResult::Cancel) return false;
        if (answer == MsgResult::Yes && !saveCtrl()) return false;
    }
    return true;
}

void UnloadLink() {
    if (Connected) CmdSend(SetCommand(cmd::KeyLock, cmd::Disable));
    // Marked down before it closes: a panel read or a lamp poll that is still
    // on the stack below a nested close finds no link, instead of a closed
    // handle and a "Can't Connect" box while the program ends.
    ResetLinkState();
    VisaCloseAll();
}

QString FrameTitle(const QString& caption) {
    const bool chinese = CaptionLanguage() == kLanguageChinese;
    QString document;
    if (!SheetIncompleteFrom.isEmpty())
        document = QFileInfo(SheetIncompleteFrom).fileName() +
                   (chinese ? QString::fromUtf8(" (不完整)") : QStringLiteral(" (incomplete)"));
    else if (!SheetPath.isEmpty())
        document = QFileInfo(SheetPath).fileName();
    else if (SheetExists())
        document = SheetName;
    if (document.isEmpty()) return caption;
    return document + QStringLiteral("[*] \u2014 ") + caption;
}

QRect FirstPlace(const QRect& available) {
    QRect placed(QPoint(0, 0), available.size() * 3 / 4);
    placed.moveCenter(available.center());
    return placed;
}

QRect PlaceOnScreens(const QRect& wanted, const QList<QRect>& available) {
    if (available.isEmpty()) return wanted;
    for (const QRect& screen : available) {
        // Enough of it shows when its title bar can be grabbed.
        const QRect visible = screen.intersected(wanted);
        if (visible.width() >= 100 && visible.height() >= 50 && visible.top() == wanted.top())
            return wanted;
    }
    const QRect& screen = available.first();
    QRect placed(QPoint(0, 0), wanted.size().boundedTo(screen.size()));
    placed.moveCenter(screen.center());
    return placed;
}
