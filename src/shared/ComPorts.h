// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// COM1..COM16 on Linux: each COM number maps to a serial device path. By
// default the system's serial ports in a stable (natural name) order; a
// per-port choice of the user, which may be any path (a pseudo-terminal of the
// simulated instrument, a /dev/serial/by-id link), overrides it.
#include <QString>
#include <QStringList>

QStringList SystemSerialDevices(); // e.g. /dev/ttyS0, /dev/ttyUSB0, in natural order
// The device of a COM number (1..16); empty when there is none.
QString ComPortDevice(int comPort);
QString ComPortOverride(int comPort);
void SetComPortOverride(int comPort, const QString& path); // empty removes it

// Offers the COM ports given a device to the VISA search as ASRL resources.
void OfferComPortsToVisa();

// The overrides live in the settings store, read at start and written at end.
void LoadComPortMap();
void SaveComPortMap();
