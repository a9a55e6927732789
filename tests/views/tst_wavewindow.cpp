// SPDX-License-Identifier: GPL-3.0-or-later
// The waveform window end to end: a sheet, a wave window, a refresh against
// the simulated instrument, the picture, zoom, options, export and print, and
// the automatic refresh with its ways to end.
#include "SimulatedLink.h"
#include "TestPlatform.h"

#include "acquire/Jobs.h"
#include "acquire/WaveJob.h"
#include "controller/CtrlData.h"
#include "link/LinkState.h"
#include "link/NQ4000Cmd.h"
#include "shared/LoadLanguage.h"
#include "shared/SoftwareSetting.h"
#include "shared/StringRES.h"
#include "sheet/DataSheet.h"
#include "sheet/SheetFile.h"
#include "sheet/SheetRecords.h"
#include "views/AnalyserPane.h"
#include "views/RefreshCycle.h"
#include "views/ScreenRenderer.h"
#include "views/frmWave.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFile>
#include <QFont>
#include <QFontMetrics>
#include <QTimer>
#include <QToolButton>
#include <QtTest>

class TestWaveWindow : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void cleanup();
    void refreshFetchesAndDraws();
    void aReopenedSheetShowsWhatWasSaved();
    void firstTickSetsUpWithoutDirtying();
    void windowWithoutSourcesDoesNothing();
    void refreshWithoutConnectionSaysSo();
    void zoomText_data();
    void zoomText();
    void zoomCommitRedraws();
    void optionsMarkTheSheet();
    void switchedOffSourceIsUncheckedAndDisabled();
    void exportWritesTheChosenFormat_data();
    void exportWritesTheChosenFormat();
    void printAndPreviewAt200Percent();
    void autoRefreshEndsWhenTheWindowCloses();
    void autoRefreshEndsWhenTheLinkDrops();
    void refreshKeyIsF5WithoutShift();
    void spectrumShowsTheChannelChosen();
    void whatIsTickedIsWhatIsDrawn_data();
    void whatIsTickedIsWhatIsDrawn();

private:
    std::unique_ptr<TestPlatform> tp_;
    std::unique_ptr<SimulatedLink> link_;
    frmWave* window_ = nullptr;
    int fetches() const;
};

void TestWaveWindow::initTestCase() {
    RegisterWaveJob();
    RegisterWaveWindow();
}

void TestWaveWindow::init() {
    tp_ = std::make_unique<TestPlatform>();
    ResetControllerState();
    SoftwareSetting = SoftwareSettingRecord();
    ResetDataSheet();
    link_ = std::make_unique<SimulatedLink>();
    QVERIFY(link_->connected());
    QVERIFY(NewDataSheet());
    QCOMPARE(AddDocument(DocKind::Wave), 0);
    window_ = qobject_cast<frmWave*>(DocForm(DocKind::Wave, 0));
    QVERIFY(window_);
    window_->Timer1_Timer(); // the first tick
    link_->clearLog();
}

void TestWaveWindow::cleanup() {
    ResetDataSheet();
    window_ = nullptr;
    link_.reset();
    tp_.reset();
}

int TestWaveWindow::fetches() const {
    return static_cast<int>(link_->log().filter(":WAVEFORM:DATA?").size());
}

void TestWaveWindow::refreshFetchesAndDraws() {
    window_->sourceBox(0)->setChecked(true);
    SheetDirty = false;
    window_->cmdRefresh_Click();
    QCOMPARE(fetches(), 1);
    const WaveRecord& r = WaveRecords[0];
    QVERIFY(r.Loaded);
    QVERIFY(SheetDirty);
    QVERIFY(window_->refreshButton()->isEnabled());
    const QImage& picture = window_->picture();
    QCOMPARE(picture.size(), ScreenPictureSize(window_->ZoomFactor()));
    int yellow = 0;
    for (int y = 0; y < picture.height(); ++y)
        for (int x = 0; x < picture.width(); ++x)
            if (picture.pixelColor(x, y) == ColorCh1) ++yellow;
    QVERIFY2(yellow > 300, qPrintable(QString::number(yellow)));
}

