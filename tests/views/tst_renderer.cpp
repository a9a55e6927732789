// SPDX-License-Identifier: GPL-3.0-or-later
// The screen renderer, checked by sampling pixels where the rules put them.
#include "TestPlatform.h"

#include "shared/LoadLanguage.h"
#include "sheet/SheetRecords.h"
#include "views/ScreenRenderer.h"

#include <QImage>
#include <QtTest>

namespace {

// A loaded Y-T record with flat traces: CH1 at row 50, CH2 at row 150.
WaveRecord flatRecord() {
    WaveRecord r;
    r.Loaded = true;
    r.ShowYT = true;
    r.ShowCh1 = r.ShowCh2 = true;
    r.PointCount = 600;
    r.TriggerMode = "EDGE";
    r.Ch1Scale = r.Ch2Scale = "1.00V";
    r.Ch1Offset = r.Ch2Offset = "0.00uV";
    r.TimeScale = "1.00ms";
    r.TimeOffset = "0.00s";
    r.FFTDisplay = r.MathDisplay = WordOff;
    r.SysData.DrawStart = 0;
    r.SysData.DrawEnd = 299;
    r.SysData.AltStart1 = r.SysData.AltStart2 = 0;
    r.SysData.AltEnd1 = r.SysData.AltEnd2 = 299;
    r.SysData.Ch1On = r.SysData.Ch2On = 1;
    for (int i = 1; i <= 601; ++i) {
        r.Ch1Samples[i] = 50;
        r.Ch2Samples[i] = 150;
    }
    return r;
}

int countColour(const QImage& image, const QColor& colour, QRect area = QRect()) {
    if (area.isNull()) area = image.rect();
    area = area.intersected(image.rect());
    int n = 0;
    for (int y = area.top(); y <= area.bottom(); ++y)
        for (int x = area.left(); x <= area.right(); ++x)
            if (image.pixelColor(x, y) == colour) ++n;
    return n;
}

} // namespace

class TestRenderer : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void pictureSizeFollowsTheZoom();
    void columnWalkPlacesSamples_data();
    void columnWalkPlacesSamples();
    void notLoadedDrawsOnlyTheGrid();
    void tracesLieOnTheirRowsAtEveryZoom_data();
    void tracesLieOnTheirRowsAtEveryZoom();
    void groundAtTheEdgeDrawsTheArrow_data();
    void groundAtTheEdgeDrawsTheArrow();
    void alternateTriggerPutsChannel1OnTop();
    void disabledDigitalChannelDrawsNeitherLabelNorLane();
    void activeDigitalLaneIsDrawnLastInItsColour();
    void blackAndWhiteHasNoColour();
    void gridDotsOnlyWithGrid();
    void xyModeDrawsChannel1AgainstChannel2();
    void commaDecimalTextsStillPlaceTheMarker();

private:
    std::unique_ptr<TestPlatform> tp_;
};

void TestRenderer::initTestCase() {
    tp_ = std::make_unique<TestPlatform>();
    ApplyLanguage(kLanguageEnglish);
}

void TestRenderer::pictureSizeFollowsTheZoom() {
    QCOMPARE(ScreenPictureSize(1.0), QSize(350, 250));
    QCOMPARE(ScreenPictureSize(2.0), QSize(700, 500));
    QCOMPARE(RenderScreen(flatRecord(), 1.5, true).size(), QSize(525, 375));
}

void TestRenderer::columnWalkPlacesSamples_data() {
    QTest::addColumn<double>("z");
    QTest::addColumn<int>("points");
    QTest::addColumn<double>("firstX");
    QTest::addColumn<int>("lastIndex");
    // 600 samples from column 0: the first step lands on x 26 with sample 3;
    // the bound's -1 leaves the last samples out below 200 %.
    QTest::newRow("100 %") << 1.0 << 597 << 26.0 << 599;
    QTest::newRow("200 %") << 2.0 << 598 << 27.0 << 600;
    QTest::newRow("50 %") << 0.5 << 595 << 25.0 << 597;
}

