// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/LargeArray.h"

#include <cstdint>
#include <sys/mman.h>
#include <unistd.h>

namespace platform {

void AdviseHugePages(void* data, std::size_t bytes) {
    constexpr std::uintptr_t kHuge = 2 * 1024 * 1024;
    if (bytes < 2 * kHuge) return; // too small to hold a whole huge page
    // The whole huge pages inside the array; a refusal changes nothing.
    const auto begin = (reinterpret_cast<std::uintptr_t>(data) + kHuge - 1) & ~(kHuge - 1);
    const auto end = (reinterpret_cast<std::uintptr_t>(data) + bytes) & ~(kHuge - 1);
    if (end > begin) ::madvise(reinterpret_cast<void*>(begin), end - begin, MADV_HUGEPAGE);
}

} // namespace platform
