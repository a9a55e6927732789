// SPDX-License-Identifier: GPL-3.0-or-later
#include "Simulator.h"

namespace sim {

Simulator::Simulator(SimulatorOptions options)
    : options_(std::move(options)), instrument_(options_.identity) {
    if (options_.usbDirectory.empty()) options_.usbDirectory = UsbFace::DefaultDirectory();
}

Simulator::~Simulator() {
    Stop();
}

bool Simulator::Start(std::string* error) {
    if (options_.usb) {
        usb_ = std::make_unique<UsbFace>(instrument_, options_.usbDirectory, options_.usbResource);
        if (!usb_->Start(error)) return false;
    }
    if (options_.rs232) {
        serial_ = std::make_unique<SerialFace>(instrument_, options_.serialLink);
        if (!serial_->Start(error)) return false;
    }
    if (options_.tcp) {
        tcp_ = std::make_unique<TcpFace>(instrument_, options_.tcpPort);
        if (!tcp_->Start(error)) return false;
    }
    return true;
}

void Simulator::Stop() {
    if (usb_) usb_->Stop();
    if (serial_) serial_->Stop();
    if (tcp_) tcp_->Stop();
}

std::string Simulator::usbResource() const {
    return usb_ ? usb_->resource() : std::string();
}
std::string Simulator::usbSocketPath() const {
    return usb_ ? usb_->socketPath() : std::string();
}
std::string Simulator::usbDirectory() const {
    return options_.usbDirectory;
}

std::string Simulator::serialPath() const {
    if (!serial_) return {};
    return serial_->linkPath().empty() ? serial_->slavePath() : serial_->linkPath();
}

int Simulator::tcpPort() const {
    return tcp_ ? tcp_->port() : 0;
}

void Simulator::Unplug() {
    if (usb_) usb_->Unplug();
    if (serial_) serial_->Unplug();
    if (tcp_) tcp_->Unplug();
}

bool Simulator::Plug(std::string* error) {
    if (usb_ && !usb_->Plug(error)) return false;
    if (serial_ && !serial_->Plug(error)) return false;
    if (tcp_ && !tcp_->Plug(error)) return false;
    return true;
}

} // namespace sim
