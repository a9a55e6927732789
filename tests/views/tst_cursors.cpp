// SPDX-License-Identifier: GPL-3.0-or-later
// Cursors and read-outs, and the spectrum computed on the PC.
#include "TestPlatform.h"

#include "shared/LoadLanguage.h"
#include "sheet/DataSheet.h"
#include "sheet/SheetRecords.h"
#include "views/Cursors.h"
#include "views/FftAnalysis.h"
#include "views/frmWave.h"
#include "views/frmWaveSetting.h"

#include <QComboBox>
#include <QLocale>
#include <QtTest>
#include <cmath>
#include <numbers>

namespace {

WaveRecord ytRecord() {
    WaveRecord r;
    r.Loaded = r.ShowYT = r.ShowCh1 = true;
    r.PointCount = 600;
    r.TriggerMode = "EDGE";
    r.ActiveChannel = 1;
    r.Ch1Scale = "1.00V";
    r.Ch2Scale = "200mV";
    r.Ch1Offset = r.Ch2Offset = "0.00uV";
    r.TimeScale = "1.00ms";
    r.TimeOffset = "0.00s";
    r.FFTDisplay = r.MathDisplay = WordOff;
    return r;
}

CursorSet both() {
    CursorSet c;
    c.CursorXOn = c.CursorYOn = true;
    return c;
}

// A sine on CH1 as screen rows: amplitude in volts at 1 V a division.
WaveRecord sineRecord(double hertz, double amplitude) {
    WaveRecord r = ytRecord();
    const double rate = 50 / 1e-3; // 50 samples a division at 1 ms
    for (int i = 1; i <= 600; ++i)
        r.Ch1Samples[i] = static_cast<int>(
            std::lround(100 - amplitude * 25 * std::sin(2 * std::numbers::pi * hertz * i / rate)));
    return r;
}

} // namespace

class TestCursors : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void readouts_data();
    void readouts();
    void zoomKeepsTheReadout();
    void dragHeldInsideTheFrame_data();
    void dragHeldInsideTheFrame();
    void hitTestOrderAndBand();
    void alternateTriggerUsesEachChannelsScales();
    void fftBlockWithoutRate();
    void commaLocaleReadoutsKeepThePoint();
    void sinePeaksInItsBin_data();
    void sinePeaksInItsBin();
    void dialogWritesTheSpectrumAndTheWindowDrawsIt();
    void dragInTheWindowMovesOnlyTheCursor();
    void yCursorsReachableWithTheMouse_data();
    void yCursorsReachableWithTheMouse();

private:
    std::unique_ptr<TestPlatform> tp_;
};

void TestCursors::initTestCase() {
    tp_ = std::make_unique<TestPlatform>();
    ApplyLanguage(kLanguageEnglish);
    RegisterWaveWindow();
}

void TestCursors::readouts_data() {
    QTest::addColumn<double>("x1");
    QTest::addColumn<double>("x2");
    QTest::addColumn<double>("y1");
    QTest::addColumn<double>("y2");
    QTest::addColumn<QStringList>("rows");
    // 1 ms a division: 25 pixels are 1 ms; 1 V a division: 25 pixels are 1 V.
    QTest::newRow("one division") << 50.0 << 75.0 << 50.0 << 75.0
                                  << QStringList{"|X1-X2|   =1.00ms", "1/|X1-X2|=1.00KHz",
                                                 "|Y1-Y2|  =1.0V"};
    QTest::newRow("same column") << 100.0 << 100.0 << 50.0 << 55.0
                                 << QStringList{"|X1-X2|   =0.000s", "1/|X1-X2|=???.? Hz",
                                                "|Y1-Y2|  =200.0mV"};
    QTest::newRow("order does not matter")
        << 175.0 << 75.0 << 225.0 << 25.0
        << QStringList{"|X1-X2|   =4.00ms", "1/|X1-X2|=250.00Hz", "|Y1-Y2|  =8.0V"};
}

void TestCursors::readouts() {
    QFETCH(double, x1);
    QFETCH(double, x2);
    QFETCH(double, y1);
    QFETCH(double, y2);
    QFETCH(QStringList, rows);
    CursorSet c = both();
    c.CursorX1 = x1;
    c.CursorX2 = x2;
    c.CursorY1 = y1;
    c.CursorY2 = y2;
    QCOMPARE(CursorReadouts(ytRecord(), c, 1.0), rows);
}

