// SPDX-License-Identifier: GPL-3.0-or-later
#include "logger/LogStore.h"

#include "platform/Pacing.h"

#include <QElapsedTimer>
#include <QFileInfo>
#include <QLocale>
#include <QSqlDatabase>
#include <QSqlDriver>
#include <QSqlError>
#include <QSqlQuery>
#include <QVariant>
#include <array>
#include <atomic>
#include <sqlite3.h>

struct LogStore::Pending {
    QString instrument;
    QList<LogRow> rows; // a sample; empty for a gap
    QByteArray png;     // the failing sample's screen
    QDateTime gapBegan; // a gap: when it began
    double gapSeconds = 0;
    qint64 size() const { return std::max<qint64>(rows.size(), 1); }
};

namespace {

std::atomic<int> g_connections{0};

// Each database's words for a time and a real.
QString timeType(bool sqlite) {
    return sqlite ? "TEXT" : "TIMESTAMPTZ";
}
QString realType(bool sqlite) {
    return sqlite ? "REAL" : "DOUBLE PRECISION";
}

// Version 2: each lane's count, lowest and highest value and failing count
// per block of kTrendBlockSeconds, kept as the samples are written, and an
// index of the failing samples. A day at 10 Hz is 8,640 blocks a lane, read
// at once where the samples would take seconds.
QStringList trendStatements(bool sqlite) {
    return {
        QString("CREATE TABLE IF NOT EXISTS trend (instrument TEXT NOT NULL, "
                "channel TEXT NOT NULL, measure TEXT NOT NULL, unit TEXT NOT NULL, "
                "began BIGINT NOT NULL, samples BIGINT NOT NULL, low %1, high %1, "
                "failing BIGINT NOT NULL, PRIMARY KEY (instrument, channel, measure, unit, began))")
            .arg(realType(sqlite)),
        "CREATE INDEX IF NOT EXISTS samples_failing ON samples (time) WHERE verdict = 'fail'",
    };
}

// Version 3: the limits a lane was judged against, from the first sample
// judged by them on, so that a stored log draws them as the live plot did.
QStringList limitsStatements(bool sqlite) {
    return {QString("CREATE TABLE IF NOT EXISTS limits (instrument TEXT NOT NULL, "
                    "channel TEXT NOT NULL, measure TEXT NOT NULL, unit TEXT NOT NULL, "
                    "since %1 NOT NULL, under %2 NOT NULL, over %2 NOT NULL, "
                    "PRIMARY KEY (instrument, channel, measure, since))")
                .arg(timeType(sqlite), realType(sqlite))};
}

// The one schema, made on first use.
QStringList schemaStatements(bool sqlite) {
    const QString time = timeType(sqlite), real = realType(sqlite);
    const QString blob = sqlite ? "BLOB" : "BYTEA";
    return QStringList{
               "CREATE TABLE IF NOT EXISTS korvane_log_schema (version INTEGER NOT NULL)",
               QString("CREATE TABLE IF NOT EXISTS samples ("
                       "instrument TEXT NOT NULL, time %1 NOT NULL, channel TEXT NOT NULL, "
                       "measure TEXT NOT NULL, value %2, unit TEXT NOT NULL, verdict TEXT, "
                       "PRIMARY KEY (instrument, time, channel, measure))")
                   .arg(time, real),
               QString(
                   "CREATE TABLE IF NOT EXISTS gaps (instrument TEXT NOT NULL, began %1 NOT NULL, "
                   "seconds %2 NOT NULL, PRIMARY KEY (instrument, began))")
                   .arg(time, real),
               QString("CREATE TABLE IF NOT EXISTS screens (instrument TEXT NOT NULL, time %1 NOT "
                       "NULL, "
                       "png %2 NOT NULL, PRIMARY KEY (instrument, time))")
                   .arg(time, blob),
               "CREATE INDEX IF NOT EXISTS samples_by_time ON samples (time)",
               QString("INSERT INTO korvane_log_schema (version) SELECT %1 "
                       "WHERE NOT EXISTS (SELECT 1 FROM korvane_log_schema)")
                   .arg(kLogSchemaVersion),
           } +
           trendStatements(sqlite) + limitsStatements(sqlite);
}

// An older log brought to this version, step by step: version 1 gets its
// blocks made from its samples, version 2 the table of limits.
QStringList upgradeStatements(bool sqlite, int from) {
    QStringList statements;
    if (from < 2) {
        const QString block =
            sqlite
                ? QString("CAST(strftime('%s', time) AS INTEGER) / %1 * %1").arg(kTrendBlockSeconds)
                : QString("(FLOOR(EXTRACT(EPOCH FROM time) / %1) * %1)::BIGINT")
                      .arg(kTrendBlockSeconds);
        statements << trendStatements(sqlite)
                   << QString("INSERT INTO trend SELECT instrument, channel, measure, unit, %1, "
                              "COUNT(*), MIN(value), MAX(value), "
                              "SUM(CASE WHEN verdict = 'fail' THEN 1 ELSE 0 END) FROM samples "
                              "GROUP BY instrument, channel, measure, unit, %1")
                          .arg(block);
    }
    if (from < 3) statements << limitsStatements(sqlite);
    return statements
           << QString("UPDATE korvane_log_schema SET version = %1").arg(kLogSchemaVersion);
}

// The log's schema version as stored; nothing without the table or its row.
std::optional<int> storedVersion(QSqlQuery& q) {
    if (!q.exec("SELECT MAX(version) FROM korvane_log_schema") || !q.next() || q.isNull(0))
        return std::nullopt;
    return q.value(0).toInt();
}

QString newerLog(const QString& shown, int version) {
    return QString("%1: written by a newer program (log schema %2; this one knows %3)")
        .arg(shown)
        .arg(version)
        .arg(kLogSchemaVersion);
}

// The database's own words for what went wrong, on one line.
QString oneLine(const QSqlError& e) {
    const QString text = e.databaseText().isEmpty() ? e.driverText() : e.databaseText();
    return text.simplified();
}

QString csvField(const QString& text) {
    if (!text.contains(',') && !text.contains('"') && !text.contains('\n')) return text;
    return '"' + QString(text).replace("\"", "\"\"") + '"';
}

} // namespace

