// SPDX-License-Identifier: GPL-3.0-or-later
#include "views/Cursors.h"

#include "shared/StringRES.h"
#include "shared/ValueText.h"
#include "views/ReadoutText.h"
#include "views/ScreenRenderer.h"

#include <QPainter>
#include <QPainterPath>
#include <cmath>

namespace {

constexpr double kBand = 3; // pixels either side of a line that grab it

bool alternation(const WaveRecord& r) {
    return r.TriggerMode == QLatin1String("ALTERNATION");
}

bool fftView(const WaveRecord& r) {
    return r.FFTDisplay == WordOn && r.ShowMath;
}

// Read-outs always carry a point, whatever the machine's decimal sign.
QString pointed(QString text) {
    return text.replace(QLatin1Char(','), QLatin1Char('.'));
}

// Pixels over the zoom are screen units, 25 to a division (12 divisions in 300
// across, 8 in 200 down, 4 in a half-height area of 100).
double divisions(double pixels, double z) {
    return pixels / z / 25;
}

void xRows(QStringList& rows, double pixels, double timeScale, double z) {
    const double dt = divisions(pixels, z) * timeScale;
    rows << "|X1-X2|   =" + pointed(ConvertTimeToStr(dt));
    rows << "1/|X1-X2|=" +
                (dt != 0 ? pointed(ConvertFreqToStr(1 / dt)) : QStringLiteral("???.? Hz"));
}

void yRow(QStringList& rows, double pixels, double voltScale, double z) {
    const double dv = divisions(pixels, z) * voltScale;
    rows << "|Y1-Y2|  =" + pointed(ConvertVoltToStr(dv));
}

void fftRows(QStringList& rows, const WaveRecord& r, double dx, double dy, double z,
             const CursorSet& set) {
    const SystemData& d = r.SysData;
    rows << QStringLiteral("FFT");
    if (set.CursorXOn) {
        rows << "FFT|X1-X2|   =" +
                    (d.SysFloat56 == 0
                         ? QStringLiteral("????")
                         : pointed(ConvertFreqToStr(divisions(dx, z) * d.SysFloat56)));
    }
    if (set.CursorYOn) {
        const double scale = d.SysInt46;
        QString text = QStringLiteral("????");
        if (scale > 0) {
            const double value = divisions(dy, z) * scale;
            text = d.SysByte38 == 0 ? pointed(NormDB(QString::number(value, 'g', 9)))
                                    : pointed(ConvertVoltToStr(value)) + "rms";
        }
        rows << "FFT|Y1-Y2|  =" + text;
    }
}

} // namespace

double& CursorSet::at(CursorId id) {
    switch (id) {
    case CursorId::X2:
        return CursorX2;
    case CursorId::AltX1:
        return AltCursorX1;
    case CursorId::AltX2:
        return AltCursorX2;
    case CursorId::Y1:
        return CursorY1;
    case CursorId::Y2:
        return CursorY2;
    case CursorId::AltY1:
        return AltCursorY1;
    case CursorId::AltY2:
        return AltCursorY2;
    default:
        return CursorX1;
    }
}

double CursorSet::at(CursorId id) const {
    return const_cast<CursorSet*>(this)->at(id);
}

double ClampCursorX(double x, double z) {
    return std::clamp(x, 27.0, 300 * z + 25 - 2);
}

