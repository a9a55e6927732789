// SPDX-License-Identifier: GPL-3.0-or-later
// Data log databases (SQLite files) as the export, read_log and the Data
// Logger (its envelope and its samples) read them, then as a logger opens
// them to log into: a damaged or foreign file is refused or read, never a
// crash, and every row read has the export's shape.
#include "FuzzSupport.h"

#include "logger/LogPlot.h"
#include "logger/LogStore.h"

#include <QFile>
#include <QSqlDatabase>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // Qt SQL's list of connections made before the application, so it is
    // still there when the application ends at exit and closes it.
    static const bool sqlFirst = QSqlDatabase::contains(QStringLiteral("none"));
    (void)sqlFirst;
    FuzzSetUp();
    const QString path = FuzzFile("log.db", data, size);
    QFile::remove(path + "-wal"); // what an earlier input left beside it
    QFile::remove(path + "-shm");
    LogTarget target;
    target.path = path;
    LogStore store(target);
    if (!store.openToRead()) { // as the export, read_log and the window open it
        FuzzRequire(!store.error().isEmpty() && !store.error().contains('\n'),
                    "a refusal says why, on one line");
        return 0;
    }
    store.readRows({}, [](const LogExportRow& row) {
        FuzzRequire(LogCsvLine(row).endsWith('\n') && LogCsvLine(row).count('\n') >= 1,
                    "a row is a CSV line");
    });
    // The window's two readings: the envelope, and the samples themselves.
    for (const std::size_t detailRows : {std::size_t(0), SIZE_MAX}) {
        StoredTrend trend;
        QString error;
        const bool read = ReadLogTrend(
            store, {}, &trend, [](double) { return true; }, &error, detailRows);
        FuzzRequire(read || !error.contains('\n'), "a log not read says why, on one line");
        for (const TrendSeries& lane : trend.lanes)
            FuzzRequire(lane.t.size() == lane.v.size(), "a lane's times and values pair up");
    }
    // A logger opening it to log into: brought up to date, or refused on one line.
    LogStore writer(target);
    FuzzRequire(writer.open() || (!writer.error().isEmpty() && !writer.error().contains('\n')),
                "a refusal to log into it says why, on one line");
    return 0;
}