LogStore::LogStore(LogTarget target)
    : target_(std::move(target)), connection_(QString("korvane-log-%1").arg(++g_connections)) {}

LogStore::~LogStore() {
    {
        QSqlDatabase db = QSqlDatabase::database(connection_, false);
        if (db.isValid()) db.close();
    }
    if (QSqlDatabase::contains(connection_)) QSqlDatabase::removeDatabase(connection_);
}

QString LogStore::timeParameter() const {
    return sqlite() ? QStringLiteral("?") : QStringLiteral("CAST(? AS TIMESTAMPTZ)");
}

QString LogStore::secondsColumn(const QString& column) const {
    return sqlite() ? QString("(julianday(%1) - 2440587.5) * 86400.0").arg(column)
                    : QString("EXTRACT(EPOCH FROM %1)::DOUBLE PRECISION").arg(column);
}

QString LogStore::conditions(const LogFilter& filter, const QString& column,
                             QVariantList* values) const {
    QString c;
    if (filter.from) {
        c += QString(" AND %1 >= %2").arg(column, timeParameter());
        *values << LogTimeText(*filter.from);
    }
    if (filter.to) {
        c += QString(" AND %1 <= %2").arg(column, timeParameter());
        *values << LogTimeText(*filter.to);
    }
    if (!filter.instrument.isEmpty()) {
        c += " AND instrument = ?";
        *values << filter.instrument;
    }
    return c;
}

QString LogStore::timeColumn(const QString& column) const {
    return sqlite() ? column
                    : QString("to_char(%1 AT TIME ZONE 'UTC', 'YYYY-MM-DD\"T\"HH24:MI:SS.MS\"Z\"')")
                          .arg(column);
}

