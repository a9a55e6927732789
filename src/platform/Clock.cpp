// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/Clock.h"

namespace platform {
namespace {
ClockHook& hook() {
    static ClockHook h;
    return h;
}
} // namespace

void SetClockHook(ClockHook h) {
    hook() = std::move(h);
}
QDateTime Now() {
    return hook() ? hook()() : QDateTime::currentDateTime();
}
QDate Today() {
    return Now().date();
}

} // namespace platform
