// SPDX-License-Identifier: GPL-3.0-or-later
#include "link/LinkState.h"

bool Connected = false;
bool Connecting = false;
bool ModelHasLa = true;
bool LinkOpen = false;
QString ModelName;
int IsDigitalModel = 0;
int BandwidthIndex = 5;
int RawBias = 25;
int VisaRsrcIndex = 0;
QString VisaRsrcName;
int TickCount = 0;

namespace {
LampView g_lampView;
}

void SetLampView(LampView view) {
    g_lampView = std::move(view);
}

void ShowLamps(bool connected) {
    if (g_lampView) g_lampView(connected);
}

namespace {
bool g_resetWhileConnecting = false;
} // namespace

void ResetLinkState() {
    // A failure during connect ends the connect: its remaining steps would
    // only add messages about the same lost link.
    if (Connecting) g_resetWhileConnecting = true;
    Connecting = false;
    ShowLamps(false);
    Connected = false;
}

void BeginConnecting() {
    g_resetWhileConnecting = false;
    Connecting = true;
}

bool LinkResetWhileConnecting() {
    return g_resetWhileConnecting;
}
