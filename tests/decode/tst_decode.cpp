// SPDX-License-Identifier: GPL-3.0-or-later
// Protocol decoding: what the decoders read from the simulator's buses is
// what it sent (from a deep-memory file, a screen fetch and an analogue
// channel cut at a threshold), a run stops when asked, a decoder's error is
// a message, and the annotation rows keep every annotation at any zoom.
#include "Buses.h"
#include "Files.h"
#include "SimulatedLink.h"
#include "TestPlatform.h"
#include "acquire/Jobs.h"
#include "acquire/WaveJob.h"
#include "decode/AnnotationLayout.h"
#include "decode/Decode.h"
#include "decode/DecodeStacks.h"
#include "decode/Decoders.h"
#include "export/CaptureExport.h"
#include "link/NQ4000Cmd.h"
#include "memwave/WaveformFile.h"
#include "memwave/frmOpenWaveform.h"
#include "sheet/DataSheet.h"
#include "sheet/SheetRecords.h"
#include "views/DecodeDialog.h"
#include "views/DecodePane.h"
#include "views/frmWave.h"

#include <QDialog>
#include <QLineEdit>
#include <QListWidget>
#include <QProcess>
#include <QScrollArea>
#include <QTableView>
#include <QTest>
#include <QToolButton>
#include <cmath>

namespace {

QString hexOf(const std::vector<std::uint8_t>& bytes) {
    QStringList out;
    for (std::uint8_t b : bytes)
        out << QString("%1").arg(b, 2, 16, QChar('0')).toUpper();
    return out.join(' ');
}

QString hexOf(const std::string& text) {
    return hexOf(std::vector<std::uint8_t>(text.begin(), text.end()));
}

// The first texts of a row's annotations whose first text starts so, the prefix cut.
QString rowTexts(const decode::DecodeResult& r, const QString& decoder, const QString& row,
                 const QString& prefix = QString()) {
    QStringList out;
    for (const decode::Annotation& a : r.annotations) {
        const decode::AnnotationRow& ar = r.rows[a.row];
        if (ar.decoder != decoder || ar.id != row) continue;
        const QString t = a.texts.value(0);
        if (t.startsWith(prefix)) out << t.mid(prefix.size());
    }
    return out.join(' ');
}

// The data bytes of the UART's rx-data row (its start and stop bits left out).
QString uartBytes(const decode::DecodeResult& r) {
    QStringList out;
    for (const QString& t : rowTexts(r, "uart", "rx-data").split(' '))
        if (t.size() == 2 && t != "bi") out << t;
    return out.join(' ');
}

decode::DecodeSetup setupOf(const QStringList& stacks) {
    decode::DecodeSetup setup;
    for (const QString& text : stacks) {
        decode::DecodeStack stack;
        QString error;
        if (!decode::ParseStack(text, &stack, &error)) qFatal("%s", qPrintable(error));
        setup.stacks.push_back(stack);
    }
    return setup;
}

Capture fileCapture(const QString& path, int points) {
    sim::WaveformFileContent content;
    content.points = points;
    std::string error;
    if (!sim::WriteWaveformFile(path.toStdString(), content, &error)) qFatal("%s", error.c_str());
    MemoryRecord rec;
    QString why;
    LoadWaveformFile(path, rec, &why);
    return CaptureOfMemory(rec, &why);
}

} // namespace

class TestDecode : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void payloadsFromAFile_data();
    void payloadsFromAFile();
    void payloadsFromAScreenFetch();
    void analogueChannelThroughTheThreshold();
    void stopsWhenAsked();
    void quietChannelAndDecoderError();
    void thousandsInOneColumnStayVisible();
    void theMemoryWaveWindowDecodesAndCentres();
    void aSavedStackKeepsItsOptions();
    void aClickOnStackedAnnotationsPicksTheInnermost_data();
    void aClickOnStackedAnnotationsPicksTheInnermost();

