// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// The measuring cursors of a screen view: two vertical (X) and two
// horizontal (Y) lines, and a second pair of each for the lower area of a
// split screen; the pointer's hit test, the drag, the drawing over a screen
// picture, and the read-out texts they give on a WaveRecord.
#include "sheet/SheetRecords.h"

#include <QPointF>
#include <QStringList>
#include <array>

class QPainter;

enum class CursorId { None = -1, X1, X2, AltX1, AltX2, Y1, Y2, AltY1, AltY2 };

struct CursorSet {
    // Pixels of the picture, from its corner (the start values of a new window).
    double CursorX1 = 52, CursorX2 = 297, AltCursorX1 = 79, AltCursorX2 = 270;
    double CursorY1 = 59, CursorY2 = 259, AltCursorY1 = 162.5, AltCursorY2 = 254;
    bool CursorXOn = false, CursorYOn = false;
    CursorId dragging = CursorId::None;
    // The channel the Y read-out measures: 0 the record's active channel (the
    // last one fetched), 1 or 2 the user's choice.
    int YChannel = 0;

    double& at(CursorId id);
    double at(CursorId id) const;
};

// The cursor under the pointer (within 3 pixels, inside the frame), in the
// order X1, X2, the second-area X pair, Y1, Y2, the second-area Y pair.
CursorId CursorAt(const CursorSet& set, QPointF pointer, double z, bool split);
// A drag step: the cursor takes the pointer's coordinate, held inside the frame.
void DragCursor(CursorSet& set, CursorId id, QPointF pointer, double z);
// The positions move with a new zoom, so what they measure stays; every
// cursor stays inside the frame, where it can be seen and grabbed.
void RescaleCursors(CursorSet& set, double oldZoom, double newZoom);
void KeepCursorsInFrame(CursorSet& set, double z);
// The channel the Y read-out measures for a record.
int YReadoutChannel(const WaveRecord& rec, const CursorSet& set);
// Where an X cursor is drawn: held between 27 and 300z + 23.
double ClampCursorX(double x, double z);

// The read-out rows for the record (Y-T, alternate trigger, FFT).
QStringList CursorReadouts(const WaveRecord& rec, const CursorSet& set, double z);
// The cursors and their read-outs over a picture of the screen.
void DisplayCursorM(QPainter& painter, const WaveRecord& rec, const CursorSet& set, double z);
