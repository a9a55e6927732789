// SPDX-License-Identifier: GPL-3.0-or-later
// The Data Logger window against the simulated instrument, driven through its
// widgets, and the plot's columns against a plain scan of the samples.
#include "SimulatedLink.h"
#include "TestPlatform.h"

#include "acquire/MeasureJob.h"
#include "logger/LogPlot.h"
#include "logger/LogStore.h"
#include "logger/frmDataLogger.h"
#include "measure/MeasureTable.h"
#include "shared/AppIdentity.h"
#include "shared/LoadLanguage.h"
#include "sheet/DataSheet.h"
#include "sheet/SheetRecords.h"

#include <QApplication>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSpinBox>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTimeZone>
#include <QTimer>
#include <QtTest>
#include <map>

class TestDataLogger : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void cleanup();
    void columnsHoldEveryPeakAndGap_data();
    void columnsHoldEveryPeakAndGap();
    void aLogFromTheWindow();
    void stopEndsAnEndlessLog();
    void aStoredLogOpensInThePlot();
    void aServerLogOpensInThePlot();
    void aDragAcrossALongLogReadsTheSpanCloser();

private:
    frmDataLogger* open(const QString& measures, int count, double interval);
    std::unique_ptr<TestPlatform> tp_;
    std::unique_ptr<frmDataLogger> window_;
};

void TestDataLogger::initTestCase() {
    RegisterMeasureJobs();
}

void TestDataLogger::init() {
    tp_ = std::make_unique<TestPlatform>();
    ResetControllerState();
    ResetDataSheet();
    ApplyLanguage(kLanguageEnglish);
    MakerName = "Vexor Technologies,Inc.";
}

void TestDataLogger::cleanup() {
    window_.reset();
    ResetDataSheet();
    tp_.reset();
}

// A day of samples at a few hundred columns: each column's low and high are
// those a plain scan finds, whether they come from blocks or from samples.
void TestDataLogger::columnsHoldEveryPeakAndGap_data() {
    QTest::addColumn<int>("samples");
    QTest::addColumn<int>("columns");
    QTest::newRow("fewer samples than columns") << 50 << 300;
    QTest::newRow("a few a column") << 2000 << 300;
    QTest::newRow("blocks a column") << 200000 << 300;
    QTest::newRow("blocks, odd width") << 200000 << 997;
}

void TestDataLogger::columnsHoldEveryPeakAndGap() {
    QFETCH(int, samples);
    QFETCH(int, columns);
    TrendSeries s;
    for (int i = 0; i < samples; ++i) {
        double v = std::sin(i * 0.001) + (i % 7) * 0.01;
        if (i == samples / 3) v = 50;  // one spike
        if (i == samples / 2) v = NAN; // one gap
        s.add(i * 0.1, v, false);
    }
    const double to = (samples - 1) * 0.1;
    const std::vector<ColumnSpan> got = TrendColumns(s, 0, to, columns);
    std::vector<ColumnSpan> want(static_cast<std::size_t>(columns));
    for (int i = 0; i < samples; ++i) {
        const int c = std::clamp(static_cast<int>(i * 0.1 / (to / columns)), 0, columns - 1);
        ColumnSpan& w = want[static_cast<std::size_t>(c)];
        if (std::isnan(s.v[static_cast<std::size_t>(i)])) {
            w.gap = true;
            continue;
        }
        w.low = w.empty() ? s.v[static_cast<std::size_t>(i)]
                          : std::min(w.low, s.v[static_cast<std::size_t>(i)]);
        w.high = std::isnan(w.high) ? s.v[static_cast<std::size_t>(i)]
                                    : std::max(w.high, s.v[static_cast<std::size_t>(i)]);
    }
    int peaks = 0, gaps = 0;
    for (int c = 0; c < columns; ++c) {
        const ColumnSpan& g = got[static_cast<std::size_t>(c)];
        const ColumnSpan& w = want[static_cast<std::size_t>(c)];
        QVERIFY2(g.empty() == w.empty() && g.gap == w.gap, qPrintable(QString::number(c)));
        if (!w.empty()) {
            QCOMPARE(g.low, w.low);
            QCOMPARE(g.high, w.high);
        }
        peaks += !g.empty() && g.high == 50;
        gaps += g.gap;
    }
    QCOMPARE(peaks, 1);
    QCOMPARE(gaps, 1);
}

namespace {
const QRgb kLimitColour = qRgb(255, 128, 0);
int pixelsOf(const QImage& picture, QRgb colour) {
    int n = 0;
    for (int y = 0; y < picture.height(); ++y)
        for (int x = 0; x < picture.width(); ++x)
            n += picture.pixel(x, y) == colour;
    return n;
}
} // namespace

