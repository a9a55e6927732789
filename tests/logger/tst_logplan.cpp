// SPDX-License-Identifier: GPL-3.0-or-later
// The logger's plain parts: the words of a log, its times, its CSV, the
// reconnect pauses, and a held sample written once the database takes it.
#include "logger/DataLogger.h"
#include "logger/LogPlan.h"
#include "logger/LogPlot.h"
#include "logger/LogStore.h"
#include "measure/MeasureTable.h"

#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <QTimeZone>
#include <QtTest>
#include <map>

class TestLogPlan : public QObject {
    Q_OBJECT
private slots:
    void targets_data();
    void targets();
    void measuresAndRows();
    void timesAndCsv();
    void reconnectPauses();
    void storedTimesReadAsQtReadsThem();
    void aBusyFileHoldsTheSampleUntilItIsFree();
    void theEnvelopeHoldsEachBlockOnceAnOlderLogGetsItsOwn();
    void timeAxisLabels_data();
    void timeAxisLabels();
};

void TestLogPlan::targets_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("reads");
    QTest::addColumn<QString>("shown");
    QTest::newRow("file") << "bench.db" << true << "bench.db";
    QTest::newRow("server") << "postgresql://lab@db.local:6543/benches" << true
                            << "postgresql://lab@db.local:6543/benches";
    QTest::newRow("default port") << "postgres://lab@db/benches" << true
                                  << "postgresql://lab@db:5432/benches";
    QTest::newRow("password") << "postgresql://lab:pw@db/benches" << false << "";
    QTest::newRow("no user") << "postgresql://db/benches" << false << "";
    QTest::newRow("no database") << "postgresql://lab@db/" << false << "";
    QTest::newRow("other scheme") << "mysql://lab@db/x" << false << "";
    QTest::newRow("empty") << "" << false << "";
}

void TestLogPlan::targets() {
    QFETCH(QString, text);
    QFETCH(bool, reads);
    QFETCH(QString, shown);
    QString error;
    const std::optional<LogTarget> t = ParseLogTarget(text, &error);
    QCOMPARE(t.has_value(), reads);
    if (t)
        QCOMPARE(t->shown(), shown);
    else
        QVERIFY(!error.isEmpty() && !error.contains('\n'));
}

void TestLogPlan::measuresAndRows() {
    QString error;
    const QList<LoggedMeasure> m = ParseLogMeasures(" ch1:vpp , CH2:Duty+,CH1:Rise Time", &error);
    QCOMPARE(m.size(), 3);
    QCOMPARE(m[0].name(), QString("Vpp"));
    QCOMPARE(m[1].channelName(), QString("CH2"));
    QCOMPARE(LoggedChannels(m), 0b110);
    // Values in base units; a percentage as a fraction; "*****" as nothing;
    // a verdict by the limits of the measure's name.
    MeasureRecord ch1, ch2, limits;
    ch1.Items[static_cast<std::size_t>(MeasureRowNamed("Vpp")->slot)].Text = "2.00V";
    ch1.Items[static_cast<std::size_t>(MeasureRowNamed("Rise Time")->slot)].Text = "*****";
    ch2.Items[static_cast<std::size_t>(MeasureRowNamed("Duty+")->slot)].Text = "50.0%";
    MeasureItem& vpp = limits.Items[static_cast<std::size_t>(MeasureRowNamed("Vpp")->slot)];
    vpp.LimitEnabled = true;
    vpp.UnderLimit = 0;
    vpp.OverLimit = 1;
    const MeasureRecord* by[3] = {nullptr, &ch1, &ch2};
    const QDateTime at = QDateTime::fromString("2026-11-25T08:00:00.250Z", Qt::ISODateWithMs);
    const QList<LogRow> rows = SampleRows(m, by, limits, at);
    QCOMPARE(rows.size(), 3);
    QCOMPARE(*rows[0].value, 2.0);
    QCOMPARE(rows[0].verdict, QString("fail"));
    QCOMPARE(*rows[1].value, 0.5);
    QCOMPARE(rows[1].unit, QString("fraction"));
    QVERIFY(rows[1].verdict.isEmpty());
    QVERIFY(!rows[2].value.has_value());
    for (const char* bad : {"", "CH1", "CH1:Volts", "CH3:Vpp", "CH1:Vpp,ch1:VPP"})
        QVERIFY2(ParseLogMeasures(bad, &error).isEmpty(), qPrintable(bad));
}

