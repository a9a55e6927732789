// SPDX-License-Identifier: GPL-3.0-or-later
#include "views/AnalyserPlot.h"

#include "shared/Picture.h"

#include <QMouseEvent>
#include <QPainter>
#include <QWheelEvent>
#include <cmath>

namespace {
constexpr int kLevelDivisions = 8;
constexpr double kDbPerDivision = 10;
const QColor kTrace(255, 200, 40), kGrid(70, 70, 70), kText(200, 200, 200), kMarker(80, 220, 255),
    kHarmonic(255, 120, 200), kSecond(120, 255, 120);
} // namespace

AnalyserPlot::AnalyserPlot(QWidget* parent) : QWidget(parent) {
    setObjectName("AnalyserPlot");
    setMinimumSize(320, 180);
}

void AnalyserPlot::setSpectrum(const Spectrum& s) {
    const bool same =
        !spectrum_.empty() && s.sampleRate == spectrum_.sampleRate && s.length == spectrum_.length;
    spectrum_ = s;
    peak_ = FindPeak(s);
    harmonics_ = Harmonics(s, peak_);
    if (!same) view_ = OpeningView(s, peak_);
    if (marker_.valid()) placeMarker(marker_.frequency);
    update();
}

void AnalyserPlot::setView(const SpectrumView& v) {
    view_ = v;
    update();
}

void AnalyserPlot::resetView() {
    setView(FullView(spectrum_));
}

void AnalyserPlot::placeMarker(double hz) {
    const int half = LobeHalfWidth(spectrum_.window);
    marker_ = FindPeak(spectrum_, hz - half * spectrum_.binHz, hz + half * spectrum_.binHz);
    update();
}

void AnalyserPlot::clearMarker() {
    marker_ = Tone();
    update();
}

QString AnalyserPlot::readout() const {
    if (!peak_.valid()) return QString();
    const double f1 = MarkerFrequency(spectrum_, peak_);
    QString text = "M1 " + FrequencyText(f1) + " " + LevelText(peak_.dbv());
    if (marker_.valid())
        text += "   M2 " + FrequencyText(MarkerFrequency(spectrum_, marker_)) + " " +
                LevelText(marker_.dbv()) + QString::fromUtf8("   Δ ") +
                FrequencyText(MarkerFrequency(spectrum_, marker_) - f1) + " " +
                ShownForm(QString::number(marker_.dbv() - peak_.dbv(), 'f', 2)) + "dB";
    return text;
}

QRect AnalyserPlot::plotArea() const {
    // Kept for the size: measuring the label text on every call cost more
    // than the whole trace.
    if (areaFor_ != size()) {
        const QFontMetrics fm = fontMetrics();
        const int text = fm.height(), labels = fm.horizontalAdvance("-200dBV");
        area_ = QRect(8 + labels, text + 8, std::max(10, width() - labels - 24),
                      std::max(10, height() - 3 * text - 14));
        areaFor_ = size();
    }
    return area_;
}

double AnalyserPlot::xOf(double hz) const {
    const QRect a = plotArea();
    return a.left() + (hz - view_.from) / std::max(view_.span(), 1e-12) * a.width();
}

double AnalyserPlot::hzAt(double x) const {
    const QRect a = plotArea();
    return view_.from + (x - a.left()) / a.width() * view_.span();
}

double AnalyserPlot::levelTop() const {
    // The peak a division under the top, on a whole division.
    const double top = peak_.valid() ? peak_.dbv() : 0;
    return std::ceil(top / kDbPerDivision) * kDbPerDivision + kDbPerDivision;
}

void AnalyserPlot::paintBackground(QPainter& painter) {
    const double top = levelTop();
    const QString key = QString("%1x%2 %3 %4 %5")
                            .arg(width())
                            .arg(height())
                            .arg(view_.from, 0, 'g', 12)
                            .arg(view_.to, 0, 'g', 12)
                            .arg(top);
    if (key != backgroundKey_ || background_.size() != size()) {
        background_ = QPixmap(size());
        background_.fill(Qt::black);
        QPainter p(&background_);
        const QRect a = plotArea();
        const QFontMetrics fm = fontMetrics();
        for (int d = 0; d <= kLevelDivisions; ++d) {
            const double db = top - d * kDbPerDivision;
            const int y =
                static_cast<int>(std::round(a.top() + double(d) / kLevelDivisions * a.height()));
            p.setPen(kGrid);
            p.drawLine(a.left(), y, a.right(), y);
            p.setPen(kText);
            const QString label = QString::number(db, 'f', 0) + "dBV";
            p.drawText(a.left() - fm.horizontalAdvance(label) - 4, y + fm.ascent() / 2, label);
        }
        // As many divisions as their labels have room for, ten at the most.
        const int room = fm.horizontalAdvance("88.888MHz") + 12;
        for (double f : AxisTicks(view_, std::clamp(a.width() / room, 2, 10))) {
            const int x = static_cast<int>(std::round(xOf(f)));
            p.setPen(kGrid);
            p.drawLine(x, a.top(), x, a.bottom());
            p.setPen(kText);
            const QString label = FrequencyText(f);
            const int w = fm.horizontalAdvance(label);
            p.drawText(std::clamp(x - w / 2, 0, width() - w), a.bottom() + fm.height() + 2, label);
        }
        p.setPen(kText);
        p.drawRect(a);
        backgroundKey_ = key;
    }
    painter.drawPixmap(0, 0, background_);
}