bool LogStore::connectDatabase() {
    QSqlDatabase db = QSqlDatabase::database(connection_, false);
    if (db.isValid() && db.isOpen()) return true;
    if (!db.isValid()) {
        const QString driver = sqlite() ? "QSQLITE" : "QPSQL";
        if (!QSqlDatabase::isDriverAvailable(driver)) {
            error_ = sqlite() ? "Qt's SQLite driver is not installed (libqt6sql6-sqlite)"
                              : "Qt's PostgreSQL driver is not installed (libqt6sql6-psql)";
            return false;
        }
        db = QSqlDatabase::addDatabase(driver, connection_);
        if (sqlite()) {
            db.setDatabaseName(target_.path);
            db.setConnectOptions("QSQLITE_BUSY_TIMEOUT=10000");
        } else {
            db.setHostName(target_.host);
            db.setPort(target_.port);
            db.setUserName(target_.user);
            db.setDatabaseName(target_.database);
            db.setConnectOptions("connect_timeout=5");
        }
    }
    if (!db.open()) {
        error_ = target_.shown() + ": " + oneLine(db.lastError());
        return false;
    }
    return true;
}

bool LogStore::prepareFile() {
    if (!sqlite()) return true;
    QSqlQuery q(QSqlDatabase::database(connection_, false));
    // WAL: a killed writer leaves the file whole, readers do not block the
    // writer; FULL: a commit is on the disk before the next sample. Another
    // logger starting on the same file may hold it for a moment, past what
    // the busy timeout covers for a change of journal: asked again for 10 s.
    QElapsedTimer clock;
    clock.start();
    for (;;) {
        if (q.exec("PRAGMA journal_mode=WAL") && q.next() &&
            q.value(0).toString().compare("wal", Qt::CaseInsensitive) == 0 &&
            q.exec("PRAGMA synchronous=FULL"))
            return true;
        if (q.lastError().nativeErrorCode() != "5" || clock.elapsed() > 10000) break;
        platform::Wait(50);
    }
    error_ = target_.path + ": " +
             (q.lastError().isValid() ? oneLine(q.lastError()) : "cannot be logged into");
    return false;
}

bool LogStore::createSchema() {
    QSqlDatabase db = QSqlDatabase::database(connection_, false);
    QSqlQuery q(db);
    // A file that is no database says so here, before anything is written.
    if (!q.exec("SELECT COUNT(*) FROM " + QString(sqlite() ? "sqlite_master" : "pg_tables"))) {
        error_ = target_.shown() + ": " + oneLine(q.lastError());
        return false;
    }
    if (std::optional<int> v = storedVersion(q); v && *v > kLogSchemaVersion) {
        error_ = newerLog(target_.shown(), *v) + "; left as it is";
        return false;
    } else if (v && *v == kLogSchemaVersion) {
        return prepareFile();
    }
    if (!prepareFile()) return false;
    // Two loggers may start at once: the schema is made under the write lock
    // (SQLite), or retried once when the other server session made it first.
    // An older log is brought up to date the same way, once: whoever takes
    // the lock second finds it done.
    for (int attempt = 0; attempt < 2; ++attempt) {
        bool ok = q.exec(sqlite() ? "BEGIN IMMEDIATE" : "BEGIN");
        const std::optional<int> now = ok ? storedVersion(q) : std::nullopt;
        const QStringList statements = now && *now == kLogSchemaVersion ? QStringList()
                                       : now && *now < kLogSchemaVersion
                                           ? upgradeStatements(sqlite(), *now)
                                           : schemaStatements(sqlite());
        if (!sqlite() && !now) { // PostgreSQL: a failed statement spoils the transaction
            q.exec("ROLLBACK");
            ok = q.exec("BEGIN");
        }
        for (const QString& statement : statements)
            ok = ok && q.exec(statement);
        if (ok && q.exec("COMMIT")) return true;
        error_ = target_.shown() + ": " + oneLine(q.lastError());
        q.exec("ROLLBACK");
    }
    return false;
}

bool LogStore::open() {
    if (sqlite() && QFileInfo(target_.path).isDir()) {
        error_ = target_.path + ": is a folder";
        return false;
    }
    return connectDatabase() && createSchema();
}

bool LogStore::openToRead() {
    if (sqlite() && !QFileInfo(target_.path).isFile()) {
        error_ = target_.path + ": no such log";
        return false;
    }
    if (!connectDatabase()) return false;
    QSqlQuery q(QSqlDatabase::database(connection_, false));
    const std::optional<int> version = storedVersion(q);
    if (!version) {
        // A file that is no database says so; a database without the table holds no log.
        const QString why =
            q.lastError().isValid() && sqlite() && q.lastError().nativeErrorCode() == "26"
                ? oneLine(q.lastError())
                : QStringLiteral("not a data log");
        error_ = target_.shown() + ": " + why;
        return false;
    }
    if (*version > kLogSchemaVersion) {
        error_ = newerLog(target_.shown(), *version);
        return false;
    }
    return true;
}

