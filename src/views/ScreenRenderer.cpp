// SPDX-License-Identifier: GPL-3.0-or-later
#include "views/ScreenRenderer.h"

#include "shared/StringRES.h"
#include "shared/ValueText.h"
#include "views/ReadoutText.h"

#include <QFont>
#include <QFontMetrics>
#include <QPainter>
#include <algorithm>
#include <cmath>
#include <vector>

namespace {

constexpr double kEps = 1e-9;

// Rounds to the nearest, halves to even.
double roundEven(double v) {
    return std::nearbyint(v);
}

bool isOn(const QString& word) {
    return word == WordOn;
}

bool alternation(const WaveRecord& r) {
    return r.TriggerMode == QLatin1String("ALTERNATION");
}

bool fftShares(const WaveRecord& r) {
    return isOn(r.FFTDisplay) && r.SysData.FFTFullScreen == 0;
}

const QFont& screenFont(bool bold) {
    static const QFont fonts[2] = {[] {
                                       QFont f(QStringLiteral("DejaVu Sans Mono"));
                                       f.setStyleHint(QFont::Monospace);
                                       f.setPixelSize(11);
                                       return f;
                                   }(),
                                   [] {
                                       QFont f(QStringLiteral("DejaVu Sans Mono"));
                                       f.setStyleHint(QFont::Monospace);
                                       f.setPixelSize(11);
                                       f.setBold(true);
                                       return f;
                                   }()};
    return fonts[bold ? 1 : 0];
}

// ---- the grid -----------------------------------------------------------------------

// Dots along a row at y, for k = 0 to `span` step `step`, at x = k + 25.
void rowDots(std::vector<QPointF>& dots, double y, double span, double step) {
    if (step <= 0) return;
    for (double k = 0; k <= span + kEps; k += step)
        dots.emplace_back(k + kMargin, y);
}

void columnDots(std::vector<QPointF>& dots, double x, double span, double step) {
    if (step <= 0) return;
    for (double k = 0; k <= span + kEps; k += step)
        dots.emplace_back(x, k + kMargin);
}

// The pitch lines are doubled up when zoomed: t runs 1.0 up to z in tenths.
template <typename Fn> void forEachT(double z, Fn fn) {
    for (int n = 0;; ++n) {
        const double t = 1.0 + 0.1 * n;
        if (t > z + kEps) break;
        fn(t);
    }
}

void drawTicks(std::vector<QPointF>& dots, double z, bool split) {
    const double h = split ? 6.25 : 5.0;
    const double W = 300 * z, H = 200 * z;
    forEachT(z, [&](double t) {
        rowDots(dots, 25 + t, W, 5 * z);
        rowDots(dots, 25 + 2 * t, W, 25 * z);
        rowDots(dots, 25 + 100 * z - t, W, 5 * z);
        rowDots(dots, 25 + 100 * z - 2 * t, W, 25 * z);
        rowDots(dots, 25 + 100 * z + t, W, 5 * z);
        rowDots(dots, 25 + 100 * z + 2 * t, W, 25 * z);
        rowDots(dots, 25 + H - 2 * t, W, 5 * z);
        rowDots(dots, 25 + H - 3 * t, W, 25 * z);
        columnDots(dots, 25 + t, H, h * z);
        columnDots(dots, 25 + 2 * t, H, 25 * z);
        columnDots(dots, 25 + 150 * z - t, H, h * z);
        columnDots(dots, 25 + 150 * z - 2 * t, H, 25 * z);
        columnDots(dots, 25 + 150 * z + t, H, h * z);
        columnDots(dots, 25 + 150 * z + 2 * t, H, 25 * z);
        columnDots(dots, 25 + W - 2 * t, H, h * z);
        columnDots(dots, 25 + W - 3 * t, H, 25 * z);
    });
}

void drawGridDots(std::vector<QPointF>& dots, double z, bool split) {
    const double W = 300 * z, H = 200 * z;
    if (!split) {
        for (double y = 25; y <= 25 + H + kEps; y += 25 * z)
            rowDots(dots, y, W, 5 * z);
        for (double x = 25; x <= 25 + W + kEps; x += 25 * z)
            columnDots(dots, x, H, 5 * z);
        return;
    }
    forEachT(z, [&](double t) {
        rowDots(dots, 25 + 50 * z - t, W, 5 * z);
        rowDots(dots, 25 + 150 * z + t, W, 5 * z);
    });
    for (double y = 25; y <= 25 + H + kEps; y += 12.5 * z)
        rowDots(dots, y, W, 5 * z);
    for (double x = 25; x <= 25 + W + kEps; x += 25 * z)
        columnDots(dots, x, H, 6.25 * z);
}

// ---- the traces -----------------------------------------------------------------------

// A row mapping: sample value to pixel row.
struct RowMap {
    double scale = 1; // 1 or 0.5 (half-height areas)
    double base = kMargin;
    double bias = 0;
    double cap = 1e9; // the value is held at this when it comes out higher
    double operator()(double v, double z) const {
        return std::min(v + bias, cap) * scale * z + base;
    }
};

// One trace by the column walk; samples past the array end the walk.
void walkTrace(Surface& s, const SampleArray& v, int first, int last, int startIndex, double dx,
               double z, const RowMap& map) {
    if (startIndex < 1 || startIndex > SampleArray::upper() || dx <= 0) return;
    const double x0 = roundEven(first * z) + kMargin;
    s.line(x0, map(v[startIndex - 1], z), x0, map(v[startIndex], z));
    for (const WalkPoint& p : TraceWalk(first, last, z, dx, startIndex, SampleArray::upper()))
        s.lineTo(p.x, map(v[p.index], z));
}

void drawChannelTrace(Surface& s, const WaveRecord& r, int channel, double z) {
    if (r.PointCount <= 0) return;
    const SampleArray& v = channel == 1 ? r.Ch1Samples : r.Ch2Samples;
    const SystemData& d = r.SysData;
    int first = d.DrawStart, last = d.DrawEnd;
    RowMap map;
    if (!alternation(r)) {
        if (fftShares(r)) map.scale = 0.5;
    } else {
        first = channel == 1 ? d.AltStart1 : d.AltStart2;
        last = channel == 1 ? d.AltEnd1 : d.AltEnd2;
        map.scale = 0.5;
        map.base = channel == 1 ? kMargin : kMargin + 100 * z;
    }
    walkTrace(s, v, first, last, first * 2 + 2, 300.0 / r.PointCount, z, map);
}

void drawMathTrace(Surface& s, const WaveRecord& r, double z) {
    if (r.PointCount <= 0) return;
    const SystemData& d = r.SysData;
    walkTrace(s, r.MathSamples, d.DrawStart, d.DrawEnd, d.DrawStart * 2 + 2, 300.0 / r.PointCount,
              z, RowMap());
}

int fftSpan(int code) {
    switch (code) {
    case 1:
        return 5000;
    case 2:
        return 2500;
    case 3:
        return 1000;
    case 5:
        return 250;
    case 6:
        return 100;
    case 7:
        return 25;
    default:
        return 500;
    }
}

void drawFFTTrace(Surface& s, const WaveRecord& r, double z, bool digitalModel) {
    const SystemData& d = r.SysData;
    const double bias = digitalModel ? 0 : 12.5;
    const int span = fftSpan(d.SysInt60);
    const int P = d.SysInt68;
    if (P >= (span + 300) / 2.0) return;
    const int a = std::max(0, 150 - P);
    const int e = std::min(299, static_cast<int>(roundEven(150 - P + span / 2.0)));
    const int firstIndex = std::max(2, 2 * P - 298);
    RowMap map;
    if (d.FFTFullScreen == 0) {
        map.base = alternation(r) && d.SysByte35 == 0 ? 100 * z + kMargin : kMargin;
        map.bias = bias;
        map.cap = 100;
    }
    walkTrace(s, r.FFTSamples, a, e, firstIndex, 0.5, z, map);
}

// ---- the markers and labels -------------------------------------------------------------

void drawFlag(Surface& s, double y0, const QString& letter, double letterX, double letterY) {
    s.line(6, y0, 19, y0);
    s.lineTo(23, y0 + 5);
    s.lineTo(19, y0 + 10);
    s.lineTo(6, y0 + 10);
    s.lineTo(6, y0);
    s.setBold(false);
    s.text(letterX, letterY, letter);
}

// The ground row of a channel, from its offset and scale texts.
double groundRow(const QString& offsetText, const QString& scaleText) {
    const double offset = ScreenVolt(offsetText);
    const double scale = ScreenVolt(scaleText);
    if (scale == 0) return 100; // no scale to divide by: the centre line
    return -offset / scale * 25 + 100;
}

void drawChannelMarker(Surface& s, const WaveRecord& r, int channel, double z) {
    const int areas = alternation(r) || fftShares(r) ? 2 : 1;
    const QString digit = QString::number(channel);
    double g =
        channel == 1 ? groundRow(r.Ch1Offset, r.Ch1Scale) : groundRow(r.Ch2Offset, r.Ch2Scale);
    const double bottom = areas == 2 ? 100 : 200;
    if (g >= 200 || g <= 0) {
        // Off the screen: an arrow at the frame's edge, not scaled.
        s.setBold(false);
        if (g <= 0) {
            const double y0 = 0 * z + kMargin + 13 + 2;
            s.line(12, y0, 22, y0);
            s.lineTo(22, y0 - 13);
            s.lineTo(17, y0 - 17);
            s.lineTo(12, y0 - 13);
            s.lineTo(12, y0);
            s.text(14, y0 - 13, digit);
        } else {
            const double y0 = bottom * z + kMargin - 15;
            s.line(12, y0, 22, y0);
            s.lineTo(22, y0 + 13);
            s.lineTo(17, y0 + 17);
            s.lineTo(12, y0 + 13);
            s.lineTo(12, y0);
            s.text(14, y0 + 2, digit);
        }
    } else {
        if (areas == 2) g /= 2;
        double y0 = g * z + kMargin - 5;
        if (channel == 2 && alternation(r)) y0 = g * z + roundEven(100 * z) + kMargin - 5;
        drawFlag(s, y0, digit, 10, y0 - 1);
    }
    s.setBold(true);
    const double row = roundEven(203 * z + kMargin);
    if (channel == 1)
        s.text(kMargin, row, "CH1 " + r.Ch1Scale);
    else
        s.text(roundEven(75 * z + kMargin), row, "CH2 " + r.Ch2Scale);
}

void drawMathLabel(Surface& s, const WaveRecord& r, double z) {
    const SystemData& d = r.SysData;
    const bool fft = isOn(r.FFTDisplay);
    double g = 200.0 / 2 - (fft ? d.SysInt52 : d.SysInt24);
    if (g > 0 && g < 200) {
        if (fftShares(r) || alternation(r)) g /= 2;
        const double y0 = g * z + kMargin - 5;
        drawFlag(s, y0, QStringLiteral("m"), 9, y0 - 3);
    }
    s.setBold(true);
    QString label;
    if (d.SysByte16 == 3) {
        label = "FFT ";
        if (d.SysByte38 != 0)
            label += "Vrms/div " + NormDB(QString::number(d.SysInt46));
        else
            label += "rms/div  " + NormVolt(QString::number(d.SysFloat40, 'g', 9));
        label += " " + NormFreq(QString::number(d.SysFloat56, 'g', 9)) + "/div";
    } else {
        label = "Math scale " + NormVolt(QString::number(d.SysFloat20, 'g', 9));
        if (d.SysByte16 == 2) label += "2";
    }
    s.text(kMargin, roundEven(214 * z + kMargin), label);
}

bool laEnabled(const SystemData& d, int n) {
    return (static_cast<std::uint16_t>(d.LAEnableMask) >> n) & 1u;
}

double laBase(const WaveRecord& r, double z) {
    return fftShares(r) ? kMargin - 100 * z : kMargin;
}

void drawLALabels(Surface& s, const WaveRecord& r, double z, bool colour) {
    const SystemData& d = r.SysData;
    const double base = laBase(r, z);
    auto top = [&](int n) {
        return (d.LAPosition[static_cast<std::size_t>(n)] - 25) * z + base - 12;
    };
    // Lanes closer than a line of text keep the first name drawn in their
    // place (the active channel's first), so no two names write over each
    // other at any lane height.
    const double line = s.painter().fontMetrics().height() - 2;
    std::vector<double> taken;
    auto label = [&](int n) {
        const double y = top(n);
        for (double t : taken)
            if (std::abs(t - y) < line) return;
        taken.push_back(y);
        // One text: the screen font is wider than the instrument's, whose
        // digits stood at 12 and 17.
        s.text(5, y, "D" + QString::number(n));
    };
    s.setBold(false);
    if (d.LAActiveChannel < 16 && laEnabled(d, d.LAActiveChannel)) {
        s.setFore(colour ? ColorLAActive : Qt::black);
        label(d.LAActiveChannel);
    }
    s.setFore(colour ? ColorLA : Qt::black);
    for (int n = 15; n >= 0; --n)
        if (n != d.LAActiveChannel && laEnabled(d, n)) label(n);
}

void drawLALanes(Surface& s, const WaveRecord& r, double z, bool colour) {
    const SystemData& d = r.SysData;
    // Two bytes a column, low byte first, from the first drawn column on.
    std::array<std::uint16_t, 602> words{};
    int column = d.DrawStart * 2 + 2;
    for (int i = d.DrawStart * 4 + 1; i <= 1200 - 1 && column <= 600; i += 2, ++column) {
        if (i < 1) continue;
        words[static_cast<std::size_t>(column)] =
            static_cast<std::uint16_t>(r.LASamples[i + 1] * 256 + r.LASamples[i]);
    }
    const double base = laBase(r, z);
    const double x0 = roundEven(d.DrawStart * z) + kMargin;
    const int startIndex = d.DrawStart * 2 + 2;
    if (startIndex < 1 || startIndex > 600) return;
    const auto walk = TraceWalk(d.DrawStart, d.DrawEnd, z, 0.5, startIndex, 600);
    auto lane = [&](int n) {
        const int height = n >= 8 ? d.LAHeightHigh : d.LAHeightLow;
        const double y0 = roundEven((d.LAPosition[static_cast<std::size_t>(n)] - 25) * z) + base;
        auto level = [&](int index) {
            return ((words[static_cast<std::size_t>(index)] >> n) & 1u) ? y0 - height : y0;
        };
        double previous = level(startIndex);
        s.pset(x0, previous);
        for (const WalkPoint& p : walk) {
            const double now = level(p.index);
            s.lineTo(p.x, previous);
            if (now != previous) s.lineTo(p.x, now);
            previous = now;
        }
    };
    s.setFore(colour ? ColorLA : Qt::black);
    for (int n = 0; n < 16; ++n)
        if (n != d.LAActiveChannel && laEnabled(d, n)) lane(n);
    if (d.LAActiveChannel < 16 && laEnabled(d, d.LAActiveChannel)) {
        s.setFore(colour ? ColorLAActive : Qt::black);
        lane(d.LAActiveChannel);
    }
}

// The trigger's flag in an area whose top is at `top` (pixels).
void drawTriggerFlags(Surface& s, double c, double z, double top) {
    const double xt = 150 * z + kMargin - 4;
    s.line(xt, top + 1, xt + 8, top + 1);
    s.lineTo(xt + 4, top + 5);
    s.lineTo(xt, top + 1);
    if (c > 3 && c < 296) {
        const double x = c * z + kMargin - 4;
        s.line(x, top + 5, x + 12, top + 5);
        s.lineTo(x + 16, top + 10);
        s.lineTo(x + 12, top + 15);
        s.lineTo(x, top + 15);
        s.lineTo(x, top + 5);
        s.text(x + 3, top + 6, QStringLiteral("T"));
    } else if (c <= 3) {
        s.line(42, top + 5, 30, top + 5);
        s.lineTo(26, top + 10);
        s.lineTo(30, top + 15);
        s.lineTo(42, top + 15);
        s.lineTo(42, top + 5);
        s.text(33, top + 5, QStringLiteral("T"));
    } else {
        const double x = 300 * z + 8;
        s.line(x, top + 5, x + 12, top + 5);
        s.lineTo(x + 16, top + 10);
        s.lineTo(x + 12, top + 15);
        s.lineTo(x, top + 15);
        s.lineTo(x, top + 5);
        s.text(x + 2, top + 6, QStringLiteral("T"));
    }
}

double triggerColumn(const QString& offsetText, const QString& scaleText) {
    const double scale = ScreenTime(scaleText);
    if (scale == 0) return 150;
    return -ScreenTime(offsetText) / scale * 25 + 150;
}

// Where the time scale text goes: its own column, or behind the CH2 text
// when that reaches further (the screen font is wider than the instrument's).
double timeScaleColumn(Surface& s, const WaveRecord& r, double z, double column) {
    double x = roundEven(column * z + kMargin);
    if (r.ShowCh2) {
        s.setBold(true);
        x = std::max(x, roundEven(75 * z + kMargin) + s.textWidth("CH2 " + r.Ch2Scale) + 8);
    }
    s.setBold(false);
    return x;
}

void drawTimeBaseText(Surface& s, const WaveRecord& r, double z, bool colour) {
    s.setFore(colour ? ColorMarker : Qt::black);
    drawTriggerFlags(s, triggerColumn(r.TimeOffset, r.TimeScale), z, kMargin);
    const double row = roundEven(203 * z + kMargin);
    const double scaleX = timeScaleColumn(s, r, z, 85);
    s.text(std::max(roundEven(150 * z + kMargin), scaleX + s.textWidth(r.TimeScale) + 8), row,
           "Delay:" + r.TimeOffset);
    s.text(scaleX, row, r.TimeScale);
}

void drawAltTimeBaseText(Surface& s, const WaveRecord& r, double z, bool colour) {
    const double row = roundEven(203 * z + kMargin);
    // Each text at its column, or behind the one before when that reaches further.
    const double scale1X = timeScaleColumn(s, r, z, 85);
    const QString delay1 = "Delay1: " + r.AltTimeOffset1;
    const double delay1X =
        std::max(roundEven(150 * z + kMargin), scale1X + s.textWidth(r.AltTimeScale1) + 8);
    const double scale2X =
        std::max(roundEven(185 * z + kMargin), delay1X + s.textWidth(delay1) + 8);
    const double delay2X =
        std::max(roundEven(230 * z + kMargin), scale2X + s.textWidth(r.AltTimeScale2) + 8);
    s.setFore(colour ? ColorCh1 : Qt::black);
    drawTriggerFlags(s, triggerColumn(r.AltTimeOffset1, r.AltTimeScale1), z, kMargin);
    s.text(scale1X, row, r.AltTimeScale1);
    s.text(delay1X, row, delay1);
    s.setFore(colour ? ColorCh2 : Qt::black);
    drawTriggerFlags(s, triggerColumn(r.AltTimeOffset2, r.AltTimeScale2), z, kMargin + 100 * z);
    s.text(scale2X, row, r.AltTimeScale2);
    s.text(delay2X, row, "Delay2: " + r.AltTimeOffset2);
}

void drawXY(Surface& s, const WaveRecord& r, double z, bool colour) {
    s.setFore(colour ? QColor(0, 255, 0) : Qt::black);
    s.setWidth(2);
    std::vector<QPointF> points;
    for (int i = 1; i <= r.PointCount && i <= SampleArray::upper(); ++i)
        points.emplace_back((250 - r.Ch1Samples[i]) * z + kMargin, r.Ch2Samples[i] * z + kMargin);
    s.flush();
    s.painter().drawPoints(points.data(), static_cast<int>(points.size()));
    s.setWidth(1);
    s.setBold(true);
    s.text(roundEven(110 * z + kMargin), 10, QStringLiteral("X-Y Mode"));
    const double row = roundEven(204 * z + kMargin);
    s.setFore(colour ? ColorCh1 : Qt::black);
    s.text(kMargin, row, "CH1 " + r.Ch1Scale);
    s.setFore(colour ? ColorCh2 : Qt::black);
    s.text(roundEven(75 * z + kMargin), row, "CH2 " + r.Ch2Scale);
}

} // namespace

