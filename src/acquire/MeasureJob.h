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
// What the job shows of one reply in a slot: the family's display picture,
// "*****" for a value the instrument could not measure (overshoot and
// preshoot keep the instrument's own text). The statistics format their
// figures through this too, so a figure reads alike in every place.
QString MeasureReplyText(int slot, const QString& reply);
// Registers kinds 1 and 2 with the job dispatch.
void RegisterMeasureJobs();
