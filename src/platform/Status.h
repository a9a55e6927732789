// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// Short notes for the frame's status bar about what just happened
// ("Downloaded", "Saved to ...", a warning a job left). The frame shows them
// for a few seconds; without a frame (tests, the command line) they are only
// remembered.
#include <QString>
#include <functional>

namespace platform {

void ShowStatus(const QString& text);
QString LastStatus(); // the last note shown, for tests
void SetStatusSink(std::function<void(const QString& text)> sink);

} // namespace platform
