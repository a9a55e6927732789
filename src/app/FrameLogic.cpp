#include "app/FrameLogic.h"

#include "app/AppIdentity.h"
#include "app/StringRES.h"
#include "controller/CtrlState.h"
#include "link/LinkState.h"
#include "link/NQ4000Cmd.h"
#include "link/UsbFunc.h"
#include "platform/MsgBox.h"
#include "sheet/DataSheet.h"

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
    VisaCloseAll();
}