bool LogStore::writeOne(const Pending& p) {
    QSqlDatabase db = QSqlDatabase::database(connection_, false);
    QSqlQuery q(db);
    QSqlError blockError;
    std::vector<std::pair<LaneKey, std::pair<double, double>>> newLimits; // known once committed
    bool ok = q.exec(sqlite() ? "BEGIN IMMEDIATE" : "BEGIN");
    if (!p.rows.isEmpty()) {
        ok = ok && q.prepare(QString("INSERT INTO samples (instrument, time, channel, measure, "
                                     "value, unit, verdict) VALUES (?, %1, ?, ?, ?, ?, ?) "
                                     "ON CONFLICT DO NOTHING")
                                 .arg(timeParameter()));
        // A row's block counts it only when the row is new: a write retried
        // after a lost reply adds nothing twice. NULLs leave low and high.
        QSqlQuery block(db);
        ok = ok && block.prepare(
                       "INSERT INTO trend (instrument, channel, measure, unit, began, samples, "
                       "low, high, failing) VALUES (?, ?, ?, ?, ?, 1, ?, ?, ?) "
                       "ON CONFLICT (instrument, channel, measure, unit, began) DO UPDATE SET "
                       "samples = trend.samples + 1, failing = trend.failing + excluded.failing, "
                       "low = CASE WHEN trend.low IS NULL OR excluded.low < trend.low "
                       "THEN excluded.low ELSE trend.low END, "
                       "high = CASE WHEN trend.high IS NULL OR excluded.high > trend.high "
                       "THEN excluded.high ELSE trend.high END");
        for (const LogRow& r : p.rows) {
            if (!ok) break;
            const QVariant value =
                r.value ? QVariant(*r.value) : QVariant(QMetaType::fromType<double>());
            q.addBindValue(p.instrument);
            q.addBindValue(LogTimeText(r.time));
            q.addBindValue(r.channel);
            q.addBindValue(r.measure);
            q.addBindValue(value);
            q.addBindValue(r.unit);
            q.addBindValue(r.verdict.isEmpty() ? QVariant(QMetaType::fromType<QString>())
                                               : QVariant(r.verdict));
            ok = q.exec();
            if (!ok || q.numRowsAffected() != 1) continue;
            for (const QVariant& v :
                 {QVariant(p.instrument), QVariant(r.channel), QVariant(r.measure),
                  QVariant(r.unit), QVariant(TrendBlockOf(r.time)), value, value,
                  QVariant(r.verdict == "fail" ? 1 : 0)})
                block.addBindValue(v);
            ok = block.exec();
            if (!ok) blockError = block.lastError();
            if (ok && r.under && r.over) {
                const LaneKey lane{p.instrument, r.channel, r.measure};
                const auto last = limitsWritten_.find(lane);
                const std::pair<double, double> limits{*r.under, *r.over};
                if (last == limitsWritten_.end() || last->second != limits) {
                    ok = writeLimits(r, p.instrument, &blockError);
                    newLimits.emplace_back(lane, limits);
                }
            }
        }
        if (ok && !p.png.isEmpty()) {
            ok = q.prepare(QString("INSERT INTO screens (instrument, time, png) VALUES (?, %1, ?) "
                                   "ON CONFLICT DO NOTHING")
                               .arg(timeParameter()));
            q.addBindValue(p.instrument);
            q.addBindValue(LogTimeText(p.rows.first().time));
            q.addBindValue(p.png);
            ok = ok && q.exec();
        }
    } else {
        ok = ok && q.prepare(QString("INSERT INTO gaps (instrument, began, seconds) VALUES (?, %1, "
                                     "?) ON CONFLICT DO NOTHING")
                                 .arg(timeParameter()));
        q.addBindValue(p.instrument);
        q.addBindValue(LogTimeText(p.gapBegan));
        q.addBindValue(p.gapSeconds);
        ok = ok && q.exec();
    }
    if (ok && q.exec("COMMIT")) {
        for (const auto& [lane, limits] : newLimits)
            limitsWritten_[lane] = limits;
        return true;
    }
    const QSqlError e = blockError.isValid() ? blockError : q.lastError();
    error_ = target_.shown() + ": " + oneLine(e);
    errorCode_ = e.nativeErrorCode();
    QSqlQuery(db).exec("ROLLBACK");
    return false;
}

