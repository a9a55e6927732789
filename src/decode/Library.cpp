// SPDX-License-Identifier: GPL-3.0-or-later
#include "decode/Library.h"

#include <cstdarg>
#include <cstdio>
#include <mutex>

namespace decode {

namespace {

std::mutex messagesLock;
QString messages;

// The library logs from its decoder threads too; errors are kept for the
// caller to show, the rest is dropped.
int keepErrors(void*, int level, const char* format, va_list args) {
    if (level > SRD_LOG_ERR) return SRD_OK;
    char line[4096];
    std::vsnprintf(line, sizeof line, format, args);
    std::lock_guard<std::mutex> guard(messagesLock);
    if (!messages.isEmpty()) messages += '\n';
    messages += QString::fromUtf8(line).trimmed();
    return SRD_OK;
}

} // namespace

bool StartLibrary(QString* error) {
    srd_log_callback_set(keepErrors, nullptr);
    srd_log_loglevel_set(SRD_LOG_ERR);
    const int rc = srd_init(nullptr);
    if (rc != SRD_OK) {
        *error = QStringLiteral("The protocol decoders cannot start: %1").arg(srd_strerror(rc));
        const QString logged = TakeLibraryMessages();
        if (!logged.isEmpty()) *error += "\n" + logged;
        return false;
    }
    return true;
}

void LoadAllDecoders() {
    srd_decoder_load_all();
    TakeLibraryMessages(); // a decoder that failed to load is simply not listed
}

QString TakeLibraryMessages() {
    std::lock_guard<std::mutex> guard(messagesLock);
    QString out;
    out.swap(messages);
    return out;
}

} // namespace decode