void AnalyserPlot::paintEvent(QPaintEvent*) {
    QPainter p(this);
    paint(p);
}

void AnalyserPlot::paint(QPainter& p) {
    paintBackground(p);
    const QRect a = plotArea();
    const QFontMetrics fm = fontMetrics();
    const double top = levelTop();
    auto yOf = [&](double db) {
        return a.top() + (top - db) / (kLevelDivisions * kDbPerDivision) * a.height();
    };
    if (spectrum_.empty()) return;
    // The trace: the highest bin of each pixel column, so no peak is lost at any zoom.
    p.setClipRect(a);
    p.setPen(kTrace);
    QPolygonF line;
    const int bins = static_cast<int>(spectrum_.rms.size());
    for (int x = a.left(); x <= a.right(); ++x) {
        const int from = std::max(0, static_cast<int>(std::floor(hzAt(x) / spectrum_.binHz)));
        const int to =
            std::min(bins - 1, static_cast<int>(std::floor(hzAt(x + 1) / spectrum_.binHz)));
        if (from >= bins || to < 0) continue;
        double best = 0;
        for (int k = from; k <= std::max(from, to); ++k)
            best = std::max(best, spectrum_.rms[static_cast<std::size_t>(k)]);
        const double db = best > 1e-10 ? 20 * std::log10(best) : -200;
        line << QPointF(x, std::clamp(yOf(db), double(a.top()), double(a.bottom())));
    }
    p.drawPolyline(line);
    // The peak, its harmonics and the second marker.
    auto mark = [&](const Tone& t, const QColor& c, const QString& label) {
        const double x = xOf(t.frequency), y = yOf(t.dbv());
        if (x < a.left() || x > a.right()) return;
        p.setPen(c);
        p.setBrush(c);
        const QPointF tip(x, std::max(double(a.top()) + 8, y - 2));
        p.drawPolygon(QPolygonF({tip, tip + QPointF(-4, -7), tip + QPointF(4, -7)}));
        p.drawText(QPointF(x + 5, tip.y() - 4), label);
    };
    for (const Harmonic& h : harmonics_) {
        if (!h.belowNoise()) {
            mark(h.tone, kHarmonic, QString::number(h.order));
            continue;
        }
        const double x = xOf(h.frequency);
        if (x < a.left() || x > a.right()) continue;
        p.setPen(QPen(kHarmonic.darker(200), 1, Qt::DotLine)); // nothing there to point at
        p.drawLine(QPointF(x, a.bottom()), QPointF(x, a.bottom() - 12));
    }
    if (marker_.valid()) mark(marker_, kSecond, "M2");
    if (peak_.valid()) mark(peak_, kMarker, "M1");
    p.setClipping(false);
    if (dragging_) {
        p.setPen(QPen(Qt::white, 1, Qt::DashLine));
        p.setBrush(Qt::NoBrush);
        p.drawRect(QRect(pressAt_, dragTo_).normalized());
    }
    p.setPen(kMarker);
    p.drawText(a.left(), fm.ascent() + 2, readout());
}

void AnalyserPlot::wheelEvent(QWheelEvent* event) {
    if (spectrum_.empty()) return;
    const double steps = event->angleDelta().y() / 120.0;
    setView(ZoomView(view_, spectrum_, hzAt(event->position().x()), std::pow(0.8, steps)));
    event->accept();
}

void AnalyserPlot::mousePressEvent(QMouseEvent* event) {
    if (event->button() == Qt::RightButton) {
        clearMarker();
        return;
    }
    if (event->button() != Qt::LeftButton) return;
    pressAt_ = dragTo_ = event->position().toPoint();
    dragging_ = true;
}

void AnalyserPlot::mouseMoveEvent(QMouseEvent* event) {
    if (!dragging_) return;
    dragTo_ = event->position().toPoint();
    update();
}

void AnalyserPlot::mouseReleaseEvent(QMouseEvent* event) {
    if (!dragging_ || event->button() != Qt::LeftButton) return;
    dragging_ = false;
    const QPoint to = event->position().toPoint();
    if (std::abs(to.x() - pressAt_.x()) > 5) { // a box: its frequencies fill the plot
        const double a = hzAt(std::min(to.x(), pressAt_.x())),
                     b = hzAt(std::max(to.x(), pressAt_.x()));
        const double minimum = 4 * spectrum_.binHz;
        SpectrumView v{a, std::max(b, a + minimum)};
        const SpectrumView full = FullView(spectrum_);
        v.from = std::max(v.from, full.from);
        v.to = std::min(v.to, full.to);
        setView(v);
    } else if (!spectrum_.empty()) {
        placeMarker(hzAt(to.x()));
    }
    update();
}

void AnalyserPlot::mouseDoubleClickEvent(QMouseEvent*) {
    dragging_ = false;
    resetView();
}