// A lane's limits from this row on (kept once a run, and again when they change).
bool LogStore::writeLimits(const LogRow& r, const QString& instrument, QSqlError* error) {
    QSqlQuery q(QSqlDatabase::database(connection_, false));
    const bool ok =
        q.prepare(QString("INSERT INTO limits (instrument, channel, measure, unit, since, under, "
                          "over) VALUES (?, ?, ?, ?, %1, ?, ?) ON CONFLICT DO NOTHING")
                      .arg(timeParameter()));
    for (const QVariant& v :
         {QVariant(instrument), QVariant(r.channel), QVariant(r.measure), QVariant(r.unit),
          QVariant(LogTimeText(r.time)), QVariant(*r.under), QVariant(*r.over)})
        q.addBindValue(v);
    if (ok && q.exec()) return true;
    *error = q.lastError();
    return false;
}

LogStore::Write LogStore::drain() {
    while (!held_.empty()) {
        if (!connectDatabase()) return Write::Held; // the server is still away
        if (writeOne(held_.front())) {
            if (!held_.front().rows.isEmpty()) ++committedSamples_;
            heldRows_ -= held_.front().size();
            held_.pop_front();
            continue;
        }
        QSqlDatabase db = QSqlDatabase::database(connection_, false);
        if (sqlite()) {
            // Busy past the timeout: try again with the next sample. Anything
            // else (a full disk, a broken file) cannot be waited out.
            return errorCode_ == "5" || errorCode_ == "6" ? Write::Held : Write::Fatal;
        }
        // A server that went away: the connection is found dead, closed, and
        // opened again at the next write. A refusal of a live one is final.
        if (QSqlQuery(db).exec("SELECT 1")) return Write::Fatal;
        db.close();
        return Write::Held;
    }
    return Write::Committed;
}

LogStore::Write LogStore::flush() {
    const Write w = drain();
    if (w == Write::Held && heldRows_ > kHeldRowLimit) {
        error_ = QString("%1: has taken nothing for %2 rows (%3); stopped before more is measured "
                         "than memory can keep")
                     .arg(target_.shown())
                     .arg(heldRows_)
                     .arg(error_);
        return Write::Fatal;
    }
    return w;
}

LogStore::Write LogStore::hold(Pending p) {
    heldRows_ += p.size();
    held_.push_back(std::move(p));
    return flush();
}

LogStore::Write LogStore::addSample(const QString& instrument, const QList<LogRow>& rows,
                                    const QByteArray& failingScreenPng) {
    if (rows.isEmpty()) return flush();
    Pending p;
    p.instrument = instrument;
    p.rows = rows;
    p.png = failingScreenPng;
    return hold(std::move(p));
}

LogStore::Write LogStore::addGap(const QString& instrument, const QDateTime& began,
                                 double seconds) {
    Pending p;
    p.instrument = instrument;
    p.gapBegan = began;
    p.gapSeconds = seconds;
    return hold(std::move(p));
}

bool LogStore::readRows(const LogFilter& filter,
                        const std::function<void(const LogExportRow&)>& row) {
    if (!connectDatabase()) return false;
    QString where = "WHERE 1 = 1";
    QVariantList values;
    const QString samples = conditions(filter, "time", &values);
    const QString gaps = conditions(filter, "began", &values);
    QSqlQuery q(QSqlDatabase::database(connection_, false));
    q.setForwardOnly(true); // millions of rows pass through, none kept
    const QString sql =
        QString("SELECT %1, instrument, channel, measure, value, unit, verdict, time AS at "
                "FROM samples %2%3 UNION ALL "
                "SELECT %4, instrument, '', 'gap', seconds, 's', NULL, began "
                "FROM gaps %2%5 ORDER BY 8, 2, 3, 4")
            .arg(timeColumn("time"), where, samples, timeColumn("began"), gaps);
    if (!q.prepare(sql)) {
        error_ = target_.shown() + ": " + oneLine(q.lastError());
        return false;
    }
    for (const QVariant& v : values)
        q.addBindValue(v);
    if (!q.exec()) {
        error_ = target_.shown() + ": " + oneLine(q.lastError());
        return false;
    }
    LogExportRow r;
    while (q.next()) {
        r.time = q.value(0).toString();
        r.instrument = q.value(1).toString();
        r.channel = q.value(2).toString();
        r.measure = q.value(3).toString();
        r.value = q.isNull(4) ? std::nullopt : std::optional<double>(q.value(4).toDouble());
        r.unit = q.value(5).toString();
        r.verdict = q.value(6).toString();
        row(r);
    }
    if (q.lastError().isValid()) {
        error_ = target_.shown() + ": " + oneLine(q.lastError());
        return false;
    }
    return true;
}

