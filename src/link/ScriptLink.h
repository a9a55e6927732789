// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// The link as scripts open it (korvane-cli, the Python package): no window
// and no question. The resource named, or the first instrument found on
// USB, or a serial device; ConnectToDevice does the rest as for the window.
#include <QString>
#include <functional>

// announce is told what is being done ("looking for the instrument",
// "connecting to USB0::..."), for a terminal line; may be empty.
bool OpenScriptLink(const QString& resource, const QString& serialDevice,
                    const std::function<void(const QString&)>& announce = {});
// The link closed as the program closes it: the keys unlocked first.
void CloseScriptLink();
