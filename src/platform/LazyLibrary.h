// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// A shared library opened on its first use instead of at start-up: the
// protocol decoders (with their Python) and the session writer add some
// 9 MB and their start-up work to every run, and most runs never use them.
// Its functions are found by name; everything is safe from any thread.
#include <QString>
#include <mutex>

namespace platform {

class LazyLibrary {
public:
    explicit LazyLibrary(const char* soname) : soname_(soname) {}
    // The function of that name, or nullptr (then error() says why) when the
    // library or the function cannot be found.
    void* symbol(const char* name);
    QString error() const;

private:
    const char* soname_;
    mutable std::mutex lock_;
    void* handle_ = nullptr;
    bool tried_ = false;
    QString error_;
};

} // namespace platform

// A function of a lazy library with the type of its declaration in the
// library's own header, so the forwarding shims cannot drift from it.
#define KORVANE_LAZY_FUNCTION(library, name)                                                       \
    reinterpret_cast<decltype(&name)>((library).symbol(#name))

// The body of a forwarding shim: the library's function called with the
// arguments, or `fallback` (the library's own failure answer) without it.
#define KORVANE_FORWARD(library, name, fallback, ...)                                              \
    static const auto f = KORVANE_LAZY_FUNCTION(library, name);                                    \
    return f ? f(__VA_ARGS__) : fallback
