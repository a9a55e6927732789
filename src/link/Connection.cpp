// SPDX-License-Identifier: GPL-3.0-or-later
#include "link/Connection.h"

#include "link/LinkState.h"
#include "link/NQ4000Cmd.h"
#include "link/RS232Func.h"
#include "link/UsbFunc.h"
#include "platform/Faults.h"
#include "platform/MsgBox.h"
#include "platform/Pacing.h"
#include "shared/Picture.h"
#include "shared/SoftwareSetting.h"
#include "shared/StringRES.h"
#include "shared/ValueText.h"

namespace {
// The maker is the reference less its last four characters.
const QString kMakerReference = BrandIsOem ? "HALDEN,NQ4" : "VEXOR TECHNOLOGIES,PM2";

QString expectedMaker() {
    return kMakerReference.left(kMakerReference.size() - 4);
}

void deviceNotFound() {
    platform::MsgBox(MsgDeviceNotFound, platform::MsgButtons::Ok, platform::MsgIcon::Exclamation,
                     MsgConnectTitle);
}

int bandwidthIndexOf(const QString& model) {
    switch (static_cast<int>(Val(model.mid(3, 2)))) {
    case 2:
        return 0;
    case 4:
        return 1;
    case 6:
        return 2;
    case 10:
    case 15:
        return 3;
    case 20:
        return 4;
    default:
        return 5;
    }
}

// Steps 4.3 to 4.9: the identification reply decides; true when accepted.
bool identify(const QString& reply) {
    const qsizetype comma = reply.indexOf(',');
    const QString maker = comma < 0 ? reply : reply.left(comma);
    if (maker != expectedMaker()) {
        deviceNotFound();
        return false;
    }
    const QString rest = reply.mid(comma + 1);
    const qsizetype next = rest.indexOf(',');
    ModelName = next < 0 ? rest : rest.left(next);
    if (BrandIsOem) {
        ModelHasLa = false;
        if (!ModelName.startsWith("NQ4")) {
            deviceNotFound();
            return false;
        }
        RawBias = 25;
        BandwidthIndex = 2;
        return true;
    }
    IsDigitalModel =
        ModelName.endsWith('D') || ModelName.right(5) == QLatin1String("L-LAB") ? 1 : 0;
    BandwidthIndex = bandwidthIndexOf(ModelName);
    if (IsDigitalModel != 1) {
        deviceNotFound(); // an instrument without digital channels is refused
        return false;
    }
    RawBias = 25;
    return true;
}
} // namespace

namespace {
ConnectListener& connectListener() {
    static ConnectListener listener;
    return listener;
}
} // namespace

void ConnectToDevice() {
    BeginConnecting();
    LinkOpen = true;
    if (SoftwareSetting.ScopeIOType == kIoTypeRs232)
        Rs232Open();
    else
        FindVisaDevice();

    bool identified = false;
    if (LinkOpen) {
        using platform::TryStatement;
        TryStatement([] { CmdSend(SetCommand(cmd::KeyLock, cmd::Enable)); });
        TryStatement([] { platform::Sleep(50); });
        TryStatement([] { CmdSend(cmd::PointsModeNormal); });
        QString reply;
        TryStatement([&reply] { reply = CmdQuery(cmd::Idn).toUpper(); });
        // A transport that failed on the way has said so: no second message.
        if (!LinkResetWhileConnecting()) TryStatement([&] { identified = identify(reply); });
    }
    ShowLamps(identified);
    Connected = identified;
    if (connectListener()) platform::TryStatement([identified] { connectListener()(identified); });
    Connecting = false;
}

void SetConnectListener(ConnectListener listener) {
    connectListener() = std::move(listener);
}

void DisconnectFromDevice() {
    if (Connected) CmdSend(SetCommand(cmd::KeyLock, cmd::Disable));
    ShowLamps(false);
    Connected = false;
}

bool IsColorDevice() {
    if (!LinkOpen) return false;
    if (BrandIsOem) return true;
    const QString reply = CmdQuery(cmd::Idn);
    if (reply.size() < 26) return false;
    return reply.at(25) == 'C';
}
