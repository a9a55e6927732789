// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// Arrays that may be large and are filled at once (a deep capture's
// samples, a memory file's sections). From 2 MB up they live in a mapping of
// their own aligned to the kernel's 2 MB huge pages and advised so: the first
// touch of 8 MB costs four page faults rather than two thousand, which is most
// of what reading a deep file costs.
#include <cstddef>
#include <new>
#include <vector>

namespace platform {

void* AllocateLarge(std::size_t bytes);                 // throws std::bad_alloc
void FreeLarge(void* data, std::size_t bytes) noexcept; // the bytes it was allocated with

template <typename T> struct LargeAllocator {
    using value_type = T;
    LargeAllocator() noexcept = default;
    template <typename U> LargeAllocator(const LargeAllocator<U>&) noexcept {}
    T* allocate(std::size_t n) { return static_cast<T*>(AllocateLarge(n * sizeof(T))); }
    void deallocate(T* p, std::size_t n) noexcept { FreeLarge(p, n * sizeof(T)); }
    friend bool operator==(const LargeAllocator&, const LargeAllocator&) noexcept { return true; }
};

template <typename T> using LargeVector = std::vector<T, LargeAllocator<T>>;

} // namespace platform