// Fetched with CH2 and LA at 200 %, saved, reopened with no instrument: the
// window comes back at 200 % with the boxes of the drawn traces ticked and
// usable.
void TestWaveWindow::aReopenedSheetShowsWhatWasSaved() {
    for (int i : {0, 1, 3})
        window_->sourceBox(i)->setChecked(true);
    window_->cmdRefresh_Click();
    window_->BestFitChk_Click(false);
    window_->zoomCombo()->setEditText("200%");
    window_->ZoomCombo_Commit();
    QCOMPARE(window_->ZoomFactor(), 2.0);
    const QString path = tp_->tempPath("zoomed.ult");
    tp_->chosenPaths = {path};
    QVERIFY(SaveDataSheet());
    link_.reset(); // the instrument goes
    ResetControllerState();
    ResetDataSheet();
    OpenDataSheet(path);
    auto* w = qobject_cast<frmWave*>(DocForm(DocKind::Wave, 0));
    QVERIFY(w);
    w->Timer1_Timer(); // the first tick, then the control-state tick
    w->Timer1_Timer();
    QCOMPARE(w->ZoomFactor(), 2.0);
    QCOMPARE(w->zoomCombo()->currentText(), QString("200%"));
    for (int i : {0, 1, 3}) {
        QVERIFY2(w->sourceBox(i)->isChecked(), qPrintable(w->sourceBox(i)->text()));
        QVERIFY2(w->sourceBox(i)->isEnabled(), qPrintable(w->sourceBox(i)->text()));
    }
    QVERIFY(WaveRecords[0].ShowCh2 && WaveRecords[0].ShowLA);
}

void TestWaveWindow::firstTickSetsUpWithoutDirtying() {
    ResetDataSheet();
    QVERIFY(NewDataSheet());
    AddDocument(DocKind::Wave);
    auto* w = qobject_cast<frmWave*>(DocForm(DocKind::Wave, 0));
    CtrlData.Ch2Display = WordOn;
    WaveRecords[0].SelCh2 = true;
    WaveRecords[0].GridOn = false;
    SheetDirty = false;
    w->Timer1_Timer();
    QVERIFY(!SheetDirty);
    QVERIFY(w->sourceBox(1)->isChecked());
    QVERIFY(WaveRecords[0].NeedsInit);
    QVERIFY(!w->zoomCombo()->isEnabled()); // best fit
}

void TestWaveWindow::windowWithoutSourcesDoesNothing() {
    window_->cmdRefresh_Click();
    QCOMPARE(fetches(), 0);
    QVERIFY(link_->log().filter("TRIGGER:STATUS").isEmpty());
    QVERIFY(!WaveRecords[0].Loaded);
}

void TestWaveWindow::refreshWithoutConnectionSaysSo() {
    window_->sourceBox(0)->setChecked(true);
    ResetLinkState();
    window_->cmdRefresh_Click();
    QCOMPARE(tp_->prompts(), QStringList{MsgConnectFirst});
    QCOMPARE(fetches(), 0);
}

void TestWaveWindow::zoomText_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("ok");
    QTest::addColumn<double>("zoom");
    QTest::newRow("percent") << "150%" << true << 1.5;
    QTest::newRow("no percent sign") << "150" << false << 0.0;
    QTest::newRow("half a per cent") << "0.5%" << true << 0.01;
    QTest::newRow("zero") << "0%" << true << 0.01;
    QTest::newRow("words") << "big%" << false << 0.0;
    QTest::newRow("blanks") << " 200 % " << true << 2.0;
}

void TestWaveWindow::zoomText() {
    QFETCH(QString, text);
    QFETCH(bool, ok);
    QFETCH(double, zoom);
    double z = 0;
    QCOMPARE(ParseZoomText(text, &z), ok);
    if (ok) QCOMPARE(z, zoom);
}

void TestWaveWindow::zoomCommitRedraws() {
    window_->BestFitChk_Click(false);
    window_->zoomCombo()->setEditText("150");
    window_->ZoomCombo_Commit();
    QCOMPARE(tp_->prompts(), QStringList{MsgBadZoom});
    const double before = window_->ZoomFactor();
    QCOMPARE(window_->zoomCombo()->currentText(), ZoomText(before));
    window_->zoomCombo()->setEditText("0.5%");
    window_->ZoomCombo_Commit();
    QCOMPARE(window_->ZoomFactor(), 0.01);
    QCOMPARE(window_->zoomCombo()->currentText(), QString("1%"));
    window_->zoomCombo()->setEditText("200%");
    window_->ZoomCombo_Commit();
    QCOMPARE(window_->picture().size(), QSize(700, 500));
}

void TestWaveWindow::optionsMarkTheSheet() {
    SheetDirty = false;
    window_->GridCheck_Click(false);
    QVERIFY(SheetDirty && !WaveRecords[0].GridOn);
    SheetDirty = false;
    window_->OptionColor_Click(1);
    QVERIFY(SheetDirty && !WaveRecords[0].ColorDisplay);
    QCOMPARE(window_->picture().pixelColor(0, 0), QColor(Qt::white));
    SheetDirty = false;
    window_->ChkCH_Click(3, true);
    QVERIFY(SheetDirty && WaveRecords[0].SelLA);
}

