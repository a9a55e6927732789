// SPDX-License-Identifier: GPL-3.0-or-later
// One write-all and one read-all against the simulated instrument with the
// link's real pacing: the time measured against the sum of the pauses the
// sequences must make (every Sleep they call, named waits included).
#include "BenchSupport.h"

#include "controller/SettingsExchange.h"

#include <QApplication>
#include <QElapsedTimer>

namespace {
void measure(const char* name, void (*sequence)()) {
    CountPausesFrom(0);
    QElapsedTimer clock;
    clock.start();
    sequence();
    PrintPacingOverhead(name, clock.nsecsElapsed() / 1e6);
}
} // namespace

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    BenchInstrument instrument;
    if (!instrument.connected()) return 1;
    measure("write-all", [] { WriteAllSettings(); });
    measure("read-all", [] { ReadAllSettings(); });
    return 0;
}
