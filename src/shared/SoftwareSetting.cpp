// SPDX-License-Identifier: GPL-3.0-or-later
#include "shared/SoftwareSetting.h"

#include "platform/Settings.h"
#include "shared/AppIdentity.h"

SoftwareSettingRecord SoftwareSetting;

namespace {
const QString kGeneral = "General_NQ4000L";
const QString kIo = "IO Settings_NQ4000L";
const QString kRefresh = "Refresh_NQ4000L";
const QString kPlace = "Settings_NQ4000L";

bool readBool(const QString& section, const QString& key, bool def) {
    return platform::GetSettingBool(kAppTitle, section, key, def);
}
int readInt(const QString& section, const QString& key, int def) {
    return platform::GetSettingInt(kAppTitle, section, key, def);
}
void write(const QString& section, const QString& key, const QString& value) {
    platform::SaveSetting(kAppTitle, section, key, value);
}
} // namespace

FramePlaceTwips ReadSoftwareSetting() {
    const SoftwareSettingRecord defaults;
    SoftwareSettingRecord& s = SoftwareSetting;
    s.StartupCheckHardware =
        readBool(kGeneral, "StartupCheckHardware", defaults.StartupCheckHardware);
    s.StartupLoadSheet = readBool(kGeneral, "StartupLoadSheet", defaults.StartupLoadSheet);
    s.StartupLoadCtrl = readBool(kGeneral, "StartupLoadCtrl", defaults.StartupLoadCtrl);
    s.ScopeIOType = readInt(kIo, "ScopeIOType", defaults.ScopeIOType);
    s.COM_Port = readInt(kIo, "COM_Port", defaults.COM_Port);
    s.BaudRate = platform::GetSetting(kAppTitle, kIo, "BaudRate", defaults.BaudRate);
    s.GPIB_Addr = readInt(kIo, "GPIB_Addr", defaults.GPIB_Addr);
    s.RefreshType = platform::GetSetting(kAppTitle, kRefresh, "Refresh Type", defaults.RefreshType);
    s.RefreshInterval = readInt(kRefresh, "Refresh Interval", defaults.RefreshInterval);

    // The program always comes up on USB: the user picks RS232 again in each run.
    if (s.ScopeIOType == kIoTypeRs232) s.ScopeIOType = kIoTypeUsb;

    FramePlaceTwips place;
    place.left = platform::GetSettingDouble(kAppTitle, kPlace, "MainLeft", place.left);
    place.top = platform::GetSettingDouble(kAppTitle, kPlace, "MainTop", place.top);
    place.width = platform::GetSettingDouble(kAppTitle, kPlace, "MainWidth", place.width);
    place.height = platform::GetSettingDouble(kAppTitle, kPlace, "MainHeight", place.height);
    place.remembered = !platform::GetSetting(kAppTitle, kPlace, "MainWidth", QString()).isEmpty();
    return place;
}

void WriteSoftwareSetting(const FramePlaceTwips* place) {
    const SoftwareSettingRecord& s = SoftwareSetting;
    write(kGeneral, "StartupCheckHardware", platform::BoolSettingText(s.StartupCheckHardware));
    write(kGeneral, "StartupLoadSheet", platform::BoolSettingText(s.StartupLoadSheet));
    write(kGeneral, "StartupLoadCtrl", platform::BoolSettingText(s.StartupLoadCtrl));
    write(kIo, "ScopeIOType", QString::number(s.ScopeIOType));
    write(kIo, "COM_Port", QString::number(s.COM_Port));
    write(kIo, "BaudRate", s.BaudRate);
    write(kIo, "GPIB_Addr", QString::number(s.GPIB_Addr));
    write(kRefresh, "Refresh Type", s.RefreshType);
    write(kRefresh, "Refresh Interval", QString::number(s.RefreshInterval));
    if (place) {
        write(kPlace, "MainLeft", QString::number(place->left));
        write(kPlace, "MainTop", QString::number(place->top));
        write(kPlace, "MainWidth", QString::number(place->width));
        write(kPlace, "MainHeight", QString::number(place->height));
    }
}

double PixelsToTwips(double pixels, double dotsPerInch) {
    return dotsPerInch > 0 ? pixels * 1440.0 / dotsPerInch : pixels * 15.0;
}

double TwipsToPixels(double twips, double dotsPerInch) {
    return dotsPerInch > 0 ? twips * dotsPerInch / 1440.0 : twips / 15.0;
}
