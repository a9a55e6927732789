// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// The persisted settings record, read once at start-up and written once at
// the end (the recent lists excepted: they are written when they change).
#include <QRectF>
#include <QString>

constexpr int kIoTypeUsb = 0;
constexpr int kIoTypeRs232 = 2;
constexpr int kComPortCount = 16;

struct SoftwareSettingRecord {
    bool StartupCheckHardware = false;
    bool StartupLoadSheet = false;
    bool StartupLoadCtrl = false;
    int ScopeIOType = kIoTypeUsb; // 0 USB through VISA, 2 RS232
    int COM_Port = 1;             // 1..16
    QString BaudRate = "9600";
    int GPIB_Addr = 7; // kept, never used to open anything
    QString RefreshType = "Single";
    int RefreshInterval = 1000; // milliseconds
};

extern SoftwareSettingRecord SoftwareSetting;

// The frame's place in twips, the store's unit (1440 to the inch).
struct FramePlaceTwips {
    double left = 1000, top = 1000, width = 6500, height = 6500;
    bool remembered = false; // a size was saved by an earlier run
};

// Reads every row into SoftwareSetting; RS232 never survives a restart.
FramePlaceTwips ReadSoftwareSetting();
// Writes every row; the frame's place only when it is given (not minimised).
void WriteSoftwareSetting(const FramePlaceTwips* place);

// Twips and device pixels at the screen's real dots per inch.
double PixelsToTwips(double pixels, double dotsPerInch);
double TwipsToPixels(double twips, double dotsPerInch);