namespace {
// A prepared, executed query, or false with its error said.
bool run(QSqlQuery& q, const QString& sql, const QVariantList& values, QString* error,
         const QString& who) {
    if (q.prepare(sql)) {
        for (const QVariant& v : values)
            q.addBindValue(v);
        if (q.exec()) return true;
    }
    *error = who + ": " + oneLine(q.lastError());
    return false;
}

// The lane a row names: the measures of a sample follow one another, so the
// lane after the last one is tried first; a lane not met before is added.
template <typename Same, typename Make>
std::size_t laneOf(std::vector<TrendLane>* lanes, std::size_t* last, Same same, Make make) {
    const std::size_t n = lanes->size();
    for (std::size_t k = 0; k < n; ++k) {
        const std::size_t at = (*last + 1 + k) % n;
        if (same((*lanes)[at])) return *last = at;
    }
    lanes->push_back(make());
    return *last = n;
}

// Each row of a query whose columns 1 to 3 name a lane (channel, measure,
// unit), handed over with its lane; `row` returns false to stop. False with
// *error when the rows could not all be read.
bool laneRows(QSqlQuery& q, std::vector<TrendLane>* lanes, const std::function<bool(int lane)>& row,
              QString* error, const QString& who) {
    std::size_t last = 0;
    TrendLane named;
    while (q.next()) {
        named = {q.value(1).toString(), q.value(2).toString(), q.value(3).toString()};
        const std::size_t lane = laneOf(
            lanes, &last, [&](const TrendLane& l) { return l == named; }, [&] { return named; });
        if (!row(static_cast<int>(lane))) return true;
    }
    if (!q.lastError().isValid()) return true;
    *error = who + ": " + oneLine(q.lastError());
    return false;
}

// The trend's rows through SQLite's own interface on the connection Qt SQL
// opened: no value becomes a QVariant, a time is read from its bytes.
bool sqliteTrend(
    sqlite3* raw, const QString& sql, const QVariantList& values, std::vector<TrendLane>* lanes,
    const std::function<bool(double seconds, int lane, double value, bool fails)>& sample,
    QString* error, const QString& who) {
    sqlite3_stmt* st = nullptr;
    const QByteArray text = sql.toUtf8();
    if (sqlite3_prepare_v2(raw, text.constData(), static_cast<int>(text.size()), &st, nullptr) !=
        SQLITE_OK) {
        *error = who + ": " + QString::fromUtf8(sqlite3_errmsg(raw));
        return false;
    }
    const std::unique_ptr<sqlite3_stmt, int (*)(sqlite3_stmt*)> statement(st, sqlite3_finalize);
    for (int i = 0; i < values.size(); ++i) {
        const QByteArray v = values[i].toString().toUtf8();
        sqlite3_bind_text(st, i + 1, v.constData(), static_cast<int>(v.size()), SQLITE_TRANSIENT);
    }
    std::vector<std::array<QByteArray, 3>> bytes; // each lane's names as stored
    for (const TrendLane& l : *lanes)
        bytes.push_back({l.channel.toUtf8(), l.measure.toUtf8(), l.unit.toUtf8()});
    auto column = [st](int i) {
        return QByteArrayView(reinterpret_cast<const char*>(sqlite3_column_text(st, i)),
                              sqlite3_column_bytes(st, i));
    };
    std::size_t last = 0;
    int step;
    while ((step = sqlite3_step(st)) == SQLITE_ROW) {
        const QByteArrayView channel = column(1), measure = column(2), unit = column(3);
        const std::size_t lane = laneOf(
            lanes, &last,
            [&](const TrendLane& l) {
                const auto& b = bytes[static_cast<std::size_t>(&l - lanes->data())];
                return b[0] == channel && b[1] == measure && b[2] == unit;
            },
            [&] {
                bytes.push_back({channel.toByteArray(), measure.toByteArray(), unit.toByteArray()});
                return TrendLane{QString::fromUtf8(channel), QString::fromUtf8(measure),
                                 QString::fromUtf8(unit)};
            });
        const QByteArrayView time = column(0);
        std::optional<double> seconds = LogTimeSeconds(time.data(), static_cast<int>(time.size()));
        if (!seconds) { // written by another hand: any ISO 8601 time
            const std::optional<QDateTime> t = ParseLogTime(QString::fromUtf8(time));
            if (!t) continue;
            seconds = t->toMSecsSinceEpoch() / 1000.0;
        }
        const double value =
            sqlite3_column_type(st, 4) == SQLITE_NULL ? NAN : sqlite3_column_double(st, 4);
        if (!sample(*seconds, static_cast<int>(lane), value, sqlite3_column_int(st, 5) == 1))
            return true;
    }
    if (step != SQLITE_DONE) {
        *error = who + ": " + QString::fromUtf8(sqlite3_errmsg(raw));
        return false;
    }
    return true;
}

} // namespace