// ---- Surface ---------------------------------------------------------------------------

Surface::Surface(QPainter& painter) : p_(painter) {
    p_.setRenderHint(QPainter::Antialiasing, false);
    p_.setFont(screenFont(false));
    applyPen();
}

Surface::~Surface() {
    flush();
}

// Lines that continue from the current point are drawn as one polyline.
void Surface::flush() {
    if (path_.size() >= 2) p_.drawPolyline(path_.data(), static_cast<int>(path_.size()));
    path_.clear();
}

void Surface::applyPen() {
    flush();
    QPen pen(fore_);
    pen.setWidth(width_);
    pen.setCapStyle(Qt::SquareCap);
    p_.setPen(pen);
}

void Surface::setFore(const QColor& color) {
    fore_ = color;
    applyPen();
}

void Surface::setWidth(int width) {
    width_ = width;
    applyPen();
}

void Surface::setBold(bool bold) {
    p_.setFont(screenFont(bold));
}

void Surface::line(double x1, double y1, double x2, double y2) {
    if (path_.empty() || x1 != cx_ || y1 != cy_) {
        flush();
        path_.emplace_back(x1, y1);
    }
    path_.emplace_back(x2, y2);
    cx_ = x2;
    cy_ = y2;
}

void Surface::lineTo(double x, double y) {
    line(cx_, cy_, x, y);
}

