// SPDX-License-Identifier: GPL-3.0-or-later
#include "SimulatedLink.h"

#include "controller/CtrlData.h"
#include "controller/CtrlState.h"
#include "link/Connection.h"
#include "link/LinkState.h"
#include "link/NQ4000Cmd.h"
#include "link/UsbFunc.h"
#include "platform/Visa.h"
#include "shared/LoadLanguage.h"

SimulatedLink::SimulatedLink(sim::SimulatorOptions options) {
    options.usbDirectory = dir_.path().toStdString();
    simulator_ = std::make_unique<sim::Simulator>(options);
    if (!simulator_->Start()) return;
    platform::SetSimulatedUsbDirectory(dir_.path());
    static const bool managerOpen = [] {
        OpenVisaRM();
        return true;
    }();
    (void)managerOpen;
    VisaRsrcIndex = 0;
    ConnectToDevice();
    clearLog();
}

SimulatedLink::~SimulatedLink() {
    DisconnectFromDevice();
    VisaCloseInstr();
}

bool SimulatedLink::connected() const {
    return Connected;
}

QStringList SimulatedLink::log() const {
    QStringList l;
    for (const auto& e : simulator_->instrument().Log())
        l << QString::fromStdString(e.command);
    return l;
}

void SimulatedLink::clearLog() {
    simulator_->instrument().ClearLog();
}

void SimulatedLink::sync() {
    CmdQuery("*IDN?");
}

void ResetControllerState() {
    ApplyLanguage(kLanguageEnglish);
    CtrlData = CtrlDataDefaults();
    ModelHasLa = true;
    CtrlDirty = false;
}
