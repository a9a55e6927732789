// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// The simulated instrument on its USB face in a folder of its own, connected
// through the program's real link; its command log, and a sync point.
#include "Simulator.h"

#include <QStringList>
#include <QTemporaryDir>
#include <memory>

// The controller's record at its English defaults, LA presented, not dirty.
void ResetControllerState();

class SimulatedLink {
public:
    // Starts the simulator and connects; connected() tells whether it worked.
    explicit SimulatedLink(sim::SimulatorOptions options = sim::SimulatorOptions());
    ~SimulatedLink(); // disconnects and closes the instrument handle

    bool connected() const;
    sim::Simulator& simulator() { return *simulator_; }
    sim::Instrument& instrument() { return simulator_->instrument(); }
    QStringList log() const; // the commands the instrument received, in order
    void clearLog();
    // Returns once every command sent before has reached the instrument.
    void sync();

private:
    QTemporaryDir dir_;
    std::unique_ptr<sim::Simulator> simulator_;
};