void TestCursors::zoomKeepsTheReadout() {
    CursorSet c = both();
    c.CursorY2 = 200; // inside the frame at every zoom below
    KeepCursorsInFrame(c, 1.0);
    const QStringList at100 = CursorReadouts(ytRecord(), c, 1.0);
    RescaleCursors(c, 1.0, 3.0);
    QCOMPARE(CursorReadouts(ytRecord(), c, 3.0), at100);
    RescaleCursors(c, 3.0, 0.5);
    QCOMPARE(CursorReadouts(ytRecord(), c, 0.5), at100);
}

void TestCursors::dragHeldInsideTheFrame_data() {
    QTest::addColumn<double>("z");
    QTest::addColumn<double>("pointer");
    QTest::addColumn<double>("held");
    QTest::newRow("left, 100 %") << 1.0 << 3.0 << 27.0;
    QTest::newRow("right, 100 %") << 1.0 << 400.0 << 323.0;
    QTest::newRow("right, 200 %") << 2.0 << 900.0 << 623.0;
    QTest::newRow("inside") << 1.0 << 100.0 << 100.0;
}

void TestCursors::dragHeldInsideTheFrame() {
    QFETCH(double, z);
    QFETCH(double, pointer);
    QFETCH(double, held);
    CursorSet c = both();
    DragCursor(c, CursorId::X2, QPointF(pointer, 60), z);
    QCOMPARE(c.CursorX2, held);
}

void TestCursors::hitTestOrderAndBand() {
    CursorSet c = both();
    c.CursorX1 = c.CursorX2 = 100; // X1 wins
    QCOMPARE(CursorAt(c, {102, 150}, 1.0, false), CursorId::X1);
    QCOMPARE(CursorAt(c, {104, 150}, 1.0, false), CursorId::None);
    QCOMPARE(CursorAt(c, {200, 58}, 1.0, false), CursorId::Y1);
    QCOMPARE(CursorAt(c, {100, 10}, 1.0, false), CursorId::None); // outside the frame
    c.CursorXOn = false;
    QCOMPARE(CursorAt(c, {100, 150}, 1.0, false), CursorId::None);
    // A split screen: the second X pair answers in the lower area only.
    c.CursorXOn = true;
    QCOMPARE(CursorAt(c, {79, 100}, 1.0, true), CursorId::None);
    QCOMPARE(CursorAt(c, {79, 180}, 1.0, true), CursorId::AltX1);
}

void TestCursors::alternateTriggerUsesEachChannelsScales() {
    WaveRecord r = ytRecord();
    r.TriggerMode = "ALTERNATION";
    r.SplitScreen = true;
    r.AltTimeScale1 = "1.00ms";
    r.AltTimeScale2 = "10.0us";
    CursorSet c = both();
    c.CursorX1 = 50;
    c.CursorX2 = 75;
    c.AltCursorX1 = 50;
    c.AltCursorX2 = 75;
    c.CursorY1 = 50;
    c.CursorY2 = 75; // 25 rows of a half-height area: one division
    c.AltCursorY1 = 150;
    c.AltCursorY2 = 175;
    const QStringList rows = CursorReadouts(r, c, 1.0);
    QVERIFY(rows.contains("|X1-X2|   =1.00ms"));
    QVERIFY(rows.contains("|X1-X2|   =10.00us"));
    QVERIFY(rows.contains("|Y1-Y2|  =1.0V"));
    QVERIFY(rows.contains("|Y1-Y2|  =200.0mV"));
}

void TestCursors::fftBlockWithoutRate() {
    WaveRecord r = ytRecord();
    r.ShowMath = true;
    r.FFTDisplay = WordOn;
    r.SysData.SysFloat56 = 0;
    r.SysData.SysInt46 = 0;
    const QStringList rows = CursorReadouts(r, both(), 1.0);
    QCOMPARE(rows, (QStringList{"FFT", "FFT|X1-X2|   =????", "FFT|Y1-Y2|  =????"}));
    r.SysData.SysFloat56 = 1000; // 1 kHz a division
    CursorSet c = both();
    c.CursorX1 = 50;
    c.CursorX2 = 100;
    QCOMPARE(CursorReadouts(r, c, 1.0).at(1), QString("FFT|X1-X2|   =2.00KHz"));
}

