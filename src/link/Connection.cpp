#include "link/Connection.h"

#include "app/StringRES.h"
#include "link/LinkState.h"
#include "link/NQ4000Cmd.h"
#include "platform/MsgBox.h"

namespace {
TransportOpener g_opener = nullptr;

bool openTransport() {
    if (g_opener) return g_opener();
    // No transport layer: the search finds nothing.
    platform::MsgBox(MsgCantConnect, platform::MsgButtons::Ok, platform::MsgIcon::None,
                     MsgDeviceInit);
    return false;
}
} // namespace

void SetTransportOpener(TransportOpener opener) {
    g_opener = opener;
}

void ConnectToDevice() {
    Connecting = true;
    LinkOpen = openTransport();
    if (!LinkOpen) {
        ShowLamps(false);
        Connected = false;
        Connecting = false;
    }
    // The identification comes with the transport layer.
    Connecting = false;
}

void DisconnectFromDevice() {
    if (Connected) CmdSend(SetCommand(cmd::KeyLock, cmd::Disable));
    ShowLamps(false);
    Connected = false;
}
