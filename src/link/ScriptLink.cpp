// SPDX-License-Identifier: GPL-3.0-or-later
#include "link/ScriptLink.h"

#include "link/Connection.h"
#include "link/DlgResource.h"
#include "link/LinkState.h"
#include "link/NQ4000Cmd.h"
#include "link/UsbFunc.h"
#include "shared/ComPorts.h"
#include "shared/SoftwareSetting.h"

#include <optional>

bool OpenScriptLink(const QString& resource, const QString& serialDevice,
                    const std::function<void(const QString&)>& announce) {
    auto say = [&announce](const QString& text) {
        if (announce) announce(text);
    };
    if (!serialDevice.isEmpty()) {
        say("connecting to " + serialDevice + " ...");
        SoftwareSetting.ScopeIOType = kIoTypeRs232;
        SoftwareSetting.COM_Port = 1;
        SetComPortOverride(1, serialDevice);
    } else {
        say("looking for the instrument ...");
        SoftwareSetting.ScopeIOType = kIoTypeUsb;
        OpenVisaRM();
        const QStringList found = resource.isEmpty() ? SearchUsbResources() : QStringList();
        say("connecting to " + (resource.isEmpty() ? found.value(0, "USB") : resource) + " ...");
        // More than one instrument: the one named, or the first.
        SetResourceChooserHook([resource](const QStringList& names) -> std::optional<QString> {
            if (!resource.isEmpty())
                return names.contains(resource) ? std::optional<QString>(resource) : std::nullopt;
            return names.value(0);
        });
        if (!resource.isEmpty()) {
            VisaRsrcIndex = 1;
            VisaRsrcName = resource;
        }
    }
    ConnectToDevice();
    return Connected;
}

void CloseScriptLink() {
    if (Connected) DisconnectFromDevice();
    VisaCloseInstr();
}
