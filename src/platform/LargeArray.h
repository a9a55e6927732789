// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// Room for a large array that is filled at once (a deep capture's samples):
// asked of the kernel in huge pages where it grants them, so the first touch
// of 8 MB costs four page faults rather than two thousand.
#include <cstddef>
#include <vector>

namespace platform {

void AdviseHugePages(void* data, std::size_t bytes);

// Reserves n elements and advises their pages; resize or push_back then fill them.
template <typename T> void ReserveLarge(std::vector<T>& v, std::size_t n) {
    v.reserve(n);
    AdviseHugePages(v.data(), n * sizeof(T));
}

} // namespace platform
