// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// The instrument's screen drawn from one WaveRecord: background, frame, ticks,
// grid and logo (DrawScrGrid), then traces, markers, lanes and texts
// (DrawOSC). Free functions over a QPainter, with the zoom as a parameter, so
// every view that shows a screen (the waveform window, replay, the memory
// viewer) draws it the same way. Nothing here talks to the instrument.
#include "sheet/SheetRecords.h"

#include <QColor>
#include <QImage>
#include <QPointF>
#include <QString>
#include <vector>

class QPainter;

inline const QColor ColorCh1(255, 255, 0);
inline const QColor ColorCh2(0, 255, 255);
inline const QColor ColorMath(128, 0, 255);
inline const QColor ColorLA(0, 255, 0);
inline const QColor ColorLAActive(255, 0, 0);
inline const QColor ColorMarker(255, 128, 0);
inline const QColor ColorGridLight(192, 192, 192);

constexpr double kMargin = 25; // pixels around the frame, never scaled

// The picture for zoom z: 350z x 250z pixels.
QSize ScreenPictureSize(double z);

// The VB-style drawing state the renderer works with: a fore colour, a pen
// width, bold text, and the current point that Line and PSet move.
class Surface {
public:
    explicit Surface(QPainter& painter);
    ~Surface();
    Surface(const Surface&) = delete;
    Surface& operator=(const Surface&) = delete;
    void setFore(const QColor& color);
    QColor fore() const { return fore_; }
    void setWidth(int width);
    void setBold(bool bold);
    void line(double x1, double y1, double x2, double y2); // ends at (x2, y2)
    void lineTo(double x, double y);                       // from the current point
    void pset(double x, double y);
    void text(double x, double y, const QString& text); // top-left at (x, y)
    int textWidth(const QString& text) const;
    QPainter& painter() { return p_; }
    void flush(); // draws the lines gathered so far

private:
    void applyPen();
    std::vector<QPointF> path_;
    QPainter& p_;
    QColor fore_ = Qt::black;
    int width_ = 1;
    double cx_ = 0, cy_ = 0;
};

// Parse the record's display texts whatever the decimal sign they were made with.
double ScreenVolt(const QString& text);
double ScreenTime(const QString& text);

// How a screen looks: colour or black on white, grid dots, two areas.
struct ScreenStyle {
    bool colour = true;
    bool grid = true;
    bool split = false;
};
void DrawScreenGrid(QPainter& painter, const ScreenStyle& style, double z, QSize size);

// Background, frame, ticks, grid and logo. `split` and the colours come from
// the record; the whole picture of `size` is cleared.
void DrawScrGrid(QPainter& painter, const WaveRecord& rec, double z, QSize size);
// Traces and texts; nothing unless the record is Loaded. `digitalModel` is
// the link's current model kind (the FFT bias reads it, not the record).
void DrawOSC(QPainter& painter, const WaveRecord& rec, double z, bool digitalModel);

// The two above into a fresh picture of ScreenPictureSize(z).
QImage RenderScreen(const WaveRecord& rec, double z, bool digitalModel);

// The walk that turns samples into a polyline: from column `first` to column
// `last` with `step` samples a column-step, starting at sample index
// first * 2 + 2 (and first * 2 + 1 for the initial vertical). Exposed so the
// column a sample lands in can be tested on its own.
struct WalkPoint {
    double x;
    int index;
};
std::vector<WalkPoint> TraceWalk(int first, int last, double z, double dx, int startIndex,
                                 int maxIndex);
