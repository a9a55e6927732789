// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// The instrument's three faces, each a real operating-system channel served
// by its own thread: USB (a Unix socket speaking bulk-out / bulk-in messages,
// see docs/instrument-protocol.md), RS232 (a pseudo-terminal) and LAN (TCP).
#include "Instrument.h"

#include <atomic>
#include <string>
#include <thread>

namespace sim {

class Face {
public:
    explicit Face(Instrument& instrument) : instrument_(instrument) {}
    virtual ~Face();
    Face(const Face&) = delete;
    Face& operator=(const Face&) = delete;

    bool Start(std::string* error);
    void Stop();
    // Pulls the cable (the program sees the link go away) and plugs it back.
    void Unplug();
    bool Plug(std::string* error);

protected:
    virtual bool open(std::string* error) = 0; // make the channel
    virtual void close() = 0;                  // remove it
    virtual void serve() = 0;                  // the thread's loop; returns when stopping_
    Reply answer(const std::string& line);     // runs the instrument, applies latency
    Instrument& instrument_;
    std::atomic<bool> stopping_{false};
    int wakeFd_[2] = {-1, -1}; // a pipe that wakes the loop for stop and unplug

private:
    void launch();
    std::thread thread_;
    std::atomic<bool> finished_{true};
};

class UsbFace : public Face {
public:
    UsbFace(Instrument& instrument, std::string directory, std::string resource);
    ~UsbFace() override;
    std::string socketPath() const { return directory_ + "/" + resource_; }
    const std::string& resource() const { return resource_; }
    static std::string DefaultDirectory();

protected:
    bool open(std::string* error) override;
    void close() override;
    void serve() override;

private:
    std::string directory_, resource_;
    int listenFd_ = -1;
};

class SerialFace : public Face {
public:
    // link: a symbolic link kept pointing at the current slave ("" for none).
    SerialFace(Instrument& instrument, std::string link);
    ~SerialFace() override;
    std::string slavePath() const { return slavePath_; }
    std::string linkPath() const { return link_; }

protected:
    bool open(std::string* error) override;
    void close() override;
    void serve() override;

private:
    std::string link_, slavePath_;
    int masterFd_ = -1, slaveFd_ = -1;
};

class TcpFace : public Face {
public:
    TcpFace(Instrument& instrument, int port);
    ~TcpFace() override;
    int port() const { return port_; }

protected:
    bool open(std::string* error) override;
    void close() override;
    void serve() override;

private:
    int port_;
    int listenFd_ = -1;
};

// A block as USB and LAN frame it: "#8", eight digits, payload, line feed.
std::vector<std::uint8_t> FrameBlock488(const std::vector<std::uint8_t>& payload);
// As RS232 frames it: a 4-byte little-endian length, then the payload.
std::vector<std::uint8_t> FrameBlockSerial(const std::vector<std::uint8_t>& payload);

} // namespace sim