void Surface::pset(double x, double y) {
    flush();
    p_.drawPoint(QPointF(x, y));
    cx_ = x;
    cy_ = y;
}

int Surface::textWidth(const QString& text) const {
    return p_.fontMetrics().horizontalAdvance(text);
}

void Surface::text(double x, double y, const QString& text) {
    flush();
    p_.drawText(QPointF(roundEven(x), roundEven(y) + p_.fontMetrics().ascent()), text);
}

// ---- shared helpers ----------------------------------------------------------------------

QSize ScreenPictureSize(double z) {
    return QSize(static_cast<int>(std::lround(350 * z)), static_cast<int>(std::lround(250 * z)));
}

namespace {
QString pointed(QString text) {
    return text.replace(QLatin1Char(','), QLatin1Char('.'));
}
} // namespace

double ScreenVolt(const QString& text) {
    return ParseVoltText(pointed(text));
}

double ScreenTime(const QString& text) {
    return GetTimeVlu(pointed(text));
}

std::vector<WalkPoint> TraceWalk(int first, int last, double z, double dx, int startIndex,
                                 int maxIndex) {
    std::vector<WalkPoint> points;
    const double x0 = roundEven(first * z) + kMargin;
    const double end = (last + 1) * z + kMargin - 1;
    const double step = dx * z;
    if (step <= 0) return points;
    int i = startIndex;
    for (double x = x0 + z; x <= end + kEps; x += step) {
        ++i;
        if (i > maxIndex) break;
        const float single = static_cast<float>(x - 0.1);
        points.push_back({roundEven(single), i});
    }
    return points;
}