void TestRenderer::columnWalkPlacesSamples() {
    QFETCH(double, z);
    QFETCH(int, points);
    QFETCH(double, firstX);
    QFETCH(int, lastIndex);
    const auto walk = TraceWalk(0, 299, z, 0.5, 2, 8192);
    QCOMPARE(int(walk.size()), points);
    QCOMPARE(walk.front().x, firstX);
    QCOMPARE(walk.front().index, 3);
    QCOMPARE(walk.back().index, lastIndex);
    // The last point stays inside the frame: the -1 of the bound.
    QVERIFY(walk.back().x <= 25 + 300 * z);
}

void TestRenderer::notLoadedDrawsOnlyTheGrid() {
    WaveRecord r = flatRecord();
    r.Loaded = false;
    const QImage image = RenderScreen(r, 1.0, true);
    QCOMPARE(countColour(image, ColorCh1), 0);
    QCOMPARE(countColour(image, ColorCh2), 0);
    QVERIFY(countColour(image, ColorGridLight) > 500);
    QVERIFY(countColour(image, ColorMarker) > 0); // the logo
}

void TestRenderer::tracesLieOnTheirRowsAtEveryZoom_data() {
    QTest::addColumn<double>("z");
    QTest::newRow("100 %") << 1.0;
    QTest::newRow("250 %") << 2.5;
    QTest::newRow("500 %") << 5.0;
}

void TestRenderer::tracesLieOnTheirRowsAtEveryZoom() {
    QFETCH(double, z);
    const QImage image = RenderScreen(flatRecord(), z, true);
    const int row1 = qRound(50 * z + 25), row2 = qRound(150 * z + 25);
    for (double c : {10.0, 100.0, 200.0, 290.0}) {
        const int x = qRound(c * z + 25);
        QCOMPARE(image.pixelColor(x, row1), ColorCh1);
        QCOMPARE(image.pixelColor(x, row2), ColorCh2);
    }
}

void TestRenderer::groundAtTheEdgeDrawsTheArrow_data() {
    QTest::addColumn<QString>("offset");
    QTest::addColumn<bool>("top");
    // 1 V a division: +4 V puts the ground on row 0, -4 V on row 200.
    QTest::newRow("row 0") << "4.00V" << true;
    QTest::newRow("row 200") << "-4.00V" << false;
    QTest::newRow("far above") << "40.0V" << true;
}

void TestRenderer::groundAtTheEdgeDrawsTheArrow() {
    QFETCH(QString, offset);
    QFETCH(bool, top);
    WaveRecord r = flatRecord();
    r.ShowCh2 = false;
    r.Ch1Offset = offset;
    const QImage image = RenderScreen(r, 1.0, true);
    // The arrow's stem at x 12 and 22; the in-range flag at x 6 is not drawn.
    const QRect arrow = top ? QRect(12, 20, 11, 22) : QRect(12, 208, 11, 22);
    QVERIFY(countColour(image, ColorCh1, arrow) >= 10);
    QCOMPARE(countColour(image, ColorCh1, QRect(5, 25, 2, 200)), 0);
}

void TestRenderer::alternateTriggerPutsChannel1OnTop() {
    WaveRecord r = flatRecord();
    r.TriggerMode = "ALTERNATION";
    r.SplitScreen = true;
    r.AltTimeScale1 = r.AltTimeScale2 = "1.00ms";
    r.AltTimeOffset1 = r.AltTimeOffset2 = "0.00s";
    const QImage image = RenderScreen(r, 1.0, true);
    // Half height: CH1's row 50 at 25 + 25, CH2's row 150 at 25 + 100 + 75.
    QCOMPARE(image.pixelColor(125, 50), ColorCh1);
    QCOMPARE(image.pixelColor(125, 200), ColorCh2);
    QCOMPARE(countColour(image, ColorCh1, QRect(30, 126, 290, 74)), 0);
}

