// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// What the Options dialog shows and what its OK does, apart from the widgets.
#include <QString>
#include <QStringList>

inline const QStringList kBaudRates = {"300", "2400", "4800", "9600", "19200", "38400"};
inline const QStringList kRefreshIntervals = {"1", "2", "5", "10", "20"}; // seconds
constexpr int kMaxUsbDevices = 11;
constexpr int kGpibAddressCount = 31;

struct OptionsState {
    int ioType = 0; // 0 USB, 2 RS232
    bool ctrlStartLoad = false;
    bool sheetStartLoad = false;
    bool hardwareCheck = false;
    int portIndex = 0;       // COM_Port - 1
    QString portDevice;      // the device path of the selected COM port
    QString baudText;        // BaudCombo's text
    QStringList deviceItems; // serial fields, or the one "No Device"
    int deviceIndex = 0;
    int gpibIndex = 7;
    int refreshTypeIndex = 0; // 0 Single, 1 Auto
    QString intervalText;
    bool intervalEnabled() const { return refreshTypeIndex == 1; }
};

// "USB0::vendor::product::serial::INSTR" -> "serial": the text between the
// third "::" and the fourth (to the end when there is no fourth).
QString UsbSerialField(const QString& resource);
bool IsNoDeviceText(const QString& text); // "No Device" in either language

// The opening steps: the dialog's state from SoftwareSetting and the search
// result. Adjusts VisaRsrcIndex as the dialog does. More than eleven devices
// are a bounds fault.
OptionsState OpenOptions(const QStringList& usbResources);

// The OK steps: while connected a changed baud rate is sent first, then the
// link is always ended; the fields are stored; DialogAccepted is raised.
void AcceptOptions(const OptionsState& state, const QStringList& usbResources);

extern bool DialogAccepted; // the shared flag of the frame's modal dialogs

// Ctrl+Tab and Ctrl+Shift+Tab: the next or previous tab, wrapping round.
int NextTabIndex(int current, int count, bool backwards);