void TestCursors::commaLocaleReadoutsKeepThePoint() {
    const QLocale before;
    QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
    CursorSet c = both();
    c.CursorX1 = 50;
    c.CursorX2 = 60;
    WaveRecord r = ytRecord();
    r.TimeScale = "1,00ms"; // a text made under the comma locale
    const QStringList rows = CursorReadouts(r, c, 1.0);
    QLocale::setDefault(before);
    QCOMPARE(rows.at(0), QString("|X1-X2|   =400.00us"));
    for (const QString& row : rows)
        QVERIFY2(!row.contains(','), qPrintable(row));
}

void TestCursors::sinePeaksInItsBin_data() {
    QTest::addColumn<int>("window");
    QTest::newRow("Rectangle") << int(FftWindow::Rectangle);
    QTest::newRow("Hanning") << int(FftWindow::Hanning);
    QTest::newRow("Hamming") << int(FftWindow::Hamming);
    QTest::newRow("Blackman") << int(FftWindow::Blackman);
}

void TestCursors::sinePeaksInItsBin() {
    QFETCH(int, window);
    const double hertz = 1000, amplitude = 2.0; // 2 V peak: 1.414 Vrms, 3.01 dBVrms
    const WaveRecord r = sineRecord(hertz, amplitude);
    const std::vector<double> db =
        ComputeSpectrum(ChannelVolts(r, 1), static_cast<FftWindow>(window), FftScale::DbVrms);
    QCOMPARE(int(db.size()), kSpectrumCount);
    const auto peak = std::max_element(db.begin() + 1, db.end());
    const int bin = static_cast<int>(peak - db.begin());
    const double expectedBin = hertz * kSpectrumLength / ScreenSampleRate(r); // 40.96
    QVERIFY2(std::abs(bin - expectedBin) <= 1, qPrintable(QString::number(bin)));
    const double trueRms = 20 * std::log10(amplitude / std::numbers::sqrt2);
    QVERIFY2(std::abs(*peak - trueRms) <= 0.5, qPrintable(QString::number(*peak)));
}

void TestCursors::dialogWritesTheSpectrumAndTheWindowDrawsIt() {
    ResetDataSheet();
    QVERIFY(NewDataSheet());
    {
        frmWaveSetting none;
        QCOMPARE(none.targetCombo()->currentText(), QString("None"));
        QVERIFY(!none.sourceCombo()->isEnabled());
    }
    AddDocument(DocKind::Wave);
    auto* w = qobject_cast<frmWave*>(DocForm(DocKind::Wave, 0));
    w->Timer1_Timer();
    WaveRecords[0] = sineRecord(1000, 2.0);
    WaveRecords[0].Name = "Wave0";
    WaveRecords[0].BestFit = false;
    frmWaveSetting dialog;
    QCOMPARE(dialog.targetCombo()->currentText(), QString("Wave0"));
    QCOMPARE(dialog.sourceCombo()->currentIndex(), 0);
    dialog.windowCombo()->setCurrentIndex(int(FftWindow::Hanning));
    dialog.OKButton_Click();
    QCOMPARE(WaveRecords[0].SpectrumCount, 1024);
    QCOMPARE(int(WaveRecords[0].Spectrum.size()), 1024);
    QCOMPARE(WaveRecords[0].SpectrumSource, QString("CH1"));
    QVERIFY(WaveRecords[0].LocalFFT);
    // The peak near 1 kHz: column 41 * 300 / 1024 = 12, at about +3 dB: row (20 - 3) * 2.5.
    const QImage& picture = w->picture();
    const double z = w->ZoomFactor();
    int purple = 0;
    for (int y = qRound(25 + 38 * z); y <= qRound(25 + 48 * z); ++y)
        for (int x = qRound(25 + 9 * z); x <= qRound(25 + 15 * z); ++x)
            if (picture.pixelColor(x, y) == QColor(128, 0, 255)) ++purple;
    QVERIFY(purple > 0);
    ResetDataSheet();
}

