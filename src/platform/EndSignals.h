// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// The requests to end that come as signals (SIGTERM at logout or from a
// service manager, SIGINT from Ctrl+C in a terminal, SIGHUP when the
// terminal goes). The handler only writes a byte to a pipe; the callback
// runs later on the GUI thread, where the program can end in good order.
#include <functional>

namespace platform {

// Installs the handlers; the callback gets the signal's number.
void InstallEndSignals(std::function<void(int signal)> onSignal);
void RemoveEndSignals();
// The signal received and not yet served (0 none): read where no event loop
// runs (the command line between two commands).
int PendingEndSignal();

} // namespace platform