namespace {
// The spectrum computed on the PC: the loudest bin of each column, 10 dB a
// division from +20 dBVrms at the top (or linear up to the largest value).
void drawLocalSpectrum(Surface& s, const WaveRecord& r, double z, bool colour) {
    const std::vector<double>& v = r.Spectrum;
    if (v.empty()) return;
    const bool decibels = r.SpectrumScale == 0;
    double top = 0;
    if (!decibels)
        for (double x : v)
            top = std::max(top, x);
    auto row = [&](double value) {
        const double rows =
            decibels ? (20 - value) * 25 / 10 : 200 - (top > 0 ? value / top : 0) * 200;
        return std::clamp(rows, 0.0, 200.0) * z + kMargin;
    };
    s.setFore(colour ? ColorMath : Qt::black);
    const std::size_t n = v.size();
    for (int c = 0; c < 300; ++c) {
        const std::size_t from = n * static_cast<std::size_t>(c) / 300;
        const std::size_t to = std::max(from + 1, n * static_cast<std::size_t>(c + 1) / 300);
        double peak = v[from];
        for (std::size_t k = from; k < to && k < n; ++k)
            peak = std::max(peak, v[k]);
        const double x = c * z + kMargin;
        if (c == 0)
            s.line(x, row(peak), x, row(peak));
        else
            s.lineTo(x, row(peak));
    }
    s.setBold(false);
    s.text(roundEven(175 * z + kMargin), roundEven(214 * z + kMargin),
           "FFT " + r.SpectrumSource + (decibels ? " 10dB/div" : " Vrms"));
}
} // namespace

