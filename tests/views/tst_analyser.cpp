// SPDX-License-Identifier: GPL-3.0-or-later
// The spectrum analyser reads a tone's frequency within a bin and its level
// within 0.1 dB, whatever the window and wherever the tone falls between
// bins; it reads harmonics at n times the fundamental; the axis and zoom hold.
#include "shared/Picture.h"
#include "views/Analyser.h"
#include "views/AnalyserPlot.h"

#include <QApplication>
#include <QWheelEvent>

#include <QTest>
#include <cmath>
#include <numbers>
#include <random>

class TestAnalyser : public QObject {
    Q_OBJECT
private slots:
    void toneLevelAndFrequency_data();
    void toneLevelAndFrequency();
    void harmonicsAtTheirMultiples_data();
    void harmonicsAtTheirMultiples();
    void averagingAndAxis();
    void markersAndZoomWithTheMouse();
};

void TestAnalyser::toneLevelAndFrequency_data() {
    QTest::addColumn<int>("window");
    QTest::addColumn<double>("cycles"); // in the block: a whole number sits on a bin
    QTest::addColumn<double>("amplitude");
    for (int w = 0; w < 4; ++w)
        for (double cycles : {50.0, 50.5, 123.25, 1000.7})
            QTest::addRow("%s, %.2f cycles", qPrintable(kFftWindowNames[w]), cycles)
                << w << cycles << (cycles == 123.25 ? 0.01 : 1.0);
}

void TestAnalyser::toneLevelAndFrequency() {
    QFETCH(int, window);
    QFETCH(double, cycles);
    QFETCH(double, amplitude);
    const int n = 8192;
    const double rate = 1e6;
    std::vector<double> v(n);
    for (int i = 0; i < n; ++i) // with a DC offset, which must not be the peak
        v[static_cast<std::size_t>(i)] =
            0.3 + amplitude * std::sin(2 * std::numbers::pi * cycles * i / n + 0.4);
    const Spectrum s = ComputeRmsSpectrum(v.data(), v.size(), rate, static_cast<FftWindow>(window));
    const Tone t = FindPeak(s);
    QVERIFY(t.valid());
    const double f = cycles * rate / n;
    QVERIFY2(std::abs(t.frequency - f) <= s.binHz, qPrintable(QString::number(t.frequency)));
    const double expected = 20 * std::log10(amplitude / std::numbers::sqrt2);
    QVERIFY2(std::abs(t.dbv() - expected) < 0.1,
             qPrintable(QString("%1 dBV, expected %2").arg(t.dbv()).arg(expected)));
    QVERIFY(std::abs(s.rms[0] - 0.3) < 0.01); // DC is its own level
}

// Harmonics are read at n times the fundamental and nowhere else, each
// against the Fourier series worked by hand: a 1 V square wave's odd
// harmonics stand at 4/(pi n) of the amplitude (9.54, 13.98, 16.90 dB under
// the fundamental for 3, 5, 7), its even ones and every one of a sine are
// below the noise (1 mV RMS of it here) and keep their order and n x f0.
// A strong tone between two harmonics never stands in for one.
void TestAnalyser::harmonicsAtTheirMultiples_data() {
    QTest::addColumn<int>("shape"); // 0 square, 1 sine, 2 sine with a spur at 2.5 f0
    QTest::addColumn<int>("window");
    QTest::newRow("square, Hanning") << 0 << int(FftWindow::Hanning);
    QTest::newRow("square, Blackman") << 0 << int(FftWindow::Blackman);
    QTest::newRow("square, rectangle") << 0 << int(FftWindow::Rectangle);
    QTest::newRow("sine") << 1 << int(FftWindow::Hanning);
    QTest::newRow("sine and a spur") << 2 << int(FftWindow::Hanning);
}

