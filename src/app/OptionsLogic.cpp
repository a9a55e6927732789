// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/OptionsLogic.h"

#include "link/Connection.h"
#include "link/LinkState.h"
#include "link/NQ4000Cmd.h"
#include "platform/Faults.h"
#include "shared/ComPorts.h"
#include "shared/LoadLanguage.h"
#include "shared/Picture.h"
#include "shared/SoftwareSetting.h"

#include <cmath>

bool DialogAccepted = false;

QString UsbSerialField(const QString& resource) {
    const QStringList fields = resource.split("::");
    return fields.size() > 3 ? fields[3] : QString();
}

bool IsNoDeviceText(const QString& text) {
    return text == QLatin1String("No Device") || text == QString::fromUtf8("无设备");
}

OptionsState OpenOptions(const QStringList& usbResources) {
    SoftwareSettingRecord& s = SoftwareSetting;
    OptionsState st;
    st.ioType = s.ScopeIOType == kIoTypeRs232 ? kIoTypeRs232 : kIoTypeUsb;
    st.ctrlStartLoad = s.StartupLoadCtrl;
    st.sheetStartLoad = s.StartupLoadSheet;
    st.hardwareCheck = s.StartupCheckHardware;
    if (s.COM_Port < 1 || s.COM_Port > kComPortCount) s.COM_Port = 1;
    st.portIndex = s.COM_Port - 1;
    st.portDevice = ComPortDevice(s.COM_Port);
    st.baudText = s.BaudRate;
    st.gpibIndex = s.GPIB_Addr;

    platform::FixedArray<QString, 0, kMaxUsbDevices - 1> serials;
    for (int i = 0; i < usbResources.size(); ++i)
        serials[i] = UsbSerialField(usbResources[i]);
    if (usbResources.isEmpty()) {
        VisaRsrcIndex = 0;
        st.deviceItems = {FormText("frmOptions", "NoDevice")};
        st.deviceIndex = 0;
    } else {
        for (int i = 0; i < usbResources.size(); ++i)
            st.deviceItems << serials[i];
        if (VisaRsrcIndex == 0 || VisaRsrcIndex > usbResources.size()) VisaRsrcIndex = 1;
        st.deviceIndex = VisaRsrcIndex - 1;
    }

    st.refreshTypeIndex = s.RefreshType == QLatin1String("Auto") ? 1 : 0;
    st.intervalText =
        ShownForm(QString::number(s.RefreshInterval / 1000.0)); // "1,5" in a comma locale
    return st;
}

void AcceptOptions(const OptionsState& st, const QStringList& usbResources) {
    SoftwareSettingRecord& s = SoftwareSetting;
    if (Connected) {
        if (st.baudText != s.BaudRate) {
            CmdSend(SetCommand(cmd::Rs232Baud, st.baudText.trimmed()));
            s.BaudRate = st.baudText;
        }
        // Leaving Options with OK always ends the connection.
        DisconnectFromDevice();
    }
    s.StartupLoadCtrl = st.ctrlStartLoad;
    s.StartupLoadSheet = st.sheetStartLoad;
    s.StartupCheckHardware = st.hardwareCheck;
    s.RefreshType = st.refreshTypeIndex == 1 ? "Auto" : "Single";
    // The display's decimal sign, as every other box reads it ("1,5" is 1.5 s
    // under a comma locale; "1.5" reads the same).
    s.RefreshInterval = static_cast<int>(std::lround(Val(PointForm(st.intervalText)) * 1000));
    s.ScopeIOType = st.ioType == kIoTypeRs232 ? kIoTypeRs232 : kIoTypeUsb;
    s.COM_Port = st.portIndex + 1;
    // Only a path that differs from what the map already gives becomes an override.
    if (st.portDevice.trimmed() != ComPortDevice(s.COM_Port))
        SetComPortOverride(s.COM_Port, st.portDevice);
    s.BaudRate = st.baudText;
    s.GPIB_Addr = st.gpibIndex;

    const QString deviceText = st.deviceIndex >= 0 && st.deviceIndex < st.deviceItems.size()
                                   ? st.deviceItems[st.deviceIndex]
                                   : QString();
    if (!deviceText.isEmpty() && !IsNoDeviceText(deviceText) &&
        st.deviceIndex < usbResources.size()) {
        VisaRsrcIndex = st.deviceIndex + 1;
        VisaRsrcName = usbResources[st.deviceIndex];
    } else {
        VisaRsrcIndex = 0;
        VisaRsrcName.clear();
    }
    DialogAccepted = true;
}

int NextTabIndex(int current, int count, bool backwards) {
    if (count <= 0) return 0;
    return backwards ? (current - 1 + count) % count : (current + 1) % count;
}