// ---- the entry points -------------------------------------------------------------------

void DrawScrGrid(QPainter& painter, const WaveRecord& rec, double z, QSize size) {
    DrawScreenGrid(painter, ScreenStyle{rec.ColorDisplay, rec.GridOn, rec.SplitScreen}, z, size);
}

void DrawScreenGrid(QPainter& painter, const ScreenStyle& style, double z, QSize size) {
    const bool colour = style.colour;
    painter.fillRect(QRect(QPoint(0, 0), size), colour ? Qt::black : Qt::white);
    Surface s(painter);
    s.setFore(colour ? ColorGridLight : Qt::black);
    s.setWidth(2);
    const double W = 300 * z, H = 200 * z;
    s.line(25, 25, 25 + W, 25);
    s.line(25, 25, 25, 25 + H);
    s.lineTo(25 + W, 25 + H);
    s.lineTo(25 + W, 25);
    s.setWidth(1);
    s.line(25, 25 + 100 * z, 25 + W, 25 + 100 * z);
    s.line(25 + 150 * z, 25, 25 + 150 * z, 25 + H);
    s.flush();
    std::vector<QPointF> dots;
    dots.reserve(static_cast<std::size_t>(4000 * z * z + 4000));
    drawTicks(dots, z, style.split);
    if (style.grid) drawGridDots(dots, z, style.split);
    painter.drawPoints(dots.data(), static_cast<int>(dots.size()));
    s.setFore(colour ? ColorMarker : Qt::black);
    s.setBold(true);
    s.text(25, 10, QStringLiteral("VEXOR"));
    s.setBold(false);
}

