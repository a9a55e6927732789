// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// The spectrum analyser's plot: a frequency axis with labelled divisions and
// a level axis in dBV, the trace (each pixel column shows the highest bin it
// covers), a marker on the peak with its frequency and level, the peak's
// harmonics 2 to 10 (those below noise as a faint tick at their frequency), and a second marker
// with its delta. The wheel zooms about the pointer, a dragged box zooms to it, a click puts the
// second marker, a double-click shows the whole spectrum again.
#include "views/Analyser.h"

#include <QPixmap>
#include <QWidget>

class AnalyserPlot : public QWidget {
    Q_OBJECT
public:
    explicit AnalyserPlot(QWidget* parent = nullptr);
    // A new spectrum; the view stays when it still fits (a refresh), else it
    // opens on the peak and its harmonics (OpeningView).
    void setSpectrum(const Spectrum& s);
    const Spectrum& spectrum() const { return spectrum_; }
    const SpectrumView& view() const { return view_; }
    void setView(const SpectrumView& v);
    void resetView();
    const Tone& peak() const { return peak_; }
    const std::vector<Harmonic>& harmonics() const { return harmonics_; }
    // The second marker (invalid when not placed), and its text with the delta.
    const Tone& marker() const { return marker_; }
    void placeMarker(double hz); // the highest bin within a lobe of hz
    void clearMarker();
    QString readout() const; // "M1 1.000kHz -3.01dBV   M2 ...  Δ ..."
    // The plot's frame inside the widget, and where a frequency lies in it.
    QRect plotArea() const;
    double xOf(double hz) const;
    double hzAt(double x) const;
    void paint(QPainter& p); // what a paint event draws, onto any painter of the widget's size

protected:
    void paintEvent(QPaintEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;

private:
    double levelTop() const; // dBV at the plot's top edge
    // The grid and the axes' labels, drawn again only when the size, the
    // view or the level axis change (shaping their texts is most of a paint).
    void paintBackground(QPainter& p);
    QPixmap background_;
    mutable QSize areaFor_;
    mutable QRect area_;
    QString backgroundKey_;
    Spectrum spectrum_;
    SpectrumView view_;
    Tone peak_, marker_;
    std::vector<Harmonic> harmonics_;
    bool dragging_ = false;
    QPoint pressAt_, dragTo_;
};