frmDataLogger* TestDataLogger::open(const QString& measures, int count, double interval) {
    window_ = std::make_unique<frmDataLogger>();
    window_->resize(720, 520);
    window_->show();
    auto* text = window_->findChild<QLineEdit*>("txtMeasures");
    text->clear();
    QTest::keyClicks(text, measures);
    auto* db = window_->findChild<QLineEdit*>("txtDatabase");
    db->clear();
    QTest::keyClicks(db, tp_->tempPath("window.db"));
    window_->findChild<QSpinBox*>("spnCount")->setValue(count);
    window_->findChild<QDoubleSpinBox*>("spnInterval")->setValue(interval);
    return window_.get();
}

void TestDataLogger::aLogFromTheWindow() {
    SimulatedLink link;
    QVERIFY(link.connected());
    // The sheet's measure window holds Vpp limits of 0 to 1 V: the 2 V sine fails them.
    QVERIFY(NewDataSheet());
    AddDocument(DocKind::Measure);
    MeasureItem& vpp =
        MeasureRecords[0].Items[static_cast<std::size_t>(MeasureRowNamed("Vpp")->slot)];
    vpp.LimitEnabled = true;
    vpp.UnderLimit = 0;
    vpp.OverLimit = 1;
    frmDataLogger* w = open("CH1:Vpp,CH1:Frequency", 3, 0);
    auto* state = w->findChild<QLabel*>("lblState");
    auto* start = w->findChild<QPushButton*>("cmdStart");
    QCOMPARE(start->text(), QString("Start"));
    QTest::mouseClick(start, Qt::LeftButton);
    QVERIFY(!w->running());
    QCOMPARE(state->text(), "3 samples logged into " + tp_->tempPath("window.db"));
    const std::vector<TrendSeries>& lanes = w->plot()->series();
    QCOMPARE(lanes.size(), std::size_t(2));
    QCOMPARE(lanes[0].title(), QString("CH1 Vpp"));
    QCOMPARE(lanes[0].v.size(), std::size_t(3));
    QCOMPARE(lanes[0].failing.size(), std::size_t(3));
    QCOMPARE(*lanes[0].over, 1.0);
    QVERIFY(std::abs(lanes[1].v.back() - 1000) < 10); // the simulator's 1 kHz
    // The same samples are in the database, read back by the export's path.
    LogTarget target;
    target.path = tp_->tempPath("window.db");
    LogStore store(target);
    QVERIFY(store.open());
    int rows = 0;
    QVERIFY(
        store.readRows({}, [&](const LogExportRow& r) { rows += r.instrument == "SIM0000001"; }));
    QCOMPARE(rows, 6);
    // What the user sees: the trace (yellow) and the limit (orange) are drawn.
    const QImage picture = w->plot()->grab().toImage();
    QVERIFY(pixelsOf(picture, qRgb(255, 255, 0)) > 10);
    QVERIFY(pixelsOf(picture, kLimitColour) > 10);
    // In Chinese the headings read the measure window's names, drawn anew at
    // the switch; the stored names stay English.
    ApplyLanguage(kLanguageChinese);
    QCOMPARE(TrendLaneCaption(lanes[0]), QString("CH1 峰峰值 (V)"));
    QCOMPARE(TrendLaneCaption(lanes[1]), QString("CH1 频率 (Hz)"));
    TrendSeries duty;
    duty.channel = "CH2";
    duty.measure = "Duty+";
    duty.unit = "fraction";
    QCOMPARE(TrendLaneCaption(duty), QString("CH2 正占空比 (比例)"));
    QVERIFY(w->plot()->grab().toImage() != picture);
    QCOMPARE(lanes[0].title(), QString("CH1 Vpp"));
    ApplyLanguage(kLanguageEnglish);
    QCOMPARE(w->plot()->grab().toImage(), picture);
    // A wrong measure is said in the window; nothing runs.
    auto* text = w->findChild<QLineEdit*>("txtMeasures");
    text->clear();
    QTest::keyClicks(text, "CH1:Volts");
    QTest::mouseClick(start, Qt::LeftButton);
    QVERIFY(state->text().contains("no such measure"));
}