private:
    std::unique_ptr<TestPlatform> tp_;
};

void TestDecode::initTestCase() {
    RegisterMemoryWaveWindow();
    QString error;
    QVERIFY2(decode::DecodersReady(&error), qPrintable(error));
    QVERIFY(decode::FindDecoder("uart") && decode::FindDecoder("eeprom24xx"));
}

// Each bus of a simulated 4000-point capture (667 kHz) against what the simulator sent.
void TestDecode::payloadsFromAFile_data() {
    QTest::addColumn<QStringList>("stacks");
    QTest::addColumn<QString>("decoder");
    QTest::addColumn<QString>("row");
    QTest::addColumn<QString>("prefix");
    QTest::addColumn<QString>("expected");
    const QString data = hexOf(sim::EepromData());
    QTest::newRow("UART text") << QStringList{"uart:rx=D0:baudrate=115200"} << "uart"
                               << "rx-data"
                               << ""
                               << "Start bit " +
                                      hexOf(sim::UartText()).replace(' ', " Stop bit Start bit ") +
                                      " Stop bit";
    QTest::newRow("I2C write and read with ACKs")
        << QStringList{"i2c:scl=D1:sda=D2"} << "i2c"
        << "addr-data"
        << ""
        << QString("Start Address write: 50 Write ACK Data write: 10 ACK Data write: 4B ACK Data "
                   "write: 76 ACK Data write: 2A ACK Stop Start Address write: 50 Write ACK Data "
                   "write: 10 ACK Start repeat Address read: 50 Read ACK Data read: 4B ACK Data "
                   "read: 76 ACK Data read: 2A NACK Stop");
    QTest::newRow("EEPROM stacked on I2C")
        << QStringList{"i2c:scl=D1:sda=D2,eeprom24xx"} << "eeprom24xx"
        << "ops"
        << ""
        << "Page write (addr=10, 3 bytes): " + data +
               " Sequential random read (addr=10, 3 bytes): " + data;
    QTest::newRow("SPI MOSI") << QStringList{"spi:clk=D3:mosi=D4:miso=D5:cs=D6"} << "spi"
                              << "mosi-data"
                              << "" << hexOf(sim::SpiMosi());
    QTest::newRow("SPI MISO") << QStringList{"spi:clk=D3:mosi=D4:miso=D5:cs=D6"} << "spi"
                              << "miso-data"
                              << "" << hexOf(sim::SpiMiso());
}

void TestDecode::payloadsFromAFile() {
    QFETCH(QStringList, stacks);
    QFETCH(QString, decoder);
    QFETCH(QString, row);
    QFETCH(QString, prefix);
    QFETCH(QString, expected);
    QTemporaryDir dir;
    const Capture capture = fileCapture(dir.filePath("bus.wfm"), 4000);
    const decode::DecodeSetup setup = setupOf(stacks);
    const decode::DecodeResult r = decode::RunDecode(setup, decode::InputOfCapture(capture, setup));
    QVERIFY2(r.error.isEmpty(), qPrintable(r.error));
    QCOMPARE(rowTexts(r, decoder, row, prefix), expected);
}

