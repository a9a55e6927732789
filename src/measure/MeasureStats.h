// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// Statistics of the eighteen measures over a run of refreshes: each keeps
// its current value, minimum, maximum, mean, standard deviation and count
// (Welford's running sums, so a long run neither drifts nor grows), a trend
// of its last values, and its pass and fail counts. A value the instrument
// could not measure ("*****") is not counted.
#include "measure/MeasureTable.h"

#include <QByteArray>
#include <array>
#include <cstdint>
#include <vector>

struct MeasureStat {
    static constexpr std::size_t kTrend = 600; // the last values kept for the trend plot
    std::int64_t count = 0;
    double current = 0, min = 0, max = 0, mean = 0;
    double m2 = 0; // sum of squared deviations from the mean
    std::int64_t passed = 0, failed = 0;
    std::vector<double> trend; // oldest first, at most kTrend
    void add(double value);
    double stddev() const; // sample standard deviation; 0 below two values
};

struct MeasureStats {
    std::array<MeasureStat, 18> items; // by MeasureRow::slot
    std::int64_t refreshes = 0;
    void reset() { *this = MeasureStats(); }
};

// One refresh of a record: every readable value and every verdict counted.
void AddRefresh(MeasureStats& stats, const MeasureRecord& rec);
// A statistic as the value column would show it, through the measure job's
// own formatter ("50.0%" for a Duty+ mean of 0.5).
QString StatText(const MeasureRow& row, double value);
// The five figures of a measure (current, minimum, maximum, mean, standard
// deviation) as texts with a point, or five empty ones before any value.
QStringList StatFigures(const MeasureRow& row, const MeasureStat& stat);
// The second export: the described heading and settings line, then per
// measure its value, minimum, maximum, mean, standard deviation, count and
// pass/fail counts, tab-separated, CR LF.
QByteArray MeasureStatsExportBytes(const MeasureRecord& rec, const MeasureStats& stats);