void TestAnalyser::harmonicsAtTheirMultiples() {
    QFETCH(int, shape);
    QFETCH(int, window);
    const int n = 100000;
    const double rate = 1e6, f0 = 1000;
    std::mt19937 random(7);
    std::normal_distribution<double> noise(0, 1e-3);
    std::vector<double> v(n);
    for (int i = 0; i < n; ++i) {
        const double t = i / rate;
        double x = shape == 0 ? (std::fmod(t * f0, 1.0) < 0.5 ? 1 : -1)
                              : std::sin(2 * std::numbers::pi * f0 * t);
        if (shape == 2) x += 0.5 * std::sin(2 * std::numbers::pi * 2.5 * f0 * t);
        v[static_cast<std::size_t>(i)] = x + noise(random);
    }
    const Spectrum s = ComputeRmsSpectrum(v.data(), v.size(), rate, static_cast<FftWindow>(window));
    const Tone f = FindPeak(s);
    QVERIFY(std::abs(f.frequency - f0) < s.binHz / 10);
    const std::vector<Harmonic> h = Harmonics(s, f);
    QCOMPARE(h.size(), std::size_t(9)); // 2 to 10
    for (std::size_t k = 0; k < h.size(); ++k) {
        const int order = static_cast<int>(k) + 2;
        QCOMPARE(h[k].order, order);
        QCOMPARE(h[k].frequency, order * MarkerFrequency(s, f)); // as M1 reads the fundamental
        const bool tone = shape == 0 && order % 2 == 1;
        QVERIFY2(h[k].belowNoise() == !tone, qPrintable(HarmonicText(s, h[k])));
        if (!tone) {
            QCOMPARE(HarmonicText(s, h[k]),
                     QString("H%1 %2 below noise").arg(order).arg(FrequencyText(order * f0)));
            continue;
        }
        QVERIFY(std::abs(h[k].tone.frequency - order * f0) < s.binHz / 4);
        const double below = f.dbv() - h[k].tone.dbv();
        QVERIFY2(std::abs(below - 20 * std::log10(double(order))) < 0.2,
                 qPrintable(HarmonicText(s, h[k])));
    }
    // The opening view shows the fundamental and its first ten harmonics,
    // not the 500 kHz of the whole span.
    const SpectrumView opening = OpeningView(s, f);
    QCOMPARE(opening.from, 0.0);
    QVERIFY(opening.to > 10 * f0 && opening.to < 12 * f0);
}

void TestAnalyser::averagingAndAxis() {
    std::vector<double> v(40000);
    for (std::size_t i = 0; i < v.size(); ++i)
        v[i] = std::sin(2 * std::numbers::pi * 0.01 * static_cast<double>(i));
    const Spectrum four = ComputeRmsSpectrum(v.data(), v.size(), 1e5, FftWindow::Hanning, 4);
    QCOMPARE(four.length, 10000);
    QCOMPARE(four.averaged, 4);
    QVERIFY(std::abs(FindPeak(four).dbv() + 3.0103) < 0.1);
    // The axis: a 1-2-5 step, labels inside the view.
    const std::vector<double> ticks = AxisTicks({0, 50000}, 10);
    QCOMPARE(ticks.size(), std::size_t(11));
    QCOMPARE(ticks[1], 5000.0);
    QCOMPARE(AxisTicks({1000, 1900}, 10)[0], 1000.0);
    // Zooming keeps the frequency under the pointer and stays in range.
    const SpectrumView full = FullView(four);
    const SpectrumView z = ZoomView(full, four, 1000, 0.1);
    QVERIFY(std::abs((1000 - z.from) / z.span() - (1000 - full.from) / full.span()) < 1e-9);
    const SpectrumView out = ZoomView(z, four, 1000, 1000);
    QCOMPARE(out.from, full.from);
    QCOMPARE(out.to, full.to);
    QCOMPARE(FrequencyText(1000), ShownForm("1.000kHz")); // the display's decimal sign
    QCOMPARE(FrequencyText(250), ShownForm("250.0Hz"));
}

// On the plot, with real mouse events: a click near the third harmonic of a
// square wave puts M2 on it and the read-out gives the delta (9.54 dB under
// the fundamental); the wheel zooms about the pointer; a double-click shows
// the whole span again.
void TestAnalyser::markersAndZoomWithTheMouse() {
    const int n = 100000;
    std::vector<double> v(n);
    for (int i = 0; i < n; ++i)
        v[static_cast<std::size_t>(i)] = std::fmod(i * 1000.0 / 1e6, 1.0) < 0.5 ? 1 : -1;
    AnalyserPlot plot;
    plot.resize(900, 400);
    plot.setSpectrum(ComputeRmsSpectrum(v.data(), v.size(), 1e6, FftWindow::Hanning));
    plot.setView({0, 10000});
    QVERIFY(plot.readout().startsWith("M1 " + ShownForm("1.000kHz")));
    const int y = plot.plotArea().center().y();
    QTest::mouseClick(&plot, Qt::LeftButton, {}, QPoint(static_cast<int>(plot.xOf(3020)), y));
    QVERIFY(plot.marker().valid());
    QVERIFY2(plot.readout().contains(QString::fromUtf8("Δ ") + FrequencyText(2000) + " " +
                                     ShownForm("-9.5")),
             qPrintable(plot.readout()));
    const int x = static_cast<int>(plot.xOf(5000));
    QWheelEvent up(QPointF(x, y), plot.mapToGlobal(QPointF(x, y)), QPoint(), QPoint(0, 120),
                   Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
    QApplication::sendEvent(&plot, &up);
    QCOMPARE(plot.view().span(), 8000.0);
    QVERIFY(std::abs(plot.hzAt(x) - 5000) < 20); // the frequency under the pointer stays
    QTest::mouseDClick(&plot, Qt::LeftButton, {}, QPoint(x, y));
    QCOMPARE(plot.view().to, FullView(plot.spectrum()).to);
}

QTEST_MAIN(TestAnalyser)
#include "tst_analyser.moc"
