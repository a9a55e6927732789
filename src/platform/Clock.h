// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// Today's date and the time of day, through one seam so tests can pin them.
#include <QDateTime>
#include <functional>

namespace platform {

QDateTime Now();
QDate Today();

using ClockHook = std::function<QDateTime()>;
void SetClockHook(ClockHook hook); // empty restores the system clock

} // namespace platform