namespace {
WaveRecord digitalRecord(int mask, int active) {
    WaveRecord r = flatRecord();
    r.ShowCh1 = r.ShowCh2 = false;
    r.ShowLA = true;
    r.SysData.LAOn = 1;
    r.SysData.LAEnableMask = static_cast<std::int16_t>(mask);
    r.SysData.LAActiveChannel = static_cast<std::uint8_t>(active);
    r.SysData.LAHeightLow = r.SysData.LAHeightHigh = 6;
    for (int n = 0; n < 16; ++n)
        r.SysData.LAPosition[std::size_t(n)] = static_cast<std::int16_t>(40 + n * 20);
    // Every channel toggles every 50 columns.
    for (int c = 0; c < 600; ++c) {
        const int word = (c / 100) % 2 ? 0xFFFF : 0x0000;
        r.LASamples[2 * c + 1] = word & 0xFF;
        r.LASamples[2 * c + 2] = word >> 8;
    }
    return r;
}
} // namespace

void TestRenderer::disabledDigitalChannelDrawsNeitherLabelNorLane() {
    // D1 disabled, D0 and D2 on; D0 active.
    const QImage image = RenderScreen(digitalRecord(0b101, 0), 1.0, true);
    auto laneBand = [](int n) { return QRect(0, 40 + n * 20 - 13, 325, 15); };
    QCOMPARE(countColour(image, ColorLA, laneBand(1)), 0);
    QVERIFY(countColour(image, ColorLA, laneBand(2)) > 100);
    QVERIFY(countColour(image, ColorLAActive, laneBand(0)) > 100);
}

void TestRenderer::activeDigitalLaneIsDrawnLastInItsColour() {
    WaveRecord r = digitalRecord(0b11, 1);
    r.SysData.LAPosition[0] = r.SysData.LAPosition[1] = 100; // both lanes on one row
    const QImage image = RenderScreen(r, 1.0, true);
    const QRect lane(30, 100 - 8, 290, 10);
    QVERIFY(countColour(image, ColorLAActive, lane) > 100);
    QCOMPARE(countColour(image, ColorLA, lane), 0); // the active lane lies on top
}

void TestRenderer::blackAndWhiteHasNoColour() {
    WaveRecord r = flatRecord();
    r.ColorDisplay = false;
    const QImage image = RenderScreen(r, 1.0, true);
    QCOMPARE(image.pixelColor(0, 0), QColor(Qt::white));
    QCOMPARE(image.pixelColor(125, 75), QColor(Qt::black));
    for (const QColor& c : {ColorCh1, ColorCh2, ColorMarker, ColorGridLight})
        QCOMPARE(countColour(image, c), 0);
}

void TestRenderer::gridDotsOnlyWithGrid() {
    WaveRecord r = flatRecord();
    r.Loaded = false;
    r.GridOn = true;
    const int with = countColour(RenderScreen(r, 1.0, true), ColorGridLight);
    r.GridOn = false;
    const int without = countColour(RenderScreen(r, 1.0, true), ColorGridLight);
    QVERIFY(with > without + 500);
    // A grid dot of a division line inside the frame: (25 + 25, 25 + 5).
    r.GridOn = true;
    QCOMPARE(RenderScreen(r, 1.0, true).pixelColor(50, 30), ColorGridLight);
}

void TestRenderer::xyModeDrawsChannel1AgainstChannel2() {
    WaveRecord r = flatRecord();
    r.ShowYT = false;
    r.ShowXY = true;
    for (int i = 1; i <= 600; ++i) {
        r.Ch1Samples[i] = 100; // x = (250 - 100) + 25
        r.Ch2Samples[i] = 60;
    }
    const QImage image = RenderScreen(r, 1.0, true);
    QVERIFY(countColour(image, QColor(0, 255, 0), QRect(173, 83, 4, 4)) > 0);
    QCOMPARE(countColour(image, ColorCh1, QRect(26, 26, 298, 170)), 0); // no Y-T trace
}

void TestRenderer::commaDecimalTextsStillPlaceTheMarker() {
    // A record made under a comma locale: "0,50V" must read as half a volt.
    WaveRecord r = flatRecord();
    r.ShowCh2 = false;
    r.Ch1Scale = "0,25V";
    r.Ch1Offset = "0,50V"; // ground at row 50
    const QImage image = RenderScreen(r, 1.0, true);
    // The flag's outline spans x 6 to 23 around row 50 + 25.
    QVERIFY(countColour(image, ColorCh1, QRect(5, 68, 20, 14)) >= 10);
}

QTEST_MAIN(TestRenderer)
#include "tst_renderer.moc"