void TestWaveWindow::switchedOffSourceIsUncheckedAndDisabled() {
    CtrlData.Ch1Display = CtrlData.Ch2Display = CtrlData.MathDisplay = CtrlData.LaDisplay = WordOn;
    window_->sourceBox(1)->setChecked(true);
    CtrlData.Ch2Display = WordOff;
    window_->Timer1_Timer();
    QVERIFY(!window_->sourceBox(1)->isChecked());
    QVERIFY(!window_->sourceBox(1)->isEnabled());
    QVERIFY(!WaveRecords[0].SelCh2);
    QVERIFY(window_->sourceBox(0)->isEnabled());
}

void TestWaveWindow::exportWritesTheChosenFormat_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("magic");
    QTest::newRow("bitmap") << "screen.bmp" << QByteArray("BM");
    QTest::newRow("png") << "screen.png" << QByteArray("\x89PNG");
}

void TestWaveWindow::exportWritesTheChosenFormat() {
    QFETCH(QString, name);
    QFETCH(QByteArray, magic);
    const QString path = tp_->tempPath(name);
    tp_->chosenPaths = {path};
    window_->cmdExport_Click();
    QCOMPARE(tp_->fileDialogs.size(), 1);
    QCOMPARE(tp_->fileDialogs[0].title, QString("Export File"));
    QVERIFY(tp_->fileDialogs[0].filter.startsWith("BitMap Files (*.bmp)|*.bmp|"));
    QFile f(path);
    QVERIFY(f.open(QIODevice::ReadOnly));
    QVERIFY(f.read(magic.size()) == magic);
    QImage back(path);
    QCOMPARE(back.size(), window_->picture().size());
}

void TestWaveWindow::printAndPreviewAt200Percent() {
    window_->cmdPrint_Click();
    window_->cmdPreview_Click();
    QCOMPARE(tp_->prints.size(), 2);
    QCOMPARE(tp_->prints[0].action, platform::PrintAction::Print);
    QCOMPARE(tp_->prints[1].action, platform::PrintAction::Preview);
    QCOMPARE(tp_->prints[0].image.size(), QSize(700, 500));
    QCOMPARE(tp_->prints[0].title, QString("Wave0"));
    // The window keeps its own zoom.
    QCOMPARE(window_->picture().size(), ScreenPictureSize(window_->ZoomFactor()));
}

namespace {
// The automatic loop stays inside the click: what ends it must come from the
// event loop it runs, so a watcher timer acts once the condition holds.
void whenTrue(std::function<bool()> condition, std::function<void()> action) {
    auto* watcher = new QTimer;
    QObject::connect(watcher, &QTimer::timeout, [watcher, condition, action] {
        if (!condition()) return;
        watcher->stop();
        watcher->deleteLater();
        action();
    });
    watcher->start(1);
}
} // namespace

void TestWaveWindow::autoRefreshEndsWhenTheWindowCloses() {
    SoftwareSetting.RefreshType = "Auto";
    SoftwareSetting.RefreshInterval = 1000;
    window_->sourceBox(0)->setChecked(true);
    bool sawRunning = false, refusedDuringJob = false;
    whenTrue([] { return JobRunning; },
             [this, &refusedDuringJob] { refusedDuringJob = !window_->close(); });
    whenTrue([this] { return fetches() >= 3 && !JobRunning; },
             [this, &sawRunning] {
                 sawRunning = AutoRefreshActive(RefreshKind::Wave) && WaveRecords[0].AutoRunning;
                 window_->close();
             });
    window_->cmdRefresh_Click(); // returns once the loop has ended
    QVERIFY(sawRunning);
    QVERIFY(refusedDuringJob);
    QVERIFY(fetches() >= 3);
    QVERIFY(!AutoRefreshActive(RefreshKind::Wave));
    QVERIFY(!WaveRecords[0].AutoRunning);
    QVERIFY(window_->refreshButton()->isEnabled());
}

void TestWaveWindow::autoRefreshEndsWhenTheLinkDrops() {
    SoftwareSetting.RefreshType = "Auto";
    window_->sourceBox(0)->setChecked(true);
    whenTrue([this] { return fetches() >= 2; }, [] { ResetLinkState(); });
    window_->cmdRefresh_Click();
    QVERIFY(!AutoRefreshActive(RefreshKind::Wave));
    QVERIFY(!WaveRecords[0].AutoRunning);
}

void TestWaveWindow::refreshKeyIsF5WithoutShift() {
    QVERIFY(IsRefreshKey(Qt::Key_F5, Qt::NoModifier));
    QVERIFY(!IsRefreshKey(Qt::Key_F5, Qt::ShiftModifier));
    QVERIFY(!IsRefreshKey(Qt::Key_F4, Qt::NoModifier));
}