// The Wave window's fetch at 100 us/div (500 kHz, 600 samples): the UART's
// first characters and the whole I2C write fit in the screen.
void TestDecode::payloadsFromAScreenFetch() {
    tp_ = std::make_unique<TestPlatform>();
    RegisterWaveJob();
    SimulatedLink link;
    QVERIFY(link.connected());
    link.instrument().Process(":TIMEBASE:SCALE 0.0001");
    WaveRecords[0] = WaveRecord();
    WaveRecords[0].SelLA = true;
    QVERIFY(RunJob(kJobWave, "wave", 0));
    QVERIFY(JobSucceeded());
    WaveRecords[0].Loaded = true;
    QString error;
    const Capture capture = CaptureOfScreen(WaveRecords[0], &error);
    QCOMPARE(capture.samples(), 600);
    const decode::DecodeSetup setup =
        setupOf({"uart:rx=D0:baudrate=115200", "i2c:scl=D1:sda=D2,eeprom24xx"});
    const decode::DecodeResult r = decode::RunDecode(setup, decode::InputOfCapture(capture, setup));
    QVERIFY2(r.error.isEmpty(), qPrintable(r.error));
    const QString text = uartBytes(r);
    QVERIFY2(text.size() >= 3 * 10 && hexOf(sim::UartText()).startsWith(text), qPrintable(text));
    QVERIFY(rowTexts(r, "eeprom24xx", "ops")
                .startsWith("Page write (addr=10, 3 bytes): " + hexOf(sim::EepromData())));
    tp_.reset();
}

// D0 drawn on CH1 as a slow, noisy analogue signal: cut at 1.65 V with 0.8 V
// of hysteresis it decodes as the logic lane does; without hysteresis the
// noise at each edge makes false edges.
void TestDecode::analogueChannelThroughTheThreshold() {
    QTemporaryDir dir;
    Capture capture = fileCapture(dir.filePath("bus.wfm"), 40000); // 6.7 MHz
    std::vector<float> volts(capture.logic.size());
    double level = 3.3; // the UART idles high
    for (std::size_t i = 0; i < volts.size(); ++i) {
        const double target = (capture.logic[i] & 1) ? 3.3 : 0;
        level += (target - level) * 0.08;                               // an RC edge
        volts[i] = static_cast<float>(level + 0.3 * std::sin(i * 2.7)); // noise
    }
    capture.analogNames = QStringList{"CH1"};
    capture.analog = {platform::LargeVector<float>(volts.begin(), volts.end())};
    decode::DecodeSetup setup = setupOf({"uart:rx=CH1:baudrate=115200"});
    setup.threshold = 1.65;
    setup.hysteresis = 0.8;
    decode::DecodeInput input = decode::InputOfCapture(capture, setup);
    QCOMPARE(input.unitSize, 4);
    decode::DecodeResult r = decode::RunDecode(setup, input);
    QVERIFY2(r.error.isEmpty(), qPrintable(r.error));
    QCOMPARE(uartBytes(r), hexOf(sim::UartText()));
    // The lane itself: with hysteresis one edge per logic edge, without more.
    auto edges = [](const std::vector<bool>& lane) {
        int n = 0;
        for (std::size_t i = 1; i < lane.size(); ++i)
            n += lane[i] != lane[i - 1];
        return n;
    };
    int logicEdges = 0;
    for (std::size_t i = 1; i < capture.logic.size(); ++i)
        logicEdges += (capture.logic[i] & 1) != (capture.logic[i - 1] & 1);
    QCOMPARE(edges(decode::ThresholdLane(volts, 1.65, 0.8)), logicEdges);
    QVERIFY(edges(decode::ThresholdLane(volts, 1.65, 0)) > logicEdges);
}

// A 1,048,576-point capture sent in blocks: stopping after the first keeps
// what was decoded so far, marked as stopped, with no error.
void TestDecode::stopsWhenAsked() {
    QTemporaryDir dir;
    const Capture capture = fileCapture(dir.filePath("deep.wfm"), 1048576);
    const decode::DecodeSetup setup = setupOf({"uart:rx=D0:baudrate=115200"});
    const decode::DecodeInput input = decode::InputOfCapture(capture, setup);
    int calls = 0;
    const decode::DecodeResult part =
        decode::RunDecode(setup, input, [&calls](int) { return ++calls < 2; });
    QVERIFY(part.cancelled);
    QVERIFY(part.error.isEmpty());
    QCOMPARE(calls, 2);
    const decode::DecodeResult whole = decode::RunDecode(setup, input);
    QVERIFY(!whole.cancelled);
    QVERIFY(!part.annotations.empty());
    QVERIFY(part.annotations.size() < whole.annotations.size());
    QVERIFY(part.annotations.back().end <= decode::kDecodeBlock);
}