void TestDataLogger::stopEndsAnEndlessLog() {
    SimulatedLink link;
    QVERIFY(link.connected());
    frmDataLogger* w = open("CH2:Duty+", 0, 0.1);
    auto* start = w->findChild<QPushButton*>("cmdStart");
    QTimer::singleShot(600, start, [start] {
        QCOMPARE(start->text(), QString("Stop")); // the button says what it does now
        QTest::mouseClick(start, Qt::LeftButton);
    });
    QTest::mouseClick(start, Qt::LeftButton); // returns when the log has stopped
    QVERIFY(!w->running());
    QCOMPARE(start->text(), QString("Start"));
    const std::size_t taken = w->plot()->series()[0].v.size();
    QVERIFY2(taken >= 2 && taken <= 10, qPrintable(QString::number(taken)));
    QVERIFY(w->findChild<QLabel*>("lblState")
                ->text()
                .startsWith(QString::number(taken) + " samples logged"));
}

// A log written as the logger writes it (a gap, a failing sample with its
// screen, a sample held while the database was away and written late),
// opened with a click on Open log: each lane's times and values are those
// written, in time order, broken at the gap; the failing sample's screen
// opens from the plot. A name that is no file is said, and no file made.
void TestDataLogger::aStoredLogOpensInThePlot() {
    LogTarget target;
    target.path = tp_->tempPath("stored.db");
    const QDateTime t0(QDate(2026, 11, 24), QTime(8, 0), QTimeZone::utc());
    {
        LogStore store(target);
        QVERIFY(store.open());
        double under = 0.5, over = 1.4; // Vpp's limits, changed after the gap and back
        auto sample = [&](int tenth, double vpp, const char* verdict, const QByteArray& png = {}) {
            const QDateTime at = t0.addMSecs(tenth * 100LL);
            QList<LogRow> rows{{at, "CH1", "Vpp", vpp, "V", verdict, under, over},
                               {at, "CH2", "Frequency", 1000.0 + tenth, "Hz", ""}};
            QCOMPARE(store.addSample("SIM0000001", rows, png), LogStore::Write::Committed);
        };
        sample(0, 1.0, "pass");
        sample(1, 1.5, "fail", "PNGBYTES");
        sample(3, 1.2, "pass"); // tenth 2 comes late
        sample(2, 1.1, "pass");
        QCOMPARE(store.addGap("SIM0000001", t0.addMSecs(350), 2.0), LogStore::Write::Committed);
        under = 0.8, over = 1.6;
        sample(24, 0.9, "pass");
        under = 0.5, over = 1.4; // and back
        sample(30, 1.0, "pass");
    }
    {
        // The limits are kept when they come in force, not with every sample.
        QSqlDatabase db = QSqlDatabase::addDatabase("QSQLITE", "limits");
        db.setDatabaseName(target.path);
        QVERIFY(db.open());
        QSqlQuery q("SELECT since, under, over FROM limits ORDER BY since", db);
        QStringList kept;
        while (q.next())
            kept << q.value(0).toString() + " " + q.value(1).toString() + " " +
                        q.value(2).toString();
        QCOMPARE(kept, QStringList({"2026-11-24T08:00:00.000Z 0.5 1.4",
                                    "2026-11-24T08:00:02.400Z 0.8 1.6",
                                    "2026-11-24T08:00:03.000Z 0.5 1.4"}));
    }
    QSqlDatabase::removeDatabase("limits");
    frmDataLogger* w = open("CH1:Vpp", 0, 0);
    auto* db = w->findChild<QLineEdit*>("txtDatabase");
    auto* openButton = w->findChild<QPushButton*>("cmdOpen");
    auto* state = w->findChild<QLabel*>("lblState");
    db->clear();
    QTest::keyClicks(db, tp_->tempPath("none.db"));
    QTest::mouseClick(openButton, Qt::LeftButton);
    QCOMPARE(state->text(), tp_->tempPath("none.db") + ": no such log");
    QVERIFY(!QFile::exists(tp_->tempPath("none.db")));
    // A file that is no database: SQLite's own words, on the state line.
    {
        QFile text(tp_->tempPath("text.db"));
        QVERIFY(text.open(QIODevice::WriteOnly));
        text.write("a text file, not a database\n");
    }
    db->clear();
    QTest::keyClicks(db, tp_->tempPath("text.db"));
    QTest::mouseClick(openButton, Qt::LeftButton);
    QTRY_VERIFY_WITH_TIMEOUT(!w->reading(), 10000);
    QCOMPARE(state->text(), tp_->tempPath("text.db") + ": file is not a database");

    db->clear();
    QTest::keyClicks(db, target.path);
    QCOMPARE(openButton->text(), QString("Open log"));
    QTest::mouseClick(openButton, Qt::LeftButton);
    QTRY_VERIFY_WITH_TIMEOUT(!w->reading(), 10000);
    QCOMPARE(state->text(), "6 samples of " + target.path +
                                " from 2026-11-24T08:00:00.000Z; drag across the plot to look "
                                "closer");
    const std::vector<TrendSeries>& lanes = w->plot()->series();
    QCOMPARE(lanes.size(), std::size_t(2));
    QCOMPARE(lanes[0].title(), QString("CH1 Vpp"));
    QCOMPARE(lanes[1].title(), QString("CH2 Frequency"));
    QCOMPARE(lanes[1].unit, QString("Hz"));
    // Vpp: the six values in time order, the gap's break at 0.35 s.
    const std::vector<double> times{0, 0.1, 0.2, 0.3, 0.35, 2.4, 3.0};
    const std::vector<double> vpp{1.0, 1.5, 1.1, 1.2, NAN, 0.9, 1.0};
    QCOMPARE(lanes[0].t.size(), times.size());
    for (std::size_t i = 0; i < times.size(); ++i) {
        QVERIFY2(std::abs(lanes[0].t[i] - times[i]) < 1e-3, qPrintable(QString::number(i)));
        QVERIFY(std::isnan(vpp[i]) ? std::isnan(lanes[0].v[i]) : lanes[0].v[i] == vpp[i]);
    }
    QCOMPARE(lanes[1].v.back(), 1030.0);
    QCOMPARE(lanes[0].failing.size(), std::size_t(1));
    // The limits in force at the end are drawn (orange); Frequency had none.
    QCOMPARE(lanes[0].under, std::optional<double>(0.5));
    QCOMPARE(lanes[0].over, std::optional<double>(1.4));
    QVERIFY(!lanes[1].under && !lanes[1].over);
    QVERIFY(pixelsOf(w->plot()->grab().toImage(), kLimitColour) > 10);
    // The failing sample's screen, from the plot: the window shows it.
    const std::size_t before = QApplication::topLevelWidgets().size();
    emit w->plot()->failingSampleClicked(lanes[0].failing[0]);
    QCOMPARE(QApplication::topLevelWidgets().size(), before + 1);
}

