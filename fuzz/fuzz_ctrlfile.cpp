// SPDX-License-Identifier: GPL-3.0-or-later
// The control file reader on any bytes.
#include "FuzzSupport.h"

#include "controller/CtrlData.h"
#include "controller/CtrlFile.h"
#include "controller/CtrlState.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzSetUp();
    CtrlData = CtrlDataDefaults();
    ControlFilePath.clear();
    ReadControlFileChecked(FuzzFile("fuzz.ctl", data, size));
    return 0;
}
