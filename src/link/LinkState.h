// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// The run-time state of the one link to the instrument.
#include <QString>
#include <QStringList>
#include <functional>

// Connection state, shared by the whole program.
extern bool Connected;  // an identified instrument answers
extern bool Connecting; // inside ConnectToDevice: the transport may talk already
extern bool LinkOpen;   // the transport opened
extern QString ModelName;
extern int IsDigitalModel;
extern bool ModelHasLa; // the digital channels are presented
extern int BandwidthIndex;
extern int RawBias; // 25: raw sample byte minus this is the screen row

// The USB device chosen in Options: 1-based place in its list, 0 = none yet.
extern int VisaRsrcIndex;
extern QString VisaRsrcName;

// The two lamps of the frame follow Connected; the frame registers how to show them.
using LampView = std::function<void(bool connected)>;
void SetLampView(LampView view);
void ShowLamps(bool connected);

// Marks the link down without a word to the instrument (after a transport
// failure), so its panel stays locked. During a connect it ends the connect.
void ResetLinkState();
// Connecting from here; whether a transport failure has ended it since.
void BeginConnecting();
bool LinkResetWhileConnecting();

// The serial wait's clock: the frame's TimeOutTimer adds one ten times a second.
extern int TickCount;