std::optional<std::pair<double, double>> LogStore::timeSpan(const LogFilter& filter) {
    if (!connectDatabase()) return std::nullopt;
    QVariantList values;
    const QString where = conditions(filter, "time", &values);
    QSqlQuery q(QSqlDatabase::database(connection_, false));
    // Each end on its own: the time index answers it in a step, where one
    // query asking both would scan the table.
    const QString end = "(SELECT %1(time) FROM samples WHERE 1 = 1" + where + ")";
    const QString sql =
        QString("SELECT %1, %2").arg(secondsColumn(end.arg("MIN")), secondsColumn(end.arg("MAX")));
    if (!run(q, sql, values + values, &error_, target_.shown()) || !q.next() || q.isNull(0))
        return std::nullopt;
    return std::make_pair(q.value(0).toDouble(), q.value(1).toDouble());
}

bool LogStore::readGaps(const LogFilter& filter,
                        const std::function<void(double seconds, double length)>& gap) {
    if (!connectDatabase()) return false;
    QVariantList values;
    const QString where = conditions(filter, "began", &values);
    QSqlQuery g(QSqlDatabase::database(connection_, false));
    if (!run(g,
             QString("SELECT %1, seconds FROM gaps WHERE 1 = 1%2 ORDER BY began")
                 .arg(secondsColumn("began"), where),
             values, &error_, target_.shown()))
        return false;
    while (g.next())
        gap(g.value(0).toDouble(), g.value(1).toDouble());
    return true;
}

bool LogStore::readTrend(
    const LogFilter& filter, std::vector<TrendLane>* lanes,
    const std::function<bool(double seconds, int lane, double value, bool fails)>& sample) {
    if (!connectDatabase()) return false;
    QSqlDatabase db = QSqlDatabase::database(connection_, false);
    QVariantList values;
    const QString where = conditions(filter, "time", &values);
    // SQLite: the table's own order, the order rows were written in (time
    // order but for a late flush), read without a sort or an index lookup a
    // row, straight from the driver's connection.
    if (sqlite()) {
        const QVariant handle = db.driver()->handle();
        if (handle.isValid() && qstrcmp(handle.typeName(), "sqlite3*") == 0)
            return sqliteTrend(*static_cast<sqlite3* const*>(handle.constData()),
                               "SELECT time, channel, measure, unit, value, verdict = 'fail' "
                               "FROM samples WHERE 1 = 1" +
                                   where + " ORDER BY rowid",
                               values, lanes, sample, &error_, target_.shown());
    }
    return laneQuery(QString("SELECT %1, channel, measure, unit, value, verdict = 'fail' "
                             "FROM samples WHERE 1 = 1%2 ORDER BY time")
                         .arg(secondsColumn("time"), where),
                     values, lanes, [&](const QSqlQuery& q, int lane) {
                         const QVariant value = q.value(4);
                         return sample(q.value(0).toDouble(), lane,
                                       value.isNull() ? NAN : value.toDouble(),
                                       q.value(5).toInt() == 1);
                     });
}

