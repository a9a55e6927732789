// SPDX-License-Identifier: GPL-3.0-or-later
// The spectrum analyser and the measure statistics: the spectrum of
// 1,048,576 points with a window function (the Memory Wave window's widest
// view), the plot's paint, and one refresh added to the statistics.
#include "BenchSupport.h"
#include "measure/MeasureStats.h"
#include "views/Analyser.h"
#include "views/AnalyserPlot.h"

#include <QApplication>
#include <QImage>
#include <QPainter>
#include <cmath>
#include <cstdio>
#include <numbers>

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    const std::size_t n = 1 << 20;
    std::vector<double> v(n);
    for (std::size_t i = 0; i < n; ++i)
        v[i] = std::sin(2 * std::numbers::pi * 1000.0 * static_cast<double>(i) / 1e7) +
               0.01 * std::sin(static_cast<double>(i) * 0.37);
    Spectrum s;
    const double fft = MedianMs(
        11, [&](int) { s = ComputeRmsSpectrum(v.data(), v.size(), 1e7, FftWindow::Hanning); });
    std::printf("spectrum of 1,048,576 points, Hanning: %.1f ms (target at most 30)\n", fft);
    ReportFigure("spectrum of 1 M points with a window", "ms", 30, fft);

    AnalyserPlot plot;
    plot.resize(1000, 400);
    plot.setSpectrum(s);
    QImage image(plot.size(), QImage::Format_RGB32);
    auto paint = [&](int) {
        QPainter p(&image);
        plot.paint(p);
    };
    const double full = MedianMs(21, paint);
    plot.setView(ZoomView(plot.view(), s, 1000, 0.001));
    const double zoomed = MedianMs(21, paint);
    std::printf("spectrum paint, 1000x400 (524,289 bins): whole span %.2f ms, zoomed %.2f ms "
                "(target at most 2)\n",
                full, zoomed);
    ReportFigure("spectrum paint, whole span", "ms", 2, full);
    ReportFigure("spectrum paint, zoomed", "ms", 2, zoomed);

    MeasureRecord rec;
    const char* texts[] = {"2.00V",   "1.00V",   "-1.00V",  "0.00uV",  "2.00V",    "1.00V",
                           "-1.00V",  "707mV",   "0.00%",   "0.00%",   "1.000KHz", "295.0us",
                           "295.0us", "1.000ms", "500.0us", "500.0us", "50.0%",    "50.0%"};
    for (std::size_t k = 0; k < 18; ++k)
        rec.Items[k].Text = texts[k];
    rec.Items[0].LimitEnabled = true;
    rec.Items[0].UnderLimit = 1;
    rec.Items[0].OverLimit = 3;
    MeasureStats stats;
    const double add = MedianMs(2001, [&](int) { AddRefresh(stats, rec); });
    std::printf("statistics, one refresh of 18 measures: %.4f ms (target at most 0.1)\n", add);
    ReportFigure("measure statistics update per refresh", "ms", 0.1, add);
    return 0;
}