CursorId CursorAt(const CursorSet& set, QPointF p, double z, bool split) {
    const bool inFrame =
        p.x() >= 25 && p.x() <= 25 + 300 * z && p.y() >= 25 && p.y() <= 25 + 200 * z;
    if (!inFrame) return CursorId::None;
    const bool lower = p.y() > 25 + 100 * z;
    auto near = [&p](double line, bool vertical) {
        return std::abs((vertical ? p.x() : p.y()) - line) <= kBand;
    };
    if (set.CursorXOn) {
        // Under a split screen the first pair lives in the upper area, the second in the lower.
        if (!split || !lower) {
            if (near(set.CursorX1, true)) return CursorId::X1;
            if (near(set.CursorX2, true)) return CursorId::X2;
        }
        if (split && lower) {
            if (near(set.AltCursorX1, true)) return CursorId::AltX1;
            if (near(set.AltCursorX2, true)) return CursorId::AltX2;
        }
    }
    if (set.CursorYOn) {
        if (near(set.CursorY1, false)) return CursorId::Y1;
        if (near(set.CursorY2, false)) return CursorId::Y2;
        if (split) {
            if (near(set.AltCursorY1, false)) return CursorId::AltY1;
            if (near(set.AltCursorY2, false)) return CursorId::AltY2;
        }
    }
    return CursorId::None;
}

void DragCursor(CursorSet& set, CursorId id, QPointF p, double z) {
    if (id == CursorId::None) return;
    const bool vertical =
        id == CursorId::X1 || id == CursorId::X2 || id == CursorId::AltX1 || id == CursorId::AltX2;
    set.at(id) = vertical ? ClampCursorX(p.x(), z) : std::clamp(p.y(), 27.0, 200 * z + 25 - 2);
}

void RescaleCursors(CursorSet& set, double oldZoom, double newZoom) {
    if (oldZoom <= 0 || newZoom <= 0 || oldZoom == newZoom) return;
    for (CursorId id : {CursorId::X1, CursorId::X2, CursorId::AltX1, CursorId::AltX2, CursorId::Y1,
                        CursorId::Y2, CursorId::AltY1, CursorId::AltY2})
        set.at(id) = 25 + (set.at(id) - 25) * newZoom / oldZoom;
    KeepCursorsInFrame(set, newZoom);
}

void KeepCursorsInFrame(CursorSet& set, double z) {
    for (CursorId id : {CursorId::X1, CursorId::X2, CursorId::AltX1, CursorId::AltX2})
        set.at(id) = ClampCursorX(set.at(id), z);
    for (CursorId id : {CursorId::Y1, CursorId::Y2, CursorId::AltY1, CursorId::AltY2})
        set.at(id) = std::clamp(set.at(id), 27.0, 200 * z + 25 - 2);
}

int YReadoutChannel(const WaveRecord& r, const CursorSet& set) {
    return set.YChannel == 1 || set.YChannel == 2 ? set.YChannel : (r.ActiveChannel == 2 ? 2 : 1);
}

QStringList CursorReadouts(const WaveRecord& r, const CursorSet& set, double z) {
    QStringList rows;
    if (!r.Loaded || r.ShowXY) return rows; // X-Y has no read-out
    const double dx = std::abs(set.CursorX1 - set.CursorX2);
    const double dy = std::abs(set.CursorY1 - set.CursorY2);
    const double altDx = std::abs(set.AltCursorX1 - set.AltCursorX2);
    const double altDy = std::abs(set.AltCursorY1 - set.AltCursorY2);
    if (alternation(r)) {
        // Each area with its own channel; half-height areas: 100 rows for 4 divisions.
        if (set.CursorXOn) {
            rows << "CH1";
            xRows(rows, dx, ScreenTime(r.AltTimeScale1), z);
            rows << "CH2";
            xRows(rows, altDx, ScreenTime(r.AltTimeScale2), z);
        }
        if (set.CursorYOn) {
            rows << "CH1";
            yRow(rows, dy, ScreenVolt(r.Ch1Scale), z);
            rows << "CH2";
            yRow(rows, altDy, ScreenVolt(r.Ch2Scale), z);
        }
        return rows;
    }
    const int yChannel = YReadoutChannel(r, set);
    const QString& activeScale = yChannel == 2 ? r.Ch2Scale : r.Ch1Scale;
    if (fftView(r)) {
        // A shared screen keeps the time read-out above and the FFT's below.
        if (r.SplitScreen) {
            if (set.CursorXOn) xRows(rows, dx, ScreenTime(r.TimeScale), z);
            if (set.CursorYOn) yRow(rows, dy, ScreenVolt(activeScale), z);
            fftRows(rows, r, altDx, altDy, z, set);
        } else {
            fftRows(rows, r, dx, dy, z, set);
        }
        return rows;
    }
    if (set.CursorXOn) xRows(rows, dx, ScreenTime(r.TimeScale), z);
    if (set.CursorYOn) {
        yRow(rows, dy, ScreenVolt(activeScale), z);
        // With both channels on the screen, the row names the one it measures.
        if (r.ShowCh1 && r.ShowCh2) rows.last() += yChannel == 2 ? "  CH2" : "  CH1";
    }
    return rows;
}