bool LogStore::laneQuery(const QString& sql, const QVariantList& values,
                         std::vector<TrendLane>* lanes,
                         const std::function<bool(const QSqlQuery& q, int lane)>& row) {
    if (!connectDatabase()) return false;
    QSqlQuery q(QSqlDatabase::database(connection_, false));
    q.setForwardOnly(true); // millions of rows may pass through, none kept
    return run(q, sql, values, &error_, target_.shown()) &&
           laneRows(
               q, lanes, [&](int lane) { return row(q, lane); }, &error_, target_.shown());
}

bool LogStore::readEnvelope(const LogFilter& filter, std::vector<TrendLane>* lanes,
                            const std::function<void(double began, int lane, qint64 samples,
                                                     double low, double high)>& block) {
    QString where;
    QVariantList values;
    if (filter.from) {
        where += " AND began >= ?";
        values << TrendBlockOf(*filter.from);
    }
    if (filter.to) {
        where += " AND began <= ?";
        values << TrendBlockOf(*filter.to);
    }
    if (!filter.instrument.isEmpty()) {
        where += " AND instrument = ?";
        values << filter.instrument;
    }
    return laneQuery(
        "SELECT began, channel, measure, unit, samples, low, high FROM trend WHERE 1 = 1" + where +
            " ORDER BY began",
        values, lanes, [&](const QSqlQuery& q, int lane) {
            block(q.value(0).toDouble(), lane, q.value(4).toLongLong(),
                  q.isNull(5) ? NAN : q.value(5).toDouble(),
                  q.isNull(6) ? NAN : q.value(6).toDouble());
            return true;
        });
}

bool LogStore::readFailing(const LogFilter& filter, std::vector<TrendLane>* lanes,
                           const std::function<void(double seconds, int lane)>& failing) {
    QVariantList values;
    const QString where = conditions(filter, "time", &values);
    return laneQuery(QString("SELECT %1, channel, measure, unit FROM samples WHERE verdict = "
                             "'fail'%2 ORDER BY time")
                         .arg(secondsColumn("time"), where),
                     values, lanes, [&](const QSqlQuery& q, int lane) {
                         failing(q.value(0).toDouble(), lane);
                         return true;
                     });
}

bool LogStore::readLimits(const LogFilter& filter, std::vector<TrendLane>* lanes,
                          const std::function<void(int lane, double under, double over)>& limits) {
    QVariantList values;
    QString where;
    if (filter.to) { // the limits in force at the span's end
        where += QString(" AND since <= %1").arg(timeParameter());
        values << LogTimeText(*filter.to);
    }
    if (!filter.instrument.isEmpty()) {
        where += " AND instrument = ?";
        values << filter.instrument;
    }
    return laneQuery("SELECT since, channel, measure, unit, under, over FROM limits WHERE 1 = 1" +
                         where + " ORDER BY since",
                     values, lanes, [&](const QSqlQuery& q, int lane) {
                         limits(lane, q.value(4).toDouble(), q.value(5).toDouble());
                         return true;
                     });
}

QByteArray LogStore::screen(const QString& instrument, const QDateTime& time) {
    if (!connectDatabase()) return {};
    QSqlQuery q(QSqlDatabase::database(connection_, false));
    q.prepare(QString("SELECT png FROM screens WHERE time = %1%2")
                  .arg(timeParameter(), instrument.isEmpty() ? "" : " AND instrument = ?"));
    q.addBindValue(LogTimeText(time));
    if (!instrument.isEmpty()) q.addBindValue(instrument);
    return q.exec() && q.next() ? q.value(0).toByteArray() : QByteArray();
}

QByteArray LogCsvHeader() {
    return "time,instrument,channel,measure,value,unit,verdict\n";
}

QByteArray LogCsvLine(const LogExportRow& r) {
    const QString value =
        r.value ? QString::number(*r.value, 'g', QLocale::FloatingPointShortest) : QString();
    return (QStringList{r.time, csvField(r.instrument), r.channel, r.measure, value, r.unit,
                        r.verdict}
                .join(',') +
            '\n')
        .toUtf8();
}