void TestDecode::quietChannelAndDecoderError() {
    QTemporaryDir dir;
    const Capture capture = fileCapture(dir.filePath("bus.wfm"), 4000);
    // D9 carries the slow counter, D15 sits high: neither is a UART.
    for (const char* lane : {"D9", "D15"}) {
        const decode::DecodeSetup setup =
            setupOf({QString("uart:rx=%1:baudrate=115200").arg(lane)});
        const decode::DecodeResult r =
            decode::RunDecode(setup, decode::InputOfCapture(capture, setup));
        QVERIFY2(r.error.isEmpty(), qPrintable(r.error));
        QVERIFY(!rowTexts(r, "uart", "rx-data").contains(hexOf(sim::UartText()).left(8)));
    }
    // A decoder that fails in its Python: the message, not a crash.
    const decode::DecodeSetup setup = setupOf({"uart:rx=D0:baudrate=0"});
    const decode::DecodeResult r = decode::RunDecode(setup, decode::InputOfCapture(capture, setup));
    QVERIFY2(r.error.contains("ZeroDivisionError"), qPrintable(r.error));
    // And the library is fine for the next run.
    const decode::DecodeSetup good = setupOf({"uart:rx=D0:baudrate=115200"});
    QVERIFY(decode::RunDecode(good, decode::InputOfCapture(capture, good)).error.isEmpty());
}

// 100,000 annotations of 10 samples on a 1000-pixel row showing 10 M
// samples: about 100 fall in each pixel, and the marks are blocks covering
// them all with work bounded by the width; zoomed in, each is a box with
// the longest text that fits.
void TestDecode::thousandsInOneColumnStayVisible() {
    decode::DecodeResult r;
    r.rows = {{0, "uart", "rx-data", "RX"}};
    for (int i = 0; i < 100000; ++i)
        r.annotations.push_back({i * 100LL, i * 100LL + 10, 0, 0, {"Data: 41", "41"}});
    decode::RowIndex index;
    index.build(r);
    const auto width = [](const QString& t) { return 7 * static_cast<int>(t.size()); };
    const std::vector<decode::AnnotationMark> out =
        decode::LayoutRow(r, index, 0, {0, 10000, 1000}, width);
    QCOMPARE(out.size(), std::size_t(1)); // neighbours in touching pixels: one block
    QVERIFY(out[0].block);
    QCOMPARE(out[0].count, 100000);
    QVERIFY(out[0].x1 >= 999);
    // Zoomed in: 40 pixels an annotation, room for the long text (56 px: no; "41": yes).
    const std::vector<decode::AnnotationMark> in =
        decode::LayoutRow(r, index, 0, {0, 0.25, 1000}, width);
    QCOMPARE(in.size(), std::size_t(3)); // at 0, 400 and 800 px
    QCOMPARE(in[0].text, QString("41"));
    QVERIFY(!in[0].block);
    const std::vector<decode::AnnotationMark> wide =
        decode::LayoutRow(r, index, 0, {0, 0.1, 1000}, width);
    QCOMPARE(wide[0].text, QString("Data: 41"));
    // A click finds the one under the pointer, and nothing between.
    QCOMPARE(decode::AnnotationAt(r, index, 0, {0, 0.25, 1000}, 401), 1);
    QCOMPARE(decode::AnnotationAt(r, index, 0, {0, 0.25, 1000}, 200), -1);
}

