// SPDX-License-Identifier: GPL-3.0-or-later
// How fast the value text runs: the display ladders and the parsers that
// every reply, row and export goes through.
#include "shared/ValueText.h"

#include <QElapsedTimer>
#include <cstdio>
#include <vector>

int main() {
    std::vector<QString> inputs;
    for (int e = -12; e <= 6; ++e)
        for (int m = 1; m <= 99; ++m)
            inputs.push_back(QString::number(m * 0.37) + "e" + QString::number(e));
    constexpr int kRounds = 50;
    std::size_t characters = 0;
    QElapsedTimer clock;
    clock.start();
    for (int r = 0; r < kRounds; ++r)
        for (const QString& in : inputs) {
            characters += static_cast<std::size_t>(NormVolt(in).size() + NormTime4(in).size() +
                                                   NormFreq(in).size());
        }
    const double formatMs = clock.nsecsElapsed() / 1e6;
    const double formatted = 3.0 * kRounds * inputs.size();
    clock.restart();
    double sum = 0;
    for (int r = 0; r < kRounds; ++r)
        for (const QString& in : inputs)
            sum += ParseVoltText(in + "mV") + ParseTimeText(in + "us");
    const double parseMs = clock.nsecsElapsed() / 1e6;
    std::printf("formatted:   %.0f texts in %.1f ms (%.2f us each)\n", formatted, formatMs,
                formatMs * 1000 / formatted);
    std::printf("parsed:      %.0f texts in %.1f ms (%.2f us each)\n",
                2.0 * kRounds * inputs.size(), parseMs,
                parseMs * 1000 / (2.0 * kRounds * inputs.size()));
    std::printf("(checksum %zu %g)\n", characters, sum);
    return 0;
}
