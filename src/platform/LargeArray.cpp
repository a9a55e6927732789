// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/LargeArray.h"

#include <cstdint>
#include <cstdlib>
#include <sys/mman.h>

namespace platform {

// Under the address sanitizer every array stays on the heap, where it
// watches each byte.
#if defined(__SANITIZE_ADDRESS__)
#define KORVANE_HEAP_ONLY 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define KORVANE_HEAP_ONLY 1
#endif
#endif

namespace {
constexpr std::size_t kHuge = 2 * 1024 * 1024;
#ifdef KORVANE_HEAP_ONLY
constexpr std::size_t kLarge = SIZE_MAX;
#else
constexpr std::size_t kLarge = kHuge; // below this, the heap serves
#endif
std::size_t wholeHugePages(std::size_t bytes) {
    return (bytes + kHuge - 1) & ~(kHuge - 1);
}
} // namespace

void* AllocateLarge(std::size_t bytes) {
    if (bytes < kLarge) {
        if (void* p = std::malloc(bytes ? bytes : 1)) return p;
        throw std::bad_alloc();
    }
    // Map a huge page more than needed, keep the aligned part, return the rest.
    const std::size_t size = wholeHugePages(bytes);
    void* mapped =
        ::mmap(nullptr, size + kHuge, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (mapped == MAP_FAILED) throw std::bad_alloc();
    const auto start = reinterpret_cast<std::uintptr_t>(mapped);
    const auto aligned = (start + kHuge - 1) & ~(kHuge - 1);
    if (aligned > start) ::munmap(mapped, aligned - start);
    const std::size_t tail = start + size + kHuge - (aligned + size);
    if (tail > 0) ::munmap(reinterpret_cast<void*>(aligned + size), tail);
    ::madvise(reinterpret_cast<void*>(aligned), size, MADV_HUGEPAGE); // a refusal changes nothing
    return reinterpret_cast<void*>(aligned);
}

void FreeLarge(void* data, std::size_t bytes) noexcept {
    if (!data) return;
    if (bytes < kLarge)
        std::free(data);
    else
        ::munmap(data, wholeHugePages(bytes));
}

} // namespace platform
