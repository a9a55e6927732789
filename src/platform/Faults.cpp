// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/Faults.h"

#include <QtGlobal>
#include <atomic>

namespace platform {
namespace {
std::atomic<int> g_faults{0};
}

void ThrowBounds(const char* what, long long index, long long lo, long long hi) {
    throw BoundsFault(std::string(what) + " " + std::to_string(index) + " outside " +
                      std::to_string(lo) + ".." + std::to_string(hi));
}

void ReportFault(const char* handler, const char* what) noexcept {
    ++g_faults;
    qWarning("Korvane: %s ended by a run-time fault: %s", handler, what);
}

int FaultCount() {
    return g_faults.load();
}

} // namespace platform
