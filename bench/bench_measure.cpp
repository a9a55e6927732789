// SPDX-License-Identifier: GPL-3.0-or-later
// The measure window's cost: one measure job (eighteen queries and the
// settings line) against the simulated instrument with the link's real
// pacing, over the pauses it must make.
#include "BenchSupport.h"
#include "acquire/Jobs.h"
#include "acquire/MeasureJob.h"

#include <QApplication>
#include <memory>

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    RegisterMeasureJobs();
    auto instrument = std::make_unique<BenchInstrument>();
    if (!instrument->connected()) return 1;
    TimeJobOverItsPauses(1, "measure job");
    return 0;
}
