#pragma once
// Taking the link from nothing to a known, locked instrument and back.

// Opens the transport chosen in Options, locks the panel, identifies the
// instrument and lights the lamp, or tells the user why not.
void ConnectToDevice();
// Unlocks the panel when connected, then marks the link down.
void DisconnectFromDevice();

// How the transport is opened: set by the link's transport layer. Returns
// false (after telling the user why) when nothing could be opened.
using TransportOpener = bool (*)();
void SetTransportOpener(TransportOpener opener);
