// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// What a data log is asked to do: the measures ("CH1:Vpp,CH2:Duty+"), the
// database it goes into (a SQLite file or postgresql://USER@HOST:PORT/DB),
// and one sample's rows as they are stored.
#include "sheet/SheetRecords.h"

#include <QDateTime>
#include <QList>
#include <QString>
#include <optional>

struct MeasureRow;

struct LoggedMeasure {
    int channel = 1; // 1 or 2
    const MeasureRow* row = nullptr;
    QString channelName() const; // "CH1"
    QString name() const;        // "Vpp", as the program shows it in English
};
// Comma-separated CHANNEL:Measure, each once; empty with *error when one does not read.
QList<LoggedMeasure> ParseLogMeasures(const QString& text, QString* error);

struct LogTarget {
    enum class Kind { SQLite, PostgreSQL } kind = Kind::SQLite;
    QString path;                 // SQLite: the file
    QString user, host, database; // PostgreSQL; the password comes from
    int port = 5432;              // PGPASSWORD or ~/.pgpass, never the URL
    QString shown() const;        // for messages: the path, or the URL
};
// A file path, or postgresql://USER@HOST[:PORT]/DB (postgres:// too). A URL
// holding a password is refused: it would sit in the shell's history.
std::optional<LogTarget> ParseLogTarget(const QString& text, QString* error);

// One stored value: the sample's time (UTC), the measure in base units
// (nothing for "*****"), its unit, and its verdict ("pass", "fail", or
// empty when no limits apply).
struct LogRow {
    QDateTime time;
    QString channel, measure;
    std::optional<double> value;
    QString unit, verdict;
    std::optional<double> under = std::nullopt, over = std::nullopt; // the limits judged, when set
};
// One sample's rows from the measure records of CH1 and CH2 (index 1, 2),
// with the limits of `limits` applied by measure name.
QList<LogRow> SampleRows(const QList<LoggedMeasure>& measures, const MeasureRecord* byChannel[3],
                         const MeasureRecord& limits, const QDateTime& time);
// Times as stored and exported: ISO 8601 in UTC to the millisecond ("2026-11-25T08:00:00.250Z").
QString LogTimeText(const QDateTime& time);
// A time the user gives (ISO 8601, a date alone is its midnight; no zone is UTC).
std::optional<QDateTime> ParseLogTime(const QString& text);
// Seconds since 1970 of a time exactly as LogTimeText writes it
// ("2026-11-25T08:00:00.250Z", 24 characters); nothing for any other text.
// Millions of rows are read through it, so it takes the bytes as stored.
std::optional<double> LogTimeSeconds(const char* text, int length);
