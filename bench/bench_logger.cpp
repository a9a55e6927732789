// SPDX-License-Identifier: GPL-3.0-or-later
// The data logger's costs: what storing one sample (four measures, one
// SQLite commit in WAL mode with full sync) adds to the measure job that
// takes it, with the link's real pacing; and the Data Logger plot redrawing
// a day of four measures at 10 Hz (3.5 million values, gaps among them).
#include "BenchSupport.h"
#include "acquire/Jobs.h"
#include "acquire/MeasureJob.h"
#include "logger/DataLogger.h"
#include "logger/LogPlot.h"
#include "logger/LogStore.h"
#include "measure/MeasureTable.h"
#include "platform/Pacing.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QImage>
#include <QPainter>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <QTimeZone>
#include <cstdio>
#include <memory>

namespace {

void loggerOverMeasureJob() {
    auto instrument = std::make_unique<BenchInstrument>();
    if (!instrument->connected()) return;
    CountPausesFrom(0);
    const double jobMs = MedianMs(3, [](int) { RunJobWithoutWindow(1, 0); });
    const double jobPauses = PausedMs() / 3.0;
    QString error;
    const QList<LoggedMeasure> measures =
        ParseLogMeasures("CH1:Vpp,CH1:Frequency,CH1:Rise Time,CH1:Duty+", &error);
    MeasureRecord records[3];
    TakeCurrentMeasure(records[1]);
    const MeasureRecord* by[3] = {nullptr, &records[1], nullptr};
    QTemporaryDir dir;
    LogTarget target;
    target.path = dir.filePath("bench.db");
    LogStore store(target);
    if (!store.open()) {
        std::fprintf(stderr, "%s\n", qPrintable(store.error()));
        return;
    }
    QDateTime at = QDateTime::currentDateTimeUtc();
    const double sampleMs = MedianMs(200, [&](int) {
        at = at.addMSecs(100);
        store.addSample("BENCH", SampleRows(measures, by, MeasureRecord(), at));
    });
    const double percent = sampleMs / jobMs * 100;
    std::printf("logger: %.2f ms a sample (4 measures, one commit) over a measure job of %.0f ms "
                "(%.0f ms of pauses): %.3f %% (target at most 1 %%)\n",
                sampleMs, jobMs, jobPauses, percent);
    ReportFigure("logger over the measure job", "%", 1.0, percent);
}

void dayRedraw() {
    std::vector<TrendSeries> lanes(4);
    constexpr int kDay = 864000; // 10 Hz
    for (std::size_t m = 0; m < lanes.size(); ++m) {
        lanes[m].channel = "CH1";
        lanes[m].measure = QString("M%1").arg(m);
        for (int i = 0; i < kDay; ++i) {
            const bool gap = i % 100000 == 99999;
            lanes[m].add(i * 0.1, gap ? NAN : std::sin(i * 1e-4) + (i % 13) * 0.01, i % 5000 == 0);
        }
        lanes[m].under = -1.2;
        lanes[m].over = 1.2;
    }
    LogPlot plot;
    plot.resize(1200, 700);
    plot.setSeries(std::move(lanes));
    QImage picture(plot.size(), QImage::Format_RGB32);
    // Drawn after new samples (the columns worked out from the log), and
    // repainted as it stands (an expose: the columns kept).
    const double drawnMs = MedianMs(15, [&](int) {
        plot.seriesChanged();
        QPainter painter(&picture);
        plot.render(&painter);
    });
    const double ms = MedianMs(15, [&](int) {
        QPainter painter(&picture);
        plot.render(&painter);
    });
    std::printf("logger plot: a day of 4 measures at 10 Hz (3,456,000 values) drawn anew in "
                "%.2f ms, repainted in %.2f ms (target at most 5 ms)\n",
                drawnMs, ms);
    ReportFigure("logger plot repaint, a day at 10 Hz", "ms", 5.0, ms);
}

// A day of four measures at 10 Hz in a SQLite log (written in one
// transaction here, as a log of schema 1 brought up to date), opened as the
// Data Logger window opens a stored log: its envelope read and drawn; and
// the same day read sample by sample.
void dayOpened() {
    QTemporaryDir dir;
    LogTarget target;
    target.path = dir.filePath("day.db");
    {
        LogStore store(target);
        if (!store.open()) return;
    }
    {
        // Written by the database itself in one statement: 864,000 times a
        // tenth of a second apart, four measures each, one failing in 5000.
        QSqlDatabase db = QSqlDatabase::addDatabase("QSQLITE", "bench-day");
        db.setDatabaseName(target.path);
        db.open();
        QSqlQuery q(db);
        if (!q.exec("WITH RECURSIVE n(i) AS (SELECT 0 UNION ALL SELECT i + 1 FROM n "
                    "WHERE i < 863999), m(k, name, unit) AS (VALUES (0, 'Vpp', 'V'), "
                    "(1, 'Frequency', 'Hz'), (2, 'Rise Time', 's'), (3, 'Duty+', '%')) "
                    "INSERT INTO samples SELECT 'BENCH', "
                    "strftime('%Y-%m-%dT%H:%M:%fZ', 1795478400.0 + i / 10.0, 'unixepoch'), "
                    "'CH1', name, sin(i * 1e-4) + k, unit, "
                    "CASE WHEN i % 5000 = 0 THEN 'fail' ELSE 'pass' END FROM n, m"))
            std::fprintf(stderr, "%s\n", qPrintable(q.lastError().text()));
        // As a log of schema 1 (samples only), brought up to date below.
        q.exec("DROP TABLE trend");
        q.exec("DROP INDEX samples_failing");
        q.exec("UPDATE korvane_log_schema SET version = 1");
        db.close();
    }
    QSqlDatabase::removeDatabase("bench-day");
    LogStore store(target);
    QElapsedTimer upgrade;
    upgrade.start();
    if (!store.open()) std::fprintf(stderr, "%s\n", qPrintable(store.error()));
    std::printf("logger: a day's log of schema 1 given its envelope in %.1f s (once)\n",
                upgrade.elapsed() / 1000.0);
    StoredTrend trend;
    QString error;
    // Read, handed to the plot and drawn once, as Open log shows it.
    LogPlot plot;
    plot.resize(1200, 700);
    QImage picture(plot.size(), QImage::Format_RGB32);
    const double ms = MedianMs(3, [&](int) {
        ReadLogTrend(
            store, LogFilter(), &trend, [](double) { return true; }, &error);
        plot.setSeries(trend.lanes);
        QPainter painter(&picture);
        plot.render(&painter);
    });
    std::size_t failing = 0;
    for (const TrendSeries& s : trend.lanes)
        failing += s.failing.size();
    std::printf("logger: a day of 4 measures at 10 Hz (%zu rows, %zu failing) opened "
                "from SQLite and drawn in %.0f ms as its envelope (target at most 1000 ms)%s\n",
                trend.samples * trend.lanes.size(), failing, ms,
                error.isEmpty() ? "" : qPrintable(" - " + error));
    ReportFigure("logger open, a day at 10 Hz", "ms", 1000.0, ms);
    const double detailMs = MedianMs(1, [&](int) {
        ReadLogTrend(
            store, LogFilter(), &trend, [](double) { return true; }, &error, SIZE_MAX);
    });
    std::printf("logger: the same day read sample by sample in %.0f ms\n", detailMs);
}

} // namespace

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    RegisterMeasureJobs();
    loggerOverMeasureJob();
    dayRedraw();
    dayOpened();
    return 0;
}
