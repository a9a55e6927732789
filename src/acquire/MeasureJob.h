// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// The measure job (kinds 1 and 2): the settings line and the eighteen
// measures of one channel, into CurrentMeasure.
#include <QString>
#include <array>

// The texts of the eighteen slots (Vpp, Vmax, Vmin, Vavg, Vtop, Vbase, Vrms,
// Frequency, Rise Time, Fall Time, Period, Pulse Width+, Pulse Width-, Vover,
// Vpre, Vamp, Duty+, Duty-) and the settings line.
struct CurrentMeasureBlock {
    std::array<QString, 18> values;
    QString setting;
};
extern CurrentMeasureBlock CurrentMeasure;

void RunMeasureJob(int channel);
// Registers kinds 1 and 2 with the job dispatch.
void RegisterMeasureJobs();
