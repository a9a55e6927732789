// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// Run-time faults and the handler boundary.
//
// A bounds or arithmetic fault ends the event handler it happened in, never
// the program: handlers run their body through RunHandler, which catches the
// fault, reports it on stderr and returns. Fixed record arrays check every
// index, so a bad index faults instead of touching memory outside the array.
#include <QString>
#include <array>
#include <stdexcept>
#include <string>

namespace platform {

class RuntimeFault : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};
class BoundsFault : public RuntimeFault {
public:
    using RuntimeFault::RuntimeFault;
};
class ArithmeticFault : public RuntimeFault {
public:
    using RuntimeFault::RuntimeFault;
};

[[noreturn]] void ThrowBounds(const char* what, long long index, long long lo, long long hi);

// Runs a handler body; a fault ends it and is counted. Returns false on a fault.
template <typename Fn> bool RunHandler(const char* handler, Fn&& body) noexcept;

// A handler for a signal: the body behind RunHandler, whatever the signal's
// arguments (they are not used).
template <typename Fn> auto Guarded(const char* handler, Fn body) {
    return [handler, body](auto&&...) { RunHandler(handler, body); };
}

// Runs one statement of a procedure that skips failing statements and goes on.
template <typename Fn> bool TryStatement(Fn&& statement) noexcept {
    return RunHandler("statement", static_cast<Fn&&>(statement));
}

void ReportFault(const char* handler, const char* what) noexcept;
int FaultCount(); // faults caught since start; tests read it

// A fixed array with the declared bounds Lo..Hi (both inclusive), as the
// record arrays are declared; every access is checked.
template <typename T, int Lo, int Hi> class FixedArray {
    static_assert(Hi >= Lo);

public:
    T& operator[](long long i) { return items_[offset(i)]; }
    const T& operator[](long long i) const { return items_[offset(i)]; }
    static constexpr int lower() { return Lo; }
    static constexpr int upper() { return Hi; }
    static constexpr int size() { return Hi - Lo + 1; }
    void fill(const T& value) { items_.fill(value); }
    auto begin() { return items_.begin(); }
    auto end() { return items_.end(); }
    auto begin() const { return items_.begin(); }
    auto end() const { return items_.end(); }
    bool operator==(const FixedArray&) const = default;

private:
    static std::size_t offset(long long i) {
        if (i < Lo || i > Hi) ThrowBounds("array index", i, Lo, Hi);
        return static_cast<std::size_t>(i - Lo);
    }
    std::array<T, Hi - Lo + 1> items_{};
};

template <typename Fn> bool RunHandler(const char* handler, Fn&& body) noexcept {
    try {
        static_cast<Fn&&>(body)();
        return true;
    } catch (const std::exception& e) {
        ReportFault(handler, e.what());
    } catch (...) {
        ReportFault(handler, "unknown fault");
    }
    return false;
}

} // namespace platform