void TestLogPlan::timesAndCsv() {
    QCOMPARE(LogTimeText(*ParseLogTime("2026-11-25T09:00:00.5+01:00")),
             QString("2026-11-25T08:00:00.500Z"));
    QCOMPARE(LogTimeText(*ParseLogTime("2026-11-25")), QString("2026-11-25T00:00:00.000Z"));
    QCOMPARE(LogTimeText(*ParseLogTime("2026-11-25T08:00")), QString("2026-11-25T08:00:00.000Z"));
    QVERIFY(!ParseLogTime("yesterday"));
    LogExportRow r{"2026-11-25T08:00:00.500Z", "SN,1", "CH1", "Vpp", 0.1 + 0.2, "V", "pass"};
    QCOMPARE(LogCsvLine(r), QByteArray("2026-11-25T08:00:00.500Z,\"SN,1\",CH1,Vpp,"
                                       "0.30000000000000004,V,pass\n"));
    r.value.reset();
    QVERIFY(LogCsvLine(r).contains(",Vpp,,V,"));
}

void TestLogPlan::reconnectPauses() {
    QList<int> pauses;
    for (int n = 0; n < 8; ++n)
        pauses << ReconnectDelayMs(n);
    QCOMPARE(pauses, (QList<int>{500, 1000, 2000, 4000, 8000, 10000, 10000, 10000}));
}

// A second connection holds the write lock past the busy timeout: the sample
// is held, not lost, and goes in with the next write once the lock is free.
void TestLogPlan::aBusyFileHoldsTheSampleUntilItIsFree() {
    QTemporaryDir dir;
    LogTarget target;
    target.path = dir.filePath("busy.db");
    LogStore store(target);
    QVERIFY2(store.open(), qPrintable(store.error()));
    LogRow row{QDateTime::currentDateTimeUtc(), "CH1", "Vpp", 2.0, "V", {}};
    QCOMPARE(store.addSample("SN1", {row}), LogStore::Write::Committed);
    {
        QSqlDatabase other = QSqlDatabase::addDatabase("QSQLITE", "blocker");
        other.setDatabaseName(target.path);
        QVERIFY(other.open());
        QSqlQuery lock(other);
        QVERIFY(lock.exec("BEGIN IMMEDIATE"));
        // The store's own timeout is 10 s; this one is shortened for the test.
        QSqlQuery(QSqlDatabase::database("korvane-log-1", false)).exec("PRAGMA busy_timeout=100");
        row.time = row.time.addSecs(1);
        QCOMPARE(store.addSample("SN1", {row}), LogStore::Write::Held);
        QCOMPARE(store.heldRows(), 1);
        QVERIFY(lock.exec("COMMIT"));
        other.close();
    }
    QSqlDatabase::removeDatabase("blocker");
    row.time = row.time.addSecs(1);
    QCOMPARE(store.addSample("SN1", {row}), LogStore::Write::Committed);
    QCOMPARE(store.heldRows(), 0);
    int rows = 0;
    QVERIFY(store.readRows({}, [&rows](const LogExportRow&) { ++rows; }));
    QCOMPARE(rows, 3);
}

