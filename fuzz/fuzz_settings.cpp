// The settings file, as hand editing may leave it, read at start-up.
#include "FuzzSupport.h"

#include "app/AppIdentity.h"
#include "app/ComPorts.h"
#include "app/FileFunc.h"
#include "app/SoftwareSetting.h"
#include "platform/Settings.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzSetUp();
    FuzzFile(kAppTitle + ".ini", data, size);
    platform::SetSettingsDirectory(platform::SettingsDirectory()); // forget the last file
    ReadSoftwareSetting();
    RecentEntries(kRecentCtrlSection);
    RecentEntries(kRecentSheetSection);
    return 0;
}
