// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/LazyLibrary.h"

#include <dlfcn.h>

namespace platform {

void* LazyLibrary::symbol(const char* name) {
    std::lock_guard<std::mutex> guard(lock_);
    if (!tried_) {
        tried_ = true;
        // Global: the Python the decoders run on loads its own modules, which
        // look for its symbols in the global scope.
        handle_ = ::dlopen(soname_, RTLD_NOW | RTLD_GLOBAL);
        if (!handle_) error_ = QString::fromLocal8Bit(::dlerror());
    }
    if (!handle_) return nullptr;
    void* f = ::dlsym(handle_, name);
    if (!f)
        error_ = QStringLiteral("%1 has no %2").arg(QLatin1String(soname_), QLatin1String(name));
    return f;
}

QString LazyLibrary::error() const {
    std::lock_guard<std::mutex> guard(lock_);
    return error_;
}

} // namespace platform