// The trend reader's own parse of a stored time against Qt's: leap days,
// centuries, the epoch and before it; anything not as written is refused.
void TestLogPlan::storedTimesReadAsQtReadsThem() {
    for (const char* text :
         {"1970-01-01T00:00:00.000Z", "1969-12-31T23:59:59.999Z", "2000-02-29T12:34:56.789Z",
          "2024-02-29T00:00:00.001Z", "2026-11-25T08:00:00.250Z", "2100-03-01T23:59:59.000Z"}) {
        const QByteArray bytes(text);
        const std::optional<double> s = LogTimeSeconds(bytes.constData(), bytes.size());
        QVERIFY2(s, text);
        const qint64 ms = ParseLogTime(text)->toMSecsSinceEpoch();
        QVERIFY2(std::llround(*s * 1000) == ms, text);
        QCOMPARE(LogTimeText(QDateTime::fromMSecsSinceEpoch(ms, QTimeZone::utc())), QString(text));
    }
    for (const char* text : {"2026-11-25T08:00:00Z", "2026-11-25 08:00:00.250Z",
                             "2026-13-25T08:00:00.250Z", "2026-11-25T08:00:0x.250Z", ""}) {
        const QByteArray bytes(text);
        QVERIFY2(!LogTimeSeconds(bytes.constData(), bytes.size()), text);
    }
}

// Samples every 0.7 s over 80 s from an odd start, two lanes, nothing
// measured now and then, every ninth failing, one sample written twice (a
// retry after a lost reply). Each block of the envelope holds what a plain
// scan of the written samples finds in its ten seconds: as written, and as
// an older log (samples only) gets it when opened. The plot's reading of the
// envelope keeps each failing sample at its own time.
void TestLogPlan::theEnvelopeHoldsEachBlockOnceAnOlderLogGetsItsOwn() {
    struct Block {
        qint64 samples = 0;
        double low = NAN, high = NAN;
    };
    std::map<std::pair<int, qint64>, Block> expected; // (lane, block start) -> block
    QTemporaryDir dir;
    LogTarget target;
    target.path = dir.filePath("envelope.db");
    const QDateTime t0(QDate(2026, 11, 24), QTime(7, 59, 58, 300), QTimeZone::utc());
    std::vector<double> failing;
    {
        LogStore store(target);
        QVERIFY2(store.open(), qPrintable(store.error()));
        for (int i = 0; i < 115; ++i) {
            const QDateTime at = t0.addMSecs(700LL * i);
            QList<LogRow> rows;
            for (int lane = 0; lane < 2; ++lane) {
                std::optional<double> value = std::sin(i * 0.37 + lane) * (lane ? 1e3 : 1.0);
                if ((i + lane) % 17 == 5) value.reset();
                const bool fails = lane == 0 && i % 9 == 4;
                rows.append(LogRow{at, lane ? "CH2" : "CH1", lane ? "Frequency" : "Vpp", value,
                                   lane ? "Hz" : "V", fails ? "fail" : "pass"});
                if (fails) failing.push_back(i * 0.7);
                Block& b = expected[{lane, at.toMSecsSinceEpoch() / 10000 * 10}];
                ++b.samples;
                if (value) {
                    b.low = std::isnan(b.low) ? *value : std::min(b.low, *value);
                    b.high = std::isnan(b.high) ? *value : std::max(b.high, *value);
                }
            }
            QCOMPARE(store.addSample("SN1", rows), LogStore::Write::Committed);
            if (i == 50) QCOMPARE(store.addSample("SN1", rows), LogStore::Write::Committed);
        }
    }
    auto compare = [&](const QString& path) {
        LogTarget t;
        t.path = path;
        LogStore store(t);
        QVERIFY2(store.open(), qPrintable(store.error()));
        std::vector<TrendLane> lanes;
        std::map<std::pair<int, qint64>, Block> read;
        QVERIFY(store.readEnvelope(
            {}, &lanes, [&](double began, int lane, qint64 samples, double low, double high) {
                read[{lane, static_cast<qint64>(began)}] = {samples, low, high};
            }));
        QCOMPARE(lanes.size(), std::size_t(2));
        QCOMPARE(read.size(), expected.size());
        for (const auto& [key, b] : expected) {
            const Block& r = read[key];
            const QByteArray where = QByteArray::number(key.first) + " " +
                                     QByteArray::number(key.second) + " " + path.toUtf8();
            QVERIFY2(r.samples == b.samples, where);
            QVERIFY2(std::isnan(b.low) ? std::isnan(r.low) : r.low == b.low, where);
            QVERIFY2(std::isnan(b.high) ? std::isnan(r.high) : r.high == b.high, where);
        }
        StoredTrend trend;
        QString error;
        QVERIFY(ReadLogTrend(
            store, {}, &trend, [](double) { return true; }, &error, 0));
        QVERIFY(trend.envelope);
        QCOMPARE(trend.samples, std::size_t(115));
        QCOMPARE(trend.lanes[0].failing.size(), failing.size());
        for (std::size_t k = 0; k < failing.size(); ++k)
            QVERIFY(std::abs(trend.lanes[0].failing[k] - failing[k]) < 1e-3);
    };
    compare(target.path);
    const QString older = dir.filePath("older.db");
    QVERIFY(QFile::copy(target.path, older));
    {
        QSqlDatabase db = QSqlDatabase::addDatabase("QSQLITE", "older");
        db.setDatabaseName(older);
        QVERIFY(db.open());
        QSqlQuery q(db);
        for (const char* sql : {"DROP TABLE trend", "DROP INDEX samples_failing",
                                "DROP TABLE limits", "UPDATE korvane_log_schema SET version = 1"})
            QVERIFY2(q.exec(sql), sql);
        db.close();
    }
    QSqlDatabase::removeDatabase("older");
    compare(older);
}

