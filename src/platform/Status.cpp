// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/Status.h"

namespace platform {

namespace {
QString g_last;
std::function<void(const QString&)> g_sink;
} // namespace

void ShowStatus(const QString& text) {
    g_last = text;
    if (g_sink) g_sink(text);
}

QString LastStatus() {
    return g_last;
}

void SetStatusSink(std::function<void(const QString&)> sink) {
    g_sink = std::move(sink);
}

} // namespace platform
