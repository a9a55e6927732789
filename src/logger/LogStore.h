// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// The data log's database, SQLite or PostgreSQL behind Qt SQL, with one
// schema: samples (instrument, time, channel, measure, value, unit,
// verdict; unique on instrument + time + channel + measure), gaps
// (instrument, began, seconds), screens (instrument, time, png) and trend
// (each lane's count, lowest, highest and failing count in blocks of
// kTrendBlockSeconds, kept with the samples: a long log's envelope) and
// limits (a lane's under and over limit from the first sample judged by them).
//
// Every sample is one short transaction, written with "ON CONFLICT DO
// NOTHING", so a write retried after a lost reply is never stored twice.
// A server that is away gets what was measured meanwhile later: it is held
// in memory, in order, up to kHeldRowLimit rows. A SQLite file is in WAL
// mode with a busy timeout, so a killed logger leaves it whole and two
// loggers share it.
#include "logger/LogPlan.h"

#include <QByteArray>
#include <QSqlError>
#include <QSqlQuery>
#include <QString>
#include <QVariantList>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <tuple>
#include <vector>

constexpr int kLogSchemaVersion = 3;
constexpr int kTrendBlockSeconds = 10;
// The block of the trend table a time falls in: its start, seconds since 1970.
inline qint64 TrendBlockOf(const QDateTime& t) {
    const qint64 ms = t.toMSecsSinceEpoch();
    const qint64 size = kTrendBlockSeconds * 1000LL;
    return (ms >= 0 ? ms / size : (ms - size + 1) / size) * kTrendBlockSeconds;
}
constexpr qint64 kHeldRowLimit = 1000000; // about 150 MB of rows held while a server is away

// A row of the log as exported: the time as LogTimeText writes it; a gap is
// measure "gap", its value the seconds it lasted.
struct LogExportRow {
    QString time, instrument, channel, measure;
    std::optional<double> value;
    QString unit, verdict;
};
struct LogFilter {
    std::optional<QDateTime> from, to; // inclusive
    QString instrument;                // empty: every instrument
};

// A measure's lane of a stored log: what the trend plot names it by.
struct TrendLane {
    QString channel, measure, unit;
    bool operator==(const TrendLane&) const = default;
};

class LogStore {
public:
    explicit LogStore(LogTarget target);
    ~LogStore();
    LogStore(const LogStore&) = delete;
    LogStore& operator=(const LogStore&) = delete;

    // Opens the database and creates the schema on first use. False, with
    // error(), for a file that is no database, a schema of a newer program
    // (left as it is), a server that refuses, a missing driver.
    bool open();
    // Opens a log only to read it: nothing is made or changed. False, with
    // error(), for a SQLite file that does not exist (never created), a
    // file that is no database or holds no log, a log of a newer program,
    // a server that refuses.
    bool openToRead();

    enum class Write {
        Committed, // in the database, with everything held before it
        Held,      // kept in memory: the database cannot take it now
        Fatal      // cannot be kept (a full disk, too much held): stop
    };
    Write addSample(const QString& instrument, const QList<LogRow>& rows,
                    const QByteArray& failingScreenPng = {});
    Write addGap(const QString& instrument, const QDateTime& began, double seconds);
    Write flush(); // the held writes, in order
    qint64 heldRows() const { return heldRows_; }
    qint64 committedSamples() const { return committedSamples_; }
    QString error() const { return error_; }
    const LogTarget& target() const { return target_; }

    // The log's rows in time order (gaps among them), each handed to `row`;
    // false with error() when the database cannot be read.
    bool readRows(const LogFilter& filter, const std::function<void(const LogExportRow&)>& row);
    // The log for the trend plot, in numbers only, in the order written
    // (time order but for rows held while the database was away): each
    // sample's time (seconds since 1970, UTC), its lane (an index into
    // *lanes, which grows as lanes are met), its value (NaN: none) and
    // whether it failed. `sample` returns false to stop (a cancel); false
    // with error() when the database cannot be read.
    bool readTrend(
        const LogFilter& filter, std::vector<TrendLane>* lanes,
        const std::function<bool(double seconds, int lane, double value, bool fails)>& sample);
    // Each gap's start (seconds since 1970) and length, in time order.
    bool readGaps(const LogFilter& filter,
                  const std::function<void(double seconds, double length)>& gap);
    // The log's envelope in blocks of kTrendBlockSeconds, in time order:
    // each block's start (seconds since 1970), its lane, how many samples it
    // holds, their lowest and highest value (NaN: none measured). False
    // with error() when the database cannot be read or has no envelope
    // (a log not yet brought to schema 2).
    bool readEnvelope(const LogFilter& filter, std::vector<TrendLane>* lanes,
                      const std::function<void(double began, int lane, qint64 samples, double low,
                                               double high)>& block);
    // The failing samples' times and lanes, in time order (from their index).
    bool readFailing(const LogFilter& filter, std::vector<TrendLane>* lanes,
                     const std::function<void(double seconds, int lane)>& failing);
    // Each lane's limits in the order they came in force (the last one
    // holds), up to the filter's end; false with error() when there is no
    // such table (a log of schema 2 or older, only read).
    bool readLimits(const LogFilter& filter, std::vector<TrendLane>* lanes,
                    const std::function<void(int lane, double under, double over)>& limits);
    // The first and last sample's time (seconds since 1970), if there are any.
    std::optional<std::pair<double, double>> timeSpan(const LogFilter& filter);
    // The screen kept with a failing sample (of any instrument when
    // `instrument` is empty), or empty.
    QByteArray screen(const QString& instrument, const QDateTime& time);

private:
    struct Pending;
    bool connectDatabase();
    bool createSchema();
    bool prepareFile(); // SQLite: WAL, full sync
    bool writeOne(const Pending& p);
    bool writeLimits(const LogRow& r, const QString& instrument, QSqlError* error);
    // Each row of a query whose columns 1 to 3 name a lane, with its lane;
    // `row` returns false to stop.
    bool laneQuery(const QString& sql, const QVariantList& values, std::vector<TrendLane>* lanes,
                   const std::function<bool(const QSqlQuery& q, int lane)>& row);
    Write drain();
    Write hold(Pending p); // queued behind what is held, then everything tried
    bool sqlite() const { return target_.kind == LogTarget::Kind::SQLite; }
    QString timeParameter() const; // "?" or "CAST(? AS TIMESTAMPTZ)"
    QString timeColumn(const QString& column) const;
    QString secondsColumn(const QString& column) const; // seconds since 1970, a double
    // The filter's conditions on a time column, and the values they bind.
    QString conditions(const LogFilter& filter, const QString& column, QVariantList* values) const;

    LogTarget target_;
    QString connection_;
    std::deque<Pending> held_;
    qint64 heldRows_ = 0;
    qint64 committedSamples_ = 0;
    QString error_;
    QString errorCode_; // the database's own code of the last failed write
    // The limits this store wrote last for each lane (instrument, channel,
    // measure): under and over. Written again only when they change.
    using LaneKey = std::tuple<QString, QString, QString>;
    std::map<LaneKey, std::pair<double, double>> limitsWritten_;
};

// The CSV of a log: "time,instrument,channel,measure,value,unit,verdict",
// then one line a row, in time order; values to full precision, the point always.
QByteArray LogCsvHeader();
QByteArray LogCsvLine(const LogExportRow& row);
