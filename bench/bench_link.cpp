// SPDX-License-Identifier: GPL-3.0-or-later
// 100 queries against the simulated instrument over its USB face, with the
// link's real pacing: the time measured against the time the pacing alone
// requires (100 ms before every write).
#include "BenchSupport.h"

#include "link/NQ4000Cmd.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <cstdio>

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    BenchInstrument instrument;
    if (!instrument.connected()) return 1;

    constexpr int kQueries = 100;
    CountPausesFrom(0);
    QElapsedTimer clock;
    clock.start();
    int answered = 0;
    for (int i = 0; i < kQueries; ++i)
        if (!CmdQuery(":TRIGGER:STATUS?").isEmpty()) ++answered;
    std::printf("queries: %d (%d answered)\n", kQueries, answered);
    PrintPacingOverhead("queries", clock.nsecsElapsed() / 1e6);
    return 0;
}
