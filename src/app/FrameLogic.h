// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// The frame's decisions that do not need its widgets.
#include <QColor>
#include <QList>
#include <QRect>
#include <QString>
#include <array>
#include <functional>

// TraceColor(0..4): CH1, CH2, math, digital, active digital.
extern std::array<QColor, 5> TraceColor;
void FillTraceColors();

// QueryUnload: asks about an unsaved data sheet, then an unsaved control
// file (Yes saves, No goes on, Cancel stops). Returns true when closing may
// go on; an answer given before a Cancel has already been carried out. A Yes
// whose save did not happen stops the closing too, so nothing is lost.
bool QueryUnload(const std::function<bool()>& saveSheet, const std::function<bool()>& saveCtrl);

// The frame's remembered place brought onto the screens there are: a place
// that no screen shows enough of (a monitor gone, a hand-edited file) moves
// onto the first screen, shrunk to fit it.
QRect PlaceOnScreens(const QRect& wanted, const QList<QRect>& available);

// The frame's title: the open sheet's file name with "[*]" (Qt shows it as
// "*" while the sheet is modified), then the program's caption, as desktop
// programs name their document. A sheet whose reading stopped on an error
// says so; a sheet not saved yet shows its name.
QString FrameTitle(const QString& caption);

// The frame's remembered place or, on a first start (no place), about three
// quarters of the screen, centred: the size a desktop user expects.
QRect FirstPlace(const QRect& available);

// The end of the program after QueryUnload: the settings are saved by the
// caller; this unlocks the instrument when connected and closes the link.
void UnloadLink();
