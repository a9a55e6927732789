// SPDX-License-Identifier: GPL-3.0-or-later
// The spectrum analyser reads a tone's frequency within a bin and its level
// within 0.1 dB, whatever the window and wherever the tone falls between
// bins; it finds the harmonics of a square wave; the axis and zoom hold.
#include "shared/Picture.h"
#include "views/Analyser.h"
#include "views/AnalyserPlot.h"

#include <QApplication>
#include <QWheelEvent>

#include <QTest>
#include <cmath>
#include <numbers>

class TestAnalyser : public QObject {
    Q_OBJECT
private slots:
    void toneLevelAndFrequency_data();
    void toneLevelAndFrequency();
    void squareWaveHarmonics();
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

// A 1 V square wave of 1 kHz: odd harmonics at 4/(pi k) of the amplitude,
// even ones absent.
void TestAnalyser::squareWaveHarmonics() {
    const int n = 100000;
    const double rate = 1e6;
    std::vector<double> v(n);
    for (int i = 0; i < n; ++i)
        v[static_cast<std::size_t>(i)] = std::fmod(i * 1000.0 / rate, 1.0) < 0.5 ? 1 : -1;
    const Spectrum s = ComputeRmsSpectrum(v.data(), v.size(), rate, FftWindow::Blackman);
    const Tone f = FindPeak(s);
    QVERIFY(std::abs(f.frequency - 1000) < s.binHz);
    const std::vector<Tone> h = Harmonics(s, f);
    QCOMPARE(h.size(), std::size_t(5));
    for (int k = 0; k < 5; ++k) {
        const int order = k + 2;
        if (order % 2 == 1) {
            QVERIFY(std::abs(h[static_cast<std::size_t>(k)].frequency - 1000.0 * order) < s.binHz);
            const double expected = 4 / (std::numbers::pi * order) / std::numbers::sqrt2;
            QVERIFY2(std::abs(h[static_cast<std::size_t>(k)].dbv() - 20 * std::log10(expected)) <
                         0.2,
                     qPrintable(QString::number(h[static_cast<std::size_t>(k)].dbv())));
        } else {
            QVERIFY(h[static_cast<std::size_t>(k)].dbv() < f.dbv() - 40);
        }
    }
    // The marker's delta: the third harmonic is 9.54 dB below the fundamental.
    QVERIFY(std::abs((f.dbv() - h[1].dbv()) - 20 * std::log10(3.0)) < 0.2);
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