void TestCursors::dragInTheWindowMovesOnlyTheCursor() {
    ResetDataSheet();
    QVERIFY(NewDataSheet());
    AddDocument(DocKind::Wave);
    auto* w = qobject_cast<frmWave*>(DocForm(DocKind::Wave, 0));
    w->Timer1_Timer();
    w->ChkCursor_Click(true, true);
    const double x1 = w->cursors().CursorX1;
    w->WavePic_Mouse(QEvent::MouseButtonPress, {x1 + 2, 120}, Qt::LeftButton);
    QCOMPARE(w->cursors().dragging, CursorId::X1);
    w->WavePic_Mouse(QEvent::MouseMove, {-50, 120}, Qt::LeftButton);
    QCOMPARE(w->cursors().CursorX1, 27.0);
    w->WavePic_Mouse(QEvent::MouseButtonRelease, {-50, 120}, Qt::NoButton);
    QCOMPARE(w->cursors().dragging, CursorId::None);
    ResetDataSheet();
}

// With real mouse events on the window's picture, at several zooms: both Y
// cursors start inside the frame, each can be grabbed and dragged, the read-out
// follows, and the user can choose the channel it measures.
void TestCursors::yCursorsReachableWithTheMouse_data() {
    QTest::addColumn<QString>("zoom");
    QTest::newRow("50%") << "50%";
    QTest::newRow("100%") << "100%";
    QTest::newRow("300%") << "300%";
}

void TestCursors::yCursorsReachableWithTheMouse() {
    QFETCH(QString, zoom);
    ResetDataSheet();
    QVERIFY(NewDataSheet());
    AddDocument(DocKind::Wave);
    auto* w = qobject_cast<frmWave*>(DocForm(DocKind::Wave, 0));
    w->show();
    w->Timer1_Timer();
    WaveRecord& r = WaveRecords[0];
    r = ytRecord();
    r.ShowCh1 = r.ShowCh2 = true;
    r.Ch2Scale = "2.00V";
    w->zoomCombo()->setEditText(zoom);
    w->ZoomCombo_Commit();
    w->ChkCursor_Click(false, true);
    QWidget* picture = w->findChild<QWidget*>("WavePic");
    QVERIFY(picture);
    const double z = w->ZoomFactor();
    const double top = 25, bottom = 25 + 200 * z;
    for (CursorId id : {CursorId::Y1, CursorId::Y2}) {
        const double y = w->cursors().at(id);
        QVERIFY2(y > top && y < bottom, qPrintable(QString("starts at %1").arg(y)));
        const QPoint grab(int(25 + 150 * z), int(std::lround(y)));
        QTest::mousePress(picture, Qt::LeftButton, {}, grab);
        QCOMPARE(w->cursors().dragging, id);
        QMouseEvent move(QEvent::MouseMove, QPointF(grab.x(), top + 50 * z),
                         picture->mapToGlobal(QPointF(grab.x(), top + 50 * z)), Qt::NoButton,
                         Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(picture, &move);
        QTest::mouseRelease(picture, Qt::LeftButton, {}, QPoint(grab.x(), int(top + 50 * z)));
        QCOMPARE(w->cursors().at(id), top + 50 * z);
        // Moved apart again, to keep the two lines separate for the next grab.
        if (id == CursorId::Y1) w->cursors().CursorY1 = top + 10 * z;
    }
    // Two divisions apart: 1 V a division on CH1, 2 V on CH2.
    w->cursors().CursorY1 = top + 100 * z;
    w->cursors().CursorY2 = top + 150 * z;
    const QStringList rows = CursorReadouts(r, w->cursors(), z);
    QCOMPARE(rows.filter("|Y1-Y2|").value(0), QString("|Y1-Y2|  =2.0V  CH1"));
    w->cursors().YChannel = 2;
    QCOMPARE(CursorReadouts(r, w->cursors(), z).filter("|Y1-Y2|").value(0),
             QString("|Y1-Y2|  =4.0V  CH2"));
    ResetDataSheet();
}

QTEST_MAIN(TestCursors)
#include "tst_cursors.moc"