// A log too long to read sample by sample opens as its envelope; a real
// drag across the plot reads the span dragged over, sample by sample: the
// samples written in it, no other; a double-click shows the whole log again.
void TestDataLogger::aDragAcrossALongLogReadsTheSpanCloser() {
    LogTarget target;
    target.path = tp_->tempPath("long.db");
    const QDateTime t0(QDate(2026, 11, 24), QTime(9, 0, 3), QTimeZone::utc());
    std::vector<std::pair<double, double>> written; // (seconds from t0, Vpp)
    {
        LogStore store(target);
        QVERIFY(store.open());
        for (int i = 0; i < 300; ++i) {
            const QDateTime at = t0.addSecs(i);
            const double vpp = 1 + 0.5 * std::sin(i * 0.1);
            written.emplace_back(i, vpp);
            QCOMPARE(store.addSample("SIM0000001", {{at, "CH1", "Vpp", vpp, "V", "pass"},
                                                    {at, "CH2", "Vrms", vpp / 3, "V", "pass"}}),
                     LogStore::Write::Committed);
        }
    }
    frmDataLogger* w = open("CH1:Vpp", 0, 0);
    w->setDetailRows(100);
    auto* db = w->findChild<QLineEdit*>("txtDatabase");
    db->clear();
    QTest::keyClicks(db, target.path);
    QTest::mouseClick(w->findChild<QPushButton*>("cmdOpen"), Qt::LeftButton);
    QTRY_VERIFY_WITH_TIMEOUT(!w->reading(), 10000);
    auto* state = w->findChild<QLabel*>("lblState");
    QCOMPARE(state->text(), "300 samples of " + target.path +
                                " from 2026-11-24T09:00:03.000Z; drag across the plot to look "
                                "closer");
    LogPlot* plot = w->plot();
    QVERIFY(plot->series()[0].t.size() <= 2 * 31); // two points a ten-second block at most

    const int y = plot->height() / 4, x1 = plot->width() * 3 / 10, x2 = plot->width() * 5 / 10;
    const double from = plot->secondsAt(x1), to = plot->secondsAt(x2);
    QTest::mousePress(plot, Qt::LeftButton, {}, QPoint(x1, y));
    QTest::mouseMove(plot, QPoint((x1 + x2) / 2, y));
    QTest::mouseMove(plot, QPoint(x2, y));
    QTest::mouseRelease(plot, Qt::LeftButton, {}, QPoint(x2, y));
    QTRY_VERIFY_WITH_TIMEOUT(!w->reading() && state->text().contains(" to "), 10000);
    std::vector<std::pair<double, double>> inSpan;
    for (const auto& [at, vpp] : written)
        if (at >= from - 1e-3 && at <= to + 1e-3) inSpan.push_back({at, vpp});
    QVERIFY(inSpan.size() > 30 && inSpan.size() < 100);
    const TrendSeries& vpp = plot->series()[0];
    QCOMPARE(vpp.t.size(), inSpan.size());
    for (std::size_t i = 0; i < inSpan.size(); ++i) {
        QCOMPARE(vpp.v[i], inSpan[i].second);
        QVERIFY(std::abs(vpp.t[i] - (inSpan[i].first - inSpan[0].first)) < 1e-3);
    }
    QVERIFY2(state->text().startsWith(QString("%1 samples of ").arg(inSpan.size())),
             qPrintable(state->text()));
    QVERIFY(state->text().contains(
        LogTimeText(t0.addSecs(static_cast<qint64>(inSpan[0].first))) + " to " +
        LogTimeText(t0.addSecs(static_cast<qint64>(inSpan.back().first)))));

    QTest::mouseDClick(plot, Qt::LeftButton, {}, QPoint(x1, y));
    QTRY_VERIFY_WITH_TIMEOUT(!w->reading() && state->text().startsWith("300 samples"), 10000);
    QVERIFY(plot->series()[0].t.size() <= 2 * 31);
}