namespace {

void triangle(QPainter& p, QPointF a, QPointF b, QPointF tip) {
    QPainterPath path;
    path.moveTo(a);
    path.lineTo(b);
    path.lineTo(tip);
    path.closeSubpath();
    p.fillPath(path, p.pen().color());
}

void verticalCursor(QPainter& p, const QPen& dashed, double x, double top, double bottom) {
    p.setPen(dashed);
    p.drawLine(QPointF(x, top + 5), QPointF(x, bottom - 5));
    triangle(p, {x - 4, top}, {x + 4, top}, {x, top + 5});
    triangle(p, {x - 4, bottom}, {x + 4, bottom}, {x, bottom - 5});
}

void horizontalCursor(QPainter& p, const QPen& dashed, double y, double left, double right) {
    p.setPen(dashed);
    p.drawLine(QPointF(left + 5, y), QPointF(right - 5, y));
    triangle(p, {left, y - 4}, {left, y + 4}, {left + 5, y});
    triangle(p, {right, y - 4}, {right, y + 4}, {right - 5, y});
}

} // namespace

void DisplayCursorM(QPainter& p, const WaveRecord& r, const CursorSet& set, double z) {
    if (r.ShowXY && r.Loaded) return; // X-Y hides the cursors
    const bool colour = r.ColorDisplay;
    const QColor lineColour = colour ? QColor(230, 200, 150) : QColor(Qt::black);
    QPen dashed(lineColour, 1, Qt::DashDotDotLine);
    p.save();
    p.setRenderHint(QPainter::Antialiasing, false);
    const double left = 25, right = 25 + 300 * z, top = 25, bottom = 25 + 200 * z;
    const double middle = 25 + 100 * z;
    const bool split = r.SplitScreen;
    if (set.CursorXOn) {
        const double xBottom = split ? middle : bottom;
        verticalCursor(p, dashed, ClampCursorX(set.CursorX1, z), top, xBottom);
        verticalCursor(p, dashed, ClampCursorX(set.CursorX2, z), top, xBottom);
        if (split) {
            verticalCursor(p, dashed, ClampCursorX(set.AltCursorX1, z), middle, bottom);
            verticalCursor(p, dashed, ClampCursorX(set.AltCursorX2, z), middle, bottom);
        }
    }
    if (set.CursorYOn) {
        horizontalCursor(p, dashed, set.CursorY1, left, right);
        horizontalCursor(p, dashed, set.CursorY2, left, right);
        if (split) {
            horizontalCursor(p, dashed, set.AltCursorY1, left, right);
            horizontalCursor(p, dashed, set.AltCursorY2, left, right);
        }
    }
    p.setPen(colour ? QColor(0, 255, 255) : QColor(192, 192, 192));
    QFont font = p.font();
    font.setPixelSize(11);
    p.setFont(font);
    const double x = 300 * z + 25 - 140;
    double y = 25;
    for (const QString& row : CursorReadouts(r, set, z)) {
        p.drawText(QPointF(x, y + p.fontMetrics().ascent()), row);
        y += 20;
    }
    p.restore();
}