// The window: Decode's dialog, the rows under the picture and the table;
// a real click on an annotation centres the capture on it; the setup is
// kept for the next window of the kind.
void TestDecode::theMemoryWaveWindowDecodesAndCentres() {
    tp_ = std::make_unique<TestPlatform>();
    QTemporaryDir dir;
    const QString path = dir.filePath("bus.wfm");
    fileCapture(path, 40000);
    QVERIFY(NewDataSheet());
    QCOMPARE(AddDocument(DocKind::MemoryWave), 0);
    auto* w = qobject_cast<frmOpenWaveform*>(DocForm(DocKind::MemoryWave, 0));
    w->resize(1000, 700);
    w->show();
    w->Timer1_Timer();
    QVERIFY(w->LoadWaveform(path));
    const QImage before = w->picture();
    w->findChild<QToolButton*>("cmdDecode")->click();
    auto* dialog = w->window()->findChild<QDialog*>("DecodeDialog");
    QVERIFY(dialog);
    dialog->accept(); // uart on D0 at its default 115200 baud
    DecodePane* pane = w->decodePane();
    QTRY_VERIFY_WITH_TIMEOUT(!pane->running() && !pane->result().annotations.empty(), 20000);
    QCOMPARE(uartBytes(pane->result()), hexOf(sim::UartText()));
    QVERIFY(pane->isVisible());
    QCOMPARE(w->picture().height(), before.height() + pane->rowsHeight());
    QVERIFY(pane->table()->model()->rowCount() > 0);
    // The search narrows the table to the matching annotations.
    pane->searchBox()->setText("4B");
    const int shown = pane->table()->model()->rowCount();
    QVERIFY(shown >= 1 && shown < 10);
    // CSV exports what the search shows; Python's csv module reads it back.
    const QString csv = tp_->tempPath("annotations.csv");
    tp_->chosenPaths = {csv};
    pane->ExportCsv();
    QProcess python;
    python.start("/usr/bin/python3",
                 {"-c",
                  "import csv,sys; rows=list(csv.DictReader(open(sys.argv[1]))); "
                  "print(len(rows), rows[0]['decoder'], rows[0]['text'], rows[0]['start sample'])",
                  csv});
    QVERIFY(python.waitForFinished(20000));
    const QList<QByteArray> read = python.readAllStandardOutput().trimmed().split(' ');
    QCOMPARE(read.value(0).toInt(), shown);
    QCOMPARE(read.value(1), QByteArray("uart"));
    QCOMPARE(read.value(2), QByteArray("4B"));
    // Zoom in, then click the "rx-data" row where the 'K' (4B) is drawn.
    MemoryRecords[0].TimeDiv = 2e-5;
    w->Pipeline(PipelinePart::All);
    const decode::Annotation* k = nullptr;
    for (const decode::Annotation& a : pane->result().annotations)
        if (a.texts.value(0) == "4B" && pane->result().rows[a.row].id == "rx-data") k = &a;
    QVERIFY(k);
    // Put the annotation in view, off centre, then click it on its row of the picture.
    w->CentreOnSample(k->start);
    auto* picture = w->findChild<QScrollArea*>()->widget();
    const double mid = (k->start + k->end) / 2.0;
    const CaptureTiming t = w->view().timing(MemoryRecords[0], 1);
    const int x = static_cast<int>(25 + t.columnOf(mid + 200) * w->ZoomFactor());
    const int y = w->picture().height() - pane->rowsHeight() + pane->rowTop(k->row) + 20;
    QVERIFY(std::abs(t.columnOf(mid) - 150) > 20);
    QTest::mouseClick(picture, Qt::LeftButton, {}, QPoint(x, y));
    QVERIFY(std::abs(w->view().timing(MemoryRecords[0], 1).columnOf(mid) - 150) < 1);
    QVERIFY(pane->table()->selectionModel()->hasSelection());
    QCOMPARE(pane->table()->selectionModel()->selectedRows(2).value(0).data().toString(),
             QString("4B"));
    // The next window of the kind starts with the same decoders.
    DecodePane again("MemoryWave");
    QCOMPARE(decode::SetupTexts(again.setup()), QStringList{"uart:rx=D0"});
    ResetDataSheet();
    tp_.reset();
}

