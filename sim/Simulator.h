// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// The simulated NQ4000L: one instrument behind the faces asked for. Tests
// start one in-process; nq4000l-sim is a thin command line over this.
#include "Faces.h"
#include "Instrument.h"

#include <memory>
#include <string>

namespace sim {

struct SimulatorOptions {
    Identity identity;
    bool usb = true;
    std::string usbDirectory; // "" = UsbFace::DefaultDirectory()
    std::string usbResource = "USB0::0x5345::0x4102::SIM0000001::INSTR";
    bool rs232 = false;
    std::string serialLink; // "" = no link
    bool tcp = false;
    int tcpPort = 5025; // 0 = any free port
};

class Simulator {
public:
    explicit Simulator(SimulatorOptions options = SimulatorOptions());
    ~Simulator();
    bool Start(std::string* error = nullptr);
    void Stop();

    Instrument& instrument() { return instrument_; }
    std::string usbResource() const;
    std::string usbSocketPath() const;
    std::string usbDirectory() const;
    std::string serialPath() const; // the pseudo-terminal's slave, or the link to it
    int tcpPort() const;

    // The cable: pulled out (the program sees the device go) and plugged back.
    void Unplug();
    bool Plug(std::string* error = nullptr);

private:
    SimulatorOptions options_;
    Instrument instrument_;
    std::unique_ptr<UsbFace> usb_;
    std::unique_ptr<SerialFace> serial_;
    std::unique_ptr<TcpFace> tcp_;
};

} // namespace sim