void DrawOSC(QPainter& painter, const WaveRecord& r, double z, bool digitalModel) {
    if (!r.Loaded) return;
    Surface s(painter);
    const bool colour = r.ColorDisplay;
    if (!r.ShowYT && !r.ShowRoll) {
        if (r.ShowXY) drawXY(s, r, z, colour);
        return;
    }
    // In black and white a roll screen draws a trace whatever its on-flag says.
    const bool roll = !colour && r.ShowRoll;
    const SystemData& d = r.SysData;
    if (r.ShowCh1) {
        s.setFore(colour ? ColorCh1 : Qt::black);
        drawChannelMarker(s, r, 1, z);
        if (d.Ch1On == 1 || roll) drawChannelTrace(s, r, 1, z);
    }
    if (r.ShowCh2) {
        s.setFore(colour ? ColorCh2 : Qt::black);
        drawChannelMarker(s, r, 2, z);
        if (d.Ch2On == 1 || roll) drawChannelTrace(s, r, 2, z);
    }
    if (r.ShowMath) {
        s.setFore(colour ? ColorMath : Qt::black);
        drawMathLabel(s, r, z);
        if (!isOn(r.FFTDisplay)) {
            if (d.MathOn == 1 || roll) drawMathTrace(s, r, z);
        } else if (d.FFTOn == 1 || roll) {
            drawFFTTrace(s, r, z, digitalModel);
        }
    }
    if (r.ShowLA) {
        drawLALabels(s, r, z, colour);
        if (d.LAOn == 1 || roll) drawLALanes(s, r, z, colour);
    }
    if (alternation(r))
        drawAltTimeBaseText(s, r, z, colour);
    else
        drawTimeBaseText(s, r, z, colour);
    if (r.LocalFFT) drawLocalSpectrum(s, r, z, colour);
}

QImage RenderScreen(const WaveRecord& rec, double z, bool digitalModel) {
    QImage image(ScreenPictureSize(z), QImage::Format_RGB32);
    QPainter painter(&image);
    DrawScrGrid(painter, rec, z, image.size());
    DrawOSC(painter, rec, z, digitalModel);
    return image;
}