// A UART set to 9600 baud in the Decoders dialog (typed into its option box),
// the sheet saved and opened again: the window's stack is still at 9600, and
// the dialog opened from it lists "uart:rx=D0:baudrate=9600".
void TestDecode::aSavedStackKeepsItsOptions() {
    tp_ = std::make_unique<TestPlatform>();
    QVERIFY(NewDataSheet());
    QCOMPARE(AddDocument(DocKind::MemoryWave), 0);
    auto* w = qobject_cast<frmOpenWaveform*>(DocForm(DocKind::MemoryWave, 0));
    w->show();
    w->Timer1_Timer();
    {
        DecodeDialog dialog(w->decodePane()->setup(), w);
        dialog.selectDecoder("uart");
        auto* baud = dialog.findChild<QLineEdit*>("option_baudrate");
        QVERIFY(baud);
        baud->selectAll();
        QTest::keyClicks(baud, "9600");
        dialog.findChild<QListWidget*>("stacks")->clear();
        dialog.accept();
        w->decodePane()->SetSetup(dialog.setup());
    }
    QCOMPARE(decode::SetupTexts(w->decodePane()->setup()), QStringList{"uart:rx=D0:baudrate=9600"});
    const QString path = tp_->tempPath("decoders.ult");
    tp_->chosenPaths = {path};
    QVERIFY(SaveDataSheet());
    ResetDataSheet();
    OpenDataSheet(path);
    auto* again = qobject_cast<frmOpenWaveform*>(DocForm(DocKind::MemoryWave, 0));
    QVERIFY(again);
    QCOMPARE(decode::SetupTexts(again->decodePane()->setup()),
             QStringList{"uart:rx=D0:baudrate=9600"});
    {
        DecodeDialog shown(again->decodePane()->setup(), again);
        auto* stacks = shown.findChild<QListWidget*>("stacks");
        QCOMPARE(stacks->count(), 1);
        QCOMPARE(stacks->item(0)->text(), QString("uart:rx=D0:baudrate=9600"));
    }
    ResetDataSheet();
    tp_.reset();
}

// Annotations nested in one row (a frame, a field in it, a bit in that): a
// click picks the innermost one under the pointer, the table selects it, and
// the capture centres on it; beside the nest, the one there.
void TestDecode::aClickOnStackedAnnotationsPicksTheInnermost_data() {
    QTest::addColumn<double>("x");
    QTest::addColumn<QString>("picked");
    QTest::newRow("in the bit") << 500.0 << "bit";
    QTest::newRow("in the field, beside the bit") << 420.0 << "field";
    QTest::newRow("in the frame alone") << 100.0 << "frame";
    QTest::newRow("the next frame") << 1050.0 << "next";
}

void TestDecode::aClickOnStackedAnnotationsPicksTheInnermost() {
    QFETCH(double, x);
    QFETCH(QString, picked);
    decode::DecodeResult r;
    r.rows = {{0, "uart", "rx-data", "RX"}};
    r.sampleRate = 1e6;
    r.annotations = {{0, 1000, 0, 0, {"frame"}},
                     {400, 600, 0, 0, {"field"}},
                     {450, 550, 0, 0, {"bit"}},
                     {1000, 1100, 0, 0, {"next"}}};
    DecodePane pane("Test");
    std::int64_t centred = -1;
    pane.centreOn = [&centred](std::int64_t sample) { centred = sample; };
    pane.ShowResult(r);
    QVERIFY(pane.clickRows(x, 10, {0, 1, 1200}));
    QCOMPARE(pane.table()->selectionModel()->selectedRows(2).value(0).data().toString(), picked);
    for (const decode::Annotation& a : r.annotations)
        if (a.texts[0] == picked) QCOMPARE(centred, (a.start + a.end) / 2);
}

QTEST_MAIN(TestDecode)
#include "tst_decode.moc"