// The analyser under a fetched screen, its channel chosen in its box as a
// user chooses it: CH1 is the simulator's 1 kHz sine, CH2 its 2 kHz square,
// so each peak tells which channel's samples the plot holds.
void TestWaveWindow::spectrumShowsTheChannelChosen() {
    for (int i : {0, 1})
        window_->sourceBox(i)->setChecked(true);
    window_->cmdRefresh_Click();
    QVERIFY(WaveRecords[0].ShowCh1 && WaveRecords[0].ShowCh2);
    window_->findChild<QToolButton*>("cmdSpectrum")->click();
    auto* pane = window_->findChild<AnalyserPane*>();
    QVERIFY(pane && pane->isVisible());
    for (const auto& [index, hz] : {std::pair{1, 2000.0}, std::pair{0, 1000.0}}) {
        pane->channelBox()->setCurrentIndex(index);
        const AnalyserPlot* plot = pane->plot();
        QVERIFY2(
            std::abs(plot->peak().frequency - hz) < plot->spectrum().binHz,
            qPrintable(QString("CH%1: peak at %2 Hz").arg(index + 1).arg(plot->peak().frequency)));
        QVERIFY(plot->readout().startsWith("M1 " + FrequencyText(hz)));
    }
}

namespace {
int pixelsOf(const QImage& picture, const QColor& colour, int fromX = 0, int toX = -1) {
    int n = 0;
    for (int y = 0; y < picture.height(); ++y)
        for (int x = fromX; x < (toX < 0 ? picture.width() : toX); ++x)
            if (picture.pixelColor(x, y) == colour) ++n;
    return n;
}
} // namespace

// The instrument shows CH2 and the logic lanes; the boxes are ticked (or
// not) with the mouse, as a user does: a trace is drawn exactly when its box
// is ticked. The logic lanes' names in the left margin never write over one
// another, at the picture's own size and at a third of it.
void TestWaveWindow::whatIsTickedIsWhatIsDrawn_data() {
    QTest::addColumn<bool>("ch2");
    QTest::addColumn<bool>("la");
    QTest::addColumn<QString>("zoom");
    QTest::newRow("CH2 and LA, 100%") << true << true << "100%";
    QTest::newRow("CH2 and LA, 35%") << true << true << "35%";
    QTest::newRow("CH1 alone") << false << false << "100%";
}

void TestWaveWindow::whatIsTickedIsWhatIsDrawn() {
    QFETCH(bool, ch2);
    QFETCH(bool, la);
    QFETCH(QString, zoom);
    CmdSend(":CHANNEL2:DISPLAY ON");
    CmdSend(":LA:DISPLAY ON");
    CtrlData.Ch2Display = CtrlData.LaDisplay = WordOn; // as the read-all leaves them
    window_->Timer1_Timer();
    window_->show();
    const bool wanted[4] = {true, ch2, false, la};
    for (int i : {0, 1, 3}) {
        QCheckBox* box = window_->sourceBox(i);
        QVERIFY2(box->isEnabled(), qPrintable(box->text()));
        if (box->isChecked() != wanted[i])
            QTest::mouseClick(box, Qt::LeftButton, {}, QPoint(5, box->height() / 2));
        QCOMPARE(box->isChecked(), wanted[i]);
    }
    window_->cmdRefresh_Click();
    window_->BestFitChk_Click(false);
    window_->zoomCombo()->setEditText(zoom);
    window_->ZoomCombo_Commit();
    const QImage& picture = window_->picture();
    QVERIFY(pixelsOf(picture, ColorCh1) > 100);
    QCOMPARE(pixelsOf(picture, ColorCh2) > 100, ch2);
    const double z = window_->ZoomFactor();
    const int left = static_cast<int>(25 + 2), right = static_cast<int>(25 + 300 * z - 2);
    QCOMPARE(pixelsOf(picture, ColorLA, left, right) > 100, la); // the lanes
    if (!la) return;
    // The names: runs of rows with a name's pixels in the margin are no
    // taller than one name.
    const int tallest = QFontMetrics(QFont()).height() + 2;
    int run = 0, longest = 0;
    for (int y = 0; y < picture.height(); ++y) {
        bool named = false;
        for (int x = 0; x < 24 && !named; ++x) { // the names' green or red, smoothed or not
            const QColor c = picture.pixelColor(x, y);
            named = (c.green() > 120 && c.red() < 90 && c.blue() < 90) ||
                    (c.red() > 120 && c.green() < 90 && c.blue() < 90);
        }
        run = named ? run + 1 : 0;
        longest = std::max(longest, run);
    }
    QVERIFY2(longest > 3 && longest <= tallest,
             qPrintable(QString("a name %1 px tall, one line is %2").arg(longest).arg(tallest)));
}

QTEST_MAIN(TestWaveWindow)
#include "tst_wavewindow.moc"
