// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// Taking the link from nothing to a known, locked instrument and back.
#include <functional>

// Opens the transport chosen in Options, locks the panel, identifies the
// instrument by *IDN?, and lights the lamp; or tells the user why not. Once
// the transport is open a failing statement is skipped and the rest goes on.
void ConnectToDevice();
// Whoever keeps state about the instrument hears the end of every connect:
// identified or not (the controller reads the math display then).
using ConnectListener = std::function<void(bool identified)>;
void SetConnectListener(ConnectListener listener);
// Unlocks the panel when connected, then marks the link down.
void DisconnectFromDevice();
// Asks the instrument whether its screen is coloured (7th character of the model).
bool IsColorDevice();

// The build's brand: false here; a build for the other brand expects its
// maker and any NQ4 model.
constexpr bool BrandIsOem = false;