// A server's log (KORVANE_TEST_POSTGRES, set by the end-to-end test that
// starts the server and logs into it across a restart), opened with a click:
// each lane holds the values and times the CSV export reads, in time order,
// and the limits the samples were judged against.
void TestDataLogger::aServerLogOpensInThePlot() {
    const QString url = qEnvironmentVariable("KORVANE_TEST_POSTGRES");
    if (url.isEmpty()) QSKIP("run by logger_end_to_end against its own server");
    QString error;
    const std::optional<LogTarget> target = ParseLogTarget(url, &error);
    QVERIFY2(target, qPrintable(error));
    std::map<QString, std::vector<std::pair<double, double>>> exported; // lane -> (time, value)
    QString first;
    {
        LogStore store(*target);
        QVERIFY(store.readRows({}, [&](const LogExportRow& r) {
            if (r.measure == "gap") return;
            if (first.isEmpty()) first = r.time;
            exported[r.channel + " " + r.measure].emplace_back(
                ParseLogTime(r.time)->toMSecsSinceEpoch() / 1000.0, r.value.value_or(NAN));
        }));
    }
    QVERIFY(!exported.empty());
    frmDataLogger* w = open("CH1:Vpp", 0, 0);
    auto* db = w->findChild<QLineEdit*>("txtDatabase");
    db->clear();
    QTest::keyClicks(db, url);
    QTest::mouseClick(w->findChild<QPushButton*>("cmdOpen"), Qt::LeftButton);
    QTRY_VERIFY_WITH_TIMEOUT(!w->reading(), 20000);
    auto* state = w->findChild<QLabel*>("lblState");
    QVERIFY2(state->text().contains(" of " + target->shown() + " from " + first + ";"),
             qPrintable(state->text()));
    const std::vector<TrendSeries>& lanes = w->plot()->series();
    QCOMPARE(lanes.size(), exported.size());
    const double began = ParseLogTime(first)->toMSecsSinceEpoch() / 1000.0;
    for (const TrendSeries& lane : lanes) {
        std::vector<std::pair<double, double>> rows; // nothing measured and breaks aside
        for (const auto& row : exported[lane.title()])
            if (!std::isnan(row.second)) rows.push_back(row);
        std::vector<double> t, v;
        for (std::size_t i = 0; i < lane.t.size(); ++i)
            if (!std::isnan(lane.v[i])) t.push_back(lane.t[i]), v.push_back(lane.v[i]);
        QCOMPARE(t.size(), rows.size());
        for (std::size_t i = 0; i < rows.size(); ++i) {
            QVERIFY2(std::abs(t[i] + began - rows[i].first) < 1e-3, qPrintable(lane.title()));
            QVERIFY2(v[i] == rows[i].second, qPrintable(lane.title()));
        }
        // The server kept Duty+'s limits (0.4 to 0.6) for the plot; no other lane's.
        const bool duty = lane.title() == "CH2 Duty+";
        QVERIFY2(lane.under == (duty ? std::optional<double>(0.4) : std::nullopt) &&
                     lane.over == (duty ? std::optional<double>(0.6) : std::nullopt),
                 qPrintable(lane.title()));
    }
}

QTEST_MAIN(TestDataLogger)
#include "tst_datalogger.moc"
