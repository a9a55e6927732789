// SPDX-License-Identifier: GPL-3.0-or-later
// The settings file, as hand editing may leave it, read at start-up.
#include "FuzzSupport.h"

#include "platform/Settings.h"
#include "shared/AppIdentity.h"
#include "shared/ComPorts.h"
#include "shared/FileFunc.h"
#include "shared/SoftwareSetting.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzSetUp();
    FuzzFile(kAppTitle + ".ini", data, size);
    platform::SetSettingsDirectory(platform::SettingsDirectory()); // forget the last file
    ReadSoftwareSetting();
    RecentEntries(kRecentCtrlSection);
    RecentEntries(kRecentSheetSection);
    return 0;
}