void TestLogPlan::timeAxisLabels_data() {
    QTest::addColumn<QString>("origin");
    QTest::addColumn<double>("span");
    QTest::addColumn<int>("width");
    QTest::addColumn<QStringList>("labels");
    QTest::addColumn<double>("first"); // seconds from the origin
    QTest::newRow("seconds over midnight")
        << "2026-11-24T23:59:50.000Z" << 30.0 << 600
        << QStringList{"23:59:50", "23:59:55", "11-25",   "00:00:05",
                       "00:00:10", "00:00:15", "00:00:20"}
        << 0.0;
    QTest::newRow("tenths") << "2026-11-24T12:00:00.050Z" << 2.0 << 800
                            << QStringList{"12:00:00.5", "12:00:01.0", "12:00:01.5", "12:00:02.0"}
                            << 0.45;
    QTest::newRow("hundredths") << "2026-11-24T12:00:09.645Z" << 0.112 << 600
                                << QStringList{"12:00:09.66", "12:00:09.68", "12:00:09.7",
                                               "12:00:09.72", "12:00:09.74"}
                                << 0.015;
    QTest::newRow("a day at 10 Hz")
        << "2026-11-24T08:00:00.300Z" << 86400.0 << 1000
        << QStringList{"09:00", "12:00", "15:00", "18:00", "21:00", "11-25", "03:00", "06:00"}
        << 3599.7;
    QTest::newRow("a week") << "2026-11-24T10:00:00.000Z" << 7 * 86400.0 << 700
                            << QStringList{"11-25", "11-26", "11-27", "11-28",
                                           "11-29", "11-30", "12-01"}
                            << 14 * 3600.0;
}

// The labels a user reads under the lanes, at 100 pixels apart at least.
void TestLogPlan::timeAxisLabels() {
    QFETCH(QString, origin);
    QFETCH(double, span);
    QFETCH(int, width);
    QFETCH(QStringList, labels);
    QFETCH(double, first);
    const double at = ParseLogTime(origin)->toMSecsSinceEpoch() / 1000.0;
    const std::vector<TimeTick> ticks = TrendTimeTicks(at, span, width, 100);
    QStringList texts;
    for (const TimeTick& t : ticks)
        texts << t.text;
    QCOMPARE(texts, labels);
    QVERIFY(std::abs(ticks[0].seconds - first) < 1e-6);
    for (std::size_t i = 1; i < ticks.size(); ++i)
        QVERIFY((ticks[i].seconds - ticks[i - 1].seconds) * width / span >= 100);
    QVERIFY(ticks.back().seconds <= span);
}

QTEST_GUILESS_MAIN(TestLogPlan)
#include "tst_logplan.moc"
